// The verbs that only read.

#include "Tools/vlanctl/Commands.h"

#include "Common/Settings/RavSetting.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"

using Json = nlohmann::ordered_json;

namespace
{
std::string IdText(DWORD id)
{
    return id == 0 ? "untagged" : std::to_string(id);
}

Json ToJson(const VlanRow& row)
{
    return {{"key", ToUtf8(row.info.vlanKey)},
            {"id", row.info.vlanId},
            {"name", ToUtf8(row.info.vlanName)},
            {"displayName", ToUtf8(row.info.displayName)},
            {"type", row.info.vlanType},
            {"parentKey", ToUtf8(row.parentKey)},
            {"parentName", ToUtf8(row.parentName)},
            {"status", row.status},
            {"description", ToUtf8(row.info.description)},
            {"xmsMiniportKey", ToUtf8(row.info.xmsMiniportKey)},
            {"supportedFeatures", row.info.supportedFeatures},
            {"logicalGroupId", row.info.logicalGroupId},
            {"jumboPacket", row.info.jumboPacket}};
}

Json ToJson(const ParentRow& row)
{
    return {{"key", ToUtf8(row.key)},
            {"name", ToUtf8(row.name)},
            {"type", row.isTeam ? "team" : "adapter"},
            {"supportsVlans", row.supportsVlans},
            {"reason", row.reason},
            {"vlans", row.vlanIds}};
}

std::string Join(const std::vector<DWORD>& ids)
{
    std::string text;
    for (const DWORD id : ids)
        text += (text.empty() ? "" : ",") + IdText(id);
    return text.empty() ? "-" : text;
}

Json ToJson(const RAV_SETTING& setting)
{
    Json json = {{"name", ToUtf8(setting.strName)},
                 {"displayName", ToUtf8(setting.strDisplayName)},
                 {"exposeLevel", setting.ulExposeLevel}};
    if (setting.GetType() == RAV_SETTING_TYPE_ENUM)
    {
        const auto& choice = static_cast<const RAV_SETTING_ENUM&>(setting);
        json.update(
            {{"type", "enum"}, {"value", choice.iCurrent}, {"default", choice.iDefault}, {"choices", Json::array()}});
        for (size_t index = 0; index < choice.values.size(); ++index)
            json["choices"].push_back({{"value", choice.values[index]}, {"text", ToUtf8(choice.Description(index))}});
    }
    else
    {
        const auto& number = static_cast<const RAV_SETTING_INT&>(setting);
        json.update({{"type", "int"},
                     {"value", number.iCurrent},
                     {"default", number.iDefault},
                     {"min", number.iMin},
                     {"max", number.iMax},
                     {"step", number.iStep}});
    }
    return json;
}

std::string RangeText(const RAV_SETTING& setting)
{
    std::string text;
    if (setting.GetType() != RAV_SETTING_TYPE_ENUM)
    {
        const auto& number = static_cast<const RAV_SETTING_INT&>(setting);
        text = std::to_string(number.iMin) + " to " + std::to_string(number.iMax);
        return number.iStep > 1 ? text + " in steps of " + std::to_string(number.iStep) : text;
    }
    const auto& choice = static_cast<const RAV_SETTING_ENUM&>(setting);
    for (size_t index = 0; index < choice.values.size(); ++index)
        text +=
            (index > 0 ? ", " : "") + std::to_string(choice.values[index]) + " " + ToUtf8(choice.Description(index));
    return text;
}

std::vector<std::unique_ptr<RAV_SETTING>> ReadSettings(CSession& session, const CRavString& key)
{
    CResult result;
    std::vector<RAV_SETTING*> raw;
    session.Agent().EnumerateSettings(result, session.Client(), key, raw);
    std::vector<std::unique_ptr<RAV_SETTING>> settings(raw.begin(), raw.end());
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the settings cannot be read: " + CodeText(result));
    return settings;
}
} // namespace

ExitStatus RunList(CSession& session, const ListOptions& options)
{
    const CRavString parent = options.parent.empty() ? CRavString() : FindParent(session, options.parent).key;
    std::vector<VlanRow> rows = ReadVlans(session, parent);
    ReadStatuses(session, rows);
    if (options.json)
    {
        Json array = Json::array();
        for (const VlanRow& row : rows)
            array.push_back(ToJson(row));
        PrintJson(array);
        return EXIT_DONE;
    }
    CTable table({"ID", "NAME", "PARENT", "STATUS", "INSTANCE", "KEY"});
    for (const VlanRow& row : rows)
        table.Add({IdText(row.info.vlanId), ToUtf8(row.info.vlanName), ToUtf8(row.parentName), row.status, row.instance,
                   ToUtf8(row.info.vlanKey)});
    if (rows.empty())
        Print("no VLANs\n");
    table.Print();
    return EXIT_DONE;
}

ExitStatus RunShow(CSession& session, const VlanOptions& options)
{
    VlanRow row = FindVlan(session, options.vlan);
    ReadStatus(session, row);
    const Json json = ToJson(row);
    if (options.json)
    {
        PrintJson(json);
        return EXIT_DONE;
    }
    CTable table({"FIELD", "VALUE"});
    for (const auto& [name, value] : json.items())
        table.Add({name, value.is_string() ? value.get<std::string>() : value.dump()});
    table.Print();
    return EXIT_DONE;
}

ExitStatus RunStatus(CSession& session, const VlanOptions& options)
{
    VlanRow row = FindVlan(session, options.vlan);
    ReadStatus(session, row);
    if (options.json)
        PrintJson({{"key", ToUtf8(row.info.vlanKey)}, {"status", row.status}});
    else
        Print(row.status + "\n");
    return EXIT_DONE;
}

ExitStatus RunSettings(CSession& session, const VlanOptions& options)
{
    const VlanRow row = FindVlan(session, options.vlan);
    const auto settings = ReadSettings(session, row.info.vlanKey);
    Json array = Json::array();
    CTable table({"SETTING", "VALUE", "DEFAULT", "CHOICES OR RANGE", "DISPLAY NAME"});
    for (const auto& setting : settings)
    {
        const Json json = ToJson(*setting);
        array.push_back(json);
        const std::string shown = ToUtf8(setting->GetDisplayValue());
        const std::string value = json["value"].dump();
        table.Add(
            {ToUtf8(setting->strName), shown.empty() || shown == value ? value : value + " " + shown,
             json["default"].dump(), RangeText(*setting),
             ToUtf8(setting->strDisplayName) + (setting->ulExposeLevel == RAV_EXPOSE_HIDDEN ? " (not offered)" : "")});
    }
    if (options.json)
        PrintJson(array);
    else if (settings.empty())
        Print("no settings\n");
    else
        table.Print();
    return EXIT_DONE;
}

ExitStatus RunParents(CSession& session, const ParentsOptions& options)
{
    std::vector<ParentRow> rows = ReadParents(session, ParentDetail::Support);
    if (!options.all)
        std::erase_if(rows, [](const ParentRow& row) { return !row.supportsVlans; });
    if (options.json)
    {
        Json array = Json::array();
        for (const ParentRow& row : rows)
            array.push_back(ToJson(row));
        PrintJson(array);
        return EXIT_DONE;
    }
    CTable table({"NAME", "TYPE", "INSTANCE", "SUPPORTS VLANS", "VLAN IDS", "REASON"});
    for (const ParentRow& row : rows)
        table.Add({ToUtf8(row.name), row.isTeam ? "team" : "adapter", row.instance, row.supportsVlans ? "yes" : "no",
                   Join(row.vlanIds), row.reason});
    if (rows.empty())
        Print("no adapter or team supports VLANs; 'vlanctl parents --all' says why\n");
    table.Print();
    return EXIT_DONE;
}
