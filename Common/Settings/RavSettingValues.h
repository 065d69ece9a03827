#pragma once

#include "Common/Settings/RavSetting.h"

#include <optional>

// The numbers of a setting, a choice or a number in a range alike; 0 of a setting of another kind.
int32_t RavCurrentOf(const RAV_SETTING& setting);
int32_t RavDefaultOf(const RAV_SETTING& setting);
void RavSetCurrent(RAV_SETTING& setting, int32_t number);

// The number that a text is: decimal, with or without a sign before it.
std::optional<int32_t> RavNumberFromText(const CRavString& text);
// The number that a text stands for: one that the setting may have, or the text of a choice in any case of letters.
std::optional<int32_t> RavValueFromText(const RAV_SETTING& setting, const CRavString& text);
// The values that it may have: "1 to 8 in steps of 2", "1514 Disabled, 9014 9014 Bytes".
CRavString RavPossibleValues(const RAV_SETTING& setting);
