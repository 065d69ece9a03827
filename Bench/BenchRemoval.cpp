// Removing VLANs, beside bare calls that leave the same values behind.

#include "Bench/BenchOperations.h"

void BenchRemoval()
{
    BenchHeading("Removing VLANs of one adapter");
    ChangeRow("one of 8", 8, RemoveOne(), {});
    ChangeRow("one of 64", 64, RemoveOne(), {});
    ChangeRow("the only one", 1, RemoveAll(1), {});
    ChangeRow("all of 60, beside a bare removal under one lock", 60, RemoveAll(60), {4});
    ChangeRow("all of 60, beside bare removals one by one", 60, RemoveOneByOne(60), {});
}
