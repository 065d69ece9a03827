#pragma once

#include "Suite/Lab/CoreAgent/LabCoreAgentGaps.h"
#include "Suite/Lab/State/ExclusiveFile.h"

#include <map>
#include <mutex>
#include <vector>

// The lab's core agent: adapters and their settings as the registry has them, the suite-wide lock across processes,
// and the apply passes when it is given back.
class CLabCoreAgent final : public CLabCoreAgentGaps
{
  public:
    CResult GetParameter(const CRavString& strAdapter, RAV_PARAMETER& parameter) override;
    CResult SetParameter(const CRavString& strAdapter, const RAV_PARAMETER& parameter) override;
    CResult DeleteParameter(const CRavString& strAdapter, const CRavString& strName) override;
    CResult UnloadMiniport(const CRavString& strAdapter, bool& bReboot) override;
    CResult UnloadMiniportDuringApplyDone(const CRavString& strAdapter) override;
    CResult RegisterAgent(const CRavString& strName, CRavNetAgentPvt* pAgent) override;
    CResult GetDisplayName(const CRavString& strAdapter, CRavString& strName) override;
    CResult VerifyClientID(const RAV_CLIENT_ID& client) override;
    bool WaitForApplyDone(const RAV_CLIENT_ID& client) override;
    CResult GetPermMacAddress(const CRavString& strAdapter, CRavString& strAddress) override;
    CResult IsBoundToXMS(const CRavString& strAdapter, bool& bBound) override;
    CResult IsBoundToTeam(const CRavString& strAdapter, bool& bBound) override;
    CResult EnumerateAdapters(std::vector<CRavString>& adapters) override;
    CResult GetAdaptersInTeam(const CRavString& strTeam, std::vector<CRavString>& adapters) override;
    CResult GetSetting(const CRavString& strAdapter, const CRavString& strName, RAV_SETTING** ppSetting) override;
    CResult SetSetting(const CRavString& strAdapter, const CRavString& strName, const RAV_SETTING_VAL* pValue) override;
    CResult StartLock(const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token) override;
    CResult DoneLock(const RAV_LOCK_TOKEN& token) override;
    bool UsingStandardKeywords(const CRavString& strAdapter) override;
    CResult IsAdapterLoaded(const CRavString& strAdapter, bool& bLoaded) override;
    bool IsRuleTrue(const CRavString& strAdapter, const CRavString& strRule) override;
    CResult IsHyperV_EnabledOnDevice(const CRavString& strAdapter, bool& bEnabled) override;
    CResult IsDeviceVmqCapable(const CRavString& strAdapter, bool& bCapable) override;
    CResult IsDeviceVmqEnabled(const CRavString& strAdapter, bool& bEnabled) override;
    CResult GetReceiveScaleCapabilitiesFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags) override;
    CResult GetJumboFramesSettingForAdapter(const CRavString& strAdapter, RAV_SETTING** ppSetting) override;
    bool IsDeviceCorvo(const CRavString& strAdapter) override;
    bool IsDriverSupportingVORN(const CRavString& strAdapter) override;
    bool IsVirtualDevice(const CRavString& strAdapter) override;
    bool IsDriverLoadedCheck(const CRavString& strAdapter) override;
    bool IsVlansSupportedOnPort(const CRavString& strAdapter) override;
    // Introduces the calling process; 0 or a Windows error code.
    static DWORD RegisterClient(RAV_CLIENT_ID& client);

  private:
    class Ending;
    struct Reload
    {
        CRavString adapter;
        bool unloaded; // already, before the apply
    };

    CResult FollowJumboSize(const CRavString& adapter);
    DWORD TryGrant(const RAV_CLIENT_ID& client, RAV_LOCK_TOKEN& token);
    void QueueReload(const CRavString& adapter, bool unloaded);
    CResult Apply();
    CResult RunPasses(bool& reboot);
    CResult RunAgents(void (CRavNetAgentPvt::*pass)(CResult&, bool&), bool& reboot);
    CResult ReloadAdapters(bool& reboot);

    std::mutex m_lock; // the fields below; never held while an agent is called
    std::map<CRavString, CRavNetAgentPvt*> m_agents;
    std::vector<Reload> m_reloads;
    CExclusiveFile m_suiteLock;
    RAV_CLIENT_ID m_holder;
    DWORD m_holderThread = 0;
    bool m_isApplying = false;
    DWORD m_lastToken = 0;
    std::vector<DWORD> m_tokens; // the grants that have not come back
};
