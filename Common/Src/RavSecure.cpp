#include "Common/Src/RavSecure.h"

#include "Common/Src/RavDebug.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cwchar>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"..\\..\\Common\\Src\\RavSecure";
constexpr int COPY_LINE = 98;
constexpr int CAT_LINE = 150;
constexpr int NULL_DESTINATION_LINE = 189;

std::atomic<bool> g_handlerInstalled{false};
_invalid_parameter_handler g_previousHandler = nullptr;

void EnsureHandler(int line)
{
    if (g_handlerInstalled.load(std::memory_order_acquire))
        return;
    RavTrace().Error(SOURCE_FILE, line, L"Setting invalid parameter handler to: RavSecureInvalidParameterHandler");
    g_previousHandler = _set_invalid_parameter_handler(RavSecureInvalidParameterHandler);
    g_handlerInstalled.store(true, std::memory_order_release);
}

// Copy and concatenation share their messages, which all name the copy.
void Report(int error, const wchar_t* sourceFile, int line, const wchar_t* destination)
{
    if (error == EINVAL && destination == nullptr)
        RavTrace().Error(SOURCE_FILE, NULL_DESTINATION_LINE, L"RavSafeCopy ERROR: NULL == strDestination");
    else if (error == EINVAL)
        RavTrace().Error(sourceFile, line, L"RavSafeCopy ERROR: NULL == strSource");
    else if (error == ERANGE)
        RavTrace().Error(sourceFile, line, L"RavSafeCopy ERROR: strDestination size 0, or too small");
}
} // namespace

int RavSafeCopy(const wchar_t* sourceFile, int line, wchar_t* destination, size_t destinationSize,
                const wchar_t* source)
{
    EnsureHandler(COPY_LINE);
    const int error = wcscpy_s(destination, destinationSize, source);
    Report(error, sourceFile, line, destination);
    return error;
}

int RavSafeCat(const wchar_t* sourceFile, int line, wchar_t* destination, size_t destinationSize, const wchar_t* source)
{
    EnsureHandler(CAT_LINE);
    const int error = wcscat_s(destination, destinationSize, source);
    Report(error, sourceFile, line, destination);
    return error;
}

int RavSecureDetail::Traced(const wchar_t* scope, Operation operation, const wchar_t* sourceFile, int line,
                            wchar_t* destination, size_t destinationSize, const wchar_t* source)
{
    int error = 0;
    const CRavTraceScope trace(scope, &error);
    error = operation(sourceFile, line, destination, destinationSize, source);
    return error;
}

void RavSecureInvalidParameterHandler(const wchar_t* /*expression*/, const wchar_t* /*function*/,
                                      const wchar_t* /*file*/, unsigned int /*line*/, uintptr_t /*reserved*/)
{
    RavTrace().Print(L"RavSecureInvalidParameterHandler : ERROR");
}
