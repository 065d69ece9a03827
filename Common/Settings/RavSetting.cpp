#include "Common/Settings/RavSetting.h"

#include "Common/Src/RavRegKey.h"
#include "Common/Src/SuiteNames.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <limits>
#include <type_traits>

namespace
{
constexpr wchar_t PERFORMANCE_PROFILE[] = L"PerformanceProfile";
// Reserved numbers of that setting.
constexpr int32_t PROFILE_NEVER_A = 0;
constexpr int32_t PROFILE_NEEDS_SCRIPT = 1;
constexpr int32_t PROFILE_ALWAYS = 98;
constexpr int32_t PROFILE_NEVER_B = 99;

template <typename Value>
auto AsNumber(Value* pValue)
{
    using Number = std::conditional_t<std::is_const_v<Value>, const RAV_SETTING_VAL_INT, RAV_SETTING_VAL_INT>;
    const bool isNumber = pValue != nullptr && pValue->GetType() == RAV_SETTING_TYPE_INT;
    return isNumber ? static_cast<Number*>(pValue) : nullptr;
}

bool HasMeaning(const CRavString& display)
{
    return !display.CompareI(RAV_DISPLAY_VALUE_NOT_SUPPORTED);
}

bool IsNewText(const CRavString& display, const CRavString& current)
{
    return HasMeaning(display) && !display.CompareI(current);
}

// What a client has changed of a value.
enum class Wish
{
    None,
    Number,
    Text
};

Wish WishOf(const RAV_SETTING_VAL_INT* value, int32_t current, const CRavString& currentDisplay)
{
    if (value == nullptr)
        return Wish::None;
    if (value->iValue != current)
        return Wish::Number;
    return IsNewText(value->strDisplay, currentDisplay) ? Wish::Text : Wish::None;
}

bool IsRestoreScriptPresent()
{
    CRavRegKey key;
    CRavString script;
    return key.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, false) && key.GetValue(SuiteValue::RestoreScript, script);
}
} // namespace

RAV_SETTING* RAV_SETTING_ENUM::Clone() const
{
    return new RAV_SETTING_ENUM(*this);
}

bool RAV_SETTING_ENUM::IsValueValid(const RAV_SETTING_VAL* pValue) const
{
    const auto* number = AsNumber(pValue);
    if (number == nullptr)
        return false;
    if (!strName.CompareI(PERFORMANCE_PROFILE))
        return IsListed(number->iValue);
    switch (number->iValue)
    {
    case PROFILE_ALWAYS:
        return true;
    case PROFILE_NEVER_A:
    case PROFILE_NEVER_B:
        return false;
    case PROFILE_NEEDS_SCRIPT:
        return IsListed(PROFILE_NEEDS_SCRIPT) && IsRestoreScriptPresent();
    default:
        return IsListed(number->iValue);
    }
}

bool RAV_SETTING_ENUM::ResolveDisplayValue(RAV_SETTING_VAL* pValue) const
{
    auto* number = AsNumber(pValue);
    const Wish wish = WishOf(number, iCurrent, strCurrentDisplay);
    if (wish != Wish::Text)
        return wish == Wish::Number;
    const int32_t* found = FindByDescription(number->strDisplay);
    if (found == nullptr)
        return false;
    number->iValue = *found;
    return true;
}

bool RAV_SETTING_ENUM::SetValueFromDisplay(RAV_SETTING_VAL* pValue) const
{
    auto* number = AsNumber(pValue);
    if (number == nullptr)
        return false;
    const int32_t* found = HasMeaning(number->strDisplay) ? FindByDescription(number->strDisplay) : nullptr;
    number->iValue = found != nullptr ? *found : UnlistedNumber();
    return found != nullptr;
}

CRavString RAV_SETTING_ENUM::GetDisplayValue() const
{
    return strCurrentDisplay;
}

CRavString RAV_SETTING_ENUM::Description(size_t uIndex) const
{
    return uIndex < descriptions.size() ? descriptions[uIndex] : CRavString();
}

bool RAV_SETTING_ENUM::ShowCurrent()
{
    const auto choice = std::find(values.begin(), values.end(), iCurrent);
    if (choice == values.end())
        return false;
    strCurrentDisplay = Description(static_cast<size_t>(choice - values.begin()));
    return true;
}

bool RAV_SETTING_ENUM::IsListed(int32_t number) const
{
    return std::find(values.begin(), values.end(), number) != values.end();
}

const int32_t* RAV_SETTING_ENUM::FindByDescription(const CRavString& text) const
{
    const size_t count = std::min(values.size(), descriptions.size());
    for (size_t i = 0; i < count; ++i)
    {
        if (descriptions[i].CompareI(text))
            return &values[i];
    }
    return nullptr;
}

int32_t RAV_SETTING_ENUM::UnlistedNumber() const
{
    int32_t smallest = 0;
    for (int32_t value : values)
        smallest = std::min(smallest, value);
    if (smallest > std::numeric_limits<int32_t>::min())
        return smallest - 1;
    // Nothing is below the smallest number there is: take the greatest that is free.
    int32_t number = std::numeric_limits<int32_t>::max();
    while (IsListed(number))
        --number;
    return number;
}

RAV_SETTING* RAV_SETTING_INT::Clone() const
{
    return new RAV_SETTING_INT(*this);
}

bool RAV_SETTING_INT::IsValueValid(const RAV_SETTING_VAL* pValue) const
{
    const auto* number = AsNumber(pValue);
    if (number == nullptr || number->iValue > iMax || number->iValue < iMin)
        return false;
    // In 64 bits, because the whole 32-bit range may lie between minimum and value.
    return iStep == 0 || (int64_t{number->iValue} - iMin) % iStep == 0;
}

bool RAV_SETTING_INT::ResolveDisplayValue(RAV_SETTING_VAL* pValue) const
{
    auto* number = AsNumber(pValue);
    const Wish wish = WishOf(number, iCurrent, strCurrentDisplay);
    if (wish != Wish::Text)
        return wish == Wish::Number;
    number->iValue = _wtoi(number->strDisplay.c_str());
    return true;
}

bool RAV_SETTING_INT::SetValueFromDisplay(RAV_SETTING_VAL* pValue) const
{
    auto* number = AsNumber(pValue);
    if (number == nullptr)
        return false;
    if (HasMeaning(number->strDisplay))
        number->iValue = _wtoi(number->strDisplay.c_str());
    return true;
}

CRavString RAV_SETTING_INT::GetDisplayValue() const
{
    return strCurrentDisplay;
}
