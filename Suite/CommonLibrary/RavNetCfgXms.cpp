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

// Absent is as good as done; anything else that keeps a key shut is a failure.
bool OpenOrAbsent(CRavRegKey& key, const CRavString& path, bool write)
{
    if (key.Open(HKEY_LOCAL_MACHINE, path, write) || key.LastResult() == ERROR_FILE_NOT_FOUND)
        return true;
    RavTrace().Print(L"CRavNetCfgInterface::CleanUpAdapterFromXms - %s, error %d", path.c_str(), key.LastResult());
    return false;
}

// The parent gave its DHCP flag to the driver when it got its first VLAN.
bool GiveDhcpBack(const CRavString& adapter)
{
    CRavRegKey configuration;
    CRavRegKey tcpip;
    DWORD dhcp = 0;
    if (!OpenOrAbsent(configuration, Below(Below(DRIVER_PARAMETERS, CONFIGURATION), adapter), false))
        return false;
    if (configuration.GetRegType(ENABLE_DHCP) != REG_DWORD) // nothing that could be given back
        return configuration.LastResult() == ERROR_SUCCESS || configuration.LastResult() == ERROR_FILE_NOT_FOUND;
    if (!configuration.GetValue(ENABLE_DHCP, dhcp))
        return false;
    return OpenOrAbsent(tcpip, Below(TCPIP_INTERFACES, adapter), true) &&
           (!tcpip.IsOpened() || tcpip.SetValue(ENABLE_DHCP, dhcp));
}

bool DeleteDriverEntry(const wchar_t* kind, const CRavString& adapter)
{
    CRavRegKey entries;
    CRavRegKey entry;
    if (!OpenOrAbsent(entries, Below(DRIVER_PARAMETERS, kind), true) ||
        !OpenOrAbsent(entry, Below(Below(DRIVER_PARAMETERS, kind), adapter), false))
        return false;
    if (!entry.IsOpened())
        return true;
    entry.Close();
    return entries.DeleteSubKey(adapter);
}
} // namespace

// Bindings first: they are only prepared here, while what is deleted cannot come back.
int CRavNetCfgInterface::CleanUpAdapterFromXms(const CRavString& strAdapter, bool bRestoreBindings)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavNetCfgInterface::CleanUpAdapterFromXms", &status);
    if (IsLockedForWrite() && SUCCEEDED(RavGiveBindingsBack(*this, strAdapter, bRestoreBindings)))
        status = DeleteDriverEntries(strAdapter);
    return status;
}

int CRavNetCfgInterface::DeleteDriverEntries(const CRavString& strAdapter)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavNetCfgInterface::DeleteDriverEntries", &status);
    if (GiveDhcpBack(strAdapter) && DeleteDriverEntry(ADAPTERS, strAdapter) &&
        DeleteDriverEntry(CONFIGURATION, strAdapter))
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
