#include "Tools/vlanctl/TimeText.h"

#include "Common/Src/RavUtf8.h"

#include <windows.h>

namespace
{
constexpr ULONGLONG TICKS_OF_A_SECOND = 10'000'000;
} // namespace

std::string TimeText(unsigned inSeconds)
{
    FILETIME now = {};
    FILETIME local = {};
    SYSTEMTIME time = {};
    GetSystemTimeAsFileTime(&now);
    const ULONGLONG then =
        ((static_cast<ULONGLONG>(now.dwHighDateTime) << 32) | now.dwLowDateTime) + inSeconds * TICKS_OF_A_SECOND;
    now = {static_cast<DWORD>(then), static_cast<DWORD>(then >> 32)};
    FileTimeToLocalFileTime(&now, &local);
    FileTimeToSystemTime(&local, &time);
    CRavString text;
    text.FormatString(L"%04u-%02u-%02u %02u:%02u:%02u", time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute,
                      time.wSecond);
    return ToUtf8(text);
}
