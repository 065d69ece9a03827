#include "Tools/vlanctl/Traces.h"

#include <windows.h>

#include <string>

namespace
{
constexpr int KEPT = 9;

std::wstring LogFile(const std::wstring& folder, int age)
{
    return folder + L"\\VlanAgent" + (age > 0 ? L"." + std::to_wstring(age) : L"") + L".txt";
}

// Whether there is a log that this program may rename: it has been moved out of the module's way then.
bool TakeAside(const std::wstring& folder, const std::wstring& aside)
{
    return MoveFileExW(LogFile(folder, 0).c_str(), aside.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
}

void KeepIn(const std::wstring& folder)
{
    const std::wstring aside = folder + L"\\VlanAgent.former.txt";
    if (!TakeAside(folder, aside))
        return;
    for (int age = KEPT - 1; age > 0; --age)
        MoveFileExW(LogFile(folder, age).c_str(), LogFile(folder, age + 1).c_str(), MOVEFILE_REPLACE_EXISTING);
    MoveFileExW(aside.c_str(), LogFile(folder, 1).c_str(), MOVEFILE_REPLACE_EXISTING);
}
} // namespace

void KeepFormerTraces(const CRavString& suiteFolder)
{
    KeepIn(suiteFolder);
    wchar_t temp[MAX_PATH] = {}; // where the log is when the suite's folder cannot be written
    const DWORD length = GetEnvironmentVariableW(L"Temp", temp, MAX_PATH);
    if (length > 0 && length < MAX_PATH)
        KeepIn(temp);
}
