#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>
#include <netcfgx.h>
#include <wrl/client.h>

#include <string>
#include <unordered_map>
#include <vector>

// The network adapter components of one view of the network configuration. They are walked once, and no further than
// it takes to find what is asked for. Good until the view ends. Used by one thread.
class CRavComponentIndex
{
  public:
    // The component with the instance GUID; null and S_FALSE when there is none.
    HRESULT Find(INetCfg& netCfg, const CRavString& guid, Microsoft::WRL::ComPtr<INetCfgComponent>& component);
    // The instance GUIDs of all components, in the order of the class. S_FALSE when they need not be all: the walk
    // broke off, or a component does not tell its GUID.
    HRESULT List(INetCfg& netCfg, std::vector<CRavString>& guids);
    // A component that was installed, or removed, since the walk.
    void Add(const CRavString& guid, INetCfgComponent& component);
    void Remove(const CRavString& guid);
    void Clear();

  private:
    HRESULT Start(INetCfg& netCfg);
    HRESULT Advance(INetCfg& netCfg);
    void Take(const CRavString& guid, INetCfgComponent& component);

    Microsoft::WRL::ComPtr<IEnumNetCfgComponent> m_walk;
    bool m_complete = false;
    bool m_unnamed = false; // the walk has met a component that does not tell its GUID
    std::vector<CRavString> m_order;
    std::unordered_map<std::wstring, Microsoft::WRL::ComPtr<INetCfgComponent>> m_components; // by GUID in upper case
};
