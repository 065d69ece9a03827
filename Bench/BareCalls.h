#pragma once
// What the floors share: calls of the platform with nothing around them. Failures are not looked at; that a floor did
// its work shows when its outcome is compared with ours.

#include <netcfgx.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

std::wstring GuidOf(INetCfgComponent& component);
// One pass over the network class until visit answers false.
void WalkNetwork(INetCfg& netCfg, const std::function<bool(INetCfgComponent&)>& visit);

DWORD NumberOf(HKEY key, const wchar_t* name);
// At most 256 characters.
std::wstring TextOf(HKEY key, const wchar_t* name);
// At most 8192 characters.
std::vector<std::wstring> ListOf(HKEY key, const wchar_t* name);
void SetNumber(HKEY key, const wchar_t* name, DWORD value);
void SetText(HKEY key, const wchar_t* name, const std::wstring& value);
void SetList(HKEY key, const wchar_t* name, const std::vector<std::wstring>& values);
// Below HKEY_LOCAL_MACHINE.
HKEY CreateKey(const wchar_t* path);
