#pragma once

#include "Plan/RavVlanState.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// The file that says what VLANs parents have; docs/apply.md describes it, docs/vlan-configuration.schema.json is for
// editors.

struct DesiredParent
{
    std::string name; // as the file has it
    std::string place;
    std::vector<RAV_WANTED_VLAN> vlans;
};

// Reads the file, or with "-" standard input. Throws CommandError with everything that is wrong with it, each with its
// place: line and column, or the way to it as in parents["Port A"].vlans[1].id.
std::vector<DesiredParent> ReadDesiredState(const std::string& path);
std::vector<DesiredParent> ParseDesiredState(const std::string& text);

// A parent as the file has it, settings at their default as such.
nlohmann::ordered_json ParentToFile(const RAV_PRESENT_PARENT& parent);
