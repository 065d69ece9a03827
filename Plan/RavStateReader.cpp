#include "Plan/RavStateReader.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Library/RavMiniportReg.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/SuiteNames.h"
#include "Src/RavVlanAgentIntf.h"

#include <algorithm>

namespace
{
// A setting that a new VLAN gets from a template; null when it is none.
std::shared_ptr<RAV_SETTING> ReadTemplate(CRavRegKey& templates, const CRavString& name)
{
    CRavRegKey key;
    CRavString type;
    if (!key.Open(templates.GetHKey(), name, false) || !key.GetValue(L"Type", type))
        return nullptr;
    const auto number = [&](const wchar_t* value) {
        CRavString text;
        key.GetValue(value, text);
        return _wtoi(text);
    };
    if (type.CompareI(L"enum"))
    {
        auto choice = std::make_shared<RAV_SETTING_ENUM>();
        choice->strName = name;
        choice->iDefault = choice->iCurrent = number(L"Default");
        return CRavMiniportReg::GetEnumDataTypesSubKey(key, *choice).Succeeded() ? choice : nullptr;
    }
    auto range = std::make_shared<RAV_SETTING_INT>();
    range->strName = name;
    range->iDefault = range->iCurrent = number(L"Default");
    range->iMin = number(L"Min");
    range->iMax = number(L"Max");
    range->iStep = number(L"Step");
    return type.CompareI(L"int") ? range : nullptr;
}

// A parent's own jumbo frames take the place of the template's.
std::shared_ptr<RAV_SETTING> JumboOf(const RAV_STATE_SOURCE& source, const CRavString& parentKey)
{
    RAV_SETTING* raw = nullptr;
    const CResult result = source.core.GetJumboFramesSettingForAdapter(parentKey, &raw);
    std::shared_ptr<RAV_SETTING> setting(raw);
    if (!result.Succeeded() || setting == nullptr)
        return nullptr;
    setting->strName = JUMBO_PACKET;
    return setting;
}

RAV_SETTINGS SettingsOfNew(const RAV_STATE_SOURCE& source, const CRavString& parentKey)
{
    RAV_SETTINGS settings;
    CRavRegKey templates;
    CRavString name;
    if (!templates.Open(HKEY_LOCAL_MACHINE, TEMPLATES_KEY, false))
        return settings;
    while (templates.EnumSubKey(name))
    {
        std::shared_ptr<RAV_SETTING> setting = ReadTemplate(templates, name);
        if (setting != nullptr && name.CompareI(JUMBO_PACKET))
        {
            if (std::shared_ptr<RAV_SETTING> own = JumboOf(source, parentKey))
                setting = own;
        }
        if (setting != nullptr)
            settings.push_back(setting);
    }
    return settings;
}

// As a new VLAN has them: at their defaults.
RAV_SETTINGS AtDefaults(const RAV_SETTINGS& settings)
{
    RAV_SETTINGS fresh;
    for (const auto& setting : settings)
    {
        std::unique_ptr<RAV_SETTING> copy = RavCloneSetting(*setting);
        RavSetCurrent(*copy, RavDefaultOf(*setting));
        fresh.push_back(std::move(copy));
    }
    return fresh;
}

bool MayBeMeant(const RAV_PRESENT_VLAN& vlan, const RAV_WANTED_VLAN& wanted)
{
    return !wanted.settings.empty() &&
           (vlan.id == wanted.id || vlan.name.CompareI(wanted.name) || vlan.key == wanted.key);
}
} // namespace

RAV_PRESENT_PARENT RavReadParent(const RAV_STATE_SOURCE& source, const RAV_HOST& host, const CRavString& parentKey)
{
    RAV_PRESENT_PARENT parent;
    parent.key = parentKey;
    parent.mostVlans = source.core.IsVirtualDevice(parentKey) ? RAV_MAX_VLANS_OF_VIRTUAL_DEVICE : RAV_MAX_VLANS;
    for (const RAV_HOST_COMPONENT& component : host.components)
    {
        if (!component.IsVlan() || component.vlan.parentKey != parentKey)
            continue;
        RAV_PRESENT_VLAN& vlan = parent.vlans.emplace_back();
        vlan.key = component.guid;
        vlan.id = component.vlan.id.value_or(0);
        vlan.name = component.vlan.name;
        vlan.type = component.vlan.type ? RavClientVlanType(*component.vlan.type) : 0;
    }
    return parent;
}

CResult RavReadSettings(const RAV_STATE_SOURCE& source, RAV_PRESENT_VLAN& vlan)
{
    if (vlan.settings)
        return CResult::Success();
    CResult result;
    std::vector<RAV_SETTING*> raw;
    source.agent.EnumerateSettings(result, source.client, vlan.key, raw);
    RAV_SETTINGS settings;
    for (RAV_SETTING* const setting : raw)
        settings.emplace_back(setting);
    if (result.Succeeded())
        vlan.settings = std::move(settings);
    return result;
}

CResult RavReadSettingsFor(const RAV_STATE_SOURCE& source, const RAV_WANTED_PARENT& wanted, RAV_PRESENT_PARENT& parent)
{
    bool isAsked = false;
    for (const RAV_WANTED_VLAN& vlan : wanted.vlans)
        isAsked = isAsked || !vlan.settings.empty();
    CResult result = CResult::Success();
    for (RAV_PRESENT_VLAN& vlan : parent.vlans)
    {
        const bool isMeant = std::any_of(wanted.vlans.begin(), wanted.vlans.end(),
                                         [&](const RAV_WANTED_VLAN& asked) { return MayBeMeant(vlan, asked); });
        if (isMeant && result.Succeeded())
            result = RavReadSettings(source, vlan);
    }
    if (isAsked && result.Succeeded())
    {
        const auto sibling = std::find_if(parent.vlans.begin(), parent.vlans.end(),
                                          [](const RAV_PRESENT_VLAN& vlan) { return vlan.settings.has_value(); });
        parent.newSettings =
            sibling != parent.vlans.end() ? AtDefaults(*sibling->settings) : SettingsOfNew(source, parent.key);
    }
    return result;
}
