#pragma once

#include "Plan/RavFinding.h"
#include "Plan/RavStateReader.h"
#include "Src/View/RavHost.h"
#include "Tools/vlanctl/Connections.h"
#include "Tools/vlanctl/Session.h"

#include <string>
#include <vector>

// The status of a miniport that carries traffic.
inline constexpr char LOADED[] = "loaded";
// Instead of it that of a VLAN of which doctor would complain.
inline constexpr char DAMAGED[] = "damaged";

struct TeamMember
{
    CRavString key;
    CRavString name;
    std::string instance;
};

// One VLAN as it is shown.
struct VlanRow
{
    RAV_VLAN_INFO info;
    CRavString parentKey;
    CRavString parentName;
    std::string status;         // of the miniport
    std::string instance;       // four digits; empty when unknown
    std::string parentInstance; // the same of its parent
    // Names of what doctor would say about it or its parent; with ReadHost of bindings.
    std::vector<std::string> findings;
    InterfaceInfo connection;                       // with ReadDetails, as is the next
    std::optional<std::vector<TeamMember>> members; // of the team that is its parent; none: not known
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

// Where its state is read from, beyond that walk.
RAV_STATE_SOURCE SourceOf(CSession& session);
// The host in one walk. Throws CommandError when it cannot be read; what of it cannot be read is told and left out.
RAV_HOST ReadHost(CSession& session, RAV_HOST_DEPTH depth = RAV_HOST_DEPTH::Keys);
// Throws CommandError also when something of it cannot be read: for whoever judges or changes on this ground.
RAV_HOST ReadWholeHost(CSession& session, RAV_HOST_DEPTH depth = RAV_HOST_DEPTH::Keys);
// All VLANs of the host, or with a parent key those of that parent.
std::vector<VlanRow> VlansOf(CSession& session, const RAV_HOST& host, const CRavString& parentKey = {});
std::vector<VlanRow> ReadVlans(CSession& session, const CRavString& parentKey = {});
// What is wrong with a parent and what it carries, or with an empty key with the whole host. Throws CommandError when
// the host cannot be read as a whole.
std::vector<RAV_FINDING> ReadFindings(CSession& session, const CRavString& parentKey);
// Notes on each VLAN what is wrong with it; for a host that was read with its bindings. On one that was read in part
// nothing is noted, and that is said.
void MarkFindings(const RAV_HOST& host, std::vector<VlanRow>& rows);
// "loaded", "damaged"
std::string StatusWord(const VlanRow& row);
// "loaded", or "damaged: not bound" where doctor would complain
std::string StatusText(const VlanRow& row);
bool IsThere(CSession& session, const CRavString& vlanKey);
// "loaded", "notLoaded", "disabled", "unknown"
std::string LoadText(DWORD status);
// "untagged", "10"
std::string IdText(DWORD id);
// A component's address as the system writes it: "00-1B-21-00-00-01"; empty when it has none.
std::string MacText(const CRavString& digits);
// "Port A - VLAN : Sales (id 10)"
std::string VlanText(const RAV_VLAN_INFO& info);
// "10 Sales"
std::string VlanText(DWORD id, const CRavString& name);

enum class ParentDetail
{
    Names,
    Support // and reason and VLANs, too, which takes time
};
// All adapters and teams, teams first.
std::vector<ParentRow> ReadParents(CSession& session, ParentDetail detail);
std::vector<ParentRow> ReadParents(CSession& session, ParentDetail detail, const RAV_HOST& host);
