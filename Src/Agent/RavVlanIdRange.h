#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

// Reads the ids that a client asks for: "12", "10,20,30" or "5-9", without blanks and without mixing. The untagged
// VLAN, 0, comes last. False, with an empty list, for any other text. An id that a list names twice is in it twice; a
// second 0 stays where it stands.
//
// Ids are not checked against their limit here, validation does that. A range is cut off behind its first id beyond the
// limit, but not before it has one id more than a parent carries: "1-4000000000" costs neither time nor memory, and is
// still refused for all its reasons.
bool RavParseVlanIds(const CRavString& text, std::vector<DWORD>& ids);
