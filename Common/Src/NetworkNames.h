#pragma once
// Where Windows keeps network components, below HKEY_LOCAL_MACHINE, and what it calls their values.

#define RAV_CONTROL L"SYSTEM\\CurrentControlSet\\Control\\"
#define RAV_SERVICES L"SYSTEM\\CurrentControlSet\\Services"
#define RAV_NETWORK_CLASS L"{4D36E972-E325-11CE-BFC1-08002BE10318}"

// The setup class of network components. Its key has a subkey of four digits, an instance key, for each of them.
inline constexpr wchar_t NETWORK_CLASS_GUID[] = RAV_NETWORK_CLASS;
inline constexpr wchar_t CLASSES_KEY[] = RAV_CONTROL L"Class";
inline constexpr wchar_t CLASS_KEY[] = RAV_CONTROL L"Class\\" RAV_NETWORK_CLASS;
// Connections are below the network class, protocols below theirs.
inline constexpr wchar_t NETWORK_KEY[] = RAV_CONTROL L"Network";
inline constexpr wchar_t CONNECTIONS_KEY[] = RAV_CONTROL L"Network\\" RAV_NETWORK_CLASS;
inline constexpr wchar_t PROTOCOL_CLASS_GUID[] = L"{4D36E975-E325-11CE-BFC1-08002BE10318}";
// Devices by their instance id.
inline constexpr wchar_t ENUM_KEY[] = L"SYSTEM\\CurrentControlSet\\Enum";
inline constexpr wchar_t SERVICES_KEY[] = RAV_SERVICES;
inline constexpr wchar_t TCPIP_INTERFACES_KEY[] = RAV_SERVICES L"\\Tcpip\\Parameters\\Interfaces";

#undef RAV_NETWORK_CLASS
#undef RAV_SERVICES
#undef RAV_CONTROL

// What stands before the GUID of an adapter or miniport in lists of bindings.
inline constexpr wchar_t DEVICE_PREFIX[] = L"\\Device\\";

// The largest number of an instance key.
inline constexpr unsigned MAX_INSTANCE = 9999;

namespace NetworkValue
{
inline constexpr wchar_t NetCfgInstanceId[] = L"NetCfgInstanceId"; // of an instance key: the component's GUID
inline constexpr wchar_t DriverDesc[] = L"DriverDesc";
inline constexpr wchar_t Characteristics[] = L"Characteristics";
inline constexpr wchar_t NetworkAddress[] = L"NetworkAddress";
inline constexpr wchar_t DeviceInstanceId[] = L"DeviceInstanceID"; // of an instance key: the device below ENUM_KEY
inline constexpr wchar_t FriendlyName[] = L"FriendlyName";         // of a device
inline constexpr wchar_t EnableDhcp[] = L"EnableDHCP";             // of a TCP/IP interface
inline constexpr wchar_t DhcpIpAddress[] = L"DhcpIPAddress";       // of the same, the one that it has by DHCP
inline constexpr wchar_t IpAddress[] = L"IPAddress";               // of the same, those that it has without DHCP
} // namespace NetworkValue
