// Removing a VLAN from its parent.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/OsVersion.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Src/Vlan/RavNetCfgWriteLock.h"
#include "Src/RavShielded.h"
#include "Src/Vlan/TaggingModeSpy.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanRemove";
constexpr DWORD NOT_USER_REMOVABLE = 0x20; // of "Characteristics"
constexpr DWORD FAILURE = CResult::FAILED;

// Deletes a key below HKEY_LOCAL_MACHINE with all below it, if it exists.
void DeleteTree(const CRavString& parentPath, const CRavString& name)
{
    CRavRegKey parent;
    if (parent.Open(HKEY_LOCAL_MACHINE, parentPath, true))
        parent.DeleteSubKey(name);
}
} // namespace

// A VLAN counts as being removed for as long as one of these lives.
class CRavXmsVlan::RemovalMark
{
  public:
    explicit RemovalMark(CRavXmsVlan& vlan) : m_vlan(vlan) { m_vlan.m_bBeingRemoved = true; }
    ~RemovalMark()
    {
        m_vlan.m_bBeingRemoved = false;
        m_vlan.m_bRemovedByTeam = false;
    }
    RemovalMark(const RemovalMark&) = delete;
    RemovalMark& operator=(const RemovalMark&) = delete;

  private:
    CRavXmsVlan& m_vlan;
};

CResult CRavXmsVlan::RemoveVLANonAdapter(bool bSkipMemberCleanup)
{
    CResult result(0, FAILURE);
    const CRavTraceScope trace(L"CRavXmsVlan::RemoveVLANonAdapter", &result);
    int count = 0;
    if (!GetTotNoOfVlansOnThisParent(count))
    {
        result.ulErrCode = FAILURE;
        return result;
    }
    const Others others = count <= 1 ? Others::None : Others::Stay;
    const RemovalMark mark(*this);
    UpdateTaggingBeforeRemoval();
    if (GetNetCfgInterface() == nullptr)
    {
        RavTrace().Print(L"CRavXmsVlan::RemoveVLANonAdapter(), pNetCfg = NULL");
        result.ulErrCode = FAILURE;
        return result;
    }
    if (!UpdateRegistryForRemoval(others, bSkipMemberCleanup, result))
        return result;
    if (m_bMiniportRemoved || m_bSkipMiniportRemoval || m_bStaysWithTeam)
        return result;
    if (others == Others::None && m_iParentType == RAV_PARENT_TEAM)
        DoLastVoTTAOps(m_strParentKey);
    RemoveMiniportOnce(result);
    return result;
}

void CRavXmsVlan::UpdateTaggingBeforeRemoval()
{
    const CRavString member = IsOnTeamMember() ? m_strMemberKey : CRavString();
    const CRavString path = RavDriverEntryPath(member.IsEmpty() ? m_strParentKey : member);
    CRavRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, path, true))
    {
        RavTrace().Print(L"ERROR: could not open XMS key. path: %s", path.c_str());
        return;
    }
    int status = -1;
    TaggingModeSpy(*this).SetTaggingModeDisguise(status, key, member);
    if (status != 0)
        RavTrace().Print(L"ERROR: SetTaggingModeDisguise failed. ");
}

// Whether the lock is held. If not, the result's class says so; its code stays as it was, on purpose, unless a restart
// of the system is pending.
bool CRavXmsVlan::HasLock(const CRavNetCfgWriteLock& lock, CResult& result)
{
    if (lock.IsHeld())
        return true;
    RavTrace().Print(L"CRavXmsVlan::RemoveVLANonAdapter() - Acq write lock fails");
    result.ulErrClass = RAV_CLASS_REFUSED;
    if (lock.Status() == NETCFG_E_NEED_REBOOT)
        result.ulErrCode = RAV_CODE_REBOOT_PENDING;
    return false;
}

bool CRavXmsVlan::UpdateRegistryForRemoval(Others others, bool bSkipMemberCleanup, CResult& result)
{
    const CRavNetCfgWriteLock lock(*GetNetCfgInterface());
    return HasLock(lock, result) &&
           (others == Others::None ? UpdateForLastVlan(bSkipMemberCleanup, result) : UpdateForOneOfSeveral(result));
}

// The path for UpdoXMSProtocolKeyAdptr: the parent's entry or, for a team member, the key above its entry, since that
// routine appends the member's key itself.
CRavString CRavXmsVlan::RemovalPath() const
{
    return IsOnTeamMember() ? RavName(RAV_NAME_DRIVER_ADAPTERS_KEY) : RavDriverEntryPath(m_strParentKey);
}

bool CRavXmsVlan::UpdateForLastVlan(bool bSkipMemberCleanup, CResult& result)
{
    const CResult reloaded = DoReload();
    if (!reloaded.Succeeded())
    {
        RavTrace().Print(L"ERROR: RemoveVLANonAdapter() fails");
        result = reloaded;
        result.ulErrCode = FAILURE;
        return false;
    }
    // CleanUpParent has deleted an adapter's driver entry; only a team member's is updated here.
    if (!CleanUpParent(bSkipMemberCleanup))
    {
        result.ulErrCode = FAILURE;
        return false;
    }
    if (IsOnTeamMember() && !UpdoXMSProtocolKeyAdptr(true, RemovalPath()))
    {
        RavTrace().Print(L"CRavXmsVlan::RemoveVLANonAdapter() fails, UpdoXMSProtocolKeyAdptr fails-3.Extng");
        result.ulErrCode = FAILURE;
        return false;
    }
    return UpdateParentKey(Others::None, L"CRavXmsVlan::RemoveVLANonAdapter(), UpdOOOKeyAdptr() fails. Extng.", result);
}

bool CRavXmsVlan::CleanUpParent(bool bSkipMemberCleanup)
{
    const bool onMember = IsOnTeamMember();
    if ((onMember && bSkipMemberCleanup) ||
        GetNetCfgInterface()->CleanUpAdapterFromXms(onMember ? m_strMemberKey : m_strParentKey, true) == 0)
        return true;
    RavTrace().Print(L"CRavXmsVlan::RemoveVLANonAdapter(), pNetCfg->CleanUpAdapterFromXms() fails.Extng");
    return false;
}

bool CRavXmsVlan::UpdateForOneOfSeveral(CResult& result)
{
    if (IsUntagged() || CountNumberTaggedVlans() == 1)
    {
        const CResult reloaded = DoReload();
        if (!reloaded.Succeeded())
        {
            RavTrace().Print(L"ERROR: DoReload failed.");
            result = reloaded;
            return false;
        }
    }
    RavTrace().Print(L"CRavXmsVlan::RemoveVLANonAdapter(), Hot vlan remove init");
    if (!UpdoXMSProtocolKeyAdptr(false, RemovalPath()))
    {
        RavTrace().Print(L"CRavXmsVlan::RemoveVLANonAdapter() fails, UpdoXMSProtocolKeyAdptr fails-2.Extng");
        result.ulErrCode = FAILURE;
        return false;
    }
    return UpdateParentKey(Others::Stay, L"CRavXmsVlan::RemoveVLANonAdapter() fails, UpdOOOKeyAdptr fails-3.Extng",
                           result);
}

bool CRavXmsVlan::UpdateParentKey(Others others, const wchar_t* failure, CResult& result)
{
    if (m_iParentType == RAV_PARENT_TEAM)
        OpenKeyOf(m_strMemberKey);
    const bool done = UpdOOOKeyAdptr(others == Others::None);
    CloseParentClassKey();
    if (!done)
    {
        RavTrace().Print(L"%s", failure);
        result.ulErrCode = FAILURE;
    }
    return done;
}

void CRavXmsVlan::RemoveMiniportOnce(CResult& result)
{
    m_bMiniportRemoved = true; // before the lock: after a failure below this object does not try again
    const CRavNetCfgWriteLock lock(*GetNetCfgInterface());
    if (!HasLock(lock, result))
        return;
    const auto remove = [&] {
        return RemoveMiniportByCharacteristics(L"CRavXmsVlan::RemoveVLANonAdapter() characteristics=0x%X");
    };
    if (RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::RemoveVLANonAdapter", remove))
        return;
    RavTrace().Print(L"CRavXmsVlan::RemoveVLANonAdapter() fails, RemoveVirtualMiniport fails");
    result.ulErrCode = FAILURE;
}

// Before Windows NT 6.0 only miniports that users cannot remove are removed; any other is left to its user.
bool CRavXmsVlan::RemoveMiniportByCharacteristics(CRavFormat<DWORD> traceFormat)
{
    RAV_PARAMETER parameter;
    parameter.strName = RavName(RAV_NAME_CHARACTERISTICS);
    GetParameter(parameter);
    RavTrace().Print(traceFormat, parameter.dwValue);
    const bool ours = (parameter.dwValue & NOT_USER_REMOVABLE) != 0 || COSType::IsNt6OrLater();
    return !ours || RemoveVirtualMiniport();
}

bool CRavXmsVlan::RemoveVirtualMiniport()
{
    RavTrace().Print(L"Entering CRavXmsVlan::RemoveVirtualMiniport");
    bool done = false;
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (!m_pNetCfgComponent || netCfg == nullptr)
        RavTrace().Print(L"CRavXmsVlan::RemoveVirtualMiniport fails, m_pNetCfgComponent=NULL");
    else
    {
        RavTrace().Print(L"CRavXmsVlan::RemoveVirtualMiniport for-%s", m_strVlanKey.c_str());
        m_ownKey.Close(); // the removal deletes this key
        done = m_pNetCfgComponent->RemoveVirtualComponent(*netCfg, m_strVlanKey) == 0;
        if (!done)
            RavTrace().Print(L"CRavXmsVlan::RemoveVirtualMiniport, iRet!=0, bad");
    }
    RavTrace().Print(L"Exiting CRavXmsVlan::RemoveVirtualMiniport");
    return done;
}

bool CRavXmsVlan::DeleteVlanMiniport()
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::DeleteVlanMiniport", &done);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr)
    {
        RavTrace().Print(L"CRavXmsVlan::DeleteVlanMiniport fails.pNetCfg=NULL.");
        return false;
    }
    // The lock's status is not checked: without the lock the removal fails by itself.
    const CRavNetCfgWriteLock lock(*netCfg);
    done = RemoveMiniportByCharacteristics(L"CRavXmsVlan::DeleteVlanMiniport() characteristics=0x%X");
    return done;
}

// --- the parent's instance key --------------------------------------------------------------------------------------

bool CRavXmsVlan::UpdOOOKeyAdptr(bool bLastVlan)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::UpdOOOKeyAdptr", &done);
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (core == nullptr)
        RavTrace().Print(L"Unable to get core interface");
    bool ours = false;
    done = core != nullptr && RavShielded(SOURCE_FILE, __LINE__, L"CRavXmsVlan::UpdOOOKeyAdptr", [&] {
               ours = core->IsDeviceCorvo(m_iParentType == RAV_PARENT_TEAM ? m_strMemberKey : m_strParentKey);
           });
    if (ours)
        done = UpdateOurParentKey(bLastVlan);
    if (!done)
        RavTrace().Print(L"CRavXmsVlan::UpdOOOKeyAdptr,Key Updation error.");
    return done;
}

bool CRavXmsVlan::UpdateOurParentKey(bool bLastVlan)
{
    // A member's key has been opened into the parent key handle before. If that failed there is no key: an empty GUID
    // would open the VLAN's own.
    const HKEY handle = m_iParentType != RAV_PARENT_TEAM ? GetMyParentRegistryKey()
                        : GetParentClassKey() != nullptr ? GetMyRegistryKey(L"")
                                                         : nullptr;
    CRavRegKey key;
    if (handle == nullptr || !key.Open(handle, L"", true))
    {
        RavTrace().Print(L"CRavXmsVlan::UpdOOOKeyAdptr fails, hKey=NULL");
        return false;
    }
    if (bLastVlan)
        return ResetParentKey(key);
    DeleteVlanID(key.GetHKey(), m_iVlanId);
    return true;
}

bool CRavXmsVlan::ResetParentKey(CRavRegKey& key)
{
    key.DeleteValue(RavName(RAV_NAME_XMS_LOADED));
    bool done = key.SetValue(RavName(RAV_NAME_NETWORK_ADDRESS), L"", false);
    key.DeleteValue(RavName(RAV_NAME_VLAN_ID));
    key.DeleteValue(RavName(RAV_NAME_VLAN_MODE));
    if (!key.SetValue(RavName(RAV_NAME_VLAN_FILTERING), L"0", false))
        RavTrace().Print(L"UpdOOOKeyAdptr() - error updating the VlanFiltering reg value to 0 when the last vlan is "
                         L"removed.");
    done = key.SetValue(RavName(RAV_NAME_TAGGING_MODE), L"0", false) && done;
    if (m_iParentType == RAV_PARENT_TEAM)
        done = key.SetValue(RavName(RAV_NAME_NETWORK_ADDRESS), L"", false) && done;
    return done;
}

// --- the driver's entry ---------------------------------------------------------------------------------------------

bool CRavXmsVlan::UpdoXMSProtocolKeyAdptr(bool bLastVlan, CRavString strPath)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::UpdoXMSProtocolKeyAdptr", &done);
    const bool onMember = IsOnTeamMember();
    if (onMember && m_bSkipMiniportRemoval)
    {
        DeleteTree(RavName(RAV_NAME_DRIVER_ADAPTERS_KEY), m_strMemberKey);
        DeleteTree(RavName(RAV_NAME_DRIVER_CONFIGURATION_KEY), m_strMemberKey);
        RavTrace().Print(L"Exinting CRavXmsVlan::UpdoXMSProtocolKeyAdptr-2");
        done = true;
        return done;
    }
    if (onMember)
        strPath = strPath + L"\\" + m_strMemberKey;
    CRavRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, strPath, true))
        return false;
    if (onMember && bLastVlan)
    {
        key.DeleteValue(RavName(RAV_NAME_TAGGING_MODE));
        RavTrace().Print(L"Exiting CRavXmsVlan::UpdoXMSProtocolKeyAdptr-xx99.");
        done = true;
        return done;
    }
    done = bLastVlan ? key.DeleteSubKey(m_strParentKey) : RemoveFromBindingList();
    return done;
}

bool CRavXmsVlan::RemoveFromBindingList()
{
    const CRavString adapter = m_iParentType == RAV_PARENT_TEAM ? m_strMemberKey : m_strParentKey;
    CRavRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, RavDriverEntryPath(adapter), true))
        return false;
    const CRavString name = RavName(RAV_NAME_BINDING_LIST);
    std::vector<CRavString> bindings;
    bool done = RavReadList(key, name, bindings);
    if (done)
    {
        RavTrace().Print(L"Size of MiniportBndgLst strCollection: %d", static_cast<int>(bindings.size()));
        const CRavString device = RavDeviceOf(m_strVlanKey);
        std::erase_if(bindings, [&](const CRavString& binding) { return binding == device; });
        done = key.SetValue(name, bindings);
    }
    return DecreaseBindingCount(key) && done;
}

// This is not the last VLAN, so a count of 1 or less is wrong: it is kept, and the update fails.
bool CRavXmsVlan::DecreaseBindingCount(CRavRegKey& key)
{
    const CRavString name = RavName(RAV_NAME_BINDING_LIST_COUNT);
    DWORD count = 0;
    if (!key.GetValue(name, count))
        return false;
    const bool plausible = count > 1;
    return key.SetValue(name, plausible ? count - 1 : count) && plausible;
}
