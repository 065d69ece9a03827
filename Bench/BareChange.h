#pragma once

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavString.h"

// Changes one VLAN of the bench's parent by bare calls, under the suite's lock; the reload is the core agent's work on
// both sides.
void BareRename(CRavCoreAgentPvtIntf& core, const CRavString& vlan, const wchar_t* name);
void BareSetId(CRavCoreAgentPvtIntf& core, const CRavString& vlan, DWORD from, DWORD to);
void BareSetSetting(CRavCoreAgentPvtIntf& core, const CRavString& vlan, const wchar_t* setting, int value);
