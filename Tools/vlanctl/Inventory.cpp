#include "Tools/vlanctl/Inventory.h"

#include "Plan/RavExamine.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/WordList.h"

#include <algorithm>
#include <map>

namespace
{
CRavString ParentName(CSession& session, const CRavString& key, int parentType)
{
    CRavString name;
    RAV_TEAM_INFO info;
    if (parentType != RAV_PARENT_TEAM)
        session.Core().GetDisplayName(key, name);
    else if (session.Teams() != nullptr && session.Teams()->GetTeamInfo(key, info).Succeeded())
        name = info.strTeamName;
    return name.IsEmpty() ? key : name;
}

VlanRow RowOf(const RAV_HOST_COMPONENT& component)
{
    const RAV_VLAN_VALUES& vlan = component.vlan;
    VlanRow row;
    row.info.displayName = vlan.displayName;
    row.info.description = component.displayName;
    row.info.vlanKey = component.guid;
    row.info.xmsMiniportKey = vlan.miniportKey;
    row.info.vlanId = vlan.id.value_or(0);
    row.info.vlanName = vlan.name;
    row.info.vlanType = vlan.type ? RavClientVlanType(*vlan.type) : 0;
    row.info.supportedFeatures = component.features;
    row.info.logicalGroupId = vlan.group.value_or(0);
    row.info.jumboPacket = vlan.jumboPacket ? _wtoi(*vlan.jumboPacket) : -1;
    row.parentKey = vlan.parentKey;
    row.status = LoadText(component.loadStatus);
    row.instance = ToUtf8(component.instance);
    return row;
}

// When one of its sources fails the agent names no parent at all: the user has to be told why.
std::vector<CRavString> SupportingParents(CSession& session)
{
    CResult result;
    std::vector<CRavString> parents;
    session.Agent().EnumerateVlanSupportingParents(result, parents, session.Client());
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED,
                           "the agent cannot list the parents: " +
                               (session.Teams() == nullptr ? "the suite's team agent is missing or does not answer"
                                                           : CodeText(result)));
    return parents;
}

// Whether a parent that the agent names may have a reason against further VLANs all the same: to ask for the reason
// costs a walk over all VLANs.
bool MayRefuse(CSession& session, const ParentRow& row)
{
    return row.isTeam || !session.Core().IsDeviceCorvo(row.key) || !session.Core().IsDriverSupportingVORN(row.key);
}

// The agent's reason against further VLANs on a parent that has as many as it can carry; empty on another one.
std::string FullReason(CSession& session, const ParentRow& row)
{
    if (row.vlanIds.size() >= RAV_MAX_VLANS_OF_VIRTUAL_DEVICE && session.Core().IsVirtualDevice(row.key))
        return MeaningOf(RAV_MSG_VIRTUAL_PARENT_FULL);
    return row.vlanIds.size() >= RAV_MAX_VLANS ? MeaningOf(RAV_MSG_PARENT_FULL) : "";
}

void Judge(CSession& session, const std::vector<CRavString>& supporting, ParentRow& row)
{
    const bool isNamed =
        std::any_of(supporting.begin(), supporting.end(), [&](const CRavString& key) { return key.CompareI(row.key); });
    row.reason =
        !isNamed || MayRefuse(session, row) ? JudgeNewVlans(session, row.key).reason : FullReason(session, row);
    if (row.reason.empty() && !isNamed)
        row.reason = "the agent does not name it among the parents that support VLANs";
    row.supportsVlans = row.reason.empty();
}
} // namespace

RAV_STATE_SOURCE SourceOf(CSession& session)
{
    return {session.Agent(), session.Core(), session.Client()};
}

RAV_HOST ReadHost(CSession& session, RAV_HOST_DEPTH depth)
{
    session.AgentPvt().WaitForApplyDone(session.Client());
    CRavNetCfgInterface netCfg;
    RAV_HOST host;
    HRESULT status = netCfg.Initialize();
    if (SUCCEEDED(status))
        status = RavReadHost(netCfg, host, depth);
    if (FAILED(status))
        throw CommandError(EXIT_REFUSED, "the host cannot be read: " + CodeText(CResult(static_cast<DWORD>(status))));
    for (const CRavString& unread : host.unread)
        PrintError("vlanctl: " + ToUtf8(unread) + " cannot be read and is left out\n");
    return host;
}

RAV_HOST ReadWholeHost(CSession& session, RAV_HOST_DEPTH depth)
{
    RAV_HOST host = ReadHost(session, depth);
    if (!host.unread.empty())
        throw CommandError(EXIT_REFUSED, "the host cannot be read as a whole; nothing is said or done on such ground");
    return host;
}

bool IsThere(CSession& session, const CRavString& vlanKey)
{
    CResult result;
    std::vector<CRavString> keys;
    session.Agent().EnumerateVlans(result, CRavString(), keys);
    return !result.Succeeded() || // when the VLANs cannot be listed it counts as there
           std::any_of(keys.begin(), keys.end(), [&](const CRavString& key) { return key.CompareI(vlanKey); });
}

std::string LoadText(DWORD status)
{
    static const char* const TEXTS[] = {"unknown", LOADED, "notLoaded", "disabled"};
    return status < std::size(TEXTS) ? TEXTS[status] : TEXTS[0];
}

std::string IdText(DWORD id)
{
    return id == 0 ? "untagged" : std::to_string(id);
}

std::string MacText(const CRavString& digits)
{
    std::vector<std::string> octets;
    for (size_t place = 0; place + 1 < digits.size(); place += 2)
        octets.push_back(ToUtf8(digits.substr(place, 2)));
    return Joined(octets, "-");
}

std::string VlanText(const RAV_VLAN_INFO& info)
{
    return Visible(ToUtf8(info.displayName)) +
           (info.vlanId == 0 ? " (untagged)" : " (id " + std::to_string(info.vlanId) + ")");
}

std::string VlanText(DWORD id, const CRavString& name)
{
    return IdText(id) + (name.IsEmpty() ? "" : " " + Visible(ToUtf8(name)));
}

std::vector<VlanRow> VlansOf(CSession& session, const RAV_HOST& host, const CRavString& parentKey)
{
    struct Parent
    {
        CRavString name;
        std::string instance;
    };
    std::map<CRavString, Parent> parents;
    std::vector<VlanRow> rows;
    for (const RAV_HOST_COMPONENT& component : host.components)
    {
        if (!component.IsVlan() || (!parentKey.IsEmpty() && component.vlan.parentKey != parentKey))
            continue;
        rows.push_back(RowOf(component));
        const auto [parent, isNew] = parents.try_emplace(component.vlan.parentKey);
        if (isNew)
        {
            const RAV_HOST_COMPONENT* const found = host.Find(component.vlan.parentKey);
            const bool isTeam = found != nullptr && found->kind == RAV_COMPONENT_KIND::Team;
            parent->second.name =
                ParentName(session, component.vlan.parentKey, isTeam ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER);
            parent->second.instance = found != nullptr ? ToUtf8(found->instance) : "";
        }
        rows.back().parentName = parent->second.name;
        rows.back().parentInstance = parent->second.instance;
    }
    return rows;
}

std::vector<VlanRow> ReadVlans(CSession& session, const CRavString& parentKey)
{
    return VlansOf(session, ReadHost(session), parentKey);
}

std::vector<RAV_FINDING> ReadFindings(CSession& session, const CRavString& parentKey)
{
    std::vector<RAV_FINDING> findings = RavExamine(ReadWholeHost(session, RAV_HOST_DEPTH::Bindings));
    std::erase_if(findings, [&](const RAV_FINDING& finding) { return !finding.IsAbout(parentKey); });
    return findings;
}

void MarkFindings(const RAV_HOST& host, std::vector<VlanRow>& rows)
{
    if (!host.unread.empty())
        return PrintError("vlanctl: the host cannot be read as a whole: what is wrong with a VLAN is not told\n");
    const std::vector<RAV_FINDING> findings = RavExamine(host);
    for (VlanRow& row : rows)
    {
        for (const RAV_FINDING& finding : findings)
        {
            if (finding.Concerns(row.info.vlanKey, row.parentKey))
                row.findings.push_back(ToUtf8(RavFindingText(finding.kind).name));
        }
    }
}

std::string StatusWord(const VlanRow& row)
{
    return row.findings.empty() ? row.status : DAMAGED;
}

std::string StatusText(const VlanRow& row)
{
    if (row.findings.empty())
        return row.status;
    std::string finding = row.findings.front();
    std::replace(finding.begin(), finding.end(), '-', ' ');
    return DAMAGED + (": " + finding);
}

std::vector<ParentRow> ReadParents(CSession& session, ParentDetail detail)
{
    return ReadParents(session, detail, ReadHost(session, RAV_HOST_DEPTH::Values));
}

std::vector<ParentRow> ReadParents(CSession& session, ParentDetail detail, const RAV_HOST& host)
{
    const bool judge = detail == ParentDetail::Support;
    const std::vector<CRavString> supporting = judge ? SupportingParents(session) : std::vector<CRavString>();
    const std::vector<VlanRow> vlans = judge ? VlansOf(session, host) : std::vector<VlanRow>();
    std::vector<ParentRow> rows;
    const auto add = [&](const CRavString& key, RAV_PARENT_TYPE type) {
        ParentRow row;
        row.key = key;
        row.isTeam = type == RAV_PARENT_TEAM;
        row.name = ParentName(session, key, type);
        const RAV_HOST_COMPONENT* const component = host.Find(key);
        row.instance = component != nullptr ? ToUtf8(component->instance) : "";
        for (const VlanRow& vlan : vlans)
        {
            if (vlan.parentKey.CompareI(key))
                row.vlanIds.push_back(vlan.info.vlanId);
        }
        if (judge)
            Judge(session, supporting, row);
        rows.push_back(row);
    };
    std::vector<CRavString> keys;
    if (session.Teams() != nullptr && session.Teams()->EnumerateTeams(keys).Succeeded())
        std::for_each(keys.begin(), keys.end(), [&](const CRavString& key) { add(key, RAV_PARENT_TEAM); });
    keys.clear();
    if (!session.Core().EnumerateAdapters(keys).Succeeded())
        throw CommandError(EXIT_REFUSED, "the core agent cannot list the adapters");
    std::for_each(keys.begin(), keys.end(), [&](const CRavString& key) { add(key, RAV_PARENT_ADAPTER); });
    return rows;
}
