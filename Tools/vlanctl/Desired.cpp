#include "Tools/vlanctl/Desired.h"

#include "Common/Library/RavAdapter.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Costs.h"
#include "Tools/vlanctl/DesiredStateScan.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/NameRules.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <set>

namespace
{
// What is said against names of new VLANs is said here, too; a VLAN that has such a name may keep it.
std::string NameFaults(const RAV_HOST& host, const CRavString& parentKey, const DesiredParent& parent)
{
    std::string faults;
    for (size_t index = 0; index < parent.vlans.size(); ++index)
    {
        const CRavString& name = parent.vlans[index].name;
        const bool isThere =
            std::any_of(host.components.begin(), host.components.end(), [&](const RAV_HOST_COMPONENT& component) {
                return component.IsVlan() && component.vlan.parentKey == parentKey && component.vlan.name == name;
            });
        for (const Note& note : isThere ? std::vector<Note>() : NameRefusals(ToUtf8(name)))
            faults += "\n" + PlaceOf(PlaceOf(PlaceOf(parent.place, "vlans"), index), "name") + ": " + note.meaning;
    }
    return faults;
}

// The parents that the file names and the command is about.
std::vector<RAV_WANTED_PARENT> Resolve(const std::vector<DesiredParent>& file, const RAV_HOST& host,
                                       const std::vector<ParentRow>& rows, const std::vector<std::string>& only)
{
    std::set<CRavString> chosen;
    for (const std::string& name : only)
        chosen.insert(ChooseParent(rows, name).key);
    std::vector<RAV_WANTED_PARENT> wanted;
    std::map<CRavString, std::string> places;
    std::string faults;
    for (const DesiredParent& parent : file)
    {
        try
        {
            const CRavString key = ChooseParent(rows, parent.name).key;
            const auto [other, isNew] = places.try_emplace(key, parent.place);
            if (!isNew)
                faults += "\n" + parent.place + ": is the same adapter or team as " + other->second;
            else if (only.empty() || chosen.contains(key))
            {
                faults += NameFaults(host, key, parent);
                wanted.push_back({key, parent.vlans});
            }
        }
        catch (const CommandError& error)
        {
            faults += "\n" + parent.place + ": " + error.what();
        }
    }
    for (const CRavString& key : chosen)
    {
        if (!places.contains(key))
            faults += "\nthe file says nothing of " + ToUtf8(key);
    }
    if (!faults.empty())
        throw CommandError(EXIT_REFUSED, faults.substr(1));
    return wanted;
}

bool Creates(const RAV_PARENT_CHANGE& change)
{
    return std::any_of(change.plan.steps.begin(), change.plan.steps.end(),
                       [](const RAV_PLAN_STEP& step) { return step.change == RAV_CHANGE::Create; });
}

std::string Text(const RAV_PRESENT_PARENT& parent, DWORD id)
{
    return Visible(ToUtf8(parent.name)) + "/" + IdText(id);
}

// What the agent has against values that the settings themselves accept: a parent that carries less.
void JudgeSettings(CSession& session, const RAV_PARENT_CHANGE& change, std::vector<Note>& errors)
{
    for (const RAV_PLAN_STEP& step : change.plan.steps)
    {
        const bool isSetting = step.change == RAV_CHANGE::Set || step.change == RAV_CHANGE::Reset;
        if (!isSetting || step.vlanKey.IsEmpty())
            continue;
        for (Note note : SettingRefusals(session, step.vlanKey, step.keyword, RAV_SETTING_VAL_INT(step.is)))
        {
            note.meaning = Text(change.before, step.id) + ": " + note.meaning;
            errors.push_back(note);
        }
    }
}

void JudgeChange(CSession& session, const RAV_PARENT_CHANGE& change, std::vector<Note>& errors)
{
    for (const RAV_REFUSAL& refusal : change.plan.refusals)
        errors.push_back(NoteOf(ToUtf8(refusal.name), Text(change.before, refusal.id) + ": " + ToUtf8(refusal.text)));
    for (const RAV_PRESENT_VLAN& vlan : change.plan.removed)
    {
        if (IsBoundToHyperV(session, vlan.key))
            errors.push_back(NoteOf("boundToHyperV", Text(change.before, vlan.id) + " is " + BOUND_TO_HYPER_V));
    }
    JudgeSettings(session, change, errors);
}

// What stands against new VLANs of the parent, and what they cost it.
void JudgeParent(CSession& session, const RAV_PARENT_CHANGE& change, DesiredPlan& plan)
{
    if (!Creates(change) || change.before.vlans.size() >= change.before.mostVlans)
        return;
    const ParentVerdict verdict = JudgeNewVlans(session, change.before.key);
    if (!verdict.reason.empty())
        plan.errors.push_back(
            NoteOf("parentRefuses", ToUtf8(change.before.name) + " cannot carry new VLANs: " + verdict.reason));
    for (Note warning : verdict.warnings)
    {
        warning.meaning = ToUtf8(change.before.name) + ": " + warning.meaning;
        plan.warnings.push_back(warning);
    }
}

// A VLAN that is reloaded, or leaves.
void AddCostsOfVlans(const RAV_HOST& host, const RAV_PARENT_CHANGE& change, std::vector<Note>& costs)
{
    std::set<CRavString> told;
    for (const RAV_PLAN_STEP& step : change.plan.steps)
    {
        if (step.vlanKey.IsEmpty() || step.change == RAV_CHANGE::Rename || !told.insert(step.vlanKey).second)
            continue;
        const std::string text = Text(change.before, step.id);
        const RAV_HOST_COMPONENT* const vlan = host.Find(step.vlanKey);
        if (step.change == RAV_CHANGE::Remove)
            Append(costs, CostsOfSilence(step.vlanKey, text));
        else if (vlan != nullptr && vlan->loadStatus == RAV_LOAD_STATUS_LOADED)
            Append(costs, CostsOfInterruption(step.vlanKey, text));
    }
}

void AddCostsOfParent(CSession& session, const RAV_PARENT_CHANGE& change, std::vector<Note>& costs)
{
    ParentRow row;
    row.key = change.before.key;
    row.name = change.before.name;
    if (change.before.vlans.empty() && Creates(change))
        Append(costs, CostsOfFirstVlan(session, row));
    if (!change.before.vlans.empty() && change.plan.removed.size() == change.before.vlans.size() && !Creates(change))
        Append(costs, CostsOfLastVlan(session, row.key, row.name));
}

void Judge(CSession& session, const RAV_HOST& host, DesiredPlan& plan)
{
    plan.errors.clear();
    plan.warnings.clear();
    for (const RAV_PARENT_CHANGE& change : plan.changes)
        JudgeChange(session, change, plan.errors);
    for (const RAV_PARENT_CHANGE& change : plan.changes)
    {
        JudgeParent(session, change, plan);
        AddCostsOfParent(session, change, plan.warnings);
        AddCostsOfVlans(host, change, plan.warnings);
    }
    plan.differences = DifferencesOf(plan.changes);
    if (IsAnyToDo(plan.differences))
        Append(plan.warnings, CostsOfPendingRestart());
}

void PlanOn(CSession& session, const RAV_HOST& host, bool prune, DesiredPlan& plan)
{
    std::map<CRavString, CRavString> names;
    for (const RAV_PARENT_CHANGE& change : plan.changes)
        names[change.before.key] = change.before.name;
    plan.changes.clear();
    const CResult result = RavPlanChanges(SourceOf(session), host, plan.wanted, prune, plan.changes);
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the settings of the VLANs cannot be read: " + CodeText(result));
    for (RAV_PARENT_CHANGE& change : plan.changes)
        change.before.name = names[change.before.key];
}
} // namespace

DesiredPlan MakeDesiredPlan(CSession& session, const std::vector<DesiredParent>& state,
                            const std::vector<std::string>& only, bool prune)
{
    const RAV_HOST host = ReadWholeHost(session);
    const std::vector<ParentRow> rows = ReadParents(session, ParentDetail::Names, host);
    DesiredPlan plan;
    plan.wanted = Resolve(state, host, rows, only);
    for (const RAV_WANTED_PARENT& parent : plan.wanted)
    {
        RAV_PARENT_CHANGE& change = plan.changes.emplace_back();
        change.before.key = parent.key;
        change.before.name =
            std::find_if(rows.begin(), rows.end(), [&](const ParentRow& row) { return row.key == parent.key; })->name;
    }
    PlanOn(session, host, prune, plan);
    Judge(session, host, plan);
    return plan;
}

DesiredPlan MakeDesiredPlan(CSession& session, const DiffOptions& options)
{
    return MakeDesiredPlan(session, ReadDesiredState(options.file), options.parents, options.prune);
}

void Replan(CSession& session, bool prune, DesiredPlan& plan)
{
    const RAV_HOST host = ReadWholeHost(session);
    PlanOn(session, host, prune, plan);
    Judge(session, host, plan);
}

std::vector<Step> StepsOf(const DesiredPlan& plan)
{
    std::vector<Step> steps;
    for (const RAV_PARENT_CHANGE& change : plan.changes)
    {
        for (const RAV_PLAN_STEP& step : change.plan.steps)
            steps.push_back(StepOf(change.before, step));
    }
    return steps;
}
