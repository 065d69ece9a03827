// What formats take is checked by the compiler: this file is a test by being compiled. With WRONG set to 1 to 3 it must
// not compile.

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavString.h"

static_assert(RavFormatTakes<>(L"") && RavFormatTakes<>(L"100%%"));
static_assert(RavFormatTakes<const wchar_t*, wchar_t*, const char*, char*>(L"%s %ls %S %hs"));
static_assert(RavFormatTakes<int, DWORD, HRESULT, bool, wchar_t>(L"%d|%-08lX|0X%x|%i|%c"));
static_assert(RavFormatTakes<long long, ULONGLONG, size_t, int64_t>(L"%I64X%llu%zu%+I64d"));
static_assert(RavFormatTakes<int, int, const wchar_t*, double, void*>(L"%*.*s %5.2f %p"));

static_assert(!RavFormatTakes<const char*>(L"%s") && !RavFormatTakes<const wchar_t*>(L"%S"));
static_assert(!RavFormatTakes<int>(L"%s") && !RavFormatTakes<CRavString>(L"%s") && !RavFormatTakes<GUID*>(L"%s"));
static_assert(!RavFormatTakes<long long>(L"%d") && !RavFormatTakes<int>(L"%I64d") && !RavFormatTakes<size_t>(L"%u"));
static_assert(!RavFormatTakes<const wchar_t*>(L"%d") && !RavFormatTakes<double>(L"%d") && !RavFormatTakes<int>(L"%f"));
static_assert(!RavFormatTakes<>(L"%d") && !RavFormatTakes<int>(L"none") && !RavFormatTakes<int, int>(L"%d%%d"));
static_assert(!RavFormatTakes<const wchar_t*>(L"%*s") && !RavFormatTakes<int*>(L"%n"));
static_assert(!RavFormatTakes<>(L"%") && !RavFormatTakes<int>(L"%d%") && !RavFormatTakes<int>(L"%y"));

void CompileTheseCalls(CRavDebug& trace, CRavString& text)
{
#if WRONG == 1
    trace.Print(L"%s", text);
#elif WRONG == 2
    trace.Error(L"File", __LINE__, L"%s (%d)", L"text");
#elif WRONG == 3
    text.FormatString(L"%u", L"text");
#else
    trace.Print(L"%s", text.c_str());
    trace.Error(L"File", __LINE__, L"%s (%d)", L"text", 1);
    text.FormatString(L"%u", 1);
#endif
}
