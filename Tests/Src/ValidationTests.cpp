// What is refused, and with which message; which parents can carry VLANs.

#include "Src/RavVlanIdRange.h"
#include "Tests/Src/LabFixture.h"

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

std::string Numbers(const CRavVlanMessages& messages)
{
    std::string text;
    for (const RAV_VALIDATION_MESSAGE& message : messages)
    {
        const std::string number = std::to_string(message.dwCode & 0xFFFF);
        text += (text.empty() ? "" : " ") + number + (message.dwSeverity == RAV_SEVERITY_WARNING ? "w" : "");
    }
    return text;
}

std::string Validate(CLabHost& host, const std::string& parent, const wchar_t* ids, const wchar_t* name)
{
    CResult result;
    CRavVlanMessages messages;
    host.Agent().ValidateNewVlan(result, host.Key(parent), ids, name, messages, host.Client());
    EXPECT_EQ(0u, result.ulErrCode);
    return Numbers(messages);
}

std::string FullHost(size_t count, const std::string& parent)
{
    std::string vlans;
    for (size_t id = 1; id <= count; ++id)
        vlans += std::string(vlans.empty() ? "" : ",") + R"({ "parent": ")" + parent + R"(", "id": )" +
                 std::to_string(id) + R"(, "name": "N)" + std::to_string(id) + R"(" })";
    std::string text = SMALL_HOST;
    return text.replace(text.rfind('}'), 1, ", \"vlans\": [" + vlans + "] }");
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
    // Neither memory nor time for what lies beyond all that could be legal.
    for (const wchar_t* const text : {L"1-2147483647", L"4093-99999", L"5000-2147483647"})
    {
        std::vector<DWORD> ids;
        EXPECT_TRUE(RavParseVlanIds(text, ids)) << Utf8(text);
        EXPECT_TRUE(ids.size() > 64 && ids.size() < 5000 && ids.back() > 4094) << Utf8(text);
    }
}

TEST(Validation, NamesAndIds)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Port A", 10, L"Büro").ulErrCode);
    const std::wstring longest(32, L'\x00DC');
    const std::wstring tooLong(33, L'x');
    const struct
    {
        const wchar_t* ids;
        const wchar_t* name;
        const char* expected;
    } CASES[] = {
        {L"11", L"Fine", ""},
        {L"11", longest.c_str(), ""},
        {L"11", L"\xD83D\xDE00 a\x0301", ""},
        {L"11", L"", "154"},
        {L"11", L" x", "135"},
        {L"11", tooLong.c_str(), "153"},
        {L"11", L"a|b", "136"},
        {L"11", L" |", "135"},
        {L"11", L"BÜRO", "137 137"},
        {L"10", L"New", "143"},
        {L"4095", L"New", "142"},
        {L"4095", L"a?", "136 142"},
        {L"99999999999", L"New", "142"},
        {L"-1", L"New", "141"},
        {L"5-5", L"New", "141"},
        {L"0", L"New", ""},
        {L"9-11", RAV_AUTO_VLAN_NAMES, "138"},
        {L"20,20", RAV_AUTO_VLAN_NAMES, "138"},
        {L"20,21", L"Same", "137"},
        {L"4090-4100", RAV_AUTO_VLAN_NAMES, "141"},
        {L"1-2147483647", RAV_AUTO_VLAN_NAMES, "141 139 138"},
        {L"20-83", RAV_AUTO_VLAN_NAMES, "139"},
        {L"20-82", RAV_AUTO_VLAN_NAMES, ""},
    };
    for (const auto& one : CASES)
        EXPECT_EQ(one.expected, Validate(host, "Port A", one.ids, one.name)) << Utf8(one.ids) << " " << Utf8(one.name);
}

TEST(Validation, Parents)
{
    CLabHost host;
    const struct
    {
        const char* parent;
        const char* expected;
    } CASES[] = {
        {"Port A", ""},     {"Port C", "148"},   {"Unloaded", "146 148"}, {"Queues", "149w"},
        {"Foreign", "171"}, {"Member 1", "152"}, {"Team", "151"},         {"Virtual", ""},
    };
    for (const auto& one : CASES)
        EXPECT_EQ(one.expected, Validate(host, one.parent, L"10", L"New")) << one.parent;
    EXPECT_EQ("147", Validate(host, "Port A", L"0", L"New"));
    host.Hive().Add(R"(Lab\Adapters\{A0000001-0000-4000-8000-000000000001}  Vorn  REG_DWORD  0)");
    EXPECT_EQ("174", Validate(host, "Port A", L"10", L"New"));
    host.Hive().Add(R"(Class\0001\ZentraNdi  XMSSupportFilter  REG_DWORD  3)");
    EXPECT_EQ("148", Validate(host, "Port A", L"10", L"New"));
}

TEST(Validation, FullParents)
{
    CLabHost full(FullHost(64, "Port A"));
    EXPECT_EQ("144", Validate(full, "Port A", L"100", L"New"));
    full.CloseAgent();
}

TEST(Validation, FullVirtualDevices)
{
    CLabHost full(FullHost(63, "Virtual"));
    EXPECT_EQ("145", Validate(full, "Virtual", L"100", L"New"));
    EXPECT_EQ("140", Validate(full, "Virtual", L"100,101", RAV_AUTO_VLAN_NAMES));
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
    host.Agent();
    const CRegistryChange change;
    EXPECT_EQ(RAV_CODE_NOT_VALID, host.Create("Port C", 10, L"New").ulErrCode);
    EXPECT_EQ(RAV_CODE_NOT_VALID, host.Create("Team", 10, L"New").ulErrCode);
    EXPECT_EQ(RAV_CODE_NOT_VALID, host.Create("Port A", 4095, L"New").ulErrCode);
    CResult result;
    host.Agent().CreateVlan(result, host.Key("Port A"), 10, L"New", 0, {{1234, 5}, 0}); // nobody's identity
    EXPECT_EQ(0xFFFFFFFFu, result.ulErrCode);
    host.Agent().RemoveVlan(result, host.Lock(), L"");
    EXPECT_EQ(0xFFFFFFFFu, result.ulErrCode);
    host.Agent().RemoveVlan(result, host.Lock(), L"{00000000-0000-0000-0000-000000000000}");
    EXPECT_EQ(0xFFFFFFFFu, result.ulErrCode);
    EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
}
