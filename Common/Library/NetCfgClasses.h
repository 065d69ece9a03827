#pragma once

#include "Common/Src/RavKey.h"
#include "Common/Src/RavString.h"
#include "Common/Src/XmsNames.h"

#include <windows.h>
#include <netcfgx.h>
#include <initguid.h>
#include <devguid.h>
#include <wrl/client.h>

// What the common library's files share of INetCfg.

// A string that INetCfg hands out.
class CNetCfgText
{
  public:
    CNetCfgText() = default;
    ~CNetCfgText() { CoTaskMemFree(m_text); }
    CNetCfgText(const CNetCfgText&) = delete;
    CNetCfgText& operator=(const CNetCfgText&) = delete;

    wchar_t** Out() { return &m_text; }
    const wchar_t* Get() const { return m_text != nullptr ? m_text : L""; }

  private:
    wchar_t* m_text = nullptr;
};

inline bool RavHasComponentId(INetCfgComponent& component, const wchar_t* id)
{
    CNetCfgText text;
    return SUCCEEDED(component.GetId(text.Out())) && _wcsicmp(text.Get(), id) == 0;
}

// The instance GUID as the network configuration writes it.
inline bool RavGuidOf(INetCfgComponent& component, CRavString& guid)
{
    GUID instance = {};
    if (FAILED(component.GetInstanceGuid(&instance)))
        return false;
    guid = RavGuidText(instance);
    return true;
}

// Begins a walk over the components of a class; a class without components may have none.
inline HRESULT RavStartWalk(INetCfg& netCfg, const GUID& componentClass,
                            Microsoft::WRL::ComPtr<IEnumNetCfgComponent>& walk)
{
    Microsoft::WRL::ComPtr<INetCfgClass> components;
    const HRESULT status =
        netCfg.QueryNetCfgClass(&componentClass, IID_INetCfgClass, reinterpret_cast<void**>(components.GetAddressOf()));
    return SUCCEEDED(status) ? components->EnumComponents(&walk) : status;
}

// Calls visit(component) for each component of a class until it answers false. A walk that cannot go on is a failure.
template <typename Visit>
HRESULT RavForEachComponent(INetCfg& netCfg, const GUID& componentClass, Visit&& visit)
{
    Microsoft::WRL::ComPtr<IEnumNetCfgComponent> walk;
    HRESULT status = RavStartWalk(netCfg, componentClass, walk);
    if (FAILED(status) || !walk)
        return FAILED(status) ? status : S_OK;
    Microsoft::WRL::ComPtr<INetCfgComponent> component;
    ULONG fetched = 0;
    while ((status = walk->Next(1, component.ReleaseAndGetAddressOf(), &fetched)) == S_OK)
    {
        if (component && !visit(*component.Get()))
            break;
    }
    return FAILED(status) ? status : S_OK;
}
