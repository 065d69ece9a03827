// VLANs removed through the agent, as whole differences of the registry in the short notation of CVlanLab.

#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Settings/RavSetting.h"
#include "Tests/Src/Agent/VlanScenario.h"

#include <optional>
#include <random>
#include <set>
#include <tuple>

TEST(Remove, ChangesOfTheRegistry)
{
    // Of the VLANs the first one is removed. Behind the changes stand the miniports as they went.
    const std::tuple<const char*, const char*, const char*> CASES[] = {
        {"10", "",
         R"(0; ~ 0001 NetworkAddress SZ "001B21000001" -> ""; ~ 0001 TaggingMode DWORD 1 -> SZ "0"; )"
         R"(~ 0001 VlanFiltering SZ "1" -> "0"; - 0001 VLANID MULTI_SZ "10"; - 0001 VlanMode DWORD 1; )"
         R"(- 0001 XMSLoaded DWORD 1; - 0011; - {1}; - XMS\Configuration\{1}; ~ TcpIp\{1} EnableDHCP DWORD 0 -> 1; )"
         R"(for-{V1})"},
        {"10 20", "",
         R"(0; ~ 0001 VLANID MULTI_SZ "10", "20" -> "20"; - 0011; )"
         R"(~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}", "\Device\{V2}" -> "\Device\{V2}"; )"
         R"(~ {1} MiniportBindingListCount DWORD 2 -> 1; for-{V1})"},
        {"0 10", "",
         R"(0; - 0011; ~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}", "\Device\{V2}" -> "\Device\{V2}"; )"
         R"(~ {1} MiniportBindingListCount DWORD 2 -> 1; ~ {1} TaggingMode DWORD 3 -> 1; for-{V1})"},
        {"20 10 0", "",
         R"(0; ~ 0001 VLANID MULTI_SZ "20", "10" -> "10"; - 0011; )"
         R"(~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{V2}", "\Device\{V3}"; )"
         R"(~ {1} MiniportBindingListCount DWORD 3 -> 2; for-{V1})"},
        {"10 0", "",
         R"(0; ~ 0001 NetworkAddress SZ "001B21000001" -> ""; ~ 0001 TaggingMode DWORD 1 -> SZ "0"; )"
         R"(~ 0001 VlanFiltering SZ "1" -> "0"; - 0001 VLANID MULTI_SZ "10"; - 0001 VlanMode DWORD 1; )"
         R"(- 0001 XMSLoaded DWORD 1; - 0011; - 0012; - {1}; - XMS\Configuration\{1}; )"
         R"(~ TcpIp\{1} EnableDHCP DWORD 0 -> 1; for-{V2}; for-{V1})"},
        {"5 6", "{1} MiniportBindingListCount DWORD 1",
         R"(4294967295; ~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}", "\Device\{V2}" -> "\Device\{V2}")"},
        {"5", R"(Lab\Adapters\{1} Corvo DWORD 0)",
         R"(0; ~ 0001 TaggingMode DWORD 1 -> 0; - 0011; - {1}; - XMS\Configuration\{1}; )"
         R"(~ TcpIp\{1} EnableDHCP DWORD 0 -> 1; for-{V1})"},
        {"5 6", R"(Lab\Adapters\{1} Corvo DWORD 0)",
         R"(0; - 0011; ~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}", "\Device\{V2}" -> "\Device\{V2}"; )"
         R"(~ {1} MiniportBindingListCount DWORD 2 -> 1; for-{V1})"},
    };
    for (const auto& [ids, prepared, expected] : CASES)
    {
        CVlanLab host(SMALL_HOST);
        Create(host, ids);
        host.Change(prepared);
        const std::vector<CRavString> vlans = host.Vlans();
        const CRegistryChange change;
        s_trace->Forget();
        const CResult result = host.Remove(vlans.front());
        std::string text = std::to_string(result.ulErrCode) + "\n" + Format(change, vlans);
        for (const std::string& line : SplitLines(CLabHost::Readable(s_trace->Text(), vlans)))
            text += line.find("Miniport for-") != std::string::npos ? line.substr(line.find("for-")) + "\n" : "";
        EXPECT_EQ(expected, CVlanLab::Short(text)) << ids << prepared;
    }
}

namespace
{
// So many requests for the write lock are granted; all others get the status.
size_t s_uLocks;
HRESULT s_hLockStatus;
const CSlot* s_pLockSlot;
HRESULT WINAPI AcquireWriteLock(INetCfgLock* lock, DWORD wait, LPCWSTR text, LPWSTR* holder)
{
    if (s_uLocks == 0)
        return s_hLockStatus;
    --s_uLocks;
    return reinterpret_cast<decltype(&AcquireWriteLock)>(s_pLockSlot->Original())(lock, wait, text, holder);
}
} // namespace

TEST(Remove, WithoutTheWriteLock)
{
    CLabHost host;
    Create(host, "10 20 30 40 50");
    const std::vector<CRavString> vlans = host.Vlans();
    Microsoft::WRL::ComPtr<INetCfgLock> lock;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&lock)));
    const CSlot slot(lock.Get(), 3, &AcquireWriteLock);
    s_pLockSlot = &slot;
    const auto remove = [&](size_t locks, HRESULT status) {
        s_uLocks = locks;
        s_hLockStatus = status;
        const CRegistryChange change;
        const CResult result = host.Remove(vlans[0]);
        return std::to_string(static_cast<int>(result.ulErrCode)) + " class " +
               std::to_string(static_cast<int>(result.ulErrClass)) + "; " + CVlanLab::Short(Format(change, vlans));
    };
    EXPECT_EQ("-333 class 2; ", remove(0, NETCFG_E_NEED_REBOOT));
    EXPECT_EQ("0 class 2; ", remove(0, E_ACCESSDENIED));
    EXPECT_EQ(
        R"(0 class 2; ~ 0001 VLANID MULTI_SZ "10", "20", "30", "40", "50" -> "20", "30", "40", "50"; )"
        R"(~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}", "\Device\{V2}", "\Device\{V3}", "\Device\{V4}", "\Device\{V5}" -> )"
        R"("\Device\{V2}", "\Device\{V3}", "\Device\{V4}", "\Device\{V5}"; ~ {1} MiniportBindingListCount DWORD 5 -> 4)",
        remove(1, E_ACCESSDENIED));
    // An object that failed at the second lock does not try the miniport again; a new one does.
    CResult result;
    bool created = false;
    host.Agent().CreateNetCfgInterfaceObj(result, created);
    const auto vlan = host.Agent().GetVlan(vlans[0]);
    s_uLocks = 1;
    EXPECT_EQ(2u, vlan->RemoveVLANonAdapter(false).ulErrClass);
    s_uLocks = 9;
    EXPECT_EQ(0u, vlan->RemoveVLANonAdapter(false).ulErrCode);
    EXPECT_EQ(5u, CLabHost::Miniports());
    host.Agent().ReleaseNetCfgInterfaceObj(result, created);
    // Each of these VLANs was counted, whether or not the driver's list named it.
    EXPECT_EQ("0 class -1; - 0011; ~ {1} MiniportBindingListCount DWORD 2 -> 1", remove(9, S_OK));
}

// What a member was before it carried VLANs is kept in entries that are deleted with its VLANs: when it cannot be
// restored, because the lock is not to be had, they must not be deleted.
TEST(Remove, AMemberStaysOneWithoutTheWriteLock)
{
    for (const char* const vlans : {R"({ "parent": "Team", "id": 40, "name": "Forty" })", ""})
    {
        std::string text = SMALL_HOST;
        CLabHost host(text.replace(text.rfind('}'), 1, std::string(R"(, "vlans": [ )") + vlans + " ] }"));
        host.Agent();
        Microsoft::WRL::ComPtr<INetCfgLock> lock;
        ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&lock)));
        const CSlot slot(lock.Get(), 3, &AcquireWriteLock);
        s_pLockSlot = &slot;
        s_uLocks = 0;
        s_hLockStatus = E_ACCESSDENIED;
        const CRegistryChange change;
        CResult result;
        host.Agent().RemoveVlanFromTeamMember(result, host.Key("Team"), host.Key("Member 1"), L"");
        EXPECT_EQ(CResult::FAILED, result.ulErrCode) << vlans;
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {})) << vlans;
    }
}

TEST(Remove, VlansOnTheHyperVSwitchAreRefusedBeforeAnyChange)
{
    CLabHost host;
    Create(host, "10 0");
    ASSERT_EQ(2u, host.Vlans().size());
    for (const CRavString& bound : host.Vlans())
    {
        host.Hive().Add("Services\\VMSP\\Linkage  Bind  REG_MULTI_SZ  \\Device\\" + Utf8(bound));
        const CRegistryChange change;
        const CResult result = host.Remove(host.Vlans().front());
        EXPECT_EQ(RAV_CODE_HYPER_V, result.ulErrCode);
        EXPECT_EQ(2u, result.ulErrClass);
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
    }
}

namespace
{
// The members are the adapters 8 and 9, the team is 10, its VLANs are {100} and on.
std::string TeamHost(const std::string& ids)
{
    std::string vlans;
    std::istringstream text(ids);
    for (std::string id; text >> id;)
        vlans += std::string(vlans.empty() ? "" : ", ") + R"({ "parent": "Team", "name": "N)" + id + R"(", "id": )" +
                 id + " }";
    std::string host = SMALL_HOST;
    return host.replace(host.rfind('}'), 1, R"(, "vlans": [ )" + vlans + " ] }");
}

using ON_TEAM = std::function<void(CLabHost&, CResult&, const std::vector<CRavString>&)>;
const ON_TEAM REMOVE_FIRST = [](CLabHost& host, CResult& result, const auto& keys) { result = host.Remove(keys[0]); };
const ON_TEAM REMOVE_ALL = [](CLabHost& host, CResult& result, const auto&) {
    host.Agent().RemoveAllVlansOnTeam(result, host.Key("Team"));
};
// Takes a VLAN, or all with a number beyond them, off a member; the keys are spelled in lower case, and the agent knows
// its VLANs in that spelling already.
ON_TEAM Leave(const char* member, size_t vlan)
{
    return [=](CLabHost& host, CResult& result, const std::vector<CRavString>& keys) {
        CRavString team = host.Key("Team");
        CRavString leaving = host.Key(member);
        CRavString key = vlan < keys.size() ? keys[vlan] : CRavString();
        for (CRavString* const text : {&team, &leaving, &key})
            text->MakeLower();
        RAV_VLAN_INFO info;
        host.Agent().GetVlanInfo(result, key, info);
        host.Agent().RemoveVlanFromTeamMember(result, team, leaving, key);
    };
}
// The last result, and all changes.
std::string Changes(CVlanLab& host, const std::vector<ON_TEAM>& operations)
{
    const std::vector<CRavString> keys = host.Vlans("Team");
    const CRegistryChange change;
    CResult result;
    for (const ON_TEAM& operation : operations)
        operation(host, result, keys);
    return std::to_string(result.ulErrCode) + "; " + CVlanLab::Short(Format(change, keys));
}

// A slot that throws when it is called, and once only if it is this one.
std::optional<CSlot> s_thrower;
[[noreturn]] void ThrowOnce()
{
    s_thrower.reset();
    CSlot::Throw();
}
} // namespace

TEST(Remove, VlansOverTeams)
{
    const std::tuple<const char*, std::vector<ON_TEAM>, const char*, const char*> CASES[] = {
        {"40 41 0", {REMOVE_FIRST}, "", R"(0; - 0011)"},
        {"40 41 0",
         {REMOVE_ALL},
         "",
         R"(0; ~ 0008 TaggingMode DWORD 1 -> SZ "0"; + 0008 VlanFiltering SZ "0"; - 0008 VLANID MULTI_SZ "40", "41"; )"
         R"(- 0008 VlanMode DWORD 1; ~ 0009 TaggingMode DWORD 1 -> SZ "0"; + 0009 VlanFiltering SZ "0"; )"
         R"(- 0009 VLANID MULTI_SZ "40", "41"; - 0009 VlanMode DWORD 1; - 0011; - 0012; - 0013; )"
         R"(~ {8} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{10}"; )"
         R"(~ {8} MiniportBindingListCount DWORD 4 -> 1; ~ {8} TaggingMode DWORD 3 -> 0; )"
         R"(~ {9} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{10}"; )"
         R"(~ {9} MiniportBindingListCount DWORD 4 -> 1; ~ {9} TaggingMode DWORD 3 -> 0; )"
         R"(- XMS\Configuration\{10}; ~ TcpIp\{10} EnableDHCP DWORD 0 -> 1)"},
        {"40 41 0",
         {REMOVE_ALL},
         R"(Lab\Teams\{10} Members MULTI_SZ {77} {9})",
         R"(0; - 0011; - 0012; - 0013; )"
         R"(~ {9} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{10}"; )"
         R"(~ {9} MiniportBindingListCount DWORD 4 -> 1; ~ {9} TaggingMode DWORD 3 -> 0; )"
         R"(- XMS\Configuration\{10}; ~ TcpIp\{10} EnableDHCP DWORD 0 -> 1)"},
        // One of several goes off a member, whose lists and modes follow what it still carries, whatever the team and
        // the other member do.
        {"40 41 0",
         {Leave("Member 1", 0)},
         "",
         R"(0; ~ 0008 VLANID MULTI_SZ "40", "41" -> "41"; )"
         R"(~ {8} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{10}", "\Device\{V2}", "\Device\{V3}"; )"
         R"(~ {8} MiniportBindingListCount DWORD 4 -> 3)"},
        {"40 0",
         {Leave("Member 1", 0)},
         "",
         R"(0; ~ 0008 TaggingMode DWORD 1 -> 0; - 0008 VLANID MULTI_SZ "40"; - 0008 VlanMode DWORD 1; )"
         R"(~ {8} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}" -> "\Device\{10}", "\Device\{V2}"; )"
         R"(~ {8} MiniportBindingListCount DWORD 3 -> 2; ~ {8} TaggingMode DWORD 3 -> 0)"},
        {"40 41 0",
         {Leave("Member 1", 1), Leave("Member 1", 0)},
         "",
         R"(0; ~ 0008 TaggingMode DWORD 1 -> 0; - 0008 VLANID MULTI_SZ "40", "41"; - 0008 VlanMode DWORD 1; )"
         R"(~ {8} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{10}", "\Device\{V3}"; )"
         R"(~ {8} MiniportBindingListCount DWORD 4 -> 2; ~ {8} TaggingMode DWORD 3 -> 0)"},
        {"40 41 0",
         {Leave("Member 2", 2), Leave("Member 2", 0)},
         "",
         R"(0; ~ 0009 VLANID MULTI_SZ "40", "41" -> "41"; )"
         R"(~ {9} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{10}", "\Device\{V2}"; )"
         R"(~ {9} MiniportBindingListCount DWORD 4 -> 2; ~ {9} TaggingMode DWORD 3 -> 1)"},
        // The member is not in the machine any more.
        {"40 41 0",
         {Leave("Member 1", 2)},
         "- 0008",
         R"(0; ~ {8} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}", "\Device\{V3}" -> "\Device\{10}", "\Device\{V1}", "\Device\{V2}"; )"
         R"(~ {8} MiniportBindingListCount DWORD 4 -> 3)"},
        {"40 41 0",
         {Leave("Member 1", 9), Leave("Member 1", 9)},
         "- 0008",
         R"(0; ~ 0011 TotalPhysicalAdapters DWORD 2 -> 1; ~ 0012 TotalPhysicalAdapters DWORD 2 -> 1; )"
         R"(~ 0013 TotalPhysicalAdapters DWORD 2 -> 1; - {8}; - XMS\Configuration\{8}; )"
         R"(~ TcpIp\{8} EnableDHCP DWORD 0 -> 1)"},
        {"40 41 0", {Leave("Member 1", 9)}, "{8} MiniportBindingList DWORD 1", "4294967295; "},
        // It is no member of this team.
        {"40", {Leave("Port A", 9)}, "", "4294967295; "},
        {"40",
         {Leave("Member 1", 9)},
         R"({8} MiniportBindingList MULTI_SZ \Device\{77}; Lab\Teams\{10} Members MULTI_SZ {9})",
         "4294967295; "},
        {"40 41 0",
         {Leave("Member 1", 9)},
         "",
         R"(0; ~ 0008 NetworkAddress SZ "001B21000008" -> ""; ~ 0008 TaggingMode DWORD 1 -> SZ "0"; )"
         R"(+ 0008 VlanFiltering SZ "0"; - 0008 VLANID MULTI_SZ "40", "41"; - 0008 VlanMode DWORD 1; )"
         R"(- 0008 XMSLoaded DWORD 1; ~ 0011 TotalPhysicalAdapters DWORD 2 -> 1; )"
         R"(~ 0012 TotalPhysicalAdapters DWORD 2 -> 1; ~ 0013 TotalPhysicalAdapters DWORD 2 -> 1; )"
         R"(- {8}; - XMS\Configuration\{8}; ~ TcpIp\{8} EnableDHCP DWORD 0 -> 1)"},
    };
    for (const auto& [ids, operations, prepared, expected] : CASES)
    {
        CVlanLab host(TeamHost(ids));
        host.Change(prepared);
        EXPECT_EQ(expected, Changes(host, operations)) << ids << ' ' << prepared;
    }
}

// Whichever write fails, and of all calls every fourth: done again, the whole is what it would have been at once.
TEST(Remove, TakingOffAMemberCanBeRepeated)
{
    const ON_TEAM leave = Leave("Member 1", 0);
    CVlanLab usual(TeamHost("40 0"));
    const std::string expected = Changes(usual, {leave});
    size_t repeated = 0;
    for (const std::string function : {"RegSetValueExW", "RegDeleteValueW", ""})
    {
        for (size_t n = 1, failed = true; failed && !HasFailure(); n += function.empty() ? 4 : 1)
        {
            CVlanLab host(TeamHost("40 0"));
            host.CLabHost::Agent();
            CJournal journal;
            bool again = false;
            const ON_TEAM twice = [&](CLabHost& lab, CResult& result, const auto& keys) {
                function.empty() ? journal.FailCall(n) : journal.FailNext(function, 0, n);
                journal.Start();
                leave(lab, result, keys);
                failed = journal.HasFailed();
                journal.Stop();
                again = !result.Succeeded();
                if (again)
                    leave(lab, result, keys);
            };
            const std::string changes = Changes(host, {twice});
            EXPECT_TRUE(!again || changes == expected) << function << n << '\n' << changes << '\n' << journal.Calls();
            repeated += again ? 1 : 0;
        }
    }
    EXPECT_LT(5u, repeated);
}

// What a sibling throws counts as its failure, and ends no more than that does.
TEST(Remove, SiblingsThatThrow)
{
    using CORE = CRavCoreAgentPvtIntf;
    using TEAM = CRavTeamAgentPvtIntf;
    const auto core = [](auto operation) { return std::pair(true, Place(operation)); };
    const auto team = [](auto operation) { return std::pair(false, Place(operation)); };
    const bool ONCE = true;
    // What the team agent does when it is told of the last VLAN.
    const std::string TOLD = R"(~ {8} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}" -> "\Device\{10}"; )"
                             R"(~ {8} MiniportBindingListCount DWORD 2 -> 1; ~ {8} TaggingMode DWORD 1 -> 0; )"
                             R"(- XMS\Configuration\{10}; ~ TcpIp\{10} EnableDHCP DWORD 0 -> 1)";
    const std::string IDS = R"(- 0008 VLANID MULTI_SZ "40"; - 0008 VlanMode DWORD 1; )";
    const std::tuple<std::pair<bool, size_t>, bool, const char*, std::vector<ON_TEAM>, std::string> CASES[] = {
        {team(&TEAM::NotifyLastVlanOnTeamRemoved),
         !ONCE,
         "40",
         {REMOVE_FIRST},
         R"(0; ~ 0008 TaggingMode DWORD 1 -> SZ "0"; + 0008 VlanFiltering SZ "0"; )" + IDS +
             "- 0011; - {8} TaggingMode DWORD 1"},
        {team(&TEAM::GetTeamMembers), ONCE, "40", {REMOVE_FIRST}, "0; - 0011; " + TOLD},
        {team(&TEAM::DoesTeamHaveVlans), !ONCE, "40", {REMOVE_FIRST}, "4294967295; "},
        {core(&CORE::UnloadMiniport), !ONCE, "40", {REMOVE_FIRST}, "0; - 0011; " + TOLD},
        {core(&CORE::IsDeviceCorvo), !ONCE, "40", {REMOVE_FIRST}, "0; - 0011; " + TOLD},
        {core(&CORE::DeleteParameter),
         !ONCE,
         "40",
         {REMOVE_FIRST},
         R"(0; ~ 0008 TaggingMode DWORD 1 -> SZ "0"; + 0008 VlanFiltering SZ "0"; - 0011; )" + TOLD},
        {core(&CORE::SetParameter),
         ONCE,
         "40",
         {REMOVE_FIRST},
         R"(0; ~ 0008 TaggingMode DWORD 1 -> SZ "0"; )" + IDS + "- 0011; " + TOLD},
        {core(&CORE::UnloadMiniport), !ONCE, "40", {REMOVE_ALL}, "0; - 0011; " + TOLD},
        {core(&CORE::UnloadMiniportDuringApplyDone),
         !ONCE,
         "40 41 0",
         {Leave("Member 1", 2)},
         "4294967295; ~ {8} TaggingMode DWORD 3 -> 1"},
        // Done again, it goes on behind the count.
        {core(&CORE::IsDeviceCorvo),
         ONCE,
         "40 0",
         {Leave("Member 1", 0), Leave("Member 1", 0)},
         "0; ~ 0008 TaggingMode DWORD 1 -> 0; " + IDS +
             R"(~ {8} MiniportBindingList MULTI_SZ "\Device\{10}", "\Device\{V1}", "\Device\{V2}" -> "\Device\{10}", "\Device\{V2}"; )"
             R"(~ {8} MiniportBindingListCount DWORD 3 -> 2; ~ {8} TaggingMode DWORD 3 -> 0)"},
    };
    for (const auto& [sibling, once, ids, operations, expected] : CASES)
    {
        CVlanLab host(TeamHost(ids));
        host.Change(R"(Lab\Teams\{10} Members MULTI_SZ {8})");
        CVlanAgentWin& agent = host.CLabHost::Agent();
        const auto team = agent.GetTeamAgentPvtIntf(); // held, so that loading it again finds the same one
        s_thrower.emplace(sibling.first ? static_cast<void*>(agent.GetCoreAgentPvt()) : team.get(), sibling.second,
                          once ? &ThrowOnce : &CSlot::Throw);
        EXPECT_EQ(expected, Changes(host, operations)) << sibling.first << sibling.second;
        s_thrower.reset();
    }
}

// A VLAN is removed although the untagged one that should go along cannot be, and although the changes cannot be
// applied.
TEST(Remove, WhatFailsBesideIt)
{
    CLabHost host;
    Create(host, "10 0");
    const std::vector<CRavString> vlans = host.Vlans();
    const auto remove = [&](size_t vlan) {
        const CRegistryChange change;
        const CResult result = host.Remove(vlans[vlan]);
        return std::to_string(result.ulErrCode) + "; " + CVlanLab::Short(Format(change, vlans));
    };
    s_thrower.emplace(host.Agent().GetCoreAgentPvt(), Place(&CRavCoreAgentPvtIntf::UnloadMiniportDuringApplyDone),
                      &ThrowOnce);
    EXPECT_EQ(R"(0; - 0001 VLANID MULTI_SZ "10"; - 0001 VlanMode DWORD 1; - 0011; )"
              R"(~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}", "\Device\{V2}" -> "\Device\{V2}"; )"
              R"(~ {1} MiniportBindingListCount DWORD 2 -> 1; ~ {1} TaggingMode DWORD 3 -> 1)",
              remove(0));
    Microsoft::WRL::ComPtr<INetCfg> netCfg;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg)));
    HRESULT(WINAPI* const refuse)(INetCfg*) = [](INetCfg*) -> HRESULT { return E_FAIL; };
    const CSlot apply(netCfg.Get(), Place(&INetCfg::Apply), refuse);
    EXPECT_EQ(R"(0; ~ 0001 NetworkAddress SZ "001B21000001" -> ""; ~ 0001 TaggingMode DWORD 1 -> SZ "0"; )"
              R"(~ 0001 VlanFiltering SZ "1" -> "0"; - 0001 XMSLoaded DWORD 1; - 0012; - {1}; )"
              R"(- XMS\Configuration\{1}; ~ TcpIp\{1} EnableDHCP DWORD 0 -> 1)",
              remove(1));
}

// Creations, removals and changes in random order: after each step the rules that the driver relies on hold.
TEST(Random, TheRegistryStaysConsistent)
{
    CLabHost host(R"({ "adapters": [ { "name": "Port A", "mac": "001B21000001" },
                                     { "name": "Port B", "mac": "001B21000002" } ],
        "templates": [ { "name": "Rate", "type": "int", "description": "Rate", "default": 2, "min": 0, "max": 8 } ] })");
    std::mt19937 random(20);
    struct
    {
        std::vector<CRavString> ids; // of the tagged VLANs
        bool untagged = false;
        size_t All() const { return ids.size() + (untagged ? 1 : 0); }
    } ports[2];
    for (size_t step = 0; step < 300 && !HasFailure(); ++step)
    {
        SCOPED_TRACE("step " + std::to_string(step));
        auto& port = ports[random() % 2];
        const std::string parent = &port == ports ? "Port A" : "Port B";
        const DWORD id = random() % 5 == 0 && !port.ids.empty() ? 0 : 1 + random() % 6;
        const CRavString text(static_cast<int>(id));
        const auto found = std::find(port.ids.begin(), port.ids.end(), text);
        const bool create = id == 0 ? !port.untagged : found == port.ids.end();
        CRavString name = CRavString(L"\xD83D\xDE00") + text; // no two alike
        for (size_t length = random() % 28; length > 0; --length)
            name.push_back(static_cast<wchar_t>(0x3A9 + 37 * id + random() % 30));
        if (!create && random() % 2 == 0)
        {
            // The VLAN is not removed but changed, to an id of which there is none yet.
            const CRavString vlan = host.Vlan(parent, id);
            const DWORD other = id == 0 ? 0 : id % 6 + 7;
            const RAV_SETTING_VAL_INT rate(static_cast<int>(random() % 9));
            CResult result;
            host.Agent().SetVLANName(result, vlan, name + L"!", host.Lock());
            EXPECT_EQ(0u, result.ulErrCode);
            host.Agent().SetSetting(result, vlan, L"Rate", &rate, host.Lock());
            EXPECT_EQ(0u, result.ulErrCode);
            host.Agent().SetVLANId(result, vlan, other, host.Lock());
            EXPECT_EQ(0u, result.ulErrCode);
            RAV_VLAN_INFO info;
            host.Agent().GetVlanInfo(result, vlan, info);
            EXPECT_TRUE(info.vlanName == name + L"!" && info.vlanId == other);
            EXPECT_EQ(rate.iValue, _wtoi(LabText(LabInstancePath(vlan), L"Rate")));
            host.Agent().SetVLANId(result, vlan, id, host.Lock());
            EXPECT_EQ(0u, result.ulErrCode);
            if (id == 0)
                continue;
            port.ids.erase(found); // and again at the end of the list
            port.ids.push_back(text);
            EXPECT_EQ(port.ids, LabList(LabPath(CLASS_KEY, &port == ports ? L"0001" : L"0002"), L"VLANID"));
            continue;
        }
        EXPECT_EQ(0u, (create ? host.Create(parent, id, name) : host.Remove(host.Vlan(parent, id))).ulErrCode);
        if (id == 0)
            port.untagged = create;
        else if (create)
            port.ids.push_back(text);
        else
            port.ids.erase(found);
        port.untagged = port.untagged && !port.ids.empty(); // it goes with the last tagged one

        const CRavString entry = LabPath(XMS_ADAPTERS_KEY, host.Key(parent));
        const CRavString instance = LabPath(CLASS_KEY, &port == ports ? L"0001" : L"0002");
        std::set<std::wstring> devices;
        for (const CRavString& vlan : host.Vlans(parent))
            devices.insert(L"\\Device\\" + vlan);
        const std::vector<CRavString> bindings = LabList(entry, L"MiniportBindingList");
        const bool none = port.ids.empty();
        EXPECT_EQ(port.All(), devices.size());
        EXPECT_EQ(ports[0].All() + ports[1].All(), CLabHost::Miniports());
        EXPECT_EQ(devices, std::set<std::wstring>(bindings.begin(), bindings.end()));
        EXPECT_EQ(devices.size(), bindings.size());
        EXPECT_EQ(devices.size(), LabNumber(entry, L"MiniportBindingListCount", 0));
        EXPECT_EQ(port.ids, LabList(instance, L"VLANID"));
        EXPECT_EQ(none ? 7u : 1u, LabNumber(instance, L"VlanMode", 7));
        EXPECT_EQ(none ? 7u : 1u, LabNumber(instance, L"TaggingMode", 7));
        EXPECT_EQ(none ? 7u : port.untagged ? 3u : 1u, LabNumber(entry, L"TaggingMode", 7));
        EXPECT_EQ(!none, LabHasKey(entry));
    }
}
