#include "Tools/vlanctl/Settings.h"

#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
const RAV_SETTING_ENUM* AsChoice(const RAV_SETTING& setting)
{
    return setting.GetType() == RAV_SETTING_TYPE_ENUM ? static_cast<const RAV_SETTING_ENUM*>(&setting) : nullptr;
}

const RAV_SETTING_INT& AsNumber(const RAV_SETTING& setting)
{
    return static_cast<const RAV_SETTING_INT&>(setting);
}

bool IsCalled(const RAV_SETTING& setting, const CRavString& name)
{
    return !name.IsEmpty() && (setting.strName.CompareI(name) || setting.strDisplayName.CompareI(name) ||
                               setting.strName.CompareI(CRavString(L"*") + name.c_str()));
}

std::string NamesOf(const SettingList& settings, bool hidden)
{
    std::string names;
    for (const auto& setting : settings)
    {
        if (hidden || !IsHidden(*setting))
            names += (names.empty() ? "" : ", ") + ToUtf8(setting->strName);
    }
    return names.empty() ? "none" : names;
}

// The setting of that name, if it may be changed and `wishes` do not have it yet; else null, and noted.
const RAV_SETTING* Choose(const SettingList& settings, const std::string& name, bool hidden,
                          const std::vector<SettingWish>& wishes, std::vector<Note>& errors)
{
    const RAV_SETTING* const setting = FindSetting(settings, name);
    if (setting == nullptr)
        errors.push_back(NoteOf("settingUnknown", "there is no setting called \"" + name + "\"",
                                "There are: " + NamesOf(settings, hidden) + "."));
    else if (IsHidden(*setting) && !hidden)
        errors.push_back(NoteOf("settingHidden", "the driver does not offer the setting " + ToUtf8(setting->strName),
                                "If you know what it does, add --hidden."));
    else if (std::any_of(wishes.begin(), wishes.end(),
                         [&](const SettingWish& wish) { return wish.setting == setting; }))
        errors.push_back(
            NoteOf("settingTwice", "the setting " + ToUtf8(setting->strName) + " is named twice", "Name it once."));
    else
        return setting;
    return nullptr;
}
} // namespace

SettingList ReadSettings(CSession& session, const CRavString& vlanKey)
{
    RAV_PRESENT_VLAN vlan;
    vlan.key = vlanKey;
    const CResult result = RavReadSettings(SourceOf(session), vlan);
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the settings cannot be read: " + CodeText(result));
    return *vlan.settings;
}

Json SettingToJson(const RAV_SETTING& setting)
{
    Json json = {{"name", ToUtf8(setting.strName)},
                 {"displayName", ToUtf8(setting.strDisplayName)},
                 {"exposeLevel", setting.ulExposeLevel},
                 {"type", AsChoice(setting) != nullptr ? "enum" : "int"},
                 {"value", RavCurrentOf(setting)},
                 {"default", RavDefaultOf(setting)},
                 {"differs", RavCurrentOf(setting) != RavDefaultOf(setting)}};
    if (const RAV_SETTING_ENUM* const choice = AsChoice(setting))
    {
        json["choices"] = Json::array();
        for (size_t index = 0; index < choice->values.size(); ++index)
            json["choices"].push_back({{"value", choice->values[index]}, {"text", ToUtf8(choice->Description(index))}});
        return json;
    }
    const RAV_SETTING_INT& number = AsNumber(setting);
    json.update({{"min", number.iMin}, {"max", number.iMax}, {"step", number.iStep}});
    return json;
}

bool IsHidden(const RAV_SETTING& setting)
{
    return setting.ulExposeLevel == RAV_EXPOSE_HIDDEN;
}

std::string ValueText(const RAV_SETTING& setting, int32_t value)
{
    const RAV_SETTING_ENUM* const choice = AsChoice(setting);
    if (choice == nullptr)
        return std::to_string(value);
    const auto found = std::find(choice->values.begin(), choice->values.end(), value);
    return ToUtf8(choice->Description(static_cast<size_t>(found - choice->values.begin())));
}

std::string ShownValue(int32_t value, const std::string& text)
{
    const std::string number = std::to_string(value);
    return text.empty() || text == number ? number : number + " " + text;
}

std::vector<std::string> ChoicesOf(const RAV_SETTING& setting)
{
    std::vector<std::string> texts;
    if (const RAV_SETTING_ENUM* const choice = AsChoice(setting))
    {
        for (const int32_t value : choice->values)
            texts.push_back(ValueText(setting, value));
    }
    return texts;
}

const RAV_SETTING* FindSetting(const SettingList& settings, const std::string& name)
{
    const CRavString wide = FromUtf8(name);
    const auto found =
        std::find_if(settings.begin(), settings.end(), [&](const auto& setting) { return IsCalled(*setting, wide); });
    return found != settings.end() ? found->get() : nullptr;
}

std::vector<SettingWish> ParseWishes(const SettingList& settings, const std::vector<std::string>& texts, bool hidden,
                                     std::vector<Note>& errors)
{
    std::vector<SettingWish> wishes;
    for (const std::string& text : texts)
    {
        const size_t equals = text.find('=');
        const RAV_SETTING* const setting = Choose(settings, text.substr(0, equals), hidden, wishes, errors);
        if (setting == nullptr)
            continue;
        const std::string value = equals != std::string::npos ? text.substr(equals + 1) : "";
        if (const std::optional<int32_t> number = RavValueFromText(*setting, FromUtf8(value)))
            wishes.push_back({setting, *number});
        else
            errors.push_back(NoteOf(
                "settingValue",
                ToUtf8(setting->strName) + " cannot be " + (value.empty() ? "nothing" : "\"" + value + "\""),
                (AsChoice(*setting) != nullptr ? "Choices: " : "Range: ") + ToUtf8(RavPossibleValues(*setting)) + "."));
    }
    return wishes;
}

std::vector<SettingWish> ParseResets(const SettingList& settings, const std::vector<std::string>& names, bool hidden,
                                     std::vector<Note>& errors)
{
    std::vector<SettingWish> wishes;
    for (const std::string& name : names)
    {
        if (const RAV_SETTING* const setting = Choose(settings, name, hidden, wishes, errors))
            wishes.push_back({setting, RavDefaultOf(*setting)});
    }
    return wishes;
}

std::vector<SettingWish> ResetAll(const SettingList& settings, bool hidden)
{
    std::vector<SettingWish> wishes;
    for (const auto& setting : settings)
    {
        if (hidden || !IsHidden(*setting))
            wishes.push_back({setting.get(), RavDefaultOf(*setting)});
    }
    return wishes;
}
