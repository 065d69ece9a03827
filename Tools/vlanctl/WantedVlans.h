#pragma once

#include "Tools/vlanctl/Inventory.h"

#include <optional>
#include <string>
#include <vector>

// The VLANs that a creation is asked for, as its user writes them: "10=Sales,20=Voice", "1-3,7,untagged".

struct WantedVlan
{
    DWORD id;
    std::optional<std::string> name; // none: it is named after its id
};

// A part of the text that stands for no id that a VLAN can have.
struct RefusedPart
{
    std::string text; // "5-3"
    std::optional<std::string> name;
};

struct WantedVlans
{
    std::vector<WantedVlan> vlans; // in the order in which they are created: the untagged one last
    std::vector<RefusedPart> refused;
    bool isNameMissing = false; // for a part without one of its own
    std::string ids;            // of all as the agent reads them; when a part is refused as they are written
};

// What stands in a name for the id of its VLAN.
inline constexpr char ID_IN_NAME[] = "{id}";

// The ids of "10" or "5-9"; none for what is no id, no rising range, or above the largest id.
std::vector<DWORD> IdsOfRange(const std::string& text);
// Parts with commas between them, blanks after these: ID, FIRST-LAST, each with "=NAME" behind it. `name` is for those
// without one.
WantedVlans ParseWanted(const std::string& text, const std::optional<std::string>& name);
// Takes out those that are among these VLANs of the parent with the same name, one that is named after its id with such
// a name, and returns them. One with another name stays.
std::vector<VlanRow> TakePresent(const std::vector<VlanRow>& rows, WantedVlans& wanted);
