// What VLANs have left on adapters that carry none.

#include "Plan/RavExamination.h"

#include "Common/Library/RavAdapter.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/XmsNames.h"

#include <algorithm>

void CRavExamination::ExamineFormerParent(const RAV_HOST_COMPONENT& adapter)
{
    const RAV_DRIVER_ENTRY* const entry = Entry(adapter);
    const auto configuration = m_host.configurations.find(adapter.guid);
    const bool hasConfiguration = configuration != m_host.configurations.end();
    const bool isKept = hasConfiguration && configuration->second;
    // A first creation that was interrupted while it moved the flag: off in TCP/IP, and not yet with the driver.
    if (entry != nullptr && !entry->group && !isKept && adapter.port.dhcp == 0u && !adapter.port.hasStaticAddress)
        Note(RAV_FINDING_KIND::DhcpFlag, adapter, L"it is lost; the adapter has no address of its own").steps = {
            RavSetNumber(CRavString(TCPIP_INTERFACES_KEY) + L"\\" + adapter.guid, NetworkValue::EnableDhcp, 1)};
    const auto giveBack = [&](RAV_FINDING_KIND kind, const CRavString& detail) {
        RAV_FINDING& finding = Note(kind, adapter, detail);
        finding.steps = {RavDo(RAV_ACT::GiveBack, adapter.guid)};
        Reload(finding, adapter);
    };
    const auto record = m_host.records.find(adapter.guid);
    if (adapter.port.isBound)
        giveBack(RAV_FINDING_KIND::StillBound, L"the driver is bound to it");
    else if (record != m_host.records.end())
        giveBack(RAV_FINDING_KIND::ProtocolsMissing, CRavString(L"they are on record: ") + RavJoined(record->second));
    if (entry != nullptr || hasConfiguration)
        giveBack(RAV_FINDING_KIND::StaleDriverEntry, isKept ? L"it holds the adapter's DHCP flag" : L"it is empty");
    ResetInstanceKey(adapter);
}

// As the removal of the last VLAN leaves the key.
void CRavExamination::ResetInstanceKey(const RAV_HOST_COMPONENT& adapter)
{
    const CRavString path = adapter.Path();
    const RAV_PORT_VALUES& port = adapter.port;
    if (port.ids)
        Note(RAV_FINDING_KIND::IdList, adapter, CRavString(L"VLANID is ") + RavJoined(*port.ids) + L", without a VLAN")
            .steps = {RavDeleteValue(path, XmsValue::VlanId)};
    if (port.vlanMode)
        Note(RAV_FINDING_KIND::VlanMode, adapter, L"VlanMode is there, without a VLAN").steps = {
            RavDeleteValue(path, XmsValue::VlanMode)};
    const bool isMarked = port.xmsLoaded.has_value() && m_teams[&adapter].empty();
    if (port.taggingMode.value_or(0) != 0 || (port.xmsLoaded && port.taggingText && *port.taggingText != L"0"))
        Note(RAV_FINDING_KIND::TaggingMode, adapter, L"tagging is on, without a VLAN").steps = {
            RavSetText(path, XmsValue::TaggingMode, L"0")};
    // The mark goes first: behind it a removal may have been interrupted, whose bindings are not given back yet.
    if (!isMarked && m_teams[&adapter].empty() && (port.isBound || m_host.records.contains(adapter.guid)) &&
        port.filtering && *port.filtering != L"0")
        Note(RAV_FINDING_KIND::ParentMark, adapter, L"VlanFiltering is on, without a VLAN").steps = {
            RavSetText(path, XmsValue::VlanFiltering, L"0")};
    if (!isMarked)
        return;
    RAV_FINDING& finding = Note(RAV_FINDING_KIND::ParentMark, adapter, L"XMSLoaded is there, without a VLAN");
    if (!adapter.networkAddress.IsEmpty())
        finding.steps.push_back(RavSetText(path, NetworkValue::NetworkAddress, L""));
    if (port.filtering && *port.filtering != L"0")
        finding.steps.push_back(RavSetText(path, XmsValue::VlanFiltering, L"0"));
    finding.steps.push_back(RavDeleteValue(path, XmsValue::XmsLoaded));
    Reload(finding, adapter);
}

// Entries of adapters that are not in the machine. Those of a team's member are the team's: it may come back.
void CRavExamination::ExamineLostAdapters()
{
    std::set<CRavString> guids;
    for (const auto& [guid, entry] : m_host.entries)
    {
        const bool isMember =
            entry.bindings &&
            std::any_of(m_host.components.begin(), m_host.components.end(),
                        [&, &list = *entry.bindings](const auto& component) {
                            return component.kind == RAV_COMPONENT_KIND::Team &&
                                   std::find(list.begin(), list.end(), RavDeviceName(component)) != list.end();
                        });
        if (!isMember)
            guids.insert(guid);
    }
    for (const auto& [guid, flag] : m_host.configurations)
    {
        if (!m_host.entries.contains(guid))
            guids.insert(guid);
    }
    for (const CRavString& guid : guids)
    {
        if (m_host.Find(guid) != nullptr)
            continue;
        RAV_HOST_COMPONENT lost;
        lost.guid = guid;
        Note(RAV_FINDING_KIND::StaleDriverEntry, lost, L"there is no such adapter").steps = {
            RavDo(RAV_ACT::GiveBack, guid)};
    }
}

void CRavExamination::ExamineStopped()
{
    for (const RAV_HOST_COMPONENT& component : m_host.components)
    {
        if (component.problem != RAV_PROBLEM_STOPPED)
            continue;
        const bool goes = component.kind == RAV_COMPONENT_KIND::Miniport ||
                          std::any_of(m_findings.begin(), m_findings.end(), [&](const RAV_FINDING& finding) {
                              return finding.subject == component.guid && !finding.steps.empty() &&
                                     finding.steps.front().act == RAV_ACT::RemoveMiniport;
                          });
        if (!goes)
            Note(RAV_FINDING_KIND::NotLoaded, component, L"it is stopped").steps = {
                RavDo(RAV_ACT::Start, component.guid)};
    }
}
