// Adapters that carry VLANs: their own, or as a member those of a team.

#include "Plan/RavExamination.h"

#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/SuiteNames.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavVlanTypes.h"
#include "Src/Vlan/RavTaggingMode.h"

#include <algorithm>

namespace
{
// What has to be in a list, in the order in which it is there, and what is missing behind it.
std::vector<CRavString> InPresentOrder(const std::optional<std::vector<CRavString>>& present,
                                       const std::vector<CRavString>& wanted)
{
    std::vector<CRavString> ordered;
    const auto take = [&](const CRavString& element) {
        const auto find = [&](const std::vector<CRavString>& list) {
            return std::find_if(list.begin(), list.end(), [&](CRavString other) { return other.CompareI(element); });
        };
        const auto place = find(wanted);
        if (place != wanted.end() && find(ordered) == ordered.end())
            ordered.push_back(*place);
    };
    if (present)
        std::for_each(present->begin(), present->end(), take);
    std::for_each(wanted.begin(), wanted.end(), take);
    return ordered;
}

std::vector<CRavString> TaggedIds(const RAV_CARRIER& carrier)
{
    std::vector<CRavString> ids;
    for (const RAV_HOST_COMPONENT* const vlan : carrier.vlans)
    {
        if (vlan->vlan.id.value_or(0) >= 1 && *vlan->vlan.id <= RAV_MAX_VLAN_ID)
            ids.push_back(std::to_wstring(*vlan->vlan.id).c_str());
    }
    return ids;
}

// What the VLANs, none of which goes, make of the tagging.
RAV_TAGGING TaggingOf(const RAV_CARRIER& carrier)
{
    const auto tagged = std::count_if(carrier.vlans.begin(), carrier.vlans.end(),
                                      [](const RAV_HOST_COMPONENT* vlan) { return vlan->vlan.id.has_value(); });
    const bool untagged = static_cast<size_t>(tagged) < carrier.vlans.size();
    return RavTaggingFor({static_cast<int>(tagged), untagged}, tagged > 0 ? 1 : 0, RavVlanStage::Present);
}

std::vector<CRavString> Devices(const RAV_CARRIER& carrier)
{
    std::vector<CRavString> devices;
    for (const auto* const list : {&carrier.teams, &carrier.vlans})
    {
        for (const RAV_HOST_COMPONENT* const component : *list)
            devices.push_back(RavDeviceName(*component));
    }
    return devices;
}
} // namespace

void CRavExamination::ExamineCarrier(const RAV_CARRIER& carrier)
{
    ExamineInstanceKey(carrier);
    ExamineParameters(carrier);
    ExamineEntry(carrier);
    ExamineDhcp(carrier);
    ExamineBindings(carrier);
}

void CRavExamination::ExamineInstanceKey(const RAV_CARRIER& carrier)
{
    const CRavString path = carrier.adapter->Path();
    const RAV_PORT_VALUES& port = carrier.adapter->port;
    const std::vector<CRavString> ids = InPresentOrder(port.ids, TaggedIds(carrier));
    const RAV_TAGGING tagging = TaggingOf(carrier);
    Want(RAV_FINDING_KIND::ParentMark, carrier, path, XmsValue::XmsLoaded, port.xmsLoaded, 1);
    if (!ids.empty() && port.ids != ids)
    {
        Want(RAV_FINDING_KIND::IdList, carrier, path, XmsValue::VlanId, port.ids, ids);
        ReloadRenumbered(carrier, m_findings.back());
    }
    else if (ids.empty() && port.ids)
        Note(RAV_FINDING_KIND::IdList, *carrier.adapter, L"VLANID is there, without a tagged VLAN").steps = {
            RavDeleteValue(path, XmsValue::VlanId)};
    Want(RAV_FINDING_KIND::VlanMode, carrier, path, XmsValue::VlanMode, port.vlanMode,
         ids.empty() ? std::nullopt : std::optional<DWORD>(1));
    Want(RAV_FINDING_KIND::TaggingMode, carrier, path, XmsValue::TaggingMode, port.taggingMode, tagging.dwInUse);
}

// An id in the list that no VLAN has, and a VLAN whose id is not there: its id was being changed. The driver works with
// the old one until the VLAN is reloaded.
void CRavExamination::ReloadRenumbered(const RAV_CARRIER& carrier, RAV_FINDING& finding) const
{
    const std::vector<CRavString> ids = TaggedIds(carrier);
    const auto has = [](const std::vector<CRavString>& list, const CRavString& id) {
        return std::find(list.begin(), list.end(), id) != list.end();
    };
    const std::vector<CRavString> listed = carrier.adapter->port.ids.value_or(std::vector<CRavString>());
    if (std::all_of(listed.begin(), listed.end(), [&](const CRavString& id) { return has(ids, id); }))
        return;
    for (const RAV_HOST_COMPONENT* const vlan : carrier.vlans)
    {
        if (vlan->vlan.id && !has(listed, std::to_wstring(*vlan->vlan.id).c_str()))
            Reload(finding, *vlan);
    }
}

// The adapter's own parameters are those of its maker: one that is missing stays missing. Of a member the team decides
// about filtering and address.
void CRavExamination::ExamineParameters(const RAV_CARRIER& carrier)
{
    const RAV_HOST_COMPONENT& adapter = *carrier.adapter;
    const auto want = [&](RAV_FINDING_KIND kind, const wchar_t* name, const CRavString& actual,
                          const CRavString& wanted) {
        RAV_FINDING& finding = Note(kind, adapter, CRavString(name) + L" is " + actual + L", should be " + wanted);
        finding.steps = {RavSetText(adapter.Path(), name, wanted)};
        Reload(finding, adapter);
    };
    if (adapter.port.priorityTag && *adapter.port.priorityTag != L"3")
        want(RAV_FINDING_KIND::PriorityTag, PRIORITY_VLAN_TAG, *adapter.port.priorityTag, L"3");
    if (carrier.IsMember())
        return;
    if (adapter.port.filtering && *adapter.port.filtering != L"1")
        want(RAV_FINDING_KIND::ParentMark, XmsValue::VlanFiltering, *adapter.port.filtering, L"1");
    const CRavString& address = carrier.vlans.front()->networkAddress;
    if (adapter.networkAddress.IsEmpty() && !address.IsEmpty())
        want(RAV_FINDING_KIND::ParentAddress, NetworkValue::NetworkAddress, L"empty", address);
}

void CRavExamination::ExamineEntry(const RAV_CARRIER& carrier)
{
    const RAV_HOST_COMPONENT& adapter = *carrier.adapter;
    const CRavString path = RavEntryPath(adapter);
    const DWORD number = static_cast<DWORD>(_wtoi(adapter.instance));
    const RAV_DRIVER_ENTRY* const found = Entry(adapter);
    if (found != nullptr)
    {
        if (carrier.IsMember())
            ExamineMemberEntry(carrier, *found);
        else if (!found->group)
            Want(RAV_FINDING_KIND::DriverEntry, carrier, path, XmsValue::LogicalGroupId, found->group,
                 GroupOf(carrier));
        Want(RAV_FINDING_KIND::DriverEntry, carrier, path, XmsValue::PhysicalAdapterId, found->physicalAdapter, number);
        if (!carrier.IsMember())
            Want(RAV_FINDING_KIND::DriverEntry, carrier, path, XmsValue::TotalPhysicalAdapters, found->totalAdapters,
                 1);
        ExamineLists(carrier, *found);
        return;
    }
    RAV_FINDING& finding = Note(RAV_FINDING_KIND::NoDriverEntry, adapter, L"there is none");
    const std::vector<CRavString> devices = Devices(carrier);
    finding.steps = {
        RavSetNumber(path, XmsValue::LogicalGroupId, GroupOf(carrier)),
        RavSetNumber(path, XmsValue::PhysicalAdapterId, number),
        RavSetNumber(path, XmsValue::TotalPhysicalAdapters, carrier.IsMember() ? SizeOf(*carrier.teams.front()) : 1),
        RavSetNumber(path, XmsValue::BindingListCount, static_cast<DWORD>(devices.size())),
        RavSetNumber(path, XmsValue::TaggingMode, static_cast<DWORD>(TaggingOf(carrier).mode)),
        RavSetText(path, XmsValue::AdapterName, adapter.displayName),
        RavSetList(path, XmsValue::BindingList, devices)};
    Reload(finding, adapter);
}

void CRavExamination::ExamineLists(const RAV_CARRIER& carrier, const RAV_DRIVER_ENTRY& entry)
{
    const CRavString path = RavEntryPath(*carrier.adapter);
    const std::vector<CRavString> devices = InPresentOrder(entry.bindings, Devices(carrier));
    Want(RAV_FINDING_KIND::BindingList, carrier, path, XmsValue::BindingList, entry.bindings, devices);
    Want(RAV_FINDING_KIND::BindingCount, carrier, path, XmsValue::BindingListCount, entry.count,
         static_cast<DWORD>(devices.size()));
    if (!carrier.vlans.empty())
        Want(RAV_FINDING_KIND::DriverTaggingMode, carrier, path, XmsValue::TaggingMode, entry.taggingMode,
             static_cast<DWORD>(TaggingOf(carrier).mode));
}

void CRavExamination::ExamineBindings(const RAV_CARRIER& carrier)
{
    const RAV_PORT_VALUES& port = carrier.adapter->port;
    RAV_FINDING* finding = nullptr;
    if (!port.isBound)
        finding = &Note(RAV_FINDING_KIND::NotBound, *carrier.adapter, L"the driver is not bound to it");
    else if (!port.protocols.empty())
        finding = &Note(RAV_FINDING_KIND::ProtocolsBound, *carrier.adapter,
                        CRavString(L"bound to it: ") + RavJoined(port.protocols));
    if (finding == nullptr)
        return;
    // Without a record nothing would come back with the removal of the last VLAN.
    if (!port.isBound && port.protocols.empty() && !m_host.records.contains(carrier.adapter->guid))
        finding->steps.push_back(RavSetList(BINDING_RECORDS_KEY, carrier.adapter->guid, {L"ms_tcpip", L"ms_tcpip6"}));
    finding->steps.push_back(RavDo(RAV_ACT::Bind, carrier.adapter->guid));
    Reload(*finding, *carrier.adapter);
}

// The flag of a parent is kept with the driver, and off in TCP/IP. Where what was kept is lost, an adapter without an
// address of its own had DHCP.
void CRavExamination::ExamineDhcp(const RAV_CARRIER& carrier)
{
    const RAV_HOST_COMPONENT& adapter = *carrier.adapter;
    const auto configuration = m_host.configurations.find(adapter.guid);
    const bool isKept = configuration != m_host.configurations.end() && configuration->second;
    const std::optional<DWORD>& flag = adapter.port.dhcp;
    if (!flag || (isKept && *flag == 0))
        return;
    // Of a member the team decides; but it was to get the flag back, and has stayed.
    if (carrier.IsMember() && (*flag == 0 || !(isKept || m_host.records.contains(adapter.guid))))
        return;
    RAV_FINDING& finding =
        Note(RAV_FINDING_KIND::DhcpFlag, adapter, isKept ? L"TCP/IP has it, and the driver" : L"the driver has none");
    if (!isKept)
        finding.steps = {RavSetNumber(CRavString(XMS_CONFIGURATION_KEY) + L"\\" + adapter.guid,
                                      NetworkValue::EnableDhcp, adapter.port.hasStaticAddress ? 0 : 1)};
    if (*flag != 0)
        finding.steps.push_back(
            RavSetNumber(CRavString(TCPIP_INTERFACES_KEY) + L"\\" + adapter.guid, NetworkValue::EnableDhcp, 0));
}
