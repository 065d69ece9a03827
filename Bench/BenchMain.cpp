#include "Bench/BenchHost.h"
#include "Bench/BenchTable.h"

#include <algorithm>
#include <string>

namespace
{
struct Group
{
    const char* name;
    void (*run)();
};
const Group GROUPS[] = {{"foundation", BenchFoundation}, {"listing", BenchInventory}, {"parents", BenchParents},
                        {"creation", BenchCreation},     {"change", BenchChange},     {"removal", BenchRemoval},
                        {"growth", BenchGrowth},         {"programs", BenchPrograms}, {"apply", BenchApply},
                        {"module", BenchModule}};
} // namespace

// Figures for those who change the code; they depend on the machine, so compare ratios and calls, not times.
//     bench             all groups
//     bench NAME...     these alone
int main(int argc, char** argv)
{
    RegisterNetCfg();
    const std::vector<std::string> names(argv + 1, argv + argc);
    if (names.size() == 2 && names[0] == "--fresh")
        return RunFresh(argv[2]);
    if (names.size() == 4 && names[0] == "--program")
        return RunProgramHere(names[1], names[2] == "count", names[3]);
    for (const Group& group : GROUPS)
    {
        if (names.empty() || std::find(names.begin(), names.end(), group.name) != names.end())
            group.run();
    }
    for (const std::string& name : names)
    {
        if (std::none_of(std::begin(GROUPS), std::end(GROUPS), [&](const Group& group) { return group.name == name; }))
            BenchText("bench: there is no group '" + name + "'");
    }
    return 0;
}
