// Removing VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <iostream>
#include <string>

using Json = nlohmann::ordered_json;

namespace
{
constexpr const char* BOUND_TO_HYPER_V = "it is bound to the Hyper-V switch; take it off the switch first";

// One VLAN that is to go, and what becomes of it.
struct Removal
{
    VlanRow vlan;
    CRavString with; // the VLAN that takes this untagged one along; empty for one that was asked for
    const char* state = "planned";
    std::string reason; // of "refused" and "failed", and of "removed" when the agent reports a failure all the same
};

bool Has(const std::vector<VlanRow>& rows, const CRavString& key)
{
    return std::any_of(rows.begin(), rows.end(), [&](const VlanRow& row) { return row.info.vlanKey == key; });
}

std::vector<VlanRow> Chosen(CSession& session, const RemoveOptions& options)
{
    std::vector<VlanRow> rows;
    if (options.all)
        return ReadVlans(session, FindParent(session, options.parent).key);
    for (const std::string& name : options.vlans)
    {
        const VlanRow row = FindVlan(session, name);
        if (!Has(rows, row.info.vlanKey))
            rows.push_back(row);
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

bool IsBoundToHyperV(CSession& session, const VlanRow& row)
{
    CResult result;
    bool bound = false;
    session.AgentPvt().IsHyperV_EnabledOnVlan(result, row.info.vlanKey, bound);
    return bound;
}

// What the agent will do, in its order: what goes along with what, and what it refuses.
std::vector<Removal> Plan(CSession& session, const std::vector<VlanRow>& chosen)
{
    std::vector<VlanRow> present = ReadVlans(session);
    const auto take = [&](const CRavString& key) {
        std::erase_if(present, [&](const VlanRow& row) { return row.info.vlanKey == key; });
    };
    std::vector<Removal> plan;
    for (const VlanRow& row : chosen)
    {
        if (!Has(present, row.info.vlanKey))
            continue; // goes with an earlier one
        const VlanRow* const untagged = GoesAlong(present, row);
        plan.push_back({row, {}, "planned", ""});
        if (IsBoundToHyperV(session, row))
            plan.back().reason = BOUND_TO_HYPER_V;
        else if (untagged != nullptr && IsBoundToHyperV(session, *untagged))
            plan.back().reason = VlanText(untagged->info) + " would have to go, too, but " + BOUND_TO_HYPER_V;
        if (!plan.back().reason.empty())
        {
            plan.back().state = "refused";
            continue;
        }
        if (untagged != nullptr)
        {
            plan.push_back({*untagged, row.info.vlanKey, "planned", ""});
            take(plan.back().vlan.info.vlanKey);
        }
        take(row.info.vlanKey);
    }
    return plan;
}

bool IsPlanned(const Removal& removal)
{
    return removal.state == std::string("planned");
}

void Announce(const std::vector<Removal>& plan, const RemoveOptions& options)
{
    for (const Removal& removal : plan)
    {
        const std::string text = VlanText(removal.vlan.info);
        if (!IsPlanned(removal))
            PrintError("error: " + text + " cannot be removed: " + removal.reason + "\n");
        else if (options.json)
            continue;
        else if (!removal.with.IsEmpty())
            Print("  and with it " + text + ", which would stay alone on its parent\n");
        else
            Print((options.dryRun ? "would remove " : "will remove ") + text + "\n");
    }
}

bool Confirmed()
{
    Print("Connections over these VLANs will be lost. Go on? [y/N] ");
    std::string answer;
    if (!std::getline(std::cin, answer))
        Print("\n");
    return answer.starts_with('y') || answer.starts_with('Y');
}

void Finish(Removal& removal, bool gone, const std::string& failure, const RemoveOptions& options)
{
    const std::string text = VlanText(removal.vlan.info);
    removal.state = gone ? "removed" : "failed";
    removal.reason = failure;
    if (!failure.empty())
        PrintError("error: " + text + (gone ? " is gone, but the agent reports a failure: " : " was not removed: ") +
                   failure + "\n");
    else if (!options.json)
        Print("removed " + text + "\n");
}

// A network configuration that is locked shows by the class, mostly with code 0; at the second of its two locks the
// lists of the parent are changed already.
void RemoveOne(CSession& session, Removal& removal, const RemoveOptions& options)
{
    const CRavString& key = removal.vlan.info.vlanKey;
    if (!IsThere(session, key))
        return Finish(removal, false, "it is gone already; another program has removed it", options);
    CResult result;
    session.Agent().RemoveVlan(result, session.Lock(options.waitSeconds), key);
    if (result.Succeeded() && result.ulErrClass != RAV_CLASS_REFUSED)
        return Finish(removal, true, "", options);
    // From here on it cannot be told who has removed one that is gone.
    const bool gone = !IsThere(session, key);
    const bool locked = !gone && result.ulErrClass == RAV_CLASS_REFUSED && result.ulErrCode != RAV_CODE_HYPER_V;
    Finish(removal, gone,
           FailureText(session, result) + (locked ? " (it may be removed in part: remove it again)" : ""), options);
}

void Carry(CSession& session, std::vector<Removal>& plan, const RemoveOptions& options)
{
    for (Removal& removal : plan)
    {
        if (!IsPlanned(removal))
            continue;
        if (removal.with.IsEmpty())
        {
            RemoveOne(session, removal, options);
            continue;
        }
        // The agent has taken it along, or has failed at it.
        const bool gone = !IsThere(session, removal.vlan.info.vlanKey);
        Finish(removal, gone, gone ? "" : "it is still there", options);
    }
}

void ShowJson(const std::vector<Removal>& plan)
{
    Json array = Json::array();
    for (const Removal& removal : plan)
        array.push_back({{"key", ToUtf8(removal.vlan.info.vlanKey)},
                         {"id", removal.vlan.info.vlanId},
                         {"name", ToUtf8(removal.vlan.info.vlanName)},
                         {"displayName", ToUtf8(removal.vlan.info.displayName)},
                         {"with", ToUtf8(removal.with)},
                         {"state", removal.state},
                         {"reason", removal.reason}});
    PrintJson(array);
}
} // namespace

ExitStatus RunRemove(CSession& session, const RemoveOptions& options)
{
    std::vector<Removal> plan = Plan(session, Chosen(session, options));
    Announce(plan, options);
    if (plan.empty() && !options.json)
        Print("no VLANs to remove\n");
    if (!options.dryRun && std::any_of(plan.begin(), plan.end(), IsPlanned))
    {
        if (!options.yes && !Confirmed())
            throw CommandError(EXIT_REFUSED, "nothing was removed; --yes answers the question beforehand");
        Carry(session, plan, options);
    }
    if (options.json)
        ShowJson(plan);
    const bool clean =
        std::all_of(plan.begin(), plan.end(), [](const Removal& removal) { return removal.reason.empty(); });
    return clean ? EXIT_DONE : EXIT_REFUSED;
}
