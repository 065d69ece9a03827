#pragma once

#include <windows.h>

#include <string>

/// The one write lock of the machine's network configuration. It is a file that its holder has opened for itself alone
/// and that goes with the handle, so a holder that dies frees it, and it belongs to no thread.
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
    bool IsHeld() const { return m_hFile != INVALID_HANDLE_VALUE; }

    /// Whether anybody holds it, this object included.
    static bool IsHeldBySomebody();
    /// The description of the present or last holder; empty when it left none.
    static std::wstring HolderDescription();

  private:
    HANDLE m_hFile = INVALID_HANDLE_VALUE;
};
