#pragma once

#include "Plan/RavVlanState.h"
#include "Tools/vlanctl/Note.h"
#include "Tools/vlanctl/Session.h"

#include <string>
#include <vector>

// Advanced settings as their users name and see them.

using SettingList = RAV_SETTINGS;

// Those of a VLAN in registry order. Throws CommandError.
SettingList ReadSettings(CSession& session, const CRavString& vlanKey);
nlohmann::ordered_json SettingToJson(const RAV_SETTING& setting);

bool IsHidden(const RAV_SETTING& setting);
// The text of one of its values: "Enabled", "4"; empty for a choice that has none.
std::string ValueText(const RAV_SETTING& setting, int32_t value);
// The texts of the values that one with several choices can have; none for a number.
std::vector<std::string> ChoicesOf(const RAV_SETTING& setting);
// "1514 Disabled", "4"
std::string ShownValue(int32_t value, const std::string& text);

// By its keyword, also without the asterisk, or by its display name, in any case of letters; null when there is none.
const RAV_SETTING* FindSetting(const SettingList& settings, const std::string& name);

// What is asked of one setting.
struct SettingWish
{
    const RAV_SETTING* setting;
    int32_t value;
};
// Translates "NAME=VALUE", or for a reset "NAME" alone, and notes all that is wrong with them.
std::vector<SettingWish> ParseWishes(const SettingList& settings, const std::vector<std::string>& texts, bool hidden,
                                     std::vector<Note>& errors);
std::vector<SettingWish> ParseResets(const SettingList& settings, const std::vector<std::string>& names, bool hidden,
                                     std::vector<Note>& errors);
// Of all settings, those that are offered and, if wanted, hidden.
std::vector<SettingWish> ResetAll(const SettingList& settings, bool hidden);
