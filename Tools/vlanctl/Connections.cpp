#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>
#include <netioapi.h>

#include "Tools/vlanctl/Connections.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/RavRegValues.h"
#include "Common/Src/RavUtf8.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace
{
void Add(const std::string& address, std::vector<std::string>& addresses)
{
    if (!address.empty() && address != "0.0.0.0" &&
        std::find(addresses.begin(), addresses.end(), address) == addresses.end())
        addresses.push_back(address);
}

// As they are configured: without DHCP a list, with it the one that was given.
void AddConfigured(const CRavString& key, std::vector<std::string>& addresses)
{
    CRavRegKey interfaceKey;
    if (!interfaceKey.Open(HKEY_LOCAL_MACHINE, CRavString(TCPIP_INTERFACES_KEY) + L"\\" + key, false))
        return;
    DWORD dhcp = 0;
    CRavString leased;
    std::vector<CRavString> fixed;
    interfaceKey.GetValue(NetworkValue::EnableDhcp, dhcp);
    if (dhcp != 0)
        interfaceKey.GetValue(NetworkValue::DhcpIpAddress, leased);
    else
        RavReadList(interfaceKey, NetworkValue::IpAddress, fixed);
    Add(ToUtf8(leased), addresses);
    for (const CRavString& address : fixed)
        Add(ToUtf8(address), addresses);
}

std::string AddressText(int family, const void* address)
{
    char text[INET6_ADDRSTRLEN] = {};
    return InetNtopA(family, const_cast<void*>(address), text, sizeof(text)) != nullptr ? text : "";
}

std::string AddressText(const sockaddr& address)
{
    return address.sa_family == AF_INET ? AddressText(AF_INET, &reinterpret_cast<const sockaddr_in&>(address).sin_addr)
           : address.sa_family == AF_INET6
               ? AddressText(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr)
               : "";
}

// Asks for a table of the system's, whose size may grow between two questions; empty when it is not to be had. A table
// points into itself: it is handed on, never copied.
template <typename Ask>
std::vector<BYTE> Table(Ask ask)
{
    std::vector<BYTE> table;
    ULONG size = 16 * 1024;
    DWORD status = ERROR_INSUFFICIENT_BUFFER;
    for (int attempt = 0; attempt < 5 && (status == ERROR_INSUFFICIENT_BUFFER || status == ERROR_BUFFER_OVERFLOW);
         ++attempt)
    {
        table.resize(size);
        status = ask(table.data(), &size);
    }
    if (status != ERROR_SUCCESS)
        table.clear();
    return table;
}

// As they are in use, IPv6 too.
void AddInUse(InterfaceTable& interfaces)
{
    const std::vector<BYTE> table = Table([](BYTE* data, ULONG* size) {
        return GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, reinterpret_cast<IP_ADAPTER_ADDRESSES*>(data), size);
    });
    if (table.empty())
        return;
    for (auto adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(table.data()); adapter != nullptr;
         adapter = adapter->Next)
    {
        InterfaceInfo& info = interfaces[RavCanonicalKey(FromUtf8(adapter->AdapterName))];
        for (auto address = adapter->FirstUnicastAddress; address != nullptr; address = address->Next)
            Add(AddressText(*address->Address.lpSockaddr), info.addresses);
    }
}

std::string MacText(const BYTE* bytes, size_t count)
{
    std::string text;
    for (size_t index = 0; index < count; ++index)
    {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%s%02X", index > 0 ? "-" : "", bytes[index]);
        text += digits;
    }
    return text;
}

// Also of adapters without TCP/IP, which have no addresses.
void AddRows(InterfaceTable& interfaces)
{
    MIB_IF_TABLE2* table = nullptr;
    if (GetIfTable2(&table) != NO_ERROR)
        return;
    const std::unique_ptr<MIB_IF_TABLE2, decltype(&FreeMibTable)> owner(table, &FreeMibTable);
    for (ULONG index = 0; index < table->NumEntries; ++index)
    {
        const MIB_IF_ROW2& row = table->Table[index];
        if (row.InterfaceAndOperStatusFlags.FilterInterface)
            continue;
        InterfaceInfo& info = interfaces[RavGuidText(row.InterfaceGuid)];
        info.name = ToUtf8(row.Alias);
        info.index = row.InterfaceIndex;
        info.mtu = row.Mtu;
        info.mac = MacText(row.PhysicalAddress, row.PhysicalAddressLength);
    }
}

std::string PortText(DWORD port)
{
    return ":" + std::to_string(ntohs(static_cast<u_short>(port)));
}

std::string Local(const MIB_TCPROW_OWNER_PID& row)
{
    return AddressText(AF_INET, &row.dwLocalAddr);
}

std::string Remote(const MIB_TCPROW_OWNER_PID& row)
{
    return AddressText(AF_INET, &row.dwRemoteAddr);
}

std::string Local(const MIB_TCP6ROW_OWNER_PID& row)
{
    return AddressText(AF_INET6, row.ucLocalAddr);
}

std::string Remote(const MIB_TCP6ROW_OWNER_PID& row)
{
    return AddressText(AF_INET6, row.ucRemoteAddr);
}

template <typename TcpTable>
void AddConnections(ULONG family, const std::vector<std::string>& addresses, std::vector<std::string>& connections)
{
    const std::vector<BYTE> data = Table([&](BYTE* table, ULONG* size) {
        return GetExtendedTcpTable(table, size, FALSE, family, TCP_TABLE_OWNER_PID_CONNECTIONS, 0);
    });
    if (data.empty())
        return;
    const auto& table = *reinterpret_cast<const TcpTable*>(data.data());
    for (DWORD index = 0; index < table.dwNumEntries; ++index)
    {
        const auto& row = table.table[index];
        const std::string local = Local(row);
        if (row.dwState == MIB_TCP_STATE_ESTAB &&
            std::find(addresses.begin(), addresses.end(), local) != addresses.end())
            connections.push_back(local + PortText(row.dwLocalPort) + " from " + Remote(row) +
                                  PortText(row.dwRemotePort));
    }
}
} // namespace

std::vector<std::string> AddressesOf(const CRavString& key)
{
    std::vector<std::string> addresses;
    AddConfigured(key, addresses);
    InterfaceTable interfaces;
    AddInUse(interfaces);
    for (const std::string& address : interfaces[RavCanonicalKey(key)].addresses)
        Add(address, addresses);
    return addresses;
}

InterfaceTable ReadInterfaces()
{
    InterfaceTable interfaces;
    AddRows(interfaces);
    AddInUse(interfaces);
    return interfaces;
}

InterfaceInfo InterfaceOf(const InterfaceTable& interfaces, const CRavString& key)
{
    const auto found = interfaces.find(RavCanonicalKey(key));
    InterfaceInfo info = found != interfaces.end() ? found->second : InterfaceInfo();
    CRavRegKey connection;
    CRavString name;
    if (info.name.empty() &&
        connection.Open(HKEY_LOCAL_MACHINE, CRavString(CONNECTIONS_KEY) + L"\\" + key + L"\\Connection", false) &&
        connection.GetValue(L"Name", name))
        info.name = ToUtf8(name);
    std::vector<std::string> addresses;
    AddConfigured(key, addresses);
    for (const std::string& address : info.addresses)
        Add(address, addresses);
    info.addresses = addresses;
    return info;
}

std::vector<std::string> ConnectionsOver(const CRavString& key)
{
    std::vector<std::string> connections;
    const std::vector<std::string> addresses = AddressesOf(key);
    if (addresses.empty())
        return connections;
    AddConnections<MIB_TCPTABLE_OWNER_PID>(AF_INET, addresses, connections);
    AddConnections<MIB_TCP6TABLE_OWNER_PID>(AF_INET6, addresses, connections);
    return connections;
}
