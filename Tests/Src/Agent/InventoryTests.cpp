// What the agent lists and reads.

#include "Tests/Src/Agent/TwoPorts.h"
#include "Tests/Src/LabProgram.h"

#include <atomic>
#include <thread>

namespace
{
CRavString LowerCase(CRavString text)
{
    text.MakeLower();
    return text;
}

std::string Record(CLabHost& host, const CRavString& key)
{
    CResult result;
    RAV_VLAN_INFO info;
    host.Agent().ClearVlanCache();
    host.Agent().GetVlanInfo(result, key, info);
    std::ostringstream text;
    text << result.ulErrCode << " " << info.vlanId << "|" << Utf8(info.vlanName) << "|" << Utf8(info.displayName) << "|"
         << info.vlanType << "|" << info.supportedFeatures << "|" << info.logicalGroupId << "|"
         << (info.xmsMiniportKey == key ? "own" : Utf8(info.xmsMiniportKey)) << "|" << info.jumboPacket;
    return text.str();
}
} // namespace

TEST(Inventory, FeaturesAndTheExactParentKeyDecideWhatIsListed)
{
    CLabHost host(VLAN_HOST);
    ASSERT_EQ(3u, host.Vlans().size());
    std::string listed;
    for (int features = 0; features < 16; ++features)
    {
        host.Hive().Add("Class\\0003  SupportedFeatures  REG_DWORD  " + std::to_string(features));
        listed += host.Vlans().size() == 3 ? std::to_string(features) + " " : "";
    }
    EXPECT_EQ("8 9 12 13 ", listed);
    host.Hive().Add("Class\\0003  SupportedFeatures  REG_SZ  8");
    EXPECT_EQ(2u, host.Vlans().size());
    EXPECT_EQ(1u, host.Vlans("Port A").size());
    CResult result;
    std::vector<CRavString> keys{L"what was there before"};
    host.Agent().EnumerateVlans(result, LowerCase(host.Key("Port A")), keys);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_TRUE(keys.empty());
}

TEST(Inventory, MissingAndDamagedValues)
{
    const std::string tooLong(300, 'x');
    const struct
    {
        std::string change; // a value to write, or the name of one to delete
        const char* record;
    } CASES[] = {
        {"RavVlanType  REG_DWORD  1", "0 10|Ten|Port A - VLAN : Ten|0|8|0|own|-1"},
        {"RavVlanType  REG_DWORD  2", "0 10|Ten|Port A - VLAN : Ten|1|8|0|own|-1"},
        {"RavVlanType  REG_DWORD  5", "0 10|Ten|Port A - VLAN : Ten|2|8|0|own|-1"},
        {"VLANID", "0 0|Ten|Port A - VLAN : Ten|0|8|0|own|-1"},
        {"VLANID  REG_SZ  10", "0 0|Ten|Port A - VLAN : Ten|0|8|0|own|-1"},
        {"VLANID  REG_BINARY  0a", "0 0|Ten|Port A - VLAN : Ten|0|8|0|own|-1"},
        {"VLANName", "0 10||Port A - VLAN : Ten|0|8|0|own|-1"},
        {"VLANName  REG_SZ  hex:54 00 65", "0 10|Te|Port A - VLAN : Ten|0|8|0|own|-1"},
        {"VLANDisplayName", "0 10|Ten||0|8|0|own|-1"},
        {"SupportedFeatures  REG_DWORD  12", "0 10|Ten|Port A - VLAN : Ten|0|12|0|own|-1"},
        {"LogicalGroupID  REG_DWORD  3", "0 10|Ten|Port A - VLAN : Ten|0|8|3|own|-1"},
        {"RavXmsMiniportKey", "0 10|Ten|Port A - VLAN : Ten|0|8|0||-1"},
        {"RavXmsMiniportKey  REG_SZ  ", "0 10|Ten|Port A - VLAN : Ten|0|8|0||-1"},
        {"RavXmsMiniportKey  REG_DWORD  7", "0 10|Ten|Port A - VLAN : Ten|0|8|0||-1"},
        {"RavXmsMiniportKey  REG_SZ  {7}", "0 10|Ten|Port A - VLAN : Ten|0|8|0|{7}|-1"},
        {"RavXmsMiniportKey  REG_SZ  " + tooLong, "0 10|Ten|Port A - VLAN : Ten|0|8|0||-1"},
        {"NetCfgInstanceId", "4294967295 0|||0|0|0||-1"},
    };
    for (const auto& one : CASES)
    {
        CLabHost host(VLAN_HOST);
        const CRavString key = host.Vlan("Port A", 10);
        if (one.change.find(' ') == std::string::npos)
            CLabHost::Delete("Class\\0003", Wide(one.change).c_str());
        else
            host.Hive().Add("Class\\0003  " + one.change);
        const std::string before = host.Hive().Value("Class\\0003", "RavXmsMiniportKey");
        const bool isEmpty = before.empty() || before == "REG_SZ  \"\"";
        EXPECT_EQ(one.record, Record(host, isEmpty ? LowerCase(key) : key)) << one.change;
        // Only a missing value is written again, with the key in its canonical spelling; a value of another type stays.
        EXPECT_EQ(isEmpty ? "REG_SZ  \"" + Utf8(key) + "\"" : before,
                  host.Hive().Value("Class\\0003", "RavXmsMiniportKey"));
    }
}

// A damaged VLAN does not keep the other VLANs of its parent from being listed, either.
TEST(Inventory, AVlanWhoseDeviceIsDamagedIsShownAndRemoved)
{
    const auto damage = [](const wchar_t* instance) {
        CLabHost::Delete("Enum\\" + Utf8(LabText(LabPath(CLASS_KEY, instance), L"DeviceInstanceID")), L"Driver");
    };
    {
        CLabHost team(
            R"({ "adapters": [ { "name": "A", "mac": "001B21000001" }, { "name": "B", "mac": "001B21000002" } ],
                           "teams": [ { "name": "Team", "members": ["A", "B"], "mode": 2 } ],
                           "vlans": [ { "parent": "Team", "id": 10, "name": "Ten" } ] })");
        damage(L"0004");
        EXPECT_EQ("0 10|Ten|Team - VLAN : Ten|0|9|0|own|-1", Record(team, team.Vlan("Team", 10)));
        EXPECT_EQ(0u, team.Remove(team.Vlan("Team", 10)).ulErrCode);
        EXPECT_EQ(0u, team.Vlans().size());
    }
    CLabHost host(VLAN_HOST);
    const CRavString key = host.Vlan("Port A", 10);
    damage(L"0003");
    EXPECT_EQ("0 10|Ten|Port A - VLAN : Ten|0|8|0|own|-1", Record(host, key));
    DWORD status = 0;
    CResult result;
    host.Agent().GetVlanStatus(result, key, status);
    EXPECT_EQ(RAV_LOAD_STATUS_LOADED, status);
    {
        CJournal journal;
        // Where its device has no driver its key is asked for: it is not found, either.
        journal.Before("RegGetValueW", 2, [&] {
            journal.Hook(GetModuleHandleW(L"NetCfg.dll"));
            journal.FailNext("RegOpenKeyExW", ERROR_FILE_NOT_FOUND, 2);
        });
        journal.Start();
        s_trace->Forget();
        EXPECT_EQ("0 0|||0|0|0||-1", Record(host, key));
        EXPECT_EQ("CVlanAgentWin::GetOtherVlanDetails, hKey is NULL\n", Traced("hKey is NULL"));
    }
    EXPECT_EQ(0u, host.Create("Port A", 11, L"Eleven").ulErrCode);
    EXPECT_EQ(RAV_MSG_ID_IN_USE, host.Create("Port A", 10, L"Another").ulErrCode);
    EXPECT_EQ(0u, host.Remove(key).ulErrCode);
    EXPECT_EQ("", Utf8(host.Vlan("Port A", 10)));
    EXPECT_EQ(2u, host.Vlans("Port A").size());
}

TEST(Inventory, AnIdThatTheObjectKnowsStandsInForAMissingOne)
{
    CLabHost host(VLAN_HOST);
    CResult result;
    bool created = false;
    host.Agent().CreateNetCfgInterfaceObj(result, created);
    const auto vlan = host.Agent().GetVlan(host.Vlan("Port A", 10));
    CLabHost::Delete("Class\\0003", L"VLANID");
    vlan->m_iVlanId = 77;
    vlan->GetOOOKeyFromVk(L"");
    host.Agent().GetOtherVlanDetails(*vlan, vlan->GetParentClassKey(), false);
    host.Agent().ReleaseNetCfgInterfaceObj(result, created);
    EXPECT_EQ(77u, vlan->m_ravVlanInfo.vlanId);
}

TEST(Inventory, TheSecondLookComesFromTheCacheAndAllThatWasOpenedIsGivenBack)
{
    CLabHost host(VLAN_HOST);
    const CRavString key = host.Key("Port A");
    CJournal journal;
    journal.Start();
    const CRavString vlan = host.Vlans("Port A").front();
    CResult result;
    RAV_VLAN_INFO info;
    const auto registryCalls = [&] {
        journal.Start();
        host.Agent().GetVlanInfo(result, vlan, info);
        EXPECT_EQ(0u, result.ulErrCode);
        EXPECT_EQ("", journal.OpenHandles());
        return journal.Count("RegQueryValueExW") + journal.Count("RegOpenKeyExW");
    };
    EXPECT_NE(0u, registryCalls());
    EXPECT_EQ(0u, registryCalls());
    // Another letter case is another entry of the cache, though it is found as the same VLAN.
    EXPECT_EQ(host.Agent().GetVlan(vlan), host.Agent().GetVlan(LowerCase(vlan)));
    EXPECT_FALSE(host.Agent().IsVlanInfoAvailable(LowerCase(vlan), info));
    host.Agent().GetVlanInfo(result, LowerCase(vlan), info);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_TRUE(host.Agent().IsVlanInfoAvailable(LowerCase(vlan), info));
    EXPECT_TRUE(host.Agent().IsVlanInfoAvailable(vlan, info));
    host.CloseAgent();
    journal.Start();
    host.Vlans();
    {
        // The module is freed before it is loaded again; whoever holds the interface keeps it loaded.
        const auto held = host.Agent().GetTeamAgentPvtIntf();
        host.Agent().GetTeamAgentPvtIntf();
        std::string calls;
        for (const std::string& line : SplitLines(journal.Calls({"LoadLibraryExW", "FreeLibrary"})))
            calls += line.ends_with("TeamAgent.dll") ? line.substr(0, line.find(' ')) + " " : "";
        EXPECT_EQ("LoadLibraryExW FreeLibrary LoadLibraryExW FreeLibrary ", calls);
    }
    host.CloseAgent();
    EXPECT_EQ("", journal.OpenHandles());
}

TEST(Inventory, UnknownAndVanishedVlans)
{
    CLabHost host(VLAN_HOST);
    const CRavString gone = host.Vlans("Port B").front();
    host.Vlans();
    CLabHost::Delete("Class\\0005"); // after it was listed
    for (const CRavString& key : {gone, CRavString(L""), CRavString(L"no key"), host.Key("Port A")})
    {
        CResult result;
        RAV_VLAN_INFO info;
        RAV_VLAN_PARENT parent;
        DWORD status = 7;
        host.Agent().GetVlanInfo(result, key, info);
        EXPECT_EQ(CResult::FAILED, result.ulErrCode) << Utf8(key);
        host.Agent().GetVlanParent(result, host.Client(), key, parent);
        EXPECT_EQ(CResult::FAILED, result.ulErrCode) << Utf8(key);
        host.Agent().GetVlanStatus(result, key, status);
        EXPECT_EQ(0u, result.ulErrCode) << Utf8(key);
        EXPECT_EQ(key == host.Key("Port A") ? 1u : 0u, status) << Utf8(key);
    }
    EXPECT_FALSE(host.Agent().IsVlanEnabled(gone));
    EXPECT_TRUE(host.Agent().IsVlanEnabled(host.Vlan("Port A", 0)));
}

TEST(Inventory, TwoThreadsEachWithItsOwnConfigurationObject)
{
    CLabHost host(VLAN_HOST);
    CVlanAgentWin& agent = host.Agent();
    std::atomic<int> arrived = 0;
    CRavNetCfgInterface* sessions[2] = {};
    size_t loaded[2] = {};
    const auto work = [&](size_t me) {
        CLabServer server;
        server.SetUp();
        CResult result;
        bool created = false;
        agent.CreateNetCfgInterfaceObj(result, created);
        agent.GetNetCfgInterfaceObj(result, &sessions[me]);
        for (++arrived; arrived < 2;)
            Sleep(1);
        for (int round = 0; round < 20; ++round)
        {
            std::vector<CRavString> keys;
            agent.EnumerateVlans(result, L"", keys);
            for (const CRavString& key : keys)
            {
                RAV_VLAN_INFO info;
                agent.GetVlanInfo(result, key, info);
                loaded[me] += result.Succeeded() && info.vlanKey == key ? 1 : 0;
            }
            agent.ClearVlanCache();
        }
        agent.ReleaseNetCfgInterfaceObj(result, created);
        server.TearDown();
        CoUninitialize();
    };
    std::thread other(work, 1);
    work(0);
    other.join();
    EXPECT_NE(sessions[0], sessions[1]);
    EXPECT_EQ(60u, loaded[0]);
    EXPECT_EQ(60u, loaded[1]);
}
