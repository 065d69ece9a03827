#pragma once
// The entry that the intermediate driver keeps of an adapter it serves, and lists of text as it reads them.

#include "Common/Src/RavRegKey.h"
#include "Src/RavNameTable.h"

#include <vector>

// The path of the entry below HKEY_LOCAL_MACHINE.
CRavString RavDriverEntryPath(const CRavString& adapter);

// What the binding list of an entry has for a VLAN, whichever way the key is spelled.
CRavString RavDeviceOf(const CRavString& vlanKey);

// Whether a number was not read because there is none, or something else under its name: not because it could not be.
inline bool RavIsNoNumber(LONG status)
{
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_SUCCESS || status == ERROR_MORE_DATA;
}

// Reads a REG_MULTI_SZ. A value of another type is not that list and never taken for it: then the result is false, and
// the key's last result ERROR_SUCCESS.
bool RavReadList(CRavRegKey& key, const CRavString& name, std::vector<CRavString>& list);

// Drops the keys of VLANs that the entry of the adapter does not list; all of them when there is no entry or no list.
// False, with nothing dropped, when the list cannot be read.
bool RavKeepListed(const CRavString& adapter, std::vector<CRavString>& vlanKeys);

// Brings the count in the adapter's entry to the length of its list, where an interruption has parted them. False when
// it cannot be written; what cannot be read stays as it is.
bool RavAlignCount(const CRavString& adapter);
