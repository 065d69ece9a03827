#pragma once

#include "Common/Src/RavString.h"

// Keeps the trace logs of former commands, which the module would begin anew: VlanAgent.1.txt is the last one,
// VlanAgent.9.txt the oldest. To be called before the module is loaded. A log that another process writes is left
// alone, and what cannot be renamed, too.
void KeepFormerTraces(const CRavString& suiteFolder);
