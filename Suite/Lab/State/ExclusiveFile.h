#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

// A lock across processes: a file that one of them at a time has open, and that is there for just as long. It does not
// belong to a thread, and the system gives it back for a holder that dies.
class CExclusiveFile
{
  public:
    CExclusiveFile() = default;
    ~CExclusiveFile() { Release(); }
    CExclusiveFile(const CExclusiveFile&) = delete;
    CExclusiveFile& operator=(const CExclusiveFile&) = delete;

    // 0 when this object has it now, ERROR_LOCK_VIOLATION when another has it, otherwise what is wrong with the file.
    DWORD Try(const CRavString& path);
    void Release();
    bool IsHeld() const { return m_file != INVALID_HANDLE_VALUE; }

  private:
    HANDLE m_file = INVALID_HANDLE_VALUE;
};
