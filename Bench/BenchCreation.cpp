// Creating VLANs, beside bare calls that leave the same values behind.

#include "Bench/BenchHost.h"
#include "Bench/BenchOperations.h"

#include "Common/Library/RavMiniportDrv.h"
#include "Src/Agent/RavVlanAgent.h"
#include "Suite/Lab/LabTool/HostBuilder.h"

namespace
{
bool HasDriver()
{
    const HANDLE driver = CreateFileW(RAV_XMS_DEVICE, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (driver != INVALID_HANDLE_VALUE)
        CloseHandle(driver);
    return driver != INVALID_HANDLE_VALUE;
}

// A team, whose key is the one behind its members'.
std::string TeamOf(size_t members)
{
    std::string adapters;
    std::string names;
    for (size_t number = 1; number <= members; ++number)
    {
        const std::string name = (number > 1 ? ", \"Port " : "\"Port ") + std::to_string(number) + '"';
        names += name;
        adapters += (number > 1 ? ", " : "") + (R"({ "name": )" + name.substr(name.find('"'))) +
                    R"(, "mac": "001B2100000)" + std::to_string(number) + "\" }";
    }
    return R"({ "adapters": [)" + adapters + R"(], "teams": [ { "name": "Team", "members": [)" + names + "] } ] }";
}

// A team's first VLAN, beside what its members would cost by bare calls, each as an adapter with a first VLAN.
void TeamRow(size_t members)
{
    CResult result;
    BenchPair times;
    BenchCost ours;
    BenchCost floor = CostOn(0, CreateNext(0).bare);
    floor.calls *= members;
    {
        CBenchHost host(TeamOf(members));
        const auto create = [&] {
            host.Agent().CreateVlan(result, LabGuid(members + 1), 1, L"V1", 0, CBenchHost::Lock());
        };
        host.Agent();
        ours = CostOf([&] { times.ours = BestTime(create, 1, 1); });
    }
    {
        CBenchHost host(0);
        host.Agent();
        times.floor = BestTime([&] { CreateNext(0).bare(host); }, 1, 1) * static_cast<double>(members);
    }
    if (!result.Succeeded())
        BenchText("  a creation failed with code " + std::to_string(result.ulErrCode));
    BenchRow("1st VLAN over a team of " + std::to_string(members), times, {0, 60.0 * static_cast<double>(members)},
             ours, floor);
}
} // namespace

void BenchCreation()
{
    BenchHeading("Creating a VLAN, by those its adapter has");
    BenchText(HasDriver() ? "(the driver is told)" : "(no driver to be told; 'lab up' loads it)");
    ChangeRow("1st VLAN", 0, CreateNext(0), {0, 150});
    ChangeRow("2nd VLAN", 1, CreateNext(1), {});
    ChangeRow("8th VLAN", 7, CreateNext(7), {});
    ChangeRow("64th VLAN", 63, CreateNext(63), {});
    ChangeRow("60 VLANs at once", 0, CreateMany(60), {4, 12000});
    TeamRow(4);
}
