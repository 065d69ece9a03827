// The VLANs of a machine as a file.

#include "Common/Src/SuiteNames.h"
#include "Tests/Tools/Console.h"
#include "Tests/Tools/Programs.h"

#include <netcfgx.h>
#include <tlhelp32.h>
#include <wrl/client.h>

#include <array>
#include <fstream>

namespace
{
// A file in the folder for temporary files; its name as a command line has it.
std::string File(const std::string& text)
{
    std::ofstream((TEMP + L"vlans.json").c_str(), std::ios::binary) << text;
    return Utf8(TEMP + L"vlans.json");
}

// One difference a line: "change 10 Sales".
std::string Differences(const Json& json)
{
    std::string text;
    for (const Json& one : json["differences"])
        text +=
            one["difference"].get<std::string>() + " " + one["id"].dump() + " " + one["name"].get<std::string>() + "\n";
    return text;
}

std::string Ids()
{
    return Each("id", "vlanctl list --parent 0001");
}

// The process that another one has started.
DWORD ChildOf(DWORD process)
{
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    for (BOOL more = Process32FirstW(all, &entry); more && entry.th32ParentProcessID != process;)
        more = Process32NextW(all, &entry);
    CloseHandle(all);
    return entry.th32ParentProcessID == process ? entry.th32ProcessID : 0;
}

CRavString RecordPath()
{
    return LabText(SUITE_KEY, L"InstalledDir") + L"\\VlanConfirmation.json";
}

// Whether a change waits for its confirmation. Whoever makes it replaces the record meanwhile.
bool IsWaiting()
{
    std::array<char, 65536> text = {};
    DWORD size = 0;
    const HANDLE file = CreateFileW(RecordPath(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &size, nullptr);
    CloseHandle(file);
    const Json record = Json::parse(text.data(), text.data() + size, nullptr, false);
    return record.is_object() && record["state"] == "waiting";
}

const char* const MIXED = R"({ "parents": { // of the first one
    "port a": { "vlans": [ { "id": 10, "name": "VLAN11" }, { "id": 11, "name": "VLAN10", "settings": { "*NumRssQueues": 4 } },
                           { "id": 13, "name": "VLAN12", "type": 1 }, { "id": 0, "name": "Untagged" } ] },
    "0002": { "vlans": [ { "id": 50, "name": "Guests", "settings": { "*LsoV2IPv4": "disabled" } } ] } } })";
} // namespace

TEST(Vlanctl, AppliesAFile)
{
    Up("server.json");
    Do("vlanctl create --auto-names --id 10,11,12,14 --parent 1 --yes");
    const std::string before = Utf8(TEMP + L"before.json");
    Do("vlanctl export -o " + before);
    const Json exported = Json::parse(std::ifstream((TEMP + L"before.json").c_str()));
    EXPECT_EQ(Json::parse(std::ifstream("Tests/Tools/exported.json")), exported); // which the schema is held to
    Changes();
    Do("vlanctl diff --prune " + before);
    Do("vlanctl apply --prune " + before);
    EXPECT_EQ("", Changes());

    const std::string file = File(MIXED);
    const Json diff = DoJson("vlanctl diff " + file, 8);
    EXPECT_EQ(
        "create 0 Untagged\nchange 10 VLAN10\nchange 11 VLAN11\nchange 12 VLAN12\nkeep 14 VLAN14\ncreate 50 Guests\n",
        Differences(diff));
    EXPECT_EQ(8, diff["exitStatus"]);
    EXPECT_EQ(Json::parse(R"([ { "property": "setting", "setting": "*LsoV2IPv4", "was": 1, "is": 0,
                                 "wasText": "Enabled", "isText": "Disabled" } ])"),
              Json(diff["differences"].back()["changes"]));
    EXPECT_THAT(Do("vlanctl diff --parent 2 " + file, 8), HasSubstr("warning: Port B gives up"));
    EXPECT_EQ("create 50 Guests\n", Differences(DoJson("vlanctl apply --dry-run --parent 2 " + file)));
    EXPECT_EQ("", Changes());
    EXPECT_THAT(Do("vlanctl apply --prune " + file), HasSubstr("- 14 VLAN14"));
    Changes();
    EXPECT_THAT(Do("vlanctl apply --prune " + file), HasSubstr("no difference"));
    EXPECT_EQ("", Changes());
    EXPECT_EQ("0,10,11,13", Ids());
    EXPECT_EQ("4", Json::parse(Do("vlanctl export"))["parents"]["Port A"]["vlans"][2]["settings"]["*NumRssQueues"]);
    ExpectListsAreRight(4);
    Do("vlanctl doctor");
    Do("vlanctl apply --prune " + before);
    EXPECT_EQ(exported, Json::parse(Do("vlanctl export")));

    // Of a team's VLANs its members know, too.
    for (const char* const vlans :
         {R"({ "id": 40, "name": "A" }, { "id": 41, "name": "B" })", R"({ "id": 41, "name": "A" })", ""})
    {
        Do("vlanctl apply --yes --prune " +
           File(R"({ "parents": { "Team 1": { "vlans": [ )" + std::string(vlans) + " ] } } }"));
        Do("vlanctl doctor");
    }
}

TEST(Vlanctl, RefusesAFileAsAWhole)
{
    Up("server.json");
    Do("vlanctl create --auto-names --id 10,11 --parent 1 --yes");
    Do("lab set \"Port A - VLAN : VLAN11\" driverLoaded off");
    Changes();
    const std::tuple<const char*, const char*> FILES[] = {
        {"{ \"parents\": {\n", "line 2, column 1: syntax error"},
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 1, "name": "A" }, { "id": 1, "name": "a" } ] } } })",
         "].name is that of"},
        {R"({ "parents": { "Port A": { "vlans": [] }, "0001": { "vlans": [] } } })",
         "is the same adapter or team as parents["},
        {R"({ "parents": { "Port X": { "vlans": [] } } })", "parents[\"Port X\"]: there is no adapter or team called"},
        {R"({ "parents": { "Port C": { "vlans": [ { "id": 1, "name": "A" } ] } } })",
         "Port C cannot carry new VLANs: this parent"},
        {R"({ "parents": { "Port B": { "vlans": [ { "id": 0, "name": "A" } ] } } })",
         "Port B/untagged: the untagged VLAN would be alone"},
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 10, "name": "vlan11" } ] } } })",
         "Port A/10: the name \"vlan11\" belongs to"},
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 10, "name": "A", "settings": { "*Lso": 1, "*JumboPacket": 5 } } ] },
                           "Port F": { "vlans": [ { "id": 1, "name": "A", "settings": { "*JumboPacket": "16129" } } ] } } })",
         "*JumboPacket cannot be \"16129\"; it can be 1514"},
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 20, "name": "A\u200e" }, { "id": 21, "name": "B " } ] } } })",
         "parents[\"Port A\"].vlans[1].name: the name ends with a blank"},
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 10, "name": "VLAN10", "settings": { "*JumboPacket": 9014 } } ] } } })",
         "Port A/10: *JumboPacket: the parent carries frames of up to"},
    };
    for (const auto& [text, fault] : FILES)
        EXPECT_THAT(Do("vlanctl apply --yes " + File(text), 1), HasSubstr(fault));
    const std::tuple<const char*, const char*> COSTS[] = {
        {R"({ "parents": { "Port E": { "vlans": [ { "id": 1, "name": "A" } ] } } })",
         "vmqGoesOff,parentGivesUpProtocols"},
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 10, "name": "VLAN10", "type": 1 } ] } } })",
         "vlanIsInterrupted"},
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 11, "name": "VLAN11", "type": 1 } ] } } })", ""}, // stopped
        {R"({ "parents": { "Port A": { "vlans": [ { "id": 10, "name": "New" } ] } } })", "restartNeeded"},
    };
    for (const auto& [text, costs] : COSTS)
    {
        if (costs == std::string("restartNeeded"))
            LabSetNumber(LabPath(SUITE_KEY, RESTART_NEEDED_NAME), L"", 1);
        std::string names;
        const Json diff = DoJson("vlanctl diff " + File(text), 8);
        for (const Json& warning : diff["warnings"])
            names += (names.empty() ? "" : ",") + warning["name"].get<std::string>();
        EXPECT_EQ(costs, names) << text;
    }
    Do("lab restart");
    EXPECT_THAT(Do("vlanctl apply --yes none.json", 1), HasSubstr("none.json cannot be opened"));
    EXPECT_THAT(Do("vlanctl apply --json " + File(MIXED), 2), HasSubstr("--yes"));
    EXPECT_EQ("", Changes());
}

TEST(Vlanctl, KeepsWhatIsConfirmed)
{
    Up("server.json");
    Do("vlanctl create --auto-names --id 10-12 --parent 1 --yes");
    const std::string file = File(MIXED);
    EXPECT_THAT(Do("vlanctl confirm", 1), HasSubstr("no change waits"));
    Do("vlanctl apply --confirm-within 600 " + file);
    EXPECT_THAT(Do("vlanctl apply " + file, 5),
                ContainsRegex("by .*, process \\d+ since .* waits for its confirmation"));
    EXPECT_EQ(true, DoJson("vlanctl confirm")["kept"]);
    EXPECT_EQ("0,10,11,13", Ids());
    Do("vlanctl diff " + file);
    Do("vlanctl confirm", 1);
}

TEST(Vlanctl, TakesBackWhatIsNotConfirmed)
{
    Up("server.json");
    Do("vlanctl create --auto-names --id 10-12 --parent 1 --yes");
    const Json before = Json::parse(Do("vlanctl export"));
    const std::string file = File(MIXED);
    const auto waitUntilBack = [&] { // a VLAN that goes while it is read ends a reading
        for (Json now; now != before;)
        {
            const CProgram program("vlanctl export");
            now = program.Status() == 0 ? Json::parse(program.Out()) : Json();
        }
    };
    Do("vlanctl apply --confirm-within 1 " + file);
    waitUntilBack();
    Do("vlanctl apply --confirm-within 600 " + file);
    Do("vlanctl create --name Mine --id 99 --parent 1");   // somebody else's, meanwhile
    Do("vlanctl create --name Theirs --id 12 --parent 1"); // which is another one's
    EXPECT_THAT(Do("vlanctl confirm --roll-back"),
                ContainsRegex("it was not wanted; it was taken back at .*; 12 Theirs, created meanwhile, had to"));
    EXPECT_EQ("10,11,12,99", Ids());
    Do("vlanctl remove --yes \"Port A/99\"");
    EXPECT_EQ(before, Json::parse(Do("vlanctl export")));

    // Killed in the middle.
    const CProgram program("vlanctl apply --confirm-within 600 " + file);
    EXPECT_TRUE(Comes(program, [] { return Bound() == 4; }));
    program.Kill();
    waitUntilBack();
    Do("vlanctl doctor --repair --yes");
    EXPECT_EQ(before, Json::parse(Do("vlanctl export")));
    EXPECT_THAT(Do("vlanctl confirm", 1), HasSubstr("ended before it was done; it was taken back"));

    // In a job that would take the watcher along.
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    const CProgram jailed("vlanctl apply --confirm-within 600 " + file, nullptr, nullptr, nullptr, job);
    EXPECT_EQ(1u, jailed.Status());
    EXPECT_THAT(jailed.Out(), HasSubstr("runs in a job that lets none of its processes go"));
    CloseHandle(job);
    EXPECT_EQ(before, Json::parse(Do("vlanctl export")));

    // At the terminal; what was typed before it asks confirms nothing.
    const CConsole console;
    ASSERT_NE(INVALID_HANDLE_VALUE, console.In());
    console.Type("\r");
    const CProgram back("vlanctl apply --yes --confirm-within 1 " + file, nullptr, console.In());
    EXPECT_EQ(1u, back.Status());
    EXPECT_THAT(back.Out(), HasSubstr("it was not confirmed in time; it was taken back"));
    const CProgram kept("vlanctl apply --yes --confirm-within 600 " + file, nullptr, console.In());
    while (!kept.IsOver(100))
        console.Type("\r");
    EXPECT_EQ(0u, kept.Status()) << kept.Out();
    EXPECT_EQ("0,10,11,13", Ids());

    // Somebody ends the watcher.
    const std::string other = File(R"({ "parents": { "Port A": { "vlans": [ { "id": 10, "name": "Other" } ] } } })");
    const CProgram alone("vlanctl apply --yes --confirm-within 600 " + other, nullptr, console.In());
    EXPECT_TRUE(Comes(alone, IsWaiting));
    const HANDLE watcher = OpenProcess(PROCESS_TERMINATE, FALSE, ChildOf(alone.Id()));
    EXPECT_TRUE(TerminateProcess(watcher, CProgram::KILLED));
    CloseHandle(watcher);
    EXPECT_EQ(4u, alone.Status());
    EXPECT_THAT(alone.Out(), HasSubstr("the process that watched over the change is gone: it stays as it is"));
    EXPECT_THAT(Do("vlanctl apply --yes " + file, 1), HasSubstr("nobody watches over it any more"));
    EXPECT_THAT(Do("vlanctl confirm --roll-back"), HasSubstr("its watcher is gone; it was taken back"));
}

// While somebody else keeps the network configuration a change comes to a halt, and so does the way back.
TEST(Vlanctl, KeepsTheOldStateWhenTheWayBackFails)
{
    CoInitialize(nullptr);
    Up("server.json");
    LabSetNumber(LAB_KEY, LAB_LOCK_PATIENCE, 500);
    Do("vlanctl create --auto-names --id 10-12 --parent 1 --yes");
    const Json before = Json::parse(Do("vlanctl export"));
    Json many; // so many steps that we get in between
    for (int id = 100; id < 140; ++id)
        many["parents"]["Port A"]["vlans"].push_back({{"id", id}, {"name", "N" + std::to_string(id)}});
    const std::string file = File(many.dump());
    Microsoft::WRL::ComPtr<INetCfg> netCfg;
    Microsoft::WRL::ComPtr<INetCfgLock> lock;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg)));
    ASSERT_EQ(S_OK, netCfg.As(&lock));
    const CProgram program("vlanctl apply --yes " + file);
    EXPECT_TRUE(Comes(program, [] { return Bound() == 4; }));
    ASSERT_EQ(S_OK, lock->AcquireWriteLock(60000, L"the network window", nullptr));
    EXPECT_EQ(4u, program.Status());
    EXPECT_THAT(program.Out(), HasSubstr("not everything could be taken back"));
    EXPECT_EQ(S_OK, lock->ReleaseWriteLock());
    EXPECT_THAT(Do("vlanctl apply --yes " + file, 1), HasSubstr("'vlanctl confirm --discard' gives"));
    EXPECT_THAT(Do("vlanctl confirm", 1), HasSubstr("not everything could be taken back"));
    Do("vlanctl confirm --roll-back");
    EXPECT_EQ(before, Json::parse(Do("vlanctl export")));

    // While the terminal waits.
    const CConsole console;
    const std::string other = File(R"({ "parents": { "Port A": { "vlans": [ { "id": 10, "name": "Other" } ] } } })");
    const CProgram waiting("vlanctl apply --yes --confirm-within 1 " + other, nullptr, console.In());
    EXPECT_TRUE(Comes(waiting, IsWaiting));
    ASSERT_EQ(S_OK, lock->AcquireWriteLock(60000, L"the network window", nullptr));
    EXPECT_EQ(4u, waiting.Status());
    EXPECT_THAT(waiting.Out(), HasSubstr("it was not confirmed in time; it could not be taken back as a whole"));
    EXPECT_EQ(S_OK, lock->ReleaseWriteLock());
    Do("vlanctl confirm --roll-back");
    EXPECT_EQ(before, Json::parse(Do("vlanctl export")));

    // Records that nobody can do anything with, and one of a way back that failed.
    const CRavString path = RecordPath();
    Json record = Json::parse(std::ifstream(path.c_str()));
    record["state"] = "failed";
    for (const std::string& text : {record.dump(), std::string("{ \"who\": "), std::string("{}")})
    {
        std::ofstream(path.c_str(), std::ios::binary) << text;
        EXPECT_THAT(Do("vlanctl apply --yes " + file, 1), HasSubstr("'vlanctl confirm --discard'"));
        EXPECT_THAT(Do("vlanctl confirm --discard"), HasSubstr("its old state was given up"));
        Do("vlanctl confirm --discard", 1);
    }
    record["state"] = "x";
    std::ofstream(path.c_str(), std::ios::binary) << record.dump();
    EXPECT_THAT(Do("vlanctl confirm", 1), HasSubstr("VlanConfirmation.json, cannot be understood"));
    Do("vlanctl confirm --discard");
}
