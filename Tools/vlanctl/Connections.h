#pragma once

#include "Common/Src/RavString.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

// Of an adapter by its key, as text: the addresses of its TCP/IP, as configured and as in use, and the established TCP
// connections that have one of them as their local end ("192.0.2.7:22 from 198.51.100.4:50123").
std::vector<std::string> AddressesOf(const CRavString& key);
std::vector<std::string> ConnectionsOver(const CRavString& key);

// What the system knows of the interface of an adapter; what it does not know is empty.
struct InterfaceInfo
{
    std::string name; // of the connection
    std::optional<DWORD> index;
    std::string mac; // "00-1B-21-00-00-01"
    std::optional<DWORD> mtu;
    std::vector<std::string> addresses;
};

// By key, as the system has them now.
using InterfaceTable = std::map<CRavString, InterfaceInfo>;
InterfaceTable ReadInterfaces();
// That of one adapter. Of one that the system does not have, or not now, what is configured.
InterfaceInfo InterfaceOf(const InterfaceTable& interfaces, const CRavString& key);
