#pragma once

#include "Bench/BenchHost.h"
#include "Common/Intf/RavCoreAgentPvtIntf.h"

#include <windows.h>

#include <string>
#include <vector>

class CBareParent;

// Removes tagged VLANs of the bench's parent by bare calls, under one write lock: every value that the agent's removal
// leaves changed is written once. The suite's lock and the restart of the parent are the core agent's work on both
// sides.
class CBareRemoval
{
  public:
    explicit CBareRemoval(CRavCoreAgentPvtIntf& core) : m_core(core) {}
    // lastOfParent: no other stays, and the parent becomes what it was before the first.
    void Run(const std::vector<std::wstring>& keys, bool lastOfParent);

  private:
    void ResetParent(CBareParent& parent);
    void GiveDhcpBack(const CBareParent& parent);

    CRavCoreAgentPvtIntf& m_core;
};
