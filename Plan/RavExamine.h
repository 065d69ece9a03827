#pragma once

#include "Plan/RavFinding.h"
#include "Src/View/RavHost.h"

#include <vector>

// Tells what is wrong with the VLANs of a host that was read with its bindings. The miniports of VLANs are taken for
// the truth: what the keys of their parents and the driver's entries say has to follow from them. A VLAN that nothing
// but its own miniport knows of is one whose creation or removal was interrupted: it goes. Healthy hosts have no
// findings, and neither has a host after the steps of its findings were taken, those without steps left aside.
std::vector<RAV_FINDING> RavExamine(const RAV_HOST& host);
