#pragma once

#include <windows.h>

// Outcome of an operation of the suite. Both words start as failure; code 0 is success. The class word tells apart
// kinds of failure where an operation documents them.
class CResult
{
  public:
    static constexpr DWORD FAILED = 0xFFFFFFFF;

    constexpr CResult() = default;
    constexpr explicit CResult(DWORD code, DWORD resultClass = FAILED) : ulErrCode(code), ulErrClass(resultClass) {}

    // The code alone: the class word stays as it started.
    static constexpr CResult Success() { return CResult(0); }
    constexpr bool Succeeded() const { return ulErrCode == 0; }

    DWORD ulErrCode = FAILED;
    DWORD ulErrClass = FAILED;
};
