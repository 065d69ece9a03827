#pragma once
// The lab's hosts that the agent is measured on.

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/RavString.h"
#include "Tests/Harness/PrivateHive.h"

#include <memory>
#include <string>

class CVlanAgentWin;

// Offers the lab's COM server to the process.
void RegisterNetCfg();
// The module of the lab's COM server.
HMODULE NetCfgModule();

// A host in a private hive. Its VLANs have the ids from 1 on; "Port 1", the first parent, carries 64 of them or what is
// asked for, and so do the ports after it.
class CBenchHost
{
  public:
    static constexpr DWORD PARENT_INSTANCE = 2; // the parent's instance number

    static constexpr size_t VLANS_PER_PORT = 64;
    // The VLAN that has a setting, where there are so many: 2, from 1 to 8.
    static constexpr size_t WITH_SETTING = 5;
    static constexpr wchar_t SETTING[] = L"Rate";

    explicit CBenchHost(size_t vlans, size_t vlansPerPort = VLANS_PER_PORT);
    // The host of a host file's text.
    explicit CBenchHost(const std::string& text);
    ~CBenchHost();

    // The key that stands for HKEY_LOCAL_MACHINE.
    HKEY Root() const { return m_hive.Root(); }
    // The agent, initialised by the first call.
    CVlanAgentWin& Agent();
    static CRavString Parent();
    // The key of a VLAN, counted from 1.
    static CRavString Vlan(size_t number);
    static RAV_LOCK_RECORD Lock();

  private:
    CPrivateHive m_hive;
    std::unique_ptr<CVlanAgentWin> m_agent;
};
