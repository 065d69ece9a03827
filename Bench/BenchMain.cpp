#include "Bench/BenchTable.h"

// Figures for those who change the code; they depend on the machine, so compare ratios and calls, not times.
int main()
{
    BenchFoundation();
    BenchAgent();
    return 0;
}
