#include "Tools/vlanctl/Inventory.h"

#include "Common/Library/RavAdapter.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavRegKey.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <map>

namespace
{
std::string Upper(const CRavString& key)
{
    CRavString upper = key;
    upper.MakeUpper();
    return ToUtf8(upper);
}

// Instance numbers by instance GUID.
std::map<std::string, std::string> ReadInstances()
{
    std::map<std::string, std::string> instances;
    CRavRegKey networkClass;
    networkClass.Open(HKEY_LOCAL_MACHINE, CLASS_KEY, false);
    CRavString name;
    while (networkClass.IsOpened() && networkClass.EnumSubKey(name))
    {
        CRavRegKey key;
        CRavString guid;
        if (name.IsNumeric() && key.Open(networkClass.GetHKey(), name, false) &&
            key.GetValue(NetworkValue::NetCfgInstanceId, guid))
            instances[Upper(guid)] = ToUtf8(name);
    }
    return instances;
}

std::string StatusText(DWORD status)
{
    static const char* const TEXTS[] = {"unknown", "loaded", "notLoaded", "disabled"};
    return status < std::size(TEXTS) ? TEXTS[status] : TEXTS[0];
}

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

bool ReadRow(CSession& session, const CRavString& key, VlanRow& row)
{
    CResult result;
    session.Agent().GetVlanInfo(result, key, row.info);
    if (!result.Succeeded())
        return false;
    RAV_VLAN_PARENT parent;
    session.Agent().GetVlanParent(result, session.Client(), key, parent);
    if (result.Succeeded())
    {
        row.parentKey = parent.parentKey;
        row.parentName = ParentName(session, parent.parentKey, parent.parentType);
    }
    return true;
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

void Judge(CSession& session, const std::vector<CRavString>& supporting, ParentRow& row)
{
    row.reason = ParentReason(session, row.key);
    if (row.reason.empty() && std::none_of(supporting.begin(), supporting.end(),
                                           [&](const CRavString& key) { return key.CompareI(row.key); }))
        row.reason = "the agent does not name it among the parents that support VLANs";
    row.supportsVlans = row.reason.empty();
}
} // namespace

void ReadStatus(CSession& session, VlanRow& row)
{
    CResult result;
    DWORD status = 0;
    session.Agent().GetVlanStatus(result, row.info.vlanKey, status);
    row.status = StatusText(result.Succeeded() ? status : 0);
}

void ReadStatuses(CSession& session, std::vector<VlanRow>& rows)
{
    CRavNetCfgInterface netCfg;
    const bool open = SUCCEEDED(netCfg.Initialize());
    for (VlanRow& row : rows)
    {
        if (open)
            row.status = StatusText(CRavAdapter(row.info.vlanKey).GetLoadStatus(netCfg));
        else
            ReadStatus(session, row);
    }
}

bool IsThere(CSession& session, const CRavString& vlanKey)
{
    CResult result;
    std::vector<CRavString> keys;
    session.Agent().EnumerateVlans(result, CRavString(), keys);
    return !result.Succeeded() || // when the VLANs cannot be listed it counts as there
           std::any_of(keys.begin(), keys.end(), [&](const CRavString& key) { return key.CompareI(vlanKey); });
}

std::string VlanText(const RAV_VLAN_INFO& info)
{
    return ToUtf8(info.displayName) + (info.vlanId == 0 ? " (untagged)" : " (id " + std::to_string(info.vlanId) + ")");
}

std::vector<VlanRow> ReadVlans(CSession& session, const CRavString& parentKey)
{
    CResult result;
    std::vector<CRavString> keys;
    session.Agent().EnumerateVlans(result, parentKey, keys);
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the VLANs cannot be listed: " + CodeText(result));
    const auto instances = ReadInstances();
    std::vector<VlanRow> rows;
    for (const CRavString& key : keys)
    {
        VlanRow row;
        if (!ReadRow(session, key, row))
        {
            PrintError("vlanctl: the VLAN " + ToUtf8(key) + " cannot be read and is left out\n");
            continue;
        }
        const auto instance = instances.find(Upper(key));
        row.instance = instance != instances.end() ? instance->second : "";
        rows.push_back(row);
    }
    return rows;
}

std::vector<ParentRow> ReadParents(CSession& session, ParentDetail detail)
{
    const bool judge = detail == ParentDetail::Support;
    const std::vector<CRavString> supporting = judge ? SupportingParents(session) : std::vector<CRavString>();
    const std::vector<VlanRow> vlans = judge ? ReadVlans(session) : std::vector<VlanRow>();
    const auto instances = ReadInstances();
    std::vector<ParentRow> rows;
    const auto add = [&](const CRavString& key, RAV_PARENT_TYPE type) {
        ParentRow row;
        row.key = key;
        row.isTeam = type == RAV_PARENT_TEAM;
        row.name = ParentName(session, key, type);
        const auto instance = instances.find(Upper(key));
        row.instance = instance != instances.end() ? instance->second : "";
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
