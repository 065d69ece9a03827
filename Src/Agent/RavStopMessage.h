#pragma once
// How messages get into the list of a validation.

#include "Src/RavVlanMessages.h"

#include <vector>

// The parameters are those that RavVlanMessages.h names for the code; where it names none, there is one, and it is
// empty.
inline void RavAddMessage(CRavVlanMessages& messages, DWORD code, DWORD category, DWORD severity,
                          const std::vector<CRavString>& parameters = {CRavString()})
{
    messages.push_back({code, category, severity, parameters});
}

// What must not be done.
inline void RavStop(CRavVlanMessages& messages, RAV_VLAN_MESSAGE code)
{
    RavAddMessage(messages, code, RAV_CATEGORY_VLAN, RAV_SEVERITY_STOP);
}
