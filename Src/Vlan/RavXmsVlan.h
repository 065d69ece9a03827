#pragma once

#include "Common/Library/RavAdapter.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"
#include "Src/Vlan/RavVlanAgentServices.h"
#include "Src/RavVlanTypes.h"

#include <windows.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class CRavNetCfgWriteLock;
struct RAV_SETTING;

// One VLAN: its registry values, its place in the lists of its parent, and its virtual miniport.
//
// The object is filled by the agent (parent, id, name, type), works on the calling thread's network configuration
// session and is used by one thread at a time. Routines with a status give 0 for success and -1 for failure, the
// others say whether they succeeded; each failure leaves its reason in the trace, none throws, and none is rolled
// back unless the routine says so.
class CRavXmsVlan : public CRavAdapter
{
  public:
    // strVlanKey: instance GUID text of the VLAN's miniport, or RAV_NEW_VLAN_KEY for a VLAN that is to be created.
    CRavXmsVlan(const CRavString& strVlanKey, CRavVlanAgentServices& services);
    ~CRavXmsVlan() override;

    // Makes the object ready for work on the calling thread. Fails without a network configuration session.
    CResult Init();
    // Initialises the object as an adapter. False when its device or driver key cannot be found; it has a component
    // object all the same, so that a damaged VLAN can be removed.
    bool InitializeComponent(CRavNetCfgInterface& netCfg);

    // --- the parent (RavXmsVlanParent.cpp) ----------------------------------------------------------------------

    // Fills the record from the parent key and type.
    CResult GetParent(RAV_VLAN_PARENT& parent);
    // Whether the parent is an adapter or a team; RAV_PARENT_UNKNOWN when the network configuration has neither.
    CResult GetParentType(int& iParentType);
    // How many VLANs the parent carries. For a team the team agent is asked first whether there are any. Fails when the
    // answer cannot be right: this VLAN, or one that the driver serves, is not among them.
    bool GetTotNoOfVlansOnThisParent(int& iCount);
    // The team's member adapters, through the team agent, in the order in which they joined.
    bool GetTeamMembers_v(const CRavString& strTeam, std::vector<CRavString>& members);
    // The adapters that carry the VLAN's frames: its parent, or those of a team's members that are in the machine.
    // False when they cannot be told.
    bool FindCarriers(std::vector<CRavString>& adapters);
    // The core agent; null when there is none, which the caller traces.
    CRavCoreAgentPvtIntf* GetCoreInterface() const { return m_services.GetCoreInterface(); }
    CRavNetCfgInterface* GetNetCfgInterface() const { return m_services.GetNetCfgInterface(); }

    // --- keys (RavXmsVlanRegistry.cpp) --------------------------------------------------------------------------

    // The adapter's instance number as the driver's entry for it has it; NO_ADAPTER_NUMBER on failure.
    static constexpr DWORD NO_ADAPTER_NUMBER = 0xFFFFFFFF;
    DWORD GetAdapterNumberFromAdapterID(const CRavString& strAdapter);
    // Opens the instance key of a number from 1 to 9999 for all access; null on failure.
    CRavKeyHandle OpenKeyForAdapterNumber(DWORD dwNumber);
    // Opens the driver's entry for an adapter for all access; null on failure.
    CRavKeyHandle OpenoXMSKeyForAdapterID(const CRavString& strAdapter);
    // Opens the VLAN's own instance key into the object.
    bool OpenThisMiniportRegKey();
    // Open the instance key of the component with the GUID into the parent key handle, closing what it held. An empty
    // GUID stands for the key that is held, and for this VLAN's own when none is.
    HRESULT GetOOOKeyFromVk(const CRavString& strGuid);
    HKEY GetMyRegistryKey(const CRavString& strGuid);
    HRESULT GetParentOOOKey();
    HKEY GetMyParentRegistryKey();
    // The first driver entry whose binding list holds the VLAN; empty when no member carries it.
    bool GetKeyStrForFirstAdapterFromVlanOnTeam(const CRavString& strVlanGuid, CRavString& strAdapter);
    // The first VLAN in the network class whose parent is exactly the given one. For the suite; not called here.
    void GetVlanNiidFrmPk(const CRavString& strParentGuid, CRavString& strVlanGuid, int& status);
    // The handle that the routines above left; null when none.
    HKEY GetParentClassKey() const { return m_parentClassKey.Get(); }
    void AdoptParentClassKey(CRavKeyHandle key) { m_parentClassKey = std::move(key); }
    void CloseParentClassKey() { m_parentClassKey.Close(); }

    // --- ids and tagging (RavXmsVlanTagging.cpp) ----------------------------------------------------------------

    // The ids in the parent's list as text, in order of creation; empty without the list.
    bool GetVlanIdArray(std::vector<CRavString>& ids);
    int CountNumberTaggedVlans(); // -1 when the list cannot be read
    int CountRemainingVlans();    // -1 when the agent cannot tell
    bool IsUntagged() const { return m_iVlanId == 0; }
    bool IsParentWithTaggedVlan(bool& bTagged);
    bool IsParentWithUntaggedVlan(bool& bUntagged);
    bool GetVlanMode(DWORD& dwMode);
    void UpdateVlanMode(int& status);
    void SetParamsForAdptrOOOKey(int& status);
    // Both work on an open instance key, which stays the caller's.
    bool RemoveRegValuesWhenOnlyUntagged(HKEY hKey);
    void DeleteVlanID(HKEY hKey, int iVlanId);
    // Puts the VLAN's id into the list of the parent with the GUID (a team member's, for a team) in place of the
    // previous id.
    void SetVlanIdAsMultiStrInAdptrOOOKi(const CRavString& strParentGuid, int& status);

    // --- identity (RavXmsVlanIdentity.cpp) ----------------------------------------------------------------------

    void ConstructVlanDisplayName(int& status);
    void ConstructVlanDisplayName(const CRavString& strParentName, int& status);
    void SetMiniportDisplayName(int& status);
    // Changes of a VLAN that is there. The first two need the write lock for the display name, and take it.
    void SetVLANName(const CRavString& strName, int& status);
    void UpdateVLANName(const CRavString& strParentName, int& status);
    void SetVLANId(int iVlanId, int& status);
    void SetVLANType(DWORD dwType, int& status);
    // Reads the parent's address from the parent key handle; an adapter that has none set gets its permanent one.
    void GetCurrentMACAddress(int& status);

    // --- settings (RavXmsVlanSettings.cpp, RavXmsVlanJumbo.cpp)
    // -----------------------------------------------------------

    CResult CreateVlanAdvancedSettings();
    CResult CreateSetting(RAV_SETTING* pSetting);
    // *ppSetting belongs to the caller; null with *pFound false when no member supports jumbo frames.
    CResult GetLCDJumboFramesForTeam(CRavString strTeamGuid, RAV_SETTING** ppSetting, bool* pFound);
    // Makes the VLAN's jumbo-frame setting anew from its template, with no choice above strTopValue. Its value is the
    // default then.
    CResult ReSyncJumboFrameSettingEnumValues(CRavString strTopValue);
    // The greatest frame that the parent carries at present, in bytes: for a team the least of its members'.
    CResult GetParentJumboSize(int32_t& iSize);
    // Brings the VLAN's jumbo-frame setting into line with the parent's present size: the parent's choices up to it; a
    // value that is among them stays, any other comes down to the greatest. Nothing is written when that is so
    // already, or when the VLAN has no such setting. One whose description is damaged, or lost, is described anew.
    CResult FollowParentJumboSize(bool& bChanged);

    // --- creation (RavXmsVlanCreate.cpp, RavXmsVlanSave.cpp) ----------------------------------------------------

    // Creates the VLAN over its adapter and queues its miniport for the apply passes, whatever the outcome. A creation
    // that fails takes its miniport away again; what it has written and bound stays.
    void CreatVlanOnAdapter(int& status);
    void CreatFirstVlanOnAdapter(int& status);
    void CreatFurtherVlanOnAdapter(int& status);
    void SetupVlanParentRegistry(int& status);
    void SaveParentAdptrToReg(int& status);
    void SaveVlanParamsToReg(int& status);
    void GenNewLogicalGroupId(int& status);
    bool BindParentAdapterToXms();
    void SetParentAdapterNA(int& status);
    CResult DoReload();
    bool SendNewVlanOid();
    // Queue the miniport for the passes that run when the transaction is applied.
    void UnloadMiniport();
    void UnloadMiniportDuringApplyDone();

    // --- creation over a team (RavXmsVlanCreateTeam.cpp) ---------------------------------------------------------

    // Creates the VLAN over its team, on each member that is in the machine, and queues its miniport for the apply
    // passes, whatever the outcome. A creation that fails takes its miniport away again, and names in the trace what
    // it has left on which member.
    void CreatVlanOnTeam(int& status);
    void CreatFirstVlanOnTeam(int& status);
    void CreatFurtherVlanOnTeam(int& status);
    // Gives the VLAN, which is there, to the team member that the object stands for. bPrepare: also all that a member
    // needs for its first VLAN. What is there already stays, so that it can be repeated after a failure.
    void AddToTeamMember(bool bPrepare, int& status);
    // Writes how many adapters the team has into the VLAN's key.
    bool UpdateTeamSize(DWORD dwAdapters);

    // --- removal (RavXmsVlanRemove.cpp, RavXmsVlanRemoveMember.cpp) -----------------------------------------------

    CResult RemoveVLANonAdapter(bool bSkipMemberCleanup);
    bool RemoveVirtualMiniport();
    bool DeleteVlanMiniport();
    bool UpdOOOKeyAdptr(bool bLastVlan);
    bool UpdoXMSProtocolKeyAdptr(bool bLastVlan, CRavString strPath);
    bool UpdateTeamMemberOOOKey2ReflectRemovedVlan(const CRavString& strMember, bool bLastVlan, int iVlanId);
    bool UpdateTeamMemberoXmsProtocolKey2ReflectRemovedVlan(const CRavString& strMember, bool bLastVlan);
    bool DoLastVoTTAOps(const CRavString& strTeam);
    // Binds a former team member to its ordinary protocols again. True also when another program holds the write lock.
    bool BindMemberToTCPIP(const CRavString& strMember);
    // The same, but false whenever the lock was not had.
    bool GiveMemberBack(const CRavString& strMember);
    bool IsThisBeingRemoved() const { return m_bBeingRemoved || m_bRemovedByTeam; }

    // --- state (RavXmsVlan.cpp) ---------------------------------------------------------------------------------

    CResult IsHyperV_Enabled(bool& bEnabled);
    // Starts (bLoad) or stops the VLAN's miniport now.
    CResult ReloadMiniport(bool bLoad, bool& bReboot);
    bool LoadTeamAgent();

    CRavString m_strParentKey;            // the parent's GUID, adapter or team
    CRavString m_strVlanKey;              // the VLAN's key
    CRavString m_strMiniportInst;         // the miniport's instance as the network configuration reports it
    CRavString m_strVlanNetCfgInstanceId; // the VLAN's GUID; empty until the miniport exists
    CRavString m_strMemberKey;            // the member, when the object stands for the VLAN on one team member
    CRavString m_strParentAdapterId;      // the physical adapter; for a team the member in question
    int m_iParentType = RAV_PARENT_UNKNOWN;
    int m_iVlanId = -1;         // -1 until known, 0 untagged
    int m_iPreviousVlanId = -1; // the id that an id change replaces
    DWORD m_dwVlanType = 0;     // as the registry has it, see the agent's RAV_VLAN_INFO for its own
    CRavString m_strVlanName;
    CRavString m_strVlanDisplayName;
    CRavString m_strNetworkAddress; // MAC address text
    DWORD m_dwLogicalGroupId = 0;
    DWORD m_dwTotalPhysicalAdapters = 1;
    bool m_bFirstVlan = true;            // while the parent has no VLAN yet
    bool m_bOnTeam = false;              // created over a team
    bool m_bOnTeamMember = false;        // stands for the VLAN on m_strMemberKey
    bool m_bSkipMiniportRemoval = false; // removal leaves miniport and team agent alone, and deletes the entry whole
    bool m_bStaysWithTeam = false;       // removal takes it off the member alone: miniport and entry are still needed
    bool m_bMiniportRemoved = false;     // set before the miniport is removed, never cleared by removal
    bool m_bRemovedByTeam = false;       // the agent's team removal holds the object
    bool m_bFeatureFlag = false;         // bit 0 of the supported features: over a team
    RAV_VLAN_INFO m_ravVlanInfo;         // the record that clients see

  private:
    friend class CRavParentKeyBorrow;

    HRESULT OpenKeyOf(const CRavString& strGuid);
    HRESULT OpenKeyOf(const CRavString& strGuid, CRavKeyHandle& key);
    HRESULT OpenClassKey(const wchar_t* routine, const CRavString& strGuid);
    bool OpenKeyWithVlanIds(CRavRegKey& key);
    bool OpenTeamMemberKey(CRavRegKey& key);
    bool HasTeamTaggedVlan(bool& bTagged);
    bool HasAdapterTaggedVlan(const CRavString& strAdapter, bool& bTagged);
    void FinishDisplayName(const CRavString& strParentName);
    bool QueryParentName(CRavString& strParentName);
    bool QueryPermanentAddress(std::optional<CRavString>& address);

    CResult CreateJumboSetting(RAV_SETTING& setting);
    int32_t StoredJumboSize();
    CResult ReadOwnJumboSetting(std::unique_ptr<RAV_SETTING>& setting, bool& bDamaged);
    CResult FindParentJumboSetting(std::unique_ptr<RAV_SETTING>& setting);
    CResult FindTeamJumboSetting(const CRavString& strTeam, RAV_SETTING** ppSetting, bool& bFound);

    // One step of a sequence: what it runs, the number of its failure exit, and what is traced on failure, if anything.
    struct Step
    {
        void (CRavXmsVlan::*run)(int& status);
        int exit;
        const wchar_t* failure;
    };
    class InstalledMiniport;
    // Runs the steps in order up to the first that fails; its exit, or 0. What a step throws is its failure.
    int RunSteps(std::initializer_list<Step> steps);
    bool RunStep(const Step& step);
    void RunSequence(const wchar_t* sequence, int& status, std::initializer_list<Step> steps);
    // The exit of the step that failed, those of the lock before and behind them, or 0.
    int RunUnderLock(std::initializer_list<Step> steps);
    void InstallMiniport(int& status);
    void PrepareMiniport(int& status);
    void NameMiniport(int& status);
    void ReloadParent(int& status);
    void BindParent(int& status);
    void TakeParentLogicalGroupId(int& status);
    void TraceTaggedVlans(int& status);
    CRavAdapter* ParentAdapter();
    bool Tell(CRavAdapter& adapter);
    bool AddTeamMembers(std::vector<CRavString>& adapters);

    // Steps of the sequences over a team.
    bool FindMembers();
    bool KeepPresent(std::vector<CRavString>& adapters);
    bool AreAllCarriersThere();
    void OnEachMember(const wchar_t* changes, void (CRavXmsVlan::*run)(int& status), int& status);
    void SetupMembers(int& status);
    void SetupMember(int& status);
    void TakeTeamLogicalGroupId(int& status);
    void FindTeamLogicalGroupId(int& status);
    void SaveMembersToReg(int& status);
    void SaveMemberToReg(int& status);
    void MoveMemberDhcp(int& status);
    void BindMembers(int& status);
    bool TellMembers();
    CRavString TeamOfParent();

    bool MarkAsXmsLoaded(CRavRegKey& key);
    bool SetupVlanFiltering(CRavRegKey& key);
    void DisableVMQ(const CRavString& strAdapter);
    bool GetParentLogicalGrpIdFromGuid(const CRavString& strGuid, CRavString& strInstancePath);
    bool OpenDriverEntry(CRavRegKey& key, const CRavString& strPath, const CRavString& strAdapter);
    bool MoveDhcp(const CRavString& strAdapter);
    bool WriteDriverEntry(CRavRegKey& key, const CRavString& strAdapter);
    bool AddToBindingList(CRavRegKey& key);
    bool SaveTeamParams();
    bool SaveOwnParams();

    class RemovalMark;
    enum class Others // VLANs of the parent, when one is removed
    {
        None,
        Stay
    };
    bool IsOnTeamMember() const { return m_bOnTeamMember && m_iParentType == RAV_PARENT_TEAM; }
    // hLocked: negative when the write lock was not had.
    bool GiveMemberBack(const wchar_t* routine, const CRavString& strMember, HRESULT& hLocked);
    CRavString CarryingMember();
    bool KeepThoseOnMember(std::vector<CRavString>& vlanKeys);
    void UpdateTaggingBeforeRemoval();
    CRavString RemovalPath() const;
    bool UpdateRegistryForRemoval(Others others, bool bSkipMemberCleanup, CResult& result);
    bool UpdateForLastVlan(bool bSkipMemberCleanup, CResult& result);
    bool UpdateForOneOfSeveral(CResult& result);
    bool UpdateParentKey(Others others, const wchar_t* failure, CResult& result);
    bool CleanUpParent(bool bSkipMemberCleanup);
    void RemoveMiniportOnce(CResult& result);
    bool RemoveMiniportByCharacteristics(CRavFormat<DWORD> traceFormat);
    bool UpdateOurParentKey(bool bLastVlan);
    bool ResetParentKey(CRavRegKey& key);
    bool RemoveFromBindingList();
    static bool HasLock(const CRavNetCfgWriteLock& lock, CResult& result);
    static bool DecreaseBindingCount(CRavRegKey& key);
    bool RemoveIdFromMember(const CRavString& strMember, int iVlanId);
    void UpdateMemberTagging(const CRavString& strMember);

    CRavVlanAgentServices& m_services;
    CRavKeyHandle m_parentClassKey;
    CRavRegKey m_ownKey;
    std::shared_ptr<CRavTeamAgentPvtIntf> m_pTeamAgentPvt; // ask LoadTeamAgent first
    std::unique_ptr<CRavAdapter> m_pParentAdapter;         // see ParentAdapter
    std::vector<CRavString> m_members; // the team's members that an operation works on, in the order of the team
    std::vector<std::pair<CRavString, const wchar_t*>> m_changes; // what a creation has changed on which member
    bool m_bBeingRemoved = false;
};

// Lets a routine open a key of its own into the parent key handle: the handle that was there is put back, and the
// routine's own closed, when the routine returns.
class CRavParentKeyBorrow
{
  public:
    explicit CRavParentKeyBorrow(CRavXmsVlan& vlan) : m_vlan(vlan), m_saved(std::move(vlan.m_parentClassKey)) {}
    ~CRavParentKeyBorrow() { m_vlan.m_parentClassKey = std::move(m_saved); }
    CRavParentKeyBorrow(const CRavParentKeyBorrow&) = delete;
    CRavParentKeyBorrow& operator=(const CRavParentKeyBorrow&) = delete;

  private:
    CRavXmsVlan& m_vlan;
    CRavKeyHandle m_saved;
};
