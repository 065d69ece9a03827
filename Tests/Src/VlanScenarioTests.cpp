// VLANs created and removed through the agent, as whole differences of the registry, and with every platform call
// failing.

#include "Tests/Src/LabFixture.h"

#include <random>
#include <set>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

// Of a change, only what concerns the VLAN format: the settings and what the platform itself keeps are left out.
std::string Format(const std::string& text)
{
    std::string kept;
    for (const std::string& line : SplitLines(text))
    {
        static const std::regex format(R"(. (XMS|TcpIp|Class\\\d{4}  ).*)");
        static const std::regex platform(R"(.*  (ComponentId|Driver\w+|ProviderName|DeviceInstanceID|Characteristics|)"
                                         R"(NetCfgInstanceId|\*NumRssQueues)  .*)");
        if (std::regex_match(line, format) && !std::regex_match(line, platform))
            kept += line + "\n";
    }
    return Lines(kept);
}

std::string ParentState(CLabHost& host)
{
    const std::string driver = "XMS\\Adapters\\" + Utf8(host.Key("Port A"));
    return "ids " + host.Hive().Value("Class\\0001", "VLANID") + " | mode " +
           host.Hive().Value("Class\\0001", "VlanMode") + " | in use " +
           host.Hive().Value("Class\\0001", "TaggingMode") + " | driver " + host.Hive().Value(driver, "TaggingMode");
}
} // namespace

TEST(Create, FirstTaggedVlanOfAnAdapter)
{
    CLabHost host;
    host.Agent();
    const CRegistryChange change;
    ASSERT_EQ(0u, host.Create("Port A", 10, L"Büro").ulErrCode);
    EXPECT_EQ(Lines(R"(
        ~ Class\0001  *PriorityVLANTag  REG_SZ  "1" -> "3"
        + Class\0001  NetworkAddress  REG_SZ  "001B21000001"
        ~ Class\0001  TaggingMode  REG_SZ  "0" -> REG_DWORD  1
        ~ Class\0001  VlanFiltering  REG_SZ  "0" -> "1"
        + Class\0001  VLANID  REG_MULTI_SZ  "10"
        + Class\0001  VlanMode  REG_DWORD  1
        + Class\0001  XMSLoaded  REG_DWORD  1
        + Class\0011  LogicalGroupID  REG_DWORD  1
        + Class\0011  MediaType  REG_SZ  "0"
        + Class\0011  NetworkAddress  REG_SZ  "001B21000001"
        + Class\0011  RavVlanParentKey  REG_SZ  "{A0000001-0000-4000-8000-000000000001}"
        + Class\0011  RavVlanType  REG_DWORD  1
        + Class\0011  RavXmsMiniportKey  REG_SZ  "{V1}"
        + Class\0011  SupportedFeatures  REG_DWORD  8
        + Class\0011  VLANDisplayName  REG_SZ  "Port A - VLAN : Büro"
        + Class\0011  VLANID  REG_DWORD  10
        + Class\0011  VLANName  REG_SZ  "Büro"
        + XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  AdapterName  REG_SZ  "Port A"
        + XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  LogicalGroupID  REG_DWORD  1
        + XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  MiniportBindingList  REG_MULTI_SZ  "\Device\{V1}"
        + XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  MiniportBindingListCount  REG_DWORD  1
        + XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  PhysicalAdapterID  REG_DWORD  1
        + XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  TaggingMode  REG_DWORD  1
        + XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  TotalPhysicalAdapters  REG_DWORD  1
        + XMS\Configuration\{A0000001-0000-4000-8000-000000000001}  EnableDHCP  REG_DWORD  1
        ~ TcpIp\{A0000001-0000-4000-8000-000000000001}  EnableDHCP  REG_DWORD  1 -> 0
    )"),
              Format(CLabHost::Readable(change.Text(), host.Vlans())));
}

TEST(Create, FurtherVlanOnlyAddsItself)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Port A", 10, L"One").ulErrCode);
    const CRegistryChange change;
    ASSERT_EQ(0u, host.Create("Port A", 20, L"Two").ulErrCode);
    EXPECT_EQ(Lines(R"(
        ~ Class\0001  VLANID  REG_MULTI_SZ  "10" -> "10", "20"
        + Class\0012  LogicalGroupID  REG_DWORD  1
        + Class\0012  MediaType  REG_SZ  "0"
        + Class\0012  NetworkAddress  REG_SZ  "001B21000001"
        + Class\0012  RavVlanParentKey  REG_SZ  "{A0000001-0000-4000-8000-000000000001}"
        + Class\0012  RavVlanType  REG_DWORD  1
        + Class\0012  RavXmsMiniportKey  REG_SZ  "{V2}"
        + Class\0012  SupportedFeatures  REG_DWORD  8
        + Class\0012  VLANDisplayName  REG_SZ  "Port A - VLAN : Two"
        + Class\0012  VLANID  REG_DWORD  20
        + Class\0012  VLANName  REG_SZ  "Two"
        ~ XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  MiniportBindingList  REG_MULTI_SZ  "\Device\{V1}" -> "\Device\{V1}", "\Device\{V2}"
        ~ XMS\Adapters\{A0000001-0000-4000-8000-000000000001}  MiniportBindingListCount  REG_DWORD  1 -> 2
    )"),
              Format(CLabHost::Readable(change.Text(), host.Vlans())));
}

TEST(Create, TaggingModesFollowTheVlansOfTheParent)
{
    CLabHost host;
    CResult result;
    host.Agent().CreateSingleVlan(result, host.Key("Port A"), 0, L"Untagged", 0);
    ASSERT_EQ(0u, result.ulErrCode);
    EXPECT_EQ("ids  | mode  | in use REG_DWORD  0 | driver REG_DWORD  0", ParentState(host));
    ASSERT_EQ(0u, host.Create("Port A", 5, L"Five").ulErrCode);
    EXPECT_EQ("ids REG_MULTI_SZ  \"5\" | mode REG_DWORD  1 | in use REG_DWORD  1 | driver REG_DWORD  3",
              ParentState(host));
    ASSERT_EQ(0u, host.Create("Port A", 6, L"Six").ulErrCode);
    // The untagged VLAN goes: the tagged ones keep the mode of tagged VLANs alone.
    ASSERT_EQ(0u, host.Remove(host.Vlan("Port A", 0)).ulErrCode);
    EXPECT_EQ("ids REG_MULTI_SZ  \"5\", \"6\" | mode REG_DWORD  1 | in use REG_DWORD  1 | driver REG_DWORD  1",
              ParentState(host));
    ASSERT_EQ(0u, host.Remove(host.Vlan("Port A", 5)).ulErrCode);
    EXPECT_EQ("ids REG_MULTI_SZ  \"6\" | mode REG_DWORD  1 | in use REG_DWORD  1 | driver REG_DWORD  1",
              ParentState(host));
}

TEST(Create, SwitchesVirtualMachineQueuesOff)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Queues", 10, L"Ten").ulErrCode);
    EXPECT_EQ("REG_SZ  \"0\"", host.Hive().Value("Class\\0006", "*VMQ"));
}

TEST(Create, AdaptersWithoutParametersAndDhcpStayWithoutThem)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Port B", 10, L"Ten").ulErrCode);
    EXPECT_EQ("", host.Hive().Value("Class\\0002", "VlanFiltering"));
    EXPECT_EQ("", host.Hive().Value("Class\\0002", "*PriorityVLANTag"));
    EXPECT_EQ("REG_DWORD  0", host.Hive().Value("XMS\\Configuration\\" + Utf8(host.Key("Port B")), "EnableDHCP"));
}

TEST(Create, SeveralGetGeneratedNamesAndTheUntaggedOneComesLast)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Port A", 7, L"VLAN9").ulErrCode);
    CResult result;
    host.Agent().CreateMultipleVLANs(result, host.Key("Port A"), L"8,0,9", RAV_AUTO_VLAN_NAMES, 0, nullptr,
                                     host.Lock());
    ASSERT_EQ(0u, result.ulErrCode);
    std::string names;
    for (const CRavString& key : host.Vlans("Port A"))
    {
        RAV_VLAN_INFO info;
        host.Agent().GetVlanInfo(result, key, info);
        names += std::to_string(info.vlanId) + "=" + Utf8(info.vlanName) + " ";
    }
    EXPECT_EQ("7=VLAN9 8=VLAN8 9=VLAN9-2 0=Untagged ", names);
}

TEST(Remove, LastVlanLeavesOnlyWhatIsMeantToStay)
{
    CLabHost host;
    host.Agent();
    const CRegistryChange change;
    ASSERT_EQ(0u, host.Create("Port A", 10, L"Ten").ulErrCode);
    ASSERT_EQ(0u, host.Remove(host.Vlan("Port A", 10)).ulErrCode);
    EXPECT_EQ(Lines(R"(
        ~ Class\0001  *PriorityVLANTag  REG_SZ  "1" -> "3"
        + Class\0001  NetworkAddress  REG_SZ  ""
        + XMS\Configuration
    )"),
              Format(CLabHost::Readable(change.Text(), {})));
    EXPECT_EQ(0u, CLabHost::Miniports());
}

TEST(Remove, LastTaggedVlanTakesTheUntaggedOneAlong)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Port A", 10, L"Ten").ulErrCode);
    ASSERT_EQ(0u, host.Create("Port A", 0, L"Zero").ulErrCode);
    ASSERT_EQ(0u, host.Remove(host.Vlan("Port A", 10)).ulErrCode);
    EXPECT_TRUE(host.Vlans().empty());
    EXPECT_EQ(0u, CLabHost::Miniports());
}

TEST(Remove, StrayEntriesOfTheIdListGoToo)
{
    CLabHost host;
    for (const DWORD id : {5u, 6u, 7u})
        ASSERT_EQ(0u, host.Create("Port A", id, CRavString(static_cast<int>(id))).ulErrCode);
    host.Hive().Add(R"(Class\0001  VLANID  REG_MULTI_SZ  5 0 x 6 7)");
    ASSERT_EQ(0u, host.Remove(host.Vlan("Port A", 5)).ulErrCode);
    EXPECT_EQ("REG_MULTI_SZ  \"6\", \"7\"", host.Hive().Value("Class\\0001", "VLANID"));
}

TEST(Remove, ImplausibleBindingCountFails)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Port A", 5, L"Five").ulErrCode);
    ASSERT_EQ(0u, host.Create("Port A", 6, L"Six").ulErrCode);
    const std::string driver = "XMS\\Adapters\\" + Utf8(host.Key("Port A"));
    host.Hive().Add(driver + "  MiniportBindingListCount  REG_DWORD  1");
    EXPECT_EQ(0xFFFFFFFFu, host.Remove(host.Vlan("Port A", 5)).ulErrCode);
    EXPECT_EQ("REG_DWORD  1", host.Hive().Value(driver, "MiniportBindingListCount"));
    EXPECT_TRUE(CLabHost::IsNetworkLockFree());
}

TEST(Remove, VlansOnTheHyperVSwitchAreRefusedBeforeAnyChange)
{
    CLabHost host;
    ASSERT_EQ(0u, host.Create("Port A", 10, L"Ten").ulErrCode);
    ASSERT_EQ(0u, host.Create("Port A", 0, L"Zero").ulErrCode);
    for (const DWORD bound : {10u, 0u})
    {
        host.Hive().Add("Services\\VMSP\\Linkage  Bind  REG_MULTI_SZ  \\Device\\" + Utf8(host.Vlan("Port A", bound)));
        const CRegistryChange change;
        const CResult result = host.Remove(host.Vlan("Port A", 10));
        EXPECT_EQ(RAV_CODE_HYPER_V, result.ulErrCode) << bound;
        EXPECT_EQ(2u, result.ulErrClass);
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
    }
}

TEST(Remove, LastVlanOverATeamFreesItsMembers)
{
    const char* const vlans = R"(, "vlans": [ { "parent": "Team", "id": 40, "name": "Backup" },
                                              { "parent": "Team", "id": 0, "name": "Untagged" } ] })";
    std::string text = SMALL_HOST;
    CLabHost host(text.replace(text.rfind('}'), 1, vlans));
    ASSERT_EQ(2u, host.Vlans("Team").size());
    EXPECT_EQ("REG_MULTI_SZ  \"40\"", host.Hive().Value("Class\\0008", "VLANID"));
    ASSERT_EQ(0u, host.Remove(host.Vlan("Team", 40)).ulErrCode);
    EXPECT_TRUE(host.Vlans().empty());
    for (const char* const member : {"Class\\0008", "Class\\0009"})
    {
        EXPECT_EQ("", host.Hive().Value(member, "VLANID"));
        EXPECT_EQ("", host.Hive().Value(member, "VlanMode"));
        EXPECT_EQ("REG_SZ  \"0\"", host.Hive().Value(member, "VlanFiltering"));
        EXPECT_EQ("REG_SZ  \"0\"", host.Hive().Value(member, "TaggingMode"));
    }
    EXPECT_EQ("REG_DWORD  1", host.Hive().Value("Lab\\Teams\\" + Utf8(host.Key("Team")), "LastVlanNotices"));
}

// Creations and removals in random order: after each step the rules that the driver relies on hold.
TEST(Random, TheRegistryStaysConsistent)
{
    CLabHost host;
    std::mt19937 random(20);
    std::set<DWORD> ids;
    const std::string driver = "XMS\\Adapters\\" + Utf8(host.Key("Port A"));
    for (int step = 0; step < 60; ++step)
    {
        const DWORD id = random() % 8 == 0 && !ids.empty() ? 0 : 1 + random() % 12;
        if (ids.count(id) == 0)
        {
            CRavString name;
            name.FormatString(L"N%u", id);
            ASSERT_EQ(0u, host.Create("Port A", id, name).ulErrCode) << step;
            ids.insert(id);
        }
        else
        {
            ASSERT_EQ(0u, host.Remove(host.Vlan("Port A", id)).ulErrCode) << step;
            ids.erase(id);
            if (ids == std::set<DWORD>{0})
                ids.clear();
        }
        const size_t tagged = ids.size() - ids.count(0);
        ASSERT_EQ(ids.size(), host.Vlans("Port A").size()) << step;
        ASSERT_EQ(ids.size(), CLabHost::Miniports()) << step;
        ASSERT_EQ(tagged,
                  LabList(L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002BE10318}\\0001",
                          L"VLANID")
                      .size())
            << step;
        const CRavString entry = LabPath(XMS_ADAPTERS_KEY, host.Key("Port A"));
        ASSERT_EQ(ids.size(), LabList(entry, L"MiniportBindingList").size()) << step;
        ASSERT_EQ(ids.size(), LabNumber(entry, L"MiniportBindingListCount", 0)) << step;
        if (ids.empty())
            continue;
        ASSERT_EQ(tagged == 0 ? 0u : ids.count(0) != 0 ? 3u : 1u, LabNumber(entry, L"TaggingMode", 9)) << step;
    }
}
