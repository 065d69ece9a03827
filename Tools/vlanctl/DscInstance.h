#pragma once

#include "Tools/vlanctl/DesiredStateFile.h"

#include <nlohmann/json.hpp>

#include <string>

// What an engine of desired state knows of one parent: its name, whether it has VLANs, and these, as a file has them.

struct DscInstance
{
    DesiredParent parent;
    bool exists = true;   // it is to have VLANs
    bool isState = false; // it says which: what is to be brought about needs that
};

// Reads an instance. Throws CommandError with everything that is wrong with it.
DscInstance ParseDscInstance(const std::string& text);
// `vlans` as a file has them.
nlohmann::ordered_json DscInstanceToJson(const std::string& parent, const nlohmann::ordered_json& vlans);
// The JSON schema of an instance.
nlohmann::ordered_json DscSchema();
