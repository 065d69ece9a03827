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

int JumboOf(HKEY key)
{
    HKEY description = nullptr;
    if (RegOpenKeyExW(key, L"Ndi\\Params\\*JumboPacket", 0, KEY_READ, &description) != ERROR_SUCCESS)
        return -1;
    RegCloseKey(description);
    return _wtoi(TextOf(key, L"*JumboPacket").c_str());
}

// The VLANs alone: visit(component, parameter key, features).
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
} // namespace

void BareWalk(const BARE_VISIT& visit)
{
    Walk([&](INetCfgComponent& component) {
        HKEY key = nullptr;
        component.OpenParamKey(&key);
        const bool more = visit(component, key, GuidOf(component), NumberOf(key, L"SupportedFeatures"));
        RegCloseKey(key);
        return more;
    });
}

bool IsSupportedByCore(CRavCoreAgentPvtIntf& core, const CRavString& adapter)
{
    bool member = false;
    bool loaded = false;
    return core.IsRuleTrue(adapter, L"IsXmsSupported") && core.IsBoundToTeam(adapter, member).Succeeded() && !member &&
           core.IsVlansSupportedOnPort(adapter) && core.IsAdapterLoaded(adapter, loaded).Succeeded() && loaded;
}

bool IsFitForVlans(CRavCoreAgentPvtIntf& core, const CRavString& adapter)
{
    bool queues = false;
    return IsSupportedByCore(core, adapter) && core.IsDeviceVmqEnabled(adapter, queues).Succeeded() && !queues &&
           core.IsDeviceCorvo(adapter) && core.IsDriverSupportingVORN(adapter);
}

bool IsFilteredOut(HKEY parameterKey)
{
    HKEY filters = nullptr;
    if (RegOpenKeyExW(parameterKey, L"ZentraNdi", 0, KEY_READ, &filters) != ERROR_SUCCESS)
        return false;
    const DWORD filter = NumberOf(filters, L"XMSSupportFilter");
    RegCloseKey(filters);
    return filter == XMS_SUPPORT_FILTERED;
}

std::vector<CRavString> TeamsOfTeamAgent()
{
    std::vector<CRavString> teams;
    const HMODULE library = LoadLibraryW(L"TeamAgent.dll");
    const auto factory = reinterpret_cast<RAV_GET_TEAM_AGENT_PVT>(
        reinterpret_cast<void*>(GetProcAddress(library, RAV_GET_TEAM_AGENT_PVT_NAME)));
    if (factory != nullptr)
        factory()->EnumerateTeams(teams);
    FreeLibrary(library);
    return teams;
}

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
    for (const CRavString& team : TeamsOfTeamAgent())
        parents.emplace_back(team.c_str());
    std::vector<CRavString> adapters;
    core.EnumerateAdapters(adapters);
    size_t open = adapters.size();
    Walk([&](INetCfgComponent& component) {
        const CRavString guid(GuidOf(component).c_str());
        if (std::find(adapters.begin(), adapters.end(), guid) == adapters.end())
            return true;
        HKEY key = nullptr;
        component.OpenParamKey(&key);
        if (!IsFilteredOut(key) && IsSupportedByCore(core, guid))
            parents.emplace_back(guid.c_str());
        RegCloseKey(key);
        return --open > 0;
    });
    return parents;
}

bool BareValidation(CRavCoreAgentPvtIntf& core, const std::wstring& parent, DWORD id, const wchar_t* name)
{
    bool clean = true;
    Walk([&](INetCfgComponent& component) {
        HKEY key = nullptr;
        component.OpenParamKey(&key);
        if (GuidOf(component) == parent)
            clean = clean && !IsFilteredOut(key);
        else if (NumberOf(key, XmsValue::SupportedFeatures) != 0 && TextOf(key, XmsValue::VlanParentKey) == parent)
            clean = clean && NumberOf(key, XmsValue::VlanId) != id && TextOf(key, XmsValue::VlanName) != name;
        RegCloseKey(key);
        return true;
    });
    return clean && IsFitForVlans(core, parent.c_str());
}
