#pragma once

#include "Tools/vlanctl/Inventory.h"

#include <string>

// Find a parent or a VLAN by what its user calls it: display name, instance number, key; a VLAN also by its own name or
// as PARENT/ID. Letter case does not matter. Throw CommandError when nothing, or more than one thing, has the name; the
// message then lists the candidates.
ParentRow FindParent(CSession& session, const std::string& name);
VlanRow FindVlan(CSession& session, const std::string& name);
