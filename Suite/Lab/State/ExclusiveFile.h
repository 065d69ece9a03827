#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

// A lock across processes: a file that one of them at a time has open. It does not belong to a thread, and the system
// gives it back for a holder that dies.
class CExclusiveFile
{
  public:
    CExclusiveFile() = default;
    ~CExclusiveFile() { Release(); }
    CExclusiveFile(const CExclusiveFile&) = delete;
    CExclusiveFile& operator=(const CExclusiveFile&) = delete;

    // Waits for at most so long (INFINITE: for as long as it takes); false when another has it still.
    bool Acquire(const CRavString& path, DWORD waitMilliseconds);
    void Release();
    bool IsHeld() const { return m_file != INVALID_HANDLE_VALUE; }

  private:
    HANDLE m_file = INVALID_HANDLE_VALUE;
};
