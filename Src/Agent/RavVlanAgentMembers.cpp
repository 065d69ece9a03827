// The members of teams: an adapter that joins a team gets its VLANs, one that leaves it gives them up.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavCoreInterface.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Src/RavVlanTypes.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentMembers";

bool Contains(const std::vector<CRavString>& keys, const CRavString& key)
{
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

// Makes the object stand for the VLAN on one team member.
void MarkAsOnMember(CRavXmsVlan& vlan, const CRavString& team, const CRavString& member)
{
    RavTrace().Print(L"m_iVlanIdOfDummyVlan= %d", vlan.m_iVlanId);
    if (vlan.m_iVlanId == -1)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: invalid ID");
        vlan.m_iVlanId = 0;
    }
    vlan.m_strParentKey = team;
    vlan.m_iParentType = RAV_PARENT_TEAM;
    vlan.m_bOnTeamMember = true;
    vlan.m_strMemberKey = member;
    vlan.m_bMiniportRemoved = false;
    vlan.m_bStaysWithTeam = true;
}

CResult CannotCleanUp()
{
    RavTrace().Print(L"CVlanAgentWin::RemoveVlan - Unabl to load vlan info-DumX. fails");
    return CResult();
}

CResult CannotLoad()
{
    RavTrace().Print(L"CVlanAgentWin::RemoveVlan - Unabl to load vlan info-2. fails");
    return CResult();
}

CResult TakeOffMember(CRavXmsVlan& vlan, bool bSkipMemberCleanup)
{
    // The code alone does not tell: when the write lock could not be had it may be 0, and the class says so.
    const CResult removed = vlan.RemoveVLANonAdapter(bSkipMemberCleanup);
    if (removed.Succeeded() && removed.ulErrClass != RAV_CLASS_REFUSED)
        return CResult::Success();
    RavTrace().Print(L"CVlanAgentWin::RemoveVLANOnTeam, RemoveVLANonAdapter fails for vlan-%s on Member- %s -2",
                     vlan.m_strVlanKey.c_str(), vlan.m_strMemberKey.c_str());
    return CResult();
}

// How many adapters the team has with the member, which may be joining, or leaving.
DWORD SizeWith(std::vector<CRavString> members, const CRavString& member)
{
    std::erase_if(members, [&](CRavString& other) { return other.CompareI(member); });
    return static_cast<DWORD>(members.size()) + 1;
}

// The place of a VLAN in a driver's binding list; behind its end when it is not there.
size_t PlaceIn(const std::vector<CRavString>& bindings, const CRavString& vlanKey)
{
    CRavString device = RavDeviceOf(vlanKey);
    return static_cast<size_t>(std::find_if(bindings.begin(), bindings.end(),
                                            [&](const CRavString& binding) { return device.CompareI(binding); }) -
                               bindings.begin());
}
} // namespace

// --- both directions ------------------------------------------------------------------------------------------------

// Runs a change of one member, with the keys of all of the team's VLANs.
void CVlanAgentWin::ChangeMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                                 const CRavString& strVlanKey, MEMBER_CHANGE change, const wchar_t* operation)
{
    result = CResult();
    const CRavTraceScope trace(operation, &result);
    RavTrace().Print(L"%s, Member Key-%s", operation, strMemberKey.c_str());
    if (strTeamKey.IsEmpty() || strMemberKey.IsEmpty())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: no team or no member is named");
        return;
    }
    Shielded(SOURCE_FILE, __LINE__, operation, result, [&] {
        const CRavString team = RavCanonicalKey(strTeamKey);
        const CNetCfgSession session(*this);
        const CacheCleaner cleaner(*this);
        std::vector<CRavString> keys;
        if (EnumerateVlansOnParent(team, keys).Succeeded())
            result = (this->*change)(team, RavCanonicalKey(strMemberKey), RavCanonicalKey(strVlanKey), keys);
        else
            RavTrace().Print(L"CVlanAgentWin::RemoveVLANOnTeam, EnumerateVlans fails");
    });
}

// The VLANs' own keys say how many adapters the team has.
CResult CVlanAgentWin::UpdateTeamSize(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                      const std::vector<CRavString>& vlanKeys, Member change)
{
    if (vlanKeys.empty())
        return CResult::Success();
    CRavXmsVlan asking(RAV_NEW_VLAN_KEY, *this);
    std::vector<CRavString> members;
    if (!asking.GetTeamMembers_v(strTeamKey, members))
        return CResult();
    const DWORD size = SizeWith(members, strMemberKey) - (change == Member::Joins ? 0 : 1);
    const bool done = std::all_of(vlanKeys.begin(), vlanKeys.end(), [&](const CRavString& key) {
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(key);
        return vlan && vlan->UpdateTeamSize(size);
    });
    return done ? CResult::Success() : CResult();
}

// --- joining --------------------------------------------------------------------------------------------------------

void CVlanAgentWin::AddVlanToTeamMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                                        const CRavString& strVlanKey)
{
    ChangeMember(result, strTeamKey, strMemberKey, strVlanKey, &CVlanAgentWin::GiveVlansToMember,
                 L"CVlanAgentWin::AddVlanToTeamMember");
}

CResult CVlanAgentWin::GiveVlansToMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                         const CRavString& strVlanKey, const std::vector<CRavString>& vlanKeys)
{
    std::vector<CRavString> own;
    if (IsGone(strMemberKey) || !EnumerateVlansOnParent(strMemberKey, own).Succeeded() || !own.empty())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: %s is not there, or has VLANs of its own",
                         strMemberKey.c_str());
        return CResult();
    }
    std::vector<CRavString> given = InOrderOfTeam(strMemberKey, vlanKeys);
    if (!strVlanKey.IsEmpty())
        std::erase_if(given, [&](const CRavString& key) { return key != strVlanKey; });
    if (given.empty())
        return strVlanKey.IsEmpty() ? CResult::Success() : CannotLoad();
    for (const CRavString& key : given)
    {
        const CResult added = GiveVlanToMember(strTeamKey, strMemberKey, key, vlanKeys, key == given.front());
        if (!added.Succeeded())
            return added;
    }
    return UpdateTeamSize(strTeamKey, strMemberKey, vlanKeys, Member::Joins);
}

CResult CVlanAgentWin::GiveVlanToMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                        const CRavString& strVlanKey, const std::vector<CRavString>& vlanKeys,
                                        bool bPrepare)
{
    const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
    std::vector<CRavString> carried = vlanKeys;
    std::vector<CRavString> members;
    if (!vlan || !RavKeepListed(strMemberKey, carried) || !vlan->GetTeamMembers_v(strTeamKey, members))
        return CannotLoad();
    MarkAsOnMember(*vlan, strTeamKey, strMemberKey);
    vlan->m_bFirstVlan = carried.empty();
    vlan->m_dwTotalPhysicalAdapters = SizeWith(members, strMemberKey);
    int status = -1;
    vlan->AddToTeamMember(bPrepare, status);
    if (status == 0)
    {
        NotifyXmsOfNewVlan(vlan.get());
        return CResult::Success();
    }
    RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: member %s does not get vlan %s", strMemberKey.c_str(),
                     strVlanKey.c_str());
    return CResult();
}

// As the driver's entry of a member that has them lists them; those that it does not list come behind.
std::vector<CRavString> CVlanAgentWin::InOrderOfTeam(const CRavString& strJoining,
                                                     const std::vector<CRavString>& vlanKeys)
{
    std::vector<CRavString> ordered = vlanKeys;
    CRavRegKey entries;
    entries.Open(HKEY_LOCAL_MACHINE, RavName(RAV_NAME_DRIVER_ADAPTERS_KEY), false);
    CRavString name;
    while (!vlanKeys.empty() && entries.IsOpened() && entries.EnumSubKey(name))
    {
        CRavRegKey entry;
        std::vector<CRavString> bindings;
        if (name.CompareI(strJoining) || !entry.Open(entries.GetHKey(), name, false) ||
            !RavReadList(entry, RavName(RAV_NAME_BINDING_LIST), bindings) ||
            std::none_of(vlanKeys.begin(), vlanKeys.end(),
                         [&](const CRavString& key) { return PlaceIn(bindings, key) < bindings.size(); }))
            continue;
        std::stable_sort(ordered.begin(), ordered.end(), [&](const CRavString& left, const CRavString& right) {
            return PlaceIn(bindings, left) < PlaceIn(bindings, right);
        });
        break;
    }
    return ordered;
}

// --- leaving --------------------------------------------------------------------------------------------------------

// Takes one VLAN, or with an empty key every VLAN, of a team off one member. The VLANs themselves stay with the team.
void CVlanAgentWin::RemoveVlanFromTeamMember(CResult& result, const CRavString& strTeamKey,
                                             const CRavString& strMemberKey, const CRavString& strVlanKey)
{
    ChangeMember(result, strTeamKey, strMemberKey, strVlanKey, &CVlanAgentWin::TakeVlansOffMember,
                 L"CVlanAgentWin::RemoveVlanFromTeamMember");
}

CResult CVlanAgentWin::TakeVlansOffMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                          const CRavString& strVlanKey, const std::vector<CRavString>& vlanKeys)
{
    std::vector<CRavString> carried = vlanKeys;
    // A member that carries no VLAN is cleaned up below; one whose list cannot be read may carry some, and is left
    // alone.
    if (!RavKeepListed(strMemberKey, carried))
        return CResult();
    if (carried.empty() && !IsMemberOf(strTeamKey, strMemberKey))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: %s is no member of team %s", strMemberKey.c_str(),
                         strTeamKey.c_str());
        return CResult();
    }
    const bool leaves = strVlanKey.IsEmpty() || (carried.size() == 1 && carried.front() == strVlanKey);
    if (!carried.empty() && !leaves)
        return Contains(vlanKeys, strVlanKey)
                   ? DeleteVlanFromMember(strTeamKey, strMemberKey, strVlanKey, Contains(carried, strVlanKey))
                   : CannotLoad();
    const CResult done = DeleteAllVlansFromMember(strTeamKey, strMemberKey, carried);
    return done.Succeeded() ? UpdateTeamSize(strTeamKey, strMemberKey, vlanKeys, Member::Leaves) : done;
}

// Whether the driver's entry of an adapter lists the team's own miniport. After a leaving that was interrupted it has
// none any more: then the team agent tells.
bool CVlanAgentWin::IsMemberOf(const CRavString& strTeamKey, const CRavString& strAdapterKey)
{
    CRavXmsVlan asking(RAV_NEW_VLAN_KEY, *this);
    std::vector<CRavString> listed{strTeamKey};
    std::vector<CRavString> members;
    return RavKeepListed(strAdapterKey, listed) &&
           (!listed.empty() || (asking.GetTeamMembers_v(strTeamKey, members) &&
                                std::any_of(members.begin(), members.end(),
                                            [&](const CRavString& member) { return strAdapterKey.CompareI(member); })));
}

// Whether the adapter was taken out of the machine. Only the driver's entries are left of it then.
bool CVlanAgentWin::IsGone(const CRavString& strAdapterKey)
{
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    Microsoft::WRL::ComPtr<INetCfgComponent> component;
    return netCfg != nullptr && SUCCEEDED(netCfg->FindNetworkComponentByGUID(strAdapterKey, component)) && !component;
}

// The member leaves the team: the driver is unbound from it, and all VLANs that it carries are taken off it.
CResult CVlanAgentWin::DeleteAllVlansFromMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                                const std::vector<CRavString>& vlanKeys)
{
    // The bindings and the DHCP flag that the member had before are kept in entries that the removals below delete:
    // they are restored first.
    CRavXmsVlan member(RAV_NEW_VLAN_KEY, *this);
    // It runs with the team's parameters until then. One that has gone is in nobody's hands.
    if (!member.GiveMemberBack(strMemberKey) ||
        (!IsGone(strMemberKey) && !Core().UnloadMiniportDuringApplyDone(strMemberKey).Succeeded()))
        return vlanKeys.empty() ? CannotCleanUp() : CResult();
    for (const CRavString& key : vlanKeys)
    {
        if (IsGone(strMemberKey))
            break; // its entries were all that was left of it, and GiveMemberBack has deleted them
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(key);
        if (!vlan)
            return CannotLoad();
        MarkAsOnMember(*vlan, strTeamKey, strMemberKey);
        vlan->m_bSkipMiniportRemoval = true; // removal then deletes the member's driver entry whole
        const CResult removed = TakeOffMember(*vlan, true);
        if (!removed.Succeeded())
            return removed;
    }
    return CleanupDummyVlanFromMember(strTeamKey, strMemberKey);
}

// Takes one of several VLANs off the member. It goes on where an earlier attempt was interrupted: the count of the
// driver's entry is set to its list first, and a VLAN that the list no longer names is taken out of the instance key
// alone.
CResult CVlanAgentWin::DeleteVlanFromMember(const CRavString& strTeamKey, const CRavString& strMemberKey,
                                            const CRavString& strVlanKey, bool bListed)
{
    const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
    if (!vlan)
        return CannotLoad();
    MarkAsOnMember(*vlan, strTeamKey, strMemberKey);
    bool done = RavAlignCount(strMemberKey);
    if (IsGone(strMemberKey))
        done = done && (!bListed || vlan->UpdateTeamMemberoXmsProtocolKey2ReflectRemovedVlan(strMemberKey, false));
    else if (done && bListed)
        return TakeOffMember(*vlan, false);
    else if (done)
    {
        vlan->GetOOOKeyFromVk(strMemberKey);
        done = vlan->UpdOOOKeyAdptr(false);
        vlan->CloseParentClassKey();
    }
    return done ? CResult::Success() : CResult();
}

// The member carries no VLAN of the team any more: its instance key and its bindings go back to what they were before.
CResult CVlanAgentWin::CleanupDummyVlanFromMember(const CRavString& strTeamKey, const CRavString& strMemberKey)
{
    CRavXmsVlan placeholder(RAV_NEW_VLAN_KEY, *this);
    placeholder.m_strParentKey = strTeamKey;
    placeholder.m_iParentType = RAV_PARENT_TEAM;
    placeholder.m_strMemberKey = strMemberKey;
    placeholder.GetOOOKeyFromVk(strMemberKey);
    const bool updated = IsGone(strMemberKey) || placeholder.UpdOOOKeyAdptr(true);
    if (!updated || !placeholder.BindMemberToTCPIP(strMemberKey))
        return CannotCleanUp();
    RavTrace().Print(L"Exiting CVlanAgentWin::RemoveVlanFromTeamMember-X");
    return CResult::Success();
}
