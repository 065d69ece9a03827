#pragma once

#include "Plan/RavCarryOut.h"
#include "Tools/vlanctl/Report.h"

#include <string>
#include <vector>

// What tells a host from the file, VLAN by VLAN.

enum class DifferenceKind
{
    Create,
    Change,
    Remove,
    Keep // not in the file, and left alone
};

struct Difference
{
    DifferenceKind kind;
    VlanRow vlan; // as it is, or will be created
    std::vector<Change> changes;
};

// In the order of the parents; what becomes of a VLAN on the way is left out.
std::vector<Difference> DifferencesOf(const std::vector<RAV_PARENT_CHANGE>& changes);
nlohmann::ordered_json DifferencesToJson(const std::vector<Difference>& differences);
// One line for each: "  + 10 Sales".
void ShowDifferences(const std::vector<Difference>& differences);
// Whether anything is to be done.
bool IsAnyToDo(const std::vector<Difference>& differences);

// A step as reports have it.
Step StepOf(const RAV_PRESENT_PARENT& parent, const RAV_PLAN_STEP& step);
// "create 10 Sales on Port A"
std::string StepText(const Step& step);
