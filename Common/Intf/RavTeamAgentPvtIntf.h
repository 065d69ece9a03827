#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"

#include <vector>

// What the team agent tells about one team.
struct RAV_TEAM_INFO
{
    CRavString strTeamKey;  // instance GUID text of the team's virtual miniport
    CRavString strTeamName; // the name its administrator gave it
    DWORD dwTeamMode = 0;   // 1 to 6
    std::vector<CRavString> members;
};

// The team agent's private interface, had from the team agent module's export "GetTeamAgentPvt". It belongs to that
// module and must not be used after the module has been freed.
//
// Conventions are the core agent's: teams and adapters are named by instance GUID text; a CResult of code 0 is success
// and outputs are meaningful only then; any thread may call; calls may throw.
class CRavTeamAgentPvtIntf
{
  public:
    // All teams, in the order in which front ends show them.
    virtual CResult EnumerateTeams(std::vector<CRavString>& teams) = 0;
    // Whether VLANs may be created over the team. bNotLoaded is set when the answer rests on the registry because a
    // member's driver is not loaded; bTeamFlag when the team's kind rules VLANs out.
    virtual CResult DoesTeamSupportVlan(const CRavString& strTeam, bool& bSupports, bool& bNotLoaded, bool& bTeamFlag,
                                        const RAV_CLIENT_ID& client) = 0;
    virtual CResult GetTeamInfo(const CRavString& strTeam, RAV_TEAM_INFO& info) = 0;
    // The members' instance GUIDs, in the order in which they joined.
    virtual CResult GetTeamMembers(const CRavString& strTeam, std::vector<CRavString>& members) = 0;
    // Whether any VLAN exists over the team.
    virtual bool DoesTeamHaveVlans(const CRavString& strTeam) = 0;
    // Whether virtual machine queues are on for any member of the team.
    virtual CResult IsTeamVmqEnabled(const CRavString& strTeam, bool& bEnabled) = 0;
    // Whether the adapter must pass all VLANs unfiltered because a team above it sorts them itself.
    virtual bool IsVlanFilteringDoneByTeam(const CRavString& strAdapter) = 0;
    // Says that a client is about to create a VLAN on the parent under its lock.
    virtual CResult PrepareForNewVlan(const CRavString& strParent, const RAV_LOCK_RECORD& lock) = 0;
    // Says that the last VLAN over a team has gone. dwReserved is 0.
    virtual CResult NotifyLastVlanOnTeamRemoved(const CRavString& strTeam, const CRavString& strVlan,
                                                DWORD dwReserved) = 0;

  protected:
    ~CRavTeamAgentPvtIntf() = default;
};

// The team agent module's private export.
using RAV_GET_TEAM_AGENT_PVT = CRavTeamAgentPvtIntf* (*)();
inline constexpr char RAV_GET_TEAM_AGENT_PVT_NAME[] = "GetTeamAgentPvt";
