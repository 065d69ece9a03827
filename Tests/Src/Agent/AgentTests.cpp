// The agent itself: its start, what it lists and reads, how it creates lists of VLANs, the passes of an applied
// transaction, and the module as its clients have it.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/Helper.h"
#include "Tests/Common/Src/ModuleTrace.h"
#include "Tests/Src/LabFixture.h"

#include <atomic>
#include <cstring>
#include <thread>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);
CModuleTrace* const s_trace = CModuleTrace::Register();

// Its VLANs have the instance numbers 0003, 0004 and 0005.
const char* const VLAN_HOST = R"({
    "adapters": [ { "name": "Port A", "mac": "001B21000001" }, { "name": "Port B", "mac": "001B21000002" } ],
    "vlans": [ { "parent": "Port A", "id": 10, "name": "Ten" }, { "parent": "Port A", "id": 0, "name": "Zero" },
               { "parent": "Port B", "id": 20, "name": "Twenty" } ]
})";

CRavString LowerCase(CRavString text)
{
    text.MakeLower();
    return text;
}

// The lines traced since the last Forget that hold one of the words.
std::string Traced(const std::string& words)
{
    std::string text;
    for (const std::string& line : SplitLines(s_trace->Text()))
        if (std::regex_search(line, std::regex(words)))
            text += line.substr(line.find(' ') + 1) + "\n";
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

[[noreturn]] void Throw()
{
    throw std::runtime_error("a core agent that misbehaves");
}

// An agent that notes what the passes ask of it; "!" when the restart flag comes in set.
class CNotingAgent final : public CRavNetAgentPvt
{
  public:
    void UnloadDeviceMiniport(CResult& result, const CRavString& name, bool& reboot) override
    {
        Note("unload ", result, name, reboot);
    }
    void LoadDeviceMiniport(CResult& result, const CRavString& name, bool& reboot) override
    {
        Note("load ", result, name, reboot);
    }
    std::string m_notes;

  private:
    void Note(const char* what, CResult& result, const CRavString& name, bool& reboot)
    {
        m_notes += what + Utf8(name) + (reboot ? "! " : " ");
        reboot = reboot || name == L"Reboot";
        if (name == L"Bad" && *what == 'l')
            throw std::runtime_error("a driver that misbehaves");
        result = name == L"Bad" ? CResult() : CResult::Success();
    }
};

template <typename Function>
Function* Export(HMODULE module, const char* name)
{
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// The names that a module exports; for those of the compiler, the class they belong to.
std::set<std::string> Exports(HMODULE module)
{
    auto* const base = reinterpret_cast<const BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    std::set<std::string> found;
    for (DWORD index = 0; index < exports->NumberOfNames; ++index)
    {
        const std::string name = reinterpret_cast<const char*>(base + names[index]);
        found.insert(name.find("CRavVlanAgentIntf") != std::string::npos ? "CRavVlanAgentIntf" : name);
    }
    return found;
}
} // namespace

// --- inventory ------------------------------------------------------------------------------------------------------

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
        // Where the driver would find nothing it finds the key now, as it is spelled; all else stays somebody's choice.
        EXPECT_EQ(isEmpty ? "REG_SZ  \"" + Utf8(key) + "\"" : before,
                  host.Hive().Value("Class\\0003", "RavXmsMiniportKey"));
    }
}

// Nor does it stand in the way of the other VLANs of its parent.
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
        journal.FailNext("CoCreateInstance", 0, 3); // behind the session and the enumeration: its key is not found, too
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
        // Given back before it is loaded again, but for those who are inside it.
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

// --- creation -------------------------------------------------------------------------------------------------------

TEST(Creation, NamesAreGeneratedForAListAloneAndNeverTwice)
{
    CLabHost host;
    EXPECT_EQ(0u, host.Create("Port A", 5, L"vlan10").ulErrCode);
    EXPECT_EQ(0u, host.Create("Port A", 6, RAV_AUTO_VLAN_NAMES).ulErrCode);
    EXPECT_EQ("vlan10 AutoGenerateVlanNames ", Names(host, "Port A"));
    // Each time another question for the VLANs fails.
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

TEST(Creation, WhatIsThrownAfterAVlanIsThereTakesNothingBack)
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
    // No driver is there to be told. For each VLAN the parent's reload is queued before, and again instead.
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

// --- transactions ---------------------------------------------------------------------------------------------------

TEST(ApplyDone, PassesRunInOrderAndOutliveFailures)
{
    const CPrivateHive hive;
    CNotingAgent agent;
    for (const wchar_t* const name : {L"A", L"", L"Reboot", L"Bad", L"A"})
        agent.AddForUnload(name);
    agent.AddForReload(L"Bad");
    s_trace->Forget();
    CResult result;
    bool unloadReboot = false;
    bool loadReboot = false;
    bool nothing = false;
    agent.ApplyDone_UnloadDevice(result, unloadReboot);
    EXPECT_EQ(0u, result.ulErrCode);
    agent.ApplyDone_LoadDevice(result, loadReboot);
    EXPECT_EQ(0u, result.ulErrCode);
    agent.ApplyDone_UnloadDevice(result, unloadReboot);
    agent.ApplyDone_LoadDevice(result, nothing);
    EXPECT_EQ("unload A unload Reboot unload Bad! load Bad load A load Reboot ", agent.m_notes);
    EXPECT_TRUE(unloadReboot && loadReboot && !nothing);
    EXPECT_EQ(Lines(R"(
        ApplyDone_UnLoadDevice() - Need to unload (3) Miniports.
        ..\Common\Src\RavNetAgentPvt (193): ApplyDone_LoadDevice - LoadMiniport() failed - device -> Bad
        ApplyDone_LoadDevice() - Need to load (3) Miniports.
        ..\Common\Src\RavNetAgentPvt (119): CRavNetAgentPvt - Exception caught
        ..\Common\Src\RavNetAgentPvt (119): ApplyDone_LoadDevice - LoadMiniport() failed - device -> Bad
        ApplyDone_UnLoadDevice() - No miniports to load
        ApplyDone_LoadDevice() - No miniports to load
    )"),
              Traced("ApplyDone_[A-Za-z]*\\(\\) -|RavNetAgentPvt \\("));
}

TEST(ApplyDone, AChangedDcbSettingRestartsTheServiceOnce)
{
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    const SC_HANDLE service = CreateServiceW(manager, L"CorvoDCB", L"CorvoDCB", SERVICE_ALL_ACCESS,
                                             SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE,
                                             L"C:\\nowhere.exe", nullptr, nullptr, nullptr, nullptr, nullptr);
    const std::string path = "SOFTWARE\\CORVO\\Network_Services\\RAV2\\DCB";
    CPrivateHive hive;
    CNotingAgent agent;
    CJournal journal;
    const std::string done = "REG_SZ  \"0\"";
    const struct
    {
        std::string stored;
        bool restarts;
        std::string after;
    } ROWS[] = {{"", false, ""},
                {"REG_SZ  0", false, done},
                {"REG_EXPAND_SZ  1", false, "REG_EXPAND_SZ  \"1\""},
                {"REG_SZ  1", true, done},
                {"REG_SZ  0", false, done}};
    for (const auto& row : ROWS)
    {
        if (!row.stored.empty())
            hive.Add(path + "  DcbAdvancedSettingChange  " + row.stored);
        CResult result;
        bool reboot = false;
        journal.Start();
        agent.ApplyDone_UnloadDevice(result, reboot);
        // What the service manager answers, with no program behind the service, is of no interest.
        EXPECT_EQ(!row.restarts ? "" : Lines(R"(
            OpenServiceW CorvoDCB
            ControlService CorvoDCB
            OpenServiceW CorvoDCB
            StartServiceW CorvoDCB
        )"),
                  std::regex_replace(journal.Calls({"OpenServiceW", "ControlService", "StartServiceW"}),
                                     std::regex(" -> \\d+"), ""));
        EXPECT_EQ("", journal.OpenHandles());
        EXPECT_EQ(row.after, hive.Value(path, "DcbAdvancedSettingChange"));
    }
    DeleteService(service);
    CloseServiceHandle(service);
    CloseServiceHandle(manager);
}

// This program as the DCB service, one that says "stopping" until it is told to stop.
const wchar_t* const MAY_STOP = L"Global\\RavTestMayStop";
const wchar_t* const AS_SERVICE = L" --as-service";
SERVICE_STATUS_HANDLE s_service = nullptr;
HANDLE s_stop = nullptr;

void Report(DWORD state)
{
    SERVICE_STATUS status = {SERVICE_WIN32_OWN_PROCESS, state, 0, 0, 0, 0, 0};
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    SetServiceStatus(s_service, &status);
}

void WINAPI Control(DWORD control)
{
    if (control != SERVICE_CONTROL_STOP)
        return;
    Report(SERVICE_STOP_PENDING);
    SetEvent(s_stop);
}

void WINAPI Serve(DWORD, wchar_t**)
{
    s_service = RegisterServiceCtrlHandlerW(L"CorvoDCB", Control);
    Report(SERVICE_RUNNING);
    WaitForSingleObject(s_stop, INFINITE);
    WaitForSingleObject(OpenEventW(SYNCHRONIZE, FALSE, MAY_STOP), INFINITE);
    Report(SERVICE_STOPPED);
}

[[maybe_unused]] const bool s_served = [] {
    if (wcsstr(GetCommandLineW(), AS_SERVICE) == nullptr)
        return false;
    wchar_t name[] = L"CorvoDCB";
    const SERVICE_TABLE_ENTRYW table[] = {{name, Serve}, {nullptr, nullptr}};
    s_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ExitProcess(StartServiceCtrlDispatcherW(table) ? 0 : GetLastError());
}();

TEST(ApplyDone, AServiceThatIsStoppingHasStoppedBeforeItIsStarted)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring command = L'"' + std::wstring(program) + L'"' + AS_SERVICE;
    const HANDLE mayStop = CreateEventW(nullptr, TRUE, FALSE, MAY_STOP);
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    const SC_HANDLE service = CreateServiceW(manager, L"CorvoDCB", L"CorvoDCB", SERVICE_ALL_ACCESS,
                                             SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE,
                                             command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    const auto state = [&] {
        SERVICE_STATUS status = {};
        QueryServiceStatus(service, &status);
        return status.dwCurrentState;
    };
    SERVICE_STATUS status = {};
    EXPECT_TRUE(CHelper::RavStartService(0));
    EXPECT_TRUE(ControlService(service, SERVICE_CONTROL_STOP, &status));
    EXPECT_EQ(DWORD{SERVICE_STOP_PENDING}, state());
    {
        CJournal journal;
        journal.Before("QueryServiceStatus", 2, [&] { SetEvent(mayStop); }); // the first still sees it stopping
        journal.Start();
        EXPECT_TRUE(CHelper::RavStartService(0));
        journal.Stop();
    }
    EXPECT_EQ(DWORD{SERVICE_RUNNING}, state());
    EXPECT_TRUE(CHelper::RavStopService(0));
    DeleteService(service);
    for (const SC_HANDLE handle : {service, manager})
        CloseServiceHandle(handle);
    CloseHandle(mayStop);
}

TEST(Forwarding, WhatTheCoreAgentThrowsIsTracedAndFails)
{
    CLabHost host;
    CVlanAgentWin& agent = host.Agent();
    RAV_LOCK_TOKEN token;
    const struct
    {
        size_t slot;
        std::function<void(CResult&)> call;
        const char* entry;
    } CASES[] = {
        {9, [&](CResult& result) { agent.VerifyClientID(result, host.Client()); },
         "(238): CRavNetAgentPvt::VerifyClientID - Exception caught\n"},
        {10, [&](CResult&) { agent.WaitForApplyDone(host.Client()); },
         "(267): CRavNetAgentPvt::WaitForApplyDone() - Exception caught\n"},
        {30, [&](CResult& result) { agent.StartLock(result, host.Lock(), token); },
         "(352): CRavNetAgentPvt::StartLock() - Exception caught\n"},
        {31, [&](CResult& result) { agent.DoneLock(result, token); },
         "(380): CRavNetAgentPvt::DoneLock() - Exception caught\n"},
    };
    for (const auto& one : CASES)
    {
        const CSlot slot(agent.GetCoreAgentPvt(), one.slot, &Throw);
        CResult result = one.slot == 10 ? CResult() : CResult::Success();
        s_trace->Forget();
        one.call(result);
        EXPECT_EQ(std::string("..\\Common\\Src\\RavNetAgentPvt ") + one.entry, Traced("Exception"));
        EXPECT_EQ(CResult::FAILED, result.ulErrCode & result.ulErrClass);
    }
}

// --- start ----------------------------------------------------------------------------------------------------------

TEST(Initialize, FailsUntilAllIsThere)
{
    CLabHost host;
    CTempFolder other; // with a core agent that lacks its export
    const CRavString folder = LabText(SUITE_KEY, L"InstalledDir");
    ASSERT_TRUE(CopyFileW(folder + L"\\NetCfg.dll", other.Path(L"CoreAgent.dll").c_str(), FALSE));
    // The right module lies beside the program and in the current folder: from there it is never taken.
    SetCurrentDirectoryW(folder);
    CVlanAgentWin agent;
    const auto initialize = [&] {
        CResult result(7, 7);
        s_trace->Forget();
        agent.Initialize(result);
        return result.ulErrCode;
    };
    CJournal journal;
    journal.Start();
    CLabHost::Delete(Utf8(SUITE_KEY));
    EXPECT_EQ(CResult::FAILED, initialize());
    // The last is as long as the log's.
    for (const CRavString& bad : std::initializer_list<CRavString>{L"", L".", L"..\\bin", L"C:\\nowhere",
                                                                   (L"C:\\" + std::wstring(490, L'x')).c_str()})
    {
        LabSetText(SUITE_KEY, L"InstalledDir", bad);
        EXPECT_EQ(CResult::FAILED, initialize()) << Utf8(bad);
        EXPECT_EQ(bad.starts_with(L'C') ? "LoadLibraryExW " + Utf8(bad) + "\\CoreAgent.dll\n" : "",
                  std::regex_replace(journal.Calls({"LoadLibraryExW", "LoadLibraryW"}), std::regex(" -> \\d+"), ""));
        journal.Start();
    }
    LabSetText(SUITE_KEY, L"InstalledDir", other.Folder().c_str());
    journal.Start();
    EXPECT_EQ(CResult::FAILED, initialize());
    LabSetText(SUITE_KEY, L"InstalledDir", folder);
    {
        const HMODULE module = LoadLibraryW(folder + L"\\CoreAgent.dll");
        const CSlot slot(Export<CRavCoreAgentPvtIntf*()>(module, RAV_GET_CORE_AGENT_PVT_NAME)(), 5, &Throw);
        EXPECT_EQ(CResult::FAILED, initialize());
        FreeLibrary(module);
    }
    const std::string useless = Utf8(other.Path(L"CoreAgent.dll"));
    const std::string calls = journal.Calls({"LoadLibraryExW", "FreeLibrary"});
    EXPECT_EQ(0u, calls.find("LoadLibraryExW " + useless + "\nFreeLibrary " + useless + "\nLoadLibraryExW ")) << calls;
    journal.FailNext("CoCreateInstance");
    EXPECT_EQ(0u, initialize()); // the registration's code; yet it is tried again
    EXPECT_EQ(0u, initialize());
    EXPECT_EQ("", Traced("Already Initialized"));
    EXPECT_EQ(0u, initialize());
    EXPECT_EQ("Already Initialized!!!!!\n", Traced("Already Initialized"));
}

thread_local bool t_noNetCfg = false;
HRESULT (*s_initialize)(INetCfg*, void*) = nullptr;

// An agent without a network configuration is handed out and initialised again by each call of an export.
TEST(Initialize, AgainAndAgainUnderThoseWhoUseTheAgent)
{
    constexpr int ROUNDS = 100;
    CLabHost host;
    CVlanAgentWin agent;
    std::atomic<int> handedOut = 0;
    std::atomic<bool> ended = false;
    Microsoft::WRL::ComPtr<INetCfg> netCfg;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg)));
    const auto refuse = [](INetCfg* self, void* reserved) {
        return t_noNetCfg ? E_FAIL : s_initialize(self, reserved);
    };
    const CSlot slot(netCfg.Get(), 3, +refuse);
    s_initialize = reinterpret_cast<decltype(s_initialize)>(slot.Original());
    const auto initialize = [&] {
        CResult result;
        agent.Initialize(result);
        handedOut += result.Succeeded() ? 1 : 0;
    };
    t_noNetCfg = true;
    initialize();
    t_noNetCfg = false;
    ASSERT_EQ(1, handedOut);
    s_trace->Forget();
    std::thread again([&] {
        CLabServer server;
        server.SetUp();
        for (t_noNetCfg = true; !ended;)
            initialize();
        server.TearDown();
    });
    int right = 0;
    for (int round = 0; round < ROUNDS; ++round)
    {
        CResult result;
        CResult verified;
        bool supports = false;
        agent.DoesParentSupportVlans(result, host.Key("Port A"), supports, host.Client());
        agent.VerifyClientID(verified, host.Client());
        right += result.Succeeded() && supports && verified.Succeeded() ? 1 : 0;
    }
    ended = true;
    again.join();
    EXPECT_EQ(ROUNDS, right);
    EXPECT_EQ("", Traced("Already Initialized"));
}

int s_parameterErrors = 0;

TEST(Module, IsLoadedUsedAndUnloaded)
{
    CLabHost host(VLAN_HOST);
    CResult refused;
    // The siblings have installed their handlers once this is done; the next one is the client's own.
    host.Agent().CreateVlan(refused, host.Key("Port B"), 30, L"Thirty", 9, host.Lock());
    const auto handler = [](const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {
        ++s_parameterErrors;
    };
    const auto before = _set_invalid_parameter_handler(handler);
    const CRavString folder = LabText(SUITE_KEY, L"InstalledDir");
    const HMODULE module = LoadLibraryW(L"VlanAgent.dll");
    CJournal journal(module);
    journal.Start();
    EXPECT_EQ((std::set<std::string>{"CRavVlanAgentIntf", RAV_GET_VLAN_AGENT_NAME, RAV_GET_VLAN_AGENT_PVT_NAME}),
              Exports(module));
    const auto agent = Export<CRavVlanAgentIntf*()>(module, RAV_GET_VLAN_AGENT_NAME);
    const auto agentPvt = Export<CRavVlanAgentPvtIntf*()>(module, RAV_GET_VLAN_AGENT_PVT_NAME);
    LabSetText(SUITE_KEY, L"InstalledDir", L"C:\\nowhere");
    EXPECT_EQ(nullptr, agent());
    EXPECT_EQ(nullptr, agentPvt());
    LabSetText(SUITE_KEY, L"InstalledDir", folder);
    ASSERT_NE(nullptr, agent());
    EXPECT_EQ(agent(), agent());
    CResult result;
    agent()->Reserved(result);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(CResult::FAILED, result.ulErrClass);
    agent()->CreateVlan(refused, host.Key("Port B"), 30, L"Thirty", 9, host.Lock());
    EXPECT_NE(+handler, _get_invalid_parameter_handler());
    EXPECT_EQ(0u, agentPvt()->QueryHookThree().ulErrCode);
    std::vector<CRavString> keys;
    agentPvt()->EnumerateVlans(result, host.Key("Port B"), keys);
    ASSERT_EQ(1u, keys.size());
    RAV_VLAN_INFO info;
    agent()->GetVlanInfo(result, keys.front(), info);
    EXPECT_EQ(20u, info.vlanId);
    FreeLibrary(module);
    EXPECT_EQ(nullptr, GetModuleHandleW(L"VlanAgent.dll"));
    EXPECT_EQ(1u, journal.Count("TlsFree"));
    // The compiler's runtime has a slot of its own, and keeps it.
    EXPECT_EQ("", std::regex_replace(journal.OpenHandles(), std::regex("TlsAlloc\n"), ""));
    wchar_t brief[2] = {};
    EXPECT_EQ(ERANGE, wcscpy_s(brief, 2, L"the client's own mistake"));
    EXPECT_EQ(1, s_parameterErrors);
    _set_invalid_parameter_handler(before);
}
