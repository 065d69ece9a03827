// Teams, changed through the lab's team agent.

#include "Suite/Lab/LabTool/LabCommands.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/ComApartment.h"
#include "Common/Src/ModuleHandle.h"
#include "Common/Src/SuiteNames.h"
#include "Src/RavVlanAgentPvtIntf.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"
#include "Suite/Lab/TeamAgent/LabTeams.h"

#include <functional>
#include <map>

namespace
{
constexpr DWORD LOCK_WAIT_MILLISECONDS = 15000;

// The suite's modules, as any program of the suite loads them.
class CSuite
{
  public:
    CSuite()
    {
        const auto getTeams = m_teams.Export<LAB_GET_TEAMS>(LAB_GET_TEAMS_NAME);
        const auto getAgent = m_agent.Export<RAV_GET_VLAN_AGENT_PVT>(RAV_GET_VLAN_AGENT_PVT_NAME);
        const auto registerClient = m_core.Export<RAV_REGISTER_CLIENT>(RAV_REGISTER_CLIENT_NAME);
        m_pTeams = getTeams != nullptr ? getTeams() : nullptr;
        m_pAgent = getAgent != nullptr ? getAgent() : nullptr;
        if (m_pTeams == nullptr || m_pAgent == nullptr || registerClient == nullptr || registerClient(&m_client) != 0)
            throw LabError("the suite's modules cannot be loaded, or do not answer");
    }
    CLabTeamsIntf& Teams() { return *m_pTeams; }
    LAB_TEAM_CALLER Caller() { return {*m_pAgent, {m_client, LOCK_WAIT_MILLISECONDS}}; }

  private:
    static CRavModuleHandle Load(const wchar_t* file)
    {
        const CRavString path = LabText(SUITE_KEY, SuiteValue::InstalledDir) + L"\\" + file;
        return CRavModuleHandle(LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    }

    CRavComApartment m_apartment; // left last
    CRavModuleHandle m_core = Load(CORE_AGENT_FILE);
    CRavModuleHandle m_agent = Load(VLAN_AGENT_FILE);
    CRavModuleHandle m_teams = Load(TEAM_AGENT_FILE);
    CLabTeamsIntf* m_pTeams = nullptr;
    CRavVlanAgentPvtIntf* m_pAgent = nullptr;
    RAV_CLIENT_ID m_client;
};

std::vector<CRavString> Adapters(const TeamRequest& request)
{
    std::vector<CRavString> keys;
    for (const std::string& name : request.members)
        keys.push_back(FindAdapter(name));
    return keys;
}

using Verb = CRavString (*)(CLabTeamsIntf& teams, const LAB_TEAM_CALLER& caller, const TeamRequest& request);
const std::map<std::string, Verb> VERBS = {
    {"create",
     [](CLabTeamsIntf& teams, const LAB_TEAM_CALLER& caller, const TeamRequest& request) {
         CRavString key;
         return teams.Create(caller, FromUtf8(request.team), request.mode, Adapters(request), key);
     }},
    {"rename",
     [](CLabTeamsIntf& teams, const LAB_TEAM_CALLER& caller, const TeamRequest& request) {
         return teams.Rename(caller, FindTeam(request.team), FromUtf8(request.newName));
     }},
    {"delete", [](CLabTeamsIntf& teams, const LAB_TEAM_CALLER& caller,
                  const TeamRequest& request) { return teams.Delete(caller, FindTeam(request.team)); }},
    {"add",
     [](CLabTeamsIntf& teams, const LAB_TEAM_CALLER& caller, const TeamRequest& request) {
         return teams.Add(caller, FindTeam(request.team), Adapters(request).front());
     }},
    {"remove",
     [](CLabTeamsIntf& teams, const LAB_TEAM_CALLER& caller, const TeamRequest& request) {
         return teams.Remove(caller, FindTeam(request.team), Adapters(request).front());
     }},
    {"mode", [](CLabTeamsIntf& teams, const LAB_TEAM_CALLER& caller,
                const TeamRequest& request) { return teams.SetMode(caller, FindTeam(request.team), request.mode); }},
};
} // namespace

void RunTeam(const TeamRequest& request)
{
    RequireLab();
    CSuite suite;
    const CRavString why = VERBS.at(request.verb)(suite.Teams(), suite.Caller(), request);
    if (!why.IsEmpty())
        throw LabError(ToUtf8(why));
}
