// What becomes of a command that others get in the way of, or end.

#include "Suite/Lab/State/ExclusiveFile.h"
#include "Tests/Tools/Console.h"
#include "Tests/Tools/Programs.h"

#include <netcfgx.h>
#include <wrl/client.h>

#include <tuple>

namespace
{
// The network configuration's lock in other hands.
class CNetworkWindow
{
  public:
    CNetworkWindow()
    {
        CoInitialize(nullptr);
        GetDesktopWindow(); // its first use is noted in the registry
    }
    void Open() // when the lab is up
    {
        EXPECT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_netCfg)));
        EXPECT_EQ(S_OK, m_netCfg.As(&m_lock));
        EXPECT_EQ(S_OK, m_lock->AcquireWriteLock(0, L"the network window", nullptr));
    }
    void Close() const { EXPECT_EQ(S_OK, m_lock->ReleaseWriteLock()); }

  private:
    Microsoft::WRL::ComPtr<INetCfg> m_netCfg;
    Microsoft::WRL::ComPtr<INetCfgLock> m_lock;
};

// As the system does it when a program's console closes or its session ends: on a thread of its own in the program.
void Notify(const CProgram& program, DWORD event)
{
    const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine")));
    const HANDLE process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, program.Id());
    void* const argument = reinterpret_cast<void*>(static_cast<ULONG_PTR>(event));
    const HANDLE thread = CreateRemoteThread(process, nullptr, 0, routine, argument, 0, nullptr);
    EXPECT_NE(nullptr, thread);
    CloseHandle(thread);
    CloseHandle(process);
}
} // namespace

TEST(Vlanctl, NamesWhoHoldsALock)
{
    CNetworkWindow window;
    Up("vlans.json");
    window.Open();
    const CProgram first("vlanctl create --parent 1 --id 5 --name x"); // takes the suite's lock, waits for ours
    ASSERT_TRUE(Comes(first, [] { return !LabSuiteLockHolder().IsEmpty(); }));
    const std::string holder = "locked by process " + std::to_string(first.Id()) + " (vlanctl.exe)";
    EXPECT_THAT(Do("vlanctl create --parent 2 --id 5 --name x --wait 0", 5), HasSubstr(holder));
    EXPECT_THAT(Do("vlanctl remove Sales --yes --wait 1", 5),
                HasSubstr("waiting: the configuration is " + holder + " since "));
    EXPECT_EQ(5u, first.Status());
    EXPECT_THAT(first.Out(), HasSubstr("locked by \"the network window\""));
    EXPECT_EQ("", Changes());
    window.Close();
    Do("vlanctl create --parent 1 --id 5 --name x --wait 0");
}

// What was shown is looked at again when the lock is had.
TEST(Vlanctl, RemovesWhatIsStillThere)
{
    CNetworkWindow window;
    Up("vlans.json");
    const std::tuple<const char*, DWORD, const char*> CASES[] = {
        {"vlanctl remove 10 --if-exists --yes --wait 60", 0, "is gone already"},
        {"vlanctl remove 20 --yes --wait 60", 1, "is gone already"},
    };
    for (const auto& [command, status, text] : CASES)
    {
        window.Open();
        const std::string what = std::string(command).substr(0, 17);
        const CProgram first(what + " --yes"); // has the suite's lock, and waits for ours
        ASSERT_TRUE(Comes(first, [] { return !LabSuiteLockHolder().IsEmpty(); }));
        const CProgram second(command);
        ASSERT_TRUE(Comes(second, [&] { return second.HasPrinted(); }));
        window.Close();
        EXPECT_EQ(0u, first.Status()) << first.Out();
        EXPECT_EQ(status, second.Status()) << second.Out();
        EXPECT_THAT(second.Out(), HasSubstr(text));
    }
}

TEST(Vlanctl, StopsBetweenTwoVlans)
{
    Up("server.json");
    const std::string create = "create --parent 1 --id 10-40 --auto-names --yes";
    const std::string made = "vlanctl create --parent 1 --id 50-70 --auto-names";
    const std::string remove = "remove --all --parent 1 --yes";
    const std::string all = "vlanctl remove --all --parent 1 --yes";
    const std::tuple<std::string, std::string, int, DWORD, const char*> CASES[] = {
        {"lab show", create, 3, CTRL_C_EVENT, " of 31 are there: 10, 11, 12"},
        {made, remove, -3, CTRL_BREAK_EVENT, " are gone: 10, 11"},
        {all, create, 3, CTRL_CLOSE_EVENT, " of 31 are there: 10, 11, 12"},
        {made, remove, -3, CTRL_LOGOFF_EVENT, " are gone: 10, 11"},
    };
    for (const auto& [first, command, change, event, text] : CASES)
    {
        Do(first);
        const CConsole console; // it does not outlive what is interrupted on it
        const size_t expected = Bound() + change;
        const CProgram program("vlanctl " + command, nullptr, console.In());
        EXPECT_TRUE(Comes(program, [expected] { return Bound() == expected; }));
        if (event == CTRL_C_EVENT)
            EXPECT_TRUE(GenerateConsoleCtrlEvent(event, 0));
        else
            Notify(program, event);
        EXPECT_EQ(4u, program.Status()) << event;
        EXPECT_THAT(program.Out(), HasSubstr(text));
        ExpectListsAreRight(Bound());
        EXPECT_EQ("", DoJson("lab show")["lockHolder"]);
    }
}

TEST(Vlanctl, SaysThatItsOutputIsLost)
{
    Up("server.json");
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    HANDLE nobody = nullptr;
    HANDLE pipe = nullptr;
    ASSERT_TRUE(CreatePipe(&nobody, &pipe, &inherited, 0));
    CloseHandle(nobody);
    const HANDLE full = CreateFileW(L"Z:\\dev\\full", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                    OPEN_EXISTING, 0, nullptr);
    for (const HANDLE out : {pipe, full, INVALID_HANDLE_VALUE})
    {
        for (const std::string command : {"list", "--help", "create --parent 1 --id 5 --name x", "remove --yes x"})
        {
            const CProgram program("vlanctl " + command, nullptr, nullptr, out);
            EXPECT_EQ(1u, program.Status()) << command;
            EXPECT_THAT(program.Out(), HasSubstr("standard output cannot be written"));
            const char* const done = command.ends_with('x') ? "ed Port A - VLAN : x " : ""; // is said all the same
            EXPECT_THAT(program.Out(), HasSubstr(done));
        }
    }
    CloseHandle(pipe);
    CloseHandle(full);
}

TEST(Vlanctl, SeveralAtTheSameTime)
{
    Up("server.json");
    CExclusiveFile lock; // lets all of them validate before one creates
    EXPECT_EQ(0u, lock.Try(LabStateFile(LAB_SUITE_LOCK_FILE)));
    const CProgram one("vlanctl create --parent 1 --id 10 --name One --wait 60");
    const CProgram two("vlanctl create --parent 1 --id 10 --name Two --wait 60");
    const CProgram three("vlanctl create --parent 1 --id 11-14 --auto-names --wait 60");
    const CProgram unknown("vlanctl create --parent 2 --id 10 --name Unknown --wait 60");
    const CRavString client = LabPath(LAB_CLIENTS, Wide(std::to_string(unknown.Id())).c_str());
    for (const CProgram* const program : {&one, &two, &three, &unknown})
        ASSERT_TRUE(Comes(*program, [&] { return LabIsWaiting(program->Id()); })) << program->Out();
    EXPECT_EQ(0, RegDeleteTreeW(HKEY_LOCAL_MACHINE, client)); // the core agent knows it no longer
    lock.Release();
    EXPECT_EQ(1u, one.Status() + two.Status());
    EXPECT_THAT(one.Out() + two.Out(), HasSubstr("0x3300008F"));
    EXPECT_EQ(0u, three.Status()) << three.Out();
    EXPECT_EQ(1u, unknown.Status()) << unknown.Out();
    EXPECT_EQ(6u, DoJson("vlanctl list").size()); // and the team's
    ExpectListsAreRight(5);
    EXPECT_EQ(0u, lock.Try(LabStateFile(LAB_SUITE_LOCK_FILE)));
    const CProgram same("vlanctl set 11 *NumRssQueues=4 --yes --wait 60");
    const CProgram again("vlanctl set 11 *NumRssQueues=4 --yes --wait 60");
    for (const CProgram* const program : {&same, &again})
        ASSERT_TRUE(Comes(*program, [&] { return LabIsWaiting(program->Id()); })) << program->Out();
    lock.Release();
    EXPECT_EQ(0u, same.Status() + again.Status());
    EXPECT_THAT(same.Out() + again.Out(), AllOf(HasSubstr("changed Port A"), HasSubstr("nothing to change")));
}

// What one of them has read before it gets the lock, the other one changes.
TEST(Vlanctl, CreatesOverATeamThatChanges)
{
    Up("vlans.json");
    CExclusiveFile lock;
    const std::string emptied = "vlanctl remove --all --parent \"Team 1\" --yes";
    const std::tuple<std::string, const char*, const char*> CASES[] = {
        {emptied, "100-103", "remove \"Team 1\" \"Port H\""},
        {"lab show", "110-113", "add \"Team 1\" \"Port H\""},
        {emptied, "120-123", "add \"Team 1\" \"Port C\""},
        {"lab show", "130-133", "remove \"Team 1\" \"Port G\""},
    };
    for (const auto& [before, ids, change] : CASES)
    {
        SCOPED_TRACE(change);
        Do(before);
        EXPECT_EQ(0u, lock.Try(LabStateFile(LAB_SUITE_LOCK_FILE)));
        const CProgram creation(std::string("vlanctl create --parent \"Team 1\" --auto-names --yes --wait 60 --id ") +
                                ids);
        const CProgram team(std::string("lab team ") + change);
        for (const CProgram* const program : {&creation, &team})
            ASSERT_TRUE(Comes(*program, [&] { return LabIsWaiting(program->Id()); })) << program->Out();
        lock.Release();
        EXPECT_TRUE(creation.IsOver(60000) && team.IsOver(60000));
        EXPECT_EQ(0u, creation.Status() + team.Status()) << creation.Out() << team.Out();
        Do("vlanctl doctor");
        std::vector<std::string> vlans;
        for (const Json& vlan : DoJson("vlanctl list --parent \"Team 1\""))
            vlans.push_back(vlan["id"].dump());
        for (const Json& adapter : DoJson("lab show")["adapters"])
        {
            if (adapter["team"] == "Team 1")
            {
                EXPECT_THAT(adapter["vlanIds"], UnorderedElementsAreArray(vlans)) << adapter["name"];
            }
        }
    }
}

// Killed where its work has got as far as can be seen from outside, and no further: it never ends by itself.
TEST(Vlanctl, SurvivesAKilledProgram)
{
    const std::string create = "vlanctl create --parent 1 --id 10-40 --auto-names";
    const std::string remove = "vlanctl remove --all --parent 1 --yes";
    const std::tuple<size_t, std::string, std::function<bool()>> CASES[] = {
        {0, create, [] { return !LabSuiteLockHolder().IsEmpty(); }},
        {0, create, [] { return !LabWriteLockHolder().IsEmpty(); }},
        {0, create, [] { return !LabList(INSTANCE, L"VLANID").empty(); }},
        {0, create, [] { return Bound() >= 3; }},
        {8, remove, [] { return !LabWriteLockHolder().IsEmpty(); }},
        {8, remove, [] { return Bound() <= 6; }},
    };
    for (const auto& one : CASES)
    {
        SCOPED_TRACE(&one - CASES);
        const auto& [vlans, work, event] = one;
        Up("server.json");
        Do("vlanctl create --parent 2 --id 5 --name Other");
        if (vlans != 0)
            Do("vlanctl create --parent 1 --id 10-" + std::to_string(9 + vlans) + " --auto-names");
        const CProgram victim(work);
        EXPECT_TRUE(Comes(victim, event));
        victim.Kill();
        EXPECT_EQ(CProgram::KILLED, victim.Status()) << victim.Out();
        EXPECT_EQ("", DoJson("lab show")["lockHolder"]);
        EXPECT_LE(1u, DoJson("vlanctl list").size());
        EXPECT_EQ("done", Each("state", "vlanctl remove Other --yes"));
    }
}
