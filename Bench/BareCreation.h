#pragma once

#include "Bench/BenchHost.h"
#include "Common/Intf/RavCoreAgentPvtIntf.h"

#include <netcfgx.h>
#include <windows.h>
#include <wrl/client.h>

#include <string>
#include <vector>

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
    using TEXTS = std::vector<std::wstring>;

    void Open();
    void ReadParent();
    void Install(DWORD id, const std::wstring& name);
    void WriteLists();
    void SetUpParent();
    void MoveDhcp();
    void BindParent();
    void Close();
    void Announce();
    void Restart();
    CRavString BelowKey(const CRavString& path) const { return path + L"\\" + m_parent; }

    CRavCoreAgentPvtIntf& m_core;
    const bool m_first;
    const CRavString m_parent = CBenchHost::Parent();
    std::wstring m_parentName;
    std::wstring m_address;
    DWORD m_group = 0;
    TEXTS m_ids;        // the parent's
    TEXTS m_devices;    // the parent's
    TEXTS m_newDevices; // device names of the new VLANs
    TEXTS m_nodes;      // and their device nodes
    Microsoft::WRL::ComPtr<INetCfg> m_netCfg;
    Microsoft::WRL::ComPtr<INetCfgLock> m_lock;
    Microsoft::WRL::ComPtr<INetCfgClassSetup> m_setup;
    Microsoft::WRL::ComPtr<INetCfgComponent> m_adapter;
    HKEY m_parentKey = nullptr;
    HKEY m_driverKey = nullptr;
};
