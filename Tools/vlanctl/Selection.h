#pragma once

#include "Tools/vlanctl/Commands.h"
#include "Tools/vlanctl/Inventory.h"

#include <string>
#include <vector>

// Which VLANs a list is about. In patterns * stands for any characters and ? for one; letter case and Unicode form do
// not matter.

bool IsLike(const std::string& text, const std::string& pattern);

// What is wrong with the ids and the status that are asked for; empty when nothing is.
std::string SelectionFault(const ListOptions& options);
// Whether a VLAN has one of the ids, one of the names, and one of the statuses.
bool IsSelected(const VlanRow& row, const ListOptions& options);
