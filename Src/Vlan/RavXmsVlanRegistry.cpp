// The keys of the VLAN format: finding and opening them.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Library/ParamKey.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavDriverEntry.h"

#include <netcfgx.h>
#include <initguid.h>
#include <devguid.h>
#include <wrl/client.h>

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanRegistry";

// Opens the instance key of the component with the GUID, through the thread's session where there is one; the routine's
// name stands in the trace.
HRESULT OpenInstanceKey(CRavNetCfgInterface* session, const wchar_t* routine, const CRavString& guid,
                        CRavKeyHandle& key)
{
    const auto failed = [&](CRavFormat<const wchar_t*> format, HRESULT status) {
        RavTrace().Print(format, routine);
        return FAILED(status) ? status : E_FAIL;
    };
    CRavNetCfgInterface own;
    CRavNetCfgInterface& netCfg = session != nullptr ? *session : own;
    HRESULT status = netCfg.IsReading() ? S_OK : netCfg.Initialize();
    if (FAILED(status) && netCfg.GetNetCfg() == nullptr)
        return failed(L"CRavXmsVlan::%s,CoCreateInstance fails -1", status);
    if (FAILED(status))
        return failed(L"CRavXmsVlan::%s, CRavNetCfgInterface::Initialize,m_pNetCfg->Initialize fails.Extng", status);
    ComPtr<INetCfgClass> networkClass;
    ComPtr<INetCfgComponent> component;
    status = netCfg.FindNetworkComponentByGUID(guid, component);
    if (FAILED(status))
    {
        // Which step it was: each has its line, and a walk that breaks off finds nothing.
        ComPtr<IEnumNetCfgComponent> walk;
        if (FAILED(netCfg.GetNetCfg()->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_INetCfgClass,
                                                        reinterpret_cast<void**>(networkClass.GetAddressOf()))))
            return failed(L"CRavXmsVlan::%s, pNetCfg->QueryNetCfgClass fails.", status);
        return FAILED(networkClass->EnumComponents(&walk))
                   ? failed(L"CRavXmsVlan::%s, pNetCfgClass->EnumComponents fails.", status)
                   : failed(L"CRavXmsVlan::%s, pComponent is NULL.", status);
    }
    if (!component)
        return failed(L"CRavXmsVlan::%s, pComponent is NULL.", HRESULT_FROM_WIN32(ERROR_NOT_FOUND));
    status = RavOpenParamKey(*component.Get(), key);
    if (FAILED(status))
        return failed(L"CRavXmsVlan::%s, pComponent->OpenParamKey fails.", status);
    RavTrace().Print(L"CRavXmsVlan::%s, key opened successfully. Returning...", routine);
    return S_OK;
}

// The same for a key whose path is known.
HRESULT OpenKnownKey(const wchar_t* routine, const CRavString& path, CRavKeyHandle& key)
{
    const LONG status = RavOpenKey(HKEY_LOCAL_MACHINE, path, KEY_ALL_ACCESS, key);
    if (status == ERROR_SUCCESS)
        RavTrace().Print(L"CRavXmsVlan::%s, key opened successfully. Returning...", routine);
    else
        RavTrace().Print(L"CRavXmsVlan::%s, error %d for %s", routine, status, path.c_str());
    return HRESULT_FROM_WIN32(status);
}

CRavKeyHandle OpenForAllAccess(const CRavString& path)
{
    CRavKeyHandle key;
    const LONG status = RavOpenKey(HKEY_LOCAL_MACHINE, path, KEY_ALL_ACCESS, key);
    if (status != ERROR_SUCCESS)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Open failed. err= %d path: %s", status, path.c_str());
    return key;
}
} // namespace

DWORD CRavXmsVlan::GetAdapterNumberFromAdapterID(const CRavString& strAdapter)
{
    int number = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::GetAdapterNumberFromAdapterID", &number);
    const CRavString path = RavDriverEntryPath(strAdapter);
    CRavRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, path, false))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Open failed. subkey_name= %s", path.c_str());
        return static_cast<DWORD>(number);
    }
    DWORD value = 0;
    if (key.GetValue(XmsValue::PhysicalAdapterId, value))
        number = static_cast<int>(value);
    else
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: QueryDWORDValue failed. subkey_name= %s", path.c_str());
    return static_cast<DWORD>(number);
}

// Instance 0000 is never reached this way: 0 stands for a number that was not set.
CRavKeyHandle CRavXmsVlan::OpenKeyForAdapterNumber(DWORD dwNumber)
{
    const CRavTraceScope trace(L"CRavXmsVlan::OpenKeyForAdapterNumber");
    if (dwNumber == 0 || dwNumber > MAX_INSTANCE)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Invalid program state.");
        return {};
    }
    CRavString instance;
    instance.FormatString(L"%04u", dwNumber);
    const CRavString path = RavName(RAV_NAME_NETWORK_CLASS_KEY) + L"\\" + instance;
    RavTrace().Print(L"num_str: %s", instance.c_str());
    RavTrace().Print(L"key_name= %s", path.c_str());
    return OpenForAllAccess(path);
}

CRavKeyHandle CRavXmsVlan::OpenoXMSKeyForAdapterID(const CRavString& strAdapter)
{
    const CRavTraceScope trace(L"CRavXmsVlan::OpenoXMSKeyForAdapterID");
    return OpenForAllAccess(RavDriverEntryPath(strAdapter));
}

bool CRavXmsVlan::OpenThisMiniportRegKey()
{
    bool done = m_ownKey.IsOpened();
    const CRavTraceScope trace(L"CRavXmsVlan::OpenThisMiniportRegKey", &done);
    if (done)
        return done;
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    ComPtr<INetCfgComponent> component;
    CRavKeyHandle key;
    done = netCfg != nullptr && SUCCEEDED(netCfg->FindNetworkComponentByGUID(m_strVlanNetCfgInstanceId, component)) &&
           component && SUCCEEDED(RavOpenParamKey(*component.Get(), key));
    if (done)
        m_ownKey.Adopt(std::move(key));
    else
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: OpenThisMiniportRegKey failed. guid: %s",
                         m_strVlanNetCfgInstanceId.c_str());
    return done;
}

HRESULT CRavXmsVlan::OpenClassKey(const wchar_t* routine, const CRavString& strGuid)
{
    if (strGuid.IsEmpty() && m_parentClassKey)
        return S_OK;
    CloseParentClassKey();
    return strGuid.IsEmpty() && !GetInstancePath().IsEmpty()
               ? OpenKnownKey(routine, GetInstancePath(), m_parentClassKey)
               : OpenInstanceKey(GetNetCfgInterface(), routine, strGuid.IsEmpty() ? m_strVlanKey : strGuid,
                                 m_parentClassKey);
}

HRESULT CRavXmsVlan::GetOOOKeyFromVk(const CRavString& strGuid)
{
    HRESULT status = E_FAIL;
    const CRavTraceScope trace(L"CRavXmsVlan::GetOOOKeyFromVk", &status);
    status = OpenClassKey(L"GetOOOKeyFromVk", strGuid);
    return status;
}

HKEY CRavXmsVlan::GetMyRegistryKey(const CRavString& strGuid)
{
    const CRavTraceScope trace(L"CRavXmsVlan::GetMyRegistryKey");
    return SUCCEEDED(OpenClassKey(L"GetMyRegistryKey", strGuid)) ? GetParentClassKey() : nullptr;
}

HRESULT CRavXmsVlan::GetParentOOOKey()
{
    HRESULT status = E_FAIL;
    const CRavTraceScope trace(L"CRavXmsVlan::GetParentOOOKey", &status);
    status = OpenKeyOf(m_strParentKey);
    return status;
}

// An empty GUID is refused here: GetOOOKeyFromVk would open this VLAN's own key for it.
HRESULT CRavXmsVlan::OpenKeyOf(const CRavString& strGuid, CRavKeyHandle& key)
{
    key.Close();
    if (strGuid.IsEmpty())
    {
        RavTrace().Print(L"CRavXmsVlan::GetOOOKeyFromVk, no adapter is named.");
        return E_INVALIDARG;
    }
    HRESULT status = E_FAIL;
    const CRavTraceScope trace(L"CRavXmsVlan::GetOOOKeyFromVk", &status);
    status = OpenInstanceKey(GetNetCfgInterface(), L"GetOOOKeyFromVk", strGuid, key);
    return status;
}

HRESULT CRavXmsVlan::OpenKeyOf(const CRavString& strGuid)
{
    return OpenKeyOf(strGuid, m_parentClassKey);
}

HKEY CRavXmsVlan::GetMyParentRegistryKey()
{
    const CRavTraceScope trace(L"CRavXmsVlan::GetMyParentRegistryKey");
    if (!m_strParentKey.IsEmpty())
        return GetMyRegistryKey(m_strParentKey);
    RavTrace().Print(L"CRavXmsVlan::GetMyParentRegistryKey, no parent is named.");
    return nullptr;
}

bool CRavXmsVlan::GetKeyStrForFirstAdapterFromVlanOnTeam(const CRavString& strVlanGuid, CRavString& strAdapter)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::GetKeyStrForFirstAdapterFromVlanOnTeam", &done);
    strAdapter.ClearString();
    const CRavString path = RavName(RAV_NAME_DRIVER_ADAPTERS_KEY);
    const CRavString device = CRavString(DEVICE_PREFIX) + strVlanGuid;
    CRavRegKey adapters;
    RavTrace().Print(L"Opening %s", path.c_str());
    if (!adapters.Open(HKEY_LOCAL_MACHINE, path, false))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Unable to open %s", path.c_str());
        return false;
    }
    done = true;
    CRavString name;
    while (adapters.EnumSubKey(name))
    {
        CRavRegKey adapter;
        const CRavString adapterPath = path + L"\\" + name;
        RavTrace().Print(L"Opening %s", adapterPath.c_str());
        if (!adapter.Open(HKEY_LOCAL_MACHINE, adapterPath, false))
        {
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Unable to open %s", adapterPath.c_str());
            continue;
        }
        std::vector<CRavString> bindings;
        if (!RavReadList(adapter, XmsValue::BindingList, bindings))
        {
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetVlaue for MULTI_SZ failed.");
            continue;
        }
        if (std::any_of(bindings.begin(), bindings.end(),
                        [&](const CRavString& binding) { return binding.CompareI(device); }))
        {
            RavTrace().Print(L"Match found: %s.", name.c_str());
            strAdapter = name;
            return true;
        }
    }
    return done;
}

void CRavXmsVlan::GetVlanNiidFrmPk(const CRavString& strParentGuid, CRavString& strVlanGuid, int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::GetVlanNiidFrmPk", &status);
    RavTrace().Print(L"Entering CRavXmsVlan::GetVlanNiidFrmPk");
    strVlanGuid.ClearString();
    const CRavString path = RavName(RAV_NAME_NETWORK_CLASS_KEY);
    CRavRegKey networkClass;
    networkClass.Open(HKEY_LOCAL_MACHINE, path, false);
    CRavString instance;
    while (networkClass.EnumSubKey(instance))
    {
        CRavRegKey key;
        CRavString parent;
        if (!key.Open(HKEY_LOCAL_MACHINE, path + L"\\" + instance, false) ||
            !key.GetValue(RavName(RAV_NAME_VLAN_PARENT_KEY), parent) || !(parent == strParentGuid))
            continue;
        if (!key.GetValue(RavName(RAV_NAME_NETCFG_INSTANCE_ID), strVlanGuid))
            break;
        status = 0;
        RavTrace().Print(L"Exitng CRavXmsVlan::GetVlanNiidFrmPk");
        return;
    }
    RavTrace().Print(L"Exitng CRavXmsVlan::GetVlanNiidFrmPk-2");
}
