#include "Suite/Lab/NetCfg/ClassInstallParams.h"
#include "Suite/Lab/NetCfg/ComObject.h"
#include "Suite/Lab/NetCfg/NetComponents.h"

#include <cfg.h>

namespace
{

/// What a change of state does to a device that was not disabled, and to a disabled one.
struct STATE_CHANGE
{
    DWORD iState;
    bool bStops;
    bool bStarts;
    DWORD iProblem;
    bool bDisabledToo;
};

constexpr STATE_CHANGE stateChanges[] = {
    {DICS_STOP, true, false, CM_PROB_FAILED_ADD, false},
    {DICS_START, false, true, 0, false},
    {DICS_PROPCHANGE, true, true, 0, false},
    {DICS_DISABLE, true, false, CM_PROB_DISABLED, false},
    {DICS_ENABLE, false, true, 0, true},
};

const STATE_CHANGE* findChange(DWORD state)
{
    for (const STATE_CHANGE& change : stateChanges)
    {
        if (change.iState == state)
            return &change;
    }
    return nullptr;
}

/// The device's driver key; not open when it has none.
CRegistryKey driverKey(HDEVINFO set, SP_DEVINFO_DATA* device)
{
    CRegistryKey key;
    wchar_t driver[128] = {};
    if (SetupDiGetDeviceRegistryPropertyW(set, device, SPDRP_DRIVER, nullptr, reinterpret_cast<BYTE*>(driver),
                                          sizeof(driver) - sizeof(wchar_t), nullptr))
        key.Open(std::wstring(L"SYSTEM\\CurrentControlSet\\Control\\Class\\") + driver);
    return key;
}

/// A driver reads its values when it starts, and works with them until it does again.
LSTATUS noteValues(CRegistryKey& state, const CRegistryKey& driver)
{
    const LSTATUS status = state.SetNumber(LAB_WORKS_WITH_ID, driver.Number(XmsValue::VlanId).value_or(0));
    const std::wstring jumbo = driver.Text(L"*JumboPacket").value_or(driver.Text(L"MaxFrameSize").value_or(L"0"));
    return status != ERROR_SUCCESS ? status
                                   : state.SetNumber(LAB_WORKS_WITH_JUMBO, wcstoul(jumbo.c_str(), nullptr, 10));
}

LSTATUS count(CRegistryKey& key, const wchar_t* name, bool happened)
{
    return happened ? key.SetNumber(name, key.Number(name).value_or(0) + 1) : ERROR_SUCCESS;
}

// What tells the caller that the change takes effect with the next start of the system only.
DWORD askForRestart(HDEVINFO set, SP_DEVINFO_DATA* device)
{
    SP_DEVINSTALL_PARAMS_W params{};
    params.cbSize = sizeof(params);
    if (!SetupDiGetDeviceInstallParamsW(set, device, &params))
        return GetLastError();
    params.Flags |= DI_NEEDREBOOT;
    return SetupDiSetDeviceInstallParamsW(set, device, &params) ? NO_ERROR : GetLastError();
}

DWORD record(HDEVINFO set, SP_DEVINFO_DATA* device, const CRegistryKey& driver, const STATE_CHANGE& change)
{
    CRegistryKey key;
    const std::wstring guid = driver.IsOpen() ? driver.Text(L"NetCfgInstanceId").value_or(std::wstring()) : L"";
    if (guid.empty())
        return ERROR_NO_SUCH_DEVINST;
    LSTATUS status = key.Create(std::wstring(LAB_DEVICES) + L'\\' + guid);
    if (status != ERROR_SUCCESS)
        return status;
    if (key.Number(L"Problem").value_or(0) == CM_PROB_DISABLED && !change.bDisabledToo)
        return NO_ERROR;
    status = count(key, L"Stops", change.bStops);
    if (status == ERROR_SUCCESS)
        status = count(key, L"Starts", change.bStarts);
    if (status == ERROR_SUCCESS)
        status = key.SetNumber(L"Problem", change.iProblem);
    if (status == ERROR_SUCCESS && change.bStarts)
        status = noteValues(key, driver);
    if (status == ERROR_SUCCESS && key.Number(LAB_REBOOT_NEEDED).value_or(0) != 0)
        status = static_cast<LSTATUS>(askForRestart(set, device));
    return status;
}

DWORD changeProperty(HDEVINFO set, SP_DEVINFO_DATA* device)
{
    SP_PROPCHANGE_PARAMS params{};
    params.ClassInstallHeader.cbSize = sizeof(params.ClassInstallHeader);
    if (!SetupDiGetClassInstallParamsW(set, device, &params.ClassInstallHeader, sizeof(params), nullptr))
        return GetLastError();
    const STATE_CHANGE* change = findChange(params.StateChange);
    if (params.ClassInstallHeader.InstallFunction != DIF_PROPERTYCHANGE || change == nullptr)
        return ERROR_INVALID_PARAMETER;
    return record(set, device, driverKey(set, device), *change);
}

} // namespace

/// The network class installer. A change of a device's state is recorded as the device's state; everything else is
/// left to the default.
extern "C" DWORD WINAPI NetClassInstaller(DI_FUNCTION function, HDEVINFO set, PSP_DEVINFO_DATA device)
{
    DWORD result = ERROR_DI_DO_DEFAULT;
    const HRESULT outcome = Guarded([&] {
        SupplyClassInstallParams();
        if (function == DIF_PROPERTYCHANGE)
            result = device == nullptr ? ERROR_INVALID_PARAMETER : changeProperty(set, device);
        else if (function == DIF_DESTROYPRIVATEDATA)
            ForgetClassInstallParams(set, device);
        return S_OK;
    });
    return FAILED(outcome) ? ERROR_NOT_ENOUGH_MEMORY : result;
}
