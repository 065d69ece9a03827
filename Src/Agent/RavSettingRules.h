#pragma once
// What speaks against a value of an advanced setting, and what a client's value comes to.

#include "Common/Settings/RavSettingValues.h"
#include "Src/RavVlanMessages.h"

#include <cstdint>
#include <optional>

// Appends a stop message about settings; the parameters are those that RavVlanMessages.h names for the code.
void RavStopSetting(CRavVlanMessages& messages, RAV_VLAN_MESSAGE code, const std::vector<CRavString>& parameters);

// The number that a client's value asks for: of a value that differs from the present one its number; otherwise that of
// its display text, where that is another one. An empty text says nothing. Without a number a message tells why.
std::optional<int32_t> RavNumberOf(CRavVlanMessages& messages, const RAV_SETTING& setting,
                                   const RAV_SETTING_VAL* pValue);

// Appends what the setting itself has against the number; nothing when it accepts it.
void RavJudgeNumber(CRavVlanMessages& messages, const RAV_SETTING& setting, int32_t number);

// Whether the record is of a kind that a VLAN can have: only of these there are a current and a default value.
inline bool RavIsEnumOrInt(const RAV_SETTING& setting)
{
    return setting.GetType() == RAV_SETTING_TYPE_ENUM || setting.GetType() == RAV_SETTING_TYPE_INT;
}
