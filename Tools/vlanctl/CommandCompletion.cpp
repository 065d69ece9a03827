// What a shell asks when somebody presses Tab, and the scripts that teach it to.

#include "Tools/vlanctl/Commands.h"

#include "Plan/RavFinding.h"
#include "Tools/vlanctl/Completion.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Settings.h"
#include "Tools/vlanctl/Verbs.h"

#include <map>

namespace
{
// Bash takes a word apart at "=": what is before it stands there already.
constexpr char BASH[] = R"(_vlanctl()
{
    local candidate before=${COMP_WORDS[COMP_CWORD-1]} word=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    while IFS= read -r candidate; do
        candidate=${candidate%$'\r'}
        [[ $word != '=' && $before != '=' ]] || candidate=${candidate#*=}
        COMPREPLY+=("$candidate")
    done < <(vlanctl complete -- "${COMP_LINE:0:COMP_POINT}" 2>/dev/null)
    [[ ${COMPREPLY[0]-} != *= ]] || compopt -o nospace 2>/dev/null
}
complete -o default -o filenames -F _vlanctl vlanctl vlanctl.exe
)";

constexpr char POWERSHELL[] = R"(Register-ArgumentCompleter -Native -CommandName 'vlanctl', 'vlanctl.exe' -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)
    $words = @($commandAst.CommandElements | Where-Object { $_.Extent.EndOffset -lt $cursorPosition } | ForEach-Object {
        if ($_ -is [System.Management.Automation.Language.StringConstantExpressionAst]) { $_.Value } else { $_.Extent.Text }
    })
    $words += $wordToComplete.Trim('"', "'")
    $line = ($words | ForEach-Object { "'" + $_.Replace("'", "'\''") + "'" }) -join ' '
    $encoding = [Console]::OutputEncoding
    try {
        [Console]::OutputEncoding = New-Object System.Text.UTF8Encoding
        $candidates = @(& $commandAst.GetCommandName() complete -- $line 2>$null)
    }
    finally { [Console]::OutputEncoding = $encoding }
    $candidates | ForEach-Object {
        $text = if ($_ -match '^[\w./:=-]+$') { $_ } else { "'" + $_.Replace("'", "''") + "'" }
        New-Object System.Management.Automation.CompletionResult $text, $_, 'ParameterValue', $_
    }
}
)";

std::vector<std::string> ParentNames(CSession& session)
{
    std::vector<std::string> names;
    for (const ParentRow& row : ReadParents(session, ParentDetail::Names))
        names.push_back(ToUtf8(row.name));
    return names;
}

// By name where that is one VLAN's alone, and by parent and id.
std::vector<std::string> VlanNames(CSession& session)
{
    std::map<std::string, int> times;
    const std::vector<VlanRow> rows = ReadVlans(session);
    for (const VlanRow& row : rows)
        ++times[ToUtf8(row.info.vlanName)];
    std::vector<std::string> names;
    for (const auto& [name, count] : times)
    {
        if (count == 1)
            names.push_back(name);
    }
    for (const VlanRow& row : rows)
        names.push_back(ToUtf8(row.parentName) + "/" + IdText(row.info.vlanId));
    return names;
}

std::vector<std::string> SettingNames(CSession& session, const std::string& vlan, const std::string& after)
{
    std::vector<std::string> names;
    for (const auto& setting : ReadSettings(session, FindVlan(session, vlan).info.vlanKey))
        names.push_back(ToUtf8(setting->strName) + after);
    return names;
}

// "*JumboPacket=", and behind that the values which it can have.
std::vector<std::string> SettingsAndValues(CSession& session, const Completion& completion)
{
    const size_t equals = completion.typed.find('=');
    if (equals == std::string::npos)
        return SettingNames(session, completion.vlan, "=");
    const std::string name = completion.typed.substr(0, equals);
    const SettingList settings = ReadSettings(session, FindVlan(session, completion.vlan).info.vlanKey);
    std::vector<std::string> values;
    if (const RAV_SETTING* const setting = FindSetting(settings, name))
        values = ChoicesOf(*setting);
    for (std::string& value : values)
        value.insert(0, name + "=");
    return values;
}

std::vector<std::string> FindingNames()
{
    std::vector<std::string> names;
    for (int kind = 0; kind < static_cast<int>(RAV_FINDING_KIND::COUNT); ++kind)
        names.push_back(ToUtf8(RavFindingText(static_cast<RAV_FINDING_KIND>(kind)).name));
    return names;
}

std::vector<std::string> NamesOnMachine(const Completion& completion)
{
    CSession session;
    if (completion.kind == PARENT_VALUE)
        return ParentNames(session);
    if (completion.kind == VLAN_VALUE)
        return VlanNames(session);
    return completion.kind == SETTING_VALUE ? SettingNames(session, completion.vlan, "")
                                            : SettingsAndValues(session, completion);
}

bool IsOnMachine(const std::string& kind)
{
    return kind == PARENT_VALUE || kind == VLAN_VALUE || kind == SETTING_VALUE || kind == SETTING_AND_VALUE;
}
} // namespace

ExitStatus RunCompletion(const CompletionOptions& options)
{
    Print(options.shell == "bash" ? BASH : POWERSHELL);
    return EXIT_DONE;
}

ExitStatus RunComplete(const CompleteOptions& options)
{
    Command none;
    const Completion completion = CompletionOf(*MakeParser(none), WordsOfLine(options.line));
    std::vector<std::string> words = completion.words;
    if (completion.kind == FINDING_VALUE)
        words = FindingNames();
    else if (IsOnMachine(completion.kind))
        words = NamesOnMachine(completion);
    for (const std::string& candidate : Candidates(completion, words))
        Print(candidate + "\n");
    return EXIT_DONE;
}
