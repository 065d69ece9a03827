#pragma once

#include "Common/Src/RavKeyHandle.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

// Owns at most one open registry key and reads and writes it by type. Names are compared without regard to case.
//
// Operations return whether they succeeded and keep the operating system's status of their last call (LastResult),
// unless said otherwise; none throws. Data in the registry is not trusted: whatever is stored, nothing is read or
// written beyond it. One thread at a time per object.
//
// The class belongs to the suite's common library: its operations are those that the suite's modules rely on, whether
// this module calls them or not.
class CRavRegKey
{
  public:
    CRavRegKey();
    // Adopts an open handle and closes it one day.
    explicit CRavRegKey(HKEY hKey);
    // Takes over what the handle holds; not open when that is nothing.
    explicit CRavRegKey(CRavKeyHandle key);
    // Takes nothing from its source: handles are never shared or duplicated.
    CRavRegKey(const CRavRegKey& other);
    virtual ~CRavRegKey();
    CRavRegKey& operator=(const CRavRegKey&) = delete;
    // Adopts an open handle; one held before is not closed.
    CRavRegKey& operator=(HKEY hKey);

    // Open and create close what was held before. Writing means KEY_READ | KEY_WRITE, otherwise KEY_READ.
    bool Open(HKEY root, const CRavString& subKey, bool bWrite);
    bool Create(HKEY root, const CRavString& subKey, bool bWrite, bool bVolatile);
    void Close();
    // Closes what was held and takes over what the handle holds.
    void Adopt(CRavKeyHandle key);

    HKEY GetHKey() const { return m_key.Get(); }
    LONG LastResult() const { return m_lLastResult; }
    bool IsOpened() const { return m_bIsOpened; }

    // --- reading; false at once when the key is not open ---

    // REG_DWORD alone; value is left as it was on failure.
    bool GetValue(const CRavString& name, DWORD& value);
    // Text of any type, up to the first NUL and at most 255 characters; longer data fails with ERROR_MORE_DATA.
    bool GetValue(const CRavString& name, CRavString& value);
    // List of texts; empty ones are dropped. The stored type is not checked.
    bool GetValue(const CRavString& name, std::vector<CRavString>& values);
    // Raw bytes of any type; size in and out as for RegQueryValueEx.
    bool GetValue(const CRavString& name, BYTE* data, DWORD& size);
    // The stored type; 0 when the value is missing.
    DWORD GetRegType(const CRavString& name);
    // These two leave LastResult alone.
    bool ValueExists(const CRavString& name);
    bool SubKeyExists(const CRavString& name);

    // --- writing; false when the key is not open ---

    bool SetValue(const CRavString& name, const CRavString& value, bool bExpand); // REG_EXPAND_SZ or REG_SZ
    bool SetValue(const CRavString& name, DWORD value);                           // REG_DWORD
    bool SetValue(const CRavString& name, const BYTE* data, DWORD size);          // REG_BINARY
    bool SetValue(const CRavString& name, std::vector<CRavString> values);        // REG_MULTI_SZ
    // The status; LastResult stays as it is.
    LONG FlushKey();

    // --- enumeration: both share one index, which starts again by itself after the last entry ---

    bool EnumSubKey(CRavString& name); // names of up to 255 characters
    bool EnumValue(CRavString& name);  // names of up to 511 characters
    void ResetEnumeration() { m_dwEnumIndex = 0; }

    // --- deleting ---

    // True, by design, also on a key that is not open.
    bool DeleteValue(const CRavString& name);
    // The subkey with all below it. On failure part of the tree may be gone.
    bool DeleteSubKey(const wchar_t* name);

    // --- lists (REG_MULTI_SZ) ---

    bool IsValueInMultiString(const CRavString& name, const CRavString& entry);
    // The first element that contains the part; found gets it as it is stored.
    bool IsSubStringValueInMultiString(const CRavString& name, const CRavString& part, CRavString& found);
    // Appends the entry unless it is there; makes the list when there is none.
    bool AddValueToMultiString(const CRavString& name, const CRavString& entry);
    // Takes out every equal entry; the list stays even when it becomes empty. Nothing to remove is success.
    bool RemoveValueFromMultiString(const CRavString& name, const CRavString& entry);

  private:
    void Init();
    bool TakeStatus(LONG status);
    void BuildKeyName(HKEY root, const CRavString& subKey);
    bool TakeKey(LONG status);
    bool QueryText(const CRavString& name, CRavString& value);
    bool QueryList(const CRavString& name, std::vector<CRavString>& values);
    bool WriteValue(const CRavString& name, DWORD type, const void* data, size_t size);
    DWORD RemoveSubKey(const wchar_t* name);

    CRavKeyHandle m_key;
    bool m_bIsOpened = false;
    LONG m_lLastResult = 0;
    DWORD m_dwEnumIndex = 0;
    CRavString m_strKeyName;
};
