// VLANs created through the agent, as whole differences of the registry in the short notation of CVlanLab.

#include "Tests/Src/Agent/VlanScenario.h"

namespace
{
// What a creation changes, after others.
std::string Creation(const char* others, const char* id, const char* prepared = "")
{
    CVlanLab host(SMALL_HOST);
    host.Change(prepared);
    Create(host, others);
    host.CLabHost::Agent();
    const CRegistryChange change;
    Create(host, id);
    return Format(change, host.Vlans());
}

// The names of the values that a creation writes or deletes, in that order.
std::string Writes(CLabHost& host, const char* id)
{
    CJournal journal;
    journal.Start();
    Create(host, id);
    std::string names;
    for (std::string line : SplitLines(journal.Calls({"RegSetValueExW", "RegDeleteValueW", "RegDeleteKeyW"})))
    {
        line.resize(std::min(line.find(" -> "), line.size()));
        names += line.substr(line.find_last_of(" \\") + 1) + ' ';
    }
    return names;
}
std::string Names(CLabHost& host, const char* parent)
{
    std::string names;
    for (const CRavString& key : host.Vlans(parent))
    {
        CResult result;
        RAV_VLAN_INFO info;
        host.Agent().GetVlanInfo(result, key, info);
        names += Utf8(info.vlanName) + " ";
    }
    return names;
}
} // namespace

TEST(Create, ChangesOfTheRegistry)
{
    const std::string first = Creation("", "10");
    EXPECT_EQ(
        R"(~ 0001 *PriorityVLANTag SZ "1" -> "3"; + 0001 NetworkAddress SZ "001B21000001"; )"
        R"(~ 0001 TaggingMode SZ "0" -> DWORD 1; ~ 0001 VlanFiltering SZ "0" -> "1"; + 0001 VLANID MULTI_SZ "10"; )"
        R"(+ 0001 VlanMode DWORD 1; + 0001 XMSLoaded DWORD 1; + 0011 LogicalGroupID DWORD 1; )"
        R"(+ 0011 MediaType SZ "0"; + 0011 NetworkAddress SZ "001B21000001"; + 0011 RavVlanParentKey SZ "{1}"; )"
        R"(+ 0011 RavVlanType DWORD 1; + 0011 RavXmsMiniportKey SZ "{V1}"; + 0011 SupportedFeatures DWORD 8; )"
        R"(+ 0011 VLANDisplayName SZ "Port A - VLAN : Büro"; + 0011 VLANID DWORD 10; + 0011 VLANName SZ "Büro"; )"
        R"(+ {1} AdapterName SZ "Port A"; + {1} LogicalGroupID DWORD 1; )"
        R"(+ {1} MiniportBindingList MULTI_SZ "\Device\{V1}"; + {1} MiniportBindingListCount DWORD 1; )"
        R"(+ {1} PhysicalAdapterID DWORD 1; + {1} TaggingMode DWORD 1; + {1} TotalPhysicalAdapters DWORD 1; )"
        R"(+ XMS\Configuration\{1} EnableDHCP DWORD 1; ~ TcpIp\{1} EnableDHCP DWORD 1 -> 0)",
        CVlanLab::Short(first));
    EXPECT_EQ(R"(- ~ 0001 TaggingMode SZ "0" -> DWORD 1; - + 0001 VLANID MULTI_SZ "10"; - + 0001 VlanMode DWORD 1; )"
              R"(- + 0011 VLANID DWORD 10; - + {1} TaggingMode DWORD 1; + ~ 0001 TaggingMode SZ "0" -> DWORD 0; )"
              R"(+ + {1} TaggingMode DWORD 0)",
              CVlanLab::Short(CLabHost::Delta(first, Creation("", "0"))));
    const std::string further = Creation("10", "20");
    EXPECT_EQ(
        R"(~ 0001 VLANID MULTI_SZ "10" -> "10", "20"; + 0012 LogicalGroupID DWORD 1; + 0012 MediaType SZ "0"; )"
        R"(+ 0012 NetworkAddress SZ "001B21000001"; + 0012 RavVlanParentKey SZ "{1}"; + 0012 RavVlanType DWORD 1; )"
        R"(+ 0012 RavXmsMiniportKey SZ "{V2}"; + 0012 SupportedFeatures DWORD 8; )"
        R"(+ 0012 VLANDisplayName SZ "Port A - VLAN : Büro"; + 0012 VLANID DWORD 20; + 0012 VLANName SZ "Büro"; )"
        R"(~ {1} MiniportBindingList MULTI_SZ "\Device\{V1}" -> "\Device\{V1}", "\Device\{V2}"; )"
        R"(~ {1} MiniportBindingListCount DWORD 1 -> 2)",
        CVlanLab::Short(further));
    EXPECT_EQ(
        R"(- ~ 0001 VLANID MULTI_SZ "10" -> "10", "20"; - + 0012 VLANID DWORD 20; + ~ {1} TaggingMode DWORD 1 -> 3)",
        CVlanLab::Short(CLabHost::Delta(further, Creation("10", "0"))));
    EXPECT_EQ(R"(- ~ 0001 VLANID MULTI_SZ "10" -> "10", "20"; + ~ 0001 TaggingMode DWORD 0 -> 1; )"
              R"(+ + 0001 VLANID MULTI_SZ "20"; + + 0001 VlanMode DWORD 1; + ~ {1} TaggingMode DWORD 0 -> 3)",
              CVlanLab::Short(CLabHost::Delta(further, Creation("0", "20"))));
}

TEST(Create, FollowsTheParent)
{
    const std::string usual = Creation("", "10");
    const std::pair<const char*, const char*> CASES[] = {
        {"- 0001 VlanFiltering; - 0001 TaggingMode; - 0001 *PriorityVLANTag",
         R"(- ~ 0001 *PriorityVLANTag SZ "1" -> "3"; - ~ 0001 TaggingMode SZ "0" -> DWORD 1; )"
         R"(- ~ 0001 VlanFiltering SZ "0" -> "1"; + + 0001 TaggingMode DWORD 1)"},
        {"0001 VlanFiltering SZ 1; 0001 TaggingMode SZ 1; 0001 *PriorityVLANTag SZ 3; 0001 XMSLoaded DWORD 1",
         R"(- ~ 0001 *PriorityVLANTag SZ "1" -> "3"; - ~ 0001 TaggingMode SZ "0" -> DWORD 1; )"
         R"(- ~ 0001 VlanFiltering SZ "0" -> "1"; - + 0001 XMSLoaded DWORD 1; + ~ 0001 TaggingMode SZ "1" -> DWORD 1)"},
        {"0001 TaggingMode DWORD 1; 0001 XMSLoaded DWORD 7",
         R"(- ~ 0001 TaggingMode SZ "0" -> DWORD 1; - + 0001 XMSLoaded DWORD 1; + ~ 0001 XMSLoaded DWORD 7 -> 1)"},
        {"0001 NetworkAddress SZ 02AA00000001",
         R"(- + 0001 NetworkAddress SZ "001B21000001"; - + 0011 NetworkAddress SZ "001B21000001"; )"
         R"(+ + 0011 NetworkAddress SZ "02AA00000001")"},
        {R"(TcpIp\{1} EnableDHCP DWORD 0)",
         R"(- + XMS\Configuration\{1} EnableDHCP DWORD 1; - ~ TcpIp\{1} EnableDHCP DWORD 1 -> 0; )"
         R"(+ + XMS\Configuration\{1} EnableDHCP DWORD 0)"},
        // Without a DHCP flag nothing is kept for later, and DHCP is switched off all the same.
        {R"(- TcpIp\{1} EnableDHCP)",
         R"(- + XMS\Configuration\{1} EnableDHCP DWORD 1; - ~ TcpIp\{1} EnableDHCP DWORD 1 -> 0; )"
         R"(+ + XMS\Configuration\{1}; + + TcpIp\{1} EnableDHCP DWORD 0)"},
        {R"(- TcpIp\{1})", R"(- + XMS\Configuration\{1} EnableDHCP DWORD 1; - ~ TcpIp\{1} EnableDHCP DWORD 1 -> 0; )"
                           R"(+ + XMS\Configuration\{1})"},
        {"0001 NetworkAddress DWORD 1; 0001 VlanFiltering DWORD 0; 0001 *PriorityVLANTag MULTI_SZ 1",
         R"(- ~ 0001 *PriorityVLANTag SZ "1" -> "3"; - + 0001 NetworkAddress SZ "001B21000001"; )"
         R"(- ~ 0001 VlanFiltering SZ "0" -> "1"; + ~ 0001 NetworkAddress DWORD 1 -> SZ "001B21000001")"},
        {"{2} LogicalGroupID DWORD 7",
         R"(- + 0011 LogicalGroupID DWORD 1; - + {1} LogicalGroupID DWORD 1; + + 0011 LogicalGroupID DWORD 8; )"
         R"(+ + {1} LogicalGroupID DWORD 8)"},
        // All were removed by hand, the driver's entry was left.
        {R"({1} LogicalGroupID DWORD 4; {1} MiniportBindingList MULTI_SZ \Device\{77}; {1} MiniportBindingListCount DWORD 1; 0001 VLANID MULTI_SZ 5; 0001 VlanMode DWORD 1)",
         R"(- + 0001 VLANID MULTI_SZ "10"; - + 0001 VlanMode DWORD 1; - + 0011 LogicalGroupID DWORD 1; )"
         R"(- + {1} LogicalGroupID DWORD 1; - + {1} MiniportBindingList MULTI_SZ "\Device\{V1}"; )"
         R"(- + {1} MiniportBindingListCount DWORD 1; - + XMS\Configuration\{1} EnableDHCP DWORD 1; )"
         R"(- ~ TcpIp\{1} EnableDHCP DWORD 1 -> 0; + ~ 0001 VLANID MULTI_SZ "5" -> "5", "10"; )"
         R"(+ + 0011 LogicalGroupID DWORD 5; + ~ {1} LogicalGroupID DWORD 4 -> 5; )"
         R"(+ ~ {1} MiniportBindingList MULTI_SZ "\Device\{77}" -> "\Device\{V1}")"},
    };
    for (const auto& [parent, delta] : CASES)
        EXPECT_EQ(delta, CVlanLab::Short(CLabHost::Delta(usual, Creation("", "10", parent)))) << parent;
}

TEST(Create, WritesInOrder)
{
    CLabHost host(R"({ "adapters": [ { "name": "Port A", "mac": "001B21000001",
                                       "parameters": { "VlanFiltering": "0", "TaggingMode": "0" } } ] })");
    host.Agent();
    EXPECT_EQ("NetworkAddress XMSLoaded VlanFiltering TaggingMode MediaType EnableDHCP EnableDHCP LogicalGroupID "
              "PhysicalAdapterID AdapterName TotalPhysicalAdapters MiniportBindingList MiniportBindingListCount VLANID "
              "VlanMode TaggingMode TaggingMode VLANID LogicalGroupID RavXmsMiniportKey RavVlanParentKey RavVlanType "
              "NetworkAddress SupportedFeatures VLANName VLANDisplayName SupportedFeatures "
              "{A0000001-0000-4000-8000-000000000001} NetworkAddress ",
              Writes(host, "10"));
    EXPECT_EQ("MediaType VLANID LogicalGroupID RavXmsMiniportKey RavVlanParentKey RavVlanType NetworkAddress "
              "SupportedFeatures VLANName VLANDisplayName SupportedFeatures MiniportBindingList "
              "MiniportBindingListCount VLANID VlanMode TaggingMode TaggingMode NetworkAddress ",
              Writes(host, "20"));
}

TEST(Create, SeveralEndWithTheFirstThatFails)
{
    CLabHost host;
    ASSERT_TRUE(host.Create("Port A", 7, L"VLAN9").Succeeded());
    CJournal journal;
    journal.Start();
    class CSaboteur final : public CRavVlanProgress
    {
      public:
        explicit CSaboteur(CJournal& journal) : m_journal(journal) {}
        void OnVlanCreated(DWORD id, size_t done, size_t total) override
        {
            m_notes += std::to_string(id) + ":" + std::to_string(done) + "/" + std::to_string(total) + " ";
            if (id == 9)
                m_journal.FailNext("RegSetValueExW");
        }
        std::string m_notes;
        CJournal& m_journal;
    } saboteur(journal);
    CResult result;
    s_trace->Forget();
    host.Agent().CreateMultipleVLANs(result, host.Key("Port A"), L"8,0,9,10", RAV_AUTO_VLAN_NAMES, 0, &saboteur,
                                     host.Lock());
    EXPECT_EQ(CResult::FAILED, result.ulErrCode);
    EXPECT_EQ("8:1/4 9:2/4 ", saboteur.m_notes);
    EXPECT_NE(std::string::npos, s_trace->Text().find("VLAN 10 could not be created; 2 of 4 were created"));
    host.Agent().CreateMultipleVLANs(result, host.Key("Port A"), L"0,11", RAV_AUTO_VLAN_NAMES, 0, nullptr, host.Lock());
    std::string names;
    for (const CRavString& key : host.Vlans("Port A"))
    {
        RAV_VLAN_INFO info;
        host.Agent().GetVlanInfo(result, key, info);
        names += std::to_string(info.vlanId) + "=" + Utf8(info.vlanName) + " ";
    }
    EXPECT_EQ("7=VLAN9 8=VLAN8 9=VLAN9-2 11=VLAN11 0=Untagged ", names);
}

TEST(Create, SeveralEndWhereTheirClientStopsThem)
{
    struct CStopping final : CRavVlanProgress
    {
        void OnVlanCreated(DWORD, size_t done, size_t) override { m_done = done; }
        bool GoesOn() override { return m_done < 2; }
        size_t m_done = 0;
    } progress;
    CLabHost host;
    CResult result;
    host.Agent().CreateMultipleVLANs(result, host.Key("Port A"), L"10-14", RAV_AUTO_VLAN_NAMES, 0, &progress,
                                     host.Lock());
    EXPECT_EQ(static_cast<DWORD>(ERROR_CANCELLED), result.ulErrCode);
    EXPECT_EQ("VLAN10 VLAN11 ", Names(host, "Port A"));
}

TEST(Create, NamesAreGeneratedForAListAloneAndNeverTwice)
{
    CLabHost host;
    EXPECT_EQ(0u, host.Create("Port A", 5, L"vlan10").ulErrCode);
    EXPECT_EQ(0u, host.Create("Port A", 6, RAV_AUTO_VLAN_NAMES).ulErrCode);
    EXPECT_EQ("vlan10 AutoGenerateVlanNames ", Names(host, "Port A"));
    // In each row another of the calls that ask for the VLANs fails.
    static int s_coming;
    Microsoft::WRL::ComPtr<INetCfg> netCfg;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg)));
    using QUERY = HRESULT(STDMETHODCALLTYPE*)(INetCfg*, const GUID*, REFIID, void**);
    static QUERY s_query = nullptr;
    s_coming = 0;
    for (int failing = 1; s_coming <= 0; ++failing)
    {
        CResult result;
        {
            const CSlot slot(
                netCfg.Get(), 9, +[](INetCfg* self, const GUID* kind, REFIID iid, void** out) {
                    return --s_coming == 0 ? E_FAIL : s_query(self, kind, iid, out);
                });
            s_query = reinterpret_cast<QUERY>(slot.Original());
            s_coming = failing;
            host.Agent().CreateMultipleVLANs(result, host.Key("Port A"), L"10", RAV_AUTO_VLAN_NAMES, 0, nullptr,
                                             host.Lock());
        }
        const std::string created = result.Succeeded() ? "VLAN10-2 " : "";
        EXPECT_EQ("vlan10 AutoGenerateVlanNames " + created, Names(host, "Port A")) << failing;
        EXPECT_TRUE(!result.Succeeded() || host.Remove(host.Vlan("Port A", 10)).Succeeded());
    }
}

TEST(Create, ANameThatIsRefusedComesBeforeTheFirstVlan)
{
    struct CNames final : CRavVlanProgress
    {
        void OnVlanCreated(DWORD, size_t, size_t) override {}
        void NameVlan(DWORD vlanId, CRavString& name) override { name = vlanId == 10 ? L"A" : L"a|b"; }
    } progress;
    CLabHost host;
    CResult result;
    host.Agent().CreateMultipleVLANs(result, host.Key("Port A"), L"10-11", RAV_AUTO_VLAN_NAMES, 0, &progress,
                                     host.Lock());
    EXPECT_EQ(0x33000088u, result.ulErrCode);
    EXPECT_EQ("", Names(host, "Port A"));
}

TEST(Create, WhatIsThrownAfterAVlanIsThereTakesNothingBack)
{
    struct CThrowing final : CRavVlanProgress
    {
        void OnVlanCreated(DWORD, size_t, size_t) override { CSlot::Throw(); }
    } progress;
    CLabHost host;
    using RELOAD = CResult (*)(CRavCoreAgentPvtIntf*, const CRavString&);
    static RELOAD s_reload = nullptr;
    static int s_calls;
    s_calls = 0;
    CRavCoreAgentPvtIntf* const core = host.Agent().GetCoreAgentPvt();
    // No driver is loaded that could be told. Each VLAN queues the parent's reload when it is created, and once more in
    // place of the announcement.
    const CSlot slot(
        core, Place(&CRavCoreAgentPvtIntf::UnloadMiniportDuringApplyDone),
        +[](CRavCoreAgentPvtIntf* self, const CRavString& adapter) {
            if (++s_calls % 2 == 0)
                CSlot::Throw();
            return s_reload(self, adapter);
        });
    s_reload = reinterpret_cast<RELOAD>(slot.Original());
    CResult result;
    host.Agent().CreateMultipleVLANs(result, host.Key("Port A"), L"10-12", RAV_AUTO_VLAN_NAMES, 0, &progress,
                                     host.Lock());
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(6, s_calls);
    EXPECT_EQ("VLAN10 VLAN11 VLAN12 ", Names(host, "Port A"));
}

TEST(Client, WaitsForNobodyAndMayWriteKeysInLowerCase)
{
    CLabHost host;
    CResult result;
    RAV_LOCK_TOKEN token;
    CRavString key = host.Key("Port A");
    key.MakeLower();
    host.Agent().StartLock(result, {{GetCurrentProcessId(), 77}, 0}, token);
    const CRegistryChange change;
    EXPECT_EQ(DWORD{ERROR_LOCK_VIOLATION}, host.Create("Port A", 10, L"Ten").ulErrCode);
    EXPECT_EQ(CResult::FAILED, host.Remove(L"{any}").ulErrCode);
    EXPECT_EQ("", Format(change, {}));
    host.Agent().DoneLock(result, token);
    host.Agent().CreateVlan(result, key, 10, RAV_AUTO_VLAN_NAMES, 0, host.Lock());
    EXPECT_EQ(0u, result.ulErrCode);
    CRavString vlan = host.Vlan("Port A", 10);
    vlan.MakeLower();
    EXPECT_EQ(0u, host.Remove(vlan).ulErrCode);
    EXPECT_EQ(0u, CLabHost::Miniports());
}
