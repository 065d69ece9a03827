#include "Bench/BareCalls.h"

#include <initguid.h>
#include <devguid.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

std::wstring GuidOf(INetCfgComponent& component)
{
    GUID guid = {};
    wchar_t text[39] = {};
    component.GetInstanceGuid(&guid);
    StringFromGUID2(guid, text, 39);
    return text;
}

void WalkNetwork(INetCfg& netCfg, const std::function<bool(INetCfgComponent&)>& visit)
{
    ComPtr<INetCfgClass> networkClass;
    ComPtr<IEnumNetCfgComponent> components;
    netCfg.QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_INetCfgClass,
                            reinterpret_cast<void**>(networkClass.GetAddressOf()));
    networkClass->EnumComponents(&components);
    ComPtr<INetCfgComponent> component;
    ULONG fetched = 0;
    while (components->Next(1, component.ReleaseAndGetAddressOf(), &fetched) == S_OK && visit(*component.Get()))
    {
    }
}

DWORD NumberOf(HKEY key, const wchar_t* name)
{
    DWORD number = 0;
    DWORD size = sizeof(number);
    RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
    return number;
}

std::wstring TextOf(HKEY key, const wchar_t* name)
{
    wchar_t text[257] = {};
    DWORD size = sizeof(text) - sizeof(wchar_t);
    RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    return text;
}
