#include "Tools/vlanctl/Picture.h"

#include "Common/Src/RavUtf8.h"
#include "Plan/RavExamine.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/WordList.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

using Json = nlohmann::ordered_json;

namespace
{
constexpr char DRIVER_BINDING[] = "VLAN driver";

class CPainter
{
  public:
    CPainter(const RAV_HOST& host, const std::vector<RAV_FINDING>& findings, const NameOfComponent& nameOf)
        : m_host(host), m_nameOf(nameOf)
    {
        for (const RAV_HOST_COMPONENT& component : host.components)
        {
            if (component.IsVlan())
                m_vlans[host.Find(component.vlan.parentKey)].push_back(&component);
        }
        FindMembers();
        for (const RAV_FINDING& finding : findings)
            m_findings[host.Find(finding.subject)].push_back(finding);
    }

    Picture Paint()
    {
        std::vector<PictureNode> nodes;
        for (const RAV_HOST_COMPONENT& component : m_host.components)
        {
            if (component.kind == RAV_COMPONENT_KIND::Team)
                nodes.push_back(TeamNode(component));
        }
        for (const RAV_HOST_COMPONENT& component : m_host.components)
        {
            if (component.kind == RAV_COMPONENT_KIND::Adapter && !m_inTeams.contains(&component))
                nodes.push_back(CarrierNode(component, PictureKind::Adapter));
        }
        for (const RAV_HOST_COMPONENT& component : m_host.components)
        {
            if (component.kind == RAV_COMPONENT_KIND::Miniport)
                nodes.push_back(Node(component, PictureKind::Miniport));
            else if (component.IsVlan() && !CanCarry(m_host.Find(component.vlan.parentKey)))
                nodes.push_back(Node(component, PictureKind::Vlan));
        }
        return {nodes, m_findings[nullptr]};
    }

  private:
    using Components = std::vector<const RAV_HOST_COMPONENT*>;

    // Of anything else no VLANs are shown below it.
    static bool CanCarry(const RAV_HOST_COMPONENT* component)
    {
        return component != nullptr &&
               (component->kind == RAV_COMPONENT_KIND::Adapter || component->kind == RAV_COMPONENT_KIND::Team);
    }

    void FindMembers()
    {
        for (const RAV_HOST_COMPONENT& team : m_host.components)
        {
            if (team.kind != RAV_COMPONENT_KIND::Team)
                continue;
            for (const RAV_HOST_COMPONENT& adapter : m_host.components)
            {
                if (adapter.kind != RAV_COMPONENT_KIND::Adapter || !m_host.IsMember(adapter.guid, team.guid))
                    continue;
                m_members[&team].push_back(&adapter);
                m_inTeams.insert(&adapter);
            }
        }
    }

    PictureNode Node(const RAV_HOST_COMPONENT& component, PictureKind kind)
    {
        PictureNode node;
        node.kind = kind;
        node.key = ToUtf8(component.guid);
        node.instance = ToUtf8(component.instance);
        node.address = MacText(component.networkAddress);
        node.status = LoadText(component.loadStatus);
        node.findings = m_findings[&component];
        if (component.IsVlan())
        {
            node.name = ToUtf8(component.vlan.name);
            node.id = component.vlan.id.value_or(0);
        }
        else
            node.name = m_nameOf(component);
        return node;
    }

    PictureNode CarrierNode(const RAV_HOST_COMPONENT& carrier, PictureKind kind)
    {
        PictureNode node = Node(carrier, kind);
        if (carrier.port.isBound)
            node.bindings.emplace_back(DRIVER_BINDING);
        for (const CRavString& protocol : carrier.port.protocols)
            node.bindings.push_back(ToUtf8(protocol));
        for (const RAV_HOST_COMPONENT* const vlan : m_vlans[&carrier])
            node.children.push_back(Node(*vlan, PictureKind::Vlan));
        std::stable_sort(node.children.begin(), node.children.end(),
                         [](const PictureNode& one, const PictureNode& other) { return one.id < other.id; });
        return node;
    }

    PictureNode TeamNode(const RAV_HOST_COMPONENT& team)
    {
        PictureNode node = CarrierNode(team, PictureKind::Team);
        std::vector<PictureNode> members;
        for (const RAV_HOST_COMPONENT* const adapter : m_members[&team])
            members.push_back(CarrierNode(*adapter, PictureKind::Member));
        node.children.insert(node.children.begin(), std::make_move_iterator(members.begin()),
                             std::make_move_iterator(members.end()));
        return node;
    }

    const RAV_HOST& m_host;
    const NameOfComponent& m_nameOf;
    // By component, as is the next; what is about none, or about one that has gone, is at null.
    std::map<const RAV_HOST_COMPONENT*, Components> m_vlans;
    std::map<const RAV_HOST_COMPONENT*, std::vector<RAV_FINDING>> m_findings;
    std::map<const RAV_HOST_COMPONENT*, Components> m_members; // by team
    std::set<const RAV_HOST_COMPONENT*> m_inTeams;
};

size_t FindingsIn(const std::vector<PictureNode>& nodes)
{
    size_t count = 0;
    for (const PictureNode& node : nodes)
        count += node.findings.size() + FindingsIn(node.children);
    return count;
}
} // namespace

Picture PictureOf(const RAV_HOST& host, const std::vector<RAV_FINDING>& findings, const NameOfComponent& nameOf)
{
    return CPainter(host, findings, nameOf).Paint();
}

std::string BindingsText(const PictureNode& node)
{
    return Joined(node.bindings, ", ");
}

std::string TextOf(const PictureNode& vlan)
{
    return IdText(vlan.id) + " " + vlan.name;
}

const char* KindText(PictureKind kind)
{
    static const char* const TEXTS[] = {"team", "adapter", "member", "vlan", "miniport"};
    return TEXTS[static_cast<size_t>(kind)];
}

size_t CountOf(const std::vector<PictureNode>& nodes, PictureKind kind)
{
    size_t count = 0;
    for (const PictureNode& node : nodes)
        count += (node.kind == kind ? 1 : 0) + CountOf(node.children, kind);
    return count;
}

size_t FindingsIn(const Picture& picture)
{
    return FindingsIn(picture.nodes) + picture.elsewhere.size();
}

std::string Counted(size_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Summary(const std::vector<PictureNode>& nodes)
{
    return Counted(CountOf(nodes, PictureKind::Team), "team") + ", " +
           Counted(CountOf(nodes, PictureKind::Adapter) + CountOf(nodes, PictureKind::Member), "adapter") + ", " +
           Counted(CountOf(nodes, PictureKind::Vlan), "VLAN");
}

Json PictureToJson(const std::vector<PictureNode>& nodes)
{
    Json array = Json::array();
    for (const PictureNode& node : nodes)
    {
        Json json = {{"kind", KindText(node.kind)}, {"key", node.key}, {"name", node.name}};
        if (node.kind == PictureKind::Vlan)
            json["id"] = node.id;
        json["status"] = node.status;
        json["instance"] = node.instance;
        json["mac"] = node.address;
        if (node.kind != PictureKind::Vlan && node.kind != PictureKind::Miniport)
            json["bindings"] = node.bindings;
        json["findings"] = FindingNamesToJson(node.findings);
        if (!node.children.empty())
            json["children"] = PictureToJson(node.children);
        array.push_back(json);
    }
    return array;
}

Json FindingNamesToJson(const std::vector<RAV_FINDING>& findings)
{
    Json names = Json::array();
    for (const RAV_FINDING& finding : findings)
        names.push_back(ToUtf8(RavFindingText(finding.kind).name));
    return names;
}

Picture ReadPicture(CSession& session)
{
    const RAV_HOST host = ReadWholeHost(session, RAV_HOST_DEPTH::Bindings);
    std::map<CRavString, std::string> names;
    for (const ParentRow& row : ReadParents(session, ParentDetail::Names, host))
        names[row.key] = ToUtf8(row.name);
    return PictureOf(host, RavExamine(host), [&](const RAV_HOST_COMPONENT& component) {
        const auto name = names.find(component.guid);
        return name != names.end() ? name->second : ToUtf8(component.displayName);
    });
}
