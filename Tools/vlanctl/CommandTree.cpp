// What carries what, as a tree; and again whenever it changes.

#include "Tools/vlanctl/Commands.h"

#include "Plan/RavExamine.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Picture.h"
#include "Tools/vlanctl/RegistryWatch.h"

namespace
{
using Spans = std::vector<Span>;

HANDLE s_stop = nullptr; // is set when somebody wants to end the watching

BOOL WINAPI Stop(DWORD)
{
    SetEvent(s_stop);
    return TRUE;
}

void DescribeInto(Spans& line, const PictureNode& node)
{
    const bool isVlan = node.kind == PictureKind::Vlan;
    line.push_back({std::string(KindText(node.kind)) + " " + (isVlan ? IdText(node.id) + " " : ""), Style::Faint});
    line.push_back({Visible(node.name), Style::Strong});
    if (!node.instance.empty() && !isVlan)
        line.push_back({"  #" + node.instance, Style::Faint});
    line.push_back({"  " + node.status, node.status == LOADED ? Style::Good : Style::Bad});
    if (!node.bindings.empty())
        line.push_back({"  " + BindingsText(node)});
    line.push_back({"\n"});
}

void DrawFinding(Spans& lines, const RAV_FINDING& finding, const std::string& where)
{
    lines.push_back(
        {ToUtf8(RavFindingText(finding.kind).name) + where + ": " + Visible(ToUtf8(finding.detail)), Style::Bad});
    lines.push_back({"\n"});
}

void Draw(Spans& lines, const std::vector<PictureNode>& nodes, const std::string& indent)
{
    for (const PictureNode& node : nodes)
    {
        const bool isLast = &node == &nodes.back();
        const std::string below = indent + (isLast ? "   " : "│  ");
        lines.push_back({indent + (isLast ? "└─ " : "├─ "), Style::Faint});
        DescribeInto(lines, node);
        for (const RAV_FINDING& finding : node.findings)
        {
            lines.push_back({below + (node.children.empty() ? "   " : "│  "), Style::Faint});
            DrawFinding(lines, finding, "");
        }
        Draw(lines, node.children, below);
    }
}

Spans TreeOf(const Picture& picture)
{
    Spans lines{{ComputerName() + "\n", Style::Strong}};
    Draw(lines, picture.nodes, "");
    for (const RAV_FINDING& finding : picture.elsewhere)
        DrawFinding(lines, finding, " of " + Visible(ToUtf8(finding.where)));
    const size_t findings = FindingsIn(picture);
    lines.push_back({Summary(picture.nodes) + ", "});
    lines.push_back({Counted(findings, "finding"), findings == 0 ? Style::Good : Style::Bad});
    lines.push_back({findings == 0 ? "\n" : "; 'vlanctl doctor' says more\n"});
    return lines;
}

// Ctrl-C and its like end the watching, not the program in the middle of a line.
class CStopper
{
  public:
    CStopper() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr))
    {
        s_stop = m_event.Get();
        SetConsoleCtrlHandler(Stop, TRUE);
    }
    ~CStopper() { SetConsoleCtrlHandler(Stop, FALSE); }
    CStopper(const CStopper&) = delete;
    CStopper& operator=(const CStopper&) = delete;

    HANDLE Event() const { return m_event.Get(); }

  private:
    const CFileHandle m_event;
};

// What a machine that is being changed does not tell now it may tell after the next change.
Spans TreeOrFault(CSession& session)
try
{
    return TreeOf(ReadPicture(session));
}
catch (const CommandError& error)
{
    return {{std::string("vlanctl: ") + error.what() + "\n", Style::Bad}};
}
} // namespace

ExitStatus RunTree(CSession& session, const TreeOptions& options)
{
    const Picture picture = ReadPicture(session);
    if (options.json)
        PrintJson({{"machine", ComputerName()},
                   {"tree", PictureToJson(picture.nodes)},
                   {"findings", FindingNamesToJson(picture.elsewhere)}});
    else
        Print(TreeOf(picture));
    return EXIT_DONE;
}

ExitStatus RunWatchTree(CSession& session, const TreeOptions&)
{
    const CStopper stopper;
    CRegistryWatch watch;
    do
    {
        const Spans tree = TreeOrFault(session); // as a whole, so that the screen is never empty
        ClearConsole();
        Print(tree);
    } while (IsOutputWhole() && watch.Wait(stopper.Event()));
    return EXIT_DONE;
}
