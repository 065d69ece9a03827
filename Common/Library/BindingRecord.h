#pragma once

#include "Common/Src/RavString.h"

#include <vector>

// Which protocols the library has taken off an adapter, so that they and no others come back: an administrator may have
// unticked some long before. Kept in the suite's key ("Bindings", one list of component ids an adapter), because the
// driver reads its own.

// False when there is no record of the adapter; the system's status tells whether that is sure.
bool RavReadBindingRecord(const CRavString& adapter, std::vector<CRavString>& protocols, LONG* pStatus = nullptr);
bool RavWriteBindingRecord(const CRavString& adapter, const std::vector<CRavString>& protocols);
// The key goes with its last record. True also where there is nothing to delete.
bool RavDeleteBindingRecord(const CRavString& adapter);
