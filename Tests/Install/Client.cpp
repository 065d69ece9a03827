// What a front end does, built against the installed tree alone: introduces itself to the core agent, lists the VLANs.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Settings/RavSetting.h"
#include "Src/RavVlanAgentIntf.h"
#include "Src/RavVlanAgentPvtIntf.h"
#include "Src/RavVlanMessages.h"
#include "Src/VlanAgentExports.h"

#include <cstdio>

int main()
{
    CRavVlanAgentIntf* const agent = GetVlanAgent();
    if (agent == nullptr)
    {
        puts("VlanAgent.dll is loaded; there is no suite on this machine");
        return GetVlanAgentPvt() == nullptr ? 0 : 1;
    }
    CResult result;
    std::vector<CRavString> keys;
    agent->EnumerateVlans(result, CRavString(), keys);
    for (const CRavString& key : keys)
    {
        RAV_VLAN_INFO info;
        agent->GetVlanInfo(result, key, info);
        printf("%lu %ls\n", info.vlanId, info.vlanName.c_str());
    }
    printf("VlanAgent.dll is loaded; %u VLANs\n", static_cast<unsigned>(keys.size()));
    return result.Succeeded() || keys.empty() ? 0 : 1;
}
