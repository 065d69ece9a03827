// What is refused, and with which message; which parents can carry VLANs.

#include "Src/Agent/RavVlanIdRange.h"
#include "Tests/Common/Src/ModuleTrace.h"
#include "Tests/Harness/OtherSystem.h"
#include "Tests/Src/Vlan/VlanObjectFixture.h"

#include <fstream>
#include <sstream>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);
CModuleTrace* const s_trace = CModuleTrace::Register();

// The numbers of the messages, behind warnings a "w", or an "s" for those of a setting. All that belongs to a number is
// checked here.
std::string Numbers(const CRavVlanMessages& messages)
{
    std::string text;
    for (const RAV_VALIDATION_MESSAGE& message : messages)
    {
        const DWORD number = message.dwCode & 0xFFFF;
        const DWORD family = number == 226 ? 1 : number == 171 || number == 174 ? 4 : 3;
        const bool warning = number == 149 || number == 150;
        const bool ofSetting = warning && message.dwCategory == 36;
        EXPECT_EQ(0x30000000 + (family << 24) + number, message.dwCode);
        EXPECT_EQ(ofSetting ? 36u : warning ? 33u : 16u, message.dwCategory) << number;
        EXPECT_EQ(warning ? 2u : 1u, message.dwSeverity) << number;
        EXPECT_EQ(std::vector<CRavString>(1), message.parameters) << number;
        text += (text.empty() ? "" : " ") + std::to_string(number) + (ofSetting ? "s" : warning ? "w" : "");
    }
    return text;
}

void ExpectUnchanged(const CRegistryChange& change)
{
    EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
}

// The messages; what has a stop error among them is then tried all the same, and refused with the first one's code.
std::string Validate(CLabHost& host, const CRavString& parent, const wchar_t* ids, const wchar_t* name)
{
    CResult result;
    CRavVlanMessages messages(1); // left from an earlier validation: it must not count
    host.Agent().ValidateNewVlan(result, parent, ids, name, messages, host.Client());
    EXPECT_EQ(0u, result.ulErrCode);
    messages.erase(messages.begin());
    const auto stop =
        std::find_if(messages.begin(), messages.end(), [](const auto& one) { return one.dwSeverity == 1; });
    if (stop != messages.end())
    {
        host.Agent().CreateMultipleVLANs(result, parent, ids, name, 0, nullptr, host.Lock());
        EXPECT_EQ(stop->dwCode, result.ulErrCode);
    }
    return Numbers(messages);
}

std::string HostWith(const std::string& vlans)
{
    std::string text = SMALL_HOST;
    return text.replace(text.rfind('}'), 1, ", \"vlans\": [" + vlans + "] }");
}

std::string FullHost(size_t count, const std::string& parent)
{
    std::string vlans;
    for (size_t id = 1; id <= count; ++id)
        vlans += std::string(vlans.empty() ? "" : ",") + R"({ "parent": ")" + parent + R"(", "id": )" +
                 std::to_string(id) + R"(, "name": "N)" + std::to_string(id) + R"(" })";
    return HostWith(vlans);
}
} // namespace

TEST(Ids, Grammar)
{
    const struct
    {
        const wchar_t* text;
        std::vector<DWORD> ids;
    } CASES[] = {
        {L"12", {12}},
        {L"0", {0}},
        {L"10,20,30", {10, 20, 30}},
        {L"0,5,0", {5, 0}},
        {L"0,0,5", {0, 5, 0}},
        {L"0,0", {0}},
        {L"0-1", {1, 0}},
        {L"0-0", {}},
        {L"5-9", {5, 6, 7, 8, 9}},
        {L"0-3", {1, 2, 3, 0}},
        {L"4095", {4095}},
        {L"99999999999", {0x7FFFFFFF}},
        {L"3-1", {}},
        {L"4-4", {}},
        {L"1-5,7", {}},
        {L"a", {}},
        {L"", {}},
        {L"-1", {}},
        {L"1,,2", {}},
        {L" 7", {}},
        {L"7 ", {}},
        {L"1-2-3", {}},
        {L"+5", {}},
        {L",", {}},
    };
    for (const auto& one : CASES)
    {
        std::vector<DWORD> ids{99};
        const bool parsed = RavParseVlanIds(one.text, ids);
        EXPECT_EQ(!one.ids.empty(), parsed) << Utf8(one.text);
        EXPECT_EQ(one.ids, ids) << Utf8(one.text);
    }
    // A range far beyond all legal ids must cost neither memory nor time.
    for (const wchar_t* const text : {L"1-2147483647", L"4093-99999", L"5000-2147483647"})
    {
        std::vector<DWORD> ids;
        EXPECT_TRUE(RavParseVlanIds(text, ids)) << Utf8(text);
        EXPECT_TRUE(ids.size() > 64 && ids.size() < 5000 && ids.back() > 4094) << Utf8(text);
    }
}

TEST(Validation, NamesAndIds)
{
    CLabHost host(HostWith(R"({ "parent": "Port A", "id": 10, "name": "Büro" })"));
    const std::wstring longest(32, L'\x00DC');
    const std::wstring tooLong(33, L'x');
    const std::wstring tooLongToo = L"?" + tooLong;
    const std::wstring blankToo = L" " + tooLongToo;
    const struct
    {
        const wchar_t* ids;
        const wchar_t* name;
        const char* expected;
    } CASES[] = {
        {L"11", L"Fine", ""},
        {L"11", longest.c_str(), ""},
        {L"11", L"\xD83D\xDE00 a\x0301", ""},
        {L"11", L"a\t.'%&;=", ""},
        {L"11", RAV_AUTO_VLAN_NAMES, ""},
        {L"11", L"", "154"},
        {L"11", L" ", "135"},
        {L"11", tooLong.c_str(), "153"},
        {L"11", L"/", "136"},
        {L"11", L"a\\", "136"},
        {L"11", L"*a", "136"},
        {L"11", L"a:b", "136"},
        {L"11", L">", "136"},
        {L"11", L"<", "136"},
        {L"11", L"|", "136"},
        {L"11", L"?", "136"},
        {L"11", L"\"", "136"},
        // The first rule that a name breaks ends the check of names; those of ids go on.
        {L"11", blankToo.c_str(), "135"},
        {L"11", tooLongToo.c_str(), "153"},
        {L"11", L"BÜRO", "137 137"},
        {L"10", L"BÜRO", "137 143"},
        {L"10", L"New", "143"},
        {L"4094", L"New", ""},
        {L"4095", L"New", "142"},
        {L"4095", L"a?", "136 142"},
        {L"99999999999", L"New", "142"},
        {L"-1", L"New", "141"},
        {L"5-5", L"New", "141"},
        {L"x", L"", "141"},
        {L"0", L"New", ""},
        {L"9-11", RAV_AUTO_VLAN_NAMES, "138"},
        {L"20,20", RAV_AUTO_VLAN_NAMES, "138"},
        {L"20,21", L"Same", ""},
        {L"20,21", L"BÜRO", "137"},
        {L"10,20,20", L"BÜRO", "138 138 137"},
        {L"4090-4100", RAV_AUTO_VLAN_NAMES, "141"},
        {L"1-2147483647", RAV_AUTO_VLAN_NAMES, "141 139 138"},
        {L"20-83", RAV_AUTO_VLAN_NAMES, "139"},
        {L"20-82", RAV_AUTO_VLAN_NAMES, ""},
    };
    const CRegistryChange change;
    for (const auto& one : CASES)
        EXPECT_EQ(one.expected, Validate(host, host.Key("Port A"), one.ids, one.name))
            << Utf8(one.ids) << " " << Utf8(one.name);
    ExpectUnchanged(change);
}

TEST(Validation, Parents)
{
    const struct
    {
        const char* parent;
        const char* prepared;
        const char* expected;
    } CASES[] = {
        {"Port A", "", ""},
        {"Virtual", "", ""},
        {"Port C", "", "148"},
        {"Port A", R"(Class\0001\ZentraNdi XMSSupportFilter DWORD 3)", "148"},
        {"Port A", R"(Class\0001\ZentraNdi XMSSupportFilter DWORD 2)", ""},
        {"Port A", R"(Class\0001\ZentraNdi XMSSupportFilter SZ 3)", ""},
        {"Port A", R"(- 0001)", "148"},
        {"Unloaded", "", "146 148"},
        {"Queues", "", "149w 149s"},
        {"Queues", R"(Lab\Adapters\{6} Vorn DWORD 0)", "174 149w 149s"},
        {"Queues", R"(Class\0006\ZentraNdi XMSSupportFilter DWORD 3)", "148 149w 149s"},
        {"Queues", R"(- 0006\Ndi\Params\*VMQ)", "149w"},
        {"Port A", R"(Lab\Adapters\{1} Vorn DWORD 0)", "174"},
        {"Foreign", R"(Lab\Adapters\{7} Vorn DWORD 0; 0007 *VMQ SZ 1)", "171"},
        {"Member 1", "", "152"},
        {"Team", R"(Lab\Teams\{10} SupportsVlans DWORD 0; Lab\Devices\{8} Problem DWORD 22)", "151"},
        {"Team", R"(Lab\Devices\{8} Problem DWORD 22)", "146"},
        {"Team", "", ""},
        {"Team", R"(0008 *VMQ SZ 1)", "150w"},
        {"Team",
         R"(0009 *VMQ SZ 1; 0009\Ndi\Params\*VMQ type SZ enum; 0009\Ndi\Params\*VMQ Default SZ 0; 0009\Ndi\Params\*VMQ\enum 1 SZ On)",
         "150w 150s"},
    };
    for (const auto& one : CASES)
    {
        CVlanLab host(SMALL_HOST);
        host.Change(one.prepared);
        const CRegistryChange change;
        EXPECT_EQ(one.expected, Validate(host, host.Key(one.parent), L"10", L"New")) << one.parent << one.prepared;
        ExpectUnchanged(change);
    }
    CLabHost host;
    EXPECT_EQ("147", Validate(host, host.Key("Port A"), L"0", L"New"));
    EXPECT_EQ("148 154", Validate(host, L"{00000000-0000-0000-0000-000000000000}", L"10", L""));
    EXPECT_EQ("148 142", Validate(host, L"", L"4095", L"New"));
}

// Of the three reasons that concern the parent as a whole, the first is told.
TEST(Validation, BlockedByWindows)
{
    if (!CanPose())
        GTEST_SKIP() << "Windows itself cannot pose as another version.";
    if (PosesAs().empty())
    {
        for (const wchar_t* const system : {L"win10", L"win81"})
            EXPECT_EQ(0u, RunAs(system, L"Validation.BlockedByWindows")) << Utf8(system);
        return;
    }
    const bool blocks = PosesAs() == L"win10";
    CVlanLab host(SMALL_HOST);
    host.Change(R"(Lab\Devices\{8} Problem DWORD 22)");
    for (const char* const block : {"0", "1", "2"})
    {
        host.Change(Utf8(SUITE_KEY) + " XMSBlock DWORD " + block);
        const bool blocked = blocks && *block == '1';
        EXPECT_EQ(blocked ? "226" : "", Validate(host, host.Key("Port A"), L"10", L"New"));
        EXPECT_EQ(blocked ? "226 148" : "146 148", Validate(host, host.Key("Unloaded"), L"10", L"New"));
        EXPECT_EQ(blocked ? "226" : "146", Validate(host, host.Key("Team"), L"10", L"New"));
    }
}

TEST(Validation, FullParents)
{
    const struct
    {
        const char* parent;
        size_t vlans;
        const char* one; // told of a request for one more, and for two more
        const char* two;
    } CASES[] = {
        {"Port A", 62, "", ""},  {"Port A", 63, "", "139"},  {"Port A", 64, "144", "139"},
        {"Virtual", 61, "", ""}, {"Virtual", 62, "", "140"}, {"Virtual", 63, "145", "140 139"},
    };
    for (const auto& one : CASES)
    {
        CLabHost host(FullHost(one.vlans, one.parent));
        const CRavString parent = host.Key(one.parent);
        EXPECT_EQ(one.one, Validate(host, parent, L"0", L"New")) << one.parent << one.vlans;
        EXPECT_EQ(one.two, Validate(host, parent, L"100,101", RAV_AUTO_VLAN_NAMES)) << one.parent << one.vlans;
    }
}

// A VLAN that is there already may keep what it has.
TEST(Validation, OfAnExistingVlan)
{
    CLabHost host(HostWith(R"({ "parent": "Port A", "id": 10, "name": "Ten" },
                              { "parent": "Port B", "id": 10, "name": "Ten" }, { "parent": "Port B", "id": 0, "name": "None" })"));
    const auto validate = [&](const char* parent, DWORD own, const wchar_t* name, DWORD id) {
        CRavVlanMessages messages;
        EXPECT_TRUE(host.Agent().ValidateVlan(messages, host.Vlan(parent, own), name, id, host.Key(parent)));
        return Numbers(messages);
    };
    EXPECT_EQ("", validate("Port A", 10, L"Ten", 10));
    EXPECT_EQ("147", validate("Port A", 10, L"Ten", 0));
    EXPECT_EQ("", validate("Port B", 0, L"None", 0));
    EXPECT_EQ("137 143", validate("Port B", 0, L"TEN", 10));
}

TEST(Parents, OfTheServer)
{
    const struct
    {
        const char* name;
        const char* answers; // code, supports, not loaded, team without VLANs; then code, VMQ on, is a team
    } CASES[] = {
        {"Port A", "0 1 0 0; 0 0 0"}, {"Port B", "0 1 0 0; 0 0 0"},
        {"Port C", "0 0 0 0; 0 0 0"}, {"Virtual Function 1", "0 1 0 0; 0 0 0"},
        {"Port D", "0 0 1 0; 0 0 0"}, {"Port E", "0 1 0 0; 0 1 0"},
        {"Port F", "0 1 0 0; 0 0 0"}, {"Other Maker's Adapter", "0 1 0 0; 0 0 0"},
        {"Port G", "0 0 0 0; 0 0 0"}, {"Port H", "0 0 0 0; 0 0 0"},
        {"Team 1", "0 1 0 0; 0 0 1"},
    };
    std::ifstream file("Suite/Lab/hosts/server.json");
    CLabHost host(std::string(std::istreambuf_iterator<char>(file), {}));
    const auto ask = [&](const CRavString& key) {
        std::ostringstream text;
        CResult result;
        bool first = true;
        bool second = true;
        bool third = true;
        host.Agent().DoesParentSupportVlans(result, key, first, second, third, host.Client());
        text << static_cast<int>(result.ulErrCode) << " " << first << " " << second << " " << third << "; ";
        host.Agent().IsParentVmqEnabled(result, key, first, second, host.Client());
        text << static_cast<int>(result.ulErrCode) << " " << first << " " << second;
        return text.str();
    };
    std::vector<CRavString> expected;
    for (const auto& one : CASES)
    {
        EXPECT_EQ(one.answers, ask(host.Key(one.name))) << one.name;
        if (one.answers[2] == '1')
            expected.push_back(host.Key(one.name));
    }
    EXPECT_EQ("-1 0 0 0; -1 0 0", ask(L""));
    EXPECT_EQ("-1 0 0 0; -1 0 0", ask(L"{00000000-0000-0000-0000-000000000000}"));

    CResult result;
    std::vector<CRavString> parents;
    host.Agent().EnumerateVlanSupportingParents(result, parents, host.Client());
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_TRUE(std::is_permutation(expected.begin(), expected.end(), parents.begin(), parents.end()));
}

TEST(Parents, TeamsComeBeforeAdaptersAndMembersNeverDo)
{
    CLabHost host;
    CResult result;
    std::vector<CRavString> parents;
    host.Agent().EnumerateVlanSupportingParents(result, parents, host.Client());
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ((std::vector<CRavString>{host.Key("Team"), host.Key("Port A"), host.Key("Port B"), host.Key("Virtual"),
                                       host.Key("Queues"), host.Key("Foreign")}),
              parents);
}

// The parent can be used again as soon as its driver is loaded; until then no second VLAN is created.
TEST(Parents, WithoutItsDriverOneWithAVlanIsAParent)
{
    CLabHost host(HostWith(R"({ "parent": "Unloaded", "id": 10, "name": "Ten" })"));
    CResult result;
    bool supports = false;
    bool notLoaded = false;
    bool team = true;
    host.Agent().DoesParentSupportVlans(result, host.Key("Unloaded"), supports, notLoaded, team, host.Client());
    EXPECT_TRUE(result.Succeeded() && supports && notLoaded && !team);
    EXPECT_EQ("146", Validate(host, host.Key("Unloaded"), L"11", L"New"));
}

TEST(Parents, AFilteredOneIsRefusedBeforeAnyQuestion)
{
    CVlanLab host(SMALL_HOST);
    host.Change(R"(Class\0001\ZentraNdi XMSSupportFilter DWORD 3)");
    const CSlot rule(host.Agent().GetCoreAgentPvt(), Place(&CRavCoreAgentPvtIntf::IsRuleTrue), &CSlot::Throw);
    CResult result;
    bool supports = true;
    host.Agent().DoesParentSupportVlans(result, host.Key("Port A"), supports, host.Client());
    EXPECT_TRUE(result.Succeeded() && !supports);
    host.Agent().DoesParentSupportVlans(result, host.Key("Port B"), supports, host.Client());
    EXPECT_TRUE(!result.Succeeded() && !supports);
}

TEST(Parents, WithoutATeamAgentThereAreNone)
{
    CLabHost host;
    host.Agent();
    LabSetText(SUITE_KEY, L"InstalledDir", L"C:\\nowhere");
    CResult result;
    std::vector<CRavString> parents{L"x"};
    host.Agent().EnumerateVlanSupportingParents(result, parents, host.Client());
    EXPECT_EQ(0xFFFFFFFFu, result.ulErrCode);
    EXPECT_TRUE(parents.empty());
}

TEST(Refusals, ChangeNothing)
{
    CLabHost host;
    CVlanAgentWin& agent = host.Agent();
    const CRavString parent = host.Key("Port A");
    const RAV_LOCK_RECORD nobody = {{1234, 5}, 0};
    const auto refused = [](auto&& operation) {
        CResult result;
        s_trace->Forget();
        operation(result);
        return static_cast<int>(result.ulErrCode);
    };
    const auto create = [&](DWORD type, const RAV_LOCK_RECORD& lock) {
        return refused([&](CResult& result) { agent.CreateVlan(result, parent, 10, L"New", type, lock); });
    };
    const auto several = [&](DWORD type, const RAV_LOCK_RECORD& lock) {
        return refused([&](CResult& result) {
            agent.CreateMultipleVLANs(result, parent, L"10,11", RAV_AUTO_VLAN_NAMES, type, nullptr, lock);
        });
    };
    const auto remove = [&](const wchar_t* key) {
        return refused([&](CResult& result) { agent.RemoveVlan(result, host.Lock(), key); });
    };
    const CRegistryChange change;
    EXPECT_EQ(-1, create(0, nobody));
    EXPECT_EQ(-1, several(0, nobody));
    EXPECT_EQ(static_cast<int>(RAV_CODE_NOT_VALID), create(3, host.Lock()));
    EXPECT_EQ(static_cast<int>(RAV_CODE_NOT_VALID), several(3, host.Lock()));
    EXPECT_EQ(-1, remove(L""));
    EXPECT_EQ(-1, remove(L"{00000000-0000-0000-0000-000000000000}"));
    EXPECT_EQ(static_cast<int>(RAV_MSG_NAME_CHARACTER),
              refused([&](CResult& result) { agent.CreateVlan(result, parent, 10, L"a|b", 0, host.Lock()); }));
    EXPECT_NE(std::string::npos,
              s_trace->Text().find("ERROR:  CreateVlan returned stop errors to prevent vlan creation!"));
    {
        // The parent's VLANs cannot be enumerated.
        Microsoft::WRL::ComPtr<INetCfg> netCfg;
        ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg)));
        const CSlot slot(
            netCfg.Get(), 9, +[](INetCfg*, const GUID*, REFIID, void**) { return E_FAIL; });
        EXPECT_EQ(-1, create(0, host.Lock()));
        EXPECT_NE(std::string::npos, s_trace->Text().find("ERROR:  unable to enumerate vlasns!"));
    }
    EXPECT_TRUE(host.IsSuiteLockFree());
    ExpectUnchanged(change);
    // The team agent is told only of requests that are carried out.
    EXPECT_EQ("", Utf8(LabText(LAB_KEY, L"LastPreparedParent")));
    EXPECT_EQ(0, create(0, host.Lock()));
    EXPECT_EQ(Utf8(parent), Utf8(LabText(LAB_KEY, L"LastPreparedParent")));
}
