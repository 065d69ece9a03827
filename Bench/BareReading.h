#pragma once

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Src/RavVlanTypes.h"

#include <string>
#include <vector>

// Reading by bare calls: each is one walk over the network class, with just the reads that fill its answer. What the
// core agent and the team agent are asked is the same as the agent asks them.

struct BareVlan
{
    RAV_VLAN_INFO info;
    std::wstring parent;
};

std::vector<std::wstring> BareKeys();
std::vector<BareVlan> BareListing();
std::vector<std::wstring> BareParents(CRavCoreAgentPvtIntf& core);
// Whether nothing stands against one more VLAN of an adapter.
bool BareValidation(CRavCoreAgentPvtIntf& core, const std::wstring& parent, DWORD id, const wchar_t* name);
