// What vlanctl says and asks before it changes something.

#include "Tests/Tools/Connection.h"

#include "Tests/Tools/Console.h"
#include "Tests/Tools/Programs.h"

#include <tuple>

namespace
{
// The names of the warnings of a command that does nothing.
std::string Warnings(const std::string& command)
{
    std::string names;
    const Json json = DoJson(command + " --dry-run");
    for (const Json& warning : json["warnings"])
        names += warning["name"].get<std::string>() + " ";
    return names;
}

// "done setId 10>30; ", or the names of the errors.
std::string Told(const std::string& command, DWORD status)
{
    std::string text;
    const Json json = DoJson("vlanctl " + command, status);
    for (const Json& error : json["errors"])
        text += error["name"].get<std::string>() + " ";
    for (const Json& step : json["steps"])
    {
        text += step["state"].get<std::string>() + " " + step["action"].get<std::string>();
        for (const Json& change : step["changes"])
            text += " " + change["was"].dump() + ">" + change["is"].dump();
        text += "; ";
    }
    return text;
}
} // namespace

TEST(Vlanctl, SaysWhatAChangeCosts)
{
    Up("server.json");
    const std::string create = "vlanctl create --auto-names --id 10 --parent ";
    const CConnection connection;
    Do("lab set \"Port B\" address 192.0.2.7");
    Do("lab set \"Port F\" localMac 02-1B-21-00-00-08");
    Do("lab set \"Port A\" localMac 001b21000001"); // its own
    EXPECT_EQ("parentGivesUpProtocols ", Warnings(create + "\"Port A\""));
    EXPECT_EQ("vmqGoesOff parentGivesUpProtocols ", Warnings(create + "\"Port E\""));
    EXPECT_EQ("parentGivesUpProtocols localMacIsEmptied ", Warnings(create + "\"Port F\""));
    EXPECT_THAT(Do(create + "\"Port A\" --dry-run"),
                HasSubstr("Port A gives up TCP/IP and its address (DHCP); it will be reachable over its VLANs only\n"));
    EXPECT_THAT(Do(create + "\"Port B\" --dry-run"), HasSubstr("TCP/IP and its address (192.0.2.7); it"));
    Do(std::string("lab set \"Port A\" address ") + CConnection::ADDRESS);
    EXPECT_EQ("parentGivesUpProtocols connectionsAreCut ", Warnings(create + "\"Port A\""));
    EXPECT_THAT(Do(create + "\"Port A\" --dry-run"), ContainsRegex("over Port A .*cut .127.9.8.7:\\d+ from 127"));
    Do("vlanctl create --auto-names --id 10,11 --parent \"Port F\"");
    EXPECT_EQ("", Warnings("vlanctl create --auto-names --id 12 --parent \"Port F\""));
    EXPECT_EQ("", Warnings("vlanctl remove \"Port F/10\""));
    EXPECT_EQ("parentGetsProtocolsBack localMacIsEmptied ", Warnings("vlanctl remove --all --parent \"Port F\""));
    Do(std::string("lab set \"Port F - VLAN : VLAN10\" address ") + CConnection::ADDRESS);
    EXPECT_EQ("connectionsAreCut ", Warnings("vlanctl remove \"Port F/10\""));
    EXPECT_EQ("vlanIsInterrupted connectionsAreCut ", Warnings("vlanctl set-id \"Port F/10\" 12"));
    EXPECT_EQ("vlanIsInterrupted ", Warnings("vlanctl restart \"Port F/11\""));
    EXPECT_EQ("", Warnings("vlanctl rename \"Port F/10\" x"));
    EXPECT_EQ("", Warnings(create + "\"Team 1\""));
    Do("vlanctl remove Backup --yes");
    EXPECT_EQ("parentGivesUpProtocols ", Warnings(create + "\"Team 1\""));
    Do("lab set \"Port F - VLAN : VLAN11\" rebootNeeded on");
    Do("vlanctl restart \"Port F/11\"", 6);
    EXPECT_EQ("vlanIsInterrupted restartNeeded ", Warnings("vlanctl restart \"Port F/11\""));
    EXPECT_EQ("", Warnings("vlanctl rename \"Port F/10\" x"));
    EXPECT_EQ("connectionsAreCut restartNeeded ", Warnings("vlanctl remove \"Port F/10\""));
    EXPECT_EQ("restartNeeded ", Warnings("vlanctl create --auto-names --id 12 --parent \"Port F\""));
}

TEST(Vlanctl, AsksOnATerminal)
{
    Up("server.json");
    const CConsole console;
    ASSERT_NE(INVALID_HANDLE_VALUE, console.In());
    const CConnection connection;
    Do(std::string("lab set \"Port B\" address ") + CConnection::ADDRESS);
    Changes();
    const std::tuple<const char*, DWORD, const char*> QUESTIONS[] = {
        {"\r", 1, "create --parent 1 --id 5 --name x"},
        {"y\r", 1, "create --parent 2 --id 5 --name x"},
        {"yes\r", 0, "create --parent 2 --id 5 --name x"},
        {"", 0, "create --parent 1 --id 5 --name x --yes"},
        {"", 0, "create --parent 1 --id 6 --name y"},
        {"n\r", 1, "remove \"Port A/5\""},
        {"\r", 1, "restart \"Port A/6\""},
        {"y\r", 0, "set-id \"Port A/6\" 7"},
        {"", 0, "rename \"Port A/7\" z"},
        {"y\r", 0, "remove \"Port A/5\" \"Port A/7\""},
    };
    for (const auto& [answer, status, command] : QUESTIONS)
    {
        const CProgram program(std::string("vlanctl ") + command, nullptr, console.In());
        console.Type(answer);
        EXPECT_EQ(status, program.Status()) << command << "\n" << program.Out();
        EXPECT_EQ(status != 0, Changes().empty()) << command;
    }
}

TEST(Vlanctl, TellsThatARestartIsNeeded)
{
    Up("server.json");
    const std::tuple<const char*, DWORD, const char*> CASES[] = {
        {"lab set \"Port A\" rebootNeeded on", 6, "create --parent 1 --id 10,11 --auto-names"},
        {"lab set \"Port A\" rebootNeeded off", 6, "create --parent 2 --id 10 --name x"}, // it is still to come
        {"lab restart", 0, "create --parent 1 --id 12 --name z"},
        {"lab set \"Port A - VLAN : VLAN10\" rebootNeeded on", 0, "remove \"Port A/11\" --yes"},
        {"lab show", 6, "remove \"Port A/10\" --yes"},
        {"lab show", 0, "create --parent 1 --id 13 --name y --dry-run"},
    };
    for (const auto& [before, status, command] : CASES)
    {
        Do(before);
        EXPECT_EQ(status == 6, DoJson(std::string("vlanctl ") + command, status)["restartNeeded"]) << command;
    }
}

TEST(Vlanctl, ChangesWhatIsThere)
{
    Up("server.json");
    Do("vlanctl create --parent 1 --id 10,20,0 --auto-names");
    const std::tuple<const char*, DWORD, const char*> CASES[] = {
        {"rename 1/10 Sales", 0, "done rename \"VLAN10\">\"Sales\"; "},
        {"rename Sales Sales", 0, ""},
        {"rename Sales vlan20", 1, "nameInUse "},
        {"rename Sales \"a|b\"", 1, "nameCharacter "},
        {"rename Sales \"a \"", 1, "nameEndsBlank "},
        {"rename Sales x --dry-run", 0, "planned rename \"Sales\">\"x\"; "},
        {"set-id Sales 30", 0, "done setId 10>30; "},
        {"set-id 30 30", 0, ""},
        {"set-id 30 20", 1, "idInUse "},
        {"set-id 30 4095", 1, "idTooLarge "},
        {"set-id 30 x", 1, "idNotValid "},
        {"set-id 30 0", 1, "idInUse "},
        {"set-id 1/untagged 5", 1, "idNotValid "},
        {"set-type 30 2", 0, "done setType 0>2; "},
        {"set-type 30 2", 0, ""},
        {"set 30 jumbopacket=\"4088 bytes\" *NumRssQueues=4", 0, "done set 1514>4088; done set 2>4; "},
        {"set 30 *NumRssQueues=4", 0, ""},
        {"set 30 *JumboPacket=9014", 1, "settingValue "},
        {"set 30 *NumRssQueues=9 Unknown=1", 1, "settingValue settingUnknown "},
        {"reset 30 numrssqueues", 0, "done reset 4>2; "},
        {"reset 30 --all --dry-run", 0, "planned reset 4088>1514; "},
        {"reset 30 --all", 0, "done reset 4088>1514; "},
        {"reset 30 --all", 0, ""},
        {"restart 30", 0, "done restart; "},
    };
    EXPECT_EQ("settingAboveParent ", Told("set 1/10 *JumboPacket=4088", 1));
    Do("lab set \"Port A\" jumbo 4088");
    Changes();
    for (const auto& [command, status, told] : CASES)
    {
        EXPECT_EQ(told, Told(command, status)) << command;
        EXPECT_EQ(std::string(told).find("done") == std::string::npos || std::string(told).find("restart") == 5,
                  Changes().empty())
            << command;
        if (std::string(told).find("2>4") != std::string::npos)
        {
            EXPECT_EQ("true,false,true,false", Each("differs", "vlanctl settings 30"));
        }
    }
    EXPECT_THAT(Do("vlanctl set 30 *NumRssQueues=9", 1), HasSubstr("Range: 1 to 8."));
    EXPECT_THAT(Do("vlanctl set 30 x=9", 1), HasSubstr("There are: *JumboPacket, *LsoV2IPv4,"));
    EXPECT_THAT(Do("vlanctl set-id 1/untagged 5", 1), HasSubstr("its id is not changed"));
    EXPECT_EQ("Untagged,VLAN20,Sales", Each("name", "vlanctl list --parent 1"));
    ExpectListsAreRight(3);
    Do("vlanctl doctor");
}
