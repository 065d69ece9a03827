// Creating VLANs, beside bare calls that leave the same values behind.

#include "Bench/BareCreation.h"
#include "Bench/BenchHost.h"
#include "Bench/BenchTable.h"

#include "Common/Library/RavMiniportDrv.h"
#include "Src/Agent/RavVlanAgent.h"
#include "Tests/Harness/RegistryDiff.h"

#include <cstdio>
#include <regex>

namespace
{
constexpr int ROUNDS = 3;

// Each measurement is made on a host of its own with so many VLANs: a VLAN can be created but once.
using CREATE = std::function<void(CBenchHost&)>;

// The figures of a creation that ended early would flatter it.
void TellFailure(const CResult& result)
{
    if (!result.Succeeded())
        BenchText("  a creation failed with code " + std::to_string(result.ulErrCode));
}

double TimeOf(size_t present, const CREATE& create)
{
    CBenchHost host(present);
    host.Agent();
    return BestTime([&] { create(host); }, 1, 1);
}

size_t CallsOf(size_t present, const CREATE& create, HMODULE other = nullptr)
{
    CBenchHost host(present);
    host.Agent();
    return CountCalls([&] { create(host); }, other);
}

// What it changes in the registry, without the keys of the new VLANs, which are never the same, and the lab's notes.
std::vector<std::string> ChangeOf(size_t present, const CREATE& create)
{
    static const std::regex newGuid("\\{(?![AB]0000001-|4D36E97)[-0-9A-F]{36}\\}");
    CBenchHost host(present);
    host.Agent();
    const CRegistryChange change;
    create(host);
    std::vector<std::string> lines;
    for (const std::string& line : SplitLines(change.Text()))
    {
        if (line.find("VlanLab") == std::string::npos)
            lines.push_back(std::regex_replace(line, newGuid, "{VLAN}"));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

void CreationRow(const char* name, size_t present, const CREATE& ours, const CREATE& bare)
{
    BenchPair best{TimeOf(present, ours), TimeOf(present, bare)};
    for (int round = 1; round < ROUNDS; ++round)
    {
        best.ours = std::min(best.ours, TimeOf(present, ours));
        best.floor = std::min(best.floor, TimeOf(present, bare));
    }
    BenchRow(name, best, 0, CallsOf(present, ours), CallsOf(present, bare));
    if (ChangeOf(present, ours) != ChangeOf(present, bare))
        BenchText("  the two do not leave the same behind");
}

CREATE NextVlan(size_t present)
{
    return [present](CBenchHost& host) {
        CResult result;
        CRavString name;
        const auto id = static_cast<DWORD>(present + 1);
        name.FormatString(L"V%u", id);
        host.Agent().CreateVlan(result, CBenchHost::Parent(), id, name, 0, CBenchHost::Lock());
        TellFailure(result);
    };
}

CREATE BareVlans(DWORD firstId, DWORD lastId, const wchar_t* prefix)
{
    return [=](CBenchHost& host) {
        CBareCreation(*host.Agent().GetCoreAgentPvt(), firstId == 1).Run(firstId, lastId, prefix);
    };
}

bool HasDriver()
{
    const HANDLE driver = CreateFileW(RAV_XMS_DEVICE, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (driver != INVALID_HANDLE_VALUE)
        CloseHandle(driver);
    return driver != INVALID_HANDLE_VALUE;
}

void BenchOneByOne()
{
    BenchHeading("Creating a VLAN, by those its adapter has");
    BenchText(HasDriver() ? "(the driver is told)" : "(no driver to be told; 'lab up' loads it)");
    const std::pair<DWORD, const char*> cases[] = {
        {1, "1st VLAN"}, {2, "2nd VLAN"}, {8, "8th VLAN"}, {64, "64th VLAN"}};
    for (const auto& [id, name] : cases)
        CreationRow(name, id - 1, NextVlan(id - 1), BareVlans(id, id, L"V"));
}

void BenchMany()
{
    BenchHeading("CreateMultipleVLANs");
    const auto ours = [](CBenchHost& host) {
        CResult result;
        host.Agent().CreateMultipleVLANs(result, CBenchHost::Parent(), L"1-60", RAV_AUTO_VLAN_NAMES, 0, nullptr,
                                         CBenchHost::Lock());
        TellFailure(result);
    };
    CreationRow("60 VLANs at once", 0, ours, BareVlans(1, 60, L"VLAN"));
}

// Creation has to look at every VLAN that is there; how often it looks at each must not grow with them.
void BenchGrowth()
{
    BenchText("\nPlatform calls of one creation for each VLAN present (with those below INetCfg)");
    size_t fewer = 1;
    size_t calls = CallsOf(fewer, NextVlan(fewer));
    size_t allCalls = CallsOf(fewer, NextVlan(fewer), NetCfgModule());
    for (const size_t present : {8, 16, 32, 63})
    {
        const size_t moreCalls = CallsOf(present, NextVlan(present));
        const size_t moreAllCalls = CallsOf(present, NextVlan(present), NetCfgModule());
        const auto added = static_cast<double>(present - fewer);
        char line[128];
        std::snprintf(line, sizeof(line), "from %2u to %2u: %6.1f (%.1f)", static_cast<unsigned>(fewer),
                      static_cast<unsigned>(present), static_cast<double>(moreCalls - calls) / added,
                      static_cast<double>(moreAllCalls - allCalls) / added);
        BenchText(line);
        fewer = present;
        calls = moreCalls;
        allCalls = moreAllCalls;
    }
}
} // namespace

void BenchCreation()
{
    BenchOneByOne();
    BenchGrowth();
    BenchMany();
}
