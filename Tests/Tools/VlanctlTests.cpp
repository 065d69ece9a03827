// What vlanctl shows and refuses, creates and removes; and what the lab does.

#include "Tests/Tools/Programs.h"

#include <fstream>

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
    EXPECT_EQ("Team 1,Port A,Port B,Virtual Function 1,Port E,Port F", Each("name", "vlanctl parents"));
    for (const Json& parent : DoJson("vlanctl parents --all"))
        EXPECT_EQ(parent["supportsVlans"], parent["reason"] == "") << parent;
    Up("vlans.json");
    EXPECT_EQ("Backup,Voice", Each("name", "vlanctl list --parent \"team 1\""));
    EXPECT_THAT(Do("vlanctl list"), HasSubstr("\n20        Büro      Port A  loaded"));
    const std::pair<const char*, const char*> lists[] = {
        {"-o name --id 10-30", "Port A/10\nPort A/20\nPort B/30\n"},
        {"-o csv --columns parent,ID --name *s* --sort name",
         "parentName,id\r\nTeam 2,60\r\nPort A,10\r\nPort B,30\r\n"},
        {"--no-header --columns id,status --name Unt* --parent \"Port B\"", "untagged  loaded\n"},
        {"--no-header --status disabled", ""},
        {"--no-header --columns members,mac,CONNECTIONNAME,mtu --id 4*",
         "Port G, Port H  00-1B-21-00-00-09  Local Area Connection 14\n"},
        {"-o csv --id 5", "id,name,parentName,status,instance,key\r\n"},
    };
    for (const auto& [options, text] : lists)
        EXPECT_EQ(text, Do(std::string("vlanctl list ") + options)) << options;
    EXPECT_EQ(R"([{"id":10}])", DoJson("vlanctl list --columns id --name Sales").dump());
    const Json vlan = DoJson("vlanctl show \"PORT a/20\"");
    EXPECT_EQ("Port A - VLAN : Büro", vlan["displayName"]);
    EXPECT_EQ(vlan, DoJson("vlanctl show #11"));
    EXPECT_EQ("adapter tagged [] null 2", vlan["parentType"].get<std::string>() + " " +
                                              vlan["tagging"].get<std::string>() + " " + vlan["members"].dump() + " " +
                                              vlan["interfaceIndex"].dump() + " " +
                                              vlan["settings"][1]["value"].dump());
    EXPECT_EQ("0004", DoJson("vlanctl show \"Team 1/40\"")["members"][0]["instance"]);
    EXPECT_EQ("loaded", DoJson("vlanctl status " + vlan["key"].get<std::string>())["status"]);
    Do("lab set \"Port A - VLAN : Büro\" driverLoaded off");
    EXPECT_EQ("notLoaded", DoJson("vlanctl status Büro", 7)["status"]);
    EXPECT_EQ("*LsoV2IPv4,*NumRssQueues", Each("name", "vlanctl settings Büro"));
    EXPECT_THAT(Do("vlanctl show Untagged", 1), ContainsRegex("Port B - VLAN : Unt.*\n.*Team 2 - VLAN : Unt"));
    Json host = {{"adapters", {{{"name", "Port A"}, {"mac", "001B21000001"}}}}};
    for (int id = 1; id <= 64; ++id)
        host["vlans"].push_back({{"parent", "Port A"}, {"id", id}, {"name", "V" + std::to_string(id)}});
    std::ofstream(Utf8(TEMP) + "full.json") << host;
    Do("lab down");
    Do("lab up \"" + Utf8(TEMP) + "full.json\"");
    EXPECT_EQ(Each("meaning", "vlanctl validate --parent 1 --id 100 --name x", 1),
              Each("reason", "vlanctl parents --all"));
}

TEST(Vlanctl, ShowsWhatCarriesWhat)
{
    Up("vlans.json");
    EXPECT_THAT(Do("vlanctl tree"), HasSubstr("vlan 20 Büro  loaded\n"));
    EXPECT_EQ("team", DoJson("vlanctl tree")["tree"][0]["kind"]);
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    HANDLE shown = nullptr;
    HANDLE show = nullptr;
    ASSERT_TRUE(CreatePipe(&shown, &show, &inherited, 0));
    const CProgram watch("vlanctl watch", nullptr, nullptr, show);
    std::string text;
    const auto shows = [&](const char* what) {
        DWORD size = 0;
        PeekNamedPipe(shown, nullptr, 0, nullptr, &size, nullptr);
        std::string more(size, '\0');
        if (size > 0 && ReadFile(shown, more.data(), size, &size, nullptr))
            text += more.substr(0, size);
        return text.find(what) != std::string::npos;
    };
    EXPECT_TRUE(Comes(watch, [&] { return shows("0 findings"); })) << text;
    Do("vlanctl rename Büro Kontor --yes");
    EXPECT_TRUE(Comes(watch, [&] { return shows("Kontor  loaded"); })) << text;
    watch.Kill();
    CloseHandle(shown);
    CloseHandle(show);
    Do("vlanctl report -o \"" + Utf8(TEMP) + "page.html\"");
    std::ifstream page(Utf8(TEMP) + "page.html");
    const std::string html{std::istreambuf_iterator<char>(page), {}};
    EXPECT_THAT(html, HasSubstr("20 Kontor</text>"));
    EXPECT_TRUE(html.ends_with("</html>\n"));
    Do("vlanctl report -o \"" + Utf8(TEMP) + "no\\page.html\"", 1);
}

TEST(Vlanctl, RefusesWithReasonAndStatus)
{
    Up("server.json");
    const std::vector<std::string> cases = {"0",
                                            "list --parent 1",
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
                                            "create --parent 1 --id 5=x,6",
                                            "--id 10=Sales",
                                            "2",
                                            "create --parent 1 --id 5=x --name y",
                                            "leave --name out",
                                            "2",
                                            "list -o json --status lodaed",
                                            "\"exitStatus\": 2",
                                            "2",
                                            "remove --json 1",
                                            "--yes or --dry-run",
                                            "1",
                                            "create --parent \"Team 1\" --id 40 --name x",
                                            "error 0x3300008F",
                                            "0",
                                            "create --parent \"Port E\" --id 5 --name x --dry-run",
                                            "warning 0x33000095"};
    for (size_t index = 0; index < cases.size(); index += 3)
        EXPECT_THAT(Do("vlanctl " + cases[index + 1], std::stoul(cases[index])), HasSubstr(cases[index + 2]));
    const std::vector<std::string> ids = {"-1",           "141",     "1,,2",  "141", "5-3",         "141",
                                          " 7",           "141",     "4095",  "142", "99999999999", "142",
                                          "1-2147483647", "141,139", "20,21", "137"};
    for (size_t index = 0; index < ids.size(); index += 2)
        EXPECT_EQ(ids[index + 1], Each("number", "vlanctl create --parent 1 --name x --id \"" + ids[index] + '"', 1));
    const std::pair<const char*, const char*> culprits[] = {
        {"--auto-names --id 1-3,2,5-3", R"(["5-3"],["2"])"},
        {"--auto-names --id 2,5,2", R"(["2"])"},
        {"--name x --id 20,21", R"(["20","21"])"},
        {"--id 20=x,21,22=vlan21 --auto-names", R"(["21","22"])"},
        {"--id 20=x,21=y?,22=z", R"(["21"])"},
    };
    for (const auto& [request, refused] : culprits)
        EXPECT_EQ(refused, Each("refused", std::string("vlanctl create --parent 1 ") + request, 1));
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
    EXPECT_EQ("Four 14,VLAN15,Untagged",
              Each("name", "vlanctl create --parent 1 --id \"Untagged=Untagged, 14=Four {id},15\" --auto-names"));
    EXPECT_THAT(Do("vlanctl create --parent 1 --id 9-12 --auto-names", 1), HasSubstr("11 (Zu\u0308rich)"));
    Changes();
    EXPECT_EQ("isThere,isThere", Each("state", "vlanctl create --parent 1 --id 12=склад,15 --auto-names --if-missing"));
    EXPECT_THAT(Do("vlanctl create --parent 1 --id 14-16 --auto-names --if-missing", 1), HasSubstr("14 (Four 14)"));
    EXPECT_EQ("", Changes());
    EXPECT_EQ("done,isThere", Each("state", "vlanctl create --parent 1 --id 14,16 --name \"Four {id}\" --if-missing"));
    Do("vlanctl remove --yes \"Four 14\" VLAN15 \"Four 16\"");
    ExpectListsAreRight(5);
    const std::string requests = DoJson("lab show")["driverRequests"].dump();
    for (const Json& vlan : DoJson("vlanctl list --parent 1"))
        EXPECT_THAT(requests, HasSubstr(R"("bytes":258,"oid":"0xFF010109","text":"\\Device\\)" +
                                        vlan["key"].get<std::string>() + "\"}"));
    Changes();
    Do("vlanctl remove --yes \"1/10\" Nobody", 1);
    EXPECT_EQ("notThere", DoJson("vlanctl remove --yes --if-exists Nobody")["warnings"][0]["name"]);
    EXPECT_EQ("", Changes());
    EXPECT_EQ("done,done,done", Each("state", "vlanctl remove --yes --if-exists \"1/10\" Nobody #14 #15"));
    ExpectListsAreRight(2);
    Do("lab set \"Port A - VLAN : Untagged\" hyperV on");
    Changes();
    EXPECT_EQ("refused", Each("state", "vlanctl remove \"Port A/13\" --dry-run", 1));
    EXPECT_EQ("refused", Each("state", "vlanctl remove \"Port A/13\" --yes", 1));
    EXPECT_EQ("", Changes());
    Do("lab set \"Port A - VLAN : Untagged\" hyperV off");
    EXPECT_EQ("done,done", Each("state", "vlanctl remove --all --parent 1 --yes"));
    EXPECT_EQ("40", Each("id", "vlanctl list"));
}

TEST(Vlanctl, DoctorFindsAndMends)
{
    Up("vlans.json");
    EXPECT_THAT(Do("vlanctl doctor"), HasSubstr("healthy"));
    Changes();
    Do("lab break not-bound \"Port A\"");
    Do("lab break id-list \"Port B\"");
    EXPECT_EQ("damaged,damaged,damaged,damaged,loaded,loaded,loaded,loaded", Each("status", "vlanctl list"));
    EXPECT_THAT(Do("vlanctl status Sales", 8), HasSubstr("damaged: not bound"));
    EXPECT_EQ("id-list", DoJson("vlanctl doctor --parent \"Port B\"", 8)["findings"][0]["name"]);
    EXPECT_THAT(Do("vlanctl doctor --repair --dry-run", 8), HasSubstr("would bind the driver"));
    Do("vlanctl doctor --repair no-such-finding", 2);
    Do("vlanctl doctor --repair id-list --yes", 8);
    EXPECT_EQ("not-bound", DoJson("vlanctl doctor --repair --yes")["mended"][0]["name"]);
    EXPECT_TRUE(DoJson("vlanctl doctor")["healthy"]);
    Changes();
    Do("lab break same-name \"Port A - VLAN : Sales\"");
    EXPECT_EQ(2u, DoJson("vlanctl doctor --repair --yes", 8)["findings"][0]["commands"].size());
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

TEST(Vlanctl, TellsErrorsToProgramsToo)
{
    Up("server.json");
    const std::tuple<const char*, DWORD, const char*> CASES[] = {
        {"show Nobody", 1, "unknownName"},
        {"show \"\"", 2, "emptyName"},
        {"list --parent \"\"", 2, "usage"},
        {"show", 2, "usage"},
        {"list --columns id,colour", 2, "usage"},
        {"list --id 20-10", 2, "usage"},
        {"create --parent No --id 5 --auto-names", 1, "unknownName"},
        {"export --parent No", 1, "unknownName"},
    };
    for (const auto& [command, status, name] : CASES)
    {
        const Json json = DoJson(std::string("vlanctl ") + command, status);
        EXPECT_EQ(name, json["error"]["name"]) << command;
        EXPECT_EQ(status, json["exitStatus"]) << command;
    }
    Do("lab down");
    EXPECT_EQ("noSuite", DoJson("vlanctl list", 3)["error"]["name"]);
}

TEST(Vlanctl, KeepsFormerTraces)
{
    Up("server.json");
    const std::wstring log = LabText(SUITE_KEY, L"InstalledDir") + L"\\VlanAgent";
    const auto text = [&](const wchar_t* age) {
        std::ifstream file(Utf8(log + age + L".txt"));
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    for (int command = 0; command < 10; ++command)
        Do("vlanctl list");
    const std::string last = text(L"");
    Do("vlanctl show Nobody", 1);
    EXPECT_NE("", last);
    EXPECT_EQ(last, text(L".1"));
    EXPECT_NE("", text(L".9"));
    EXPECT_EQ("", text(L".10"));
}
