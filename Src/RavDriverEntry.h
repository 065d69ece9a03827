#pragma once
// The entry that the intermediate driver keeps of an adapter it serves, and lists of text as it reads them.

#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavRegValues.h"
#include "Src/RavNameTable.h"

#include <vector>

// The path of the entry below HKEY_LOCAL_MACHINE.
CRavString RavDriverEntryPath(const CRavString& adapter);

// The element by which an entry's binding list names a VLAN, whichever way the key is spelled.
CRavString RavDeviceOf(const CRavString& vlanKey);

// After a number was not read, by the key's last result: whether there is none (the value is missing, or is no number),
// or it could not be read (false).
inline bool RavIsNoNumber(LONG status)
{
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_SUCCESS || status == ERROR_MORE_DATA;
}

// Drops the keys of VLANs that the entry of the adapter does not list; all of them when there is no entry or no list.
// False, with nothing dropped, when the list cannot be read.
bool RavKeepListed(const CRavString& adapter, std::vector<CRavString>& vlanKeys);

// Sets the count in the adapter's entry to the length of its list: a removal that was interrupted between the two
// leaves them different. False when the count cannot be written; where one of them cannot be read both stay as they
// are.
bool RavAlignCount(const CRavString& adapter);
