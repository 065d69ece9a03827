#pragma once
// What the suite's modules know of each other by name: the suite's key below HKEY_LOCAL_MACHINE, and its files.

#define RAV_MAKER L"SOFTWARE\\CORVO"
#define RAV_SUITES L"NETWORK_SERVICES"
#define RAV_SUITE_PATH RAV_MAKER L"\\" RAV_SUITES L"\\RAV2"

inline constexpr wchar_t MAKER_KEY[] = RAV_MAKER;
inline constexpr wchar_t SUITES_NAME[] = RAV_SUITES; // below the maker's key, with the suite below it
inline constexpr wchar_t SUITE_KEY[] = RAV_SUITE_PATH;
inline constexpr wchar_t DCB_KEY[] = RAV_SUITE_PATH L"\\DCB\\";
inline constexpr wchar_t TEMPLATES_KEY[] = RAV_SUITE_PATH L"\\Agents\\Kirvel\\Settings"; // of the VLANs' settings

// Below the suite's key: the protocols that adapters gave up for their VLANs, a list for each.
#define RAV_BINDINGS L"Bindings"
inline constexpr wchar_t BINDINGS_NAME[] = RAV_BINDINGS;
inline constexpr wchar_t BINDING_RECORDS_KEY[] = RAV_SUITE_PATH L"\\" RAV_BINDINGS;
#undef RAV_BINDINGS

// Below the suite's key, and volatile: it is there until the system starts again, if something waits for that.
inline constexpr wchar_t RESTART_NEEDED_NAME[] = L"RestartNeeded";

#undef RAV_SUITE_PATH
#undef RAV_SUITES
#undef RAV_MAKER

// Values of the suite's key.
namespace SuiteValue
{
inline constexpr wchar_t InstalledDir[] = L"InstalledDir";              // REG_SZ, the folder of the suite's modules
inline constexpr wchar_t RestoreScript[] = L"SaveRestoreScriptFromMSI"; // text, where setup can save and restore
inline constexpr wchar_t Trace[] = L"TRACE";                            // REG_DWORD, the level of the trace logs
inline constexpr wchar_t XmsBlock[] = L"XMSBlock"; // REG_DWORD, 1 where this Windows must do without the driver
} // namespace SuiteValue

inline constexpr wchar_t CORE_AGENT_FILE[] = L"CoreAgent.dll";
inline constexpr wchar_t TEAM_AGENT_FILE[] = L"TeamAgent.dll";
inline constexpr wchar_t VLAN_AGENT_FILE[] = L"VlanAgent.dll";
