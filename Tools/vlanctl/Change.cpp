#include "Tools/vlanctl/Change.h"

#include "Common/Library/RestartNote.h"
#include "Tools/vlanctl/Aftermath.h"
#include "Tools/vlanctl/Difference.h"
#include "Tools/vlanctl/Interruption.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Progress.h"

#include <algorithm>
#include <set>

namespace
{
void Apply(CTransaction& transaction, Report& report)
{
    const CResult applied = transaction.Finish();
    if (!applied.Succeeded())
        AddError(report, "notApplied",
                 "the changes are made, but the devices could not all be reloaded: " + CodeText(applied));
}

std::string NameOf(const Step& step)
{
    return step.changes.empty() || step.changes.front().setting.empty() ? IdText(step.vlan.info.vlanId)
                                                                        : step.changes.front().setting;
}

std::string NamesInState(const Report& report, StepState state)
{
    std::string text;
    for (const Step& step : report.steps)
    {
        if (step.state == state)
            text += (text.empty() ? "" : ", ") + NameOf(step);
    }
    return text;
}

void Examine(CSession& session, const ChangeOptions& options, Report& report)
{
    std::set<CRavString> parents;
    for (const Step& step : report.steps)
    {
        if (step.state != StepState::Refused)
            parents.insert(step.vlan.parentKey);
    }
    for (const CRavString& parent : parents)
    {
        try
        {
            if (ExamineAfterTrouble(session, parent, options.repair) == Aftermath::Damaged)
                report.isDamaged = true;
        }
        catch (const std::exception& error)
        {
            AddError(report, "notExamined", std::string("what was left cannot be examined: ") + error.what());
            report.isDamaged = true;
        }
    }
}
} // namespace

void TakeUnderLock(CSession& session, const ChangeOptions& options, Report& report, const std::function<void()>& work)
{
    CTransaction transaction(session, options.waitSeconds);
    KeepOutput();
    work();
    for (Step& step : report.steps)
    {
        if (step.state == StepState::Planned)
            step.state = StepState::NotReached;
    }
    Apply(transaction, report);
}

bool IsInterrupted(Report& report)
{
    if (!CInterruption::IsWanted())
        return false;
    AddError(report, "interrupted", "interrupted");
    return true;
}

void TakeSteps(CSession& session, const ChangeOptions& options, Report& report, const std::function<void()>& prepare,
               const std::function<bool(Step&)>& take)
{
    TakeUnderLock(session, options, report, [&] {
        prepare();
        if (!report.errors.empty())
            return;
        CProgressLine progress(Count(report, StepState::Planned));
        size_t done = 0;
        for (Step& step : report.steps)
        {
            if (step.state != StepState::Planned)
                continue;
            progress.Show(done++, StepText(step));
            if (IsInterrupted(report) || !take(step))
                return;
        }
    });
}

void TellTheEnd(CSession& session, const ChangeOptions& options, const ChangeWords& words, Report& report)
{
    const size_t done = Count(report, StepState::Done);
    const bool isBegun = done > 0 || Count(report, StepState::Failed) > 0;
    if (StatusOf(report) != EXIT_DONE && report.steps.size() > 1)
        PrintError("vlanctl: " + std::to_string(done) + " of " + std::to_string(report.steps.size()) + " " +
                   words.result + (done > 0 ? ": " + NamesInState(report, StepState::Done) : "") + "\n");
    if (StatusOf(report) != EXIT_DONE && isBegun)
        Examine(session, options, report);
    report.isRestartNeeded = isBegun && RavIsRestartNoted();
    if (report.isRestartNeeded)
        PrintError("vlanctl: a restart of the system is needed for what was " + std::string(words.done) +
                   " to take full effect\n");
}
