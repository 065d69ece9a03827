#pragma once

#include <winsock2.h>

#include <gtest/gtest.h>

// The ends of a connection to this machine, over an address that no other one has.
class CConnection
{
  public:
    static constexpr char ADDRESS[] = "127.9.8.7";
    CConnection()
    {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        sockaddr_in address = {};
        int size = sizeof(address);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = inet_addr(ADDRESS);
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        m_client = socket(AF_INET, SOCK_STREAM, 0);
        auto* const name = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(0, bind(m_listener, name, size) | listen(m_listener, 1) | getsockname(m_listener, name, &size));
        EXPECT_EQ(0, connect(m_client, name, size));
    }
    ~CConnection()
    {
        closesocket(m_client);
        closesocket(m_listener);
        WSACleanup();
    }
    CConnection(const CConnection&) = delete;
    CConnection& operator=(const CConnection&) = delete;

  private:
    SOCKET m_listener;
    SOCKET m_client;
};
