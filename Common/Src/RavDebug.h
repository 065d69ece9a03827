#pragma once

#include "Common/Src/RavFormat.h"
#include "Common/Src/RavResult.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>

// How much is read of "InstalledDir", the REG_SZ value of the suite's key that names its folder.
inline constexpr DWORD RAV_INSTALLED_DIR_BYTES = 1024;

// Trace log of one component: a text file, one line a message, each stamped with component, process, thread, time and
// call depth. Lines are in UTF-8 and flushed one by one, so that a trace survives a crash.
//
// Any thread may trace. Nothing throws; a log that cannot be written stays silent.
class CRavDebug
{
  public:
    CRavDebug();
    virtual ~CRavDebug();
    CRavDebug(const CRavDebug&) = delete;
    CRavDebug& operator=(const CRavDebug&) = delete;

    // Opens the log. Call it once; a second call leaks what the first one opened. 0 on success, -1 on failure.
    //   component    first column of every line
    //   fileName     1 to 245 characters, in the suite's folder, or in "Temp" when that cannot be written
    //   level        0 off; 1, 3 and others: all lines; 2: errors only; 4: all lines, to the debugger too.
    //                The registry value "TRACE" replaces levels 1 and 2, and without the suite's key they fail.
    //   bAppend      0 truncates an existing file
    //   maxFileSize  bytes from which on lines are dropped; 0 for no limit
    int Configure(const wchar_t* component, const wchar_t* fileName, DWORD level, int bAppend, DWORD maxFileSize,
                  const wchar_t* reserved);

    // Writes one line. In the format %s is a wide string, as everywhere in the Windows runtime; one that does not take
    // the arguments does not compile.
    template <typename... Args>
    void Print(RavFormatOf<Args...> format, Args... args)
    {
        PrintUnchecked(format.Text(), args...);
    }
    // Writes "file (line): message" at level 2, too. The message is cut at 1023 characters.
    // sourceFile is a relative path without extension.
    template <typename... Args>
    void Error(const wchar_t* sourceFile, int line, RavFormatOf<Args...> format, Args... args)
    {
        ErrorUnchecked(sourceFile, line, format.Text(), args...);
    }
    // The same with a format that is only known at run time.
    void PrintUnchecked(const wchar_t* format, ...);
    void ErrorUnchecked(const wchar_t* sourceFile, int line, const wchar_t* format, ...);

    DWORD GetCurrentLogLevel() const { return m_dwLevel; }
    bool IsConfigured() const { return m_bConfigured; }

  private:
    friend class CRavTraceScope;

    bool WritesLines() const { return m_dwLevel != 0 && m_dwLevel != 2 && m_bConfigured && m_pFile != nullptr; }
    void PrintFormatted(const wchar_t* format, ...);
    void PrintLine(const wchar_t* format, va_list args);
    void WriteLine(const wchar_t* format, va_list args);
    bool IsFull() const;
    bool OpenFile(const wchar_t* path, bool append);

    std::atomic<int> m_iDepth{0};
    std::unique_ptr<wchar_t[]> m_pComponent;
    FILE* m_pFile = nullptr;
    CRITICAL_SECTION m_section;
    CRITICAL_SECTION* m_pLock;
    bool m_bConfigured = false;
    DWORD m_dwLevel = 0;
    DWORD m_dwMaxFileSize = 0;
};

// The module's one trace log. It exists before the first static object that traces and outlives the last.
CRavDebug& RavTrace();

// Writes an ENTRY line when a function starts and an EXIT line, with the value its result variable has at that moment,
// when it ends. The result variable must outlive the scope; declare it first. A null pointer reports no result.
class CRavTraceScope
{
  public:
    explicit CRavTraceScope(const wchar_t* name);
    CRavTraceScope(const wchar_t* name, const bool* pResult);
    CRavTraceScope(const wchar_t* name, const int* pResult);
    CRavTraceScope(const wchar_t* name, const CResult* pResult);
    CRavTraceScope(const wchar_t* name, const HRESULT* pResult);
    ~CRavTraceScope();
    CRavTraceScope(const CRavTraceScope&) = delete;
    CRavTraceScope& operator=(const CRavTraceScope&) = delete;

  private:
    enum class Kind
    {
        None,
        Bool,
        Int,
        Result,
        Hresult
    };

    CRavTraceScope(const wchar_t* name, Kind kind);
    const wchar_t* Name() const { return m_pName ? m_pName.get() : L""; }

    std::unique_ptr<wchar_t[]> m_pName;
    Kind m_kind;
    const bool* m_pBool = nullptr;
    const int* m_pInt = nullptr;
    const CResult* m_pResult = nullptr;
    const HRESULT* m_pHresult = nullptr;
};
