#pragma once
// This test program once more, as another version of Windows: the version that a program sees is fixed when it starts,
// so each system takes a process of its own.

#include "Tests/Harness/RegistryText.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

// Windows itself cannot pose as another version; Wine can.
inline bool CanPose()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// The version that this process was started as; empty in the first one.
inline std::wstring PosesAs()
{
    wchar_t version[32] = {};
    GetEnvironmentVariableW(L"RAV_TEST_SYSTEM", version, 32);
    return version;
}

// Runs one test, "Suite.Test", or all of a suite, "Suite.*"; 0 when they passed, and there were any.
inline DWORD RunAs(const std::wstring& version, const std::wstring& filter)
{
    bool any = false;
    const auto& tests = *testing::UnitTest::GetInstance();
    for (int suite = 0; suite < tests.total_test_suite_count(); ++suite)
        for (int test = 0; test < tests.GetTestSuite(suite)->total_test_count(); ++test)
            for (const std::string name : {"*", tests.GetTestSuite(suite)->GetTestInfo(test)->name()})
                any = any || tests.GetTestSuite(suite)->name() + ("." + name) == Utf8(filter);
    if (!any)
        return ~0u;
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program(path);
    const std::wstring key = L"Software\\Wine\\AppDefaults\\" + program.substr(program.rfind(L'\\') + 1);
    RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"Version", REG_SZ, version.c_str(),
                    static_cast<DWORD>((version.size() + 1) * sizeof(wchar_t)));
    SetEnvironmentVariableW(L"RAV_TEST_SYSTEM", version.c_str());

    std::wstring command = L"\"" + program + L"\" --gtest_filter=" + filter + L" --gtest_output=";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    DWORD status = ~0u;
    if (CreateProcessW(path, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
    {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &status);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    SetEnvironmentVariableW(L"RAV_TEST_SYSTEM", nullptr);
    RegDeleteKeyW(HKEY_CURRENT_USER, key.c_str());
    return status;
}
