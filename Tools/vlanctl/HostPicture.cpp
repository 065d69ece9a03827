#include "Tools/vlanctl/HostPicture.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Width.h"

#include <algorithm>

namespace
{
// In pixels.
constexpr int ROW = 34;
constexpr int BOX_HEIGHT = 26;
constexpr int BOX_WIDTH = 220;
constexpr int GAP = 80;
constexpr int MARGIN = 8;
constexpr int BETWEEN = 12;    // two parents
constexpr size_t LETTERS = 27; // that a box holds

enum Column
{
    ADAPTERS,
    TEAMS,
    VLANS
};

int Left(Column column)
{
    return MARGIN + static_cast<int>(column) * (BOX_WIDTH + GAP);
}

class CDrawing
{
  public:
    void Add(const PictureNode& node)
    {
        std::vector<const PictureNode*> members;
        std::vector<const PictureNode*> vlans;
        for (const PictureNode& child : node.children)
            (child.kind == PictureKind::Member ? members : vlans).push_back(&child);
        const Column column = node.kind == PictureKind::Team      ? TEAMS
                              : node.kind == PictureKind::Adapter ? ADAPTERS
                                                                  : VLANS;
        const size_t rows = std::max({members.size(), vlans.size(), size_t{1}});
        const int middle = m_top + static_cast<int>(rows) * ROW / 2;
        Spread(members, ADAPTERS, rows, [&](int y) { Line(ADAPTERS, y, column, middle); });
        Spread(vlans, VLANS, rows, [&](int y) { Line(column, middle, VLANS, y); });
        Box(node, column, middle);
        m_top += static_cast<int>(rows) * ROW + BETWEEN;
    }

    std::string Svg(const std::string& title) const
    {
        const std::string width = std::to_string(Left(VLANS) + BOX_WIDTH + MARGIN);
        const std::string height = std::to_string(m_top);
        return "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" aria-labelledby=\"picture-title\" viewBox=\"0 "
               "0 " +
               width + " " + height + "\" width=\"" + width + "\" height=\"" + height +
               "\">\n<title id=\"picture-title\">" + Escaped(title) + "</title>\n" + m_lines + m_boxes + "</svg>\n";
    }

  private:
    template <typename Connect>
    void Spread(const std::vector<const PictureNode*>& nodes, Column column, size_t rows, Connect&& connect)
    {
        int y = m_top + static_cast<int>(rows - nodes.size()) * ROW / 2 + ROW / 2;
        for (const PictureNode* const node : nodes)
        {
            Box(*node, column, y);
            connect(y);
            y += ROW;
        }
    }

    void Box(const PictureNode& node, Column column, int y)
    {
        const bool isGood = node.status == LOADED && node.findings.empty();
        const std::string text = node.kind == PictureKind::Vlan ? TextOf(node) : node.name;
        const int left = Left(column);
        m_boxes += std::string("<g class=\"") + (isGood ? "good" : "bad") + "\"><title>" +
                   Escaped(std::string(KindText(node.kind)) + " " + text + ", " + node.status) + "</title><rect x=\"" +
                   std::to_string(left) + "\" y=\"" + std::to_string(y - BOX_HEIGHT / 2) + "\" width=\"" +
                   std::to_string(BOX_WIDTH) + "\" height=\"" + std::to_string(BOX_HEIGHT) + "\" rx=\"5\"/><text x=\"" +
                   std::to_string(left + 10) + "\" y=\"" + std::to_string(y + 5) + "\">" +
                   Escaped(Shortened(text, LETTERS)) + "</text>" +
                   (isGood ? ""
                           : "<text class=\"mark\" x=\"" + std::to_string(left + BOX_WIDTH - 18) + "\" y=\"" +
                                 std::to_string(y + 5) + "\">!</text>") +
                   "</g>\n";
    }

    void Line(Column from, int fromY, Column to, int toY)
    {
        const int x = Left(from) + BOX_WIDTH;
        const int end = Left(to);
        const std::string middle = std::to_string((x + end) / 2);
        m_lines += "<path d=\"M" + std::to_string(x) + " " + std::to_string(fromY) + " C" + middle + " " +
                   std::to_string(fromY) + " " + middle + " " + std::to_string(toY) + " " + std::to_string(end) + " " +
                   std::to_string(toY) + "\"/>\n";
    }

    int m_top = MARGIN;
    std::string m_lines;
    std::string m_boxes;
};
} // namespace

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char character : Visible(text))
    {
        switch (character)
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

std::string SvgOf(const std::vector<PictureNode>& nodes, const std::string& title)
{
    CDrawing drawing;
    for (const PictureNode& node : nodes)
        drawing.Add(node);
    return drawing.Svg(title);
}
