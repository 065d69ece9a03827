#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

// Reads the ids that a client asks for: "12", "10,20,30" or "5-9", without blanks and without mixing. The untagged
// VLAN, 0, comes last. False, with an empty list, for any other text. An id that a list names twice is in it twice; a
// second 0 stays where it stands.
//
// Ids are not checked against their bound here. A range that leaves it ends with its first id too many, or with more of
// them than any parent carries: enough to refuse it for all its reasons, however far it would have gone on.
bool RavParseVlanIds(const CRavString& text, std::vector<DWORD>& ids);
