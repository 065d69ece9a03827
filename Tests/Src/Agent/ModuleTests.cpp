// The agent's start, and the module as its clients have it.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Tests/Src/Agent/TwoPorts.h"
#include "Tests/Src/LabProgram.h"

#include <atomic>
#include <cstring>
#include <set>
#include <thread>

namespace
{
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
    const BYTE* names = base + exports->AddressOfNames;
    std::set<std::string> found;
    for (DWORD index = 0; index < exports->NumberOfNames; ++index, names += sizeof(DWORD))
    {
        DWORD place = 0; // of a table that need not be aligned
        std::memcpy(&place, names, sizeof(place));
        const std::string name = reinterpret_cast<const char*>(base + place);
        found.insert(name.find("CRavVlanAgentIntf") != std::string::npos ? "CRavVlanAgentIntf" : name);
    }
    return found;
}
} // namespace

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
    // The last one is as long as a folder may be, for the trace log as for modules.
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
        const CSlot slot(Export<CRavCoreAgentPvtIntf*()>(module, RAV_GET_CORE_AGENT_PVT_NAME)(), 5, &CSlot::Throw);
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
