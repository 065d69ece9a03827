#pragma once

#include "Tools/vlanctl/Inventory.h"

#include <vector>

// Reads what a list and show tell beyond what names a VLAN: its interface, and the members of the team below it.
void ReadDetails(CSession& session, const RAV_HOST& host, std::vector<VlanRow>& rows);
