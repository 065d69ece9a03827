#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

class CRavVlanAgentPvtIntf;

// Who changes a team: the VLAN agent, which keeps the VLANs in step, and the client whose lock it is.
struct LAB_TEAM_CALLER
{
    CRavVlanAgentPvtIntf& agent;
    RAV_LOCK_RECORD lock;
};

// What an administrator does with teams; the lab's team agent offers it beside the interface that its siblings use.
// Each takes the suite's lock, changes what is the team agent's, and has the VLAN agent do the rest. Keys are GUID
// texts. The answer is empty when it is done; otherwise it says what is wrong, and a request that was refused has
// changed nothing.
class CLabTeamsIntf
{
  public:
    // strTeam gets the new team's key. The members join in their order; the first one's address becomes the team's.
    virtual CRavString Create(const LAB_TEAM_CALLER& caller, const CRavString& strName, DWORD dwMode,
                              const std::vector<CRavString>& members, CRavString& strTeam) = 0;
    virtual CRavString Rename(const LAB_TEAM_CALLER& caller, const CRavString& strTeam, const CRavString& strName) = 0;
    // With all its VLANs.
    virtual CRavString Delete(const LAB_TEAM_CALLER& caller, const CRavString& strTeam) = 0;
    virtual CRavString Add(const LAB_TEAM_CALLER& caller, const CRavString& strTeam, const CRavString& strMember) = 0;
    virtual CRavString Remove(const LAB_TEAM_CALLER& caller, const CRavString& strTeam,
                              const CRavString& strMember) = 0;
    virtual CRavString SetMode(const LAB_TEAM_CALLER& caller, const CRavString& strTeam, DWORD dwMode) = 0;

  protected:
    ~CLabTeamsIntf() = default;
};

// The team agent module's export.
using LAB_GET_TEAMS = CLabTeamsIntf* (*)();
inline constexpr char LAB_GET_TEAMS_NAME[] = "GetLabTeams";

// A team's own miniport gives up TCP/IP to its first VLAN, and gets it back when the last one has gone: the bindings
// that it had, and its DHCP flag.
bool LabTakeProtocolsOff(const CRavString& team);
bool LabGiveProtocolsBack(const CRavString& team);
