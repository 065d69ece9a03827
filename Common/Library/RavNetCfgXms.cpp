// What a network configuration session knows and changes of the intermediate driver.

#include "Common/Library/ParamKey.h"
#include "Common/Library/RavNetCfgInterface.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Library/NetCfgClasses.h"
#include "Common/Library/XmsBindings.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/XmsNames.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t ADAPTERS[] = L"Adapters";
constexpr wchar_t CONFIGURATION[] = L"Configuration";

// Traces why a routine fails.
void Trace(const wchar_t* routine, const CRavString& what, LONG status)
{
    RavTrace().Print(L"CRavNetCfgInterface::%s - %s, error %d", routine, what.c_str(), status);
}

CRavString Below(const wchar_t* path, const wchar_t* name)
{
    return CRavString(path) + L"\\" + name;
}

// True also when the key does not exist: then there is nothing to clean up. A key that cannot be opened for another
// reason is a failure.
bool OpenOrAbsent(CRavRegKey& key, const CRavString& path, bool write)
{
    if (key.Open(HKEY_LOCAL_MACHINE, path, write) || key.LastResult() == ERROR_FILE_NOT_FOUND)
        return true;
    Trace(L"CleanUpAdapterFromXms", path, key.LastResult());
    return false;
}

// When the adapter got its first VLAN its DHCP flag was moved to the driver's configuration key. Moves it back.
bool GiveDhcpBack(const CRavString& adapter)
{
    CRavRegKey configuration;
    CRavRegKey tcpip;
    DWORD dhcp = 0;
    if (!OpenOrAbsent(configuration, Below(XMS_CONFIGURATION_KEY, adapter), false))
        return false;
    const bool isNumber = configuration.GetRegType(NetworkValue::EnableDhcp) == REG_DWORD;
    if (!isNumber &&
        (configuration.LastResult() == ERROR_SUCCESS || configuration.LastResult() == ERROR_FILE_NOT_FOUND))
        return true; // nothing that could be given back
    if (!isNumber || !configuration.GetValue(NetworkValue::EnableDhcp, dhcp))
    {
        Trace(L"CleanUpAdapterFromXms", NetworkValue::EnableDhcp, configuration.LastResult());
        return false;
    }
    if (!OpenOrAbsent(tcpip, Below(TCPIP_INTERFACES_KEY, adapter), true))
        return false;
    const bool done = !tcpip.IsOpened() || tcpip.SetValue(NetworkValue::EnableDhcp, dhcp);
    if (!done)
        Trace(L"CleanUpAdapterFromXms", NetworkValue::EnableDhcp, tcpip.LastResult());
    return done;
}

bool DeleteDriverEntry(const wchar_t* kind, const CRavString& adapter)
{
    CRavRegKey entries;
    CRavRegKey entry;
    if (!OpenOrAbsent(entries, Below(XMS_PARAMETERS_KEY, kind), true) ||
        !OpenOrAbsent(entry, Below(Below(XMS_PARAMETERS_KEY, kind), adapter), false))
        return false;
    if (!entry.IsOpened())
        return true;
    entry.Close();
    const bool done = entries.DeleteSubKey(adapter);
    if (!done)
        RavTrace().Print(L"CRavNetCfgInterface::CleanUpAdapterFromXms - %s\\%s cannot be deleted", kind,
                         adapter.c_str());
    return done;
}
} // namespace

// Bindings first: they are only applied when the lock is released, so that a clean-up that fails here can be repeated,
// while deleted keys do not come back.
int CRavNetCfgInterface::CleanUpAdapterFromXms(const CRavString& strAdapter, bool bRestoreBindings)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavNetCfgInterface::CleanUpAdapterFromXms", &status);
    if (!IsLockedForWrite())
        RavTrace().Print(L"CRavNetCfgInterface::CleanUpAdapterFromXms - the write lock is not held");
    else if (SUCCEEDED(RavGiveBindingsBack(*this, strAdapter,
                                           bRestoreBindings ? RavProtocols::Restore : RavProtocols::LeaveOff)))
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
    if (!adapters.Open(HKEY_LOCAL_MACHINE, XMS_ADAPTERS_KEY, false))
    {
        if (adapters.LastResult() == ERROR_FILE_NOT_FOUND)
            return status;
        Trace(L"EnumerateMemberAdapters", ADAPTERS, adapters.LastResult());
        status = HRESULT_FROM_WIN32(static_cast<DWORD>(adapters.LastResult()));
        return status;
    }
    const CRavString device = CRavString(DEVICE_PREFIX) + strTeam;
    CRavString name;
    while (adapters.EnumSubKey(name))
    {
        CRavRegKey adapter;
        if (adapter.Open(adapters.GetHKey(), name, false) &&
            adapter.IsValueInMultiString(XmsValue::BindingList, device))
            members.push_back(name);
    }
    return status;
}

HRESULT CRavNetCfgInterface::GetTeamMode(const CRavString& strTeam, DWORD& dwMode)
{
    HRESULT status = S_OK;
    const CRavTraceScope trace(L"CRavNetCfgInterface::GetTeamMode", &status);
    ComPtr<INetCfgComponent> team;
    CRavKeyHandle handle;
    status = FindNetworkComponentByGUID(strTeam, team);
    if (SUCCEEDED(status))
        status = team ? RavOpenParamKey(*team.Get(), handle) : HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    if (SUCCEEDED(status))
    {
        CRavRegKey key(std::move(handle));
        if (!key.GetValue(XmsValue::TeamMode, dwMode))
            status = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    if (FAILED(status))
        RavTrace().Print(L"CRavNetCfgInterface::GetTeamMode - %s, 0x%X", strTeam.c_str(), status);
    return status;
}
