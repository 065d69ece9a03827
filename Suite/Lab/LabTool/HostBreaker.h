#pragma once

#include "Common/Src/RavString.h"

#include <string>
#include <vector>

// Ways to break a host as interrupted programs, other programs and people do, each named after what an examination of
// the host finds then.

std::vector<std::string> HostBreaks();
// Breaks the host at an adapter or VLAN. False when the registry could not be written; throws LabError for an unknown
// break, and where it cannot be made.
bool BreakHost(const std::string& name, const CRavString& guid);
