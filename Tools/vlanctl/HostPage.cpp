#include "Tools/vlanctl/HostPage.h"

#include "Common/Src/RavUtf8.h"
#include "Tools/vlanctl/HostPicture.h"
#include "Tools/vlanctl/Inventory.h"

namespace
{
constexpr char STYLE[] = R"(
:root { color-scheme: light dark; --ink: #1b1f24; --paper: #ffffff; --faint: #5b6570; --line: #c3cad1;
        --good: #1a7f37; --bad: #b3261e; --bad-paper: #fdecea; --box: #f4f6f8; }
@media (prefers-color-scheme: dark) {
:root { --ink: #e6eaee; --paper: #15191e; --faint: #9aa5b1; --line: #3d4752;
        --good: #57c573; --bad: #ff8a80; --bad-paper: #3b1f1d; --box: #1f252c; } }
body { font: 16px/1.5 system-ui, sans-serif; color: var(--ink); background: var(--paper); margin: 2rem auto;
       max-width: 62rem; padding: 0 1rem; }
h1 { font-size: 1.6rem; margin-bottom: 0; } h2 { font-size: 1.2rem; margin-top: 2.2rem; }
p.when { color: var(--faint); margin-top: 0; } .good { color: var(--good); } .bad { color: var(--bad); }
.wide { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: .92rem; }
th, td { text-align: left; vertical-align: top; padding: .3rem .7rem .3rem 0; border-bottom: 1px solid var(--line);
         overflow-wrap: anywhere; }
th { color: var(--faint); font-weight: 600; white-space: nowrap; }
code { font-size: .85em; }
svg { max-width: 100%; height: auto; font: 13px system-ui, sans-serif; }
svg path { fill: none; stroke: var(--line); stroke-width: 1.5; }
svg rect { fill: var(--box); stroke: var(--line); } svg text { fill: var(--ink); }
svg .bad rect { fill: var(--bad-paper); stroke: var(--bad); } svg .mark { fill: var(--bad); font-weight: 700; }
@media print { body { margin: 0; max-width: none; } .wide { overflow: visible; } tr, svg g { break-inside: avoid; }
               thead { display: table-header-group; } }
)";

// A cell is HTML already.
class CHtmlTable
{
  public:
    explicit CHtmlTable(const std::vector<std::string>& headings)
    {
        for (const std::string& heading : headings)
            m_head += "<th scope=\"col\">" + heading + "</th>";
    }
    void Add(const std::vector<std::string>& cells)
    {
        m_rows += "<tr>";
        for (const std::string& cell : cells)
            m_rows += "<td>" + cell + "</td>";
        m_rows += "</tr>\n";
    }
    std::string Html(const std::string& without) const
    {
        return m_rows.empty() ? "<p>" + without + "</p>\n"
                              : "<div class=\"wide\"><table>\n<thead><tr>" + m_head + "</tr></thead>\n<tbody>\n" +
                                    m_rows + "</tbody></table></div>\n";
    }

  private:
    std::string m_head;
    std::string m_rows;
};

std::string StatusOf(const PictureNode& node)
{
    const bool isGood = node.status == LOADED && node.findings.empty();
    return std::string("<span class=\"") + (isGood ? "good" : "bad") + "\">" +
           (node.findings.empty() ? Escaped(node.status) : DAMAGED) + "</span>";
}

std::string Code(const std::string& text)
{
    return text.empty() ? "" : "<code>" + Escaped(text) + "</code>";
}

void AddCarriers(CHtmlTable& table, const std::vector<PictureNode>& nodes, const std::string& team)
{
    for (const PictureNode& node : nodes)
    {
        if (node.kind == PictureKind::Vlan || node.kind == PictureKind::Miniport)
            continue;
        table.Add({Escaped(node.name), team.empty() ? KindText(node.kind) : "member of " + Escaped(team),
                   Escaped(node.instance), StatusOf(node), Escaped(BindingsText(node)), Code(node.address),
                   Code(node.key)});
        AddCarriers(table, node.children, node.name);
    }
}

void AddVlans(CHtmlTable& table, const std::vector<PictureNode>& nodes, const std::string& parent)
{
    for (const PictureNode& node : nodes)
    {
        if (node.kind == PictureKind::Vlan)
            table.Add({Escaped(IdText(node.id)), Escaped(node.name), parent.empty() ? "none" : Escaped(parent),
                       StatusOf(node), Escaped(node.instance), Code(node.address), Code(node.key)});
        AddVlans(table, node.children, node.name);
    }
}

void AddFindings(CHtmlTable& table, const std::vector<RAV_FINDING>& findings)
{
    for (const RAV_FINDING& finding : findings)
    {
        const RAV_FINDING_TEXT& text = RavFindingText(finding.kind);
        table.Add({"<span class=\"bad\">" + Escaped(ToUtf8(text.name)) + "</span>", Escaped(ToUtf8(finding.where)),
                   Escaped(ToUtf8(finding.detail)), Escaped(ToUtf8(text.meaning)), Escaped(ToUtf8(text.repair))});
    }
}

void AddFindings(CHtmlTable& table, const std::vector<PictureNode>& nodes)
{
    for (const PictureNode& node : nodes)
    {
        AddFindings(table, node.findings);
        AddFindings(table, node.children);
    }
}

std::string Section(const char* heading, const std::string& content)
{
    return std::string("<section>\n<h2>") + heading + "</h2>\n" + content + "</section>\n";
}
} // namespace

std::string HtmlOf(const HostPage& page)
{
    CHtmlTable carriers({"Name", "Kind", "Instance", "Status", "Bound to", "MAC", "Key"});
    AddCarriers(carriers, page.picture.nodes, "");
    CHtmlTable vlans({"Id", "Name", "Parent", "Status", "Instance", "MAC", "Key"});
    AddVlans(vlans, page.picture.nodes, "");
    CHtmlTable settings({"VLAN", "Setting", "Value", "Default"});
    for (const ChangedSetting& setting : page.settings)
        settings.Add(
            {Escaped(setting.vlan), Escaped(setting.setting), Escaped(setting.value), Escaped(setting.defaultValue)});
    CHtmlTable findings({"Finding", "Where", "What is there", "What it means", "What --repair does"});
    AddFindings(findings, page.picture.nodes);
    AddFindings(findings, page.picture.elsewhere);

    const size_t wrong = FindingsIn(page.picture);
    const std::string title = "VLANs of " + page.machine;
    const std::string summary = Summary(page.picture.nodes) + ", <span class=\"" + (wrong == 0 ? "good" : "bad") +
                                "\">" + Counted(wrong, "finding") + "</span>";
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
           "content=\"width=device-width, initial-scale=1\">\n<title>" +
           Escaped(title) + "</title>\n<style>" + STYLE + "</style>\n</head>\n<body>\n<main>\n<h1>" + Escaped(title) +
           "</h1>\n<p class=\"when\">" + Escaped(page.time) + " &middot; " + summary + "</p>\n" +
           Section("Picture", "<div class=\"wide\">" + SvgOf(page.picture.nodes, title) + "</div>\n") +
           Section("Findings", findings.Html("Nothing is wrong with the VLANs of this machine.")) +
           Section("VLANs", vlans.Html("There are none.")) +
           Section("Adapters and teams", carriers.Html("There are none.")) +
           Section("Settings that differ from their defaults", settings.Html("There are none.")) +
           "</main>\n</body>\n</html>\n";
}
