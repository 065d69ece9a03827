#include "Src/VlanAgentExports.h"

#include "Src/Agent/RavVlanAgent.h"

namespace
{
CVlanAgentWin& Agent()
{
    static CVlanAgentWin agent;
    return agent;
}

// Null when the agent cannot be initialised; the next call tries again.
CVlanAgentWin* InitializedAgent()
{
    try
    {
        CResult result;
        Agent().Initialize(result);
        return result.ulErrCode != CResult::FAILED ? &Agent() : nullptr;
    }
    catch (...)
    {
        RavTrace().Error(L"Src\\VlanAgentExports", __LINE__, L"Initialize - Exception caught");
        return nullptr;
    }
}
} // namespace

extern "C" CRavVlanAgentIntf* GetVlanAgent()
{
    return InitializedAgent();
}

extern "C" CRavVlanAgentPvtIntf* GetVlanAgentPvt()
{
    return InitializedAgent();
}
