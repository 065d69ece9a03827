#pragma once

#include <cstddef>
#include <cstdint>

// Bounded copies into fixed buffers, the only way in which the module fills one. Sizes are in characters. They return
// 0, EINVAL or ERANGE; on failure the destination is the empty string and the trace names the caller's place. The
// process never ends over a bad argument: the first use installs an invalid-parameter handler that traces and returns.
// The handler that was there before comes back when this module is unloaded. The suite's common library has both
// operations; this module itself concatenates nothing.

// wcscpy_s
int RavSafeCopy(const wchar_t* sourceFile, int line, wchar_t* destination, size_t destinationSize,
                const wchar_t* source);
// wcscat_s
int RavSafeCat(const wchar_t* sourceFile, int line, wchar_t* destination, size_t destinationSize,
               const wchar_t* source);

namespace RavSecureDetail
{
using Operation = int (*)(const wchar_t*, int, wchar_t*, size_t, const wchar_t*);
int Traced(const wchar_t* scope, Operation operation, const wchar_t* sourceFile, int line, wchar_t* destination,
           size_t destinationSize, const wchar_t* source);
} // namespace RavSecureDetail

// The same for arrays, whose size they deduce, inside a trace scope of their own.
template <size_t Size>
int RavSafeCopy(const wchar_t* sourceFile, int line, wchar_t (&destination)[Size], const wchar_t* source)
{
    return RavSecureDetail::Traced(L"RavSafeCopy", RavSafeCopy, sourceFile, line, destination, Size, source);
}

template <size_t Size>
int RavSafeCat(const wchar_t* sourceFile, int line, wchar_t (&destination)[Size], const wchar_t* source)
{
    return RavSecureDetail::Traced(L"RavSafeCat", RavSafeCat, sourceFile, line, destination, Size, source);
}

// For other calls of the runtime library that may refuse their arguments: installs the handler, if it is not yet.
void RavSecureInstallHandler();

// The handler: traces and returns, so that the runtime library reports the error by its result.
void RavSecureInvalidParameterHandler(const wchar_t* expression, const wchar_t* function, const wchar_t* file,
                                      unsigned int line, uintptr_t reserved);
