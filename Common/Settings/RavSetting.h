#pragma once

#include "Common/Src/RavString.h"

#include <cstdint>
#include <memory>
#include <vector>

// Advanced settings of adapters, teams and VLANs, and the values that clients read and write. The modules of the suite
// hand these records to each other: order of the fields and of the virtual operations is fixed.
//
// Plain data without a lock: one thread at a time per record. Every record that one module gets from another as a plain
// pointer belongs to the receiver, who deletes it. Nothing here throws, short of memory running out.

// Kinds of settings and of values, in one numbering.
enum RAV_SETTING_TYPE : int
{
    RAV_SETTING_TYPE_ENUM = 0,
    RAV_SETTING_TYPE_STR = 1,
    RAV_SETTING_TYPE_INT = 2,
    RAV_SETTING_TYPE_MULTI_STR = 5
};

// Display text of a value whose text carries no meaning; its number alone counts. Compared without regard to case.
inline constexpr wchar_t RAV_DISPLAY_VALUE_NOT_SUPPORTED[] = L"TheDisplayValueIsNotSupportedForThisSetting";

// Expose level of a setting that is there but not offered to the user.
inline constexpr uint32_t RAV_EXPOSE_HIDDEN = 3;

// ---------------------------------------------------------------------------------------------------------- values

struct RAV_SETTING_VAL
{
    virtual ~RAV_SETTING_VAL() = default;
    virtual RAV_SETTING_TYPE GetType() const = 0;

  protected:
    RAV_SETTING_VAL() = default;
    RAV_SETTING_VAL(const RAV_SETTING_VAL&) = default;
    RAV_SETTING_VAL& operator=(const RAV_SETTING_VAL&) = default;
};

struct RAV_SETTING_VAL_STR : RAV_SETTING_VAL
{
    RAV_SETTING_TYPE GetType() const override { return RAV_SETTING_TYPE_STR; }

    CRavString strValue;
    CRavString strDisplay;
};

// The value of an integer setting and of an enumeration alike.
struct RAV_SETTING_VAL_INT : RAV_SETTING_VAL
{
    RAV_SETTING_VAL_INT() = default;
    explicit RAV_SETTING_VAL_INT(int32_t value, const CRavString& display = {}) : iValue(value), strDisplay(display) {}
    RAV_SETTING_TYPE GetType() const override { return RAV_SETTING_TYPE_INT; }

    int32_t iValue = 0;
    CRavString strDisplay;
};

struct RAV_SETTING_VAL_MULTI_STR : RAV_SETTING_VAL
{
    RAV_SETTING_TYPE GetType() const override { return RAV_SETTING_TYPE_MULTI_STR; }

    std::vector<CRavString> values;
    std::vector<CRavString> displays; // parallel to values
};

// -------------------------------------------------------------------------------------------------------- settings

// What every setting has. Each check answers false, and changes nothing, for a value of another type than integer and
// for a null pointer.
struct RAV_SETTING
{
    virtual RAV_SETTING_TYPE GetType() const = 0;
    virtual ~RAV_SETTING() = default;

    // A copy of all fields, independent of this record. The caller deletes it.
    virtual RAV_SETTING* Clone() const = 0;
    // Whether the setting may take the value's number.
    virtual bool IsValueValid(const RAV_SETTING_VAL* pValue) const = 0;
    // For a client that may have changed the display text alone: a number other than the current one stands, otherwise
    // a changed text is translated into the number. True when the value holds the client's wish; false when nothing was
    // changed or the text is not one of the setting's.
    virtual bool ResolveDisplayValue(RAV_SETTING_VAL* pValue) const = 0;
    // Sets the number from the display text. An unknown text of an enumeration gives false and a number that
    // IsValueValid refuses; an integer setting answers true always, and a text without meaning leaves its number alone.
    virtual bool SetValueFromDisplay(RAV_SETTING_VAL* pValue) const = 0;
    // The text of the current value.
    virtual CRavString GetDisplayValue() const = 0;

    CRavString strName;         // keyword, such as "*JumboPacket"; compared without regard to case
    CRavString strRegistryName; // the keyword once more
    CRavString strDisplayName;
    uint32_t ulCode1 = 0;
    uint16_t usCode2 = 0; // 99 in integer settings made from a template
    int64_t llCode3 = 0;
    CRavString strHelpText;
    CRavString strText1;
    CRavString strText2;
    uint32_t ulCode4 = 1;
    uint32_t ulExposeLevel = 0;

  protected:
    RAV_SETTING() = default;
    RAV_SETTING(const RAV_SETTING&) = default;
    RAV_SETTING& operator=(const RAV_SETTING&) = default;
};

// A choice among listed values. A value without a description is a valid number, but cannot be chosen by text.
struct RAV_SETTING_ENUM : RAV_SETTING
{
    RAV_SETTING_TYPE GetType() const override { return RAV_SETTING_TYPE_ENUM; }
    RAV_SETTING* Clone() const override;
    // A listed number. For the setting "PerformanceProfile" 98 is valid in any case, 0 and 99 in none, and a
    // listed 1 only while the suite's registry key has a "SaveRestoreScriptFromMSI".
    bool IsValueValid(const RAV_SETTING_VAL* pValue) const override;
    bool ResolveDisplayValue(RAV_SETTING_VAL* pValue) const override;
    bool SetValueFromDisplay(RAV_SETTING_VAL* pValue) const override;
    CRavString GetDisplayValue() const override;
    // The text of a choice; empty for one that has none.
    CRavString Description(size_t uIndex) const;
    // Sets the current display text; false, and no change, when the current value is none of the choices.
    bool ShowCurrent();

    int32_t iDefault = 0;
    int32_t iCurrent = 0;
    CRavString strCurrentDisplay;
    std::vector<int32_t> values;          // in registry order
    std::vector<CRavString> descriptions; // parallel to values; another module may hand over a shorter list

  private:
    bool IsListed(int32_t number) const;
    const int32_t* FindByDescription(const CRavString& text) const;
    int32_t UnlistedNumber() const;
};

// A number in a range.
struct RAV_SETTING_INT : RAV_SETTING
{
    RAV_SETTING_TYPE GetType() const override { return RAV_SETTING_TYPE_INT; }
    RAV_SETTING* Clone() const override;
    // From min to max, both included, in steps from min on.
    bool IsValueValid(const RAV_SETTING_VAL* pValue) const override;
    // Texts are decimal; one without a number gives 0, one beyond 32 bits the nearest limit.
    bool ResolveDisplayValue(RAV_SETTING_VAL* pValue) const override;
    bool SetValueFromDisplay(RAV_SETTING_VAL* pValue) const override;
    CRavString GetDisplayValue() const override;

    int32_t iBase = 0;
    int32_t iMax = 0;
    int32_t iMin = 0;
    int32_t iStep = 0; // 0: every number in range
    int32_t iDefault = 0;
    int32_t iCurrent = 0;
    int32_t iScale = 0;
    CRavString strCurrentDisplay;
};

// Clone with its owner.
inline std::unique_ptr<RAV_SETTING> RavCloneSetting(const RAV_SETTING& setting)
{
    return std::unique_ptr<RAV_SETTING>(setting.Clone());
}
