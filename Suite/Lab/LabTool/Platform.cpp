#include "Suite/Lab/LabTool/LabCommands.h"

#include "Common/Src/ModuleHandle.h"
#include "Common/Src/RavRegKey.h"
#include "Suite/Lab/LabTool/DriverService.h"
#include "Suite/Lab/State/LabNames.h"

#include <windows.h>

#include <functional>
#include <iostream>

namespace
{
constexpr wchar_t APP_DEFAULTS[] = L"Software\\Wine\\AppDefaults";
constexpr const wchar_t* PROGRAMS[] = {L"vlanctl.exe", L"bench.exe"};

// One of the COM server's exports.
void CallServer(const char* name)
{
    const CRavModuleHandle server(LoadLibraryW(ProgramFolder() + L"\\NetCfg.dll"));
    const auto function = server.Export<HRESULT(STDAPICALLTYPE*)()>(name);
    if (function == nullptr)
        throw LabError(std::string("NetCfg.dll cannot be loaded, or has no ") + name);
    if (FAILED(function()))
        throw LabError(std::string("NetCfg.dll: ") + name + " failed");
}

// The edition of Windows that programs see is Wine's to say, program by program.
void SetEdition(const std::string& edition)
{
    for (const wchar_t* const program : PROGRAMS)
    {
        CRavRegKey key;
        if (!key.Create(HKEY_CURRENT_USER, CRavString(APP_DEFAULTS) + L"\\" + program, true, false) ||
            !key.SetValue(L"Version", edition == "server" ? L"win2008" : L"win10", false))
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

std::string StopPlatform()
{
    std::string errors;
    const std::function<void()> steps[] = {ClearEdition, StopDriver, [] { CallServer("DllUnregisterServer"); }};
    for (const auto& step : steps)
    {
        try
        {
            step();
        }
        catch (const DriverError& error)
        {
            std::cerr << "lab: note: " << error.what() << "; the next host uses the one that runs\n";
        }
        catch (const LabError& error)
        {
            errors += (errors.empty() ? "" : "; ") + std::string(error.what());
        }
    }
    return errors;
}
