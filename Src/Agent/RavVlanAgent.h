#pragma once

#include "Common/Library/RavNetCfgComponent.h"
#include "Common/Library/RavNetCfgInterface.h"
#include "Common/Src/RavDebug.h"
#include "Src/Agent/RavPointerArray.h"
#include "Src/RavShielded.h"
#include "Src/RavVlanAgentIntf.h"
#include "Src/RavVlanAgentPvtIntf.h"
#include "Src/Vlan/RavVlanAgentServices.h"
#include "Src/RavVlanMessages.h"

#include <netcfgx.h>
#include <windows.h>
#include <wrl/client.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

class CRavCoreInterface;
class CRavHostSession;
class CRavRegValues;
class CRavTeamAgentPvtIntf;
class CRavXmsVlan;

// A VLAN key that the last enumeration has seen.
struct _VLAN_KEY_BINDINGS // NOLINT(bugprone-reserved-identifier): the suite's name
{
    CRavString vlanKey;
};

// The agent: the one object behind both faces of the module. It is made when the module is loaded and initialised by
// the first call of an export.
class CVlanAgentWin final : public CRavVlanAgentIntf, public CRavVlanAgentPvtIntf, private CRavVlanAgentServices
{
  public:
    CVlanAgentWin();
    ~CVlanAgentWin() override;

    // --- the agent's own virtual operations: first, so that their slots follow those of the public face ------------

    virtual void DoesParentSupportVlans(CResult& result, const CRavString& strParentKey, bool& bSupports,
                                        bool& bNotLoaded, bool& bTeamFlag, const RAV_CLIENT_ID& client);
    virtual void IsParentVmqEnabled(CResult& result, const CRavString& strParentKey, bool& bVmqEnabled,
                                    bool& bParentIsTeam, const RAV_CLIENT_ID& client);
    virtual void CreateSingleVlan(CResult& result, const CRavString& strParentKey, DWORD dwVlanId,
                                  const CRavString& strVlanName, DWORD dwVlanType);

    // --- life (RavVlanAgent.cpp) --------------------------------------------------------------------------------

    // Makes the agent ready; repeated after a failure, harmless after success. Code 0xFFFFFFFF: it is not ready.
    void Initialize(CResult& result);

    // The calling thread's network configuration session, shared by nested operations. The call that opened it says so
    // in bCreated, and hands that to the release.
    void CreateNetCfgInterfaceObj(CResult& result, bool& bCreated);
    void GetNetCfgInterfaceObj(CResult& result, CRavNetCfgInterface** ppNetCfgInterface);
    void ReleaseNetCfgInterfaceObj(CResult& result, bool& bRelease);

    // The team agent, given back and loaded again by each call; null when there is none.
    std::shared_ptr<CRavTeamAgentPvtIntf> GetTeamAgentPvtIntf();
    // Opens the parameter key of the component with the GUID, through a session of its own.
    bool OpenMiniportKey(const CRavString& strGuid, CRavRegKey& key);

    // --- inventory (RavVlanAgentInventory.cpp, RavVlanAgentLoad.cpp)
    // --------------------------------------------------------------------

    void EnumerateVlans(CResult& result, const CRavString& strParentKey, std::vector<CRavString>& vlanKeys) override;
    void GetVlanParent(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                       RAV_VLAN_PARENT& parent) override;
    void GetVlanInfo(CResult& result, const CRavString& strVlanKey, RAV_VLAN_INFO& info) override;
    void GetVlanStatus(CResult& result, const CRavString& strVlanKey, DWORD& dwStatus) override;
    bool IsVlanEnabled(const CRavString& strVlanKey) override;
    void GetDriverInfo(CResult& result, const CRavString& strVlanKey, CRavString& strInfo) override;

    // The cached object of a VLAN, loaded first if need be; null if it cannot be. It stays the agent's, and good for
    // the caller however the cache changes meanwhile.
    std::shared_ptr<CRavXmsVlan> GetVlan(const CRavString& strVlanKey);
    std::shared_ptr<CRavXmsVlan> IsVlanInfoLoaded(const CRavString& strVlanKey);
    bool IsVlanInfoAvailable(const CRavString& strVlanKey, RAV_VLAN_INFO& info);
    void LoadThisVlanInfo(CResult& result, const CRavString& strVlanKey, RAV_VLAN_INFO& info);
    void EnumVlansPvt1(CResult& result, const CRavString& strParentKey, std::vector<CRavString>& vlanKeys);
    static CRavString GetParentKeyofThisOpenOOOKey(HKEY hKey);
    // Fills what the open key tells of a VLAN; pKnown: its values, where they have been read before.
    void GetOtherVlanDetails(CRavXmsVlan& vlan, HKEY hKey, bool bFeatureFlag, const CRavRegValues* pKnown = nullptr);
    // Forgets which VLANs there are; ClearVlanCache forgets what is known of them as well.
    void PurgeLocalVlanCache();
    void ClearVlanCache();

    // --- parents (RavVlanAgentParents.cpp) ------------------------------------------------------------------------

    void EnumerateVlanSupportingParents(CResult& result, std::vector<CRavString>& parents,
                                        const RAV_CLIENT_ID& client) override;
    void DoesParentSupportVlans(CResult& result, const CRavString& strParentKey, bool& bSupports,
                                const RAV_CLIENT_ID& client) override;

    // --- validation (RavVlanAgentValidate.cpp) --------------------------------------------------------------------

    void ValidateNewVlan(CResult& result, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                         const CRavString& strVlanName, std::vector<RAV_VALIDATION_MESSAGE>& messages,
                         const RAV_CLIENT_ID& client) override;
    // Both range and single checks say whether they could be made: not when the parent's VLANs cannot be enumerated.
    bool ValidateVlan(CRavVlanMessages& messages, const CRavString& strVlanKey, const CRavString& strVlanName,
                      DWORD dwVlanId, const CRavString& strParentKey);
    void ValidateVlanName(CRavVlanMessages& messages, const CRavString& strVlanKey, const CRavString& strVlanName,
                          const std::vector<CRavString>& vlanKeys);
    bool ValidateVlanRange(CRavVlanMessages& messages, const std::vector<DWORD>& ids, const CRavString& strVlanName,
                           const CRavString& strParentKey);
    static bool GetVlanIDsFromRange(const CRavString& strVlanNumbers, std::vector<DWORD>& ids);

    // --- creation (RavVlanAgentCreate.cpp) ------------------------------------------------------------------------

    void CreateVlan(CResult& result, const CRavString& strParentKey, DWORD dwVlanId, const CRavString& strVlanName,
                    DWORD dwVlanType, const RAV_LOCK_RECORD& lock) override;
    void CreateMultipleVLANs(CResult& result, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                             const CRavString& strVlanName, DWORD dwVlanType, CRavVlanProgress* pProgress,
                             const RAV_LOCK_RECORD& lock) override;
    void LoadDeviceMiniport(CResult& result, const CRavString& strMiniportInst, bool& bReboot) override;
    void UnloadDeviceMiniport(CResult& result, const CRavString& strMiniportInst, bool& bReboot) override;

    // --- removal (RavVlanAgentRemove.cpp, of a team's VLANs from RavVlanAgentMembers.cpp) ----------------------------

    void RemoveVlan(CResult& result, const RAV_LOCK_RECORD& lock, const CRavString& strVlanKey) override;
    void IsHyperV_EnabledOnVlan(CResult& result, const CRavString& strVlanKey, bool& bBound) override;
    void RemoveAllVlansOnTeam(CResult& result, const CRavString& strTeamKey) override;
    void RemoveVlanFromTeamMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                                  const CRavString& strVlanKey) override;
    void AddVlanToTeamMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                             const CRavString& strVlanKey) override;
    // The untagged VLAN that must not stay alone once the VLAN is removed; null with bNeeded false when there is none.
    std::shared_ptr<CRavXmsVlan> DoesUntaggedVlanNeedToBeRemoved(CRavXmsVlan& vlan, bool& bNeeded);

    // --- changes (RavVlanAgentChange.cpp) -------------------------------------------------------------------------

    void SetVLANName(CResult& result, const CRavString& strVlanKey, const CRavString& strVlanName,
                     const RAV_LOCK_RECORD& lock) override;
    void SetVLANId(CResult& result, const CRavString& strVlanKey, DWORD dwVlanId, const RAV_LOCK_RECORD& lock) override;
    void SetVlanType(CResult& result, const CRavString& strVlanKey, DWORD dwVlanType,
                     const RAV_LOCK_RECORD& lock) override;
    void ValidateUpdate(CResult& result, const CRavString& strVlanKey, const CRavString& strVlanName, DWORD dwVlanId,
                        std::vector<RAV_VALIDATION_MESSAGE>& messages) override;

    // --- settings (RavVlanAgentSettings.cpp) ----------------------------------------------------------------------

    void EnumerateSettings(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                           std::vector<RAV_SETTING*>& settings) override;
    void GetSetting(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                    const CRavString& strName, RAV_SETTING** ppSetting) override;
    void SetSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                    const RAV_SETTING_VAL* pValue, const RAV_LOCK_RECORD& lock) override;
    void SetSettingToDefault(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                             const RAV_LOCK_RECORD& lock) override;
    void ValidateSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                         const RAV_SETTING_VAL* pValue, std::vector<RAV_VALIDATION_MESSAGE>& messages) override;
    void SetSettingOnVlan(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                          const RAV_SETTING_VAL* pValue) override;
    void CreateAdvSetting(CResult& result, const CRavString& strVlanKey, const RAV_SETTING* pSetting) override;
    void EnumerateAdvSettings(CResult& result, const CRavString& strVlanKey,
                              std::vector<RAV_SETTING*>& settings) override;
    void GetSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                    RAV_SETTING** ppSetting) override;
    void SetAdvSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                       const RAV_SETTING_VAL* pValue) override;
    void RemoveAdvSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName) override;
    void SetSetting(CResult& result, const CRavString& strVlanKey, const RAV_SETTING* pSetting) override;

    // --- jumbo frames (RavVlanAgentJumbo.cpp) -----------------------------------------------------------------------

    void ReSyncJumboFrameSettingEnumValues(CResult& result, const CRavString& strVlanKey,
                                           const CRavString& strTopValue) override;
    void SyncJumboFramesOnAllVlans(CResult& result, const CRavString& strParentKey) override;

    // --- VLANs over a team (RavVlanAgentTeamVlans.cpp) --------------------------------------------------------------

    void GetTeamMembers(CResult& result, const CRavString& strTeamKey, std::vector<CRavString>& members) override;
    void SetTeamXMSSetting(CResult& result, const CRavString& strTeamKey, const CRavString& strName,
                           const RAV_SETTING_VAL* pValue) override;
    void UpdateParentTeamNameAllVlans(CResult& result, const CRavString& strTeamKey,
                                      const CRavString& strTeamName) override;
    void GetStatusOfVlansOnTeam(CResult& result, const CRavString& strTeamKey, DWORD& dwStatus) override;
    void GetVoTDriver(CResult& result, const CRavString& strTeamKey, CRavString& strDriver) override;

    // --- what a VLAN can do (RavVlanAgentCapabilities.cpp) ----------------------------------------------------------

    void IsVlanVmqCapable(CResult& result, const CRavString& strVlanKey, bool& bCapable) override;
    void IsVlanVmqEnabled(CResult& result, const CRavString& strVlanKey, bool& bEnabled) override;
    void GetReceiveScaleCapabilitiesFlag(CResult& result, const CRavString& strVlanKey, DWORD& dwFlags) override;
    void IsOtherVlansBoundToVmSwitchProtocol(CResult& result, const CRavString& strVlanKey, bool& bBound) override;
    void GetParameter(CResult& result, const CRavString& strVlanKey, RAV_PARAMETER& parameter) override;
    void SetVlanFilteringSetting(CResult& result, const CRavString& strParentKey, bool bOn) override;

    // --- operations that do nothing (RavVlanAgent.cpp) ------------------------------------------------------------

    void Reserved(CResult& result) override;
    CResult QueryHookThree() override;

  private:
    // Opens the thread's network configuration session for a scope, or joins the one that is open.
    class CNetCfgSession
    {
      public:
        explicit CNetCfgSession(CVlanAgentWin& agent);
        ~CNetCfgSession();
        CNetCfgSession(const CNetCfgSession&) = delete;
        CNetCfgSession& operator=(const CNetCfgSession&) = delete;

        bool IsOpen() const { return m_result.Succeeded(); }
        CResult Result() const { return m_result; }

      private:
        CVlanAgentWin& m_agent;
        CResult m_result;
        bool m_bCreated = false;
    };

    // Empties the VLAN cache when the scope ends.
    class CacheCleaner
    {
      public:
        explicit CacheCleaner(CVlanAgentWin& agent) : m_agent(agent) {}
        ~CacheCleaner() { m_agent.ClearVlanCache(); }
        CacheCleaner(const CacheCleaner&) = delete;
        CacheCleaner& operator=(const CacheCleaner&) = delete;

      private:
        CVlanAgentWin& m_agent;
    };

    // Runs the work; what is thrown in it is traced and becomes a failure. Whether nothing was thrown.
    template <typename Work>
    static bool Shielded(const wchar_t* file, int line, const wchar_t* operation, CResult& result, Work&& work)
    {
        const bool finished = RavShielded(file, line, operation, std::forward<Work>(work));
        if (!finished)
            result = CResult();
        return finished;
    }

    // What the VLAN objects may ask.
    CRavNetCfgInterface* GetNetCfgInterface() override;
    CRavCoreAgentPvtIntf* GetCoreInterface() override;
    std::shared_ptr<CRavTeamAgentPvtIntf> LoadTeamAgent() override;
    CResult EnumerateVlansOnParent(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys) override;
    void QueueForReload(const CRavString& strMiniportInst) override;
    void QueueForUnload(const CRavString& strMiniportInst) override;
    void VlanWritten(const CRavString& strVlanKey) override;

    void CreateNetCfg(CResult& result);
    void ConnectCoreAgent(CResult& result);
    void PublishCoreInterface();
    // The road to the core agent; without one, all it answers is failure.
    CRavCoreInterface& Core() const;
    bool HoldsThreadSlot() const;

    // The calling thread's session with what its operation has read; null when none is open.
    CRavHostSession* ThreadSession() const;
    CResult EnumerateComponents(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys);
    bool MissesListedVlan(const CRavString& strParentKey, const std::vector<CRavString>& vlanKeys);
    static bool MissesVlanOfEntry(CRavHostSession& session, const CRavString& strAdapterKey,
                                  const CRavString& strParentKey, const std::vector<CRavString>& vlanKeys);
    static bool IsVlanOf(CRavHostSession& session, const CRavString& strVlanKey, const CRavString& strParentKey);
    bool IsBound(const CRavString& strVlanKey);
    void Bind(const std::vector<CRavString>& vlanKeys);
    CResult FindVlan(const CRavString& strVlanKey);
    void ForgetVlan(const CRavXmsVlan& vlan);
    void AddToCache(std::shared_ptr<CRavXmsVlan> pVlan);
    enum class Damaged // VLANs
    {
        Fail,
        Load
    };
    CResult LoadVlan(const CRavString& strVlanKey, Damaged damaged, RAV_VLAN_INFO& info);
    static bool ReadParentKey(CRavXmsVlan& vlan);

    int TypeOfParent(const CRavString& strParentKey);
    bool IsFilteredOut(const CRavString& strParentKey);
    CResult DoesTeamSupportVlans(const CRavString& strTeam, bool& bSupports, bool& bNotLoaded, bool& bTeamFlag,
                                 const RAV_CLIENT_ID& client);
    CResult DoesAdapterSupportVlans(const CRavString& strAdapter, bool& bSupports, bool& bNotLoaded);
    bool HasVlans(const CRavString& strAdapter);
    bool AddSupportingTeams(CRavTeamAgentPvtIntf& team, std::vector<CRavString>& parents, const RAV_CLIENT_ID& client,
                            CResult& result);
    bool AddSupportingAdapters(std::vector<CRavString>& parents, const RAV_CLIENT_ID& client, CResult& result);
    CResult IsTeamVmqEnabled(const CRavString& strTeam, bool& bEnabled);

    void ValidateParent(CRavVlanMessages& messages, const CRavString& strParentKey, const RAV_CLIENT_ID& client);
    bool ValidateAdapter(CRavVlanMessages& messages, const CRavString& strAdapter);
    void WarnOfVmq(CRavVlanMessages& messages, const CRavString& strParentKey, RAV_PARENT_TYPE type);
    bool IsVmqSettingOn(const CRavString& strAdapter);
    bool ValidateIds(CRavVlanMessages& messages, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                     const CRavString& strVlanName);
    bool ValidateVlanId(CRavVlanMessages& messages, const CRavString& strVlanKey, const CRavString& strVlanName,
                        DWORD dwVlanId, const CRavString& strParentKey, const std::vector<CRavString>& vlans);
    bool EnumerateForValidation(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys);
    bool ReadForValidation(const CRavString& strVlanKey, DWORD& dwVlanId, CRavString& strVlanName);
    bool HasVlanNamed(const std::vector<CRavString>& vlanKeys, const CRavString& strVlanName,
                      const CRavString& strExceptKey);

    struct Creation;
    template <typename Work>
    void CreateUnderLock(CResult& result, const Creation& creation, Work&& work);
    bool MayCreate(CResult& result, const Creation& creation);
    void CreateEach(CResult& result, const Creation& creation, const std::vector<DWORD>& ids,
                    CRavVlanProgress* pProgress);
    CResult NameEach(const CRavString& strParentKey, const std::vector<DWORD>& ids, CRavVlanProgress* pProgress,
                     std::vector<CRavString>& names);
    void TellTeamAgent(const CRavString& strParentKey, const RAV_LOCK_RECORD& lock);
    bool ReadVlanNames(const CRavString& strParentKey, std::vector<CRavString>& names);
    CResult CreateNewVlan(const CRavString& strParentKey, DWORD dwVlanId, const CRavString& strVlanName,
                          DWORD dwVlanType);
    CResult CreateOnParent(CRavXmsVlan& vlan, void (CRavXmsVlan::*create)(int& status));
    static void IsFirstVlanOnAdapter(CRavXmsVlan& vlan);
    void NotifyXmsOfNewVlan(CRavXmsVlan* pVlan);
    struct MiniportPass;
    void ReloadDeviceMiniport(const MiniportPass& pass, CResult& result, const CRavString& strMiniportInst,
                              bool& bReboot);

    struct Change;
    struct SettingWish;
    template <typename Judge, typename Work>
    void ChangeVlan(CResult& result, const Change& change, Judge&& judge, Work&& work);
    template <typename Work>
    void RunForSibling(CResult& result, const wchar_t* operation, Work&& work);
    template <typename Work>
    void ForSibling(CResult& result, const wchar_t* operation, const CRavString& strVlanKey, Work&& work);
    template <typename Work>
    void ForEachVlanOf(CResult& result, const wchar_t* operation, const CRavString& strParentKey, Work&& work);
    template <typename Answer, typename Ask, typename Share>
    void AskBelow(CResult& result, const wchar_t* operation, const CRavString& strVlanKey, Answer& answer, Ask&& ask,
                  Share&& share);
    CResult SetFilteringOf(const CRavString& strAdapter, const CRavString& strValue);
    static CRavString NameOfOperation(const wchar_t* operation);
    static bool IsRefused(CResult& result, const CRavVlanMessages& messages, const wchar_t* operation);
    bool IsKnownClient(CResult& result, const RAV_CLIENT_ID& client, const wchar_t* operation);
    // The VLAN as it is now, out of the cache; null when it or its parent cannot be found.
    std::shared_ptr<CRavXmsVlan> TakeVlan(const CRavString& strVlanKey);
    void ReadNamesToo();
    bool JudgeName(CRavVlanMessages& messages, const CRavXmsVlan& vlan, const CRavString& strName);
    bool JudgeId(CRavVlanMessages& messages, const CRavXmsVlan& vlan, DWORD dwVlanId);
    bool AreReadable(const std::vector<CRavString>& vlanKeys);
    CResult ChangeId(CRavXmsVlan& vlan, int iVlanId);
    bool FindReplacedId(CRavXmsVlan& vlan, std::vector<CRavString> ids);
    CResult JudgeSetting(CRavVlanMessages& messages, CRavXmsVlan& vlan, SettingWish& wish);
    static CResult JudgeJumboSize(CRavVlanMessages& messages, CRavXmsVlan& vlan, int32_t size);
    CResult StoreSetting(CRavXmsVlan& vlan, const SettingWish& wish);
    void ChangeSetting(CResult& result, const Change& change, SettingWish wish);

    bool MayRemove(CResult& result, const CRavString& strVlanKey, const RAV_CLIENT_ID& client);
    CResult RemoveUnderLock(const CRavString& strVlanKey);
    CResult RemoveLoaded(CRavXmsVlan& vlan);
    static CResult RemoveFromAdapter(CRavXmsVlan& vlan, CRavXmsVlan* pUntagged);
    CResult RemoveFromTeam(CRavXmsVlan& vlan, CRavXmsVlan* pUntagged, int iCount);
    CResult RemoveVlanWithTeamAsParent(const CRavString& strVlanKey, const CRavString& strTeamKey, bool bLastVlan,
                                       int iVlanId, bool bUnloadMembers);
    bool RemoveFromTeamAndMembers(CRavXmsVlan& vlan, bool bLastVlan, bool bUnloadMembers);
    void UpdateTeamMembers(CRavXmsVlan& vlan, const std::vector<CRavString>& members, bool bLastVlan);
    bool IsMemberOf(const CRavString& strTeamKey, const CRavString& strAdapterKey);
    bool IsGone(const CRavString& strAdapterKey);
    using MEMBER_CHANGE = CResult (CVlanAgentWin::*)(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                                     const CRavString& strVlanKey,
                                                     const std::vector<CRavString>& vlanKeys);
    void ChangeMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                      const CRavString& strVlanKey, MEMBER_CHANGE change, const wchar_t* operation);
    enum class Member // that changes a team's size
    {
        Joins,
        Leaves
    };
    CResult UpdateTeamSize(const CRavString& strTeamKey, const CRavString& strMemberKey,
                           const std::vector<CRavString>& vlanKeys, Member change);
    CResult GiveVlansToMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                              const CRavString& strVlanKey, const std::vector<CRavString>& vlanKeys);
    CResult GiveVlanToMember(const CRavString& strTeamKey, const CRavString& strMemberKey, const CRavString& strVlanKey,
                             const std::vector<CRavString>& vlanKeys, bool bPrepare);
    static std::vector<CRavString> InOrderOfTeam(const CRavString& strJoining, const std::vector<CRavString>& vlanKeys);
    CResult TakeVlansOffMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                               const CRavString& strVlanKey, const std::vector<CRavString>& vlanKeys);
    CResult DeleteAllVlansFromMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                     const std::vector<CRavString>& vlanKeys);
    CResult DeleteVlanFromMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                 const CRavString& strVlanKey, bool bListed);
    CResult CleanupDummyVlanFromMember(const CRavString& strTeamKey, const CRavString& strMemberKey);

    std::recursive_mutex m_initializing; // recursive: the core agent may ask for the private face while it registers it
    std::mutex m_teamAgentLock;          // the team agent's handle
    std::recursive_mutex m_cacheLock;    // the cache and the key bindings; never held while another module is called
    CRavPointerArray<CRavXmsVlan> m_vlanCache;
    CRavPointerArray<_VLAN_KEY_BINDINGS> m_keyBindings;
    bool m_bInitialized = false;
    Microsoft::WRL::ComPtr<INetCfg> m_pNetCfg;
    DWORD m_dwThreadSlot = TLS_OUT_OF_INDEXES;
    CRavModuleHandle m_teamAgent;
    std::unique_ptr<CRavCoreInterface> m_coreInterface;
    std::atomic<CRavCoreInterface*> m_pCoreInterface{nullptr}; // the same, once there is a core agent behind it
};
