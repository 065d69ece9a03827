// Validating and creating VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Costs.h"
#include "Tools/vlanctl/CreationCheck.h"
#include "Tools/vlanctl/Difference.h"
#include "Tools/vlanctl/Interruption.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Progress.h"
#include "Tools/vlanctl/Question.h"
#include "Tools/vlanctl/TeamRules.h"

#include <algorithm>

namespace
{
constexpr ChangeWords WORDS = {"create", "created", "are there"};

// What is asked for; `wanted` is left with what is missing.
struct Request
{
    WantedVlans wanted;
    std::vector<VlanRow> present;
};

WantedVlans WantedOf(const CreateOptions& options)
{
    return ParseWanted(options.ids, options.autoNames ? std::nullopt : std::optional(options.name));
}

std::vector<Step> Plan(const WantedVlans& wanted, const ParentRow& parent)
{
    std::vector<Step> steps;
    for (const WantedVlan& vlan : wanted.vlans)
    {
        Step step = {WORDS.verb, {}, {}, StepState::Planned, {}};
        step.vlan.info.vlanId = vlan.id;
        step.vlan.info.vlanName = FromUtf8(vlan.name.value_or(""));
        step.vlan.parentKey = parent.key;
        step.vlan.parentName = parent.name;
        steps.push_back(step);
    }
    return steps;
}

void LeavePresentOut(CSession& session, const ParentRow& parent, Request& request)
{
    const std::vector<VlanRow> present = TakePresent(ReadVlans(session, parent.key), request.wanted);
    request.present.insert(request.present.end(), present.begin(), present.end());
}

bool IsAnyWanted(const Request& request)
{
    return !request.wanted.vlans.empty() || !request.wanted.refused.empty();
}

// What stands against the request, what it costs, and its steps if nothing stands against it.
Report Examine(CSession& session, const CreateOptions& options, const WantedVlans& wanted, const ParentRow& parent)
{
    const CreationCheck check = CheckCreation(session, parent.key, wanted);
    Report report = {WORDS.verb, options.dryRun, {}, check.errors, check.warnings};
    if (parent.isTeam)
        Append(report.errors, TeamRefusals(ReadHost(session), parent.key));
    if (report.errors.empty())
    {
        report.steps = Plan(wanted, parent);
        for (const WantedVlan& vlan : wanted.vlans)
            Append(report.warnings, NameWarnings(session, parent.key, vlan.name.value_or("")));
        Append(report.warnings, CostsOfFirstVlan(session, parent));
        Append(report.warnings, CostsOfPendingRestart());
    }
    ShowNotes(report.errors, "error");
    ShowNotes(report.warnings, "warning");
    return report;
}

// Names each VLAN for the agent, notes what it has done, and stops it between two VLANs.
class CProgress : public CRavVlanProgress
{
  public:
    CProgress(const WantedVlans& wanted, Report& report)
        : m_wanted(wanted), m_report(report), m_line(report.steps.size())
    {
        ShowNext(0);
    }
    void OnVlanCreated(DWORD vlanId, size_t uDone, size_t) override
    {
        for (Step& step : m_report.steps)
        {
            if (step.vlan.info.vlanId == vlanId)
                step.state = StepState::Done;
        }
        ShowNext(uDone);
    }
    bool GoesOn() override { return !IsInterrupted(m_report); }
    void NameVlan(DWORD vlanId, CRavString& name) override
    {
        for (const WantedVlan& vlan : m_wanted.vlans)
        {
            if (vlan.id == vlanId && vlan.name)
                name = FromUtf8(*vlan.name);
        }
    }

  private:
    void ShowNext(size_t done)
    {
        if (done < m_report.steps.size())
            m_line.Show(done, StepText(m_report.steps[done]));
    }

    const WantedVlans& m_wanted;
    Report& m_report;
    CProgressLine m_line;
};

// The VLAN that the agent was at when it failed.
void NoteFailure(CSession& session, const CResult& result, Report& report)
{
    const auto step = std::find_if(report.steps.begin(), report.steps.end(),
                                   [](const Step& one) { return one.state == StepState::Planned; });
    if (step == report.steps.end())
        return;
    const Failure failure = WhyItFailed(session, result);
    step->state = StepState::Failed;
    step->reason = failure.text;
    report.isLocked = failure.isLocked;
    PrintError("vlanctl: the VLAN " + IdText(step->vlan.info.vlanId) + " was not created: " + step->reason + "\n");
}

// All in one call, in which the agent reads the host once.
CResult Ask(CSession& session, const WantedVlans& wanted, const CRavString& parentKey, CProgress& progress)
{
    CResult result;
    if (wanted.vlans.size() != 1 || !wanted.vlans.front().name)
    {
        session.Agent().CreateMultipleVLANs(result, parentKey, FromUtf8(wanted.ids), RAV_AUTO_VLAN_NAMES, 0, &progress,
                                            session.Lock(0));
        return result;
    }
    const WantedVlan& vlan = wanted.vlans.front();
    if (!progress.GoesOn())
        return CResult(ERROR_CANCELLED);
    session.Agent().CreateVlan(result, parentKey, vlan.id, FromUtf8(*vlan.name), 0, session.Lock(0));
    if (result.Succeeded())
        progress.OnVlanCreated(vlan.id, 1, 1);
    return result;
}

void Create(CSession& session, const CreateOptions& options, const ParentRow& parent, Request& request, Report& report)
{
    TakeUnderLock(session, options, report, [&] {
        if (options.ifMissing) // another program may have created them until the lock was had
        {
            LeavePresentOut(session, parent, request);
            report.steps = Plan(request.wanted, parent);
        }
        if (!IsAnyWanted(request))
            return;
        CProgress progress(request.wanted, report);
        const CResult result = Ask(session, request.wanted, parent.key, progress);
        if (result.Succeeded() || !report.errors.empty())
            return;
        if (RavIsMessageCode(result.ulErrCode)) // others have changed the host until the lock was had
            report.errors = CheckCreation(session, parent.key, request.wanted).errors;
        ShowNotes(report.errors, "error");
        if (report.errors.empty())
            NoteFailure(session, result, report);
    });
}

std::vector<VlanRow> ReadAfterwards(CSession& session, const ParentRow& parent)
{
    try
    {
        return ReadVlans(session, parent.key);
    }
    catch (const CommandError& error) // the VLANs are there all the same
    {
        PrintError(std::string("vlanctl: ") + error.what() + "\n");
        return {};
    }
}

// What the agent has made of the steps that are done.
void ReadCreated(CSession& session, const ParentRow& parent, Report& report)
{
    const std::vector<VlanRow> rows = ReadAfterwards(session, parent);
    for (Step& step : report.steps)
    {
        const auto row = std::find_if(rows.begin(), rows.end(), [&](const VlanRow& candidate) {
            return candidate.info.vlanId == step.vlan.info.vlanId;
        });
        if (step.state == StepState::Done && row != rows.end())
            step.vlan = *row;
    }
}

// "10 (Sales), 11, untagged"
std::string TextOf(const std::vector<Step>& steps)
{
    std::string text;
    for (const Step& step : steps)
    {
        const std::string name = ToUtf8(step.vlan.info.vlanName);
        text += (text.empty() ? "" : ", ") + IdText(step.vlan.info.vlanId) + (name.empty() ? "" : " (" + name + ")");
    }
    return text;
}

void AddPresent(const std::vector<VlanRow>& present, Report& report)
{
    for (const VlanRow& row : present)
        report.steps.push_back({WORDS.verb, row, {}, StepState::IsThere, {}});
}

ExitStatus Show(const CreateOptions& options, const Report& report)
{
    if (options.json)
        PrintJson(ReportToJson(report));
    for (const Step& step : report.steps)
    {
        const bool isThere = step.state == StepState::IsThere;
        if (!options.json && (isThere || step.state == StepState::Done))
            Print((isThere ? "is there: " : "created ") + VlanText(step.vlan.info) + " " +
                  ToUtf8(step.vlan.info.vlanKey) + "\n");
    }
    return StatusOf(report);
}

void CreateWithConsent(CSession& session, const CreateOptions& options, const ParentRow& parent, Request& request,
                       Report& report)
{
    const CInterruption interruption;
    if (!report.warnings.empty())
        RequireConsent({IsAnyGrave(report.warnings) ? "Connections to this machine will be cut, perhaps your own." : "",
                        options.yes, IsAnyGrave(report.warnings)});
    Create(session, options, parent, request, report);
    ReadCreated(session, parent, report);
    TellTheEnd(session, options, WORDS, report);
}
} // namespace

ExitStatus RunValidate(CSession& session, const CreateOptions& options)
{
    const ParentRow parent = FindParent(session, options.parent);
    Report report = Examine(session, options, WantedOf(options), parent);
    report.verb = "validate";
    report.isDryRun = true;
    if (!options.json && report.errors.empty())
        Print("valid: can be created on " + Visible(ToUtf8(parent.name)) + "\n");
    return Show(options, report);
}

ExitStatus RunCreate(CSession& session, const CreateOptions& options)
{
    const ParentRow parent = FindParent(session, options.parent);
    Request request = {WantedOf(options), {}};
    if (options.ifMissing)
        LeavePresentOut(session, parent, request);
    Report report = {WORDS.verb, options.dryRun};
    if (IsAnyWanted(request))
        report = Examine(session, options, request.wanted, parent);
    if (!report.errors.empty())
        return Show(options, report);
    if (options.dryRun && !report.steps.empty() && !options.json)
        Print("would create " + TextOf(report.steps) + " on " + Visible(ToUtf8(parent.name)) +
              "; nothing was changed\n");
    if (!options.dryRun && !report.steps.empty())
        CreateWithConsent(session, options, parent, request, report);
    AddPresent(request.present, report);
    return Show(options, report);
}
