#pragma once
// What lies beneath the registry key wrapper: the handle's owner and the one call that writes a value.

#include "Common/Src/HandleOwner.h"

#include <windows.h>

struct RavKeyCloser
{
    static LONG Close(HKEY hKey) { return hKey != nullptr ? RegCloseKey(hKey) : ERROR_SUCCESS; }
};

// An open registry key; Close gives the status.
using CRavKeyHandle = CRavHandleOwner<HKEY, RavKeyCloser>;

// The status of opening a key below another one. What was held is closed first.
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
