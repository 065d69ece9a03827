#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

// Reads the ids that a client asks for: "12", "10,20,30" or "5-9", without blanks and without mixing. The untagged
// VLAN, 0, comes once and last. False, with an empty list, for any other text.
//
// Ids are not checked against their bound here. A range that leaves it ends with its first id too many, which is enough
// to refuse it, however far it would have gone on.
bool RavParseVlanIds(const CRavString& text, std::vector<DWORD>& ids);
