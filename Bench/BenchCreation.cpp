// Creating VLANs, beside bare calls that leave the same values behind.

#include "Bench/BenchOperations.h"

#include "Common/Library/RavMiniportDrv.h"

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
}
