#include "Tools/vlanctl/Aftermath.h"

#include "Plan/RavRepair.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <functional>
#include <set>

namespace
{
constexpr unsigned WAIT_SECONDS = 10;

std::string Text(const RAV_FINDING& finding)
{
    return Visible(ToUtf8(finding.where)) + ": " + ToUtf8(RavFindingText(finding.kind).name) + ", " +
           ToUtf8(finding.detail);
}

bool IsTeam(CSession& session, const CRavString& key)
{
    std::vector<CRavString> teams;
    return session.Teams() != nullptr && session.Teams()->EnumerateTeams(teams).Succeeded() &&
           std::any_of(teams.begin(), teams.end(), [&](const CRavString& team) { return team.CompareI(key); });
}

void Repair(CSession& session, const std::function<bool(const RAV_FINDING&)>& isChosen,
            RAV_RELOADS reloads = RAV_RELOADS::WhereNeeded)
{
    const RAV_REPAIR repair =
        RavRepairHost(session.AgentPvt(), session.Core(), session.Lock(WAIT_SECONDS), isChosen, reloads);
    if (!repair.result.Succeeded())
        PrintError("vlanctl: this could not be mended: " + FailureText(session, repair.result) + "\n");
    for (const RAV_FINDING& finding : repair.mended)
        PrintError("vlanctl: mended " + Text(finding) + "\n");
}
} // namespace

Aftermath ExamineAfterTrouble(CSession& session, const CRavString& parentKey, bool repair)
{
    std::vector<RAV_FINDING> findings = ReadFindings(session, parentKey);
    if (!findings.empty() && repair)
    {
        Repair(session, [&](const RAV_FINDING& finding) { return finding.IsAbout(parentKey); });
        findings = ReadFindings(session, parentKey);
    }
    bool isMendable = false;
    for (const RAV_FINDING& finding : findings)
    {
        PrintError("vlanctl: left: " + Text(finding) + "\n");
        isMendable = isMendable || !finding.steps.empty();
    }
    if (!findings.empty())
        PrintError(std::string("vlanctl: 'vlanctl doctor") + (isMendable ? " --repair" : "") +
                   (parentKey.IsEmpty() ? "" : " --parent " + ToUtf8(parentKey)) +
                   (isMendable ? "' mends this\n" : "' tells what decides it\n"));
    return findings.empty() ? Aftermath::Whole : Aftermath::Damaged;
}

std::vector<std::string> FindingTexts(CSession& session, const CRavString& parentKey)
{
    std::vector<std::string> texts;
    for (const RAV_FINDING& finding : ReadFindings(session, parentKey))
        texts.push_back(Text(finding));
    return texts;
}

Aftermath TidyTeam(CSession& session, const CRavString& parentKey)
{
    if (!IsTeam(session, parentKey))
        return Aftermath::Whole;
    const auto isOfMembers = [&](const RAV_FINDING& finding) {
        constexpr RAV_FINDING_KIND LISTS[] = {RAV_FINDING_KIND::BindingList, RAV_FINDING_KIND::BindingCount,
                                              RAV_FINDING_KIND::IdList,      RAV_FINDING_KIND::VlanMode,
                                              RAV_FINDING_KIND::TaggingMode, RAV_FINDING_KIND::DriverTaggingMode};
        return !finding.isOfVlan && finding.IsAbout(parentKey) &&
               std::find(std::begin(LISTS), std::end(LISTS), finding.kind) != std::end(LISTS);
    };
    const std::vector<RAV_FINDING> findings = ReadFindings(session, parentKey);
    if (std::any_of(findings.begin(), findings.end(), isOfMembers))
        Repair(session, isOfMembers,
               RAV_RELOADS::None); // the driver has lost the VLAN already: the lists alone name it
    return ExamineAfterTrouble(session, parentKey, false);
}

void TidyTeams(CSession& session, Report& report)
{
    std::set<CRavString> parents;
    for (const Step& step : report.steps)
    {
        if (step.state == StepState::Done || step.state == StepState::TakenBack)
            parents.insert(step.vlan.parentKey);
    }
    for (const CRavString& parent : parents)
    {
        try
        {
            report.isDamaged = TidyTeam(session, parent) == Aftermath::Damaged || report.isDamaged;
        }
        catch (const CommandError& error) // what was done is done all the same
        {
            AddError(report, "notExamined", std::string("what was left cannot be examined: ") + error.what());
            report.isDamaged = true;
        }
    }
}
