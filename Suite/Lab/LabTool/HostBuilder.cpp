#include "Suite/Lab/LabTool/HostBuilder.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavUtf8.h"
#include "Common/Src/SuiteNames.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>
#include <map>

namespace
{
constexpr DWORD PHYSICAL = 0x84;         // NCF_PHYSICAL | NCF_HAS_UI
constexpr DWORD VIRTUAL_MINIPORT = 0x21; // NCF_VIRTUAL | NCF_NOT_USER_REMOVABLE
constexpr DWORD PROBLEM_NOT_LOADED = 10; // CM_PROB_FAILED_START
constexpr size_t FIRST_VLAN_NUMBER = 100;

// What an adapter's maker and its driver say of it.
struct Make
{
    const wchar_t* componentId;
    const wchar_t* devices;
    const wchar_t* description;
    const wchar_t* provider;
};
const Make OWN_MAKE = {L"pci\\ven_1a2b&dev_0010", L"PCI\\VEN_1A2B&DEV_0010", L"Corvo Gigabit Server Adapter", L"Corvo"};
const Make OTHER_MAKE = {L"pci\\ven_9999&dev_0001", L"PCI\\VEN_9999&DEV_0001", L"Gigabit Adapter", L"Other Maker"};
const Make MINIPORT_MAKE = {RAV_XMS_MINIPORT_ID, L"ROOT\\NET", L"Corvo XMS Virtual Miniport", L"Corvo"};

struct Protocol
{
    const wchar_t* guid;
    const wchar_t* componentId;
    const wchar_t* service;
    const wchar_t* description;
};
const Protocol PROTOCOLS[] = {
    {L"{B0000001-0000-4000-8000-000000000001}", L"ms_tcpip", L"Tcpip", L"Internet Protocol Version 4 (TCP/IPv4)"},
    {L"{B0000001-0000-4000-8000-000000000002}", L"ms_tcpip6", L"Tcpip6", L"Internet Protocol Version 6 (TCP/IPv6)"},
    {L"{B0000001-0000-4000-8000-000000000003}", L"ms_lldp", L"MsLldp", L"Link-Layer Discovery Protocol Driver"},
    {L"{B0000001-0000-4000-8000-000000000004}", RAV_XMS_PROTOCOL_ID, XMS_SERVICE, L"Corvo Intermediate Driver"},
    {L"{B0000001-0000-4000-8000-000000000005}", L"vms_pp", L"VMSP", L"Hyper-V Extensible Virtual Switch"},
};

CRavString Format(CRavFormat<unsigned> format, unsigned number)
{
    CRavString text;
    text.FormatString(format, number);
    return text;
}

CRavString Device(const CRavString& guid)
{
    return CRavString(DEVICE_PREFIX) + guid;
}

// Writes values below one key, and remembers whether all went well.
class KeyBuilder
{
  public:
    KeyBuilder(const CRavString& path, bool& done) : m_path(path), m_done(done) {}
    KeyBuilder& Text(const wchar_t* name, const CRavString& value)
    {
        m_done = LabSetText(m_path, name, value) && m_done;
        return *this;
    }
    KeyBuilder& Number(const wchar_t* name, DWORD value)
    {
        m_done = LabSetNumber(m_path, name, value) && m_done;
        return *this;
    }
    KeyBuilder& List(const wchar_t* name, const std::vector<CRavString>& values)
    {
        m_done = LabSetList(m_path, name, values) && m_done;
        return *this;
    }

  private:
    CRavString m_path;
    bool& m_done;
};

class Builder
{
  public:
    Builder(const LabHost& host, const CRavString& folder) : m_host(host), m_folder(folder) {}

    bool Build()
    {
        BuildSuite();
        BuildProtocols();
        for (const LabAdapter& adapter : m_host.adapters)
            BuildAdapter(adapter);
        for (const LabTeam& team : m_host.teams)
            BuildTeam(team);
        const size_t first = std::max(FIRST_VLAN_NUMBER, m_lastNumber + 1);
        for (size_t index = 0; index < m_host.vlans.size(); ++index)
            BuildVlan(m_host.vlans[index], first + index);
        BuildBindings();
        return m_done;
    }

  private:
    struct Node
    {
        CRavString guid;
        CRavString instancePath;
        unsigned instance = 0;
        bool isTeam = false;
        bool isMember = false;
        std::vector<CRavString> members; // guids, of a team
        std::vector<int> ids;            // tagged VLANs
        bool untagged = false;
        std::vector<CRavString> vlanDevices;
        DWORD group = 0;
        std::string mac;
    };

    KeyBuilder Key(const CRavString& path) { return KeyBuilder(path, m_done); }

    void BuildSuite()
    {
        Key(SUITE_KEY).Text(SuiteValue::InstalledDir, m_folder).Number(SuiteValue::Trace, 1);
        Key(LAB_KEY)
            .List(LAB_ADAPTER_ORDER, {})
            .List(LAB_TEAM_ORDER, {})
            .Text(LAB_STATE_DIR, m_folder + L"\\lab-state");
        Key(CLASS_KEY).Text(L"Class", L"Net").Text(L"Installer32", m_folder + L"\\NetCfg.dll,NetClassInstaller");
        for (const LabSetting& setting : m_host.templates)
            BuildTemplate(LabPath(TEMPLATES_KEY, FromUtf8(setting.name)), setting);
    }

    void BuildTemplate(const CRavString& path, const LabSetting& setting)
    {
        const auto number = [](int value) { return Format(L"%d", static_cast<unsigned>(value)); };
        Key(path)
            .Text(L"Type", FromUtf8(setting.type))
            .Text(L"Default", number(setting.defaultValue))
            .Text(L"ExposeLevel", number(setting.exposeLevel))
            .Text(L"ParamDesc", FromUtf8(setting.description));
        for (const auto& [value, text] : setting.choices)
            Key(path + L"\\Enum").Text(number(value), FromUtf8(text));
        if (setting.type == "int")
            Key(path)
                .Text(L"Base", number(setting.base))
                .Text(L"Max", number(setting.max))
                .Text(L"Min", number(setting.min))
                .Text(L"Step", number(setting.step))
                .Text(L"Scale", number(setting.scale));
    }

    void BuildProtocols()
    {
        for (const Protocol& protocol : PROTOCOLS)
        {
            const CRavString path = LabPath(NETWORK_KEY, PROTOCOL_CLASS_GUID) + L"\\" + protocol.guid;
            Key(path).Text(L"ComponentId", protocol.componentId).Text(L"Description", protocol.description);
            Key(path + L"\\Ndi").Text(L"Service", protocol.service);
        }
    }

    // What every network component of the host has: instance key, device, connection.
    Node BuildComponent(const std::string& name, size_t number, const Make& make, const CRavString& device,
                        DWORD characteristics)
    {
        Node node;
        node.guid = LabGuid(number);
        node.instance = ++m_lastInstance;
        const CRavString instance = Format(L"%04u", node.instance);
        node.instancePath = LabPath(CLASS_KEY, instance);
        Key(node.instancePath)
            .Text(NetworkValue::NetCfgInstanceId, node.guid)
            .Text(L"ComponentId", make.componentId)
            .Text(NetworkValue::DriverDesc, make.description)
            .Text(L"ProviderName", make.provider)
            .Text(L"DriverVersion", L"12.1.0.0")
            .Number(NetworkValue::Characteristics, characteristics)
            .Text(L"DeviceInstanceID", device);
        Key(node.instancePath + L"\\Linkage").List(L"Export", {Device(node.guid)}).List(L"RootDevice", {node.guid});
        Key(LabPath(ENUM_KEY, device))
            .Text(L"ClassGUID", NETWORK_CLASS_GUID)
            .Text(L"Class", L"Net")
            .Text(L"Driver", CRavString(NETWORK_CLASS_GUID) + L"\\" + instance)
            .Text(L"DeviceDesc", make.description)
            .Text(NetworkValue::FriendlyName, FromUtf8(name))
            .List(L"HardwareID", {make.componentId})
            .Number(L"ConfigFlags", 0);
        Key(LabPath(NETWORK_KEY, NETWORK_CLASS_GUID) + L"\\" + node.guid + L"\\Connection")
            .Text(L"Name", Format(L"Local Area Connection %u", node.instance))
            .Text(L"PnpInstanceID", device);
        return node;
    }

    void BuildAdapter(const LabAdapter& adapter)
    {
        const Make& make = adapter.corvo ? OWN_MAKE : OTHER_MAKE;
        const CRavString device = LabPath(make.devices, Format(L"%u", static_cast<unsigned>(++m_lastNumber)));
        Node node = BuildComponent(adapter.name, m_lastNumber, make, device, PHYSICAL);
        node.mac = adapter.mac;
        for (const auto& [name, value] : adapter.parameters)
            Key(node.instancePath).Text(FromUtf8(name), FromUtf8(value));
        BuildSettings(adapter, node.instancePath);
        Key(LabPath(TCPIP_INTERFACES_KEY, node.guid)).Number(NetworkValue::EnableDhcp, adapter.dhcp ? 1 : 0);
        if (!adapter.address.empty() && adapter.dhcp)
            Key(LabPath(TCPIP_INTERFACES_KEY, node.guid)).Text(NetworkValue::DhcpIpAddress, FromUtf8(adapter.address));
        else if (!adapter.address.empty())
            Key(LabPath(TCPIP_INTERFACES_KEY, node.guid)).List(NetworkValue::IpAddress, {FromUtf8(adapter.address)});
        Key(LabPath(LAB_DEVICES, node.guid)).Number(L"Problem", adapter.driverLoaded ? 0 : PROBLEM_NOT_LOADED);
        if (!adapter.jumboFrames.empty())
            Key(LabPath(LAB_DEVICES, node.guid))
                .Number(LAB_WORKS_WITH_JUMBO, static_cast<DWORD>(adapter.jumboFrames.front()));
        if (adapter.rebootNeeded)
            Key(LabPath(LAB_DEVICES, node.guid)).Number(LAB_REBOOT_NEEDED, 1);
        Key(LabPath(LAB_ADAPTERS, node.guid))
            .Number(L"Corvo", adapter.corvo)
            .Number(L"VlansOnPort", adapter.vlansOnPort)
            .Number(L"VirtualDevice", adapter.virtualDevice)
            .Number(L"Vmq", adapter.vmq.has_value())
            .Number(L"Vorn", adapter.driverSupportsVlans)
            .Number(L"StandardKeywords", adapter.standardKeywords)
            .Number(L"XmsRule", 1)
            .Text(L"PermanentMac", FromUtf8(adapter.mac));
        m_adapterOrder.push_back(node.guid);
        Key(LAB_KEY).List(LAB_ADAPTER_ORDER, m_adapterOrder);
        m_nodes[adapter.name] = node;
    }

    void BuildSettings(const LabAdapter& adapter, const CRavString& instancePath)
    {
        if (!adapter.jumboFrames.empty())
        {
            LabSetting jumbo;
            jumbo.name = adapter.standardKeywords ? "*JumboPacket" : "MaxFrameSize";
            jumbo.type = "enum";
            jumbo.description = "Jumbo Packet";
            jumbo.defaultValue = adapter.jumboFrames.front();
            for (const int size : adapter.jumboFrames)
                jumbo.choices.emplace_back(size, size == 1514 ? "Disabled" : std::to_string(size) + " Bytes");
            BuildSetting(instancePath, jumbo, jumbo.defaultValue);
        }
        if (adapter.vmq.has_value())
        {
            LabSetting vmq;
            vmq.name = "*VMQ";
            vmq.type = "enum";
            vmq.description = "Virtual Machine Queues";
            vmq.defaultValue = 0;
            vmq.choices = {{0, "Disabled"}, {1, "Enabled"}};
            BuildSetting(instancePath, vmq, *adapter.vmq ? 1 : 0);
        }
    }

    void BuildSetting(const CRavString& instancePath, const LabSetting& setting, int current)
    {
        BuildTemplate(instancePath + L"\\Ndi\\Params\\" + FromUtf8(setting.name), setting);
        Key(instancePath).Text(FromUtf8(setting.name), Format(L"%d", static_cast<unsigned>(current)));
    }

    void BuildTeam(const LabTeam& team)
    {
        Node node = BuildComponent(team.name, ++m_lastNumber, MINIPORT_MAKE, NextRootDevice(), VIRTUAL_MINIPORT);
        node.isTeam = true;
        node.mac = m_nodes[team.members.front()].mac;
        Key(node.instancePath)
            .Number(XmsValue::SupportedFeatures, FEATURE_OVER_TEAM)
            .Number(XmsValue::TeamMode, static_cast<DWORD>(team.mode))
            .Text(NetworkValue::NetworkAddress, FromUtf8(node.mac));
        Key(LabPath(TCPIP_INTERFACES_KEY, node.guid)).Number(NetworkValue::EnableDhcp, 1);
        node.group = m_lastGroup++;
        for (const std::string& name : team.members)
        {
            Node& member = m_nodes[name];
            member.isMember = true;
            node.members.push_back(member.guid);
            BuildDriverEntry(member, node.group, static_cast<DWORD>(team.members.size()), {Device(node.guid)}, 0);
            MoveDhcp(member.guid);
        }
        Key(LabPath(LAB_TEAMS, node.guid))
            .Text(L"Name", FromUtf8(team.name))
            .Number(L"SupportsVlans", team.supportsVlans)
            .List(L"Members", node.members);
        m_teamOrder.push_back(node.guid);
        Key(LAB_KEY).List(LAB_TEAM_ORDER, m_teamOrder);
        m_nodes[team.name] = node;
    }

    void BuildDriverEntry(const Node& adapter, DWORD group, DWORD total, const std::vector<CRavString>& bindings,
                          DWORD tagging)
    {
        m_done = LabSetDriverEntry({adapter.guid, group, total, bindings, tagging}) && m_done;
    }

    void BuildVlan(const LabVlan& vlan, size_t number)
    {
        Node& parent = m_nodes[vlan.parent];
        const std::string displayName = vlan.parent + " - VLAN : " + vlan.name;
        if (!parent.isTeam && parent.vlanDevices.empty())
            parent.group = m_lastGroup++;
        const Node node = BuildComponent(displayName, number, MINIPORT_MAKE, NextRootDevice(), VIRTUAL_MINIPORT);
        if (parent.isTeam)
            Key(node.instancePath)
                .Number(XmsValue::TeamMode, LabNumber(parent.instancePath, XmsValue::TeamMode, 0))
                .Number(XmsValue::TotalPhysicalAdapters, static_cast<DWORD>(parent.members.size()));
        if (vlan.id != 0)
            Key(node.instancePath).Number(XmsValue::VlanId, static_cast<DWORD>(vlan.id));
        Key(node.instancePath)
            .Text(L"MediaType", L"0")
            .Number(XmsValue::LogicalGroupId, parent.group)
            .Text(XmsValue::XmsMiniportKey, node.guid)
            .Text(XmsValue::VlanParentKey, parent.guid)
            .Number(XmsValue::VlanType, 1)
            .Text(NetworkValue::NetworkAddress, FromUtf8(parent.mac))
            .Number(XmsValue::SupportedFeatures, parent.isTeam ? FEATURE_VLAN | FEATURE_OVER_TEAM : FEATURE_VLAN)
            .Text(XmsValue::VlanName, FromUtf8(vlan.name))
            .Text(XmsValue::VlanDisplayName, FromUtf8(displayName));
        for (const LabSetting& setting : m_host.templates)
        {
            if (setting.name != "*JumboPacket")
                BuildSetting(node.instancePath, setting, setting.defaultValue);
        }
        if (vlan.id != 0)
            parent.ids.push_back(vlan.id);
        else
            parent.untagged = true;
        Key(LabPath(LAB_DEVICES, node.guid)).Number(LAB_WORKS_WITH_ID, static_cast<DWORD>(vlan.id));
        parent.vlanDevices.push_back(Device(node.guid));
        CarryVlans(parent);
        m_vlanGuids.push_back(node.guid);
    }

    // Brings the adapters that carry the parent's VLANs up to date.
    void CarryVlans(const Node& parent)
    {
        const DWORD tagging = parent.ids.empty() ? 0 : parent.untagged ? 3 : 1;
        std::vector<CRavString> ids;
        for (const int id : parent.ids)
            ids.push_back(Format(L"%u", static_cast<unsigned>(id)));
        for (auto& [name, node] : m_nodes)
        {
            const bool isMember =
                std::find(parent.members.begin(), parent.members.end(), node.guid) != parent.members.end();
            if (!isMember && !(node.guid == parent.guid && !parent.isTeam))
                continue;
            std::vector<CRavString> bindings = parent.vlanDevices;
            if (isMember)
                bindings.insert(bindings.begin(), Device(parent.guid));
            BuildDriverEntry(node, parent.group, isMember ? static_cast<DWORD>(parent.members.size()) : 1, bindings,
                             tagging);
            Key(node.instancePath).Number(XmsValue::TaggingMode, ids.empty() ? 0 : 1);
            if (!ids.empty())
                Key(node.instancePath).List(XmsValue::VlanId, ids).Number(XmsValue::VlanMode, 1);
            MoveDhcp(node.guid);
        }
        if (!parent.isTeam)
            return;
        MoveDhcp(parent.guid);
        Key(BINDING_RECORDS_KEY).List(parent.guid, {L"ms_tcpip", L"ms_tcpip6"});
    }

    void MoveDhcp(const CRavString& guid) { m_done = LabMoveDhcp(guid) && m_done; }

    void BuildBindings()
    {
        std::vector<CRavString> ordinary;
        std::vector<CRavString> carried;
        std::vector<CRavString> all;
        std::vector<CRavString> switched;
        for (const LabAdapter& adapter : m_host.adapters)
        {
            const Node& node = m_nodes[adapter.name];
            all.push_back(Device(node.guid));
            (node.isMember || !node.vlanDevices.empty() ? carried : ordinary).push_back(Device(node.guid));
            if (adapter.hyperV)
                switched.push_back(Device(node.guid));
        }
        // Adapters without VLANs: the intermediate driver's bindings to them exist and are disabled.
        const std::vector<CRavString> plain = ordinary;
        // A team with VLANs has given up its own.
        std::vector<CRavString> silent = carried;
        for (const LabTeam& team : m_host.teams)
        {
            const Node& node = m_nodes[team.name];
            (node.vlanDevices.empty() ? ordinary : silent).push_back(Device(node.guid));
        }
        for (const CRavString& guid : m_vlanGuids)
            ordinary.push_back(Device(guid));
        for (const Protocol& protocol : PROTOCOLS)
        {
            const CRavString path = LabPath(SERVICES_KEY, protocol.service) + L"\\Linkage";
            const CRavString id = protocol.componentId;
            if (id == RAV_XMS_PROTOCOL_ID)
                Key(path).List(L"Bind", carried).List(L"Disabled", plain);
            else if (id == L"vms_pp")
                Key(path).List(L"Bind", switched).List(L"Disabled", {});
            else if (id == L"ms_lldp")
                Key(path).List(L"Bind", all).List(L"Disabled", {});
            else
                Key(path).List(L"Bind", ordinary).List(L"Disabled", silent);
        }
    }

    CRavString NextRootDevice() { return LabPath(MINIPORT_MAKE.devices, Format(L"%04u", m_lastInstance + 1)); }

    const LabHost& m_host;
    CRavString m_folder;
    bool m_done = true;
    unsigned m_lastInstance = 0;
    size_t m_lastNumber = 0;
    DWORD m_lastGroup = 0;
    std::map<std::string, Node> m_nodes;
    std::vector<CRavString> m_adapterOrder;
    std::vector<CRavString> m_teamOrder;
    std::vector<CRavString> m_vlanGuids;
};

void DeleteTree(const wchar_t* parent, const CRavString& name)
{
    CRavRegKey key;
    if (key.Open(HKEY_LOCAL_MACHINE, parent, true))
        key.DeleteSubKey(name);
}
} // namespace

CRavString LabGuid(size_t number)
{
    CRavString guid;
    guid.FormatString(L"{A0000001-0000-4000-8000-%012u}", static_cast<unsigned>(number));
    return guid;
}

bool BuildHost(const LabHost& host, const CRavString& folder)
{
    return Builder(host, folder).Build();
}

void RemoveHost()
{
    DeleteTree(CLASSES_KEY, NETWORK_CLASS_GUID);
    for (const Make& make : {OWN_MAKE, OTHER_MAKE, MINIPORT_MAKE})
        DeleteTree(ENUM_KEY, make.devices);
    DeleteTree(NETWORK_KEY, NETWORK_CLASS_GUID);
    for (const Protocol& protocol : PROTOCOLS)
    {
        DeleteTree(LabPath(NETWORK_KEY, PROTOCOL_CLASS_GUID), protocol.guid);
        DeleteTree(LabPath(SERVICES_KEY, protocol.service), L"Linkage");
    }
    for (const wchar_t* const order : {LAB_ADAPTER_ORDER, LAB_TEAM_ORDER})
    {
        for (const CRavString& guid : LabList(LAB_KEY, order))
            DeleteTree(TCPIP_INTERFACES_KEY, guid);
    }
    DeleteTree(LabPath(SERVICES_KEY, XMS_SERVICE), L"Parameters");
    DeleteTree(MAKER_KEY, SUITES_NAME);
    RemoveDirectoryW(LabText(LAB_KEY, LAB_STATE_DIR));
    DeleteTree(L"SOFTWARE", L"VlanLab");
}
