// Which VLANs there are, whose they are, and what is wrong with each.

#include "Plan/RavExamination.h"
#include "Plan/RavVlanState.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavVlanTypes.h"
#include "Src/Vlan/RavTaggingMode.h"

#include <algorithm>

namespace
{
constexpr wchar_t BETWEEN_NAMES[] = L" - VLAN : ";
constexpr size_t LONGEST_NAME = 255; // longer ones cannot be read back

CRavString IdText(DWORD id)
{
    return std::to_wstring(id).c_str();
}

bool IsTagged(const RAV_HOST_COMPONENT& vlan)
{
    return vlan.vlan.id.has_value();
}

bool HasId(const std::optional<std::vector<CRavString>>& ids, const CRavString& id)
{
    return ids && std::find(ids->begin(), ids->end(), id) != ids->end();
}

// The VLAN's own part of a display name "parent - VLAN : name".
CRavString NameIn(const CRavString& displayName)
{
    const size_t place = displayName.find(BETWEEN_NAMES);
    if (place == CRavString::npos)
        return {};
    return displayName.c_str() + place + std::size(BETWEEN_NAMES) - 1;
}

CRavString Command(const wchar_t* verb, const CRavString& guid)
{
    return CRavString(L"vlanctl ") + verb + L" " + guid;
}
} // namespace

void CRavExamination::JudgeMiniports()
{
    for (const RAV_HOST_COMPONENT& component : m_host.components)
    {
        if (component.kind == RAV_COMPONENT_KIND::Miniport)
            Note(RAV_FINDING_KIND::GhostMiniport, component, L"it has no SupportedFeatures of a VLAN or team").steps = {
                RavDo(RAV_ACT::RemoveMiniport, component.guid)};
        else if (component.IsVlan())
            JudgeVlan(component);
    }
}

void CRavExamination::JudgeVlan(VLAN vlan)
{
    const RAV_HOST_COMPONENT* parent = nullptr;
    if (vlan.vlan.displayName.IsEmpty() && vlan.vlan.name.IsEmpty())
    {
        Note(RAV_FINDING_KIND::UnfinishedVlan, vlan, L"it has no name").steps = {
            RavDo(RAV_ACT::RemoveMiniport, vlan.guid)};
        return;
    }
    if (JudgeParent(vlan, parent))
        m_vlans[parent].push_back(&vlan);
}

bool CRavExamination::JudgeParent(VLAN vlan, const RAV_HOST_COMPONENT*& parent)
{
    parent = m_host.Find(vlan.vlan.parentKey);
    if (parent != nullptr && (parent->kind == RAV_COMPONENT_KIND::Adapter || parent->kind == RAV_COMPONENT_KIND::Team))
    {
        if (vlan.vlan.parentKey != parent->guid) // the agent compares keys exactly
            Note(RAV_FINDING_KIND::DamagedVlan, vlan, CRavString(L"RavVlanParentKey is spelled ") + vlan.vlan.parentKey)
                .steps = {RavSetText(vlan.Path(), XmsValue::VlanParentKey, parent->guid)};
        return true;
    }
    const CRavString said = vlan.vlan.parentKey.IsEmpty() ? CRavString(L"none") : vlan.vlan.parentKey;
    parent = ParentByEntries(vlan);
    if (parent != nullptr)
    {
        Note(RAV_FINDING_KIND::ParentUnknown, vlan,
             CRavString(L"RavVlanParentKey is ") + said + L", should be " + parent->guid)
            .steps = {RavSetText(vlan.Path(), XmsValue::VlanParentKey, parent->guid)};
        return true;
    }
    Note(RAV_FINDING_KIND::ParentGone, vlan, CRavString(L"its parent is ") + said).steps = {
        RavDo(RAV_ACT::RemoveMiniport, vlan.guid)};
    return false;
}

// The one adapter, or the team of all adapters, whose entries name the VLAN.
const RAV_HOST_COMPONENT* CRavExamination::ParentByEntries(VLAN vlan) const
{
    const RAV_HOST_COMPONENT* found = nullptr;
    for (const RAV_HOST_COMPONENT& adapter : m_host.components)
    {
        if (adapter.kind != RAV_COMPONENT_KIND::Adapter || !IsListed(adapter, vlan))
            continue;
        const auto teams = m_teams.find(&adapter);
        const RAV_HOST_COMPONENT* const parent = vlan.kind == RAV_COMPONENT_KIND::VlanOnAdapter ? &adapter
                                                 : teams != m_teams.end() && teams->second.size() == 1
                                                     ? teams->second.front()
                                                     : nullptr;
        if (parent == nullptr || (found != nullptr && found != parent))
            return nullptr;
        found = parent;
    }
    return found;
}

// --- VLANs that nobody knows -----------------------------------------------------------------------------------------

std::vector<const RAV_HOST_COMPONENT*> CRavExamination::CarriersOf(const RAV_HOST_COMPONENT& parent) const
{
    if (parent.kind == RAV_COMPONENT_KIND::Adapter)
        return {&parent};
    const auto members = m_members.find(&parent);
    return members != m_members.end() ? members->second : std::vector<const RAV_HOST_COMPONENT*>();
}

bool CRavExamination::IsListed(const RAV_HOST_COMPONENT& parent, VLAN vlan) const
{
    const RAV_DRIVER_ENTRY* const entry = Entry(parent);
    const CRavString device = RavDeviceName(vlan);
    return entry != nullptr && entry->bindings &&
           std::any_of(entry->bindings->begin(), entry->bindings->end(),
                       [&](const CRavString& binding) { return binding.CompareI(device); });
}

bool CRavExamination::HasId(const RAV_HOST_COMPONENT& parent, VLAN vlan) const
{
    return vlan.vlan.id && ::HasId(parent.port.ids, IdText(*vlan.vlan.id));
}

// The only VLAN of a parent that was never given to the driver, or was taken from it already: its own protocols are
// bound. Where they are not, somebody has taken the driver off a parent of VLANs.
bool CRavExamination::IsUnfinishedFirst(const RAV_HOST_COMPONENT& parent, const VLANS& siblings) const
{
    return siblings.size() == 1 && parent.kind == RAV_COMPONENT_KIND::Adapter && !parent.port.isBound &&
           !parent.port.protocols.empty() && !m_host.records.contains(parent.guid);
}

// An entry that lists none of a parent's VLANs was damaged as a whole: they stay, and it is written anew. The same is
// true of a VLAN whose id alone is known.
bool CRavExamination::IsAbandoned(const RAV_HOST_COMPONENT& parent, VLAN vlan, const VLANS& siblings) const
{
    if (IsUnfinishedFirst(parent, siblings))
        return true;
    const auto carriers = CarriersOf(parent);
    const auto isKnown = [&](VLAN of) {
        return std::any_of(carriers.begin(), carriers.end(), [&](const RAV_HOST_COMPONENT* carrier) {
            return IsListed(*carrier, of) || HasId(*carrier, of);
        });
    };
    return !carriers.empty() && !isKnown(vlan) &&
           (siblings.size() == 1 || std::any_of(siblings.begin(), siblings.end(),
                                                [&](const RAV_HOST_COMPONENT* sibling) { return isKnown(*sibling); }));
}

void CRavExamination::JudgeAbandoned()
{
    for (const RAV_HOST_COMPONENT& parent : m_host.components)
    {
        const auto found = m_vlans.find(&parent);
        if (found == m_vlans.end())
            continue;
        const VLANS all = found->second;
        for (const RAV_HOST_COMPONENT* const vlan : all)
        {
            if (!IsAbandoned(parent, *vlan, all))
                continue;
            Note(RAV_FINDING_KIND::AbandonedVlan, *vlan,
                 CRavString(L"its parent ") + parent.displayName + L" and the driver do not name it")
                .steps = {RavDo(RAV_ACT::RemoveMiniport, vlan->guid)};
            std::erase(found->second, vlan);
        }
        if (found->second.empty())
            m_vlans.erase(found);
    }
}

// --- what a VLAN's key says ------------------------------------------------------------------------------------------

void CRavExamination::ExamineVlans(const RAV_HOST_COMPONENT& parent, const VLANS& vlans)
{
    for (const RAV_HOST_COMPONENT* const vlan : vlans)
    {
        ExamineId(parent, *vlan, vlans);
        ExamineKey(parent, *vlan);
        if (const RAV_HOST_COMPONENT* const other = WithDeviceOf(*vlan))
            ExamineDevice(*vlan, *other);
        else
            ExamineName(parent, *vlan);
    }
    ExamineDoubles(parent, vlans);
    if (vlans.size() != 1 || IsTagged(*vlans.front()))
        return;
    Note(RAV_FINDING_KIND::UntaggedAlone, *vlans.front(), CRavString(L"it is alone on ") + parent.displayName)
        .commands = {CRavString(L"vlanctl create --parent ") + parent.guid + L" --id ID --name NAME",
                     Command(L"remove", vlans.front()->guid)};
}

// An id that cannot be is the one of the parent's list that no VLAN has, if there is just one.
void CRavExamination::ExamineId(const RAV_HOST_COMPONENT& parent, VLAN vlan, const VLANS& vlans)
{
    if (!vlan.vlan.id || (*vlan.vlan.id >= 1 && *vlan.vlan.id <= RAV_MAX_VLAN_ID))
        return;
    std::set<CRavString> orphans;
    for (const RAV_HOST_COMPONENT* const carrier : CarriersOf(parent))
    {
        if (carrier->port.ids)
            orphans.insert(carrier->port.ids->begin(), carrier->port.ids->end());
    }
    for (const RAV_HOST_COMPONENT* const other : vlans)
        orphans.erase(IdText(other->vlan.id.value_or(0)));
    const int id = orphans.size() == 1 ? _wtoi(*orphans.begin()) : 0;
    const CRavString detail = CRavString(L"its id is ") + IdText(*vlan.vlan.id);
    if (id < 1 || id > static_cast<int>(RAV_MAX_VLAN_ID))
    {
        Note(RAV_FINDING_KIND::UnknownId, vlan, detail).commands = {Command(L"remove", vlan.guid)};
        return;
    }
    RAV_FINDING& finding = Note(RAV_FINDING_KIND::DamagedVlan, vlan, detail + L", should be " + *orphans.begin());
    finding.steps = {RavSetNumber(vlan.Path(), XmsValue::VlanId, static_cast<DWORD>(id))};
    Reload(finding, vlan);
}

void CRavExamination::ExamineKey(const RAV_HOST_COMPONENT& parent, VLAN vlan)
{
    const auto damaged = [&](const wchar_t* name, const CRavString& actual, const RAV_STEP& step) {
        ContradictedVlan(RAV_FINDING_KIND::DamagedVlan, vlan, name, actual, step);
    };
    if (!vlan.vlan.miniportKey.CompareI(vlan.guid))
        damaged(XmsValue::XmsMiniportKey, vlan.vlan.miniportKey,
                RavSetText(vlan.Path(), XmsValue::XmsMiniportKey, vlan.guid));
    const DWORD overTeam = parent.kind == RAV_COMPONENT_KIND::Team ? FEATURE_OVER_TEAM : 0;
    if ((vlan.features & FEATURE_OVER_TEAM) != overTeam)
        damaged(
            XmsValue::SupportedFeatures, IdText(vlan.features),
            RavSetNumber(vlan.Path(), XmsValue::SupportedFeatures, (vlan.features & ~FEATURE_OVER_TEAM) | overTeam));
    const auto carriers = CarriersOf(parent);
    const RAV_DRIVER_ENTRY* const entry = carriers.empty() ? nullptr : Entry(*carriers.front());
    if (entry != nullptr && entry->group && vlan.vlan.group != entry->group)
        damaged(XmsValue::LogicalGroupId, vlan.vlan.group ? IdText(*vlan.vlan.group) : CRavString(L"missing"),
                RavSetNumber(vlan.Path(), XmsValue::LogicalGroupId, *entry->group));
    if (parent.kind == RAV_COMPONENT_KIND::Team)
        ExamineTeamOfVlan(parent, vlan);
}

void CRavExamination::ContradictedVlan(RAV_FINDING_KIND kind, VLAN vlan, const wchar_t* name, const CRavString& actual,
                                       const RAV_STEP& step)
{
    RAV_FINDING& finding = Note(kind, vlan, CRavString(name) + L" is " + actual);
    finding.steps = {step};
    Reload(finding, vlan);
}

void CRavExamination::ExamineName(const RAV_HOST_COMPONENT& parent, VLAN vlan)
{
    CRavString name = vlan.vlan.name;
    if (name.IsEmpty() && !(name = NameIn(vlan.vlan.displayName)).IsEmpty())
        Note(RAV_FINDING_KIND::DamagedVlan, vlan, CRavString(L"VLANName is missing, should be ") + name).steps = {
            RavSetText(vlan.Path(), XmsValue::VlanName, name)};
    if (name.IsEmpty() || parent.displayName.IsEmpty())
        return;
    const CRavString wanted = parent.displayName + CRavString(BETWEEN_NAMES) + name;
    if ((vlan.vlan.displayName == wanted && vlan.displayName == wanted) || wanted.Length() > LONGEST_NAME)
        return;
    Note(RAV_FINDING_KIND::DisplayName, vlan, CRavString(L"it should be \"") + wanted + L"\"").steps = {
        RavSetText(vlan.Path(), XmsValue::VlanDisplayName, wanted), RavDo(RAV_ACT::SetDisplayName, vlan.guid, wanted)};
}

void CRavExamination::FindDevices()
{
    for (const RAV_HOST_COMPONENT& component : m_host.components)
    {
        if (!component.device.IsEmpty())
            m_devices[RavFolded(component.device)].push_back(&component);
    }
}

// The first other component that says it is the same device; null when there is none.
const RAV_HOST_COMPONENT* CRavExamination::WithDeviceOf(VLAN vlan) const
{
    const auto found = m_devices.find(RavFolded(vlan.device));
    if (found == m_devices.end())
        return nullptr;
    const auto other = std::find_if(found->second.begin(), found->second.end(),
                                    [&](const RAV_HOST_COMPONENT* each) { return each != &vlan; });
    return other != found->second.end() ? *other : nullptr;
}

// Its name is not examined then: it is that of the other as well. A removal takes the device with it, which must not be
// that of an adapter or team.
void CRavExamination::ExamineDevice(VLAN vlan, const RAV_HOST_COMPONENT& other)
{
    RAV_FINDING& finding = Note(RAV_FINDING_KIND::SameDevice, vlan,
                                CRavString(L"its device ") + vlan.device + L" is also that of " + other.guid);
    if (other.IsVlan())
        finding.commands = {Command(L"remove", vlan.guid), Command(L"remove", other.guid)};
}

void CRavExamination::ExamineDoubles(const RAV_HOST_COMPONENT& parent, const VLANS& vlans)
{
    const auto same = [&](RAV_FINDING_KIND kind, VLAN first, VLAN second, const CRavString& what) {
        Note(kind, second, what + L" is also that of " + first.guid + L" on " + parent.displayName).commands = {
            Command(L"remove", first.guid), Command(L"remove", second.guid)};
    };
    for (size_t second = 1; second < vlans.size(); ++second)
    {
        for (size_t first = 0; first < second; ++first)
        {
            if (vlans[first]->vlan.id == vlans[second]->vlan.id)
                same(RAV_FINDING_KIND::SameId, *vlans[first], *vlans[second],
                     IsTagged(*vlans[first]) ? CRavString(L"id ") + IdText(*vlans[first]->vlan.id)
                                             : CRavString(L"being untagged"));
            if (!vlans[first]->vlan.name.IsEmpty() && vlans[first]->vlan.name == vlans[second]->vlan.name)
                same(RAV_FINDING_KIND::SameName, *vlans[first], *vlans[second],
                     CRavString(L"the name \"") + vlans[first]->vlan.name + L"\"");
        }
    }
}
