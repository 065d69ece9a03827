#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Src/RavVlanAgentIntf.h"
#include "Src/RavVlanAgentPvtIntf.h"
#include "Tools/vlanctl/ExitStatus.h"
#include "Tools/vlanctl/Note.h"

#include <memory>
#include <stdexcept>
#include <string>

// Ends the command with a message for its user.
class CommandError : public std::runtime_error
{
  public:
    // `text` is what a person reads; without one it is made of meaning and advice.
    CommandError(ExitStatus status, const Note& note, const std::string& text = {});
    // Named after the status.
    CommandError(ExitStatus status, const std::string& message);
    ExitStatus Status() const { return m_status; }
    const Note& What() const { return m_note; }

  private:
    ExitStatus m_status;
    Note m_note;
};

// Where the suite is installed. Throws CommandError with EXIT_NO_SUITE when it is not.
CRavString SuiteFolder();

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
    // Who stands in the way at this moment: who holds the suite's configuration lock, the network configuration's own,
    // or one of them; a sentence, or empty when it is free.
    std::string WhoHoldsTheSuite() const;
    std::string WhoHoldsTheNetwork() const;
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

// The name of this machine.
std::string ComputerName();
