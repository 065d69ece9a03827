#include "Tools/vlanctl/Alteration.h"

#include "Common/Library/RestartNote.h"
#include "Tools/vlanctl/Costs.h"
#include "Tools/vlanctl/Interruption.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Question.h"

#include <algorithm>

namespace
{
constexpr char LOADED[] = "loaded";
constexpr char NOTHING_TO_CHANGE[] = "nothing to change\n";

bool IsInterrupted(const Alteration& alteration, const VlanRow& vlan)
{
    return alteration.isInterrupting && vlan.status == LOADED;
}

std::string ChangesText(const Step& step)
{
    std::string text;
    for (const Change& change : step.changes)
        text += ": " + ChangeText(change);
    return text;
}

std::string Text(const char* word, const Step& step)
{
    return std::string(word) + " " + VlanText(step.vlan.info) + ChangesText(step) + "\n";
}

Report Examine(const Alteration& alteration, const ChangeOptions& options, const std::vector<Step>& steps,
               const std::vector<Note>& errors)
{
    Report report = {alteration.verb, options.dryRun};
    report.errors = errors;
    if (report.errors.empty() && !steps.empty())
        report.errors = alteration.examine();
    if (report.errors.empty())
        report.steps = steps;
    if (!report.steps.empty())
        report.warnings = alteration.warnings;
    if (!report.steps.empty() && IsInterrupted(alteration, report.steps.front().vlan))
    {
        const RAV_VLAN_INFO& vlan = report.steps.front().vlan.info;
        Append(report.warnings, CostsOfInterruption(vlan.vlanKey, VlanText(vlan)));
        Append(report.warnings, CostsOfPendingRestart());
    }
    ShowNotes(report.errors, "error");
    ShowNotes(report.warnings, "warning");
    return report;
}

bool Make(CSession& session, const Alteration& alteration, Report& report, Step& step)
{
    const CResult result = alteration.make(step);
    step.state = result.Succeeded() ? StepState::Done : StepState::Failed;
    if (result.Succeeded())
        return true;
    const Failure failure = WhyItFailed(session, result);
    step.reason = failure.text;
    report.isLocked = failure.isLocked;
    PrintError("vlanctl: " + VlanText(step.vlan.info) + " was not " + alteration.words.done + ChangesText(step) +
               "\n  " + failure.text + "\n");
    return false;
}

// What the VLAN has become. One that was loaded before has to be so again, unless this very change needs a restart of
// the system for it.
void ReadAfterwards(CSession& session, const Alteration& alteration, bool wasRestartNoted, Report& report)
{
    const VlanRow before = report.steps.front().vlan;
    try
    {
        const std::vector<VlanRow> rows = ReadVlans(session, before.parentKey);
        const auto row = std::find_if(rows.begin(), rows.end(), [&](const VlanRow& candidate) {
            return candidate.info.vlanKey == before.info.vlanKey;
        });
        const bool hasToRun = alteration.hasToRun || IsInterrupted(alteration, before);
        const bool waitsForRestart = RavIsRestartNoted() && !wasRestartNoted;
        if (hasToRun && (row == rows.end() || row->status != LOADED) && !waitsForRestart)
        {
            AddError(report, "notLoaded", VlanText(before.info) + " has not come back: it carries no traffic");
            report.isDamaged = true;
        }
        for (Step& step : report.steps)
        {
            if (row != rows.end())
                step.vlan = *row;
        }
    }
    catch (const CommandError& error) // what was done is done all the same
    {
        AddError(report, "notExamined", std::string("what it has become cannot be examined: ") + error.what());
        report.isDamaged = true;
    }
}

// Others may have changed the host until the lock was had.
void ExamineUnderLock(const Alteration& alteration, Report& report)
{
    std::vector<Step> steps = alteration.plan ? alteration.plan(report.errors) : report.steps;
    if (report.errors.empty())
        report.steps = std::move(steps);
    if (report.errors.empty() && !report.steps.empty())
        report.errors = alteration.examine();
    ShowNotes(report.errors, "error");
}

void Take(CSession& session, const ChangeOptions& options, const Alteration& alteration, Report& report)
{
    const auto examine = [&] { ExamineUnderLock(alteration, report); };
    const bool wasRestartNoted = RavIsRestartNoted();
    TakeSteps(session, options, report, examine, [&](Step& step) { return Make(session, alteration, report, step); });
    std::string text = report.steps.empty() ? NOTHING_TO_CHANGE : "";
    for (const Step& step : report.steps)
    {
        if (step.state == StepState::Done)
            text += Text(alteration.words.done, step);
    }
    if (Count(report, StepState::Done) > 0)
        ReadAfterwards(session, alteration, wasRestartNoted, report);
    if (!options.json)
        Print(text);
    TellTheEnd(session, options, alteration.words, report);
}

void ShowPlan(const Alteration& alteration, const Report& report)
{
    for (const Step& step : report.steps)
        Print("would " + Text(alteration.words.verb, step));
    if (report.errors.empty())
        Print(report.steps.empty() ? NOTHING_TO_CHANGE : "nothing was changed\n");
}

ExitStatus Show(const ChangeOptions& options, const Report& report)
{
    if (options.json)
        PrintJson(ReportToJson(report));
    return StatusOf(report);
}
} // namespace

Step StepOf(const Alteration& alteration, const VlanRow& vlan, const Change& change)
{
    Step step = {alteration.action, vlan, {}, StepState::Planned, {}};
    step.changes.push_back(change);
    return step;
}

ExitStatus RunAlteration(CSession& session, const ChangeOptions& options, const Alteration& alteration,
                         const std::vector<Step>& steps, const std::vector<Note>& errors)
{
    Report report = Examine(alteration, options, steps, errors);
    if (!report.errors.empty() || report.steps.empty() || options.dryRun)
    {
        if (!options.json)
            ShowPlan(alteration, report);
        return Show(options, report);
    }
    const CInterruption interruption;
    if (!report.warnings.empty())
        RequireConsent({IsAnyGrave(report.warnings) ? "Connections to this machine will be cut, perhaps your own." : "",
                        options.yes, IsAnyGrave(report.warnings)});
    Take(session, options, alteration, report);
    return Show(options, report);
}
