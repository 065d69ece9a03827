#pragma once

#include "Tools/vlanctl/Session.h"

#include <string>
#include <vector>

// One VLAN as it is shown.
struct VlanRow
{
    RAV_VLAN_INFO info;
    CRavString parentKey;
    CRavString parentName;
    std::string status;   // empty until ReadStatus
    std::string instance; // four digits; empty when unknown
};

// One adapter or team that could be a parent.
struct ParentRow
{
    CRavString key;
    CRavString name;
    bool isTeam = false;
    bool supportsVlans = false;
    std::string reason; // why not; empty when it does
    std::string instance;
    std::vector<DWORD> vlanIds;
};

// All VLANs, or with a parent key those of that parent. VLANs that cannot be read are left out, with a line on standard
// error.
std::vector<VlanRow> ReadVlans(CSession& session, const CRavString& parentKey = {});
void ReadStatus(CSession& session, VlanRow& row);
// The same for many, where the agent would look at all adapters for each.
void ReadStatuses(CSession& session, std::vector<VlanRow>& rows);
bool IsThere(CSession& session, const CRavString& vlanKey);
// "Port A - VLAN : Sales (id 10)"
std::string VlanText(const RAV_VLAN_INFO& info);

enum class ParentDetail
{
    Names,
    Support // and reason and VLANs, too, which takes time
};
// All adapters and teams, teams first.
std::vector<ParentRow> ReadParents(CSession& session, ParentDetail detail);
