#include "Tools/vlanctl/VlanFields.h"

#include "Common/Src/RavUtf8.h"
#include "Common/Src/XmsNames.h"
#include "Tools/vlanctl/WordList.h"

#include <shlwapi.h>

#include <algorithm>
#include <cctype>

using Json = nlohmann::ordered_json;

namespace
{
constexpr char USUAL[] = "id,name,parent,status,instance,key";
constexpr char PARENT[] = "parent"; // short for the next
constexpr char PARENT_NAME[] = "parentName";

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json() : Json(text);
}

Json NumberOrNull(const std::optional<DWORD>& number)
{
    return number ? Json(*number) : Json();
}

Json MembersToJson(const VlanRow& row)
{
    if (!row.members)
        return nullptr;
    Json members = Json::array();
    for (const TeamMember& member : *row.members)
        members.push_back(
            {{"key", ToUtf8(member.key)}, {"name", ToUtf8(member.name)}, {"instance", TextOrNull(member.instance)}});
    return members;
}

int Compare(const std::string& one, const std::string& other)
{
    return StrCmpLogicalW(FromUtf8(one), FromUtf8(other));
}

int Compare(const Json& one, const Json& other)
{
    if (one.is_number() && other.is_number())
        return one < other ? -1 : other < one ? 1 : 0;
    return Compare(FieldText(one), FieldText(other));
}
} // namespace

Json VlanToJson(const VlanRow& row)
{
    const bool isOverTeam = (row.info.supportedFeatures & FEATURE_OVER_TEAM) != 0;
    return {{"key", ToUtf8(row.info.vlanKey)},
            {"id", row.info.vlanId},
            {"name", ToUtf8(row.info.vlanName)},
            {"displayName", ToUtf8(row.info.displayName)},
            {"type", row.info.vlanType},
            {"parentKey", ToUtf8(row.parentKey)},
            {PARENT_NAME, ToUtf8(row.parentName)},
            {"status", StatusWord(row)},
            {"findings", row.findings},
            {"description", ToUtf8(row.info.description)},
            {"xmsMiniportKey", ToUtf8(row.info.xmsMiniportKey)},
            {"supportedFeatures", row.info.supportedFeatures},
            {"logicalGroupId", row.info.logicalGroupId},
            {"jumboPacket", row.info.jumboPacket},
            {"instance", TextOrNull(row.instance)},
            {"parentInstance", TextOrNull(row.parentInstance)},
            {"parentType", isOverTeam ? "team" : "adapter"},
            {"tagging", row.info.vlanId == 0 ? "untagged" : "tagged"},
            {"members", MembersToJson(row)},
            {"connectionName", TextOrNull(row.connection.name)},
            {"interfaceIndex", NumberOrNull(row.connection.index)},
            {"mac", TextOrNull(row.connection.mac)},
            {"mtu", NumberOrNull(row.connection.mtu)},
            {"addresses", row.connection.addresses}};
}

std::vector<std::string> VlanFields()
{
    std::vector<std::string> names;
    const Json vlan = VlanToJson({});
    for (const auto& [name, value] : vlan.items())
        names.push_back(name);
    return names;
}

std::vector<std::string> ParseColumns(const std::string& text, std::string& fault)
{
    const std::vector<std::string> all = VlanFields();
    std::vector<std::string> columns;
    for (const std::string& word : WordsOf(text.empty() ? USUAL : text))
    {
        const CRavString wanted = FromUtf8(FromUtf8(word).CompareI(FromUtf8(PARENT)) ? PARENT_NAME : word);
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const std::string& name) { return FromUtf8(name).CompareI(wanted); });
        if (found != all.end())
            columns.push_back(*found);
        else
            fault = word;
    }
    return columns;
}

std::string HeadingOf(const std::string& column)
{
    std::string heading;
    for (const char letter : column == PARENT_NAME ? std::string(PARENT) : column)
    {
        if (std::isupper(static_cast<unsigned char>(letter)))
            heading += ' ';
        heading += static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    }
    return heading;
}

std::string FieldText(const Json& value)
{
    if (value.is_array())
    {
        std::string text;
        for (const Json& item : value)
            text += (text.empty() ? "" : ", ") + FieldText(item);
        return text;
    }
    if (value.is_object()) // a team's member, a setting
        return value.at("name").get<std::string>() + (value.contains("value") ? "=" + value.at("value").dump() : "");
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
}

std::string ShownField(const VlanRow& row, const Json& vlan, const std::string& column)
{
    if (column == "id")
        return IdText(row.info.vlanId);
    return column == "status" ? StatusText(row) : FieldText(vlan.at(column));
}

void Sort(std::vector<ListedVlan>& vlans, const std::string& column)
{
    std::vector<std::string> columns = {PARENT_NAME, "id", "key"};
    if (!column.empty())
        columns.insert(columns.begin(), column);
    std::sort(vlans.begin(), vlans.end(), [&](const ListedVlan& one, const ListedVlan& other) {
        for (const std::string& by : columns)
        {
            if (const int order = Compare(one.json.at(by), other.json.at(by)))
                return order < 0;
        }
        return false;
    });
}
