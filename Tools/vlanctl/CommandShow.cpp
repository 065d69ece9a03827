// The verbs that only read, but for list.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Settings.h"
#include "Tools/vlanctl/VlanDetails.h"
#include "Tools/vlanctl/VlanFields.h"

using Json = nlohmann::ordered_json;

namespace
{
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

VlanRow Marked(CSession& session, const RAV_HOST& host, const VlanRow& row)
{
    std::vector<VlanRow> rows{row};
    MarkFindings(host, rows);
    ReadDetails(session, host, rows);
    return rows.front();
}

VlanRow FindMarked(CSession& session, const std::string& name)
{
    const RAV_HOST host = ReadHost(session, RAV_HOST_DEPTH::Bindings);
    return Marked(session, host, ChooseVlan(VlansOf(session, host), name));
}

// Null when they cannot be read: the rest of a damaged VLAN is told all the same.
Json SettingsToJson(CSession& session, const CRavString& key)
try
{
    Json array = Json::array();
    for (const auto& setting : ReadSettings(session, key))
        array.push_back(SettingToJson(*setting));
    return array;
}
catch (const CommandError& error)
{
    PrintError(std::string("vlanctl: ") + error.what() + "\n");
    return nullptr;
}
} // namespace

ExitStatus RunShow(CSession& session, const VlanOptions& options)
{
    const VlanRow row = FindMarked(session, options.vlan);
    Json json = VlanToJson(row);
    json["settings"] = SettingsToJson(session, row.info.vlanKey);
    if (options.json)
    {
        PrintJson(json);
        return EXIT_DONE;
    }
    CTable table({"FIELD", "VALUE"});
    for (const auto& [name, value] : json.items())
        table.Add({name, FieldText(value)});
    table.Print();
    return EXIT_DONE;
}

ExitStatus RunStatus(CSession& session, const VlanOptions& options)
{
    const VlanRow row = FindMarked(session, options.vlan);
    if (options.json)
        PrintJson({{"key", ToUtf8(row.info.vlanKey)}, {"status", StatusWord(row)}, {"findings", row.findings}});
    else
        Print(StatusText(row) + "\n");
    return !row.findings.empty() ? EXIT_FINDINGS : row.status == LOADED ? EXIT_DONE : EXIT_NOT_LOADED;
}

ExitStatus RunSettings(CSession& session, const VlanOptions& options)
{
    const VlanRow row = FindVlan(session, options.vlan);
    const auto settings = ReadSettings(session, row.info.vlanKey);
    Json array = Json::array();
    CTable table({"SETTING", "VALUE", "DEFAULT", "DIFFERS", "CHOICES OR RANGE", "DISPLAY NAME"});
    for (const auto& setting : settings)
    {
        array.push_back(SettingToJson(*setting));
        table.Add({ToUtf8(setting->strName), ShownValue(RavCurrentOf(*setting), ToUtf8(setting->GetDisplayValue())),
                   std::to_string(RavDefaultOf(*setting)),
                   RavCurrentOf(*setting) != RavDefaultOf(*setting) ? "yes" : "", ToUtf8(RavPossibleValues(*setting)),
                   ToUtf8(setting->strDisplayName) + (IsHidden(*setting) ? " (not offered)" : "")});
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
