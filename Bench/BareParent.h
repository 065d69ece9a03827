#pragma once

#include "Bench/BenchHost.h"

#include <netcfgx.h>
#include <windows.h>
#include <wrl/client.h>

#include <functional>
#include <string>
#include <vector>

// The network configuration, open for writing from construction to Close, and in it the parent of the bench's VLANs:
// what the floors of creation and removal have in common.
class CBareParent
{
  public:
    // One walk over the network class finds the parent; visit is shown what is on the way, and answers whether it has
    // seen enough.
    explicit CBareParent(const std::function<bool(INetCfgComponent&)>& visit = [](INetCfgComponent&) { return true; });
    void Close();

    void ReadLists();
    void WriteLists();
    Microsoft::WRL::ComPtr<INetCfgComponentBindings> BindingsOf(const wchar_t* protocol) const;
    CRavString BelowKey(const CRavString& path) const { return path + L"\\" + CBenchHost::Parent(); }

    Microsoft::WRL::ComPtr<INetCfgClassSetup> setup;
    Microsoft::WRL::ComPtr<INetCfgComponent> adapter;
    HKEY key = nullptr;
    HKEY driverKey = nullptr;
    std::vector<std::wstring> ids;
    std::vector<std::wstring> devices;

  private:
    Microsoft::WRL::ComPtr<INetCfg> m_netCfg;
    Microsoft::WRL::ComPtr<INetCfgLock> m_lock;
};
