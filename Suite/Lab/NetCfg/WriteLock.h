#pragma once

#include "Suite/Lab/State/ExclusiveFile.h"

#include <windows.h>

#include <string>

/// The one write lock of the machine's network configuration: a lock file, and beside it who holds it.
class CWriteLock
{
  public:
    CWriteLock() = default;
    CWriteLock(const CWriteLock&) = delete;
    CWriteLock& operator=(const CWriteLock&) = delete;
    ~CWriteLock() { Release(); }

    /// Waits up to `milliseconds` (INFINITE: for ever). S_OK: held, S_FALSE: somebody else holds it, or an error.
    HRESULT Acquire(DWORD milliseconds, const std::wstring& description);
    void Release();
    bool IsHeld() const { return m_file.IsHeld(); }

    /// Whether anybody holds it, this object included.
    static bool IsHeldBySomebody();
    /// The description of the present or last holder; empty when it left none.
    static std::wstring HolderDescription();

  private:
    CExclusiveFile m_file;
};
