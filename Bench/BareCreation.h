#pragma once

#include "Bench/BenchHost.h"
#include "Common/Intf/RavCoreAgentPvtIntf.h"

#include <windows.h>

#include <string>
#include <vector>

class CBareParent;

// Creates tagged VLANs over the bench's parent by bare calls, under one write lock: every value that the agent's
// creation leaves changed is written once, and read before only where it grows. The suite's lock and the restart of the
// parent are the core agent's work on both sides. Used once.
class CBareCreation
{
  public:
    CBareCreation(CRavCoreAgentPvtIntf& core, bool firstOfParent) : m_core(core), m_first(firstOfParent) {}
    // Their names are the prefix and the id.
    void Run(DWORD firstId, DWORD lastId, const wchar_t* prefix);

  private:
    void ReadParent(CBareParent& parent);
    void Install(CBareParent& parent, DWORD id, const std::wstring& name);
    void SetUpParent(const CBareParent& parent);
    void MoveDhcp(const CBareParent& parent);
    void BindParent(const CBareParent& parent);
    void Announce();
    void Restart();

    CRavCoreAgentPvtIntf& m_core;
    const bool m_first;
    std::wstring m_parentName;
    std::wstring m_address;
    DWORD m_group = 0;
    std::vector<std::wstring> m_newDevices; // device names of the new VLANs
    std::vector<std::wstring> m_nodes;      // and their device nodes
};
