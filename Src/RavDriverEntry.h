#pragma once
// The entry that the intermediate driver keeps of an adapter it serves, and lists of text as it reads them.

#include "Common/Src/RavRegKey.h"
#include "Src/RavNameTable.h"

#include <vector>

// The path of the entry below HKEY_LOCAL_MACHINE.
inline CRavString RavDriverEntryPath(const CRavString& adapter)
{
    return RavName(RAV_NAME_DRIVER_ADAPTERS_KEY) + L"\\" + adapter;
}

// Whether a number was not read because there is none, or something else under its name: not because it could not be.
inline bool RavIsNoNumber(LONG status)
{
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_SUCCESS || status == ERROR_MORE_DATA;
}

// Reads a REG_MULTI_SZ. A value of another type is not that list and never taken for it: then the result is false, and
// the key's last result ERROR_SUCCESS.
inline bool RavReadList(CRavRegKey& key, const CRavString& name, std::vector<CRavString>& list)
{
    list.clear();
    return key.GetRegType(name) == REG_MULTI_SZ && key.GetValue(name, list);
}
