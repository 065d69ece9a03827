#pragma once

#include "Plan/RavIdentity.h"
#include "Plan/RavPlanStep.h"

struct RAV_ORDER
{
    std::vector<RAV_PLAN_STEP> steps;
    // Where the rules leave no way to all that is wanted: which VLAN does not get there, and why.
    std::vector<RAV_REFUSAL> refusals;
};
// Steps that bring ids, names and the VLANs themselves to what is wanted, in an order in which each is allowed.
RAV_ORDER RavOrderSteps(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted,
                        const RAV_IDENTITY& identity, bool prune);
