#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Src/RavVlanAgentIntf.h"
#include "Src/RavVlanAgentPvtIntf.h"

#include <memory>
#include <stdexcept>
#include <string>

enum ExitStatus
{
    EXIT_DONE = 0,
    EXIT_REFUSED = 1,
    EXIT_USAGE = 2,
    EXIT_NO_SUITE = 3
};

// Ends the command with a message for its user.
class CommandError : public std::runtime_error
{
  public:
    CommandError(ExitStatus status, const std::string& message) : std::runtime_error(message), m_status(status) {}
    ExitStatus Status() const { return m_status; }

  private:
    ExitStatus m_status;
};

// The suite as a client sees it: the VLAN agent through its export, the sibling agents for names, and this process's
// identity. Throws CommandError with EXIT_NO_SUITE when a part is missing.
class CSession
{
  public:
    CSession();
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    CRavVlanAgentIntf& Agent() const { return *m_pAgent; }
    CRavVlanAgentPvtIntf& AgentPvt() const { return *m_pAgentPvt; }
    CRavCoreAgentPvtIntf& Core() const { return *m_pCore; }
    CRavTeamAgentPvtIntf* Teams() const // null without a team agent
    {
        return m_pTeams;
    }
    const RAV_CLIENT_ID& Client() const { return m_client; }
    RAV_LOCK_RECORD Lock(unsigned waitSeconds) const { return {m_client, waitSeconds * 1000}; }
    // Who stands in the way at this moment: the holder of the suite's configuration lock or, when that is free, of the
    // network configuration's own; a sentence, or empty when both are free.
    std::string WhoHoldsALock() const;

  private:
    struct Modules;
    std::unique_ptr<Modules> m_modules;
    CRavVlanAgentIntf* m_pAgent = nullptr;
    CRavVlanAgentPvtIntf* m_pAgentPvt = nullptr;
    CRavCoreAgentPvtIntf* m_pCore = nullptr;
    CRavTeamAgentPvtIntf* m_pTeams = nullptr;
    RAV_CLIENT_ID m_client;
};
