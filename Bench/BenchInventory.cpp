// Finding the VLANs and reading what is known of them, by their number.

#include "Bench/BareReading.h"
#include "Bench/BenchHost.h"
#include "Bench/BenchTable.h"

#include "Src/Agent/RavVlanAgent.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace
{
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
    for (const size_t vlans : {8, 64, 512})
    {
        CBenchHost host(vlans);
        CVlanAgentWin& agent = host.Agent();
        std::vector<CRavString> keys;
        std::vector<std::wstring> bareKeys;
        const auto ours = [&] {
            CResult result;
            agent.EnumerateVlans(result, L"", keys);
        };
        const auto bare = [&] { bareKeys = BareKeys(); };
        BenchRow(std::to_string(vlans) + " VLANs", BestTimes(ours, bare, 1, vlans > 100 ? 2 : 7), {1.1}, CostOf(ours),
                 CostOf(bare));
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
        const auto bare = [&] { bareInfos = BareListing(); };
        const BenchPair times = BestTimes(list, bare, 1, vlans > 100 ? 2 : 5);
        char name[64];
        std::snprintf(name, sizeof(name), "%u VLANs, %.3f ms each", static_cast<unsigned>(vlans),
                      times.ours / 1e6 / static_cast<double>(vlans));
        const BenchCost floor = CostOf(bare);
        BenchRow(name, times, {1.25, 1.3 * static_cast<double>(floor.calls)}, CostOf(list), floor);
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
