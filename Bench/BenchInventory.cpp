// Finding the VLANs and reading what is known of them, by their number.

#include "Bench/BareCalls.h"
#include "Bench/BenchHost.h"
#include "Bench/BenchTable.h"

#include "Src/Agent/RavVlanAgent.h"

#include <netcfgx.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstdio>
#include <tuple>

using Microsoft::WRL::ComPtr;

namespace
{
// The walk that any enumeration has to make: visit(component, parameter key, features) for each that has features.
template <typename Visit>
void BareWalk(Visit&& visit)
{
    ComPtr<INetCfg> netCfg;
    CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg));
    netCfg->Initialize(nullptr);
    WalkNetwork(*netCfg.Get(), [&](INetCfgComponent& component) {
        HKEY key = nullptr;
        component.OpenParamKey(&key);
        if (const DWORD features = NumberOf(key, L"SupportedFeatures"))
            visit(component, key, features);
        RegCloseKey(key);
        return true;
    });
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

struct BareVlan
{
    RAV_VLAN_INFO info;
    std::wstring parent;
};

// The same records as a whole listing gives, by one walk with just the reads that fill them.
void BareListing(std::vector<BareVlan>& vlans)
{
    vlans.clear();
    BareWalk([&](INetCfgComponent& component, HKEY key, DWORD features) {
        BareVlan vlan;
        RAV_VLAN_INFO& info = vlan.info;
        wchar_t* description = nullptr;
        info.supportedFeatures = features;
        info.vlanKey = GuidOf(component).c_str();
        info.vlanId = NumberOf(key, L"VLANID");
        info.vlanName = TextOf(key, L"VLANName").c_str();
        info.displayName = TextOf(key, L"VLANDisplayName").c_str();
        info.logicalGroupId = NumberOf(key, L"LogicalGroupID");
        info.xmsMiniportKey = TextOf(key, L"RavXmsMiniportKey").c_str();
        vlan.parent = TextOf(key, L"RavVlanParentKey");
        info.vlanType = NumberOf(key, L"RavVlanType") - 1;
        if (SUCCEEDED(component.GetDisplayName(&description)))
            info.description = description;
        CoTaskMemFree(description);
        info.jumboPacket = JumboOf(key);
        vlans.push_back(vlan);
    });
}

bool IsSame(const RAV_VLAN_INFO& one, const RAV_VLAN_INFO& other)
{
    const auto fields = [](const RAV_VLAN_INFO& info) {
        return std::tie(info.displayName, info.description, info.vlanKey, info.xmsMiniportKey, info.vlanName);
    };
    const auto numbers = [](const RAV_VLAN_INFO& info) {
        return std::tie(info.vlanId, info.vlanType, info.supportedFeatures, info.logicalGroupId, info.jumboPacket);
    };
    return fields(one) == fields(other) && numbers(one) == numbers(other);
}

void BenchEnumeration()
{
    BenchHeading("EnumerateVlans, beside a bare walk of the network class");
    for (const size_t vlans : {8, 64, 512, 2000})
    {
        CBenchHost host(vlans);
        CVlanAgentWin& agent = host.Agent();
        std::vector<CRavString> keys;
        std::vector<std::wstring> bareKeys;
        const auto ours = [&] {
            CResult result;
            agent.EnumerateVlans(result, L"", keys);
        };
        const auto bare = [&] {
            bareKeys.clear();
            BareWalk([&](INetCfgComponent& component, HKEY, DWORD) { bareKeys.push_back(GuidOf(component)); });
        };
        BenchRow(std::to_string(vlans) + " VLANs", BestTimes(ours, bare, 1, vlans > 1000 ? 3 : 7), 1.1,
                 CountCalls(ours), CountCalls(bare));
    }
}

void BenchListing()
{
    BenchHeading("A listing: EnumerateVlans, GetVlanInfo of each");
    for (const size_t vlans : {1, 8, 64, 512})
    {
        CBenchHost host(vlans);
        CVlanAgentWin& agent = host.Agent();
        std::vector<RAV_VLAN_INFO> infos;
        std::vector<BareVlan> bareInfos;
        const auto list = [&] {
            CResult result;
            std::vector<CRavString> keys;
            infos.clear();
            agent.ClearVlanCache(); // as in a fresh process
            agent.EnumerateVlans(result, L"", keys);
            for (const CRavString& key : keys)
                agent.GetVlanInfo(result, key, infos.emplace_back());
        };
        const auto bare = [&] { BareListing(bareInfos); };
        const BenchPair times = BestTimes(list, bare, 1, vlans > 100 ? 2 : 5);
        char name[64];
        std::snprintf(name, sizeof(name), "%u VLANs, %.3f ms each", static_cast<unsigned>(vlans),
                      times.ours / 1e6 / static_cast<double>(vlans));
        BenchRow(name, times, 0, CountCalls(list), CountCalls(bare));
        if (!std::equal(infos.begin(), infos.end(), bareInfos.begin(), bareInfos.end(),
                        [](const RAV_VLAN_INFO& info, const BareVlan& vlan) { return IsSame(info, vlan.info); }))
            BenchText("  the two do not read the same");
    }
}
} // namespace

void BenchInventory()
{
    BenchEnumeration();
    BenchListing();
}
