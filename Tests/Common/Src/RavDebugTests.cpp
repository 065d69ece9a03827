#include "Common/Src/RavDebug.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/SuiteNames.h"
#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryText.h"
#include "Tests/Harness/TraceFile.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <share.h>
#include <thread>

namespace
{

wchar_t s_source[] = L"..\\..\\Src\\Some";
const std::string s_suite = Utf8(SUITE_KEY);

// What reaches a debugger: the system announces it as an exception first.
class CDebuggerOutput
{
  public:
    CDebuggerOutput() : m_pHandler(AddVectoredExceptionHandler(1, &Handle)) { s_count = 0; }
    ~CDebuggerOutput() { RemoveVectoredExceptionHandler(m_pHandler); }
    CDebuggerOutput(const CDebuggerOutput&) = delete;
    CDebuggerOutput& operator=(const CDebuggerOutput&) = delete;
    int Count() const { return s_count; }

  private:
    static LONG CALLBACK Handle(EXCEPTION_POINTERS* pointers)
    {
        constexpr DWORD narrow = 0x40010006;
        constexpr DWORD wide = 0x4001000A;
        const DWORD code = pointers->ExceptionRecord->ExceptionCode;
        // A system that tries the wide form falls back to the narrow one when it is not handled.
        if (code != wide && code != narrow)
            return EXCEPTION_CONTINUE_SEARCH;
        ++s_count;
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    static inline std::atomic<int> s_count = 0;
    void* m_pHandler;
};

class RavDebug : public ::testing::Test
{
  protected:
    // A trace object that writes to Temp, whatever the registry has to say.
    int Configure(CRavDebug& trace, DWORD maximum = 0, int append = 0)
    {
        return trace.Configure(L"UNIT", L"unit.txt", 3, append, maximum, nullptr);
    }
    std::string Text() const { return TraceText(m_temp.Path(L"unit.txt")); }

    CPrivateHive m_hive;
    CTempFolder m_temp;
};

TEST_F(RavDebug, LevelsGateLinesAndTheRegistryOverridesTheLowOnes)
{
    const struct
    {
        DWORD level;
        const char* stored;
        int result;
        bool print;
        bool error;
        bool debugger;
        DWORD effective;
    } rows[] = {
        {0, "REG_DWORD  1", -1, false, false, false, 0}, {1, nullptr, 0, true, true, false, 1},
        {1, "REG_DWORD  0", -1, false, false, false, 0}, {1, "REG_DWORD  2", 0, false, true, false, 2},
        {1, "REG_DWORD  3", 0, true, true, false, 3},    {1, "REG_DWORD  4", 0, true, true, true, 4},
        {1, "REG_DWORD  9", 0, true, true, false, 9},    {2, nullptr, 0, false, true, false, 2},
        {2, "REG_DWORD  1", 0, true, true, false, 1},    {3, "REG_DWORD  0", 0, true, true, false, 3},
        {4, "REG_DWORD  0", 0, true, true, true, 4},     {7, "REG_DWORD  0", 0, true, true, false, 7},
        {1, "REG_SZ  4", 0, true, true, false, 1},       {2, "REG_QWORD  1", 0, false, true, false, 2},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE("level " + std::to_string(row.level) + ", TRACE " + (row.stored ? row.stored : "missing"));
        m_hive.Add(s_suite + "  InstalledDir  REG_SZ  " + Utf8(m_temp.Folder()));
        RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, Wide(s_suite).c_str(), L"TRACE");
        if (row.stored)
            m_hive.Add(s_suite + "  TRACE  " + row.stored);
        const CDebuggerOutput debugger;
        {
            CRavDebug trace;
            EXPECT_EQ(row.result, trace.Configure(L"UNIT", L"unit.txt", row.level, 0, 0, nullptr));
            EXPECT_EQ(row.result == 0, trace.IsConfigured());
            if (row.result == 0)
            {
                EXPECT_EQ(row.effective, trace.GetCurrentLogLevel());
            }
            trace.Print(L"line %d", 1);
            trace.Error(s_source, 7, L"bad %s", L"thing");
        }
        EXPECT_EQ(std::string(row.print ? "0 line 1\n" : "") +
                      (row.error ? "0 ..\\..\\Src\\Some (7): bad thing\n" : ""),
                  Text());
        EXPECT_EQ(row.debugger ? 2 : 0, debugger.Count());
        DeleteFileW(m_temp.Path(L"unit.txt").c_str());
    }
}

TEST_F(RavDebug, WithoutTheSuiteKeyTheLowLevelsAreOff)
{
    for (const DWORD level : {1, 2})
    {
        CRavDebug trace;
        EXPECT_EQ(-1, trace.Configure(L"UNIT", L"unit.txt", level, 0, 0, nullptr));
        EXPECT_FALSE(trace.IsConfigured());
        trace.Print(L"line");
        trace.Error(s_source, 7, L"bad");
    }
    EXPECT_FALSE(FileExists(m_temp.Path(L"unit.txt")));
}

TEST_F(RavDebug, FileGoesToTheInstalledFolderOrElseToTemp)
{
    const std::wstring installed = m_temp.Path(L"Installed");
    CreateDirectoryW(installed.c_str(), nullptr);
    std::string unterminated = "REG_SZ  hex:";
    for (int i = 0; i < 512; ++i)
        unterminated += "41 00 ";
    const struct
    {
        std::string stored;
        std::wstring folder;
    } rows[] = {
        {"", m_temp.Folder()},
        {"REG_SZ  " + Utf8(installed), installed},
        {"REG_SZ  " + Utf8(m_temp.Path(L"Missing")), m_temp.Folder()},
        {unterminated, m_temp.Folder()},
        {"REG_SZ  hex:41 00 42 00 43", m_temp.Folder()},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.stored.substr(0, 80));
        if (!row.stored.empty())
            m_hive.Add(s_suite + "  InstalledDir  " + row.stored);
        {
            CRavDebug trace;
            EXPECT_EQ(0, Configure(trace));
            trace.Print(L"here");
        }
        EXPECT_EQ("0 here\n", TraceText(row.folder + L"\\unit.txt"));
        DeleteFileW((row.folder + L"\\unit.txt").c_str());
    }

    _wputenv_s(L"Temp", m_temp.Path(L"Missing").c_str());
    CRavDebug trace;
    EXPECT_EQ(-1, Configure(trace));
    EXPECT_FALSE(trace.IsConfigured());
    _wputenv_s(L"Temp", m_temp.Folder().c_str());
}

TEST_F(RavDebug, FileNamesThatAreRefused)
{
    for (const std::wstring& name : {std::wstring(), std::wstring(246, L'x')})
    {
        CRavDebug trace;
        EXPECT_EQ(-1, trace.Configure(L"UNIT", name.c_str(), 3, 0, 0, nullptr));
        EXPECT_FALSE(trace.IsConfigured());
    }
}

TEST_F(RavDebug, FileIsReplacedOrContinuedAndNobodyElseWritesToIt)
{
    for (const int append : {0, 1, 0})
    {
        CRavDebug trace;
        EXPECT_EQ(0, Configure(trace, 0, append));
        trace.Print(L"append %d", append);
        EXPECT_EQ(append ? "0 append 0\n0 append 1\n" : "0 append 0\n", Text());
        FILE* other = _wfsopen(m_temp.Path(L"unit.txt").c_str(), L"a", _SH_DENYNO);
        EXPECT_EQ(nullptr, other);
    }
}

TEST_F(RavDebug, ColumnsOfALine)
{
    CRavDebug trace;
    trace.Print(L"too early");
    EXPECT_EQ(0, Configure(trace));
    trace.Print(L"%s|%S|%d|%I64X|%s", L"wide", "narrow", -7, 0xABCDEF0123ll, L"100%s");
    trace.Print(L"name \x65E5\x672C end");
    trace.Print(L"after");
    const std::vector<RAV_TRACE_LINE> lines = TraceLines(m_temp.Path(L"unit.txt"));
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("UNIT", lines[0].component);
    EXPECT_EQ(GetCurrentProcessId(), lines[0].process);
    EXPECT_EQ(GetCurrentThreadId(), lines[0].thread);
    EXPECT_EQ("wide|narrow|-7|ABCDEF0123|100%s", lines[0].message);
    EXPECT_EQ("name \xE6\x97\xA5\xE6\x9C\xAC end", lines[1].message);
    EXPECT_EQ("after", lines[2].message);
}

TEST_F(RavDebug, SizeLimitStopsAfterTheLineThatCrossesIt)
{
    CRavDebug trace;
    EXPECT_EQ(0, Configure(trace, 1000));
    size_t before = 0;
    size_t size = 0;
    for (int i = 0; i < 40; ++i)
    {
        trace.Print(L"line %d", i);
        const size_t now = FileText(m_temp.Path(L"unit.txt")).size();
        before = now > size ? size : before;
        size = now;
    }
    EXPECT_LT(before, 1000u);
    EXPECT_GE(size, 1000u);
    EXPECT_EQ(std::string::npos, Text().find("MALFORMED"));
}

TEST_F(RavDebug, LongMessages)
{
    const std::wstring longText(20000, L'x');
    CRavDebug trace;
    EXPECT_EQ(0, Configure(trace));
    trace.Print(L"%s", longText.c_str());
    trace.Error(s_source, 7, L"%s", longText.c_str());
    trace.Error(s_source, 8, L"%s", longText.substr(0, 1023).c_str());
    const std::string cut(1023, 'x');
    EXPECT_EQ("0 " + std::string(20000, 'x') + "\n0 ..\\..\\Src\\Some (7): " + cut +
                  "\n0 ..\\..\\Src\\Some (8): " + cut + '\n',
              Text());
}

TEST_F(RavDebug, ThreadsLeaveWholeLinesAndLoseNone)
{
    constexpr int threadCount = 4;
    constexpr int lineCount = 150;
    CRavDebug trace;
    EXPECT_EQ(0, Configure(trace));
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int t = 0; t < threadCount; ++t)
        threads.emplace_back([&trace, t] {
            const std::wstring filler(static_cast<size_t>(t) * 700, L'x');
            for (int i = 0; i < lineCount; ++i)
                if (i % 5)
                    trace.Print(L"%d %d %s", t, i, filler.c_str());
                else
                    trace.Error(s_source, t, L"%d %d %s", t, i, filler.substr(0, 900).c_str());
        });
    for (std::thread& thread : threads)
        thread.join();

    std::map<unsigned long, std::string> byThread;
    for (const RAV_TRACE_LINE& line : TraceLines(m_temp.Path(L"unit.txt")))
        byThread[line.thread] += line.message + '\n';
    ASSERT_EQ(static_cast<size_t>(threadCount), byThread.size());
    for (const auto& [id, text] : byThread)
    {
        const size_t mark = text.find("): ") + 3;
        const int t = std::stoi(text.substr(mark));
        const std::string number = std::to_string(t);
        const std::string filler(static_cast<size_t>(t) * 700, 'x');
        std::string expected;
        for (int i = 0; i < lineCount; ++i)
            expected += (i % 5 ? "" : "..\\..\\Src\\Some (" + number + "): ") + number + ' ' + std::to_string(i) + ' ' +
                        (i % 5 ? filler : filler.substr(0, 900)) + '\n';
        EXPECT_EQ(expected, text);
    }
}

// Runs with the module's own trace object, which scopes write to; it is configured once per process.
TEST_F(RavDebug, ScopesNestAndShowTheResultAtTheirEnd)
{
    ASSERT_EQ(0, Configure(RavTrace()));
    {
        const CRavTraceScope outer(L"Outer");
        RavTrace().Print(L"inside");
        bool flag = false;
        int number = 0;
        CResult result;
        HRESULT com = S_OK;
        {
            const CRavTraceScope scope(L"Flag", &flag);
            flag = true;
            bool inner = false;
            const CRavTraceScope nested(L"Nested", &inner);
        }
        {
            const CRavTraceScope scope(L"Number", &number);
            number = -5;
        }
        {
            const CRavTraceScope scope(L"Result", &result);
        }
        {
            const CRavTraceScope scope(L"Com", &com);
            com = E_FAIL;
        }
        const CRavTraceScope none(L"None", static_cast<bool*>(nullptr));
    }
    RavTrace().Print(L"outside");
    EXPECT_EQ(Lines(R"(
        1 ENTRY:  Outer
        1 inside
        2 ENTRY:  Flag
        3 ENTRY:  Nested
        3 EXIT:  Nested, bReturn=false
        2 EXIT:  Flag, bReturn=true
        2 ENTRY:  Number
        2 EXIT:  Number, nReturn=-5
        2 ENTRY:  Result
        2 EXIT:  Result, res.ulErrCode=-1
        2 ENTRY:  Com
        2 EXIT:  Com, HRESULT=0X80004005
        2 ENTRY:  None
        2 EXIT:  None
        1 EXIT:  Outer
        0 outside
    )"),
              Text());
}

} // namespace
