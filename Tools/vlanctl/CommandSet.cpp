// Changing the advanced settings of a VLAN.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Alteration.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Settings.h"

namespace
{
// What set and reset differ in.
struct SettingVerb
{
    const char* name;
    ChangeWords words;
    std::function<std::vector<SettingWish>(const SettingList&, std::vector<Note>&)> parse;
    std::function<void(CResult&, const SettingWish&)> make;
};

RAV_SETTING_VAL_INT ValueOf(const SettingWish& wish)
{
    return RAV_SETTING_VAL_INT(wish.value, FromUtf8(ValueText(*wish.setting, wish.value)));
}

bool IsFulfilled(const SettingWish& wish)
{
    return RavCurrentOf(*wish.setting) == wish.value;
}

std::vector<Step> StepsOf(const Alteration& alteration, const VlanRow& vlan, const std::vector<SettingWish>& wishes)
{
    std::vector<Step> steps;
    steps.reserve(wishes.size());
    for (const SettingWish& wish : wishes)
        steps.push_back(StepOf(alteration, vlan,
                               {"setting", ToUtf8(wish.setting->strName), RavCurrentOf(*wish.setting), wish.value,
                                ToUtf8(wish.setting->GetDisplayValue()), ValueText(*wish.setting, wish.value)}));
    return steps;
}

// What the agent has against the values, beyond what the settings themselves tell: a parent that carries less.
std::vector<Note> Refusals(CSession& session, const VlanRow& vlan, const std::vector<SettingWish>& wishes)
{
    std::vector<Note> notes;
    for (const SettingWish& wish : wishes)
        Append(notes, SettingRefusals(session, vlan.info.vlanKey, wish.setting->strName, ValueOf(wish)));
    return notes;
}

const SettingWish& WishOf(const Step& step, const std::vector<SettingWish>& wishes)
{
    return *std::find_if(wishes.begin(), wishes.end(), [&](const SettingWish& wish) {
        return ToUtf8(wish.setting->strName) == step.changes.front().setting;
    });
}

ExitStatus Run(CSession& session, const ChangeOptions& options, const VlanRow& vlan, const SettingVerb& verb)
{
    SettingList settings;
    std::vector<SettingWish> wishes;
    Alteration alteration = {verb.name,
                             verb.name,
                             verb.words,
                             true,
                             [&] { return Refusals(session, vlan, wishes); },
                             [&](const Step& step) {
                                 CResult result;
                                 verb.make(result, WishOf(step, wishes));
                                 return result;
                             }};
    alteration.plan = [&](std::vector<Note>& errors) {
        settings = ReadSettings(session, vlan.info.vlanKey);
        wishes = verb.parse(settings, errors);
        std::erase_if(wishes, IsFulfilled);
        return StepsOf(alteration, vlan, wishes);
    };
    std::vector<Note> errors;
    const std::vector<Step> steps = alteration.plan(errors);
    return RunAlteration(session, options, alteration, steps, errors);
}
} // namespace

ExitStatus RunSet(CSession& session, const SetOptions& options)
{
    const VlanRow vlan = FindVlan(session, options.vlan);
    return Run(session, options, vlan,
               {"set",
                {"change", "changed", "are changed"},
                [&](const SettingList& settings, std::vector<Note>& errors) {
                    return ParseWishes(settings, options.values, options.hidden, errors);
                },
                [&](CResult& result, const SettingWish& wish) {
                    const RAV_SETTING_VAL_INT value = ValueOf(wish);
                    session.Agent().SetSetting(result, vlan.info.vlanKey, wish.setting->strName, &value,
                                               session.Lock(0));
                }});
}

ExitStatus RunReset(CSession& session, const ResetOptions& options)
{
    const VlanRow vlan = FindVlan(session, options.vlan);
    return Run(session, options, vlan,
               {"reset",
                {"reset", "reset", "are reset"},
                [&](const SettingList& settings, std::vector<Note>& errors) {
                    return options.all ? ResetAll(settings, options.hidden)
                                       : ParseResets(settings, options.names, options.hidden, errors);
                },
                [&](CResult& result, const SettingWish& wish) {
                    session.Agent().SetSettingToDefault(result, vlan.info.vlanKey, wish.setting->strName,
                                                        session.Lock(0));
                }});
}
