#include "Tools/vlanctl/Apply.h"

#include "Tools/vlanctl/Aftermath.h"
#include "Tools/vlanctl/Confirmation.h"
#include "Tools/vlanctl/Costs.h"
#include "Tools/vlanctl/Decision.h"
#include "Tools/vlanctl/Interruption.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Progress.h"
#include "Tools/vlanctl/Question.h"

#include <algorithm>
#include <memory>

using Json = nlohmann::ordered_json;

namespace
{
constexpr ChangeWords WORDS = {"apply", "applied", "steps are done"};

// An apply from its plan to its end.
class CApply
{
  public:
    CApply(CSession& session, const ApplyOptions& options, DesiredPlan plan)
        : m_session(session), m_options(options), m_plan(std::move(plan))
    {
        m_report.isDryRun = options.dryRun;
    }

    Applied Run()
    {
        if (!m_options.dryRun)
            RefusePendingConfirmation();
        ShowPlan();
        if (!m_plan.errors.empty() || m_options.dryRun || !IsAnyToDo(m_plan.differences))
            return Outcome();
        const CInterruption interruption;
        const bool isGrave = IsAnyGrave(m_plan.warnings);
        RequireConsent(
            {isGrave ? "Connections to this machine will be cut, perhaps your own." : "", m_options.yes, isGrave});
        TakeUnderLock(m_session, m_options, m_report, [&] { Work(); });
        TidyTeams(m_session, m_report);
        if (m_confirmation)
            AwaitConfirmation();
        TellTheEnd(m_session, m_options, m_words, m_report);
        return Outcome();
    }

  private:
    void TakePlan()
    {
        m_report.errors = m_plan.errors;
        m_report.warnings = m_plan.warnings;
        m_report.steps = m_plan.errors.empty() ? StepsOf(m_plan) : std::vector<Step>();
    }

    void ShowPlan()
    {
        TakePlan();
        if (!m_options.json)
            ShowDifferences(m_plan.differences);
        ShowNotes(m_plan.errors, "error");
        ShowNotes(m_plan.warnings, "warning");
        if (m_options.json || !m_plan.errors.empty())
            return;
        if (!IsAnyToDo(m_plan.differences))
            Print("no difference\n");
        else if (m_options.dryRun)
            Print("nothing was changed\n");
    }

    // Others may have changed the host until the lock was had. Whoever has agreed has agreed to what was shown.
    bool IsStillSo()
    {
        const Json shown = DifferencesToJson(m_plan.differences);
        Replan(m_session, m_options.prune, m_plan);
        TakePlan();
        ShowNotes(m_plan.errors, "error");
        if (m_plan.errors.empty() && !m_options.yes && DifferencesToJson(m_plan.differences) != shown)
            AddError(m_report, "hostChanged", "another program has changed the host in the meantime; look again");
        return m_report.errors.empty();
    }

    void Work()
    {
        RefusePendingConfirmation();
        if (!IsStillSo() || !IsAnyToDo(m_plan.differences))
            return;
        if (m_options.confirmSeconds > 0)
            BeginConfirmation();
        RAV_CARRY_OUT_OPTIONS options;
        options.prune = m_options.prune;
        options.keep = m_options.keep;
        CProgressLine progress(m_report.steps.size());
        ShowNext(progress);
        options.goesOn = [&] { return !IsInterrupted(m_report); };
        options.onTaken = [&](const RAV_PLAN_STEP& step, const CResult& result) {
            Note(step, result);
            ShowNext(progress);
        };
        options.onWayBack = [&] {
            m_isOnWayBack = true;
            PrintError("vlanctl: taking back what was done\n");
        };
        m_carried = RavCarryOut(SourceOf(m_session), m_plan.changes, options);
        Judge();
    }

    void ShowNext(CProgressLine& progress) const
    {
        if (!m_isOnWayBack && m_taken < m_report.steps.size())
            progress.Show(m_taken, StepText(m_report.steps[m_taken]));
    }

    // The watcher has to know all that the way back needs.
    void BeginConfirmation()
    {
        const CResult result = RavReadRemoved(SourceOf(m_session), m_plan.changes);
        if (!result.Succeeded())
            throw CommandError(EXIT_REFUSED, "the settings of the VLANs cannot be read: " + CodeText(result));
        m_confirmation = std::make_unique<CConfirmation>(Before(), m_options.confirmSeconds);
    }

    void Note(const RAV_PLAN_STEP& step, const CResult& result)
    {
        if (m_isOnWayBack)
        {
            if (!result.Succeeded())
                PrintError(std::string("vlanctl: on the way back ") + RavChangeName(step.change) + " " +
                           IdText(step.id) + " failed: " + WhyItFailed(m_session, result).text + "\n");
            return;
        }
        Step& taken = m_report.steps[m_taken++];
        taken.state = result.Succeeded() ? StepState::Done : StepState::Failed;
        if (result.Succeeded())
        {
            if (!m_options.json)
                Print(StepText(taken) + ": done\n");
            return;
        }
        const Failure failure = WhyItFailed(m_session, result);
        taken.reason = failure.text;
        m_report.isLocked = failure.isLocked;
        PrintError("vlanctl: failed to " + StepText(taken) + ": " + failure.text + "\n");
    }

    void Judge()
    {
        if (m_carried.isDifferent)
            AddError(m_report, "notAsWanted",
                     "all steps were taken, and the host is not as the file says all the same");
        if (!m_carried.reading.Succeeded())
            AddError(m_report, "notVerified",
                     "all steps were taken, but the host cannot be read again to make sure of it: " +
                         CodeText(m_carried.reading));
        if (m_taken == 0 && !m_carried.failure.Succeeded())
            AddError(m_report, "notRead", "the host cannot be read: " + CodeText(m_carried.failure));
        if (m_carried.state == RAV_CARRIED_STATE::Done && m_confirmation)
            m_confirmation->NoteDone(m_carried.found);
        if (m_carried.state == RAV_CARRIED_STATE::RolledBack)
            TellWayBack();
        if (m_carried.state == RAV_CARRIED_STATE::Left)
            TellWhatIsLeft();
        if (m_carried.state != RAV_CARRIED_STATE::Done)
            EndConfirmation();
    }

    std::vector<RAV_BEFORE> Before() const
    {
        std::vector<RAV_BEFORE> before;
        for (const RAV_PARENT_CHANGE& change : m_plan.changes)
            before.push_back(RavBeforeOf(change.before, change.plan.steps));
        return before;
    }

    void TellWayBack()
    {
        TakeBackSteps([](const Step&) { return true; });
        const std::vector<::Note> notes = WayBackNotes(m_carried.back, Before());
        PrintError(std::string("vlanctl: the VLANs are as they were before") + (notes.empty() ? "\n" : ", but:\n"));
        ShowNotes(notes, "warning");
        Append(m_report.warnings, notes);
    }

    void TellWhatIsLeft()
    {
        m_report.isDamaged = true;
        m_words.result = "steps were not taken back";
        if (m_carried.back.reading.Succeeded() && m_carried.back.refusals.empty())
            TakeBackSteps([&](const Step& step) { return !IsLeft(step); });
        m_left = "not everything could be taken back" + MeaningsOf(WayBackNotes(m_carried.back, Before()), "\n  ");
        AddError(m_report, "notTakenBack", m_left + "\n  " + ABOUT_FAILED_CHANGE);
    }

    // Whether something is left to be done for the VLAN of a step.
    bool IsLeft(const Step& step) const
    {
        return std::any_of(m_carried.back.left.begin(), m_carried.back.left.end(), [&](const RAV_PLAN_STEP& left) {
            const RAV_VLAN_INFO& vlan = step.vlan.info;
            return left.parentKey == step.vlan.parentKey &&
                   (left.id == vlan.vlanId || left.name.CompareI(vlan.vlanName) || left.vlanKey == vlan.vlanKey);
        });
    }

    template <typename Test>
    void TakeBackSteps(Test&& isTakenBack)
    {
        for (Step& step : m_report.steps)
        {
            if (step.state == StepState::Done && isTakenBack(step))
                step.state = StepState::TakenBack;
        }
    }

    // Nothing is there that could be confirmed. The old state is kept where it could not be had again.
    void EndConfirmation()
    {
        const bool isLeft = m_carried.state == RAV_CARRIED_STATE::Left;
        const std::unique_ptr<CConfirmation> confirmation = std::move(m_confirmation);
        try
        {
            if (confirmation && isLeft)
                confirmation->Dismiss(ConfirmationState::Failed, m_left);
            else if (confirmation)
                confirmation->Dismiss();
            else if (isLeft)
                NoteFailedChange(Before(), m_left);
        }
        catch (const CommandError& error) // what was done is told all the same
        {
            AddError(m_report, "notNoted", error.what());
        }
    }

    // Whatever fails from here on: what was done is told.
    void AwaitConfirmation()
    try
    {
        if (!m_confirmation->Await())
            return TellDecision(ReadConfirmation());
        if (m_options.json || !IsConsole(STD_INPUT_HANDLE))
        {
            PrintError("vlanctl: taken back at " + m_confirmation->Deadline() +
                       " unless 'vlanctl confirm' comes first\n");
            return;
        }
        PrintError("Press Enter to keep this; it is taken back at " + m_confirmation->Deadline() + ".\n");
        TellDecision(m_confirmation->AskOnTerminal());
    }
    catch (const CommandError& error)
    {
        AddError(m_report, "notWatched",
                 std::string("whether the change is kept or taken back is not known; 'vlanctl confirm' tells: ") +
                     error.what());
    }

    // What has become of the change, now that nobody watches over it any more.
    void TellDecision(const std::optional<ConfirmationRecord>& record)
    {
        m_confirmation.reset();
        const ConfirmationState state = record ? record->state : ConfirmationState::Dismissed;
        switch (state)
        {
        case ConfirmationState::Confirmed:
            return;
        case ConfirmationState::TakenBack:
            TakeBackSteps([](const Step&) { return true; });
            return AddError(m_report, "notConfirmed", "it was not confirmed: " + record->outcome);
        case ConfirmationState::Failed:
            m_report.isDamaged = true;
            return AddError(m_report, "notTakenBack", record->outcome + "\n  " + ABOUT_FAILED_CHANGE);
        default:
            return AddError(m_report, "notWatched",
                            "the process that watched over the change is gone: it stays as it is; 'vlanctl confirm' "
                            "keeps it, 'vlanctl confirm --roll-back' takes it back");
        }
    }

    Applied Outcome() const { return {m_report, m_plan.differences, m_confirmation ? m_confirmation->Deadline() : ""}; }

    CSession& m_session;
    const ApplyOptions& m_options;
    DesiredPlan m_plan;
    Report m_report = {WORDS.verb};
    ChangeWords m_words = WORDS;
    RAV_CARRIED m_carried;
    std::unique_ptr<CConfirmation> m_confirmation;
    std::string m_left; // of a way back that failed: what is left
    size_t m_taken = 0;
    bool m_isOnWayBack = false;
};
} // namespace

Applied ApplyPlan(CSession& session, const ApplyOptions& options, DesiredPlan plan)
{
    return CApply(session, options, std::move(plan)).Run();
}
