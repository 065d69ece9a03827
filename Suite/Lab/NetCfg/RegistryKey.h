#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// One registry key handle, closed by its owner. Paths are relative to HKEY_LOCAL_MACHINE, which is looked up at every
/// call so that an overridden predefined key is honoured. Reads of a value of another type count as missing.
class CRegistryKey
{
  public:
    CRegistryKey() = default;
    CRegistryKey(CRegistryKey&& other) noexcept;
    CRegistryKey& operator=(CRegistryKey&& other) noexcept;
    ~CRegistryKey();

    /// Opens or creates a key; the handle held before is closed. Results are Win32 error codes.
    LSTATUS Open(const std::wstring& path, REGSAM access = KEY_READ);
    LSTATUS Create(const std::wstring& path, DWORD options = REG_OPTION_NON_VOLATILE);

    bool IsOpen() const { return m_hKey != nullptr; }
    HKEY Get() const { return m_hKey; }
    HKEY Detach();

    std::optional<std::wstring> Text(const wchar_t* name) const;
    std::optional<DWORD> Number(const wchar_t* name) const;
    std::optional<std::vector<std::wstring>> List(const wchar_t* name) const;

    /// The name of the subkey at a position, or nothing beyond the last. Windows keeps subkeys sorted by name.
    std::optional<std::wstring> Subkey(DWORD index) const;
    DWORD SubkeyCount() const;
    std::vector<std::wstring> Subkeys() const;

    LSTATUS SetText(const wchar_t* name, const std::wstring& text);
    LSTATUS SetNumber(const wchar_t* name, DWORD number);
    LSTATUS SetList(const wchar_t* name, const std::vector<std::wstring>& list);
    LSTATUS DeleteValue(const wchar_t* name);

  private:
    std::optional<std::wstring> Raw(const wchar_t* name, DWORD type) const;
    LSTATUS Set(const wchar_t* name, DWORD type, const void* data, size_t size);

    HKEY m_hKey = nullptr;
};

/// A text of up to 255 characters, of a key that need not be opened for it. A Win32 error, and an empty text, when
/// there is none.
LSTATUS ReadTextAt(const std::wstring& path, const wchar_t* name, std::wstring& text);

/// Deletes a key with all below it; a missing key is no error.
LSTATUS DeleteKeyTree(const std::wstring& path);

/// Deletes a key with all below it, then those of its parents that it leaves empty, up to but without `root`.
LSTATUS DeleteKeyAndEmptyParents(const std::wstring& path, const std::wstring& root);

/// Whether two registry names are the same name.
bool SameName(const std::wstring& left, const std::wstring& right);
