// What carries what, as a tree; and again whenever it changes.

#include "Tools/vlanctl/Commands.h"

#include "Plan/RavExamine.h"
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
    line.push_back({std::string(KindText(node.kind)) + " " + (isVlan ? node.id + " " : ""), Style::Faint});
    line.push_back({node.name, Style::Strong});
    if (!node.instance.empty() && !isVlan)
        line.push_back({"  #" + node.instance, Style::Faint});
    line.push_back({"  " + node.status, node.status == "loaded" ? Style::Good : Style::Bad});
    if (!node.bindings.empty())
        line.push_back({"  " + BindingsText(node)});
    line.push_back({"\n"});
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
            lines.push_back({ToUtf8(RavFindingText(finding.kind).name) + ": " + ToUtf8(finding.detail), Style::Bad});
            lines.push_back({"\n"});
        }
        Draw(lines, node.children, below);
    }
}

Spans TreeOf(const std::vector<PictureNode>& nodes)
{
    Spans lines{{ComputerName() + "\n", Style::Strong}};
    Draw(lines, nodes, "");
    const size_t findings = FindingsIn(nodes);
    lines.push_back({Summary(nodes) + ", "});
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
} // namespace

ExitStatus RunTree(CSession& session, const TreeOptions& options)
{
    const std::vector<PictureNode> nodes = ReadPicture(session);
    if (options.json)
        PrintJson({{"machine", ComputerName()}, {"tree", PictureToJson(nodes)}});
    else
        Print(TreeOf(nodes));
    return EXIT_DONE;
}

ExitStatus RunWatchTree(CSession& session, const TreeOptions&)
{
    const CStopper stopper;
    CRegistryWatch watch;
    do
    {
        const Spans tree = TreeOf(ReadPicture(session)); // as a whole, so that the screen is never empty
        ClearConsole();
        Print(tree);
    } while (IsOutputWhole() && watch.Wait(stopper.Event()));
    return EXIT_DONE;
}
