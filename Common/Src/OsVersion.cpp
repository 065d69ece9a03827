#include "Common/Src/OsVersion.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/SuiteNames.h"

#include <windows.h>

namespace
{
// GetVersionEx answers what the program's manifest declares; the native routine tells the truth.
OSVERSIONINFOEXW QueryVersion()
{
    using RtlGetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);

    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    const FARPROC found = ntdll != nullptr ? GetProcAddress(ntdll, "RtlGetVersion") : nullptr;
    const auto query = reinterpret_cast<RtlGetVersion>(reinterpret_cast<void (*)()>(found));
    if (query == nullptr || query(reinterpret_cast<OSVERSIONINFOW*>(&version)) != 0)
    {
        RavTrace().Print(L"COSType - unable to get the version of the operating system");
        return {};
    }
    return version;
}

bool IsNtOrLater(DWORD major)
{
    const OSVERSIONINFOEXW version = QueryVersion();
    return version.dwPlatformId == VER_PLATFORM_WIN32_NT && version.dwMajorVersion >= major;
}
} // namespace

bool COSType::IsNt5OrLater()
{
    return IsNtOrLater(5);
}

bool COSType::IsNt6OrLater()
{
    return IsNtOrLater(6);
}

bool COSType::IsWorkstation()
{
    return QueryVersion().wProductType == VER_NT_WORKSTATION;
}

bool COSType::IsIa64()
{
    SYSTEM_INFO system = {};
    GetNativeSystemInfo(&system);
    return system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_IA64;
}

bool COSType::IsWin10WithXMSBlock()
{
    if (!IsNtOrLater(10))
        return false;
    CRavRegKey key;
    DWORD block = 0;
    return key.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, false) && key.GetValue(SuiteValue::XmsBlock, block) && block == 1;
}
