// Removing VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <iostream>
#include <string>

namespace
{
// A VLAN that goes, and the untagged VLAN that the agent takes with it, if any.
struct Removal
{
    VlanRow vlan;
    std::string untaggedToo;
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

// Which untagged VLANs go along, in the order of the removals: the agent never leaves one alone on its parent.
std::vector<Removal> Plan(CSession& session, const std::vector<VlanRow>& chosen)
{
    std::vector<VlanRow> present = ReadVlans(session);
    std::vector<Removal> plan;
    for (const VlanRow& row : chosen)
    {
        if (!Has(present, row.info.vlanKey))
            continue; // goes with an earlier one
        Removal removal{row, ""};
        std::vector<VlanRow> siblings;
        std::copy_if(present.begin(), present.end(), std::back_inserter(siblings),
                     [&](const VlanRow& other) { return other.parentKey == row.parentKey; });
        const auto untagged =
            std::find_if(siblings.begin(), siblings.end(), [](const VlanRow& other) { return other.info.vlanId == 0; });
        const bool takesUntagged = siblings.size() == 2 && row.info.vlanId != 0 && untagged != siblings.end();
        if (takesUntagged)
            removal.untaggedToo = ToUtf8(untagged->info.displayName);
        std::erase_if(present, [&](const VlanRow& other) {
            return other.info.vlanKey == row.info.vlanKey ||
                   (takesUntagged && other.info.vlanKey == untagged->info.vlanKey);
        });
        plan.push_back(removal);
    }
    return plan;
}

void Announce(const std::vector<Removal>& plan, const char* verb)
{
    for (const Removal& removal : plan)
    {
        Print(std::string(verb) + " " + ToUtf8(removal.vlan.info.displayName) + " (" +
              (removal.vlan.info.vlanId == 0 ? "untagged" : "id " + std::to_string(removal.vlan.info.vlanId)) + ")\n");
        if (!removal.untaggedToo.empty())
            Print("  and with it " + removal.untaggedToo + " (untagged), which would stay alone on its parent\n");
    }
}

bool Confirmed()
{
    Print("Connections over these VLANs will be lost. Go on? [y/N] ");
    std::string answer;
    return std::getline(std::cin, answer) && (answer.starts_with('y') || answer.starts_with('Y'));
}

bool RemoveOne(CSession& session, const Removal& removal, unsigned waitSeconds)
{
    CResult result;
    const std::string name = ToUtf8(removal.vlan.info.displayName);
    session.Agent().RemoveVlan(result, session.Lock(waitSeconds), removal.vlan.info.vlanKey);
    // Code 0 with class 2 means that the network configuration was locked and nothing was done.
    if (result.Succeeded() && result.ulErrClass != 2)
    {
        Print("removed " + name + "\n");
        return true;
    }
    PrintError("error: " + name + " was not removed: " + CodeText(result) + "\n");
    return false;
}
} // namespace

ExitStatus RunRemove(CSession& session, const RemoveOptions& options)
{
    const std::vector<Removal> plan = Plan(session, Chosen(session, options));
    if (plan.empty())
    {
        Print("no VLANs to remove\n");
        return EXIT_DONE;
    }
    Announce(plan, options.dryRun ? "would remove" : "will remove");
    if (options.dryRun)
        return EXIT_DONE;
    if (!options.yes && !Confirmed())
        throw CommandError(EXIT_REFUSED, "nothing was removed; --yes answers the question beforehand");
    ExitStatus status = EXIT_DONE;
    for (const Removal& removal : plan)
    {
        if (!RemoveOne(session, removal, options.waitSeconds))
            status = EXIT_REFUSED;
    }
    return status;
}
