#include "Bench/BareCalls.h"

#include <initguid.h>
#include <devguid.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr size_t LIST_CHARACTERS = 8192;
}

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

void SetNumber(HKEY key, const wchar_t* name, DWORD value)
{
    RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

void SetText(HKEY key, const wchar_t* name, const std::wstring& value)
{
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void SetList(HKEY key, const wchar_t* name, const std::vector<std::wstring>& values)
{
    std::wstring data;
    for (const std::wstring& value : values)
        data += value + L'\0';
    data += L'\0';
    RegSetValueExW(key, name, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(data.data()),
                   static_cast<DWORD>(data.size() * sizeof(wchar_t)));
}

std::vector<std::wstring> ListOf(HKEY key, const wchar_t* name)
{
    std::vector<wchar_t> data(LIST_CHARACTERS + 1);
    DWORD size = LIST_CHARACTERS * sizeof(wchar_t);
    RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
    std::vector<std::wstring> values;
    for (const wchar_t* cursor = data.data(); *cursor != L'\0'; cursor += wcslen(cursor) + 1)
        values.emplace_back(cursor);
    return values;
}

HKEY CreateKey(const wchar_t* path)
{
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    return key;
}
