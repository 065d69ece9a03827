// Host files, and the core agent's lock across threads and processes.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavNetAgentPvt.h"
#include "Tests/Src/LabFixture.h"

#include <gmock/gmock.h>

#include <future>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

// Good as it is; each case puts something else for one part of it.
const std::string HOST = R"({"adapters": [
    {"name": "A", "mac": "001B21000001", "vmq": true, "jumboFrames": [1514, 9014], "parameters": {"P": "1"}},
    {"name": "B", "mac": "001B21000002"}], "teams": [{"name": "T", "members": ["B"], "mode": 2}],
    "vlans": [{"parent": "A", "id": 10, "name": "Ten"}, {"parent": "T", "id": 0, "name": "Zero"}], "templates": [
    {"name": "E", "type": "enum", "description": "e", "default": 1, "choices": [{"value": 1, "text": "On"}]},
    {"name": "I", "type": "int", "description": "i", "default": 5, "min": 1, "max": 8}]})";

const char* const BAD[][3] = {
    {"{\"adapters", "[", "this is not JSON"},
    {"\"mode\"", "\"mod\"", "teams[0].mod:"},
    {"\"name\": \"A\", ", "", "adapters[0].name:"},
    {"001B21000001", "001B2100000", "adapters[0].mac:"},
    {"001B21000002", "001b21000001", "adapters[1].mac:"}, // the same
    {"\"B\", \"mac\"", "\"a\", \"mac\"", "adapters[1].name:"},
    {"true", "1", "adapters[0].vmq:"},
    {"9014", "4294968810", "adapters[0].jumboFrames[1]:"}, // 1514, were it cut to 32 bits
    {"9014", "1e999", "this is not JSON"},
    {"\"P\"", "\"netcfginstanceid\"", "adapters[0].parameters.netcfginstanceid:"},
    {"[\"B\"]", "[\"C\"]", "teams[0].members[0]:"},
    {"\"A\", \"id\"", "\"B\", \"id\"", "vlans[0].parent:"}, // a member
    {"10,", "4095,", "vlans[0].id:"},
    {"10,", "18446744073709551615,", "vlans[0].id:"},
    {"Ten", "a|b", "vlans[0].name:"},
    {"\"default\": 1", "\"default\": 2", "templates[0].default:"},
    {"\"On\"}", "\"On\"}, {\"value\": 1, \"text\": \"\"}", "templates[0].choices[1].text:"},
    {"\"On\"}", "\"On\"}, {\"value\": 1, \"text\": \"x\"}", "templates[0].choices[1].value:"},
    {"\"I\"", "\"e\"", "templates[1].name:"},
    {"\"max\": 8", "\"max\": 0", "templates[1].min:"},
};

CRavCoreAgentPvtIntf& Core()
{
    const FARPROC get = GetProcAddress(GetModuleHandleW(L"CoreAgent.dll"), RAV_GET_CORE_AGENT_PVT_NAME);
    return *reinterpret_cast<RAV_GET_CORE_AGENT_PVT>(reinterpret_cast<void*>(get))();
}

const RAV_CLIENT_ID CLIENT = {GetCurrentProcessId(), 1};

DWORD Take(RAV_LOCK_TOKEN& token, DWORD wait = 0)
{
    return Core().StartLock({CLIENT, wait}, token).ulErrCode;
}

DWORD TakeOnOtherThread(RAV_LOCK_TOKEN& token)
{
    return std::async(std::launch::async, [&] { return Take(token); }).get();
}

CRavNetAgentPvt s_nobody;

struct CTestAgent : CRavNetAgentPvt
{
    explicit CTestAgent(std::function<DWORD(const char*, bool&)> pass) : m_pass(std::move(pass))
    {
        Core().RegisterAgent(L"TEST", this);
    }
    ~CTestAgent() override { Core().RegisterAgent(L"TEST", &s_nobody); }
    void ApplyDone_UnloadDevice(CResult& result, bool& reboot) override { result = CResult(m_pass("unload ", reboot)); }
    void ApplyDone_LoadDevice(CResult& result, bool& reboot) override { result = CResult(m_pass("load ", reboot)); }
    std::function<DWORD(const char*, bool&)> m_pass;
};

void SetStage(DWORD stage)
{
    LabSetNumber(LAB_KEY, L"Stage", stage);
}

// The other process: applies until it is told to end that, and then holds the lock for as long as it lives.
int RunChild(const char* hive)
{
    RAV_LOCK_TOKEN token;
    LoadLibraryW(L"CoreAgent.dll");
    HKEY root = nullptr;
    sscanf(hive, "%p", reinterpret_cast<void**>(&root));
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, root);
    const CTestAgent agent([](const char* pass, bool&) {
        SetStage(pass[0] == 'u' ? 1 : 3);
        while (LabNumber(LAB_KEY, L"Stage", 0) == 1)
            Sleep(10);
        return 0;
    });
    if (Take(token, 30000) != 0 || !Core().DoneLock(token).Succeeded() || Take(token, 30000) != 0)
        return 1;
    SetStage(4);
    Sleep(60000);
    return 0;
}
} // namespace

TEST(HostFile, WhatIsWrongIsToldWithItsPlace)
{
    EXPECT_NO_THROW(ParseHost(HOST));
    for (const auto& [part, instead, place] : BAD)
    {
        std::string text = HOST;
        text.replace(text.find(part), strlen(part), instead);
        EXPECT_THAT([&] { ParseHost(text); }, testing::ThrowsMessage<HostFileError>(testing::StartsWith(place)));
    }
    for (const wchar_t* const file : {L"server", L"vlans", L"workstation"})
        EXPECT_NO_THROW(ReadHostFile(L"Suite\\Lab\\hosts\\" + std::wstring(file) + L".json"));
}

TEST(SuiteLock, BelongsToOneThreadAndItsLastReturnApplies)
{
    const CLabHost host;
    RAV_LOCK_TOKEN first, second, none;
    std::string passes;
    CTestAgent agent([&](const char* pass, bool& reboot) -> DWORD {
        passes += pass;
        EXPECT_EQ(DWORD{ERROR_POSSIBLE_DEADLOCK}, Take(none, INFINITE));
        EXPECT_EQ(DWORD{ERROR_LOCK_VIOLATION}, TakeOnOtherThread(none));
        EXPECT_TRUE(Core().WaitForApplyDone(CLIENT)); // its own pass is not waited for
        reboot = true;
        if (passes.size() > 12)
            throw 1;
        return passes == "unload " ? 77 : 0;
    });
    for (const DWORD answer : {77u, 0xFFFFFFFFu}) // a pass that fails, one that throws
    {
        EXPECT_EQ(0u, Take(first));
        EXPECT_EQ(0u, Take(second));
        EXPECT_EQ(DWORD{ERROR_LOCK_VIOLATION}, TakeOnOtherThread(none));
        EXPECT_NE(CRavString(), LabSuiteLockHolder());
        EXPECT_EQ(0u, Core().DoneLock(first).ulErrCode);
        EXPECT_EQ(answer == 77 ? "" : "unload load ", passes);
        EXPECT_EQ(answer, Core().DoneLock(second).ulErrCode);
        EXPECT_EQ(DWORD{ERROR_NOT_LOCKED}, Core().DoneLock(second).ulErrCode);
        EXPECT_EQ(CRavString(), LabSuiteLockHolder());
    }
    EXPECT_EQ("unload load unload load ", passes);
    EXPECT_EQ(1u, LabNumber(LAB_KEY, LAB_REBOOT_REQUESTED, 0));
}

TEST(SuiteLock, HoldsBetweenProcessesAndDoesNotOutliveItsHolder)
{
    CLabHost host;
    RAV_LOCK_TOKEN token;
    HANDLE hive = nullptr;
    STARTUPINFOW startup = {};
    PROCESS_INFORMATION child = {};
    DuplicateHandle(GetCurrentProcess(), host.Hive().Root(), GetCurrentProcess(), &hive, 0, TRUE,
                    DUPLICATE_SAME_ACCESS);
    std::wstring line = GetCommandLineW() + (L" --child=" + Wide(testing::PrintToString(hive)));
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &child));
    for (const DWORD stage : {1, 4})
    {
        while (LabNumber(LAB_KEY, L"Stage", 0) != stage)
            ASSERT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(child.hProcess, 10));
        EXPECT_EQ(DWORD{ERROR_LOCK_VIOLATION}, Take(token));
        EXPECT_NE(std::string::npos, Utf8(LabSuiteLockHolder()).find(std::to_string(child.dwProcessId)));
        if (stage == 4)
            break;
        SetStage(2);
        EXPECT_TRUE(Core().WaitForApplyDone(CLIENT));
        EXPECT_LE(3u, LabNumber(LAB_KEY, L"Stage", 0)); // its last pass is over
    }
    TerminateProcess(child.hProcess, 1);
    EXPECT_EQ(0u, Take(token, 30000));
    EXPECT_EQ(0u, Core().DoneLock(token).ulErrCode);
    for (const HANDLE handle : {child.hProcess, child.hThread, hive})
        CloseHandle(handle);
}

int main(int count, char** arguments)
{
    if (const char* const child = strstr(arguments[count - 1], "--child="))
        return RunChild(child + 8);
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
