// Teams: who belongs to them, what their VLANs say of them, and what their own miniports have given up.

#include "Plan/RavExamination.h"

#include "Common/Src/XmsNames.h"

#include <algorithm>
#include <set>

namespace
{
constexpr DWORD MAX_TEAM_MODE = 6;

CRavString NumberText(const std::optional<DWORD>& number)
{
    return number ? CRavString(std::to_wstring(*number).c_str()) : CRavString(L"missing");
}
} // namespace

void CRavExamination::AddMember(const RAV_HOST_COMPONENT& team, const RAV_HOST_COMPONENT& adapter)
{
    m_teams[&adapter].push_back(&team);
    m_members[&team].push_back(&adapter);
}

// The driver's entry of a member names the team's own miniport.
void CRavExamination::FindMembers()
{
    for (const auto& [guid, entry] : m_host.entries)
    {
        const RAV_HOST_COMPONENT* const adapter = m_host.Find(guid);
        if (adapter == nullptr || adapter->kind != RAV_COMPONENT_KIND::Adapter || !entry.bindings)
            continue;
        for (const RAV_HOST_COMPONENT& team : m_host.components)
        {
            if (team.kind == RAV_COMPONENT_KIND::Team && IsListed(*adapter, team))
                AddMember(team, *adapter);
        }
    }
    FindMembersWithoutEntry();
}

// A member may have lost its entry: the driver is bound to it, its key has the mark and lists ids as the team has them,
// and the team counts more members than there are. One that two teams could have is nobody's.
void CRavExamination::FindMembersWithoutEntry()
{
    std::map<const RAV_HOST_COMPONENT*, std::vector<const RAV_HOST_COMPONENT*>> candidates;
    const std::vector<const RAV_HOST_COMPONENT*> lost = AdaptersWithoutEntry();
    for (const auto& [team, members] : m_members)
    {
        std::vector<const RAV_HOST_COMPONENT*> own;
        std::copy_if(lost.begin(), lost.end(), std::back_inserter(own),
                     [&, &of = *team](const auto* adapter) { return ListsIdsOf(of, *adapter); });
        const RAV_DRIVER_ENTRY* const entry = Entry(*members.front());
        if (entry == nullptr || entry->totalAdapters.value_or(0) != SizeOf(*team) + own.size())
            continue;
        for (const RAV_HOST_COMPONENT* const adapter : own)
            candidates[adapter].push_back(team);
    }
    for (const auto& [adapter, teams] : candidates)
    {
        if (teams.size() == 1)
            AddMember(*teams.front(), *adapter);
    }
}

std::vector<const RAV_HOST_COMPONENT*> CRavExamination::AdaptersWithoutEntry() const
{
    std::set<const RAV_HOST_COMPONENT*> parents;
    for (const RAV_HOST_COMPONENT& vlan : m_host.components)
    {
        if (vlan.IsVlan())
            parents.insert(m_host.Find(vlan.vlan.parentKey));
    }
    std::vector<const RAV_HOST_COMPONENT*> lost;
    for (const RAV_HOST_COMPONENT& adapter : m_host.components)
    {
        if (adapter.kind == RAV_COMPONENT_KIND::Adapter && adapter.port.isBound && adapter.port.xmsLoaded == 1u &&
            (Entry(adapter) == nullptr || !Entry(adapter)->bindings) && !parents.contains(&adapter))
            lost.push_back(&adapter);
    }
    return lost;
}

// Whether the ids in an adapter's key are those of a team's VLANs. One in common is enough: the list may be damaged,
// too.
bool CRavExamination::ListsIdsOf(const RAV_HOST_COMPONENT& team, const RAV_HOST_COMPONENT& adapter) const
{
    const std::vector<CRavString> listed = adapter.port.ids.value_or(std::vector<CRavString>());
    bool isTagged = false;
    for (const RAV_HOST_COMPONENT& vlan : m_host.components)
    {
        if (!vlan.IsVlan() || m_host.Find(vlan.vlan.parentKey) != &team || vlan.vlan.id.value_or(0) == 0)
            continue;
        isTagged = true;
        if (std::find(listed.begin(), listed.end(), NumberText(vlan.vlan.id)) != listed.end())
            return true;
    }
    return !isTagged && listed.empty();
}

// With the members that are not in the machine at the moment.
DWORD CRavExamination::SizeOf(const RAV_HOST_COMPONENT& team) const
{
    const auto members = m_members.find(&team);
    size_t size = members != m_members.end() ? members->second.size() : 0;
    for (const auto& [guid, entry] : m_host.entries)
    {
        if (m_host.Find(guid) == nullptr && entry.bindings &&
            std::find(entry.bindings->begin(), entry.bindings->end(), RavDeviceName(team)) != entry.bindings->end())
            ++size;
    }
    return static_cast<DWORD>(size);
}

// The group of a team is that of its first member that has one; of an adapter, that of its VLANs.
DWORD CRavExamination::GroupOf(const RAV_CARRIER& carrier) const
{
    for (const RAV_HOST_COMPONENT* const team : carrier.teams)
    {
        for (const RAV_HOST_COMPONENT* const member : m_members.at(team))
        {
            const RAV_DRIVER_ENTRY* const entry = Entry(*member);
            if (entry != nullptr && entry->group)
                return *entry->group;
        }
    }
    return carrier.vlans.empty() ? 0 : carrier.vlans.front()->vlan.group.value_or(0);
}

void CRavExamination::ExamineMemberEntry(const RAV_CARRIER& carrier, const RAV_DRIVER_ENTRY& entry)
{
    const CRavString path = RavEntryPath(*carrier.adapter);
    Want(RAV_FINDING_KIND::DriverEntry, carrier, path, XmsValue::LogicalGroupId, entry.group, GroupOf(carrier));
    if (carrier.teams.size() == 1)
        Want(RAV_FINDING_KIND::TeamValues, carrier, path, XmsValue::TotalPhysicalAdapters, entry.totalAdapters,
             SizeOf(*carrier.teams.front()));
}

void CRavExamination::ExamineMemberWithoutVlans(const RAV_CARRIER& carrier)
{
    const RAV_DRIVER_ENTRY* const entry = Entry(*carrier.adapter);
    if (entry == nullptr)
        ExamineEntry(carrier);
    else
    {
        ExamineLists(carrier, *entry);
        if (entry->taggingMode.value_or(0) != 0)
            Want(RAV_FINDING_KIND::DriverTaggingMode, carrier, RavEntryPath(*carrier.adapter), XmsValue::TaggingMode,
                 entry->taggingMode, 0);
    }
    ResetInstanceKey(*carrier.adapter);
}

void CRavExamination::ExamineTeamOfVlan(const RAV_HOST_COMPONENT& team, VLAN vlan)
{
    if (vlan.kind != RAV_COMPONENT_KIND::VlanOnTeam)
        return; // it says that it is over an adapter: that comes first
    // A team that does not tell its mode is no ground to change its VLANs on.
    const DWORD mode = team.teamMode.value_or(0) <= MAX_TEAM_MODE ? team.teamMode.value_or(0) : 0;
    const DWORD size = SizeOf(team);
    if (team.teamMode && vlan.vlan.teamMode != mode)
        ContradictedVlan(RAV_FINDING_KIND::TeamValues, vlan, XmsValue::TeamMode, NumberText(vlan.vlan.teamMode),
                         RavSetNumber(vlan.Path(), XmsValue::TeamMode, mode));
    if (size != 0 && vlan.vlan.totalAdapters != size)
        ContradictedVlan(RAV_FINDING_KIND::TeamValues, vlan, XmsValue::TotalPhysicalAdapters,
                         NumberText(vlan.vlan.totalAdapters),
                         RavSetNumber(vlan.Path(), XmsValue::TotalPhysicalAdapters, size));
}

// A team without VLANs has its own protocols and its DHCP flag.
void CRavExamination::ExamineTeam(const RAV_HOST_COMPONENT& team)
{
    const auto giveBack = [&](RAV_FINDING_KIND kind, const CRavString& detail) {
        Note(kind, team, detail).steps = {RavDo(RAV_ACT::GiveBack, team.guid)};
    };
    const auto record = m_host.records.find(team.guid);
    if (record != m_host.records.end())
        giveBack(RAV_FINDING_KIND::ProtocolsMissing, CRavString(L"they are on record: ") + RavJoined(record->second));
    if (m_host.configurations.contains(team.guid))
        giveBack(RAV_FINDING_KIND::DhcpFlag, L"the driver has the team's, without a VLAN");
}
