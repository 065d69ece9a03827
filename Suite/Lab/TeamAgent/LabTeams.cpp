#include "Suite/Lab/TeamAgent/LabTeams.h"

#include "Common/Library/RavAdvSvcNetCfgComponent.h"
#include "Common/Library/RavNetCfgComponent.h"
#include "Common/Library/RavNetCfgInterface.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavSuiteLock.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavVlanAgentPvtIntf.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>
#include <functional>

namespace
{
constexpr DWORD MAX_MODE = 6;
constexpr wchar_t MEMBERS[] = L"Members";
constexpr wchar_t NOT_WRITTEN[] = L"the registry could not be written";
constexpr wchar_t NO_NETWORK[] = L"the network configuration is locked, or could not be changed";

CRavString TeamPath(const CRavString& team)
{
    return LabPath(LAB_TEAMS, team);
}

std::vector<CRavString> MembersOf(const CRavString& team)
{
    return LabList(TeamPath(team), MEMBERS);
}

CRavString EntryPath(const CRavString& adapter)
{
    return LabPath(XMS_ADAPTERS_KEY, adapter);
}

CRavString Device(const CRavString& guid)
{
    return CRavString(DEVICE_PREFIX) + guid;
}

// Under the network configuration's write lock.
bool Change(const std::function<bool(CRavNetCfgInterface&)>& work)
{
    CRavNetCfgInterface netCfg;
    if (FAILED(netCfg.Initialize()) || FAILED(netCfg.AcquireLockForWrite()))
        return false;
    const bool done = work(netCfg);
    return SUCCEEDED(netCfg.ReleaseLockForWrite()) && done;
}

std::vector<CRavString> VlansOn(CRavVlanAgentPvtIntf& agent, const CRavString& parent)
{
    CResult result;
    std::vector<CRavString> vlans;
    agent.EnumerateVlans(result, parent, vlans);
    return vlans;
}

// Why the adapter cannot join a team; empty when it can.
CRavString WhyNotFree(CRavVlanAgentPvtIntf& agent, const CRavString& adapter)
{
    const CRavString name = LabDisplayName(adapter);
    if (!LabHasKey(LabPath(LAB_ADAPTERS, adapter)))
        return CRavString(L"there is no adapter ") + adapter;
    if (!LabTeamOf(adapter).IsEmpty())
        return name + L" is a member of a team already";
    return VlansOn(agent, adapter).empty() ? CRavString() : name + L" has VLANs of its own: remove them first";
}

CRavString WhyNoName(const CRavString& name)
{
    const std::vector<CRavString> teams = LabList(LAB_KEY, LAB_TEAM_ORDER);
    const auto isCalled = [&](const CRavString& team) { return LabText(TeamPath(team), L"Name").CompareI(name); };
    if (name.IsEmpty())
        return L"a team needs a name";
    return std::any_of(teams.begin(), teams.end(), isCalled) ? CRavString(L"there is a team of that name already")
                                                             : CRavString();
}

CRavString WhyNoMode(DWORD mode)
{
    return mode >= 1 && mode <= MAX_MODE ? CRavString() : CRavString(L"a team's mode is 1 to 6");
}

DWORD NewGroup()
{
    DWORD next = 0;
    CRavRegKey entries;
    CRavString name;
    entries.Open(HKEY_LOCAL_MACHINE, XMS_ADAPTERS_KEY, false);
    while (entries.IsOpened() && entries.EnumSubKey(name))
        next = std::max(next, LabNumber(EntryPath(name), XmsValue::LogicalGroupId, 0) + 1);
    return next;
}

bool SetMembers(const CRavString& team, const std::vector<CRavString>& members)
{
    bool done = LabSetList(TeamPath(team), MEMBERS, members);
    for (const CRavString& member : members)
        done = LabSetNumber(EntryPath(member), XmsValue::TotalPhysicalAdapters, static_cast<DWORD>(members.size())) &&
               done;
    return done;
}

// The adapter gives up its own protocols and gets into the driver's hands, as the team's.
CRavString Join(const CRavString& team, const CRavString& adapter, DWORD group)
{
    std::vector<CRavString> members = MembersOf(team);
    members.push_back(adapter);
    const bool bound = Change([&](CRavNetCfgInterface& netCfg) {
        return CRavAdvSvcNetCfgComponent().BindAdapterToXms(netCfg, adapter) == 0;
    });
    if (!bound)
        return NO_NETWORK;
    return LabMoveDhcp(adapter) &&
                   LabSetDriverEntry({adapter, group, static_cast<DWORD>(members.size()), {Device(team)}, 0}) &&
                   SetMembers(team, members)
               ? CRavString()
               : CRavString(NOT_WRITTEN);
}

// Back to the adapter's own protocols, which the VLAN agent sees to also where the team has no VLANs.
CRavString Leave(CRavVlanAgentPvtIntf& agent, const CRavString& team, const CRavString& adapter)
{
    CResult result;
    agent.RemoveVlanFromTeamMember(result, team, adapter, L"");
    if (!result.Succeeded())
        return CRavString(L"the VLAN agent could not take the VLANs off ") + LabDisplayName(adapter);
    std::vector<CRavString> members = MembersOf(team);
    std::erase(members, adapter);
    return SetMembers(team, members) ? CRavString() : CRavString(NOT_WRITTEN);
}

CRavString InstallMiniport(const CRavString& name, DWORD mode, const CRavString& mac, CRavString& team)
{
    const bool installed = Change([&](CRavNetCfgInterface& netCfg) {
        CRavNetCfgComponent miniport;
        return miniport.InstallVirtualComponent(netCfg, team) == 0 && miniport.SetDisplayName(netCfg, name) == 0;
    });
    if (!installed)
        return NO_NETWORK;
    const CRavString instance = LabInstancePath(team);
    std::vector<CRavString> order = LabList(LAB_KEY, LAB_TEAM_ORDER);
    order.push_back(team);
    return LabSetNumber(instance, XmsValue::SupportedFeatures, FEATURE_OVER_TEAM) &&
                   LabSetNumber(instance, XmsValue::TeamMode, mode) &&
                   LabSetText(instance, NetworkValue::NetworkAddress, mac) &&
                   LabSetNumber(LabPath(TCPIP_INTERFACES_KEY, team), NetworkValue::EnableDhcp, 1) &&
                   LabSetText(TeamPath(team), L"Name", name) && LabSetNumber(TeamPath(team), L"SupportsVlans", 1) &&
                   SetMembers(team, {}) && LabSetList(LAB_KEY, LAB_TEAM_ORDER, order)
               ? CRavString()
               : CRavString(NOT_WRITTEN);
}

CRavString ForgetTeam(const CRavString& team)
{
    std::vector<CRavString> order = LabList(LAB_KEY, LAB_TEAM_ORDER);
    CRavRegKey teams;
    CRavRegKey interfaces;
    std::erase(order, team);
    const bool removed = Change([&](CRavNetCfgInterface& netCfg) {
        return CRavNetCfgComponent(team).RemoveVirtualComponent(netCfg, team) == 0;
    });
    if (!removed)
        return NO_NETWORK;
    if (interfaces.Open(HKEY_LOCAL_MACHINE, TCPIP_INTERFACES_KEY, true))
        interfaces.DeleteSubKey(team);
    return LabSetList(LAB_KEY, LAB_TEAM_ORDER, order) && teams.Open(HKEY_LOCAL_MACHINE, LAB_TEAMS, true) &&
                   teams.DeleteSubKey(team)
               ? CRavString()
               : CRavString(NOT_WRITTEN);
}

class CLabTeams final : public CLabTeamsIntf
{
  public:
    CRavString Create(const LAB_TEAM_CALLER& caller, const CRavString& strName, DWORD dwMode,
                      const std::vector<CRavString>& members, CRavString& strTeam) override
    {
        return Locked(caller, [&] {
            CRavString why = WhyNoName(strName) + WhyNoMode(dwMode);
            if (members.empty())
                why = L"a team needs a member";
            for (const CRavString& member : members)
            {
                if (why.IsEmpty())
                    why = WhyNotFree(caller.agent, member);
            }
            if (why.IsEmpty())
                why = InstallMiniport(strName, dwMode, LabText(LabPath(LAB_ADAPTERS, members.front()), L"PermanentMac"),
                                      strTeam);
            const DWORD group = NewGroup();
            for (const CRavString& member : members)
            {
                if (why.IsEmpty())
                    why = Join(strTeam, member, group);
            }
            return why;
        });
    }

    CRavString Rename(const LAB_TEAM_CALLER& caller, const CRavString& strTeam, const CRavString& strName) override
    {
        return Locked(caller, [&]() -> CRavString {
            const CRavString why = WhyNoName(strName);
            if (!why.IsEmpty())
                return why;
            const bool named = Change([&](CRavNetCfgInterface& netCfg) {
                return CRavNetCfgComponent(strTeam).SetDisplayName(netCfg, strName) == 0;
            });
            if (!named || !LabSetText(TeamPath(strTeam), L"Name", strName))
                return NO_NETWORK;
            CResult result = CResult::Success();
            if (!VlansOn(caller.agent, strTeam).empty())
                caller.agent.UpdateParentTeamNameAllVlans(result, strTeam, strName);
            return result.Succeeded() ? L"" : L"the team is renamed, but its VLANs are not";
        });
    }

    CRavString Delete(const LAB_TEAM_CALLER& caller, const CRavString& strTeam) override
    {
        return Locked(caller, [&]() -> CRavString {
            CResult result = CResult::Success();
            if (!VlansOn(caller.agent, strTeam).empty())
                caller.agent.RemoveAllVlansOnTeam(result, strTeam);
            CRavString why = result.Succeeded() ? L"" : L"the VLAN agent could not remove the team's VLANs";
            for (const CRavString& member : MembersOf(strTeam))
            {
                if (why.IsEmpty())
                    why = Leave(caller.agent, strTeam, member);
            }
            return why.IsEmpty() ? ForgetTeam(strTeam) : why;
        });
    }

    CRavString Add(const LAB_TEAM_CALLER& caller, const CRavString& strTeam, const CRavString& strMember) override
    {
        return Locked(caller, [&]() -> CRavString {
            CRavString why = WhyNotFree(caller.agent, strMember);
            const std::vector<CRavString> members = MembersOf(strTeam);
            const DWORD group =
                members.empty() ? NewGroup() : LabNumber(EntryPath(members.front()), XmsValue::LogicalGroupId, 0);
            if (why.IsEmpty())
                why = Join(strTeam, strMember, group);
            if (!why.IsEmpty())
                return why;
            CResult result;
            caller.agent.AddVlanToTeamMember(result, strTeam, strMember, L"");
            return result.Succeeded() ? L"" : L"the adapter has joined, but the VLAN agent could not give it the VLANs";
        });
    }

    CRavString Remove(const LAB_TEAM_CALLER& caller, const CRavString& strTeam, const CRavString& strMember) override
    {
        return Locked(caller, [&]() -> CRavString {
            const std::vector<CRavString> members = MembersOf(strTeam);
            if (std::find(members.begin(), members.end(), strMember) == members.end())
                return LabDisplayName(strMember) + L" is no member of this team";
            return members.size() > 1 ? Leave(caller.agent, strTeam, strMember)
                                      : CRavString(L"it is the team's last member: delete the team instead");
        });
    }

    // The driver reads the mode from the team's key and from those of its VLANs.
    CRavString SetMode(const LAB_TEAM_CALLER& caller, const CRavString& strTeam, DWORD dwMode) override
    {
        return Locked(caller, [&]() -> CRavString {
            const CRavString why = WhyNoMode(dwMode);
            if (!why.IsEmpty())
                return why;
            bool done = LabSetNumber(LabInstancePath(strTeam), XmsValue::TeamMode, dwMode);
            for (const CRavString& vlan : VlansOn(caller.agent, strTeam))
            {
                done = LabSetNumber(LabInstancePath(vlan), XmsValue::TeamMode, dwMode) && done;
                caller.agent.AddForUnload(vlan);
            }
            return done ? CRavString() : CRavString(NOT_WRITTEN);
        });
    }

  private:
    static CRavString Locked(const LAB_TEAM_CALLER& caller, const std::function<CRavString()>& work)
    {
        CResult result;
        const CRavSuiteLock lock(caller.agent, caller.lock, result);
        return lock.IsHeld() ? work() : CRavString(L"the configuration is locked by another program");
    }
};
} // namespace

extern "C" CLabTeamsIntf* GetLabTeams()
{
    static CLabTeams teams;
    return &teams;
}
