#include "Src/View/RavHost.h"

#include "Common/Library/NetCfgClasses.h"
#include "Common/Library/RavAdapter.h"
#include "Common/Library/XmsBindings.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavRegValues.h"
#include "Common/Src/XmsNames.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr size_t TEXT_CHARACTERS = 512;
constexpr wchar_t COMPONENT_ID[] = L"ComponentId";
constexpr size_t INSTANCE_DIGITS = 4;

// Whether a call has told what there is, be it nothing.
bool IsAnswer(LONG status)
{
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND || status == ERROR_MORE_DATA;
}

// Several values of a key that is known by its path.
class CValues
{
  public:
    CValues(RAV_HOST& host, const CRavString& path, CRavRegKey& key, std::initializer_list<CRavString> names)
        : m_values(key.GetHKey(), names)
    {
        for (size_t index = 0; index < names.size(); ++index)
        {
            if (!IsAnswer(m_values.Status(index)))
                host.unread.push_back(path + L"\\" + names.begin()[index].c_str());
        }
    }
    std::optional<DWORD> Number(size_t index) const
    {
        DWORD number = 0;
        return m_values.Number(index, number) ? std::optional(number) : std::nullopt;
    }
    std::optional<CRavString> TextIfThere(size_t index) const
    {
        CRavString text;
        return m_values.Text(index, text, TEXT_CHARACTERS) ? std::optional(text) : std::nullopt;
    }
    CRavString Text(size_t index) const { return TextIfThere(index).value_or(CRavString()); }
    CRavString AnyText(size_t index) const
    {
        CRavString text;
        m_values.AnyText(index, text, TEXT_CHARACTERS);
        return text;
    }

  private:
    CRavRegValues m_values;
};

std::optional<std::vector<CRavString>> List(RAV_HOST& host, const CRavString& path, CRavRegKey& key,
                                            const wchar_t* name)
{
    std::vector<CRavString> list;
    if (RavReadList(key, name, list))
        return list;
    if (!IsAnswer(key.LastResult()))
        host.unread.push_back(path + L"\\" + name);
    return std::nullopt;
}

// Whether the key is there; one that cannot be opened is noted.
bool OpenIfThere(RAV_HOST& host, CRavRegKey& key, HKEY root, const CRavString& name, const CRavString& path)
{
    if (!key.Open(root, name, false) && key.LastResult() != ERROR_FILE_NOT_FOUND)
        host.unread.push_back(path);
    return key.IsOpened();
}

// Calls visit(name, path, key) for each subkey of a key below HKEY_LOCAL_MACHINE. A key that is not there has none.
template <typename Visit>
HRESULT ForEachKey(RAV_HOST& host, const wchar_t* path, Visit&& visit)
{
    CRavRegKey parent;
    if (!parent.Open(HKEY_LOCAL_MACHINE, path, false))
        return parent.LastResult() == ERROR_FILE_NOT_FOUND
                   ? S_OK
                   : HRESULT_FROM_WIN32(static_cast<DWORD>(parent.LastResult()));
    CRavString name;
    while (parent.EnumSubKey(name))
    {
        CRavRegKey key;
        const CRavString below = CRavString(path) + L"\\" + name;
        if (OpenIfThere(host, key, parent.GetHKey(), name, below))
            visit(name, below, key);
    }
    return parent.LastResult() == ERROR_NO_MORE_ITEMS ? S_OK
                                                      : HRESULT_FROM_WIN32(static_cast<DWORD>(parent.LastResult()));
}

RAV_COMPONENT_KIND KindOf(DWORD features, const CRavString& componentId)
{
    if (RavIsVlan(features))
        return (features & FEATURE_OVER_TEAM) != 0 ? RAV_COMPONENT_KIND::VlanOnTeam : RAV_COMPONENT_KIND::VlanOnAdapter;
    if (RavIsTeam(features))
        return RAV_COMPONENT_KIND::Team;
    return _wcsicmp(componentId, RAV_XMS_MINIPORT_ID) == 0 ? RAV_COMPONENT_KIND::Miniport : RAV_COMPONENT_KIND::Adapter;
}

void ReadVlan(RAV_HOST& host, const CRavString& path, CRavRegKey& key, RAV_VLAN_VALUES& vlan)
{
    const CValues values(host, path, key,
                         {XmsValue::VlanParentKey, XmsValue::VlanName, XmsValue::VlanDisplayName,
                          XmsValue::XmsMiniportKey, XmsValue::VlanType, XmsValue::LogicalGroupId, XmsValue::VlanId});
    vlan.parentKey = values.Text(0);
    vlan.name = values.Text(1);
    vlan.displayName = values.Text(2);
    vlan.miniportKey = values.Text(3);
    vlan.type = values.Number(4);
    vlan.group = values.Number(5);
    vlan.id = values.Number(6);
    vlan.jumboPacket = CValues(host, path, key, {JUMBO_PACKET}).TextIfThere(0);
}

void ReadTeamOfVlan(RAV_HOST& host, const CRavString& path, CRavRegKey& key, RAV_VLAN_VALUES& vlan)
{
    const CValues values(host, path, key, {XmsValue::TeamMode, XmsValue::TotalPhysicalAdapters});
    vlan.teamMode = values.Number(0);
    vlan.totalAdapters = values.Number(1);
}

void ReadPort(RAV_HOST& host, const CRavString& path, CRavRegKey& key, RAV_PORT_VALUES& port)
{
    const CValues values(
        host, path, key,
        {XmsValue::VlanMode, XmsValue::TaggingMode, PRIORITY_VLAN_TAG, XmsValue::VlanFiltering, XmsValue::XmsLoaded});
    port.ids = List(host, path, key, XmsValue::VlanId);
    port.vlanMode = values.Number(0);
    port.taggingMode = values.Number(1);
    port.taggingText = values.TextIfThere(1);
    port.priorityTag = values.TextIfThere(2);
    port.filtering = values.TextIfThere(3);
    port.xmsLoaded = values.Number(4);
}

// The component whose key this is; null for one that is no component, or has another key already.
RAV_HOST_COMPONENT* ComponentOf(RAV_HOST& host, const CRavString& guid)
{
    const auto place = host.places.find(RavCanonicalKey(guid));
    RAV_HOST_COMPONENT* const component = place != host.places.end() ? &host.components[place->second] : nullptr;
    return component != nullptr && component->instance.IsEmpty() ? component : nullptr;
}

void ReadKey(RAV_HOST& host, const CRavString& instance, const CRavString& path, CRavRegKey& key)
{
    const CValues values(host, path, key,
                         {NetworkValue::NetCfgInstanceId, COMPONENT_ID, NetworkValue::NetworkAddress,
                          XmsValue::SupportedFeatures, NetworkValue::DeviceInstanceId});
    RAV_HOST_COMPONENT* const found = ComponentOf(host, values.AnyText(0));
    if (found == nullptr)
        return;
    RAV_HOST_COMPONENT& component = *found;
    component.instance = instance;
    component.networkAddress = values.Text(2);
    component.features = values.Number(3).value_or(0);
    component.device = values.Text(4);
    component.kind = KindOf(component.features, values.Text(1));
    if (component.IsVlan())
        ReadVlan(host, path, key, component.vlan);
    if (component.kind == RAV_COMPONENT_KIND::VlanOnTeam)
        ReadTeamOfVlan(host, path, key, component.vlan);
    else if (component.kind == RAV_COMPONENT_KIND::Team)
        component.teamMode = CValues(host, path, key, {XmsValue::TeamMode}).Number(0);
    else if (component.kind == RAV_COMPONENT_KIND::Adapter)
        ReadPort(host, path, key, component.port);
}

void ReadTcpip(RAV_HOST& host, RAV_HOST_COMPONENT& adapter)
{
    CRavRegKey key;
    const CRavString path = CRavString(TCPIP_INTERFACES_KEY) + L"\\" + adapter.guid;
    if (!OpenIfThere(host, key, HKEY_LOCAL_MACHINE, path, path))
        return;
    adapter.port.dhcp = CValues(host, path, key, {NetworkValue::EnableDhcp}).Number(0);
    adapter.port.hasStaticAddress =
        !List(host, path, key, NetworkValue::IpAddress).value_or(std::vector<CRavString>()).empty();
}

// What INetCfg knows of a component, and what TCP/IP does.
void ReadRest(CRavNetCfgInterface& netCfg, RAV_HOST_DEPTH depth, RAV_HOST& host, RAV_HOST_COMPONENT& component)
{
    ComPtr<INetCfgComponent> found;
    CNetCfgText name;
    const auto isRead = [&](HRESULT status) {
        if (FAILED(status))
            host.unread.push_back(CRavString(L"component ") + component.guid);
        return SUCCEEDED(status);
    };
    if (!isRead(netCfg.FindNetworkComponentByGUID(component.guid, found)) || !found)
        return;
    if (isRead(found->GetDisplayName(name.Out())))
        component.displayName = name.Get();
    component.loadStatus = RavLoadStatusOf(*found.Get(), &component.problem);
    const bool isAdapter = component.kind == RAV_COMPONENT_KIND::Adapter;
    if (!isAdapter && component.kind != RAV_COMPONENT_KIND::Team)
        return;
    ReadTcpip(host, component);
    if (depth != RAV_HOST_DEPTH::Bindings)
        return;
    if (!isAdapter || isRead(RavIsBoundToXms(netCfg, *found.Get(), component.port.isBound)))
        isRead(RavListProtocols(netCfg, *found.Get(), component.port.protocols));
}

HRESULT ReadComponents(CRavNetCfgInterface& netCfg, RAV_HOST_DEPTH depth, RAV_HOST& host)
{
    std::vector<CRavString> guids;
    HRESULT status = netCfg.ListNetworkComponents(guids);
    if (FAILED(status))
        return status;
    if (status != S_OK)
        host.unread.push_back(L"components of the network class");
    for (const CRavString& guid : guids)
        host.Add(guid);
    status = ForEachKey(host, CLASS_KEY, [&](const CRavString& name, const CRavString& path, CRavRegKey& key) {
        if (name.Length() == INSTANCE_DIGITS)
            ReadKey(host, name, path, key);
    });
    if (depth == RAV_HOST_DEPTH::Values)
        return status;
    for (RAV_HOST_COMPONENT& component : host.components)
        ReadRest(netCfg, depth, host, component);
    return status;
}

HRESULT ReadDriver(RAV_HOST& host)
{
    const auto entry = [&](const CRavString& name, const CRavString& path, CRavRegKey& key) {
        const CValues values(host, path, key,
                             {XmsValue::LogicalGroupId, XmsValue::PhysicalAdapterId, XmsValue::TotalPhysicalAdapters,
                              XmsValue::BindingListCount, XmsValue::TaggingMode});
        host.entries[RavCanonicalKey(name)] = {values.Number(0), values.Number(1),
                                               values.Number(2), List(host, path, key, XmsValue::BindingList),
                                               values.Number(3), values.Number(4)};
    };
    const auto configuration = [&](const CRavString& name, const CRavString& path, CRavRegKey& key) {
        host.configurations[RavCanonicalKey(name)] = CValues(host, path, key, {NetworkValue::EnableDhcp}).Number(0);
    };
    const HRESULT status = ForEachKey(host, XMS_ADAPTERS_KEY, entry);
    return SUCCEEDED(status) ? ForEachKey(host, XMS_CONFIGURATION_KEY, configuration) : status;
}

// The records of the protocols that were taken off adapters.
void ReadRecords(RAV_HOST& host)
{
    for (const RAV_HOST_COMPONENT& component : host.components)
    {
        std::vector<CRavString> protocols;
        LONG status = ERROR_SUCCESS;
        if (component.kind != RAV_COMPONENT_KIND::Adapter && component.kind != RAV_COMPONENT_KIND::Team)
            continue;
        if (RavReadBindingRecord(component.guid, protocols, &status))
            host.records[component.guid] = protocols;
        else if (!IsAnswer(status))
            host.unread.push_back(CRavString(L"record of ") + component.guid);
    }
}
} // namespace

CRavString RAV_HOST_COMPONENT::Path() const
{
    return CRavString(CLASS_KEY) + L"\\" + instance;
}

RAV_HOST_COMPONENT& RAV_HOST::Add(const CRavString& guid)
{
    places.emplace(guid, components.size());
    components.emplace_back().guid = guid;
    return components.back();
}

const RAV_HOST_COMPONENT* RAV_HOST::Find(const CRavString& guid) const
{
    const auto place = places.find(RavCanonicalKey(guid));
    return place != places.end() ? &components[place->second] : nullptr;
}

bool RAV_HOST::IsMember(const CRavString& adapter, const CRavString& team) const
{
    const auto entry = entries.find(RavCanonicalKey(adapter));
    if (entry == entries.end() || !entry->second.bindings)
        return false;
    const CRavString device = CRavString(DEVICE_PREFIX) + team;
    return std::any_of(entry->second.bindings->begin(), entry->second.bindings->end(),
                       [&](const CRavString& binding) { return binding.CompareI(device); });
}

HRESULT RavReadHost(CRavNetCfgInterface& netCfg, RAV_HOST& host, RAV_HOST_DEPTH depth)
{
    host = RAV_HOST();
    const HRESULT status = ReadComponents(netCfg, depth, host);
    if (FAILED(status))
        return status;
    if (depth == RAV_HOST_DEPTH::Bindings)
        ReadRecords(host);
    return depth != RAV_HOST_DEPTH::Values ? ReadDriver(host) : status;
}
