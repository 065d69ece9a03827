#include "Tools/vlanctl/WantedVlans.h"

#include "Common/Src/RavUtf8.h"
#include "Src/RavVlanTypes.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/WordList.h"

#include <algorithm>

namespace
{
struct Part
{
    std::string ids;
    std::optional<std::string> name;
};

std::vector<Part> PartsOf(const std::string& text)
{
    std::vector<Part> parts;
    for (const std::string& part : WordsOf(text))
    {
        const size_t equals = part.find('=');
        parts.push_back({part.substr(0, equals), std::nullopt});
        if (equals != std::string::npos)
            parts.back().name = part.substr(equals + 1);
    }
    return parts;
}

std::optional<std::string> NameFor(DWORD id, std::optional<std::string> name)
{
    constexpr size_t LENGTH = sizeof(ID_IN_NAME) - 1;
    const std::string text = IdText(id);
    for (size_t place = name ? name->find(ID_IN_NAME) : std::string::npos; place != std::string::npos;
         place = name->find(ID_IN_NAME, place + text.size()))
        name->replace(place, LENGTH, text);
    return name;
}

// "10,20,0"
std::string IdList(const std::vector<WantedVlan>& vlans)
{
    std::string text;
    for (const WantedVlan& vlan : vlans)
        text += (text.empty() ? "" : ",") + std::to_string(vlan.id);
    return text;
}

// "VLAN10", "Untagged"; the agent adds a number where another VLAN has that name.
bool IsNamedAfterId(const VlanRow& row)
{
    const std::string base = row.info.vlanId == 0 ? "Untagged" : "VLAN" + std::to_string(row.info.vlanId);
    const std::string name = ToUtf8(row.info.vlanName);
    const size_t dash = name.rfind('-');
    const bool isNumbered = dash != std::string::npos && FromUtf8(name.substr(dash + 1)).IsNumeric();
    return IsSameName(FromUtf8(isNumbered ? name.substr(0, dash) : name), base);
}

bool IsIt(const VlanRow& row, const WantedVlan& vlan)
{
    return row.info.vlanId == vlan.id && (vlan.name ? IsSameName(row.info.vlanName, *vlan.name) : IsNamedAfterId(row));
}
} // namespace

std::vector<DWORD> IdsOfRange(const std::string& text)
{
    const size_t dash = text.find('-');
    const std::optional<DWORD> first = ParseId(text.substr(0, dash));
    const std::optional<DWORD> last = dash == std::string::npos ? first : ParseId(text.substr(dash + 1));
    std::vector<DWORD> ids;
    if (first && last && *last <= RAV_MAX_VLAN_ID)
    {
        for (DWORD id = *first; id <= *last; ++id)
            ids.push_back(id);
    }
    return ids;
}

WantedVlans ParseWanted(const std::string& text, const std::optional<std::string>& name)
{
    WantedVlans wanted;
    std::string written;
    for (const Part& part : PartsOf(text))
    {
        const std::optional<std::string>& own = part.name ? part.name : name;
        const std::vector<DWORD> ids = IdsOfRange(part.ids);
        for (const DWORD id : ids)
            wanted.vlans.push_back({id, NameFor(id, own)});
        if (ids.empty())
            wanted.refused.push_back({part.ids, own});
        wanted.isNameMissing = wanted.isNameMissing || !part.name;
        written += "," + (ids.size() == 1 ? std::to_string(ids.front()) : part.ids);
    }
    std::stable_partition(wanted.vlans.begin(), wanted.vlans.end(),
                          [](const WantedVlan& vlan) { return vlan.id != 0; });
    wanted.ids = wanted.refused.empty() ? IdList(wanted.vlans) : written.substr(1);
    return wanted;
}

std::vector<VlanRow> TakePresent(const std::vector<VlanRow>& rows, WantedVlans& wanted)
{
    std::vector<VlanRow> present;
    std::erase_if(wanted.vlans, [&](const WantedVlan& vlan) {
        const auto row =
            std::find_if(rows.begin(), rows.end(), [&](const VlanRow& candidate) { return IsIt(candidate, vlan); });
        if (row != rows.end())
            present.push_back(*row);
        return row != rows.end();
    });
    if (!present.empty() && wanted.refused.empty())
        wanted.ids = IdList(wanted.vlans);
    return present;
}
