// The host as a file, and what tells it from one.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Desired.h"
#include "Tools/vlanctl/DesiredStateFile.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/TextFile.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
// Those that carry VLANs, and those that could.
std::vector<ParentRow> ChosenParents(CSession& session, const ExportOptions& options, const RAV_HOST& host)
{
    std::vector<ParentRow> rows = ReadParents(session, ParentDetail::Names, host);
    if (!options.parents.empty())
    {
        std::vector<ParentRow> chosen;
        for (const std::string& name : options.parents)
            chosen.push_back(ChooseParent(rows, name));
        return chosen;
    }
    CResult result;
    std::vector<CRavString> supporting;
    session.Agent().EnumerateVlanSupportingParents(result, supporting, session.Client());
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the agent cannot list the parents: " + CodeText(result));
    std::erase_if(rows, [&](const ParentRow& row) {
        return std::none_of(supporting.begin(), supporting.end(),
                            [&](const CRavString& key) { return key.CompareI(row.key); }) &&
               std::none_of(host.components.begin(), host.components.end(), [&](const RAV_HOST_COMPONENT& component) {
                   return component.IsVlan() && component.vlan.parentKey == row.key;
               });
    });
    return rows;
}

// By its name, unless another one has it, too.
std::string NameInFile(const ParentRow& row, const Json& parents)
{
    return parents.contains(ToUtf8(row.name)) ? ToUtf8(row.key) : ToUtf8(row.name);
}

Json ExportParent(CSession& session, const RAV_HOST& host, const ParentRow& row)
{
    RAV_PRESENT_PARENT parent = RavReadParent(SourceOf(session), host, row.key);
    for (RAV_PRESENT_VLAN& vlan : parent.vlans)
    {
        const CResult result = RavReadSettings(SourceOf(session), vlan);
        if (!result.Succeeded())
            throw CommandError(EXIT_REFUSED, "the settings of " + ToUtf8(vlan.name) + " on " + ToUtf8(row.name) +
                                                 " cannot be read: " + CodeText(result));
    }
    return ParentToFile(parent);
}
} // namespace

ExitStatus RunExport(CSession& session, const ExportOptions& options)
{
    const RAV_HOST host = ReadWholeHost(session);
    Json parents = Json::object();
    for (const ParentRow& row : ChosenParents(session, options, host))
        parents[NameInFile(row, parents)] = ExportParent(session, host, row);
    const Json file = {{"parents", parents}};
    if (options.file.empty())
        PrintJson(file);
    else
        WriteTextFile(options.file, file.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    return EXIT_DONE;
}

ExitStatus RunDiff(CSession& session, const DiffOptions& options)
{
    const DesiredPlan plan = MakeDesiredPlan(session, options);
    const bool differs = IsAnyToDo(plan.differences);
    const ExitStatus status = !plan.errors.empty() ? EXIT_REFUSED : differs ? EXIT_FINDINGS : EXIT_DONE;
    ShowNotes(plan.errors, "error");
    if (options.json)
    {
        Report report = {"diff", true};
        report.steps = StepsOf(plan);
        report.errors = plan.errors;
        report.warnings = plan.warnings;
        Json json = ReportToJson(report);
        json["exitStatus"] = status;
        json["differences"] = DifferencesToJson(plan.differences);
        PrintJson(json);
        return status;
    }
    ShowDifferences(plan.differences);
    ShowNotes(plan.warnings, "warning");
    if (plan.errors.empty() && !differs)
        Print("no difference\n");
    return status;
}
