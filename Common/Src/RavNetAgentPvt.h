#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/ModuleHandle.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

class CRavCoreAgentPvtIntf;

// Private face that every agent module of the suite shares: the lists of miniports to reload when a transaction is
// applied, and the road to the core agent.
//
// Any thread may call. The lists, the module handle and the interface pointer are guarded by one recursive lock, which
// is held through the whole of an apply-done pass. No operation throws.
class CRavNetAgentPvt
{
  public:
    CRavNetAgentPvt();
    virtual ~CRavNetAgentPvt();
    CRavNetAgentPvt(const CRavNetAgentPvt&) = delete;
    CRavNetAgentPvt& operator=(const CRavNetAgentPvt&) = delete;

    // First pass of an applied transaction: restarts the DCB service if one of its settings changed, unloads every
    // miniport that was queued for it and queues each for the load pass. A miniport that fails is traced and skipped.
    // bReboot is set, never cleared, when a miniport needs a restart of the system. Code 0, unless there is no memory
    // left to go on with.
    virtual void ApplyDone_UnloadDevice(CResult& result, bool& bReboot);
    // Second pass: loads every queued miniport; otherwise as above.
    virtual void ApplyDone_LoadDevice(CResult& result, bool& bReboot);

    // Unload and load of one miniport, named by its instance. The agents supply them; here both fail.
    virtual void UnloadDeviceMiniport(CResult& result, const CRavString& strMiniportInst, bool& bReboot);
    virtual void LoadDeviceMiniport(CResult& result, const CRavString& strMiniportInst, bool& bReboot);

    // Hooks of the core agent's, for agents that want them.
    virtual void OnNotification();
    virtual CResult QueryHookOne();
    virtual CResult QueryHookTwo();

    // Queue a miniport for the passes, once each, in the order of the calls. An empty name is ignored.
    void AddForReload(const CRavString& strMiniportInst);
    void AddForUnload(const CRavString& strMiniportInst);

    // Loads the core agent module from the suite's folder, after it has given back one that is loaded, and fetches its
    // private interface; GetCoreAgentPvt tells whether there is one. Once it is there it is good as long as this object
    // lives, provided that it is not fetched again.
    void FetchCoreAgentPvt();
    CRavCoreAgentPvtIntf* GetCoreAgentPvt() const;

    // Forwarded to the core agent; what it throws is traced and becomes a failure. So does a core agent that is not
    // there.
    void VerifyClientID(CResult& result, const RAV_CLIENT_ID& client);
    void StartLock(CResult& result, const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token);
    void DoneLock(CResult& result, const RAV_LOCK_TOKEN& token);
    void WaitForApplyDone(const RAV_CLIENT_ID& client);

  private:
    using MINIPORT_OPERATION = void (CRavNetAgentPvt::*)(CResult& result, const CRavString& strMiniportInst,
                                                         bool& bReboot);

    void PassOver(std::vector<CRavString>& list, MINIPORT_OPERATION operation, int line, bool& bReboot);

    mutable CRITICAL_SECTION m_lock;
    std::vector<CRavString> m_reloadList;
    std::vector<CRavString> m_unloadList;
    CRavCoreAgentPvtIntf* m_pCoreAgentPvt = nullptr;
    CRavModuleHandle m_coreAgent;
};
