// Removing VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Aftermath.h"
#include "Tools/vlanctl/Costs.h"
#include "Tools/vlanctl/Interruption.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Question.h"

#include <algorithm>
#include <optional>
#include <string>

namespace
{
constexpr ChangeWords WORDS = {"remove", "removed", "are gone"};
constexpr const char* NOT_THERE = "notThere";
constexpr const char* GONE_ALREADY = "is gone already; another program has removed it";

bool Has(const std::vector<VlanRow>& rows, const CRavString& key)
{
    return std::any_of(rows.begin(), rows.end(), [&](const VlanRow& row) { return row.info.vlanKey == key; });
}

// One that is not there is noted among the warnings where that is no error.
std::optional<VlanRow> Choose(const std::vector<VlanRow>& present, const RemoveOptions& options,
                              const std::string& name, Report& report)
{
    try
    {
        return ChooseVlan(present, name);
    }
    catch (const CommandError& error)
    {
        if (!options.ifExists || error.What().name != UNKNOWN_NAME)
            throw;
        report.warnings.push_back(error.What());
        report.warnings.back().name = NOT_THERE;
        return std::nullopt;
    }
}

std::vector<VlanRow> Chosen(CSession& session, const RemoveOptions& options, const std::vector<VlanRow>& present,
                            Report& report)
{
    std::vector<VlanRow> rows;
    if (options.all)
        return ReadVlans(session, FindParent(session, options.parent).key);
    for (const std::string& name : options.vlans)
    {
        const std::optional<VlanRow> row = Choose(present, options, name, report);
        if (row && !Has(rows, row->info.vlanKey))
            rows.push_back(*row);
    }
    return rows;
}

// The untagged VLAN that goes with the removal of this one: the agent never leaves one alone on its parent.
const VlanRow* GoesAlong(const std::vector<VlanRow>& present, const VlanRow& row)
{
    const VlanRow* untagged = nullptr;
    size_t siblings = 0;
    for (const VlanRow& other : present)
    {
        if (other.parentKey != row.parentKey)
            continue;
        ++siblings;
        if (other.info.vlanId == 0)
            untagged = &other;
    }
    return siblings == 2 && row.info.vlanId != 0 ? untagged : nullptr;
}

// What the agent will do, in its order: what goes along with what, and what it refuses. `present` is left with the
// VLANs that stay.
std::vector<Step> Plan(CSession& session, const std::vector<VlanRow>& chosen, std::vector<VlanRow>& present)
{
    const auto take = [&](const CRavString& key) {
        std::erase_if(present, [&](const VlanRow& row) { return row.info.vlanKey == key; });
    };
    std::vector<Step> plan;
    const auto add = [&](const VlanRow& row, const CRavString& with) {
        plan.push_back({WORDS.verb, row, with, StepState::Planned, {}});
    };
    for (const VlanRow& row : chosen)
    {
        if (!Has(present, row.info.vlanKey))
            continue; // it goes along with an earlier one, and is planned already
        const VlanRow* const untagged = GoesAlong(present, row);
        add(row, {});
        if (IsBoundToHyperV(session, row.info.vlanKey))
            plan.back().reason = std::string("it is ") + BOUND_TO_HYPER_V;
        else if (untagged != nullptr && IsBoundToHyperV(session, untagged->info.vlanKey))
            plan.back().reason = VlanText(untagged->info) + " would have to go, too, but it is " + BOUND_TO_HYPER_V;
        if (!plan.back().reason.empty())
        {
            plan.back().state = StepState::Refused;
            continue;
        }
        if (untagged != nullptr)
        {
            add(*untagged, row.info.vlanKey);
            take(plan.back().vlan.info.vlanKey);
        }
        take(row.info.vlanKey);
    }
    return plan;
}

// What the removal costs beside the VLANs: connections over them, and of each parent that is left without VLANs.
std::vector<Note> Costs(CSession& session, const std::vector<Step>& steps, const std::vector<VlanRow>& staying)
{
    std::vector<Note> costs;
    std::vector<CRavString> parents;
    for (const Step& step : steps)
    {
        if (step.state != StepState::Planned)
            continue;
        Append(costs, CostsOfSilence(step.vlan.info.vlanKey, VlanText(step.vlan.info)));
        const CRavString& parent = step.vlan.parentKey;
        const bool stays =
            std::any_of(staying.begin(), staying.end(), [&](const VlanRow& row) { return row.parentKey == parent; });
        if (stays || std::find(parents.begin(), parents.end(), parent) != parents.end())
            continue;
        parents.push_back(parent);
        Append(costs, CostsOfLastVlan(session, parent, step.vlan.parentName));
    }
    return costs;
}

Report Examine(CSession& session, const RemoveOptions& options)
{
    Report report = {WORDS.verb, options.dryRun};
    std::vector<VlanRow> present = ReadVlans(session);
    report.steps = Plan(session, Chosen(session, options, present, report), present);
    Append(report.warnings, Costs(session, report.steps, present));
    if (Count(report, StepState::Planned) > 0)
        Append(report.warnings, CostsOfPendingRestart());
    return report;
}

bool IsPlanned(const std::vector<Step>& steps, const CRavString& key)
{
    return std::any_of(steps.begin(), steps.end(), [&](const Step& step) {
        return step.state == StepState::Planned && step.vlan.info.vlanKey == key;
    });
}

// Whether nothing goes that was not going before.
bool IsWithin(const std::vector<Step>& steps, const std::vector<Step>& before)
{
    return std::all_of(steps.begin(), steps.end(), [&](const Step& step) {
        return step.state != StepState::Planned || IsPlanned(before, step.vlan.info.vlanKey);
    });
}

void Warn(const Note& note, Report& report)
{
    ShowNotes({note}, "warning");
    report.warnings.push_back(note);
}

// Others may have changed the host until the lock was had. Whoever has agreed has agreed to what was shown.
void PlanAgain(CSession& session, const RemoveOptions& options, Report& report)
{
    std::vector<VlanRow> present = ReadVlans(session);
    std::vector<VlanRow> chosen;
    std::vector<Step> gone;
    for (const Step& step : report.steps)
    {
        if (!step.with.IsEmpty())
            continue; // it is found again with the one that takes it along
        if (Has(present, step.vlan.info.vlanKey))
            chosen.push_back(step.vlan);
        else if (options.ifExists)
            Warn(NoteOf(NOT_THERE, VlanText(step.vlan.info) + " " + GONE_ALREADY), report);
        else
            gone.push_back(step); // that it is gone is told in its turn
    }
    std::vector<Step> steps = Plan(session, chosen, present);
    steps.insert(steps.end(), gone.begin(), gone.end());
    if (options.yes || IsWithin(steps, report.steps))
        report.steps = steps;
    else
        AddError(report, "hostChanged", "another program has changed the host in the meantime; look again");
}

// What goes, and with it what else.
std::string PlanText(const Report& report, const char* words)
{
    std::string text;
    for (const Step& step : report.steps)
    {
        if (step.state == StepState::Planned)
            text += step.with.IsEmpty()
                        ? words + VlanText(step.vlan.info) + "\n"
                        : "  and with it " + VlanText(step.vlan.info) + ", which would stay alone on its parent\n";
    }
    return text;
}

void Announce(const Report& report, const RemoveOptions& options)
{
    for (const Step& step : report.steps)
    {
        if (step.state != StepState::Planned)
            PrintError("error: " + VlanText(step.vlan.info) + " cannot be removed: " + step.reason + "\n");
    }
    if (!options.json && (options.dryRun || !options.yes)) // each VLAN is told when it is gone
        Print(PlanText(report, options.dryRun ? "would remove " : "will remove "));
    ShowNotes(report.warnings, "warning");
    if (report.steps.empty() && !options.json)
        Print("no VLANs to remove\n");
}

void Finish(Step& step, bool gone, const std::string& failure, const RemoveOptions& options)
{
    const std::string text = VlanText(step.vlan.info);
    step.state = gone ? StepState::Done : StepState::Failed;
    step.reason = failure;
    if (!failure.empty())
        PrintError("error: " + text + (gone ? " is gone, but the agent reports a failure: " : " was not removed: ") +
                   failure + "\n");
    else if (!options.json)
        Print("removed " + text + "\n");
}

// A locked network configuration is told by the result's class, mostly with code 0. The agent takes its lock twice:
// when the second one cannot be had, the lists of the parent have been changed already.
void RemoveOne(CSession& session, Step& step, Report& report, const RemoveOptions& options)
{
    const CRavString& key = step.vlan.info.vlanKey;
    const bool gone = !IsThere(session, key);
    if (!step.with.IsEmpty()) // the agent has taken it along, or has failed at it
        return Finish(step, gone, gone ? "" : "it is still there", options);
    if (gone)
        return Finish(step, false, std::string("it ") + GONE_ALREADY, options);
    CResult result;
    session.Agent().RemoveVlan(result, session.Lock(0), key);
    if (result.Succeeded() && result.ulErrClass != RAV_CLASS_REFUSED)
        return Finish(step, true, "", options);
    // The agent reports a failure. If the VLAN is gone all the same, the agent or another program may have removed it.
    const Failure failure = WhyItFailed(session, result);
    report.isLocked = report.isLocked || failure.isLocked;
    Finish(step, !IsThere(session, key),
           failure.text + (failure.isLocked ? " (it may be removed in part: remove it again)" : ""), options);
}
} // namespace

ExitStatus RunRemove(CSession& session, const RemoveOptions& options)
{
    Report report = Examine(session, options);
    Announce(report, options);
    if (!options.dryRun && Count(report, StepState::Planned) > 0)
    {
        const CInterruption interruption;
        RequireConsent({"Connections over these VLANs will be lost.", options.yes, IsAnyGrave(report.warnings), true,
                        PlanText(report, "will remove ")});
        TakeSteps(
            session, options, report, [&] { PlanAgain(session, options, report); },
            [&](Step& step) {
                RemoveOne(session, step, report, options);
                return !report.isLocked;
            });
        TidyTeams(session, report);
        TellTheEnd(session, options, WORDS, report);
    }
    if (options.json)
        PrintJson(ReportToJson(report));
    return StatusOf(report);
}
