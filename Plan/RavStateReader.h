#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/RavResult.h"
#include "Plan/RavVlanState.h"
#include "Src/View/RavHost.h"

class CRavCoreAgentPvtIntf;
class CRavVlanAgentIntf;

// Where the state of parents is read from.
struct RAV_STATE_SOURCE
{
    CRavVlanAgentIntf& agent;
    CRavCoreAgentPvtIntf& core;
    RAV_CLIENT_ID client;
};

// The VLANs of one parent of a host that has been read, without their settings.
RAV_PRESENT_PARENT RavReadParent(const RAV_STATE_SOURCE& source, const RAV_HOST& host, const CRavString& parentKey);
// The settings of a VLAN; those that it has already are kept.
CResult RavReadSettings(const RAV_STATE_SOURCE& source, RAV_PRESENT_VLAN& vlan);
// The settings that a plan needs to know: of VLANs that may be meant where settings are asked for, and of a new VLAN.
CResult RavReadSettingsFor(const RAV_STATE_SOURCE& source, const RAV_WANTED_PARENT& wanted, RAV_PRESENT_PARENT& parent);
