#include "Suite/Lab/TeamAgent/LabTeams.h"

#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>

namespace
{
CRavString TeamPath(const CRavString& team)
{
    return LabPath(LAB_TEAMS, team);
}

bool IsLoaded(const CRavString& device)
{
    return LabNumber(LabPath(LAB_DEVICES, device), L"Problem", 0) == 0;
}

// When the team's last VLAN has gone a member carries the team alone, and nothing is tagged.
bool TakeVlansOffMember(const CRavString& team, const CRavString& member)
{
    CRavRegKey entry;
    if (!entry.Open(HKEY_LOCAL_MACHINE, LabPath(XMS_ADAPTERS_KEY, member), true))
        return entry.LastResult() == ERROR_FILE_NOT_FOUND;
    return entry.SetValue(XmsValue::BindingList, {CRavString(DEVICE_PREFIX) + team}) &&
           entry.SetValue(XmsValue::BindingListCount, DWORD{1}) && entry.SetValue(XmsValue::TaggingMode, DWORD{0});
}

// The lab's team agent: teams as the registry has them. Notifications that it gets it notes in the registry, where `lab
// show` and tests find them.
class CLabTeamAgent final : public CRavTeamAgentPvtIntf
{
  public:
    CResult EnumerateTeams(std::vector<CRavString>& teams) override
    {
        teams = LabList(LAB_KEY, LAB_TEAM_ORDER);
        return LabHasKey(LAB_KEY) ? CResult::Success() : CResult();
    }

    CResult DoesTeamSupportVlan(const CRavString& strTeam, bool& bSupports, bool& bNotLoaded, bool& bTeamFlag,
                                const RAV_CLIENT_ID& /*client*/) override
    {
        std::vector<CRavString> members;
        if (!GetTeamMembers(strTeam, members).Succeeded())
            return CResult(ERROR_FILE_NOT_FOUND);
        bSupports = LabNumber(TeamPath(strTeam), L"SupportsVlans", 0) != 0;
        bTeamFlag = !bSupports;
        bNotLoaded = !std::all_of(members.begin(), members.end(), IsLoaded);
        return CResult::Success();
    }

    CResult GetTeamInfo(const CRavString& strTeam, RAV_TEAM_INFO& info) override
    {
        info.strTeamKey = strTeam;
        info.strTeamName = LabText(TeamPath(strTeam), L"Name");
        info.dwTeamMode = LabNumber(LabInstancePath(strTeam), XmsValue::TeamMode, 0);
        return GetTeamMembers(strTeam, info.members);
    }

    CResult GetTeamMembers(const CRavString& strTeam, std::vector<CRavString>& members) override
    {
        members = LabList(TeamPath(strTeam), L"Members");
        return LabHasKey(TeamPath(strTeam)) ? CResult::Success() : CResult(ERROR_FILE_NOT_FOUND);
    }

    bool DoesTeamHaveVlans(const CRavString& strTeam) override
    {
        CRavRegKey networkClass;
        networkClass.Open(HKEY_LOCAL_MACHINE, CLASS_KEY, false);
        CRavString instance;
        while (networkClass.IsOpened() && networkClass.EnumSubKey(instance))
        {
            if (LabText(LabPath(CLASS_KEY, instance), XmsValue::VlanParentKey).CompareI(strTeam))
                return true;
        }
        return false;
    }

    CResult IsTeamVmqEnabled(const CRavString& strTeam, bool& bEnabled) override
    {
        std::vector<CRavString> members;
        const CResult result = GetTeamMembers(strTeam, members);
        bEnabled = std::any_of(members.begin(), members.end(), [](const CRavString& member) {
            return LabText(LabInstancePath(member), L"*VMQ") == L"1";
        });
        return result;
    }

    bool IsVlanFilteringDoneByTeam(const CRavString& strAdapter) override { return !LabTeamOf(strAdapter).IsEmpty(); }

    // With its first VLAN a team gives up TCP/IP, as an adapter does.
    CResult PrepareForNewVlan(const CRavString& strParent, const RAV_LOCK_RECORD& /*lock*/) override
    {
        const bool isFirst = LabHasKey(TeamPath(strParent)) && !DoesTeamHaveVlans(strParent);
        const bool done =
            LabSetText(LAB_KEY, L"LastPreparedParent", strParent) && (!isFirst || LabTakeProtocolsOff(strParent));
        return done ? CResult::Success() : CResult();
    }

    CResult NotifyLastVlanOnTeamRemoved(const CRavString& strTeam, const CRavString& strVlan,
                                        DWORD /*dwReserved*/) override
    {
        std::vector<CRavString> members;
        if (!GetTeamMembers(strTeam, members).Succeeded())
            return CResult(ERROR_FILE_NOT_FOUND);
        const DWORD count = LabNumber(TeamPath(strTeam), L"LastVlanNotices", 0);
        bool done = LabSetNumber(TeamPath(strTeam), L"LastVlanNotices", count + 1) &&
                    LabSetText(TeamPath(strTeam), L"LastVlan", strVlan);
        for (const CRavString& member : members)
            done = TakeVlansOffMember(strTeam, member) && done;
        done = LabGiveProtocolsBack(strTeam) && done;
        return done ? CResult::Success() : CResult();
    }
};
} // namespace

// Clients load this module for one question and free it again. It keeps itself loaded: loaded anew, it would truncate
// its trace log each time.
static int StayAndTrace()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const wchar_t*>(&StayAndTrace), &module);
    return RavTrace().Configure(L"TEAM_AGENT", L"TeamAgent.txt", 1, 0, 0, nullptr);
}

extern "C" CRavTeamAgentPvtIntf* GetTeamAgentPvt()
{
    static CLabTeamAgent agent;
    [[maybe_unused]] static const int traced = StayAndTrace();
    return &agent;
}
