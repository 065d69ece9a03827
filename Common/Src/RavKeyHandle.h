#pragma once
// What lies beneath the registry key wrapper: the handle's owner and the one call that writes a value.

#include <windows.h>

#include <utility>

// Owns an open registry key and closes it. Moves, and is never copied; null while it holds none.
class CRavKeyHandle
{
  public:
    CRavKeyHandle() = default;
    explicit CRavKeyHandle(HKEY hKey) : m_hKey(hKey) {}
    CRavKeyHandle(CRavKeyHandle&& other) noexcept : m_hKey(other.Release()) {}
    CRavKeyHandle& operator=(CRavKeyHandle&& other) noexcept
    {
        HKEY hKey = other.Release();
        Close();
        m_hKey = hKey;
        return *this;
    }
    ~CRavKeyHandle() { Close(); }

    HKEY Get() const { return m_hKey; }
    explicit operator bool() const { return m_hKey != nullptr; }
    // Where a platform call is to put the key that it opens. What was held is closed first.
    HKEY* Receive()
    {
        Close();
        return &m_hKey;
    }
    // The handle, which is the caller's from here on.
    HKEY Release() { return std::exchange(m_hKey, nullptr); }
    // The status of closing it; 0 when there was nothing to close.
    LONG Close() { return m_hKey != nullptr ? RegCloseKey(Release()) : ERROR_SUCCESS; }

  private:
    HKEY m_hKey = nullptr;
};

// Opens a key below HKEY_LOCAL_MACHINE or another one; what was held is closed first. The status.
inline LONG RavOpenKey(HKEY root, const wchar_t* path, REGSAM access, CRavKeyHandle& key)
{
    const LONG status = RegOpenKeyExW(root, path, 0, access, key.Receive());
    if (status != ERROR_SUCCESS)
        key.Release(); // whatever a failing call leaves there is no key
    return status;
}

// The status of writing a value.
inline LONG RavWriteValue(HKEY hKey, const wchar_t* name, DWORD type, const void* data, size_t size)
{
    return RegSetValueExW(hKey, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
}

inline LONG RavWriteNumber(HKEY hKey, const wchar_t* name, DWORD value)
{
    return RavWriteValue(hKey, name, REG_DWORD, &value, sizeof(value));
}
