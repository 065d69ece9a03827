#include "Plan/RavVlanState.h"

#include <algorithm>

CRavString RavFolded(CRavString text)
{
    text.MakeUpper();
    return text;
}

const RAV_SETTING* RavFindSetting(const RAV_SETTINGS& settings, const CRavString& keyword)
{
    const auto found = std::find_if(settings.begin(), settings.end(),
                                    [&](const auto& setting) { return setting->strName.CompareI(keyword); });
    return found != settings.end() ? found->get() : nullptr;
}

RAV_WANTED_PARENT RavWantedAsIs(const RAV_PRESENT_PARENT& parent)
{
    RAV_WANTED_PARENT wanted;
    wanted.key = parent.key;
    for (const RAV_PRESENT_VLAN& vlan : parent.vlans)
    {
        RAV_WANTED_VLAN& as = wanted.vlans.emplace_back();
        as.key = vlan.key;
        as.id = vlan.id;
        as.name = vlan.name;
        as.type = vlan.type;
        for (const auto& setting : vlan.settings.value_or(RAV_SETTINGS()))
        {
            CRavString value;
            value.FormatString(L"%d", RavCurrentOf(*setting));
            as.settings.push_back({setting->strName, value});
        }
    }
    return wanted;
}
