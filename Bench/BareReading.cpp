#include "Bench/BareReading.h"

#include "Bench/BareCalls.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/XmsNames.h"

#include <wrl/client.h>

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr DWORD XMS_SUPPORT_FILTERED = 3;

void Walk(const std::function<bool(INetCfgComponent&)>& visit)
{
    ComPtr<INetCfg> netCfg;
    CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg));
    netCfg->Initialize(nullptr);
    WalkNetwork(*netCfg.Get(), visit);
    netCfg->Uninitialize();
}

// visit(component, parameter key, features) for each component that has features.
template <typename Visit>
void WalkVlans(Visit&& visit)
{
    Walk([&](INetCfgComponent& component) {
        HKEY key = nullptr;
        component.OpenParamKey(&key);
        if (const DWORD features = NumberOf(key, XmsValue::SupportedFeatures))
            visit(component, key, features);
        RegCloseKey(key);
        return true;
    });
}

int JumboOf(HKEY key)
{
    HKEY description = nullptr;
    if (RegOpenKeyExW(key, L"Ndi\\Params\\*JumboPacket", 0, KEY_READ, &description) != ERROR_SUCCESS)
        return -1;
    RegCloseKey(description);
    return _wtoi(TextOf(key, L"*JumboPacket").c_str());
}

bool IsFilteredOut(INetCfgComponent& component)
{
    HKEY key = nullptr;
    HKEY filters = nullptr;
    DWORD filter = 0;
    component.OpenParamKey(&key);
    if (RegOpenKeyExW(key, L"ZentraNdi", 0, KEY_READ, &filters) == ERROR_SUCCESS)
    {
        filter = NumberOf(filters, L"XMSSupportFilter");
        RegCloseKey(filters);
    }
    RegCloseKey(key);
    return filter == XMS_SUPPORT_FILTERED;
}

bool IsSupported(CRavCoreAgentPvtIntf& core, const CRavString& adapter)
{
    bool member = false;
    bool loaded = false;
    return core.IsRuleTrue(adapter, L"IsXmsSupported") && core.IsBoundToTeam(adapter, member).Succeeded() && !member &&
           core.IsVlansSupportedOnPort(adapter) && core.IsAdapterLoaded(adapter, loaded).Succeeded() && loaded;
}

std::vector<CRavString> TeamsOf(const wchar_t* module)
{
    std::vector<CRavString> teams;
    const HMODULE library = LoadLibraryW(module);
    const auto factory = reinterpret_cast<RAV_GET_TEAM_AGENT_PVT>(
        reinterpret_cast<void*>(GetProcAddress(library, RAV_GET_TEAM_AGENT_PVT_NAME)));
    if (factory != nullptr)
        factory()->EnumerateTeams(teams);
    FreeLibrary(library);
    return teams;
}
} // namespace

std::vector<std::wstring> BareKeys()
{
    std::vector<std::wstring> keys;
    WalkVlans([&](INetCfgComponent& component, HKEY, DWORD) { keys.push_back(GuidOf(component)); });
    return keys;
}

std::vector<BareVlan> BareListing()
{
    std::vector<BareVlan> vlans;
    WalkVlans([&](INetCfgComponent& component, HKEY key, DWORD features) {
        BareVlan vlan;
        RAV_VLAN_INFO& info = vlan.info;
        wchar_t* description = nullptr;
        info.supportedFeatures = features;
        info.vlanKey = GuidOf(component).c_str();
        info.vlanId = NumberOf(key, XmsValue::VlanId);
        info.vlanName = TextOf(key, XmsValue::VlanName).c_str();
        info.displayName = TextOf(key, XmsValue::VlanDisplayName).c_str();
        info.logicalGroupId = NumberOf(key, XmsValue::LogicalGroupId);
        info.xmsMiniportKey = TextOf(key, XmsValue::XmsMiniportKey).c_str();
        vlan.parent = TextOf(key, XmsValue::VlanParentKey);
        info.vlanType = NumberOf(key, XmsValue::VlanType) - 1;
        if (SUCCEEDED(component.GetDisplayName(&description)))
            info.description = description;
        CoTaskMemFree(description);
        info.jumboPacket = JumboOf(key);
        vlans.push_back(vlan);
    });
    return vlans;
}

std::vector<std::wstring> BareParents(CRavCoreAgentPvtIntf& core)
{
    std::vector<std::wstring> parents;
    for (const CRavString& team : TeamsOf(L"TeamAgent.dll"))
        parents.emplace_back(team.c_str());
    std::vector<CRavString> adapters;
    core.EnumerateAdapters(adapters);
    size_t open = adapters.size();
    Walk([&](INetCfgComponent& component) {
        const std::wstring guid = GuidOf(component);
        const auto adapter =
            std::find_if(adapters.begin(), adapters.end(), [&](const CRavString& key) { return guid == key.c_str(); });
        if (adapter == adapters.end())
            return true;
        if (!IsFilteredOut(component) && IsSupported(core, *adapter))
            parents.push_back(guid);
        return --open > 0;
    });
    return parents;
}

bool BareValidation(CRavCoreAgentPvtIntf& core, const std::wstring& parent, DWORD id, const wchar_t* name)
{
    const CRavString adapter(parent.c_str());
    bool clean = true;
    bool queues = false;
    Walk([&](INetCfgComponent& component) {
        if (GuidOf(component) == parent)
        {
            clean = clean && !IsFilteredOut(component);
            return true;
        }
        HKEY key = nullptr;
        component.OpenParamKey(&key);
        if (NumberOf(key, XmsValue::SupportedFeatures) != 0 && TextOf(key, XmsValue::VlanParentKey) == parent)
            clean = clean && NumberOf(key, XmsValue::VlanId) != id && TextOf(key, XmsValue::VlanName) != name;
        RegCloseKey(key);
        return true;
    });
    return clean && IsSupported(core, adapter) && core.IsDeviceVmqEnabled(adapter, queues).Succeeded() && !queues &&
           core.IsDeviceCorvo(adapter) && core.IsDriverSupportingVORN(adapter);
}
