#pragma once

#include "Plan/RavPlanStep.h"
#include "Plan/RavVlanState.h"

// What has to be done for the VLANs of a parent to become what somebody wants: a pure function of what is and what is
// wanted.

struct RAV_PLAN
{
    std::vector<RAV_PLAN_STEP> steps;
    std::vector<RAV_REFUSAL> refusals;     // all of them; with any there are no steps
    std::vector<RAV_REFUSAL> dropped;      // settings of a state from before that are left as they are
    std::vector<RAV_PRESENT_VLAN> kept;    // that nobody asked for, and that stay
    std::vector<RAV_PRESENT_VLAN> removed; // by the steps
};

// Which VLAN is which: by key where one is given, then by id, and what is left by name; its id changes then, and its
// connection keeps its addresses. A VLAN that would be left over although its name is wanted is found by the name, too,
// where that leaves another one free for a VLAN that would have to be created, and so on. Nothing becomes or ceases to
// be the untagged VLAN: that one is removed and created.
//
// No step leads to two equal ids or names, to more VLANs than the parent can carry, or to an untagged VLAN alone; the
// parent is not left without VLANs in between, with which it would get its protocols back. Settings and types come
// last. What no such steps lead to is refused as a whole. With `prune` VLANs that are not wanted are removed, otherwise
// they are kept.
RAV_PLAN RavPlanParent(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted, bool prune);
