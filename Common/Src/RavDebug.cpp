#include "Common/Src/RavDebug.h"

#include "Common/Src/RavKeyHandle.h"
#include "Common/Src/SectionGuard.h"
#include "Common/Src/SuiteNames.h"
#include "Common/Src/Utf8.h"

#include <io.h>
#include <share.h>

#include <cwchar>
#include <new>
#include <string>

namespace
{
constexpr size_t MAX_FILE_NAME = 245;
constexpr size_t PATH_SIZE = 1024;
constexpr size_t TEMP_SIZE = 260;
constexpr size_t LINE_SIZE = 1024;
constexpr size_t ERROR_SIZE = 1024;

// The suite's setup programs run before, or without, an installed suite.
constexpr wchar_t SETUP_BOOTSTRAPPER[] = L"SETUP_BOOTSTRAPPER";
constexpr wchar_t SETUP_ACTIONS[] = L"SETUP_ACTIONS";

// The suite's key, read with the bare calls: the key wrapper above traces.
class SuiteKey
{
  public:
    SuiteKey() { RavOpenKey(HKEY_LOCAL_MACHINE, SUITE_KEY, KEY_READ, m_key); }
    explicit operator bool() const { return static_cast<bool>(m_key); }
    bool Query(const wchar_t* name, DWORD type, void* data, DWORD size) const
    {
        DWORD stored = REG_NONE;
        const LONG status = RegQueryValueExW(m_key.Get(), name, nullptr, &stored, static_cast<BYTE*>(data), &size);
        return status == ERROR_SUCCESS && stored == type;
    }

  private:
    CRavKeyHandle m_key;
};

std::unique_ptr<wchar_t[]> CopyOf(const wchar_t* text)
{
    const size_t size = wcslen(text) + 1;
    std::unique_ptr<wchar_t[]> copy(new (std::nothrow) wchar_t[size]);
    if (copy)
        wmemcpy(copy.get(), text, size);
    return copy;
}

bool Format(wchar_t* buffer, size_t size, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int length = _vsnwprintf(buffer, size, format, args);
    va_end(args);
    return length >= 0 && static_cast<size_t>(length) < size;
}

// The registry override of the levels that allow one; false when tracing has to stay off.
bool EffectiveLevel(DWORD& level)
{
    if (level == 1 || level == 2)
    {
        const SuiteKey key;
        if (!key)
            return false;
        DWORD trace = 0;
        if (key.Query(SuiteValue::Trace, REG_DWORD, &trace, sizeof(trace)))
            level = trace;
    }
    return level != 0;
}

void TempFolder(wchar_t (&folder)[PATH_SIZE])
{
    const DWORD length = GetEnvironmentVariableW(L"Temp", folder, TEMP_SIZE);
    if (length == 0 || length >= TEMP_SIZE)
        folder[0] = L'\0';
}

void LogFolder(const wchar_t* component, wchar_t (&folder)[PATH_SIZE])
{
    const SuiteKey key;
    if (!key || wcscmp(component, SETUP_ACTIONS) == 0)
    {
        TempFolder(folder);
        return;
    }
    // The rest of the folder's buffer stays zero and terminates a text that is not.
    static_assert(RAV_INSTALLED_DIR_BYTES < PATH_SIZE * sizeof(wchar_t));
    wmemset(folder, L'\0', PATH_SIZE);
    if (!key.Query(SuiteValue::InstalledDir, REG_SZ, folder, RAV_INSTALLED_DIR_BYTES))
        folder[0] = L'\0';
}

bool LogPath(const wchar_t* component, const wchar_t* fileName, wchar_t (&path)[PATH_SIZE])
{
    if (wcscmp(component, SETUP_BOOTSTRAPPER) == 0)
        return Format(path, PATH_SIZE, L"%s", fileName);
    wchar_t folder[PATH_SIZE] = {};
    LogFolder(component, folder);
    return Format(path, PATH_SIZE, L"%s\\%s", folder, fileName);
}

// A line of text that starts on the stack and moves to the heap when it has to.
class LineBuffer
{
  public:
    wchar_t* Data() { return m_heap.empty() ? m_stack : m_heap.data(); }
    size_t Length() const { return m_length; }
    bool Append(const wchar_t* format, va_list args)
    {
        va_list again;
        va_copy(again, args);
        const size_t room = m_size - m_length;
        int length = _vsnwprintf(Data() + m_length, room, format, args);
        if (length < 0 || static_cast<size_t>(length) >= room)
        {
            length = _vscwprintf(format, again);
            if (length >= 0)
            {
                Grow(m_length + static_cast<size_t>(length) + 2);
                length = _vsnwprintf(Data() + m_length, m_size - m_length, format, again);
            }
        }
        va_end(again);
        if (length < 0)
            return false;
        m_length += static_cast<size_t>(length);
        return true;
    }
    bool AppendFormat(const wchar_t* format, ...)
    {
        va_list args;
        va_start(args, format);
        const bool done = Append(format, args);
        va_end(args);
        return done;
    }

  private:
    void Grow(size_t size)
    {
        std::wstring heap(Data(), m_length);
        heap.resize(size);
        m_heap.swap(heap);
        m_size = size;
    }

    wchar_t m_stack[LINE_SIZE];
    std::wstring m_heap;
    size_t m_size = LINE_SIZE;
    size_t m_length = 0;
};

void WriteUtf8(FILE* file, const wchar_t* text, size_t length)
{
    char stack[3 * LINE_SIZE];
    std::string heap;
    char* bytes = stack;
    size_t size = sizeof(stack);
    if (3 * length > size)
    {
        heap.resize(3 * length);
        bytes = heap.data();
        size = heap.size();
    }
    const int written = RavToUtf8(text, length, bytes, size);
    fwrite(bytes, 1, static_cast<size_t>(written), file);
    fflush(file);
}

// One for the module; written under the log's lock.
wchar_t g_errorText[ERROR_SIZE];
} // namespace

CRavDebug::CRavDebug() : m_pLock(&m_section)
{
    InitializeCriticalSection(m_pLock);
}

CRavDebug::~CRavDebug()
{
    if (m_pFile != nullptr)
        fclose(m_pFile);
    DeleteCriticalSection(m_pLock);
}

int CRavDebug::Configure(const wchar_t* component, const wchar_t* fileName, DWORD level, int bAppend, DWORD maxFileSize,
                         const wchar_t* /*reserved*/)
{
    if (!EffectiveLevel(level))
    {
        m_dwLevel = 0;
        return -1;
    }
    if (component == nullptr || fileName == nullptr || fileName[0] == L'\0' || wcslen(fileName) > MAX_FILE_NAME)
        return -1;
    m_pComponent.release(); // a second call leaks the first one's copy: other threads may be printing it
    m_pComponent = CopyOf(component);
    m_dwMaxFileSize = maxFileSize;

    wchar_t path[PATH_SIZE] = {};
    if (!m_pComponent || !LogPath(component, fileName, path) || !OpenFile(path, bAppend != 0))
        return -1;
    m_dwLevel = level;
    m_bConfigured = true;
    return 0;
}

bool CRavDebug::OpenFile(const wchar_t* path, bool append)
{
    const wchar_t* mode = append ? L"a+" : L"w";
    m_pFile = _wfsopen(path, mode, _SH_DENYWR);
    const wchar_t* name = wcsrchr(path, L'\\');
    if (m_pFile != nullptr || name == nullptr)
        return true; // a bare name is not tried elsewhere: the log then stays empty

    wchar_t folder[PATH_SIZE] = {};
    wchar_t other[PATH_SIZE] = {};
    TempFolder(folder);
    if (Format(other, PATH_SIZE, L"%s%s", folder, name))
        m_pFile = _wfsopen(other, mode, _SH_DENYWR);
    return m_pFile != nullptr;
}

void CRavDebug::PrintUnchecked(const wchar_t* format, ...)
{
    if (!WritesLines())
        return;
    va_list args;
    va_start(args, format);
    PrintLine(format, args);
    va_end(args);
}

void CRavDebug::ErrorUnchecked(const wchar_t* sourceFile, int line, const wchar_t* format, ...)
{
    if (m_dwLevel == 0 || m_pFile == nullptr || !m_bConfigured)
        return;
    const CRavSectionGuard guard(*m_pLock);
    va_list args;
    va_start(args, format);
    _vsnwprintf(g_errorText, ERROR_SIZE - 1, format, args);
    va_end(args);
    g_errorText[ERROR_SIZE - 1] = L'\0';
    // Past the level's test of Print: errors are written at level 2, too.
    PrintFormatted(L"%s (%d): %s", sourceFile, line, g_errorText);
}

void CRavDebug::PrintFormatted(const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    PrintLine(format, args);
    va_end(args);
}

void CRavDebug::PrintLine(const wchar_t* format, va_list args)
{
    const CRavSectionGuard guard(*m_pLock);
    try
    {
        WriteLine(format, args);
    }
    catch (...)
    {
        fputs("CRavDebug::Error - EXCEPTION DURING DEBUG PRINT.\n", m_pFile);
        fflush(m_pFile);
    }
}

void CRavDebug::WriteLine(const wchar_t* format, va_list args)
{
    if (IsFull())
        return;
    SYSTEMTIME now;
    LARGE_INTEGER counter;
    GetLocalTime(&now);
    QueryPerformanceCounter(&counter);

    LineBuffer line;
    if (!line.AppendFormat(L"%s\tPID:%x\tTID:%x\t%02.2d:%02.2d:%02.2d.%03.3d\t(%I64X)\tTIER %d\t\t", m_pComponent.get(),
                           GetCurrentProcessId(), GetCurrentThreadId(), now.wHour, now.wMinute, now.wSecond,
                           now.wMilliseconds, counter.QuadPart, m_iDepth.load(std::memory_order_relaxed)) ||
        !line.Append(format, args) || !line.AppendFormat(L"\n"))
        return;
    WriteUtf8(m_pFile, line.Data(), line.Length());
    if (m_dwLevel == 4)
        OutputDebugStringW(line.Data());
}

bool CRavDebug::IsFull() const
{
    return m_dwMaxFileSize != 0 && _filelengthi64(_fileno(m_pFile)) >= static_cast<long long>(m_dwMaxFileSize);
}

CRavDebug& RavTrace()
{
    static CRavDebug trace;
    return trace;
}

CRavTraceScope::CRavTraceScope(const wchar_t* name, Kind kind) : m_pName(CopyOf(name)), m_kind(kind)
{
    RavTrace().m_iDepth.fetch_add(1, std::memory_order_relaxed);
    RavTrace().Print(L"ENTRY:  %s", Name());
}

CRavTraceScope::CRavTraceScope(const wchar_t* name) : CRavTraceScope(name, Kind::None) {}

CRavTraceScope::CRavTraceScope(const wchar_t* name, const bool* pResult)
    : CRavTraceScope(name, pResult != nullptr ? Kind::Bool : Kind::None)
{
    m_pBool = pResult;
}

CRavTraceScope::CRavTraceScope(const wchar_t* name, const int* pResult)
    : CRavTraceScope(name, pResult != nullptr ? Kind::Int : Kind::None)
{
    m_pInt = pResult;
}

CRavTraceScope::CRavTraceScope(const wchar_t* name, const CResult* pResult)
    : CRavTraceScope(name, pResult != nullptr ? Kind::Result : Kind::None)
{
    m_pResult = pResult;
}

CRavTraceScope::CRavTraceScope(const wchar_t* name, const HRESULT* pResult)
    : CRavTraceScope(name, pResult != nullptr ? Kind::Hresult : Kind::None)
{
    m_pHresult = pResult;
}

CRavTraceScope::~CRavTraceScope()
{
    CRavDebug& trace = RavTrace();
    switch (m_kind)
    {
    case Kind::None:
        trace.Print(L"EXIT:  %s", Name());
        break;
    case Kind::Bool:
        trace.Print(L"EXIT:  %s, bReturn=%s", Name(), *m_pBool ? L"true" : L"false");
        break;
    case Kind::Int:
        trace.Print(L"EXIT:  %s, nReturn=%d", Name(), *m_pInt);
        break;
    case Kind::Result:
        trace.Print(L"EXIT:  %s, res.ulErrCode=%d", Name(), m_pResult->ulErrCode);
        break;
    case Kind::Hresult:
        trace.Print(L"EXIT:  %s, HRESULT=0X%x", Name(), *m_pHresult);
        break;
    }
    trace.m_iDepth.fetch_sub(1, std::memory_order_relaxed);
}
