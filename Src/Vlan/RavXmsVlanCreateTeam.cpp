// Creating a VLAN over a team, and giving a team's VLAN to an adapter that joins it.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Src/RavDebug.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Src/RavShielded.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanCreateTeam";
} // namespace

void CRavXmsVlan::CreatVlanOnTeam(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatVlanOnTeam", &status);
    int count = 1;
    // The agent takes a team whose VLANs it cannot count for one without: then they are counted here, where that fails.
    if ((m_bFirstVlan && !GetTotNoOfVlansOnThisParent(count)) || !FindMembers())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the VLANs or members of team %s cannot be told.",
                         m_strParentKey.c_str());
        return;
    }
    m_bOnTeam = true;
    m_bFirstVlan = count == 0;
    if (m_bFirstVlan)
        CreatFirstVlanOnTeam(status);
    else
        CreatFurtherVlanOnTeam(status);
    UnloadMiniportDuringApplyDone();
    for (const auto& [member, changes] : m_changes)
    {
        if (status != 0)
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: left on member %s: %s", member.c_str(), changes);
    }
}

// The members that are in the machine. One that is not gets the VLAN when it comes back: the doctor sees to it.
bool CRavXmsVlan::FindMembers()
{
    m_members.clear();
    if (!GetTeamMembers_v(m_strParentKey, m_members))
        return false;
    m_dwTotalPhysicalAdapters = static_cast<DWORD>(m_members.size());
    return KeepPresent(m_members) && !m_members.empty();
}

// The numbers of the exits are those of an adapter's first VLAN. The VLAN's key comes before the lists of the members,
// whom the driver serves already: it is complete when anybody names it. The team's own address is not written: it is
// where the VLAN's comes from.
void CRavXmsVlan::CreatFirstVlanOnTeam(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatFirstVlanOnTeam", &status);
    RunSequence(L"CreatFirstVlanOnTeam", status,
                {{&CRavXmsVlan::SetupMembers, 11, L"ERROR: SetupVlanParentRegistry failed."},
                 {&CRavXmsVlan::ReloadParent, 11, L"ERROR: DoReload failed."},
                 {&CRavXmsVlan::InstallMiniport, 10, L"ERROR: InstallVirtualComponent failed."},
                 {&CRavXmsVlan::PrepareMiniport, 9, nullptr},
                 {&CRavXmsVlan::NameMiniport, 9, nullptr},
                 {&CRavXmsVlan::FindTeamLogicalGroupId, 8, nullptr},
                 {&CRavXmsVlan::SaveVlanParamsToReg, 7, nullptr},
                 {&CRavXmsVlan::SaveMembersToReg, 6, nullptr},
                 {&CRavXmsVlan::BindMembers, 5, nullptr}});
}

// The order of the two saves is that of an adapter's further VLAN.
void CRavXmsVlan::CreatFurtherVlanOnTeam(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatFurtherVlanOnTeam", &status);
    RunSequence(L"CreatFurtherVlanOnTeam", status,
                {{&CRavXmsVlan::TakeTeamLogicalGroupId, 11, L"ERROR: the parent's LogicalGroupID cannot be read."},
                 {&CRavXmsVlan::TraceTaggedVlans, 10, L"ERROR: IsParentWithTaggedVlan failed."},
                 {&CRavXmsVlan::ReloadParent, 9, L"ERROR: DoReload failed."},
                 {&CRavXmsVlan::InstallMiniport, 8, L"ERROR: InstallVirtualComponent failed."},
                 {&CRavXmsVlan::PrepareMiniport, 7, nullptr},
                 {&CRavXmsVlan::NameMiniport, 6, nullptr},
                 {&CRavXmsVlan::SaveVlanParamsToReg, 5, nullptr},
                 {&CRavXmsVlan::SaveMembersToReg, 4, nullptr}});
}

void CRavXmsVlan::AddToTeamMember(bool bPrepare, int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::AddToTeamMember", &status);
    m_strParentAdapterId = m_strMemberKey;
    m_members = {m_strMemberKey};
    m_iPreviousVlanId = m_iVlanId; // in the member's list once, also when it was there already
    if (bPrepare)
        RunSequence(L"AddToTeamMember", status,
                    {{&CRavXmsVlan::SetupMember, 11, L"ERROR: SetupVlanParentRegistry failed."},
                     {&CRavXmsVlan::ReloadParent, 11, L"ERROR: DoReload failed."},
                     {&CRavXmsVlan::MoveMemberDhcp, 8, nullptr},
                     {&CRavXmsVlan::SaveMemberToReg, 7, nullptr},
                     {&CRavXmsVlan::BindParent, 5, nullptr}});
    else
        RunSequence(L"AddToTeamMember", status, {{&CRavXmsVlan::SaveMemberToReg, 7, nullptr}});
}

// --- steps ----------------------------------------------------------------------------------------------------------

// Notes what is about to be changed, since a step may fail in the middle. Stops at the first member that fails.
void CRavXmsVlan::OnEachMember(const wchar_t* changes, void (CRavXmsVlan::*run)(int& status), int& status)
{
    status = 0;
    for (const CRavString& member : m_members)
    {
        m_strParentAdapterId = member;
        m_changes.emplace_back(member, changes);
        (this->*run)(status);
        if (status == 0)
            continue;
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: member %s failed.", member.c_str());
        return;
    }
}

void CRavXmsVlan::SetupMembers(int& status)
{
    OnEachMember(L"XMSLoaded and its own parameters", &CRavXmsVlan::SetupMember, status);
}

void CRavXmsVlan::SetupMember(int& status)
{
    DisableVMQ(m_strParentAdapterId);
    SetupVlanParentRegistry(status);
}

void CRavXmsVlan::TakeTeamLogicalGroupId(int& status)
{
    const bool found = std::any_of(m_members.begin(), m_members.end(), [&](const CRavString& member) {
        CRavRegKey entry;
        if (!entry.Open(HKEY_LOCAL_MACHINE, RavDriverEntryPath(member), false) ||
            !entry.GetValue(RavName(RAV_NAME_LOGICAL_GROUP_ID), m_dwLogicalGroupId))
            return false;
        // Where it is lost, the team agent's number of members stands.
        entry.GetValue(RavName(RAV_NAME_TOTAL_PHYSICAL_ADAPTERS), m_dwTotalPhysicalAdapters);
        return true;
    });
    status = found ? 0 : -1;
}

// A team is a logical group from its beginning; one whose members have lost it becomes a new group.
void CRavXmsVlan::FindTeamLogicalGroupId(int& status)
{
    TakeTeamLogicalGroupId(status);
    if (status != 0)
        GenNewLogicalGroupId(status);
}

void CRavXmsVlan::SaveMembersToReg(int& status)
{
    OnEachMember(L"VLANID, VlanMode, TaggingMode, and the driver's entry", &CRavXmsVlan::SaveMemberToReg, status);
}

// The tagging mode of a member without VLANs is that of the team's own traffic. It must not be taken for that of an
// untagged VLAN.
void CRavXmsVlan::SaveMemberToReg(int& status)
{
    CRavRegKey entry;
    if (m_bFirstVlan && entry.Open(HKEY_LOCAL_MACHINE, RavDriverEntryPath(m_strParentAdapterId), true))
        entry.DeleteValue(RavName(RAV_NAME_TAGGING_MODE));
    entry.Close();
    SaveParentAdptrToReg(status);
}

// The flag is kept before it is switched off, so that it is not lost between the two. One that is kept already stays:
// it is the adapter's own, from before it joined, and TCP/IP has had none since.
void CRavXmsVlan::MoveMemberDhcp(int& status)
{
    const CRavString name = RavName(RAV_NAME_ENABLE_DHCP);
    const CRavString& member = m_strParentAdapterId;
    CRavRegKey tcpip;
    CRavRegKey configuration;
    DWORD kept = 0;
    DWORD dhcp = 0;
    const bool isThere = tcpip.Open(HKEY_LOCAL_MACHINE, RavName(RAV_NAME_TCPIP_INTERFACES_KEY) + member, true);
    const bool isKnown = isThere && tcpip.GetValue(name, dhcp);
    status =
        configuration.Create(HKEY_LOCAL_MACHINE, RavName(RAV_NAME_DRIVER_CONFIGURATION_KEY) + member, true, false) &&
                (!isKnown || configuration.GetValue(name, kept) ||
                 (RavIsNoNumber(configuration.LastResult()) && configuration.SetValue(name, dhcp))) &&
                (isKnown ? dhcp == 0 || tcpip.SetValue(name, DWORD{0}) : RavIsNoNumber(tcpip.LastResult()))
            ? 0
            : -1;
    if (status != 0)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: EnableDHCP of member %s cannot be moved.", member.c_str());
}

void CRavXmsVlan::BindMembers(int& status)
{
    OnEachMember(L"its bindings", &CRavXmsVlan::BindParent, status);
}

// Through every member whose driver is loaded; the others read the VLAN from the registry when they start.
bool CRavXmsVlan::TellMembers()
{
    size_t told = 0;
    for (const CRavString& member : m_members)
    {
        CRavAdapter adapter(member);
        if (!adapter.Initialize(*GetNetCfgInterface()).Succeeded() || !adapter.IsDriverLoaded(*GetNetCfgInterface()))
            continue;
        if (!Tell(adapter))
            return false;
        ++told;
    }
    return told > 0;
}

bool CRavXmsVlan::UpdateTeamSize(DWORD dwAdapters)
{
    DWORD written = 0;
    const CRavString name = RavName(RAV_NAME_TOTAL_PHYSICAL_ADAPTERS);
    const bool done = OpenThisMiniportRegKey() && ((m_ownKey.GetValue(name, written) && written == dwAdapters) ||
                                                   m_ownKey.SetValue(name, dwAdapters));
    m_services.VlanWritten(m_strVlanKey);
    if (!done)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the size of the team cannot be written into VLAN %s.",
                         m_strVlanKey.c_str());
    return done;
}
