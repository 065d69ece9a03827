#pragma once
// How the VLANs on an adapter, or on a team's member, decide the tagging of its port: a rule over plain values.

#include <windows.h>

// The driver's tagging mode, as its entry for the adapter has it. No other value is ever written.
enum class RavTaggingMode : DWORD
{
    Untagged = 0, // untagged traffic only, or no VLAN left
    Tagged = 1,   // tagged VLANs only
    Both = 3      // tagged VLANs and the untagged one
};

// Whether a driver with this mode serves an untagged VLAN.
constexpr bool RavServesUntagged(DWORD dwMode)
{
    return dwMode == static_cast<DWORD>(RavTaggingMode::Untagged) || dwMode == static_cast<DWORD>(RavTaggingMode::Both);
}

struct RAV_TAGGING
{
    DWORD dwInUse = 0; // 1 while tagging is in use on the port, for the adapter's instance key
    RavTaggingMode mode = RavTaggingMode::Untagged;
    bool operator==(const RAV_TAGGING&) const = default;
};

// The VLANs on the adapter, the one that asks included.
struct RAV_VLANS_PRESENT
{
    int iTagged = 0; // negative when they could not be counted
    bool bUntagged = false;
};

enum class RavVlanStage
{
    Present,
    BeingRemoved
};

// What the VLAN with the id (0: the untagged one) makes of the tagging. Deliberately uneven: an untagged VLAN that goes
// leaves tagging in use whatever the number of tagged ones, while a tagged one that goes ends tagging, also for an
// untagged VLAN that stays, if it is counted as exactly the last tagged one. A wrong count leaves tagging in use.
constexpr RAV_TAGGING RavTaggingFor(const RAV_VLANS_PRESENT& present, int iVlanId, RavVlanStage stage)
{
    const bool removed = stage == RavVlanStage::BeingRemoved;
    if (iVlanId == 0)
    {
        if (present.iTagged <= 0)
            return {};
        return {1, removed ? RavTaggingMode::Tagged : RavTaggingMode::Both};
    }
    if (removed && present.iTagged == 1)
        return {};
    return {1, present.bUntagged ? RavTaggingMode::Both : RavTaggingMode::Tagged};
}
