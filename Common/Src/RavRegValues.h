#pragma once

#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <initializer_list>
#include <vector>

// What several values of one open key held when they were read: together, in one call of the system, when all are
// there, and otherwise one by one. Data in the registry is not trusted: a value of another type, or one longer than is
// asked for, counts as not there.
class CRavRegValues
{
  public:
    // Nothing is there of a null key.
    CRavRegValues(HKEY hKey, std::initializer_list<CRavString> names);

    // By the position of the name. Both leave the output as it was when there is no such value.
    bool Number(size_t uIndex, DWORD& dwValue) const; // REG_DWORD alone
    // REG_SZ alone, up to the first NUL; of data with more than the given number of characters, NUL included, nothing.
    bool Text(size_t uIndex, CRavString& strValue, size_t uMostCharacters) const;
    // The same of data of any type, as CRavRegKey reads text.
    bool AnyText(size_t uIndex, CRavString& strValue, size_t uMostCharacters) const;
    // The system's answer to the question for the value.
    LONG Status(size_t uIndex) const { return m_values[uIndex].status; }

  private:
    struct VALUE
    {
        CRavString name;
        LONG status = ERROR_INVALID_HANDLE;
        DWORD type = REG_NONE;
        std::vector<BYTE> data;
    };
    bool ReadTogether(HKEY hKey);
    void ReadEach(HKEY hKey);

    std::vector<VALUE> m_values;
};

// One value of a key at a path below HKEY_LOCAL_MACHINE, in one call. A text, whatever its type, up to its first NUL
// and at most 255 characters: empty when it is not to be had. A REG_DWORD, left as it was when it is not to be had.
bool RavReadTextAt(const CRavString& strPath, const wchar_t* pName, CRavString& strText);
bool RavReadNumberAt(const CRavString& strPath, const wchar_t* pName, DWORD& dwNumber);

// Reads a REG_MULTI_SZ. A value of another type is not read: the result is false, and the key's last result
// ERROR_SUCCESS tells it from a list that is missing or cannot be read.
bool RavReadList(CRavRegKey& key, const CRavString& name, std::vector<CRavString>& list);
