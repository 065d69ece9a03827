#include "Tools/vlanctl/Picture.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavUtf8.h"
#include "Plan/RavExamine.h"
#include "Tools/vlanctl/Inventory.h"

#include <algorithm>
#include <iterator>
#include <map>

using Json = nlohmann::ordered_json;

namespace
{
constexpr char DRIVER_BINDING[] = "VLAN driver";

class CPainter
{
  public:
    CPainter(const RAV_HOST& host, const std::vector<RAV_FINDING>& findings, const NameOfComponent& nameOf)
        : m_host(host), m_findings(findings), m_nameOf(nameOf)
    {
    }

    std::vector<PictureNode> Paint() const
    {
        std::vector<PictureNode> nodes;
        for (const RAV_HOST_COMPONENT& component : m_host.components)
        {
            if (component.kind == RAV_COMPONENT_KIND::Team)
                nodes.push_back(TeamNode(component));
        }
        for (const RAV_HOST_COMPONENT& component : m_host.components)
        {
            if (component.kind == RAV_COMPONENT_KIND::Adapter && !IsMember(component))
                nodes.push_back(CarrierNode(component, PictureKind::Adapter));
        }
        for (const RAV_HOST_COMPONENT& component : m_host.components)
        {
            if (component.kind == RAV_COMPONENT_KIND::Miniport ||
                (component.IsVlan() && ParentOf(component) == nullptr))
                nodes.push_back(Node(component, component.IsVlan() ? PictureKind::Vlan : PictureKind::Miniport));
        }
        return nodes;
    }

  private:
    const RAV_HOST_COMPONENT* ParentOf(const RAV_HOST_COMPONENT& vlan) const
    {
        return m_host.Find(vlan.vlan.parentKey);
    }

    // The driver's entry of a member names the team's own miniport.
    bool IsMemberOf(const RAV_HOST_COMPONENT& adapter, const RAV_HOST_COMPONENT& team) const
    {
        const auto entry = m_host.entries.find(adapter.guid);
        if (entry == m_host.entries.end() || !entry->second.bindings)
            return false;
        const CRavString device = CRavString(DEVICE_PREFIX) + team.guid;
        return std::any_of(entry->second.bindings->begin(), entry->second.bindings->end(),
                           [&](const CRavString& binding) { return binding.CompareI(device); });
    }

    bool IsMember(const RAV_HOST_COMPONENT& adapter) const
    {
        return std::any_of(m_host.components.begin(), m_host.components.end(), [&](const auto& team) {
            return team.kind == RAV_COMPONENT_KIND::Team && IsMemberOf(adapter, team);
        });
    }

    PictureNode Node(const RAV_HOST_COMPONENT& component, PictureKind kind) const
    {
        PictureNode node;
        node.kind = kind;
        node.key = ToUtf8(component.guid);
        node.instance = ToUtf8(component.instance);
        node.address = ToUtf8(component.networkAddress);
        node.status = LoadText(component.loadStatus);
        if (component.IsVlan())
        {
            node.name = ToUtf8(component.vlan.name);
            node.id = IdText(component.vlan.id.value_or(0));
        }
        else
            node.name = m_nameOf(component);
        std::copy_if(m_findings.begin(), m_findings.end(), std::back_inserter(node.findings),
                     [&](const RAV_FINDING& finding) { return finding.subject.CompareI(component.guid); });
        return node;
    }

    PictureNode CarrierNode(const RAV_HOST_COMPONENT& carrier, PictureKind kind) const
    {
        PictureNode node = Node(carrier, kind);
        if (carrier.port.isBound)
            node.bindings.emplace_back(DRIVER_BINDING);
        for (const CRavString& protocol : carrier.port.protocols)
            node.bindings.push_back(ToUtf8(protocol));
        std::vector<const RAV_HOST_COMPONENT*> vlans;
        for (const RAV_HOST_COMPONENT& vlan : m_host.components)
        {
            if (vlan.IsVlan() && ParentOf(vlan) == &carrier)
                vlans.push_back(&vlan);
        }
        std::stable_sort(vlans.begin(), vlans.end(), [](const auto* one, const auto* other) {
            return one->vlan.id.value_or(0) < other->vlan.id.value_or(0);
        });
        for (const RAV_HOST_COMPONENT* const vlan : vlans)
            node.children.push_back(Node(*vlan, PictureKind::Vlan));
        return node;
    }

    PictureNode TeamNode(const RAV_HOST_COMPONENT& team) const
    {
        PictureNode node = CarrierNode(team, PictureKind::Team);
        std::vector<PictureNode> members;
        for (const RAV_HOST_COMPONENT& adapter : m_host.components)
        {
            if (adapter.kind == RAV_COMPONENT_KIND::Adapter && IsMemberOf(adapter, team))
                members.push_back(CarrierNode(adapter, PictureKind::Member));
        }
        node.children.insert(node.children.begin(), std::make_move_iterator(members.begin()),
                             std::make_move_iterator(members.end()));
        return node;
    }

    const RAV_HOST& m_host;
    const std::vector<RAV_FINDING>& m_findings;
    const NameOfComponent& m_nameOf;
};
} // namespace

std::vector<PictureNode> PictureOf(const RAV_HOST& host, const std::vector<RAV_FINDING>& findings,
                                   const NameOfComponent& nameOf)
{
    return CPainter(host, findings, nameOf).Paint();
}

std::string BindingsText(const PictureNode& node)
{
    std::string text;
    for (const std::string& binding : node.bindings)
        text += (text.empty() ? "" : ", ") + binding;
    return text;
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

size_t FindingsIn(const std::vector<PictureNode>& nodes)
{
    size_t count = 0;
    for (const PictureNode& node : nodes)
        count += node.findings.size() + FindingsIn(node.children);
    return count;
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
            json["id"] = node.id == IdText(0) ? 0 : std::stoi(node.id);
        json["status"] = node.status;
        json["instance"] = node.instance;
        json["mac"] = node.address;
        if (node.kind != PictureKind::Vlan && node.kind != PictureKind::Miniport)
            json["bindings"] = node.bindings;
        Json findings = Json::array();
        for (const RAV_FINDING& finding : node.findings)
            findings.push_back(ToUtf8(RavFindingText(finding.kind).name));
        json["findings"] = findings;
        if (!node.children.empty())
            json["children"] = PictureToJson(node.children);
        array.push_back(json);
    }
    return array;
}

std::vector<PictureNode> ReadPicture(CSession& session)
{
    const RAV_HOST host = ReadHost(session, RAV_HOST_DEPTH::Bindings);
    std::map<CRavString, std::string> names;
    for (const ParentRow& row : ReadParents(session, ParentDetail::Names, host))
        names[row.key] = ToUtf8(row.name);
    return PictureOf(host, RavExamine(host), [&](const RAV_HOST_COMPONENT& component) {
        const auto name = names.find(component.guid);
        return name != names.end() ? name->second : ToUtf8(component.displayName);
    });
}
