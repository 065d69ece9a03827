#pragma once
// What the floors share: calls of the platform with nothing around them. Failures are not looked at; that a floor did
// its work shows when its outcome is compared with ours.

#include <netcfgx.h>
#include <windows.h>

#include <functional>
#include <string>

std::wstring GuidOf(INetCfgComponent& component);
// One pass over the network class until visit answers false.
void WalkNetwork(INetCfg& netCfg, const std::function<bool(INetCfgComponent&)>& visit);

DWORD NumberOf(HKEY key, const wchar_t* name);
// At most 256 characters.
std::wstring TextOf(HKEY key, const wchar_t* name);
