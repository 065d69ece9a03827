#include "Suite/Lab/LabTool/LabCommands.h"

#include "Common/Src/RavRegKey.h"
#include "Suite/Lab/State/LabNames.h"

#include <windows.h>

#include <cstring>

namespace
{
constexpr wchar_t DRIVER_SERVICE[] = L"oXMSProtocol";
constexpr int START_ATTEMPTS = 50;
constexpr DWORD START_PAUSE_MILLISECONDS = 200;
constexpr wchar_t APP_DEFAULTS[] = L"Software\\Wine\\AppDefaults";
constexpr const wchar_t* PROGRAMS[] = {L"vlanctl.exe", L"bench.exe"};

class ServiceHandle
{
  public:
    explicit ServiceHandle(SC_HANDLE handle) : m_handle(handle) {}
    ~ServiceHandle()
    {
        if (m_handle != nullptr)
            CloseServiceHandle(m_handle);
    }
    ServiceHandle(const ServiceHandle&) = delete;
    ServiceHandle& operator=(const ServiceHandle&) = delete;
    SC_HANDLE Get() const { return m_handle; }

  private:
    SC_HANDLE m_handle;
};

void CallServer(const char* name)
{
    const HMODULE server = LoadLibraryW(ProgramFolder() + L"\\NetCfg.dll");
    HRESULT(STDAPICALLTYPE * function)() = nullptr;
    const FARPROC address = server != nullptr ? GetProcAddress(server, name) : nullptr;
    memcpy(&function, &address, sizeof(function));
    if (function == nullptr || FAILED(function()))
        throw LabError(std::string("NetCfg.dll: ") + name + " failed");
    FreeLibrary(server);
}

SC_HANDLE CreateOrOpenService(SC_HANDLE manager)
{
    const CRavString image = ProgramFolder() + L"\\oXMSProtocol.sys";
    const SC_HANDLE service =
        CreateServiceW(manager, DRIVER_SERVICE, L"Corvo intermediate driver", SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER,
                       SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, image, nullptr, nullptr, nullptr, nullptr, nullptr);
    return service != nullptr ? service : OpenServiceW(manager, DRIVER_SERVICE, SERVICE_ALL_ACCESS);
}

// The service manager may still be starting up itself.
void StartDriver()
{
    const ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const ServiceHandle service(CreateOrOpenService(manager.Get()));
    DWORD error = GetLastError();
    for (int attempt = 0; service.Get() != nullptr && attempt < START_ATTEMPTS; ++attempt)
    {
        if (StartServiceW(service.Get(), 0, nullptr))
            return;
        error = GetLastError();
        if (error == ERROR_SERVICE_ALREADY_RUNNING)
            return;
        Sleep(START_PAUSE_MILLISECONDS);
    }
    throw LabError("the driver cannot be started: error " + std::to_string(error));
}

void RemoveDriver()
{
    const ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const ServiceHandle service(OpenServiceW(manager.Get(), DRIVER_SERVICE, SERVICE_ALL_ACCESS));
    SERVICE_STATUS status = {};
    if (service.Get() == nullptr)
        return;
    ControlService(service.Get(), SERVICE_CONTROL_STOP, &status);
    DeleteService(service.Get());
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
    CallServer("DllRegisterServer");
    StartDriver();
    SetEdition(edition);
}

void StopPlatform()
{
    ClearEdition();
    RemoveDriver();
    CallServer("DllUnregisterServer");
}
