// How the calls of an operation grow with the VLANs that are present. Looking at each is right; how often must not grow
// with them.

#include "Bench/BenchHost.h"
#include "Bench/BenchOperations.h"

#include <cstdio>

namespace
{
constexpr size_t FEW = 8;

struct Growth
{
    const char* name;
    BenchOperation few;
    BenchOperation many;
    size_t manyPresent;
    double goal;      // calls of the module for each VLAN present
    double goalBelow; // with those that the COM server of the network configuration makes for it
};

double PerVlan(const BenchCost& few, const BenchCost& many, const Growth& growth)
{
    return (static_cast<double>(many.calls) - static_cast<double>(few.calls)) /
           static_cast<double>(growth.manyPresent - FEW);
}

std::string Figure(double number)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", number);
    return text;
}

std::string Goal(const Growth& growth)
{
    if (growth.goal == 0)
        return "";
    return Figure(growth.goal) + (growth.goalBelow > 0 ? " (" + Figure(growth.goalBelow) + ")" : "");
}

void GrowthRow(const Growth& growth)
{
    const BenchCost few = CostOn(FEW, growth.few.ours);
    const BenchCost many = CostOn(growth.manyPresent, growth.many.ours);
    const double below = PerVlan(CostOn(FEW, growth.few.ours, NetCfgModule()),
                                 CostOn(growth.manyPresent, growth.many.ours, NetCfgModule()), growth);
    const double bare = PerVlan(CostOn(FEW, growth.few.bare), CostOn(growth.manyPresent, growth.many.bare), growth);
    const double bareBelow = PerVlan(CostOn(FEW, growth.few.bare, NetCfgModule()),
                                     CostOn(growth.manyPresent, growth.many.bare, NetCfgModule()), growth);
    std::printf("%-40s %7u %7u %16s %14s %14s %9u %5u\n", growth.name, static_cast<unsigned>(few.calls),
                static_cast<unsigned>(many.calls),
                (Figure(PerVlan(few, many, growth)) + " (" + Figure(below) + ")").c_str(),
                (Figure(bare) + " (" + Figure(bareBelow) + ")").c_str(), Goal(growth).c_str(),
                static_cast<unsigned>(few.sessions), static_cast<unsigned>(many.sessions));
    std::fflush(stdout);
}
} // namespace

void BenchGrowth()
{
    std::printf("\n%-40s %7s %7s %16s %14s %14s %9s %5s\n", "Calls by the VLANs present (and below INetCfg)", "8", "64",
                "for each", "floor", "goal", "sessions", "");
    GrowthRow({"creating one (63 present)", CreateNext(FEW), CreateNext(63), 63, 4, 12});
    GrowthRow({"removing one", RemoveOne(), RemoveOne(), 64, 4, 0});
    GrowthRow({"listing all with details", ListVlans(), ListVlans(), 64, 0, 0});
    GrowthRow({"EnumerateVlanSupportingParents", ListParents(), ListParents(), 64, 0, 0});
    GrowthRow({"ValidateNewVlan (63 present)", ValidateNext(), ValidateNext(), 63, 0, 0});
}
