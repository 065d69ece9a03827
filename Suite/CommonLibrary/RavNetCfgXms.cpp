// What a network configuration session knows and changes of the intermediate driver.

#include "Common/Intf/RavNetCfgInterface.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Suite/CommonLibrary/NetCfgClasses.h"
#include "Suite/CommonLibrary/XmsBindings.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t DRIVER_PARAMETERS[] = L"SYSTEM\\CurrentControlSet\\Services\\oXMSProtocol\\Parameters";
constexpr wchar_t TCPIP_INTERFACES[] = L"SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters\\Interfaces";
constexpr wchar_t ADAPTERS[] = L"Adapters";
constexpr wchar_t CONFIGURATION[] = L"Configuration";
constexpr wchar_t ENABLE_DHCP[] = L"EnableDHCP";

CRavString Below(const wchar_t* path, const wchar_t* name)
{
    return CRavString(path) + L"\\" + name;
}

// The parent gave its DHCP flag to the driver when it got its first VLAN.
bool GiveDhcpBack(const CRavString& adapter)
{
    CRavRegKey configuration;
    CRavRegKey tcpip;
    DWORD dhcp = 0;
    if (!configuration.Open(HKEY_LOCAL_MACHINE, Below(Below(DRIVER_PARAMETERS, CONFIGURATION), adapter), false) ||
        !configuration.GetValue(ENABLE_DHCP, dhcp))
        return true;
    return !tcpip.Open(HKEY_LOCAL_MACHINE, Below(TCPIP_INTERFACES, adapter), true) || tcpip.SetValue(ENABLE_DHCP, dhcp);
}

bool DeleteDriverEntry(const wchar_t* kind, const CRavString& adapter)
{
    CRavRegKey entries;
    if (!entries.Open(HKEY_LOCAL_MACHINE, Below(DRIVER_PARAMETERS, kind), true) || !entries.SubKeyExists(adapter))
        return true;
    return entries.DeleteSubKey(adapter);
}
} // namespace

int CRavNetCfgInterface::CleanUpAdapterFromXms(const CRavString& strAdapter, bool bRestoreBindings)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavNetCfgInterface::CleanUpAdapterFromXms", &status);
    if (!IsLockedForWrite() || !GiveDhcpBack(strAdapter) || !DeleteDriverEntry(ADAPTERS, strAdapter) ||
        !DeleteDriverEntry(CONFIGURATION, strAdapter))
        return status;
    ComPtr<INetCfgComponent> adapter;
    if (FAILED(FindNetworkComponentByGUID(strAdapter, adapter)))
        return status;
    if (!adapter || (SUCCEEDED(RavBindXms(*this, *adapter.Get(), false)) &&
                     (!bRestoreBindings || SUCCEEDED(RavBindOtherProtocols(*this, *adapter.Get(), true)))))
        status = 0;
    return status;
}

HRESULT CRavNetCfgInterface::EnumerateMemberAdapters(const CRavString& strTeam, std::vector<CRavString>& members)
{
    HRESULT status = S_OK;
    const CRavTraceScope trace(L"CRavNetCfgInterface::EnumerateMemberAdapters", &status);
    members.clear();
    CRavRegKey adapters;
    if (!adapters.Open(HKEY_LOCAL_MACHINE, Below(DRIVER_PARAMETERS, ADAPTERS), false))
    {
        if (adapters.LastResult() != ERROR_FILE_NOT_FOUND)
            status = HRESULT_FROM_WIN32(static_cast<DWORD>(adapters.LastResult()));
        return status;
    }
    const CRavString device = CRavString(L"\\Device\\") + strTeam;
    CRavString name;
    while (adapters.EnumSubKey(name))
    {
        CRavRegKey adapter;
        if (adapter.Open(adapters.GetHKey(), name, false) &&
            adapter.IsValueInMultiString(L"MiniportBindingList", device))
            members.push_back(name);
    }
    return status;
}

HRESULT CRavNetCfgInterface::GetTeamMode(const CRavString& strTeam, DWORD& dwMode)
{
    HRESULT status = S_OK;
    const CRavTraceScope trace(L"CRavNetCfgInterface::GetTeamMode", &status);
    ComPtr<INetCfgComponent> team;
    status = FindNetworkComponentByGUID(strTeam, team);
    if (FAILED(status))
        return status;
    HKEY handle = nullptr;
    status = team ? team->OpenParamKey(&handle) : HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    if (FAILED(status))
        return status;
    CRavRegKey key(handle);
    if (!key.GetValue(L"TeamMode", dwMode))
        status = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    return status;
}
