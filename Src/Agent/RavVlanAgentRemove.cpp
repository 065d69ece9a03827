// Removing VLANs at a client's or a sibling agent's request.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavKey.h"
#include "Src/RavCoreInterface.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Common/Src/RavSuiteLock.h"
#include "Src/View/RavHostView.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentRemove";

// The code alone does not tell: when the write lock could not be had it may be 0, and the class says so.
bool IsRemoved(const CResult& result)
{
    return result.Succeeded() && result.ulErrClass != RAV_CLASS_REFUSED;
}
} // namespace

void CVlanAgentWin::RemoveVlan(CResult& result, const RAV_LOCK_RECORD& lock, const CRavString& strVlanKey)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::RemoveVlan", &result);
    RavTrace().Print(L"RemoveVlan, input vk-%s", strVlanKey.c_str());
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::RemoveVlan", result, [&] {
        if (strVlanKey.IsEmpty())
        {
            RavTrace().Print(L"RemoveVlan() - Vlan key is invalid");
            ClearVlanCache();
            return;
        }
        CResult locked;
        const CRavSuiteLock suiteLock(*this, lock, locked);
        // Others may have changed the host until this call had the lock: what was read before is dropped.
        ClearVlanCache();
        if (!suiteLock.IsHeld())
        {
            RavTrace().Print(L"RemoveVlan() - error unable to create the lock");
            return;
        }
        const CNetCfgSession whole(*this); // one for all that follows
        if (CRavHostSession* const host = ThreadSession())
            host->View().Deepen(CRavHostView::DEPTH::Parents); // the parent's VLANs will be counted
        const CacheCleaner cleaner(*this);
        const CRavString key = RavCanonicalKey(strVlanKey);
        if (!MayRemove(result, key, lock.client))
            return;
        WaitForApplyDone(lock.client);
        if (CRavHostSession* const host = ThreadSession())
            host->ReadAnew(); // the wait may have been a long one
        const CNetCfgSession session(*this);
        if (!session.IsOpen())
        {
            RavTrace().Print(L"RemoveVlan() -  call to CreateNetCfgInterfaceObj failed");
            result = session.Result();
            return;
        }
        result = RemoveUnderLock(key);
    });
}

bool CVlanAgentWin::MayRemove(CResult& result, const CRavString& strVlanKey, const RAV_CLIENT_ID& client)
{
    bool bound = false;
    CResult asked;
    IsHyperV_EnabledOnVlan(asked, strVlanKey, bound);
    if (bound)
    {
        RavTrace().Print(L"RemoveVlan() - Vlan is bound to Hyper V protocol - cannot be removed.");
        result = CResult(RAV_CODE_HYPER_V, RAV_CLASS_REFUSED);
        return false;
    }
    VerifyClientID(asked, client);
    if (asked.ulErrCode != CResult::FAILED)
        return true;
    RavTrace().Print(L"CVlanAgentWin::RemoveVlan - VerifyClientID failed");
    return false;
}

CResult CVlanAgentWin::RemoveUnderLock(const CRavString& strVlanKey)
{
    const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
    if (vlan)
        return RemoveLoaded(*vlan);
    RavTrace().Print(L"RemoveVlan() - Unable to load vlan info");
    return CResult();
}

CResult CVlanAgentWin::RemoveLoaded(CRavXmsVlan& vlan)
{
    int count = 0;
    if (!vlan.GetTotNoOfVlansOnThisParent(count))
        return CResult(); // the count decides between removing one of several VLANs and the parent's last one
    bool untaggedToRemove = false;
    const std::shared_ptr<CRavXmsVlan> untagged = DoesUntaggedVlanNeedToBeRemoved(vlan, untaggedToRemove);
    bool bound = false;
    if (untaggedToRemove && untagged->IsHyperV_Enabled(bound).Succeeded() && bound)
    {
        RavTrace().Print(L"RemoveVlan() - Untagged Vlan is bound to Hyper V protocol - cannot be removed.");
        return CResult(RAV_CODE_HYPER_V, RAV_CLASS_REFUSED);
    }
    vlan.GetParentType(vlan.m_iParentType);
    if (untagged)
        untagged->m_iParentType = vlan.m_iParentType;
    switch (vlan.m_iParentType)
    {
    case RAV_PARENT_TEAM:
        return RemoveFromTeam(vlan, untagged.get(), count);
    case RAV_PARENT_ADAPTER:
        return RemoveFromAdapter(vlan, untagged.get());
    default:
        RavTrace().Print(L"RemoveVlan() - failed. Unable to get parent type.");
        return CResult();
    }
}

CResult CVlanAgentWin::RemoveFromAdapter(CRavXmsVlan& vlan, CRavXmsVlan* pUntagged)
{
    if (pUntagged != nullptr)
    {
        RavTrace().Print(L"RemoveVlan(), now removing the untagged Vlan on the adapter!");
        // If it cannot be removed, the VLAN that was asked for is removed all the same.
        RavShielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::RemoveVlan",
                    [&] { pUntagged->RemoveVLANonAdapter(false); });
    }
    const CResult result = vlan.RemoveVLANonAdapter(false);
    if (!IsRemoved(result))
        RavTrace().Print(L"RemoveVlan() - failed to remove the vlan - exiting!");
    return result;
}

CResult CVlanAgentWin::RemoveFromTeam(CRavXmsVlan& vlan, CRavXmsVlan* pUntagged, int iCount)
{
    bool last = false;
    bool unloadMembers = false;
    if (pUntagged != nullptr)
    {
        RavTrace().Print(L"RemoveVlan(), now removing the untagged Vlan on the Team!");
        const CResult removed = RemoveVlanWithTeamAsParent(pUntagged->m_strVlanKey, pUntagged->m_strParentKey, false,
                                                           pUntagged->m_iVlanId, false);
        last = removed.Succeeded();
        unloadMembers = last;
    }
    else
    {
        if (iCount < 2)
        {
            RavTrace().Print(L"RemoveVlan(), removing the last Vlan on the Team!");
            last = true;
        }
        unloadMembers = vlan.IsUntagged() || vlan.CountNumberTaggedVlans() == 1;
    }
    const CResult result =
        RemoveVlanWithTeamAsParent(vlan.m_strVlanKey, vlan.m_strParentKey, last, vlan.m_iVlanId, unloadMembers);
    if (!result.Succeeded())
        RavTrace().Print(L"RemoveVlan() - call to RemoveVlanWithTeamAsParent() failed!");
    return result;
}

// The untagged VLAN is never left alone on its parent: when the last tagged one is removed, it goes along.
std::shared_ptr<CRavXmsVlan> CVlanAgentWin::DoesUntaggedVlanNeedToBeRemoved(CRavXmsVlan& vlan, bool& bNeeded)
{
    bNeeded = false;
    std::vector<CRavString> keys;
    CResult enumerated;
    EnumerateVlans(enumerated, vlan.m_strParentKey, keys);
    if (keys.size() != 2 || vlan.IsUntagged() || vlan.CountNumberTaggedVlans() != 1)
        return nullptr;
    for (const CRavString& key : keys)
    {
        std::shared_ptr<CRavXmsVlan> other = GetVlan(key);
        if (!other || !other->IsUntagged())
            continue;
        RavTrace().Print(L"User is attempting to remove the last tagged vlan when there is remainly untagged vlan!!  "
                         L"The untagged Vlan will removed as well!");
        bNeeded = true;
        return other;
    }
    return nullptr;
}

void CVlanAgentWin::IsHyperV_EnabledOnVlan(CResult& result, const CRavString& strVlanKey, bool& bBound)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::IsHyperV_EnabledOnVlan", &result);
    bBound = false;
    if (strVlanKey.IsEmpty())
    {
        RavTrace().Print(L"IsHyperV_EnabledOnVlan() - vlan guid is invalid.");
        return;
    }
    const bool finished = Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::IsHyperV_EnabledOnVlan", result, [&] {
        const CNetCfgSession session(*this);
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
        if (!vlan)
        {
            RavTrace().Print(L"IsHyperV_EnabledOnVlan() - unable to load the Vlan");
            return;
        }
        result = vlan->IsHyperV_Enabled(bBound);
        if (!result.Succeeded())
        {
            RavTrace().Print(L"IsHyperV_EnabledOnVlan() - call to IsHyperV_Enabled() failed.");
            bBound = false;
        }
        else if (bBound)
            RavTrace().Print(L"IsHyperV_EnabledOnVlan() - this vlan is bound to Hyper V.");
    });
    bBound = bBound && finished;
}

// --- teams ----------------------------------------------------------------------------------------------------------

CResult CVlanAgentWin::RemoveVlanWithTeamAsParent(const CRavString& strVlanKey, const CRavString& strTeamKey,
                                                  bool bLastVlan, int iVlanId, bool bUnloadMembers)
{
    CResult result;
    const CRavTraceScope trace(L"CVlanAgentWin::RemoveVlanWithTeamAsParent", &result);
    if (strVlanKey.IsEmpty() || strTeamKey.IsEmpty())
    {
        RavTrace().Print(L"RemoveVlanWithTeamAsParent() - vlan guid or parent guid is invalid");
        return result;
    }
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::RemoveVlanWithTeamAsParent", result, [&] {
        const CNetCfgSession session(*this);
        if (!session.IsOpen())
        {
            RavTrace().Print(L"RemoveVlanWithTeamAsParent() - call to CreateNetCfgInterfaceObj() failed - exiting");
            result = session.Result();
            return;
        }
        if (GetCoreAgentPvt() == nullptr)
        {
            RavTrace().Print(L"RemoveVlanWithTeamAsParent() - call to GetCoreInterface() failed - exiting");
            return;
        }
        CRavXmsVlan vlan(strVlanKey, *this);
        vlan.InitializeComponent(*GetNetCfgInterface());
        vlan.Init();
        vlan.m_strParentKey = strTeamKey;
        vlan.m_iParentType = RAV_PARENT_TEAM;
        vlan.m_iVlanId = iVlanId;
        vlan.m_bRemovedByTeam = true; // counts as being removed for as long as the object lives
        if (RemoveFromTeamAndMembers(vlan, bLastVlan, bUnloadMembers))
            result = CResult::Success();
    });
    return result;
}

bool CVlanAgentWin::RemoveFromTeamAndMembers(CRavXmsVlan& vlan, bool bLastVlan, bool bUnloadMembers)
{
    std::vector<CRavString> members;
    // Without the list of members nothing is changed on them. The VLAN is removed all the same, since a team that is
    // being dissolved must be able to get rid of its VLANs.
    if (!vlan.GetTeamMembers_v(vlan.m_strParentKey, members))
        RavTrace().Print(L"RemoveVlanWithTeamAsParent() - call to GetTeamMembers_v() failed");
    if (bLastVlan || bUnloadMembers)
        UpdateTeamMembers(vlan, members, bLastVlan);
    if (bLastVlan)
        vlan.DoLastVoTTAOps(vlan.m_strParentKey);
    if (vlan.DeleteVlanMiniport())
        return true;
    RavTrace().Print(L"RemoveVlanWithTeamAsParent() - call to DeleteVlanMiniport() fails - Exiting.");
    return false;
}

// Stops at a member that cannot be unloaded; the removal of the VLAN goes on.
void CVlanAgentWin::UpdateTeamMembers(CRavXmsVlan& vlan, const std::vector<CRavString>& members, bool bLastVlan)
{
    for (const CRavString& member : members)
    {
        bool reboot = false;
        const auto unload = [&] { return Core().UnloadMiniport(member, reboot); };
        if (!RavAnswer(SOURCE_FILE, __LINE__, L"CVlanAgentWin::RemoveVlanWithTeamAsParent", unload).Succeeded())
        {
            RavTrace().Print(L"RemoveVlanWithTeamAsParent() - call to UnloadMiniport() fails - Exiting.");
            return;
        }
        if (!vlan.UpdateTeamMemberOOOKey2ReflectRemovedVlan(member, bLastVlan, vlan.m_iVlanId))
            RavTrace().Print(L"RemoveVlanWithTeamAsParent() - call to UpdateTeamMemberOOOKey2ReflectRemovedVlan() "
                             L"failed - exiting");
        if (!vlan.UpdateTeamMemberoXmsProtocolKey2ReflectRemovedVlan(member, bLastVlan))
            RavTrace().Print(L"RemoveVlanWithTeamAsParent() - call to "
                             L"UpdateTeamMemberoXmsProtocolKey2ReflectRemovedVlan() failed - exiting");
    }
}

void CVlanAgentWin::RemoveAllVlansOnTeam(CResult& result, const CRavString& strTeamKey)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::RemoveAllVlansOnTeam", &result);
    if (strTeamKey.IsEmpty())
    {
        RavTrace().Print(L"RemoveAllVlansOnTeam() - the team id passed in is invalid - exiting");
        return;
    }
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::RemoveAllVlansOnTeam", result, [&] {
        const CRavString team = RavCanonicalKey(strTeamKey);
        const CNetCfgSession session(*this);
        std::vector<CRavString> keys;
        CResult enumerated;
        EnumerateVlans(enumerated, team, keys);
        if (!enumerated.Succeeded())
        {
            RavTrace().Print(L"RemoveAllVlansOnTeam() - EnumerateVlans() fails - exiting");
            return;
        }
        for (size_t index = 0; index < keys.size(); ++index)
        {
            const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(keys[index]);
            if (!vlan)
            {
                RavTrace().Print(L"RemoveAllVlansOnTeam() - failed to get the vlan to remove from the team - "
                                 L"continue");
                continue;
            }
            const bool last = index + 1 == keys.size();
            result = RemoveVlanWithTeamAsParent(keys[index], team, last, vlan->m_iVlanId, false);
            if (!result.Succeeded())
                RavTrace().Print(L"RemoveAllVlansOnTeam() - failed to remove a vlan from the team - continue");
            ForgetVlan(*vlan);
        }
    });
}
