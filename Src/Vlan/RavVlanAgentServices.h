#pragma once

#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"

#include <memory>
#include <vector>

class CRavCoreAgentPvtIntf;
class CRavNetCfgInterface;
class CRavTeamAgentPvtIntf;

// All that a VLAN object may ask of its agent. The agent outlives its VLAN objects.
class CRavVlanAgentServices
{
  public:
    // The calling thread's network configuration session; null when the thread has none open.
    virtual CRavNetCfgInterface* GetNetCfgInterface() = 0;
    // The core agent; null when there is none.
    virtual CRavCoreAgentPvtIntf* GetCoreInterface() = 0;
    // The team agent, loaded anew; null when there is none. Who holds it keeps its module loaded.
    virtual std::shared_ptr<CRavTeamAgentPvtIntf> LoadTeamAgent() = 0;
    // The keys of the VLANs whose parent is the given adapter or team, in enumeration order. Fails when a VLAN that the
    // intermediate driver lists for the adapter, and that is alive, is not among them.
    virtual CResult EnumerateVlansOnParent(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys) = 0;
    // Queue a miniport for the passes that run when the transaction is applied.
    virtual void QueueForReload(const CRavString& strMiniportInst) = 0;
    virtual void QueueForUnload(const CRavString& strMiniportInst) = 0;
    // Tells that registry values of the VLAN were written, or may have been: what was read of it holds no more.
    virtual void VlanWritten(const CRavString& strVlanKey) = 0;

  protected:
    ~CRavVlanAgentServices() = default;
};
