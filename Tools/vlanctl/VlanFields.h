#pragma once

#include "Tools/vlanctl/Inventory.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// What can be told of a VLAN, by the names of its members in JSON, which are those of the columns of a list.

nlohmann::ordered_json VlanToJson(const VlanRow& row);
// All names.
std::vector<std::string> VlanFields();
// The columns of "id,parent", or the usual ones for an empty text; `fault` gets the name of one that there is not.
std::vector<std::string> ParseColumns(const std::string& text, std::string& fault);
// "PARENT KEY"
std::string HeadingOf(const std::string& column);
// A value as text: of a list with commas, of a member of a team its name, of a setting its value too, of null nothing.
std::string FieldText(const nlohmann::ordered_json& value);
// The same for people: "untagged", "damaged: not bound".
std::string ShownField(const VlanRow& row, const nlohmann::ordered_json& vlan, const std::string& column);

struct ListedVlan
{
    VlanRow row;
    nlohmann::ordered_json json;
};
// By parent and id, and with a column by that first; numbers in names count as such ("Port 2", "Port 10").
void Sort(std::vector<ListedVlan>& vlans, const std::string& column);
