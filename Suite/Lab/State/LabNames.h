#pragma once

#include "Common/Src/NetworkNames.h"
#include "Common/Src/SuiteNames.h"
#include "Common/Src/XmsNames.h"

// Where the lab keeps what a real machine keeps in hardware and in the closed parts of the suite.

inline constexpr wchar_t LAB_KEY[] = L"SOFTWARE\\VlanLab";
inline constexpr wchar_t LAB_ADAPTERS[] = L"SOFTWARE\\VlanLab\\Adapters";
inline constexpr wchar_t LAB_TEAMS[] = L"SOFTWARE\\VlanLab\\Teams";
inline constexpr wchar_t LAB_DEVICES[] = L"SOFTWARE\\VlanLab\\Devices";
inline constexpr wchar_t LAB_CLIENTS[] = L"SOFTWARE\\VlanLab\\Clients";
inline constexpr wchar_t LAB_WAITS[] = L"Waits"; // below a client's key, while it waits for the suite's lock
inline constexpr wchar_t LAB_SUITE_LOCK[] = L"SOFTWARE\\VlanLab\\SuiteLock";

// The holder of the network configuration's write lock, noted by the COM server.
inline constexpr wchar_t LAB_WRITE_LOCK[] = L"SOFTWARE\\VlanLab\\Lock";

// Lock files in the state folder: each is there while somebody holds the lock.
inline constexpr wchar_t LAB_SUITE_LOCK_FILE[] = L"suite.lock";
inline constexpr wchar_t LAB_APPLY_FILE[] = L"apply.lock";
inline constexpr wchar_t LAB_WRITE_LOCK_FILE[] = L"netcfg.lock";

inline constexpr wchar_t LAB_ADAPTER_ORDER[] = L"AdapterOrder";
inline constexpr wchar_t LAB_TEAM_ORDER[] = L"TeamOrder";
inline constexpr wchar_t LAB_STATE_DIR[] = L"StateDir";
// The virtual miniport that is being installed or removed: its key, its GUID and, if it has one, its device.
inline constexpr wchar_t LAB_UNFINISHED[] = L"Unfinished";
inline constexpr wchar_t LAB_REBOOT_NEEDED[] = L"RebootNeeded"; // of a device: its changes ask for a restart
// Of a device: what its driver has read when it started last, and works with since.
inline constexpr wchar_t LAB_WORKS_WITH_ID[] = L"WorksWithId";
inline constexpr wchar_t LAB_WORKS_WITH_JUMBO[] = L"WorksWithJumbo"; // in bytes
// Of the lab: the most milliseconds that anybody waits for the network configuration's lock. Without it they wait as
// long as they want.
inline constexpr wchar_t LAB_LOCK_PATIENCE[] = L"LockPatience";
inline constexpr wchar_t LAB_REBOOT_REQUESTED[] = L"RebootRequested";
