#pragma once
// The lab's hosts that the agent is measured on.

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/RavString.h"
#include "Tests/Harness/PrivateHive.h"

#include <memory>

class CVlanAgentWin;

// Offers the lab's COM server to the process.
void RegisterNetCfg();
// The module of the lab's COM server.
HMODULE NetCfgModule();
// Where the program and the modules are.
CRavString ProgramFolder();

// A host in a private hive. Its VLANs have the ids from 1 on; "Port 1", the first parent, carries 64 of them or what is
// asked for, and so do the ports after it.
class CBenchHost
{
  public:
    static constexpr DWORD PARENT_INSTANCE = 2; // the parent's instance number

    static constexpr size_t VLANS_PER_PORT = 64;

    explicit CBenchHost(size_t vlans, size_t vlansPerPort = VLANS_PER_PORT);
    ~CBenchHost();

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
