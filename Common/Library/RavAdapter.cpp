#include "Common/Library/RavAdapter.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegValues.h"
#include "Common/Library/NetCfgClasses.h"
#include "Common/Library/RestartNote.h"
#include "Common/Src/NetworkNames.h"

#include <setupapi.h>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t HYPER_V_PROTOCOL_ID[] = L"vms_pp";
constexpr ULONG PROBLEM_DISABLED = 22; // CM_PROB_DISABLED

class DeviceList
{
  public:
    DeviceList() : m_list(SetupDiCreateDeviceInfoList(nullptr, nullptr)) {}
    ~DeviceList()
    {
        if (m_list != INVALID_HANDLE_VALUE)
            SetupDiDestroyDeviceInfoList(m_list);
    }
    DeviceList(const DeviceList&) = delete;
    DeviceList& operator=(const DeviceList&) = delete;
    HDEVINFO Get() const { return m_list; }

  private:
    HDEVINFO m_list;
};

// Traces and returns the failure of a call on a value of the driver key.
CResult Failed(const wchar_t* operation, const CRavString& name, LONG status)
{
    RavTrace().Print(L"CRavAdapter::%s - %s, error %d", operation, name.c_str(), status);
    return CResult(static_cast<DWORD>(status));
}

// The device of an adapter as its connection names it; empty when there is no such connection. This takes one read,
// where a search of the network configuration asks every component for its GUID.
CRavString DeviceOfConnection(const CRavString& guid)
{
    CRavString device;
    GUID parsed = {};
    if (SUCCEEDED(IIDFromString(guid, &parsed)))
        RavReadTextAt(CRavString(CONNECTIONS_KEY) + L"\\" + guid + L"\\Connection", L"PnpInstanceID", device);
    return device;
}

CRavString DeviceOfComponent(CRavNetCfgInterface& netCfg, const CRavString& guid)
{
    ComPtr<INetCfgComponent> component;
    CNetCfgText device;
    if (FAILED(netCfg.FindNetworkComponentByGUID(guid, component)) || !component ||
        FAILED(component->GetPnpDevNodeId(device.Out())))
        return CRavString();
    return device.Get();
}

// The path of the driver key as the device's own key names it ("{class}\0007" below the class root); empty unless that
// key belongs to the adapter.
CRavString DriverKeyOfDevice(const CRavString& device, const CRavString& guid)
{
    CRavString driver;
    CRavString owner;
    if (device.IsEmpty() || !RavReadTextAt(CRavString(ENUM_KEY) + L"\\" + device, L"Driver", driver) ||
        driver.IsEmpty())
        return CRavString();
    const CRavString path = CRavString(CLASSES_KEY) + L"\\" + driver;
    const bool owned = RavReadTextAt(path, NetworkValue::NetCfgInstanceId, owner) && owner.CompareI(guid);
    return owned ? path : CRavString();
}

CResult ChangeState(const CRavString& device, DWORD state, bool& reboot)
{
    const DeviceList list;
    SP_DEVINFO_DATA data = {};
    data.cbSize = sizeof(data);
    SP_PROPCHANGE_PARAMS change = {};
    change.ClassInstallHeader.cbSize = sizeof(change.ClassInstallHeader);
    change.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    change.StateChange = state;
    change.Scope = DICS_FLAG_CONFIGSPECIFIC;
    if (list.Get() == INVALID_HANDLE_VALUE || !SetupDiOpenDeviceInfoW(list.Get(), device, nullptr, 0, &data) ||
        !SetupDiSetClassInstallParamsW(list.Get(), &data, &change.ClassInstallHeader, sizeof(change)) ||
        !SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, list.Get(), &data))
    {
        const DWORD error = GetLastError();
        RavTrace().Print(L"CRavAdapter::ReloadDevice - %s, error 0x%X", device.c_str(), error);
        return CResult(error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE);
    }
    SP_DEVINSTALL_PARAMS_W parameters = {};
    parameters.cbSize = sizeof(parameters);
    if (SetupDiGetDeviceInstallParamsW(list.Get(), &data, &parameters) &&
        (parameters.Flags & (DI_NEEDREBOOT | DI_NEEDRESTART)) != 0)
    {
        reboot = true;
        RavNoteRestart();
    }
    return CResult::Success();
}
} // namespace

RAV_LOAD_STATUS RavLoadStatusOf(INetCfgComponent& component, ULONG* pProblem)
{
    ULONG problem = 0;
    const HRESULT status = component.GetDeviceStatus(&problem);
    if (FAILED(status))
    {
        RavTrace().Print(L"RavLoadStatusOf - GetDeviceStatus fails, 0x%X", status);
        return RAV_LOAD_STATUS_UNKNOWN;
    }
    if (pProblem != nullptr)
        *pProblem = problem;
    return problem == 0                  ? RAV_LOAD_STATUS_LOADED
           : problem == PROBLEM_DISABLED ? RAV_LOAD_STATUS_DISABLED
                                         : RAV_LOAD_STATUS_NOT_LOADED;
}

CRavAdapter::CRavAdapter(const CRavString& strInstance) : m_strInstance(strInstance) {}

CRavAdapter::~CRavAdapter() = default;

CResult CRavAdapter::Initialize(CRavNetCfgInterface& netCfg)
{
    CResult result;
    const CRavTraceScope trace(L"CRavAdapter::Initialize", &result);
    if (CreateNetCfgComponentObj(netCfg))
        result = CResult::Success();
    return result;
}

void CRavAdapter::SetMiniportInstance(const CRavString& strInstance)
{
    m_strInstance = strInstance;
    m_strInstancePath.ClearString();
    m_strDevice.ClearString();
    m_pNetCfgComponent.reset();
    m_pMiniportReg.reset();
    m_pMiniportDrv.reset();
}

bool CRavAdapter::CreateNetCfgComponentObj(CRavNetCfgInterface& netCfg)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavAdapter::CreateNetCfgComponentObj", &done);
    SetMiniportInstance(m_strInstance);
    CRavString device = DeviceOfConnection(m_strInstance);
    CRavString path = DriverKeyOfDevice(device, m_strInstance);
    if (path.IsEmpty())
    {
        device = DeviceOfComponent(netCfg, m_strInstance);
        path = DriverKeyOfDevice(device, m_strInstance);
    }
    if (path.IsEmpty())
    {
        RavTrace().Print(L"CRavAdapter::CreateNetCfgComponentObj - there is no adapter %s with a driver key",
                         m_strInstance.c_str());
        return false;
    }
    m_strDevice = device;
    m_strInstancePath = path;
    m_pNetCfgComponent = std::make_unique<CRavNetCfgComponent>(m_strInstance, device);
    m_pMiniportReg = std::make_unique<CRavMiniportReg>(m_strInstancePath);
    m_pMiniportDrv = std::make_unique<CRavMiniportDrv>(m_strInstance);
    done = true;
    return done;
}

CResult CRavAdapter::GetParameter(RAV_PARAMETER& parameter)
{
    CRavRegKey key;
    if (m_strInstancePath.IsEmpty() || !key.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, false))
        return Unopened(L"GetParameter", key);
    parameter.dwType = key.GetRegType(parameter.strName);
    bool done = false;
    switch (parameter.dwType)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        done = key.GetValue(parameter.strName, parameter.strValue);
        break;
    case REG_DWORD:
        done = key.GetValue(parameter.strName, parameter.dwValue);
        break;
    case REG_MULTI_SZ:
        done = key.GetValue(parameter.strName, parameter.values);
        break;
    default:
        break;
    }
    if (done)
        return CResult::Success();
    return Failed(L"GetParameter", parameter.strName,
                  key.LastResult() != ERROR_SUCCESS ? key.LastResult() : ERROR_INVALID_DATA);
}

CResult CRavAdapter::SetParameter(const RAV_PARAMETER& parameter)
{
    CRavRegKey key;
    if (m_strInstancePath.IsEmpty() || !key.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, true))
        return Unopened(L"SetParameter", key);
    switch (parameter.dwType)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        key.SetValue(parameter.strName, parameter.strValue, parameter.dwType == REG_EXPAND_SZ);
        break;
    case REG_DWORD:
        key.SetValue(parameter.strName, parameter.dwValue);
        break;
    case REG_MULTI_SZ:
        key.SetValue(parameter.strName, parameter.values);
        break;
    default:
        return Failed(L"SetParameter", parameter.strName, ERROR_INVALID_PARAMETER);
    }
    return key.LastResult() == ERROR_SUCCESS ? CResult::Success()
                                             : Failed(L"SetParameter", parameter.strName, key.LastResult());
}

CResult CRavAdapter::Unopened(const wchar_t* operation, const CRavRegKey& key) const
{
    RavTrace().Print(L"CRavAdapter::%s - the driver key of %s is not to be had, error %d", operation,
                     m_strInstance.c_str(), key.LastResult());
    return CResult();
}

DWORD CRavAdapter::GetLoadStatus(CRavNetCfgInterface& netCfg)
{
    ComPtr<INetCfgComponent> component;
    const HRESULT status = netCfg.FindNetworkComponentByGUID(m_strInstance, component);
    if (SUCCEEDED(status) && component)
        return RavLoadStatusOf(*component.Get());
    RavTrace().Print(L"CRavAdapter::GetLoadStatus - %s, 0x%X", m_strInstance.c_str(), status);
    return RAV_LOAD_STATUS_UNKNOWN;
}

bool CRavAdapter::IsDriverLoaded(CRavNetCfgInterface& netCfg)
{
    return GetLoadStatus(netCfg) == RAV_LOAD_STATUS_LOADED;
}

CResult CRavAdapter::IsHyperV_EnabledOnDevice(CRavNetCfgInterface& netCfg, bool& bEnabled)
{
    CResult result;
    const CRavTraceScope trace(L"CRavAdapter::IsHyperV_EnabledOnDevice", &result);
    bEnabled = false;
    ComPtr<INetCfgComponent> hyperV;
    ComPtr<INetCfgComponent> adapter;
    ComPtr<INetCfgComponentBindings> bindings;
    HRESULT status = netCfg.FindComponentById(HYPER_V_PROTOCOL_ID, hyperV);
    if (SUCCEEDED(status))
        status = netCfg.FindNetworkComponentByGUID(m_strInstance, adapter);
    if (SUCCEEDED(status) && adapter && hyperV && SUCCEEDED(status = hyperV.As(&bindings)))
    {
        status = bindings->IsBoundTo(adapter.Get());
        bEnabled = status == S_OK;
    }
    if (SUCCEEDED(status) && adapter)
        result = CResult::Success(); // without the protocol nothing is bound
    else
        RavTrace().Print(L"CRavAdapter::IsHyperV_EnabledOnDevice - %s, 0x%X", m_strInstance.c_str(), status);
    return result;
}

CResult CRavAdapter::ReloadDevice(bool bLoad, bool& bReboot)
{
    CResult result;
    const CRavTraceScope trace(L"CRavAdapter::ReloadDevice", &result);
    if (!m_strDevice.IsEmpty())
        result = ChangeState(m_strDevice, bLoad ? DICS_START : DICS_STOP, bReboot);
    else
        RavTrace().Print(L"CRavAdapter::ReloadDevice - the device of %s is not known", m_strInstance.c_str());
    return result;
}
