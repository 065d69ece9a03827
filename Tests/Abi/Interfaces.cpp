// Makes the compiler lay out the tables of interfaces that other modules supply, and of the records that travel.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Settings/RavSetting.h"

template <typename Interface>
struct Derived : Interface
{
    Derived() {} // uses the table
};
template struct Derived<CRavCoreAgentPvtIntf>;
template struct Derived<CRavTeamAgentPvtIntf>;
template struct Derived<RAV_SETTING_ENUM>;
template struct Derived<RAV_SETTING_INT>;
template struct Derived<RAV_SETTING_VAL_STR>;
template struct Derived<RAV_SETTING_VAL_INT>;
template struct Derived<RAV_SETTING_VAL_MULTI_STR>;
