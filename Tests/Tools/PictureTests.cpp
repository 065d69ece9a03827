// The host as a tree, and the page that shows it.

#include "Common/Src/RavUtf8.h"
#include "Plan/RavExamine.h"
#include "Tools/vlanctl/HostPage.h"
#include "Tools/vlanctl/HostPicture.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::Not;

namespace
{
constexpr char HOSTILE[] = "<b>&\"x'\xE2\x80\xAE</b>";

RAV_HOST_COMPONENT& Add(RAV_HOST& host, const wchar_t* guid, RAV_COMPONENT_KIND kind, const wchar_t* parent = L"",
                        const wchar_t* name = L"", DWORD id = 0)
{
    RAV_HOST_COMPONENT& component = host.Add(guid);
    component.kind = kind;
    component.displayName = guid;
    component.loadStatus = 1;
    component.vlan.parentKey = parent;
    component.vlan.name = name;
    component.vlan.id = id;
    return component;
}

// A port in the team T, one beside it, and VLANs over both; {M} is a miniport that is nobody's, {L}'s parent has gone.
RAV_HOST Host()
{
    RAV_HOST host;
    Add(host, L"{A}", RAV_COMPONENT_KIND::Adapter).port.isBound = true;
    Add(host, L"{A10}", RAV_COMPONENT_KIND::VlanOnAdapter, L"{A}", FromUtf8(HOSTILE).c_str(), 10);
    Add(host, L"{A2}", RAV_COMPONENT_KIND::VlanOnAdapter, L"{A}", L"two", 2);
    Add(host, L"{B}", RAV_COMPONENT_KIND::Adapter).port.protocols = {L"ms_tcpip"};
    Add(host, L"{T}", RAV_COMPONENT_KIND::Team);
    Add(host, L"{T0}", RAV_COMPONENT_KIND::VlanOnTeam, L"{T}", L"zero").loadStatus = 2;
    Add(host, L"{M}", RAV_COMPONENT_KIND::Miniport);
    Add(host, L"{L}", RAV_COMPONENT_KIND::VlanOnAdapter, L"{gone}", L"lost", 5);
    host.entries[L"{B}"].bindings = {L"\\Device\\{t}"};
    host.entries[L"{X}"].bindings = {L"\\Device\\{L}"};
    return host;
}

Picture Painted(const RAV_HOST& host)
{
    return PictureOf(host, RavExamine(host),
                     [](const RAV_HOST_COMPONENT& component) { return ToUtf8(component.displayName); });
}

// "team:{T}(member:{B} vlan:{T0}) "
std::string Outline(const std::vector<PictureNode>& nodes)
{
    std::string text;
    for (const PictureNode& node : nodes)
        text += std::string(KindText(node.kind)) + ":" + node.key +
                (node.children.empty() ? "" : "(" + Outline(node.children) + ")") + " ";
    return text;
}

size_t Times(const std::string& text, const std::string& part)
{
    size_t times = 0;
    for (size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + 1))
        ++times;
    return times;
}
} // namespace

TEST(Picture, ShowsWhatCarriesWhat)
{
    const Picture picture = Painted(Host());
    const std::vector<PictureNode>& nodes = picture.nodes;
    EXPECT_EQ("team:{T}(member:{B} vlan:{T0} ) adapter:{A}(vlan:{A2} vlan:{A10} ) miniport:{M} vlan:{L} ",
              Outline(nodes));
    EXPECT_EQ("1 team, 2 adapters, 4 VLANs", Summary(nodes));
    EXPECT_EQ(std::vector<std::string>{"VLAN driver"}, nodes[1].bindings);
    EXPECT_EQ(std::vector<std::string>{"ms_tcpip"}, nodes[0].children[0].bindings);
    EXPECT_EQ("untagged zero", TextOf(nodes[0].children[1]));
    EXPECT_EQ("notLoaded", nodes[0].children[1].status);
    EXPECT_EQ(RavExamine(Host()).size(), FindingsIn(picture)); // none is shown twice, none is left out
    ASSERT_EQ(1u, picture.elsewhere.size());
    EXPECT_EQ(L"{X}", picture.elsewhere.front().subject);
    EXPECT_EQ(0, PictureToJson(nodes)[0]["children"][1]["id"]);
}

TEST(Picture, IsAPageOfItsOwn)
{
    const std::string html = HtmlOf({"srv<1>", "now", Painted(Host()), {{HOSTILE, "*Jumbo", "1", "2"}}});
    EXPECT_THAT(html, HasSubstr("&lt;b&gt;&amp;&quot;x&#39;&lt;U+202E&gt;&lt;/b&gt;"));
    EXPECT_THAT(html, HasSubstr("stale-driver-entry"));
    EXPECT_THAT(html, HasSubstr("<title>VLANs of srv&lt;1&gt;</title>"));
    for (const char* const never : {"<b>", "\xE2\x80\xAE", "<script", "<link", "src=", "@import", "url("})
        EXPECT_THAT(html, Not(HasSubstr(never)));
    EXPECT_EQ(1u, Times(html, "http")); // the name of the picture's namespace
    EXPECT_EQ(8u, Times(html, "<rect"));
    EXPECT_EQ(4u, Times(html, "<path"));
    EXPECT_EQ(Times(html, "<td>"), Times(html, "</td>"));
}
