#include "Bench/BenchOperations.h"

#include "Bench/BareCreation.h"
#include "Bench/BareReading.h"
#include "Bench/BareRemoval.h"
#include "Bench/BenchHost.h"

#include "Src/Agent/RavVlanAgent.h"
#include "Tests/Harness/RegistryDiff.h"
#include "Tests/Harness/RegistryText.h"

#include <regex>

namespace
{
constexpr int ROUNDS = 3;

// The figures of an operation that ended early would flatter it.
void TellFailure(const char* operation, const CResult& result)
{
    if (!result.Succeeded())
        BenchText(std::string("  ") + operation + " failed with code " + std::to_string(result.ulErrCode));
}

BENCH_WORK BareVlans(size_t firstId, size_t lastId, const wchar_t* prefix)
{
    return [=](CBenchHost& host) {
        CBareCreation(*host.Agent().GetCoreAgentPvt(), firstId == 1)
            .Run(static_cast<DWORD>(firstId), static_cast<DWORD>(lastId), prefix);
    };
}

void RemoveVlan(CBenchHost& host, size_t number)
{
    CResult result;
    host.Agent().RemoveVlan(result, CBenchHost::Lock(), CBenchHost::Vlan(number));
    TellFailure("a removal", result);
}

void RemoveBare(CBenchHost& host, size_t first, size_t last, bool lastOfParent)
{
    std::vector<std::wstring> keys;
    for (size_t number = first; number <= last; ++number)
        keys.emplace_back(CBenchHost::Vlan(number).c_str());
    CBareRemoval(*host.Agent().GetCoreAgentPvt()).Run(keys, lastOfParent);
}

double TimeOn(size_t vlans, const BENCH_WORK& work)
{
    CBenchHost host(vlans);
    host.Agent();
    return BestTime([&] { work(host); }, 1, 1);
}

// What it changes in the registry, without the keys of new VLANs, which are never the same, and the lab's notes.
std::vector<std::string> ChangeOn(size_t vlans, const BENCH_WORK& work)
{
    static const std::regex newGuid("\\{(?![AB]0000001-|4D36E97)[-0-9A-F]{36}\\}");
    CBenchHost host(vlans);
    host.Agent();
    const CRegistryChange change;
    work(host);
    std::vector<std::string> lines;
    for (const std::string& line : SplitLines(change.Text()))
    {
        if (line.find("VlanLab") == std::string::npos)
            lines.push_back(std::regex_replace(line, newGuid, "{VLAN}"));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}
} // namespace

BenchOperation CreateNext(size_t present)
{
    const size_t id = present + 1;
    const auto ours = [id](CBenchHost& host) {
        CResult result;
        CRavString name;
        name.FormatString(L"V%u", static_cast<unsigned>(id));
        host.Agent().CreateVlan(result, CBenchHost::Parent(), static_cast<DWORD>(id), name, 0, CBenchHost::Lock());
        TellFailure("a creation", result);
    };
    return {ours, BareVlans(id, id, L"V")};
}

BenchOperation CreateMany(size_t vlans)
{
    const auto ours = [vlans](CBenchHost& host) {
        CResult result;
        CRavString ids;
        ids.FormatString(L"1-%u", static_cast<unsigned>(vlans));
        host.Agent().CreateMultipleVLANs(result, CBenchHost::Parent(), ids, RAV_AUTO_VLAN_NAMES, 0, nullptr,
                                         CBenchHost::Lock());
        TellFailure("a creation", result);
    };
    return {ours, BareVlans(1, vlans, L"VLAN")};
}

BenchOperation RemoveOne()
{
    constexpr size_t NUMBER = 5;
    return {[](CBenchHost& host) { RemoveVlan(host, NUMBER); },
            [](CBenchHost& host) { RemoveBare(host, NUMBER, NUMBER, false); }};
}

BenchOperation RemoveAll(size_t vlans)
{
    return {RemoveOneByOne(vlans).ours, [vlans](CBenchHost& host) { RemoveBare(host, 1, vlans, true); }};
}

BenchOperation RemoveOneByOne(size_t vlans)
{
    const auto each = [vlans](const auto& remove) {
        for (size_t number = 1; number <= vlans; ++number)
            remove(number);
    };
    return {[each](CBenchHost& host) { each([&](size_t number) { RemoveVlan(host, number); }); },
            [each, vlans](CBenchHost& host) {
                each([&](size_t number) { RemoveBare(host, number, number, number == vlans); });
            }};
}

BenchOperation ListVlans()
{
    const auto ours = [](CBenchHost& host) {
        CResult result;
        std::vector<CRavString> keys;
        RAV_VLAN_INFO info;
        host.Agent().ClearVlanCache(); // as in a fresh process
        host.Agent().EnumerateVlans(result, L"", keys);
        for (const CRavString& key : keys)
            host.Agent().GetVlanInfo(result, key, info);
        TellFailure("a listing", result);
    };
    return {ours, [](CBenchHost&) { BareListing(); }};
}

BenchOperation ListParents()
{
    const auto ours = [](CBenchHost& host) {
        CResult result;
        std::vector<CRavString> parents;
        host.Agent().ClearVlanCache();
        host.Agent().EnumerateVlanSupportingParents(result, parents, CBenchHost::Lock().client);
        TellFailure("a listing of parents", result);
    };
    return {ours, [](CBenchHost& host) { BareParents(*host.Agent().GetCoreAgentPvt()); }};
}

BenchOperation ValidateNext()
{
    const auto ours = [](CBenchHost& host) {
        CResult result;
        CRavVlanMessages messages;
        host.Agent().ClearVlanCache();
        host.Agent().ValidateNewVlan(result, CBenchHost::Parent(), L"100", L"New", messages, CBenchHost::Lock().client);
        TellFailure("a validation", result);
        if (!messages.empty())
            BenchText("  a validation has something against it");
    };
    return {ours, [](CBenchHost& host) {
                if (!BareValidation(*host.Agent().GetCoreAgentPvt(), CBenchHost::Parent().c_str(), 100, L"New"))
                    BenchText("  the bare validation has something against it");
            }};
}

BenchCost CostOn(size_t vlans, const BENCH_WORK& work, HMODULE other)
{
    CBenchHost host(vlans);
    host.Agent();
    return CostOf([&] { work(host); }, other);
}

void ChangeRow(const std::string& name, size_t vlans, const BenchOperation& operation, const BenchGoal& goal)
{
    BenchPair best{TimeOn(vlans, operation.ours), TimeOn(vlans, operation.bare)};
    for (int round = 1; round < ROUNDS; ++round)
    {
        best.ours = std::min(best.ours, TimeOn(vlans, operation.ours));
        best.floor = std::min(best.floor, TimeOn(vlans, operation.bare));
    }
    BenchRow(name, best, goal, CostOn(vlans, operation.ours), CostOn(vlans, operation.bare));
    if (ChangeOn(vlans, operation.ours) != ChangeOn(vlans, operation.bare))
        BenchText("  the two do not leave the same behind");
}
