// The list of VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Selection.h"
#include "Tools/vlanctl/VlanDetails.h"
#include "Tools/vlanctl/VlanFields.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
std::vector<ListedVlan> ReadSelected(CSession& session, const ListOptions& options)
{
    const CRavString parent = options.parent.empty() ? CRavString() : FindParent(session, options.parent).key;
    const RAV_HOST host = ReadHost(session, RAV_HOST_DEPTH::Bindings);
    std::vector<VlanRow> rows = VlansOf(session, host, parent);
    MarkFindings(host, rows);
    std::erase_if(rows, [&](const VlanRow& row) { return !IsSelected(row, options); });
    ReadDetails(session, host, rows);
    std::vector<ListedVlan> vlans;
    for (const VlanRow& row : rows)
        vlans.push_back({row, VlanToJson(row)});
    return vlans;
}

// The members of each VLAN, or those alone that are wanted.
void ShowJson(const std::vector<ListedVlan>& vlans, const std::vector<std::string>& columns, bool isAll)
{
    Json array = Json::array();
    for (const ListedVlan& vlan : vlans)
    {
        Json chosen = Json::object();
        for (const std::string& column : columns)
            chosen[column] = vlan.json.at(column);
        array.push_back(isAll ? vlan.json : chosen);
    }
    PrintJson(array);
}

// As other verbs take them, a line each: PARENT/ID.
void ShowNames(const std::vector<ListedVlan>& vlans)
{
    std::string text;
    for (const ListedVlan& vlan : vlans)
        text += Visible(ToUtf8(vlan.row.parentName)) + "/" + IdText(vlan.row.info.vlanId) + "\n";
    Print(text);
}

void ShowCsv(const std::vector<ListedVlan>& vlans, const std::vector<std::string>& columns, CTable::Headings headings)
{
    CTable table(columns);
    for (const ListedVlan& vlan : vlans)
    {
        std::vector<std::string> cells;
        for (const std::string& column : columns)
            cells.push_back(FieldText(vlan.json.at(column)));
        table.Add(cells);
    }
    table.PrintCsv(headings);
}

void ShowTable(const std::vector<ListedVlan>& vlans, const std::vector<std::string>& columns, CTable::Headings headings)
{
    std::vector<std::string> texts;
    for (const std::string& column : columns)
        texts.push_back(HeadingOf(column));
    CTable table(texts);
    for (const ListedVlan& vlan : vlans)
    {
        std::vector<std::string> cells;
        for (const std::string& column : columns)
            cells.push_back(ShownField(vlan.row, vlan.json, column));
        table.Add(cells);
    }
    if (vlans.empty() && headings == CTable::Headings::Shown)
        Print("no VLANs\n");
    table.Print(headings);
}
} // namespace

ExitStatus RunList(CSession& session, const ListOptions& options)
{
    std::string fault; // has been looked for
    const std::vector<std::string> columns = ParseColumns(options.columns, fault);
    std::vector<ListedVlan> vlans = ReadSelected(session, options);
    Sort(vlans, options.sort.empty() ? "" : ParseColumns(options.sort, fault).front());
    const auto headings = options.noHeader ? CTable::Headings::Hidden : CTable::Headings::Shown;
    if (options.output == "json")
        ShowJson(vlans, columns, options.columns.empty());
    else if (options.output == "name")
        ShowNames(vlans);
    else if (options.output == "csv")
        ShowCsv(vlans, columns, headings);
    else
        ShowTable(vlans, columns, headings);
    return EXIT_DONE;
}
