#pragma once

#include "Common/Src/RavString.h"

// What the lab changes as a program of the suite would: through the core agent, under the configuration lock, with the
// VLAN agent there to follow. Throws LabError.

// Sets the adapter's jumbo-frame size, in bytes; the VLANs above it follow.
void SetJumboSize(const CRavString& adapter, int size);
