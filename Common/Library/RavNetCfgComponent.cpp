#include "Common/Library/RavNetCfgComponent.h"

#include "Common/Src/RavDebug.h"
#include "Common/Library/NetCfgClasses.h"
#include "Common/Src/NetworkNames.h"

using Microsoft::WRL::ComPtr;

namespace
{
HRESULT QueryClassSetup(CRavNetCfgInterface& netCfg, ComPtr<INetCfgClassSetup>& setup)
{
    INetCfg* const configuration = netCfg.GetNetCfg();
    if (configuration == nullptr)
        return NETCFG_E_NOT_INITIALIZED;
    return configuration->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_INetCfgClassSetup,
                                           reinterpret_cast<void**>(setup.GetAddressOf()));
}

OBO_TOKEN OnBehalfOfUser()
{
    OBO_TOKEN token = {};
    token.Type = OBO_USER;
    return token;
}

// What the network configuration shows of an adapter, where its device keeps it.
bool FriendlyNameOf(const CRavString& device, CRavString& name)
{
    CRavRegKey key;
    return !device.IsEmpty() && key.Open(HKEY_LOCAL_MACHINE, CRavString(ENUM_KEY) + L"\\" + device, false) &&
           key.GetValue(NetworkValue::FriendlyName, name) && !name.IsEmpty();
}

// A component that others still refer to stays, though the call counts as a success.
bool DeInstall(CRavNetCfgInterface& netCfg, INetCfgClassSetup& setup, INetCfgComponent& component)
{
    OBO_TOKEN token = OnBehalfOfUser();
    CNetCfgText references;
    const HRESULT result = setup.DeInstall(&component, &token, references.Out());
    netCfg.NoteReboot(result);
    const bool done = SUCCEEDED(result) && result != NETCFG_S_STILL_REFERENCED;
    if (!done)
        RavTrace().Print(L"CRavNetCfgComponent: DeInstall fails, 0x%X, referenced by: %s", result, references.Get());
    return done;
}
} // namespace

int CRavNetCfgComponent::Failed(const wchar_t* operation, HRESULT hStatus) const
{
    RavTrace().Print(L"CRavNetCfgComponent::%s fails for %s, 0x%X", operation, m_strGuid.c_str(), hStatus);
    return -1;
}

HRESULT CRavNetCfgComponent::Find(CRavNetCfgInterface& netCfg, ComPtr<INetCfgComponent>& component) const
{
    const HRESULT status = netCfg.FindNetworkComponentByGUID(m_strGuid, component);
    return status == S_FALSE ? HRESULT_FROM_WIN32(ERROR_NOT_FOUND) : status;
}

int CRavNetCfgComponent::InstallVirtualComponent(CRavNetCfgInterface& netCfg, CRavString& strInstance)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavNetCfgComponent::InstallVirtualComponent", &status);
    ComPtr<INetCfgClassSetup> setup;
    HRESULT result = QueryClassSetup(netCfg, setup);
    ComPtr<INetCfgComponent> component;
    OBO_TOKEN token = OnBehalfOfUser();
    if (SUCCEEDED(result))
        result = setup->Install(RAV_XMS_MINIPORT_ID, &token, 0, 0, nullptr, nullptr, &component);
    netCfg.NoteReboot(result);
    if (FAILED(result) || !component)
    {
        RavTrace().Print(L"CRavNetCfgComponent::InstallVirtualComponent - Install fails, 0x%X", result);
        return status;
    }
    if (!RavGuidOf(*component.Get(), strInstance))
    {
        // Nobody could ever name it: it must not stay.
        RavTrace().Print(L"CRavNetCfgComponent::InstallVirtualComponent - the new miniport has no GUID");
        DeInstall(netCfg, *setup.Get(), *component.Get());
        return status;
    }
    netCfg.NoteInstalled(strInstance, *component.Get());
    m_strGuid = strInstance;
    m_strDevice.ClearString();
    status = 0;
    return status;
}

int CRavNetCfgComponent::RemoveVirtualComponent(CRavNetCfgInterface& netCfg, const CRavString& strInstance)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavNetCfgComponent::RemoveVirtualComponent", &status);
    ComPtr<INetCfgComponent> component;
    if (FAILED(netCfg.FindNetworkComponentByGUID(strInstance, component)) || !component)
    {
        RavTrace().Print(L"CRavNetCfgComponent::RemoveVirtualComponent - there is no %s", strInstance.c_str());
        return status;
    }
    // Whatever the key says: nothing but one of the driver's own miniports is ever removed.
    if (!RavHasComponentId(*component.Get(), RAV_XMS_MINIPORT_ID))
    {
        RavTrace().Print(L"CRavNetCfgComponent::RemoveVirtualComponent - %s is not a virtual miniport",
                         strInstance.c_str());
        return status;
    }
    ComPtr<INetCfgClassSetup> setup;
    const HRESULT result = QueryClassSetup(netCfg, setup);
    if (SUCCEEDED(result) && DeInstall(netCfg, *setup.Get(), *component.Get()))
    {
        netCfg.NoteRemoved(strInstance);
        status = 0;
    }
    else if (FAILED(result))
        RavTrace().Print(L"CRavNetCfgComponent::RemoveVirtualComponent - the class cannot be opened, 0x%X", result);
    return status;
}

int CRavNetCfgComponent::GetDescription(CRavNetCfgInterface& netCfg, CRavString& strDescription)
{
    if (FriendlyNameOf(m_strDevice, strDescription))
        return 0;
    ComPtr<INetCfgComponent> component;
    CNetCfgText text;
    HRESULT result = Find(netCfg, component);
    if (SUCCEEDED(result))
        result = component->GetDisplayName(text.Out());
    if (FAILED(result))
        return Failed(L"GetDescription", result);
    strDescription = text.Get();
    return 0;
}

int CRavNetCfgComponent::SetDisplayName(CRavNetCfgInterface& netCfg, const CRavString& strName)
{
    ComPtr<INetCfgComponent> component;
    HRESULT result = Find(netCfg, component);
    if (SUCCEEDED(result))
        result = component->SetDisplayName(strName);
    return SUCCEEDED(result) ? 0 : Failed(L"SetDisplayName", result);
}

int CRavNetCfgComponent::SetParameterValue(const CRavString& strClassPath, const CRavString& strName,
                                           const CRavString& strValue)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavNetCfgComponent::SetParameterValue", &status);
    CRavRegKey networkClass;
    networkClass.Open(HKEY_LOCAL_MACHINE, strClassPath, false);
    LONG reason = networkClass.LastResult();
    CRavString instance;
    while (networkClass.IsOpened() && networkClass.EnumSubKey(instance))
    {
        CRavString guid;
        if (!m_paramKey.Open(networkClass.GetHKey(), instance, true) ||
            !m_paramKey.GetValue(NetworkValue::NetCfgInstanceId, guid) || !guid.CompareI(m_strGuid))
            continue;
        if (m_paramKey.SetValue(strName, strValue, false))
            status = 0;
        reason = m_paramKey.LastResult();
        break;
    }
    m_paramKey.Close();
    if (status != 0)
        Failed(L"SetParameterValue", HRESULT_FROM_WIN32(reason != ERROR_SUCCESS ? reason : ERROR_NOT_FOUND));
    return status;
}
