#include "Suite/Lab/LabTool/LabCommands.h"

#include "Common/Src/RavRegKey.h"
#include "Common/Src/ServiceHandle.h"
#include "Suite/Lab/State/LabNames.h"

#include <windows.h>

#include <cstring>
#include <functional>

namespace
{
constexpr wchar_t DRIVER_SERVICE[] = L"oXMSProtocol";
constexpr int START_ATTEMPTS = 50;
constexpr DWORD START_PAUSE_MILLISECONDS = 200;
constexpr wchar_t APP_DEFAULTS[] = L"Software\\Wine\\AppDefaults";
constexpr const wchar_t* PROGRAMS[] = {L"vlanctl.exe", L"bench.exe"};

class Server
{
  public:
    Server() : m_module(LoadLibraryW(ProgramFolder() + L"\\NetCfg.dll")) {}
    ~Server()
    {
        if (m_module != nullptr)
            FreeLibrary(m_module);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    void Call(const char* name) const
    {
        HRESULT(STDAPICALLTYPE * function)() = nullptr;
        const FARPROC address = m_module != nullptr ? GetProcAddress(m_module, name) : nullptr;
        memcpy(&function, &address, sizeof(function));
        if (function == nullptr)
            throw LabError(std::string("NetCfg.dll cannot be loaded, or has no ") + name);
        if (FAILED(function()))
            throw LabError(std::string("NetCfg.dll: ") + name + " failed");
    }

  private:
    HMODULE m_module;
};

SC_HANDLE CreateOrOpenService(SC_HANDLE manager)
{
    const CRavString image = ProgramFolder() + L"\\oXMSProtocol.sys";
    SC_HANDLE service =
        CreateServiceW(manager, DRIVER_SERVICE, L"Corvo intermediate driver", SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER,
                       SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, image, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (service != nullptr || GetLastError() != ERROR_SERVICE_EXISTS)
        return service;
    service = OpenServiceW(manager, DRIVER_SERVICE, SERVICE_ALL_ACCESS);
    // It may be another build's.
    if (service != nullptr)
        ChangeServiceConfigW(service, SERVICE_NO_CHANGE, SERVICE_AUTO_START, SERVICE_NO_CHANGE, image, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr);
    return service;
}

DWORD TryToStartDriver()
{
    const CRavServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const CRavServiceHandle service(manager.Get() != nullptr ? CreateOrOpenService(manager.Get()) : nullptr);
    if (service.Get() != nullptr && StartServiceW(service.Get(), 0, nullptr))
        return ERROR_SUCCESS;
    const DWORD error = GetLastError();
    return error == ERROR_SERVICE_ALREADY_RUNNING ? ERROR_SUCCESS : error;
}

// The service manager may still be starting up itself.
void StartDriver()
{
    DWORD error = TryToStartDriver();
    for (int attempt = 1; error != ERROR_SUCCESS && attempt < START_ATTEMPTS; ++attempt)
    {
        Sleep(START_PAUSE_MILLISECONDS);
        error = TryToStartDriver();
    }
    if (error != ERROR_SUCCESS)
        throw LabError("the driver cannot be started: error " + std::to_string(error));
}

// The service itself stays, to be started on demand only: deleted while any process holds it open it could not be made
// again until that one ends.
void StopDriver()
{
    const CRavServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const CRavServiceHandle service(
        manager.Get() != nullptr ? OpenServiceW(manager.Get(), DRIVER_SERVICE, SERVICE_ALL_ACCESS) : nullptr);
    SERVICE_STATUS status = {};
    if (service.Get() == nullptr && GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST)
        return;
    if (service.Get() == nullptr ||
        (!ControlService(service.Get(), SERVICE_CONTROL_STOP, &status) && GetLastError() != ERROR_SERVICE_NOT_ACTIVE))
        throw LabError("the driver cannot be stopped: error " + std::to_string(GetLastError()));
    ChangeServiceConfigW(service.Get(), SERVICE_NO_CHANGE, SERVICE_DEMAND_START, SERVICE_NO_CHANGE, nullptr, nullptr,
                         nullptr, nullptr, nullptr, nullptr, nullptr);
}

// The edition of Windows that programs see is Wine's to say, program by program.
void SetEdition(const std::string& edition)
{
    for (const wchar_t* const program : PROGRAMS)
    {
        CRavRegKey key;
        CRavString version = edition == "server" ? L"win2008" : L"win10";
        if (!key.Create(HKEY_CURRENT_USER, CRavString(APP_DEFAULTS) + L"\\" + program, true, false) ||
            !key.SetValue(L"Version", version, false))
            throw LabError("the edition of Windows cannot be set");
    }
}

void ClearEdition()
{
    CRavRegKey key;
    if (!key.Open(HKEY_CURRENT_USER, APP_DEFAULTS, true))
        return;
    for (const wchar_t* const program : PROGRAMS)
        key.DeleteSubKey(program);
}
} // namespace

bool IsRealWindows()
{
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll == nullptr || GetProcAddress(ntdll, "wine_get_version") == nullptr;
}

CRavString ProgramFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    wchar_t* const name = wcsrchr(path, L'\\');
    if (name != nullptr)
        *name = L'\0';
    return path;
}

void StartPlatform(const std::string& edition)
{
    Server().Call("DllRegisterServer");
    StartDriver();
    SetEdition(edition);
}

std::string StopPlatform()
{
    std::string errors;
    const std::function<void()> steps[] = {ClearEdition, StopDriver, [] { Server().Call("DllUnregisterServer"); }};
    for (const auto& step : steps)
    {
        try
        {
            step();
        }
        catch (const LabError& error)
        {
            errors += (errors.empty() ? "" : "; ") + std::string(error.what());
        }
    }
    return errors;
}
