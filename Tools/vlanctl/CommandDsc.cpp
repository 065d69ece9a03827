// A command-based resource for engines of desired state.

#include "Tools/vlanctl/Apply.h"
#include "Tools/vlanctl/DscInstance.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/TextFile.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
// One line, as engines read it.
void PrintLine(const Json& value)
{
    Print(value.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n");
}

DscInstance ReadInstance(const DscOptions& options)
{
    return ParseDscInstance(options.input.empty() ? ReadTextFile("-") : options.input);
}

void ReadSettingsOf(CSession& session, const CRavString& parentName, RAV_PRESENT_VLAN& vlan)
{
    const CResult result = RavReadSettings(SourceOf(session), vlan);
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the settings of " + VlanText(vlan.id, vlan.name) + " on " +
                                             ToUtf8(parentName) + " cannot be read: " + CodeText(result));
}

// The parent's VLANs with all their settings.
RAV_PRESENT_PARENT ReadParent(CSession& session, const RAV_HOST& host, const ParentRow& row)
{
    RAV_PRESENT_PARENT parent = RavReadParent(SourceOf(session), host, row.key);
    for (RAV_PRESENT_VLAN& vlan : parent.vlans)
        ReadSettingsOf(session, row.name, vlan);
    return parent;
}

Json StateOf(CSession& session, const RAV_HOST& host, const ParentRow& row, const std::string& name)
{
    return DscInstanceToJson(name, ParentToFile(ReadParent(session, host, row)).at("vlans"));
}

// As it is, under the name by which it was asked for.
Json ReadState(CSession& session, const std::string& name)
{
    const RAV_HOST host = ReadWholeHost(session);
    return StateOf(session, host, ChooseParent(ReadParents(session, ParentDetail::Names, host), name), name);
}

DesiredPlan PlanOf(CSession& session, const DscInstance& instance)
{
    if (!instance.isState)
        throw CommandError(EXIT_USAGE, "the instance does not say which VLANs: it has no \"vlans\"");
    return MakeDesiredPlan(session, {instance.parent}, {}, true);
}

// What a step makes of the VLANs, which stand in the order of `keys`.
void Take(const RAV_PLAN_STEP& step, std::vector<CRavString>& keys, Json& vlans)
{
    if (step.change == RAV_CHANGE::Create)
    {
        keys.emplace_back();
        vlans.push_back(
            {{"id", step.id}, {"name", ToUtf8(step.name)}, {"type", step.type}, {"settings", Json::object()}});
        return;
    }
    for (size_t index = 0; index < keys.size(); ++index)
    {
        if (keys[index] != step.vlanKey || (keys[index].IsEmpty() && vlans[index]["id"] != step.id))
            continue;
        Json& vlan = vlans[index];
        if (step.change == RAV_CHANGE::Rename)
            vlan["name"] = ToUtf8(step.newName);
        else if (step.change == RAV_CHANGE::SetId)
            vlan["id"] = step.newId;
        else if (step.change == RAV_CHANGE::SetType)
            vlan["type"] = step.newType;
        else if (step.change == RAV_CHANGE::Set)
            vlan["settings"][ToUtf8(step.keyword)] = std::to_string(step.is);
        else if (step.change == RAV_CHANGE::Reset)
            vlan["settings"][ToUtf8(step.keyword)] = ToUtf8(RAV_DEFAULT_VALUE);
        else
        {
            vlans.erase(index);
            keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(index));
        }
        return;
    }
}

// The VLANs of the instance when all steps are taken.
Json Foretell(CSession& session, const DesiredPlan& plan, const std::string& name)
{
    Json vlans = Json::array();
    for (const RAV_PARENT_CHANGE& change : plan.changes)
    {
        std::vector<CRavString> keys;
        for (RAV_PRESENT_VLAN vlan : change.before.vlans)
        {
            RAV_PRESENT_PARENT alone;
            if (!vlan.settings)
                ReadSettingsOf(session, change.before.name, vlan);
            alone.vlans = {vlan};
            keys.push_back(vlan.key);
            vlans.push_back(ParentToFile(alone).at("vlans").front());
        }
        for (const RAV_PLAN_STEP& step : change.plan.steps)
            Take(step, keys, vlans);
    }
    std::sort(vlans.begin(), vlans.end(), [](const Json& one, const Json& other) { return one["id"] < other["id"]; });
    return DscInstanceToJson(name, vlans);
}

ExitStatus Get(CSession& session, const DscOptions& options)
{
    PrintLine(ReadState(session, ReadInstance(options).parent.name));
    return EXIT_DONE;
}

ExitStatus Test(CSession& session, const DscOptions& options)
{
    const DscInstance instance = ReadInstance(options);
    const DesiredPlan plan = PlanOf(session, instance);
    Json state = ReadState(session, instance.parent.name);
    const bool isAsWanted = plan.errors.empty() && !IsAnyToDo(plan.differences);
    const bool isPresenceWrong = state.at("_exist") != !instance.parent.vlans.empty();
    ShowNotes(plan.errors, "error"); // it is not as wanted, and cannot become so
    state["_inDesiredState"] = isAsWanted;
    PrintLine(state);
    Json differing = Json::array();
    if (!isAsWanted && isPresenceWrong)
        differing.push_back("_exist");
    if (!isAsWanted)
        differing.push_back("vlans");
    PrintLine(differing);
    return EXIT_DONE;
}

ExitStatus WhatIf(CSession& session, const DesiredPlan& plan, const std::string& name)
{
    ShowNotes(plan.errors, "error");
    ShowNotes(plan.warnings, "warning");
    if (!plan.errors.empty())
        return EXIT_REFUSED;
    PrintLine(Foretell(session, plan, name));
    return EXIT_DONE;
}

// For an engine every status but 0 is a failure: a needed restart is told in the state.
ExitStatus Set(CSession& session, const DscOptions& options)
{
    const DscInstance instance = ReadInstance(options);
    DesiredPlan plan = PlanOf(session, instance);
    if (options.whatIf)
        return WhatIf(session, plan, instance.parent.name);
    ApplyOptions apply;
    apply.yes = apply.json = apply.prune = true;
    const Applied applied = ApplyPlan(session, apply, std::move(plan));
    const ExitStatus status = StatusOf(applied.report);
    if (status != EXIT_DONE && status != EXIT_RESTART)
        return status;
    Json state = ReadState(session, instance.parent.name);
    if (applied.report.isRestartNeeded)
        state["_rebootRequested"] = true;
    PrintLine(state);
    return EXIT_DONE;
}

// All that carry VLANs, or the one that an instance names.
ExitStatus Export(CSession& session, const DscOptions& options)
{
    const RAV_HOST host = ReadWholeHost(session);
    std::vector<ParentRow> rows = ReadParents(session, ParentDetail::Names, host);
    if (!options.input.empty())
        rows = {ChooseParent(rows, ParseDscInstance(options.input).parent.name)};
    for (const ParentRow& row : rows)
    {
        const Json state = StateOf(session, host, row, ToUtf8(row.name));
        if (!options.input.empty() || state.at("_exist") == true)
            PrintLine(state);
    }
    return EXIT_DONE;
}
} // namespace

ExitStatus RunDsc(const DscOptions& options)
{
    if (options.operation == "schema")
    {
        PrintLine(DscSchema());
        return EXIT_DONE;
    }
    CSession session;
    if (options.operation == "get")
        return Get(session, options);
    if (options.operation == "test")
        return Test(session, options);
    return options.operation == "set" ? Set(session, options) : Export(session, options);
}
