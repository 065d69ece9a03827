#include "Common/Src/Helper.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/ServiceHandle.h"
#include "Common/Src/SuiteNames.h"

#include <array>
#include <iterator>

namespace
{
constexpr const wchar_t* SERVICES[] = {L"CorvoDCB"};
constexpr DWORD SERVICE_WAIT_MILLISECONDS = 30000;
constexpr DWORD SERVICE_POLL_MILLISECONDS = 100;

const wchar_t* FileName(RavModule module)
{
    return module == RavModule::CoreAgent ? CORE_AGENT_FILE : TEAM_AGENT_FILE;
}

// "C:\..." or "\\server\...": anything else would depend on where the process happens to be.
bool IsFullPath(const CRavString& path)
{
    return path.Length() > 2 &&
           ((path.at(1) == L':' && path.at(2) == L'\\') || (path.at(0) == L'\\' && path.at(1) == L'\\'));
}

template <typename Condition>
bool WaitFor(SC_HANDLE service, Condition&& condition)
{
    SERVICE_STATUS status = {};
    for (DWORD waited = 0; waited <= SERVICE_WAIT_MILLISECONDS; waited += SERVICE_POLL_MILLISECONDS)
    {
        if (!QueryServiceStatus(service, &status))
            return false;
        if (condition(status.dwCurrentState))
            return true;
        Sleep(SERVICE_POLL_MILLISECONDS);
    }
    SetLastError(ERROR_SERVICE_REQUEST_TIMEOUT);
    return false;
}

bool WaitForState(SC_HANDLE service, DWORD state)
{
    return WaitFor(service, [&](DWORD current) { return current == state; });
}

// A service on its way to a state takes no order; one that is stopping would even pass for one that runs.
bool WaitForArrival(SC_HANDLE service)
{
    return WaitFor(service, [](DWORD current) {
        return current == SERVICE_STOPPED || current == SERVICE_RUNNING || current == SERVICE_PAUSED;
    });
}

template <typename Work>
bool WithService(DWORD selector, DWORD access, Work&& work)
{
    if (selector >= std::size(SERVICES))
        return false;
    const CRavServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const CRavServiceHandle service(manager.Get() != nullptr ? OpenServiceW(manager.Get(), SERVICES[selector], access)
                                                             : nullptr);
    const bool done = service.Get() != nullptr && work(service.Get());
    if (!done)
        RavTrace().Print(L"CHelper: service %s, error %d", SERVICES[selector], GetLastError());
    return done;
}
} // namespace

bool CHelper::RavInstalledFolder(CRavString& strFolder)
{
    CRavRegKey key;
    std::array<wchar_t, RAV_INSTALLED_DIR_BYTES / sizeof(wchar_t) + 1> text = {};
    DWORD size = RAV_INSTALLED_DIR_BYTES;
    DWORD type = REG_NONE;
    strFolder.ClearString();
    if (!key.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, false) ||
        RegQueryValueExW(key.GetHKey(), SuiteValue::InstalledDir, nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                         &size) != ERROR_SUCCESS ||
        type != REG_SZ)
        return false;
    strFolder = text.data();
    return true;
}

CRavModuleHandle CHelper::RavLoadModule(RavModule module)
{
    const CRavTraceScope trace(L"CHelper::RavLoadModule");
    CRavString folder;
    if (!RavInstalledFolder(folder) || !IsFullPath(folder))
    {
        RavTrace().Print(L"CHelper::RavLoadModule the suite's folder is not known: %s", folder.c_str());
        return {};
    }
    const CRavString path = folder + L"\\" + FileName(module);
    // The module's own dependencies come from its folder, too, never from the current directory or the search path.
    CRavModuleHandle handle(
        LoadLibraryExW(path, nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
    if (!handle)
        RavTrace().Print(L"CHelper::RavLoadModule %s, error %d", path.c_str(), GetLastError());
    return handle;
}

std::shared_ptr<void> CHelper::RavHoldModule(const CRavModuleHandle& module)
{
    HMODULE held = nullptr;
    // The handle of a module is its address.
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(module.Get()),
                            &held))
        return nullptr;
    CRavModuleHandle owner(held);
    return std::make_shared<CRavModuleHandle>(std::move(owner));
}

bool CHelper::RavStopService(DWORD dwSelector)
{
    return WithService(dwSelector, SERVICE_STOP | SERVICE_QUERY_STATUS, [](SC_HANDLE service) {
        SERVICE_STATUS status = {};
        return WaitForArrival(service) &&
               (ControlService(service, SERVICE_CONTROL_STOP, &status) || GetLastError() == ERROR_SERVICE_NOT_ACTIVE) &&
               WaitForState(service, SERVICE_STOPPED);
    });
}

bool CHelper::RavStartService(DWORD dwSelector)
{
    return WithService(dwSelector, SERVICE_START | SERVICE_QUERY_STATUS, [](SC_HANDLE service) {
        return WaitForArrival(service) &&
               (StartServiceW(service, 0, nullptr) || GetLastError() == ERROR_SERVICE_ALREADY_RUNNING) &&
               WaitForState(service, SERVICE_RUNNING);
    });
}
