// The passes of an applied transaction, and the calls that every agent sends on to the core agent.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/Helper.h"
#include "Tests/Src/LabProgram.h"

namespace
{
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
} // namespace

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
    const std::string path = Utf8(SUITE_KEY) + "\\DCB";
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
        const CSlot slot(agent.GetCoreAgentPvt(), one.slot, &CSlot::Throw);
        CResult result = one.slot == 10 ? CResult() : CResult::Success();
        s_trace->Forget();
        one.call(result);
        EXPECT_EQ(std::string("..\\Common\\Src\\RavNetAgentPvt ") + one.entry, Traced("Exception"));
        EXPECT_EQ(CResult::FAILED, result.ulErrCode & result.ulErrClass);
    }
}
