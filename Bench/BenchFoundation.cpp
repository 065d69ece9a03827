// The foundation beside the bare API.

#include "Bench/BenchTable.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/SuiteNames.h"
#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryText.h"
#include "Tests/Harness/TraceFile.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <cwchar>
#include <share.h>

namespace
{
constexpr wchar_t KEY[] = L"SOFTWARE\\Bench";
constexpr int READS = 300;
constexpr int LINES = 500;

// The same reads without the class: the strings and the list are made as a caller needs them.
void BareText(HKEY key, std::wstring& text)
{
    wchar_t buffer[257] = {};
    DWORD size = 512;
    if (RegQueryValueExW(key, L"Text", nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size) == ERROR_SUCCESS)
        text = buffer;
}

void BareList(HKEY key, std::vector<std::wstring>& values)
{
    DWORD size = 0;
    values.clear();
    if (RegQueryValueExW(key, L"List", nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS)
        return;
    std::vector<wchar_t> data(size / sizeof(wchar_t) + 2);
    if (RegQueryValueExW(key, L"List", nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size) != ERROR_SUCCESS)
        return;
    for (const wchar_t* cursor = data.data(); *cursor != L'\0'; cursor += wcslen(cursor) + 1)
        values.emplace_back(cursor);
}

void BenchReads()
{
    CPrivateHive hive;
    CRavRegKey key;
    key.Create(HKEY_LOCAL_MACHINE, KEY, true, false);
    CRavString text(L"\\Device\\{A0000001-0000-4000-8000-000000000001}");
    key.SetValue(L"Number", DWORD{7});
    key.SetValue(L"Text", text, false);
    key.SetValue(L"List", std::vector<CRavString>(8, text));
    const HKEY handle = key.GetHKey();
    DWORD number = 0;
    CRavString ourText;
    std::wstring bareText;
    std::vector<CRavString> ourList;
    std::vector<std::wstring> bareList;
    const auto row = [](const char* name, const std::function<void()>& ours, const std::function<void()>& bare) {
        BenchRow(name, BestTimes(ours, bare, READS), {1.05}, CostOf(ours), CostOf(bare));
    };
    BenchHeading("Registry reads, tracing off, beside the bare API");
    row(
        "GetValue, DWORD", [&] { key.GetValue(L"Number", number); },
        [&] {
            DWORD size = sizeof(number);
            RegQueryValueExW(handle, L"Number", nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
        });
    row(
        "GetValue, text of 46 characters", [&] { key.GetValue(L"Text", ourText); },
        [&] { BareText(handle, bareText); });
    row(
        "GetValue, list of 8 entries", [&] { key.GetValue(L"List", ourList); }, [&] { BareList(handle, bareList); });
}

void BenchLists()
{
    CPrivateHive hive;
    CRavRegKey key;
    key.Create(HKEY_LOCAL_MACHINE, KEY, true, false);
    BenchText("\nAddValueToMultiString, by length of the list");
    for (const int length : {1, 8, 64, 512})
    {
        std::vector<CRavString> values;
        for (int entry = 0; entry < length; ++entry)
        {
            CRavString value;
            value.FormatString(L"\\Device\\{A0000001-0000-4000-8000-%012d}", entry);
            values.push_back(value);
        }
        const auto add = [&] {
            key.SetValue(L"List", values);
            key.AddValueToMultiString(L"List", L"new");
        };
        const auto prepare = [&] { key.SetValue(L"List", values); };
        const BenchPair times = BestTimes(add, prepare, 100, 7);
        char line[128];
        std::snprintf(line, sizeof(line), "%5d entries: %8.1f us, %u platform calls", length,
                      (times.ours - times.floor) / 1000,
                      static_cast<unsigned>(CostOf(add).calls - CostOf(prepare).calls));
        BenchText(line);
    }
}

void BenchTrace()
{
    CPrivateHive hive(Utf8(SUITE_KEY) + "  TRACE  REG_DWORD  1");
    CTempFolder folder;
    hive.Add(Utf8(SUITE_KEY) + "  InstalledDir  REG_SZ  " + Utf8(folder.Folder()));
    const double gated = BestTime([] { RavTrace().Print(L"a line with %d and %s", 7, L"text"); }, 10'000'000, 5);
    char line[128];
    std::snprintf(line, sizeof(line), "\nA gated-out Print: %.2f ns (goal: 5 ns)", gated);
    BenchText(line);

    CRavDebug trace;
    trace.Configure(L"BENCH", L"bench.txt", 1, 0, 0, nullptr);
    FILE* const bare = _wfsopen(folder.Path(L"bare.txt").c_str(), L"w", _SH_DENYWR);
    const auto print = [&] { trace.Print(L"CRavXmsVlan::Something m_iVlanId= %d key= %s", 10, L"{A0000001}"); };
    const auto write = [&] {
        SYSTEMTIME now;
        LARGE_INTEGER counter;
        GetLocalTime(&now);
        QueryPerformanceCounter(&counter);
        std::fprintf(bare,
                     "%s\tPID:%lx\tTID:%lx\t%02d:%02d:%02d.%03d\t(%llX)\tTIER %d\t\tCRavXmsVlan::Something m_iVlanId= "
                     "%d key= %s\n",
                     "BENCH", GetCurrentProcessId(), GetCurrentThreadId(), now.wHour, now.wMinute, now.wSecond,
                     now.wMilliseconds, counter.QuadPart, 0, 10, "{A0000001}");
        std::fflush(bare);
    };
    BenchHeading("A trace line, written and flushed");
    BenchRow("beside a bare format, write and flush", BestTimes(print, write, LINES), {1.3});
    std::fclose(bare);

    const auto logger = spdlog::basic_logger_mt("bench", Utf8(folder.Path(L"spdlog.txt")), true);
    logger->flush_on(spdlog::level::trace);
    logger->set_pattern("%n\tPID:%P\tTID:%t\t%H:%M:%S.%e\t%v");
    const auto log = [&] { logger->info("CRavXmsVlan::Something m_iVlanId= {} key= {}", 10, "{A0000001}"); };
    BenchRow("beside spdlog, flushing every line", BestTimes(print, log, LINES), {1.0});
    spdlog::drop_all();
}
} // namespace

void BenchFoundation()
{
    BenchReads();
    BenchLists();
    BenchTrace();
}
