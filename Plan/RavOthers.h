#pragma once

#include "Plan/RavPlanStep.h"
#include "Plan/RavVlanState.h"

#include <optional>
#include <vector>

// Who else has VLANs on a parent whose former state is to come back.

// A parent as it was before a change, and what the change makes: all that a way back needs, whoever takes it.
struct RAV_BEFORE
{
    RAV_WANTED_PARENT parent;
    CRavString name;                      // of the parent
    std::vector<RAV_WANTED_VLAN> created; // by the change, with ids and names
    // Keys of the VLANs that were there when the change was done; none when that was not read: `created` decides then.
    std::optional<std::vector<CRavString>> known;
};
RAV_BEFORE RavBeforeOf(const RAV_PRESENT_PARENT& present, const std::vector<RAV_PLAN_STEP>& steps);

// Adds to a state that is to come back the VLANs that others have created since: they are none of the change's, and
// stay. One whose id or name a VLAN gets back, or that would be untagged and alone, has to give way; these are
// returned.
std::vector<RAV_PRESENT_VLAN> RavSpareOthers(const RAV_PRESENT_PARENT& present, RAV_BEFORE& before);
