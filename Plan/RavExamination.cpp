// The order of an examination, and how its findings are noted.

#include "Plan/RavExamination.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/XmsNames.h"
#include "Plan/RavExamine.h"

namespace
{
template <typename Value, typename Text>
CRavString Instead(const wchar_t* name, const Value& actual, Text&& text)
{
    return CRavString(name) + L" is " + (actual ? text(*actual) : CRavString(L"missing")) + L", should be ";
}

CRavString NumberText(DWORD number)
{
    return std::to_wstring(number).c_str();
}

CRavString ListText(const std::vector<CRavString>& list)
{
    return list.empty() ? CRavString(L"empty") : RavJoined(list);
}
} // namespace

std::vector<RAV_FINDING> RavExamine(const RAV_HOST& host)
{
    return CRavExamination(host).Findings();
}

std::vector<RAV_FINDING> CRavExamination::Findings()
{
    FindMembers();
    FindDevices();
    JudgeMiniports();
    JudgeAbandoned();
    for (const RAV_HOST_COMPONENT& parent : m_host.components)
    {
        if (m_vlans.contains(&parent))
            ExamineVlans(parent, m_vlans[&parent]);
        else if (parent.kind == RAV_COMPONENT_KIND::Team)
            ExamineTeam(parent);
    }
    for (const RAV_HOST_COMPONENT& adapter : m_host.components)
    {
        if (adapter.kind != RAV_COMPONENT_KIND::Adapter)
            continue;
        RAV_CARRIER carrier{&adapter, m_teams[&adapter], m_vlans[&adapter]};
        for (const RAV_HOST_COMPONENT* const team : carrier.teams)
            carrier.vlans.insert(carrier.vlans.end(), m_vlans[team].begin(), m_vlans[team].end());
        if (!carrier.vlans.empty())
            ExamineCarrier(carrier);
        else if (carrier.IsMember())
            ExamineMemberWithoutVlans(carrier);
        else
            ExamineFormerParent(adapter);
    }
    ExamineLostAdapters();
    ExamineStopped();
    return std::move(m_findings);
}

RAV_FINDING& CRavExamination::Note(RAV_FINDING_KIND kind, const RAV_HOST_COMPONENT& subject, const CRavString& detail)
{
    RAV_FINDING& finding = m_findings.emplace_back();
    finding.kind = kind;
    finding.subject = subject.guid;
    finding.isOfVlan = subject.IsVlan() || subject.kind == RAV_COMPONENT_KIND::Miniport;
    const auto teams = m_teams.find(&subject);
    finding.parent = finding.isOfVlan                                   ? subject.vlan.parentKey
                     : teams != m_teams.end() && !teams->second.empty() ? teams->second.front()->guid
                                                                        : CRavString();
    finding.where = subject.displayName.IsEmpty() ? subject.guid : subject.displayName;
    finding.detail = detail;
    return finding;
}

// A stopped device is started by its own finding; a disabled one stays as its administrator has it.
void CRavExamination::Reload(RAV_FINDING& finding, const RAV_HOST_COMPONENT& component) const
{
    if (component.problem == 0)
        finding.steps.push_back(RavDo(RAV_ACT::Reload, component.guid));
}

void CRavExamination::Want(RAV_FINDING_KIND kind, const RAV_CARRIER& carrier, const CRavString& path,
                           const wchar_t* name, const std::optional<DWORD>& actual, std::optional<DWORD> wanted)
{
    if (actual == wanted)
        return;
    RAV_FINDING& finding =
        Note(kind, *carrier.adapter, Instead(name, actual, NumberText) + (wanted ? NumberText(*wanted) : L"missing"));
    finding.steps = {wanted ? RavSetNumber(path, name, *wanted) : RavDeleteValue(path, name)};
    Reload(finding, *carrier.adapter);
}

void CRavExamination::Want(RAV_FINDING_KIND kind, const RAV_CARRIER& carrier, const CRavString& path,
                           const wchar_t* name, const std::optional<std::vector<CRavString>>& actual,
                           const std::vector<CRavString>& wanted)
{
    if (actual == wanted)
        return;
    RAV_FINDING& finding = Note(kind, *carrier.adapter, Instead(name, actual, ListText) + ListText(wanted));
    finding.steps = {RavSetList(path, name, wanted)};
    Reload(finding, *carrier.adapter);
}

const RAV_DRIVER_ENTRY* CRavExamination::Entry(const RAV_HOST_COMPONENT& adapter) const
{
    const auto entry = m_host.entries.find(adapter.guid);
    return entry != m_host.entries.end() ? &entry->second : nullptr;
}

RAV_STEP RavSetNumber(const CRavString& path, const wchar_t* name, DWORD number)
{
    RAV_STEP step{RAV_ACT::SetNumber, path, name, number, {}, {}};
    return step;
}

RAV_STEP RavSetText(const CRavString& path, const wchar_t* name, const CRavString& text)
{
    return {RAV_ACT::SetText, path, name, 0, text, {}};
}

RAV_STEP RavSetList(const CRavString& path, const wchar_t* name, const std::vector<CRavString>& list)
{
    return {RAV_ACT::SetList, path, name, 0, {}, list};
}

RAV_STEP RavDeleteValue(const CRavString& path, const wchar_t* name)
{
    return {RAV_ACT::DeleteValue, path, name, 0, {}, {}};
}

RAV_STEP RavDo(RAV_ACT act, const CRavString& guid, const CRavString& text)
{
    return {act, guid, {}, 0, text, {}};
}

CRavString RavDeviceName(const RAV_HOST_COMPONENT& component)
{
    return CRavString(DEVICE_PREFIX) + component.guid;
}

CRavString RavEntryPath(const RAV_HOST_COMPONENT& adapter)
{
    return CRavString(XMS_ADAPTERS_KEY) + L"\\" + adapter.guid;
}
