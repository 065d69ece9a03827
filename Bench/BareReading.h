#pragma once

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Src/RavVlanTypes.h"

#include <netcfgx.h>

#include <functional>
#include <string>
#include <vector>

// Reading by bare calls: each is one walk over the network class, with just the reads that fill its answer. What the
// core agent and the team agent are asked is the same as the agent asks them.

struct BareVlan
{
    RAV_VLAN_INFO info;
    std::wstring parent;
};

// visit(component, its parameter key, guid, features; 0 when it has none), until it answers false.
using BARE_VISIT = std::function<bool(INetCfgComponent&, HKEY, const std::wstring&, DWORD)>;
void BareWalk(const BARE_VISIT& visit);
// Whether the core agent has nothing against VLANs over the adapter.
bool IsSupportedByCore(CRavCoreAgentPvtIntf& core, const CRavString& adapter);
// Whether nothing stands against VLANs over an adapter that can have them.
bool IsFitForVlans(CRavCoreAgentPvtIntf& core, const CRavString& adapter);
bool IsFilteredOut(HKEY parameterKey);
std::vector<CRavString> TeamsOfTeamAgent();

std::vector<std::wstring> BareKeys();
std::vector<BareVlan> BareListing();
std::vector<std::wstring> BareParents(CRavCoreAgentPvtIntf& core);
// Whether nothing stands against one more VLAN of an adapter.
bool BareValidation(CRavCoreAgentPvtIntf& core, const std::wstring& parent, DWORD id, const wchar_t* name);
