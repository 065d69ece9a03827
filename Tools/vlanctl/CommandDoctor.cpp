// Examining the host, and mending it.

#include "Tools/vlanctl/Commands.h"

#include "Common/Library/RestartNote.h"
#include "Plan/RavRepair.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Question.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
std::string NameOf(const RAV_FINDING& finding)
{
    return ToUtf8(RavFindingText(finding.kind).name);
}

bool IsName(const std::string& name)
{
    for (int kind = 0; kind < static_cast<int>(RAV_FINDING_KIND::COUNT); ++kind)
    {
        if (name == ToUtf8(RavFindingText(static_cast<RAV_FINDING_KIND>(kind)).name))
            return true;
    }
    return false;
}

void RefuseUnknownNames(const DoctorOptions& options)
{
    for (const std::string& name : options.names)
    {
        if (!IsName(name))
            throw CommandError(EXIT_USAGE, "there is no finding called \"" + name + "\"; 'vlanctl doctor' names them");
    }
}

// What the command is about: by parent, and by the names that were given.
class Choice
{
  public:
    Choice(CSession& session, const DoctorOptions& options) : m_names(options.names)
    {
        if (!options.parent.empty())
            m_parent = FindParent(session, options.parent).key;
    }
    const CRavString& Parent() const { return m_parent; }
    bool IsConcerned(const RAV_FINDING& finding) const { return finding.IsAbout(m_parent); }
    bool IsChosen(const RAV_FINDING& finding) const
    {
        return IsConcerned(finding) &&
               (m_names.empty() || std::find(m_names.begin(), m_names.end(), NameOf(finding)) != m_names.end());
    }

  private:
    CRavString m_parent;
    std::vector<std::string> m_names;
};

template <typename Elements, typename Text>
Json Texts(const Elements& elements, Text&& text)
{
    Json array = Json::array();
    for (const auto& element : elements)
        array.push_back(text(element));
    return array;
}

Json ToJson(const RAV_FINDING& finding)
{
    const RAV_FINDING_TEXT& text = RavFindingText(finding.kind);
    return {{"name", ToUtf8(text.name)},
            {"key", ToUtf8(finding.subject)},
            {"parentKey", ToUtf8(finding.parent)},
            {"where", ToUtf8(finding.where)},
            {"detail", ToUtf8(finding.detail)},
            {"meaning", ToUtf8(text.meaning)},
            {"repair", ToUtf8(text.repair)},
            {"steps", Texts(finding.steps, [](const RAV_STEP& step) { return ToUtf8(RavStepText(step)); })},
            {"commands", Texts(finding.commands, [](const CRavString& command) { return ToUtf8(command); })}};
}

void Show(const std::vector<RAV_FINDING>& findings)
{
    std::string where;
    for (const RAV_FINDING& finding : findings)
    {
        const RAV_FINDING_TEXT& text = RavFindingText(finding.kind);
        const std::string here = Visible(ToUtf8(finding.where)) + " " + ToUtf8(finding.subject);
        if (where != here)
            Print((where.empty() ? "" : "\n") + here + "\n");
        where = here;
        Print("  " + ToUtf8(text.name) + ": " + ToUtf8(finding.detail) + "\n    " + ToUtf8(text.meaning) + "\n");
        if (finding.commands.empty())
            Print("    --repair " + ToUtf8(text.repair) + "\n");
        for (const CRavString& command : finding.commands)
            Print("    decide with: " + ToUtf8(command) + "\n");
    }
}

std::string Count(size_t number)
{
    return std::to_string(number) + (number == 1 ? " finding" : " findings");
}

ExitStatus Finish(CSession& session, RAV_REPAIR& repair, const Choice& choice, const DoctorOptions& options)
{
    if (repair.result.ulErrCode == ERROR_LOCK_VIOLATION)
        throw CommandError(EXIT_LOCKED, "nothing was mended: " + FailureText(session, repair.result));
    if (!repair.result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the host cannot be mended: " + FailureText(session, repair.result));
    std::erase_if(repair.left, [&](const RAV_FINDING& finding) { return !choice.IsConcerned(finding); });
    const bool isRestartNeeded = repair.isRestartNeeded || RavIsRestartNoted();
    const auto stepText = [](const RAV_STEP& step) { return ToUtf8(RavStepText(step)); };
    if (options.json)
        PrintJson({{"healthy", repair.left.empty()},
                   {"mended", Texts(repair.mended, ToJson)},
                   {"failed", Texts(repair.failed, stepText)},
                   {"findings", Texts(repair.left, ToJson)},
                   {"restartNeeded", isRestartNeeded}});
    else
    {
        for (const RAV_FINDING& finding : repair.mended)
            Print("mended " + NameOf(finding) + " on " + Visible(ToUtf8(finding.where)) + "\n");
        if (!repair.left.empty())
            Print("left:\n");
        Show(repair.left);
    }
    for (const RAV_STEP& step : repair.failed)
        PrintError("error: failed to " + stepText(step) + "\n");
    if (isRestartNeeded)
        PrintError("warning: the system has to be restarted before all of this takes effect\n");
    return !repair.left.empty() || !repair.failed.empty() ? EXIT_FINDINGS : isRestartNeeded ? EXIT_RESTART : EXIT_DONE;
}

void ShowSteps(const std::vector<RAV_FINDING>& findings, const Choice& choice)
{
    for (const RAV_FINDING& finding : findings)
    {
        for (const RAV_STEP& step : choice.IsChosen(finding) ? finding.steps : std::vector<RAV_STEP>())
            Print("would " + ToUtf8(RavStepText(step)) + " (" + NameOf(finding) + ")\n");
    }
}
} // namespace

ExitStatus RunDoctor(CSession& session, const DoctorOptions& options)
{
    RefuseUnknownNames(options);
    const Choice choice(session, options);
    const std::vector<RAV_FINDING> findings = ReadFindings(session, choice.Parent());
    const auto mendable =
        static_cast<size_t>(std::count_if(findings.begin(), findings.end(), [&](const RAV_FINDING& finding) {
            return choice.IsChosen(finding) && !finding.steps.empty();
        }));
    const bool act = options.repair && !options.dryRun && mendable > 0;
    if (!options.json)
        Show(findings);
    if (!act)
    {
        if (options.json)
            PrintJson({{"healthy", findings.empty()}, {"findings", Texts(findings, ToJson)}});
        else if (findings.empty())
            Print("healthy: nothing is wrong with the VLANs of this machine\n");
        else if (options.dryRun)
            ShowSteps(findings, choice);
        else
            Print("\n" + Count(findings.size()) + "; 'vlanctl doctor --repair' mends what can be mended\n");
        return findings.empty() ? EXIT_DONE : EXIT_FINDINGS;
    }
    RequireConsent({"Mend " + Count(mendable) + "? Connections over these adapters may be interrupted.", options.yes,
                    false, true});
    RAV_REPAIR repair = RavRepairHost(session.AgentPvt(), session.Core(), session.Lock(options.waitSeconds),
                                      [&](const RAV_FINDING& finding) { return choice.IsChosen(finding); });
    return Finish(session, repair, choice, options);
}
