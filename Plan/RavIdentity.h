#pragma once

#include "Plan/RavVlanState.h"

// Which of the VLANs that are there is which of those that are wanted; RavPlan.h tells by what.
struct RAV_IDENTITY
{
    std::vector<const RAV_PRESENT_VLAN*> found; // parallel to those that are wanted; null: there is none yet
    std::vector<const RAV_PRESENT_VLAN*> left;  // nobody's
};
RAV_IDENTITY RavIdentify(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted);
