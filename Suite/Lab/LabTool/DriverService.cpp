#include "Suite/Lab/LabTool/DriverService.h"

#include "Common/Src/ServiceHandle.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/LabTool/LabCommands.h"

#include <windows.h>

#include <string>

namespace
{
constexpr wchar_t DRIVER_IMAGE[] = L"oXMSProtocol.sys";
constexpr wchar_t DRIVER_DEVICE[] = L"\\\\.\\oXMSProtocol";
constexpr int ATTEMPTS = 50;
constexpr DWORD PAUSE_MILLISECONDS = 200;

// Tries until the attempt gives ERROR_SUCCESS: the service manager, or the driver, may still be on its way up or down.
template <typename Attempt>
DWORD Persist(Attempt&& attempt)
{
    DWORD error = attempt();
    for (int count = 1; error != ERROR_SUCCESS && count < ATTEMPTS; ++count)
    {
        Sleep(PAUSE_MILLISECONDS);
        error = attempt();
    }
    return error;
}

SC_HANDLE CreateOrOpenService(SC_HANDLE manager)
{
    const CRavString image = ProgramFolder() + L"\\" + DRIVER_IMAGE;
    SC_HANDLE service =
        CreateServiceW(manager, XMS_SERVICE, L"Corvo intermediate driver", SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER,
                       SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, image, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (service != nullptr || GetLastError() != ERROR_SERVICE_EXISTS)
        return service;
    service = OpenServiceW(manager, XMS_SERVICE, SERVICE_ALL_ACCESS);
    // It may be another build's.
    if (service != nullptr)
        ChangeServiceConfigW(service, SERVICE_NO_CHANGE, SERVICE_AUTO_START, SERVICE_NO_CHANGE, image, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr);
    return service;
}

// Started is what answers, whatever the service manager makes of it.
DWORD OpenDevice()
{
    const HANDLE device = CreateFileW(DRIVER_DEVICE, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (device == INVALID_HANDLE_VALUE)
        return GetLastError();
    CloseHandle(device);
    return ERROR_SUCCESS;
}

DWORD TryToStart()
{
    const CRavServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const CRavServiceHandle service(manager.Get() != nullptr ? CreateOrOpenService(manager.Get()) : nullptr);
    if (service.Get() == nullptr ||
        (!StartServiceW(service.Get(), 0, nullptr) && GetLastError() != ERROR_SERVICE_ALREADY_RUNNING))
        return GetLastError();
    return OpenDevice();
}

// Stopped is what says so, not what has taken the request.
DWORD TryToStop()
{
    const CRavServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const CRavServiceHandle service(
        manager.Get() != nullptr ? OpenServiceW(manager.Get(), XMS_SERVICE, SERVICE_ALL_ACCESS) : nullptr);
    if (service.Get() == nullptr)
        return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? ERROR_SUCCESS : GetLastError();
    if (!ChangeServiceConfigW(service.Get(), SERVICE_NO_CHANGE, SERVICE_DEMAND_START, SERVICE_NO_CHANGE, nullptr,
                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr))
        return GetLastError();
    SERVICE_STATUS status = {};
    if (!ControlService(service.Get(), SERVICE_CONTROL_STOP, &status) && GetLastError() != ERROR_SERVICE_NOT_ACTIVE)
        return GetLastError();
    if (!QueryServiceStatus(service.Get(), &status))
        return GetLastError();
    return status.dwCurrentState == SERVICE_STOPPED ? ERROR_SUCCESS : ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
}
} // namespace

// Deleted while any process holds it open, the service could not be made again until that one ends.
void StopDriver()
{
    const DWORD error = Persist(&TryToStop);
    if (error != ERROR_SUCCESS)
        throw DriverError("the driver cannot be stopped: error " + std::to_string(error));
}

void StartDriver()
{
    const DWORD error = Persist(&TryToStart);
    if (error != ERROR_SUCCESS)
        throw DriverError("the driver cannot be started: error " + std::to_string(error));
}
