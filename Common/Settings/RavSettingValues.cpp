#include "Common/Settings/RavSettingValues.h"

#include <cwchar>

namespace
{
constexpr size_t MOST_DIGITS = 10;

const RAV_SETTING_ENUM* AsChoice(const RAV_SETTING& setting)
{
    return setting.GetType() == RAV_SETTING_TYPE_ENUM ? static_cast<const RAV_SETTING_ENUM*>(&setting) : nullptr;
}

const RAV_SETTING_INT* AsNumber(const RAV_SETTING& setting)
{
    return setting.GetType() == RAV_SETTING_TYPE_INT ? static_cast<const RAV_SETTING_INT*>(&setting) : nullptr;
}
} // namespace

int32_t RavCurrentOf(const RAV_SETTING& setting)
{
    const RAV_SETTING_ENUM* const choice = AsChoice(setting);
    const RAV_SETTING_INT* const number = AsNumber(setting);
    return choice != nullptr ? choice->iCurrent : number != nullptr ? number->iCurrent : 0;
}

int32_t RavDefaultOf(const RAV_SETTING& setting)
{
    const RAV_SETTING_ENUM* const choice = AsChoice(setting);
    const RAV_SETTING_INT* const number = AsNumber(setting);
    return choice != nullptr ? choice->iDefault : number != nullptr ? number->iDefault : 0;
}

void RavSetCurrent(RAV_SETTING& setting, int32_t number)
{
    if (setting.GetType() == RAV_SETTING_TYPE_ENUM)
        static_cast<RAV_SETTING_ENUM&>(setting).iCurrent = number;
    else if (setting.GetType() == RAV_SETTING_TYPE_INT)
        static_cast<RAV_SETTING_INT&>(setting).iCurrent = number;
}

std::optional<int32_t> RavNumberFromText(const CRavString& text)
{
    const CRavString digits(text.c_str() + (text.starts_with(L"-") ? 1 : 0));
    if (!digits.IsNumeric() || digits.size() > MOST_DIGITS)
        return std::nullopt;
    const int64_t number = _wcstoi64(text, nullptr, 10);
    return number == static_cast<int32_t>(number) ? std::optional(static_cast<int32_t>(number)) : std::nullopt;
}

std::optional<int32_t> RavValueFromText(const RAV_SETTING& setting, const CRavString& text)
{
    const auto valid = [&](const RAV_SETTING_VAL_INT& value) { return setting.IsValueValid(&value); };
    const std::optional<int32_t> number = RavNumberFromText(text);
    if (number && valid(RAV_SETTING_VAL_INT(*number)))
        return number;
    RAV_SETTING_VAL_INT shown(0, text);
    if (AsChoice(setting) != nullptr && setting.SetValueFromDisplay(&shown) && valid(shown))
        return shown.iValue;
    return std::nullopt;
}

CRavString RavPossibleValues(const RAV_SETTING& setting)
{
    CRavString text;
    if (const RAV_SETTING_INT* const number = AsNumber(setting))
    {
        text.FormatString(L"%d to %d", number->iMin, number->iMax);
        return number->iStep > 1 ? text + L" in steps of " + CRavString(number->iStep) : text;
    }
    const RAV_SETTING_ENUM* const choice = AsChoice(setting);
    for (size_t index = 0; choice != nullptr && index < choice->values.size(); ++index)
    {
        CRavString one;
        one.FormatString(L"%d %s", choice->values[index], choice->Description(index).c_str());
        text = text + (index > 0 ? L", " : L"") + one;
    }
    return text;
}
