#include "Common/Src/RavSecure.h"

#include "Common/Src/RavDebug.h"

#include <windows.h>

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

bool IsLoaded(_invalid_parameter_handler handler)
{
    HMODULE module = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<const wchar_t*>(handler), &module) != FALSE;
}

// The process has one handler for all its modules. When this module is unloaded, the handler that it replaced is
// installed again.
class HandlerInstallation
{
  public:
    HandlerInstallation() { RavTrace(); } // made before, so that the handler never writes to a log that is gone
    ~HandlerInstallation()
    {
        // Another module may have replaced ours since: then its handler stays. And the module of the handler that ours
        // replaced may be gone: then the system's own comes back.
        if (_get_invalid_parameter_handler() == RavSecureInvalidParameterHandler)
            _set_invalid_parameter_handler(IsLoaded(m_previous) ? m_previous.load() : nullptr);
    }
    HandlerInstallation(const HandlerInstallation&) = delete;
    HandlerInstallation& operator=(const HandlerInstallation&) = delete;

    void Ensure(int line)
    {
        if (m_installed)
            return;
        RavTrace().Error(SOURCE_FILE, line, L"Setting invalid parameter handler to: RavSecureInvalidParameterHandler");
        const auto previous = _set_invalid_parameter_handler(RavSecureInvalidParameterHandler);
        if (previous != RavSecureInvalidParameterHandler) // another thread was faster
            m_previous = previous;
        m_installed = true;
    }

  private:
    std::atomic<bool> m_installed{false};
    std::atomic<_invalid_parameter_handler> m_previous{nullptr};
};
HandlerInstallation g_handler;

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
    g_handler.Ensure(COPY_LINE);
    const int error = wcscpy_s(destination, destinationSize, source);
    Report(error, sourceFile, line, destination);
    return error;
}

int RavSafeCat(const wchar_t* sourceFile, int line, wchar_t* destination, size_t destinationSize, const wchar_t* source)
{
    g_handler.Ensure(CAT_LINE);
    const int error = wcscat_s(destination, destinationSize, source);
    Report(error, sourceFile, line, destination);
    return error;
}

void RavSecureInstallHandler()
{
    g_handler.Ensure(COPY_LINE);
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
