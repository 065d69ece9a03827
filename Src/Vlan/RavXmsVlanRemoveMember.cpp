// What removing a VLAN over a team changes on one of the team's members.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Src/Vlan/RavNetCfgWriteLock.h"
#include "Src/RavShielded.h"
#include "Src/Vlan/TaggingModeSpy.h"

#include <algorithm>
#include <cwchar>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanRemoveMember";
} // namespace

bool CRavXmsVlan::UpdateTeamMemberOOOKey2ReflectRemovedVlan(const CRavString& strMember, bool bLastVlan, int iVlanId)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::UpdateTeamMemberOOOKey2ReflectRemovedVlan", &done);
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (core == nullptr)
    {
        RavTrace().Print(L"Unable to get core interface");
        return false;
    }
    const auto ask = [](int line, const auto& call) {
        return RavShielded(SOURCE_FILE, line, L"CRavXmsVlan::UpdateTeamMemberOOOKey2ReflectRemovedVlan", call);
    };
    bool ours = false;
    done = ask(__LINE__, [&] { ours = core->IsDeviceCorvo(strMember); });
    if (!ours)
        return done;
    if (!bLastVlan)
    {
        done = RemoveIdFromMember(strMember, iVlanId);
        return done;
    }
    const auto set = [&](const CRavString& name) { core->SetParameter(strMember, RAV_PARAMETER::Text(name, L"0")); };
    // Each of the four is done, whether or not those before it succeeded.
    ask(__LINE__, [&] { core->DeleteParameter(strMember, RavName(RAV_NAME_VLAN_ID)); });
    ask(__LINE__, [&] { core->DeleteParameter(strMember, RavName(RAV_NAME_VLAN_MODE)); });
    ask(__LINE__, [&] { set(RavName(RAV_NAME_VLAN_FILTERING)); });
    ask(__LINE__, [&] { set(RavName(RAV_NAME_TAGGING_MODE)); });
    return done;
}

bool CRavXmsVlan::RemoveIdFromMember(const CRavString& strMember, int iVlanId)
{
    {
        const CRavParentKeyBorrow borrowed(*this);
        CRavRegKey key;
        if (GetMyRegistryKey(strMember) == nullptr || !key.Open(GetParentClassKey(), L"", true))
        {
            RavTrace().Print(L"CRavXmsVlan::UpdTeamMemberOOOKey2ReflectRemovedVlan fails.Extng-1.");
            return false;
        }
        std::vector<CRavString> ids;
        if (!RavReadList(key, RavName(RAV_NAME_VLAN_ID), ids))
            return true;
        std::erase_if(ids, [&](const CRavString& id) { return _wtoi(id) == iVlanId || _wtoi(id) == 0; });
        if (ids.empty())
            RemoveRegValuesWhenOnlyUntagged(key.GetHKey());
        else if (!key.SetValue(RavName(RAV_NAME_VLAN_ID), ids))
        {
            RavTrace().Print(L"ERROR: CRavXmsVlan::UpdTeamMemberOOOKey2ReflectRemovedVlan fails.Extng-2.");
            return false;
        }
    }
    UpdateMemberTagging(strMember);
    return true;
}

void CRavXmsVlan::UpdateMemberTagging(const CRavString& strMember)
{
    CRavRegKey key(OpenoXMSKeyForAdapterID(strMember));
    if (!key.IsOpened())
    {
        RavTrace().Print(L"ERROR: OpenoXMSKeyForAdapterID failed. strMember: %s", strMember.c_str());
        return;
    }
    int status = -1;
    TaggingModeSpy(*this).SetTaggingModeDisguise(status, key, strMember);
    if (status != 0)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetTaggingModeDisguise failed.");
}

bool CRavXmsVlan::UpdateTeamMemberoXmsProtocolKey2ReflectRemovedVlan(const CRavString& strMember, bool bLastVlan)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::UpdateTeamMemberoXmsProtocolKey2ReflectRemovedVlan", &done);
    const auto failed = [](int exit) {
        RavTrace().Print(L"CRavXmsVlan::UpdTeamMemberoXmsProtKey2ReflectRemovedVlan fails.Extng-%d.", exit);
        return false;
    };
    CRavRegKey key;
    if (!key.Create(HKEY_LOCAL_MACHINE, RavDriverEntryPath(strMember), true, false))
        return failed(1);
    if (bLastVlan)
    {
        key.DeleteValue(RavName(RAV_NAME_TAGGING_MODE));
        done = true;
        return done;
    }
    std::vector<CRavString> bindings;
    if (!RavReadList(key, RavName(RAV_NAME_BINDING_LIST), bindings))
        return false;
    const CRavString device = RavDeviceOf(m_strVlanKey);
    std::erase_if(bindings, [&](const CRavString& binding) { return binding == device; });
    if (!key.SetValue(RavName(RAV_NAME_BINDING_LIST), bindings))
        return failed(2);
    DWORD count = 0;
    if (!key.GetValue(RavName(RAV_NAME_BINDING_LIST_COUNT), count))
        return failed(5);
    if (count < 2)
        return failed(3);
    if (!key.SetValue(RavName(RAV_NAME_BINDING_LIST_COUNT), count - 1))
        return failed(4);
    done = true;
    return done;
}

bool CRavXmsVlan::DoLastVoTTAOps(const CRavString& strTeam)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::DoLastVoTTAOps", &done);
    if (!LoadTeamAgent())
    {
        RavTrace().Print(L"CRavXmsVlan::DoLastVoTTAOps fails.pTaPvt=NULL.");
        return false;
    }
    done = RavShielded(SOURCE_FILE, __LINE__, L"CRavXmsVlan::DoLastVoTTAOps",
                       [&] { m_pTeamAgentPvt->NotifyLastVlanOnTeamRemoved(strTeam, m_strVlanKey, 0); });
    return done;
}

bool CRavXmsVlan::BindMemberToTCPIP(const CRavString& strMember)
{
    HRESULT locked = S_OK;
    // A lock that another program holds counts as success, by design; only a pending restart is a failure.
    return GiveMemberBack(L"BindMemberToTCPIP", strMember, locked) ||
           (FAILED(locked) && locked != NETCFG_E_NEED_REBOOT);
}

bool CRavXmsVlan::GiveMemberBack(const CRavString& strMember)
{
    HRESULT locked = S_OK;
    return GiveMemberBack(L"GiveMemberBack", strMember, locked);
}

bool CRavXmsVlan::GiveMemberBack(const wchar_t* routine, const CRavString& strMember, HRESULT& hLocked)
{
    RavTrace().Print(L"Entering CRavXmsVlan::%s", routine);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr)
    {
        RavTrace().Print(L"CRavXmsVlan::%s fails,pNetCfg = NULL", routine);
        return false;
    }
    const CRavNetCfgWriteLock lock(*netCfg);
    if (!lock.IsHeld())
    {
        RavTrace().Print(L"CRavXmsVlan::%s-Acq write lock fails", routine);
        hLocked = lock.Status();
        return false;
    }
    if (netCfg->CleanUpAdapterFromXms(strMember, true) != 0)
    {
        RavTrace().Print(L"CRavXmsVlan::%s,pNetCfg->CleanUpAdapterFromXms() fails.Extng", routine);
        return false;
    }
    return true;
}
