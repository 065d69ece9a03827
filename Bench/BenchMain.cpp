#include "Bench/BenchHost.h"
#include "Bench/BenchTable.h"

// Figures for those who change the code; they depend on the machine, so compare ratios and calls, not times.
int main(int argc, char** argv)
{
    RegisterNetCfg();
    if (argc > 1)
        return RunFresh(argv[1]);
    BenchFoundation();
    BenchInventory();
    BenchCreation();
    BenchModule();
    return 0;
}
