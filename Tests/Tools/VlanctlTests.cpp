// vlanctl and lab as an administrator has them: programs of their own on a host of the lab, with their output and exit
// status. The lab is the whole machine's, so these tests run one at a time.

#include "Suite/Lab/State/ExclusiveFile.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"
#include "Tests/Harness/RegistryDiff.h"

#include <netcfgx.h>
#include <wrl/client.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <functional>
#include <tuple>

using Json = nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

namespace
{
const std::wstring TEMP = std::wstring(_wgetenv(L"TEMP")) + L"\\";

// A program that runs: "vlanctl list --json". Its handles are kept for as long as the test program lives.
class CProgram
{
  public:
    static constexpr DWORD KILLED = 99;

    explicit CProgram(const std::string& command, const wchar_t* folder = nullptr)
    {
        std::wstring line = Wide(command); // the folder of the test program is searched first
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = m_out;
        EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, folder, &startup, &m_run));
    }
    DWORD Id() const { return m_run.dwProcessId; }
    void Kill() const { EXPECT_TRUE(TerminateProcess(m_run.hProcess, KILLED)); }
    bool IsOver(DWORD milliseconds) const { return WaitForSingleObject(m_run.hProcess, milliseconds) == WAIT_OBJECT_0; }
    DWORD Status() const
    {
        DWORD status = 98;
        IsOver(90000);
        GetExitCodeProcess(m_run.hProcess, &status);
        return status;
    }
    std::string Out() const
    {
        std::string text(Status() + GetFileSize(m_out, nullptr), '\0');
        DWORD size = 0;
        SetFilePointer(m_out, 0, nullptr, FILE_BEGIN);
        ReadFile(m_out, text.data(), static_cast<DWORD>(text.size()), &size, nullptr);
        return text.substr(0, size);
    }

  private:
    inline static int s_count = 0;
    SECURITY_ATTRIBUTES m_inherited = {sizeof(m_inherited), nullptr, TRUE};
    HANDLE m_out = CreateFileW((TEMP + L"vlanctl" + std::to_wstring(++s_count)).c_str(), GENERIC_READ | GENERIC_WRITE,
                               0, &m_inherited, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    PROCESS_INFORMATION m_run = {};
};

// Runs to the end; all that it printed.
std::string Do(const std::string& command, DWORD status = 0)
{
    const CProgram program(command);
    EXPECT_EQ(status, program.Status()) << command << "\n" << program.Out();
    return program.Out();
}

// What follows the messages.
Json DoJson(const std::string& command, DWORD status = 0)
{
    const std::string text = Do(command + " --json", status);
    return Json::parse(text.substr(text.find_first_of("[{")));
}

// One member of each object of the list that is printed: "10,20".
std::string Each(const char* member, const std::string& command, DWORD status = 0)
{
    std::string text;
    for (const Json& item : DoJson(command, status))
        text += (item[member].is_string() ? item[member].get<std::string>() : item[member].dump()) + ",";
    return text.substr(0, text.find_last_of(','));
}

// What changed since the last call in all that the configuration of a machine is made of.
std::string Changes()
{
    HKEY key = nullptr;
    EXPECT_EQ(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet", 0, KEY_READ, &key));
    static CRegistrySnapshot s_before(key);
    const CRegistrySnapshot before = std::exchange(s_before, CRegistrySnapshot(key));
    RegCloseKey(key);
    return CRegistrySnapshot::Difference(before, s_before);
}

// What the driver and its administrator go by for the first adapter, in its instance key and in the driver's entry.
const CRavString INSTANCE = LabPath(CLASS_KEY, L"0001");
size_t Bound()
{
    return LabList(LabPath(XMS_ADAPTERS_KEY, LabText(INSTANCE, L"NetCfgInstanceId")), L"MiniportBindingList").size();
}

// An event that another program brings about comes before the program ends.
bool Comes(const CProgram& program, const std::function<bool()>& event)
{
    while (!event())
        if (program.IsOver(1))
            return event();
    return true;
}

// The lists that the driver reads name just the VLANs that are there, so many of them.
void ExpectListsAreRight(size_t vlans)
{
    std::vector<CRavString> ids;
    std::vector<CRavString> devices;
    for (const Json& vlan : DoJson("vlanctl list --parent 0001"))
    {
        devices.push_back(Wide("\\Device\\" + vlan["key"].get<std::string>()).c_str());
        if (vlan["id"] != 0)
            ids.emplace_back(vlan["id"].get<int>());
    }
    const CRavString driver = LabPath(XMS_ADAPTERS_KEY, LabText(INSTANCE, L"NetCfgInstanceId"));
    EXPECT_EQ(vlans, devices.size());
    EXPECT_THAT(LabList(INSTANCE, L"VLANID"), UnorderedElementsAreArray(ids));
    EXPECT_THAT(LabList(driver, L"MiniportBindingList"), UnorderedElementsAreArray(devices));
    EXPECT_EQ(devices.size(), LabNumber(driver, L"MiniportBindingListCount", 0));
}

void Up(const char* host)
{
    Do("lab down");
    Do(std::string("lab up Suite/Lab/hosts/") + host);
    Changes();
}
} // namespace

TEST(Lab, LeavesNothingHalfDone)
{
    Up("server.json");
    EXPECT_THAT(Do("lab up Suite/Lab/hosts/server.json", 1), HasSubstr("is up already"));
    EXPECT_THAT(Do("lab set Nobody vmq on", 1), HasSubstr("\"Nobody\""));
    EXPECT_THAT(Do("lab set \"Port E\" nothing on", 1), HasSubstr("there are: driverLoaded,"));
    EXPECT_THAT(Do("lab set \"Port E\" vmq maybe", 1), HasSubstr("\"maybe\""));
    EXPECT_EQ("", Changes());
    Do("lab down");
    Changes();
    std::ofstream(Utf8(TEMP) + "h.json") << R"({"adapters": [{"name": "A", "mac": "001B21000001", "colour": 1}]})";
    EXPECT_THAT(Do("lab up \"" + Utf8(TEMP) + "h.json\"", 1), HasSubstr("adapters[0].colour"));
    Do("lab show", 1);
    EXPECT_EQ("", Changes());
}

TEST(Vlanctl, ShowsVlansAndParents)
{
    Up("server.json");
    EXPECT_EQ("Port A,Port B,Virtual Function 1,Port E,Port F", Each("name", "vlanctl parents"));
    for (const Json& parent : DoJson("vlanctl parents --all"))
        EXPECT_EQ(parent["supportsVlans"], parent["reason"] == "") << parent;
    Up("vlans.json");
    EXPECT_EQ("Backup,Voice", Each("name", "vlanctl list --parent \"team 1\""));
    EXPECT_THAT(Do("vlanctl list"), HasSubstr("\n20        Büro      Port A  loaded"));
    const Json vlan = DoJson("vlanctl show \"PORT a/20\"");
    EXPECT_EQ("Port A - VLAN : Büro", vlan["displayName"]);
    EXPECT_EQ(vlan, DoJson("vlanctl show 11"));
    EXPECT_EQ("loaded", DoJson("vlanctl status " + vlan["key"].get<std::string>())["status"]);
    EXPECT_EQ("*LsoV2IPv4,*NumRssQueues", Each("name", "vlanctl settings Büro"));
    EXPECT_THAT(Do("vlanctl show Untagged", 1), ContainsRegex("Port B - VLAN : Unt.*\n.*Team 2 - VLAN : Unt"));
}

TEST(Vlanctl, RefusesWithReasonAndStatus)
{
    Up("server.json");
    const std::vector<std::string> cases = {"0",
                                            "list",
                                            "no VLANs",
                                            "0",
                                            "--version",
                                            std::string("vlanctl ") + RAV_VERSION,
                                            "2",
                                            "bogus",
                                            "no such verb",
                                            "1",
                                            "show No",
                                            "no VLAN called \"No\"",
                                            "1",
                                            "list --parent No",
                                            "no adapter or team called \"No\"",
                                            "2",
                                            "create --parent 1 --id 5 --name= --dry-run",
                                            "value is missing",
                                            "2",
                                            "create --parent 1 --id 5 --name --dryrun",
                                            "value is missing",
                                            "2",
                                            "remove --json 1",
                                            "--yes or --dry-run",
                                            "1",
                                            "create --parent \"Team 1\" --id 5 --name x",
                                            "over this team",
                                            "0",
                                            "create --parent \"Port E\" --id 5 --name x --dry-run",
                                            "warning 0x33000095"};
    for (size_t index = 0; index < cases.size(); index += 3)
        EXPECT_THAT(Do("vlanctl " + cases[index + 1], std::stoul(cases[index])), HasSubstr(cases[index + 2]));
    const std::vector<std::string> ids = {"-1",           "141",     "1,,2",  "141", "5-5",         "141",
                                          " 7",           "141",     "4095",  "142", "99999999999", "142",
                                          "1-2147483647", "141,139", "20,21", "137"};
    for (size_t index = 0; index < ids.size(); index += 2)
        EXPECT_EQ(ids[index + 1], Each("number", "vlanctl create --parent 1 --name x --id \"" + ids[index] + '"', 1));
    for (const std::string name : {"/", "\\\\", "*", ":", ">", "<", "|", "?", "\\\""})
        EXPECT_EQ("136", Each("number", "vlanctl create --parent 1 --id 5 --name \"" + name + '"', 1));
    for (const std::string name :
         {"123456789012345678901234567890123", "🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊x"})
        EXPECT_EQ("153", Each("number", "vlanctl create --parent 1 --id 5 --name " + name, 1));
    EXPECT_EQ("", Changes());
}

TEST(Vlanctl, CreatesAndRemoves)
{
    Up("server.json");
    int id = 10;
    for (const std::string name :
         {"🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊🦊", "Zu\u0308rich", "склад", "=--yes"})
        EXPECT_EQ(name, Each("name", "vlanctl create --parent 1 --id " + std::to_string(id++) + " --name=" + name));
    Do("vlanctl create --parent 1 --id 0 --name Untagged");
    ExpectListsAreRight(5);
    const std::string requests = DoJson("lab show")["driverRequests"].dump();
    for (const Json& vlan : DoJson("vlanctl list"))
        EXPECT_THAT(requests, HasSubstr(R"("bytes":258,"oid":"0xFF010109","text":"\\Device\\)" +
                                        vlan["key"].get<std::string>() + "\"}"));
    EXPECT_EQ("removed,removed,removed", Each("state", "vlanctl remove --yes \"Port A/10\" 13 14"));
    ExpectListsAreRight(2);
    Do("lab set \"Port A - VLAN : Untagged\" hyperV on");
    Changes();
    EXPECT_EQ("refused", Each("state", "vlanctl remove \"Port A/13\" --dry-run", 1));
    EXPECT_EQ("refused", Each("state", "vlanctl remove \"Port A/13\" --yes", 1));
    EXPECT_EQ("", Changes());
    Do("lab set \"Port A - VLAN : Untagged\" hyperV off");
    EXPECT_EQ("removed,removed", Each("state", "vlanctl remove --all --parent 1 --yes"));
    EXPECT_EQ("", Each("key", "vlanctl list"));
}

TEST(Vlanctl, NamesWhoHoldsALock)
{
    Up("vlans.json");
    CoInitialize(nullptr);
    Microsoft::WRL::ComPtr<INetCfg> netCfg;
    Microsoft::WRL::ComPtr<INetCfgLock> lock;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg)));
    ASSERT_EQ(S_OK, netCfg.As(&lock));
    ASSERT_EQ(S_OK, lock->AcquireWriteLock(0, L"the network window", nullptr));
    const CProgram first("vlanctl create --parent 1 --id 5 --name x"); // takes the suite's lock, waits for ours
    ASSERT_TRUE(Comes(first, [] { return !LabSuiteLockHolder().IsEmpty(); }));
    const std::string holder = "locked by process " + std::to_string(first.Id()) + " (vlanctl.exe)";
    EXPECT_THAT(Do("vlanctl create --parent 2 --id 5 --name x --wait 0", 1), HasSubstr(holder));
    EXPECT_THAT(Do("vlanctl remove Sales --yes --wait 0", 1), HasSubstr(holder));
    EXPECT_EQ(1u, first.Status());
    EXPECT_THAT(first.Out(), HasSubstr("locked by \"the network window\""));
    EXPECT_EQ("", Changes());
    EXPECT_EQ(S_OK, lock->ReleaseWriteLock());
    Do("vlanctl create --parent 1 --id 5 --name x --wait 0");
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
    EXPECT_EQ(5u, DoJson("vlanctl list").size());
    ExpectListsAreRight(5);
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
        EXPECT_EQ("removed", Each("state", "vlanctl remove Other --yes"));
    }
}

TEST(Vlanctl, LoadsTheSuiteFromItsFolderAlone)
{
    Up("server.json");
    const CRavString bin = LabText(SUITE_KEY, L"InstalledDir");
    CreateDirectoryW((TEMP + L"planted").c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(bin + L"\\CoreAgent.dll", (TEMP + L"planted\\CoreAgent.dll").c_str(), FALSE));
    LabSetText(SUITE_KEY, L"InstalledDir", bin + L"\\..");
    const CProgram planted("vlanctl list", (TEMP + L"planted").c_str());
    EXPECT_EQ(3u, planted.Status());
    EXPECT_THAT(planted.Out(), HasSubstr("core agent cannot be loaded"));
    Do("lab down");
    EXPECT_THAT(Do("vlanctl list", 3), HasSubstr("not installed"));
}
