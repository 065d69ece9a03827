#include "Src/Agent/RavSettingRules.h"

#include "Src/Agent/RavStopMessage.h"

#include <cwchar>
#include <memory>

namespace
{
CRavString Text(int32_t number)
{
    return std::to_wstring(number).c_str();
}

// The number is needed where the text of an integer setting counts: such a text with anything else in it is no number.
bool IsDecimal(const CRavString& text)
{
    wchar_t* end = nullptr;
    wcstol(text, &end, 10);
    return !text.IsEmpty() && *end == L'\0';
}

const RAV_SETTING_INT* AsRange(const RAV_SETTING& setting)
{
    return setting.GetType() == RAV_SETTING_TYPE_INT ? static_cast<const RAV_SETTING_INT*>(&setting) : nullptr;
}

// Whether it is the text, and not the number, that a client has changed.
bool IsTextChanged(const RAV_SETTING& setting, const RAV_SETTING_VAL_INT& value)
{
    return value.iValue == RavCurrentOf(setting) && !value.strDisplay.IsEmpty() &&
           !value.strDisplay.CompareI(RAV_DISPLAY_VALUE_NOT_SUPPORTED) &&
           !value.strDisplay.CompareI(setting.GetDisplayValue());
}
} // namespace

void RavStopSetting(CRavVlanMessages& messages, RAV_VLAN_MESSAGE code, const std::vector<CRavString>& parameters)
{
    RavAddMessage(messages, code, RAV_CATEGORY_SETTING, RAV_SEVERITY_STOP, parameters);
}

std::optional<int32_t> RavNumberOf(CRavVlanMessages& messages, const RAV_SETTING& setting,
                                   const RAV_SETTING_VAL* pValue)
{
    const auto refuse = [&](RAV_VLAN_MESSAGE code) {
        RavStopSetting(messages, code, {setting.strName});
        return std::nullopt;
    };
    if (pValue == nullptr || pValue->GetType() != RAV_SETTING_TYPE_INT)
        return refuse(RAV_MSG_SETTING_WRONG_KIND);
    RAV_SETTING_VAL_INT value = static_cast<const RAV_SETTING_VAL_INT&>(*pValue);
    if (!IsTextChanged(setting, value))
        return value.iValue;
    if (AsRange(setting) != nullptr && !IsDecimal(value.strDisplay))
        return refuse(RAV_MSG_SETTING_WRONG_KIND);
    if (!setting.ResolveDisplayValue(&value))
        return refuse(RAV_MSG_SETTING_NO_CHOICE);
    return value.iValue;
}

void RavJudgeNumber(CRavVlanMessages& messages, const RAV_SETTING& setting, int32_t number)
{
    const RAV_SETTING_VAL_INT value(number);
    if (setting.IsValueValid(&value))
        return;
    const RAV_SETTING_INT* const range = AsRange(setting);
    if (range == nullptr)
        RavStopSetting(messages, RAV_MSG_SETTING_NO_CHOICE, {setting.strName});
    else if (number < range->iMin || number > range->iMax)
        RavStopSetting(messages, RAV_MSG_SETTING_OUT_OF_RANGE, {Text(range->iMin), Text(range->iMax)});
    else
        RavStopSetting(messages, RAV_MSG_SETTING_OFF_STEP, {Text(range->iMin), Text(range->iStep)});
}
