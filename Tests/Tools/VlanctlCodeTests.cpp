// What vlanctl makes of the names, ids and values that its user writes.

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Connections.h"
#include "Tools/vlanctl/Guidance.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/NameRules.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Selection.h"
#include "Tools/vlanctl/Settings.h"
#include "Tools/vlanctl/TeamRules.h"
#include "Tools/vlanctl/VlanFields.h"
#include "Tools/vlanctl/WantedVlans.h"
#include "Tools/vlanctl/Width.h"

#include <gtest/gtest.h>

namespace
{
SettingList Settings()
{
    SettingList settings;
    auto jumbo = std::make_unique<RAV_SETTING_ENUM>();
    jumbo->strName = L"*JumboPacket";
    jumbo->strDisplayName = L"Jumbo Packet";
    jumbo->values = {1514, 9014, 2};
    jumbo->descriptions = {L"Disabled", L"9014 Bytes", L"1514"};
    settings.push_back(std::move(jumbo));
    auto queues = std::make_unique<RAV_SETTING_INT>();
    queues->strName = L"*NumRssQueues";
    queues->iMin = 2;
    queues->iMax = 8;
    queues->iStep = 2;
    settings.push_back(std::move(queues));
    auto hidden = std::make_unique<RAV_SETTING_INT>();
    hidden->strName = L"Secret";
    hidden->iMax = 1;
    hidden->ulExposeLevel = RAV_EXPOSE_HIDDEN;
    settings.push_back(std::move(hidden));
    return settings;
}

// "*JumboPacket=9014 ", or the names of what is wrong.
std::string Wishes(const std::vector<std::string>& texts, bool hidden = false)
{
    const SettingList settings = Settings();
    std::vector<Note> errors;
    std::string text;
    for (const SettingWish& wish : ParseWishes(settings, texts, hidden, errors))
        text += ToUtf8(wish.setting->strName) + "=" + std::to_string(wish.value) + " ";
    for (const Note& error : errors)
        text += error.name + " ";
    return text;
}

VlanRow Row(const wchar_t* parent, const char* parentInstance, DWORD id, const wchar_t* name, const char* instance)
{
    VlanRow row;
    row.parentName = parent;
    row.parentKey = CRavString(L"{P}") + parent;
    row.parentInstance = parentInstance;
    row.info.vlanId = id;
    row.info.vlanName = name;
    row.info.displayName = row.parentName + L" - VLAN : " + name;
    row.info.vlanKey = CRavString(L"{") + WideOf(instance).c_str() + L"}";
    row.instance = instance;
    return row;
}

std::string Chosen(const std::string& name)
{
    const std::vector<VlanRow> rows = {
        Row(L"Port A", "0001", 10, L"Sales", "0012"),      Row(L"Port A", "0001", 0, L"Untagged", "0013"),
        Row(L"Port B", "0002", 10, L"Voice", "0014"),      Row(L"Port B", "0002", 12, L"Zu\u0308rich", "0015"),
        Row(L"Port B", "0002", 20, L"", "0020"),           Row(L"Port B", "0002", 30, L"#0012", "0021"),
        Row(L"Team/1", "0003", 7, L"7\u202Eevil", "0022"),
    };
    try
    {
        return ChooseVlan(rows, name).instance;
    }
    catch (const CommandError& error)
    {
        return error.What().name;
    }
}

// "10=Sales 20 ", what the agent is asked, and what is refused.
std::string Wanted(const std::string& text, const std::optional<std::string>& name = std::nullopt)
{
    const WantedVlans wanted = ParseWanted(text, name);
    std::string shown;
    for (const WantedVlan& vlan : wanted.vlans)
        shown += std::to_string(vlan.id) + (vlan.name ? "=" + *vlan.name : "") + " ";
    shown += "[" + wanted.ids + "]";
    for (const RefusedPart& part : wanted.refused)
        shown += " '" + part.text + "'";
    return shown;
}
} // namespace

TEST(Names, MeanOneVlanOrNone)
{
    const std::pair<const char*, const char*> CASES[] = {
        {"sales", "0012"},
        {"PORT b - vlan : voice", "0014"},
        {"{0014}", "0014"},
        {"Port A/10", "0012"},
        {"1/10", "0012"},
        {"0001/10", "0012"},
        {"#2/10", "0014"},
        {"{P}Port B/12", "0015"},
        {"port a/untagged", "0013"},
        {"Port A/0", "0013"},
        {"Team/1/7", "0022"},
        {"20", "0020"}, // the id and the instance of one and the same
        {"10", "ambiguousName"},
        {"12", "ambiguousName"}, // an id, and another one's instance
        {"13", "unknownName"},
        {"0014", "unknownName"},
        {"#13", "0013"},
        {"#0012", "ambiguousName"},
        {"Z\u00FCrich", "0015"},
        {"", "emptyName"},
        {"Port A/", "unknownName"},
        {"/10", "unknownName"},
        {"#", "unknownName"},
        {"4294967306", "unknownName"},
    };
    for (const auto& [name, chosen] : CASES)
        EXPECT_EQ(chosen, Chosen(name)) << name;
}

TEST(Names, ThatNobodyWouldFindAgainAreRefused)
{
    const std::pair<std::string, const char*> CASES[] = {
        {"a\tb", "nameControl"},
        {"a\u0085", "nameControl"},
        {"a\u202Eb", "nameDirection"},
        {"a\u2066", "nameDirection"},
        {"a ", "nameEndsBlank"},
        {"a\u3000", "nameEndsBlank"},
        {"a\xC3", "nameIllFormed"},
        {"a\xEF\xBF\xBD", "nameIllFormed"},
        {"B\u00FCro 🦊 \u05D0\u200E", ""},
        {"", ""},
    };
    for (const auto& [name, refusal] : CASES)
    {
        const std::vector<Note> notes = NameRefusals(name);
        EXPECT_EQ(refusal, notes.empty() ? "" : notes.front().name) << name;
    }
    EXPECT_EQ("a<U+000A><U+202E>\u00FC", Visible("a\n\u202E\u00FC"));
    EXPECT_EQ("a\n<U+009B>", Visible("a\n\u009B", true));
    EXPECT_EQ("{\n\"\\u202e\"", EscapedJson("{\n\"\u202E\""));
}

TEST(Settings, WishesAreNumbersTextsOrErrors)
{
    const std::pair<std::vector<std::string>, const char*> CASES[] = {
        {{"*JumboPacket=9014", "*numrssqueues=4"}, "*JumboPacket=9014 *NumRssQueues=4 "},
        {{"jumbopacket=DISABLED"}, "*JumboPacket=1514 "},
        {{"Jumbo Packet=9014 bytes"}, "*JumboPacket=9014 "},
        {{"*JumboPacket=1514"}, "*JumboPacket=1514 "}, // the number comes before another choice's text
        {{"*JumboPacket=9014=", "Jumbo="}, "settingValue settingUnknown "},
        {{"*JumboPacket"}, "settingValue "},
        {{"=1"}, "settingUnknown "},
        {{"*NumRssQueues=3", "JumboPacket=4294968810"}, "settingValue settingValue "},
        {{"*NumRssQueues= 4"}, "settingValue "},
        {{"*NumRssQueues=4", "NumRssQueues=2"}, "*NumRssQueues=4 settingTwice "},
        {{"Secret=1"}, "settingHidden "},
    };
    for (const auto& [texts, wishes] : CASES)
        EXPECT_EQ(wishes, Wishes(texts)) << texts.front();
    EXPECT_EQ("Secret=1 ", Wishes({"secret=1"}, true));
    EXPECT_EQ(2u, ResetAll(Settings(), false).size());
}

TEST(Ids, AreWholeNumbers)
{
    const std::pair<const char*, std::optional<DWORD>> CASES[] = {
        {"10", 10},         {"untagged", 0},      {"UNTAGGED", 0},       {"99999999999", MAXDWORD},
        {"", std::nullopt}, {"-1", std::nullopt}, {"1e1", std::nullopt}, {" 1", std::nullopt}};
    for (const auto& [text, id] : CASES)
        EXPECT_EQ(id, ParseId(text)) << text;
}

TEST(TeamRules, TheAdapterNumberZeroCannotCarryVlansOfATeam)
{
    for (const auto& [instance, team, refused] :
         {std::tuple(L"0000", L"{t}", 1u), {L"0000", L"{U}", 0u}, {L"0001", L"{T}", 0u}})
    {
        RAV_HOST host;
        host.Add(L"{A}").instance = instance;
        host.entries[L"{A}"].bindings = {{L"\\Device\\{T}"}};
        EXPECT_EQ(refused, TeamRefusals(host, team).size());
    }
}

TEST(Names, OfVlansThatAreThere)
{
    const std::vector<VlanRow> rows = {
        Row(L"A", "0001", 10, L"Sales", "0012"),        Row(L"A", "0001", 11, L"VLAN11-2", "0013"),
        Row(L"A", "0001", 12, L"VLAN12-x", "0014"),     Row(L"A", "0001", 0, L"Untagged", "0015"),
        Row(L"A", "0001", 13, L"Zu\u0308rich", "0016"),
    };
    const std::tuple<const char*, std::optional<std::string>, const char*, const char*> CASES[] = {
        {"10=sales,11=Sales,14", std::nullopt, "10", "11,14"},
        {"10-12,0", std::nullopt, "11,0", "10,12"},
        {"13=Z\u00FCrich", std::nullopt, "13", ""},
        {"11=VLAN11,0=x", std::nullopt, "", "11,0"},
        {"11,12", "VLAN{id}-x", "12", "11"},
        {"10=Sales,5-3", std::nullopt, "10", "10,5-3"},
    };
    for (const auto& [text, name, present, missing] : CASES)
    {
        WantedVlans wanted = ParseWanted(text, name);
        std::string found;
        for (const VlanRow& row : TakePresent(rows, wanted))
            found += (found.empty() ? "" : ",") + std::to_string(row.info.vlanId);
        EXPECT_EQ(present, found) << text;
        EXPECT_EQ(missing, wanted.ids) << text;
    }
}

TEST(Ids, OfACreationMayHaveNames)
{
    const std::pair<const char*, const char*> CASES[] = {
        {"10", "10 [10]"},
        {"5-5", "5 [5]"},
        {"1-3,7", "1 2 3 7 [1,2,3,7]"},
        {"10, 20,  30", "10 20 30 [10,20,30]"},
        {"Untagged,5", "5 0 [5,0]"},
        {"0-2", "1 2 0 [1,2,0]"},
        {"4094,7,7", "4094 7 7 [4094,7,7]"},
        {"10=Sales,0= x=y ,20", "10=Sales 20 0= x=y  [10,20,0]"},
        {"10=,5-6={id}.{id}", "10= 5=5.5 6=6.6 [10,5,6]"},
        {"10=a b, c", "10=a b [10,c] 'c'"},
        {"1,,2", "1 2 [1,,2] ''"},
        {"1,", "1 [1,] ''"},
        {" 7", "[ 7] ' 7'"},
        {"5-3,7,4095=x", "7 [5-3,7,4095] '5-3' '4095'"},
        {"1-99999999999,0x5", "[1-99999999999,0x5] '1-99999999999' '0x5'"},
        {"-1,1-,1-2-3", "[-1,1-,1-2-3] '-1' '1-' '1-2-3'"},
    };
    for (const auto& [text, wanted] : CASES)
        EXPECT_EQ(wanted, Wanted(text)) << text;
    EXPECT_EQ("9=Lab 10=Floor 10 0=Floor untagged [9,10,0]", Wanted("9=Lab,10,0", "Floor {id}"));
}

TEST(Lists, SelectAndSort)
{
    std::vector<VlanRow> rows = {
        Row(L"Port 10", "0001", 2, L"a", "1"), Row(L"Port 2", "0001", 20, L"Sales", "2"),
        Row(L"Port 2", "0001", 3, L"sa", "3"), Row(L"Port 2", "0001", 0, L"Untagged", "4"),
        Row(L"Port 2", "0001", 12, L"B", "5"),
    };
    for (VlanRow& row : rows)
        row.status = LOADED;
    rows[1].findings = {"not-bound"};
    rows[2].status = "notLoaded";
    const std::tuple<ListOptions, const char*, const char*> CASES[] = {
        {{}, "", "4 3 5 2 1 "},
        {{}, "name", "1 5 3 2 4 "},
        {{}, "id", "4 1 3 5 2 "},
        {{.ids = "3-12, 0"}, "", "4 3 5 "},
        {{.ids = "?2,untagged"}, "", "4 5 "},
        {{.names = {"SA*", "b"}}, "", "3 5 2 "},
        {{.status = "notLoaded,damaged"}, "", "3 2 "},
        {{.status = "*loaded"}, "", "4 3 5 1 "},
        {{.status = "*bound"}, "", "2 "},
        {{.ids = "2*", .names = {"?"}, .status = "loaded"}, "", "1 "},
    };
    for (const auto& [options, column, chosen] : CASES)
    {
        std::vector<ListedVlan> vlans;
        for (const VlanRow& row : rows)
        {
            if (IsSelected(row, options))
                vlans.push_back({row, VlanToJson(row)});
        }
        Sort(vlans, column);
        std::string found;
        for (const ListedVlan& vlan : vlans)
            found += vlan.row.instance + " ";
        EXPECT_EQ(chosen, found) << &options - &std::get<0>(CASES[0]);
    }
    const std::pair<ListOptions, const char*> FAULTS[] = {
        {{.ids = "5,8-6"}, "8-6"}, {{.ids = "1a*"}, "1a*"}, {{.ids = "1,"}, "\"\""}, {{.status = "lodaed"}, "lodaed"}};
    for (const auto& [options, fault] : FAULTS)
        EXPECT_NE(std::string::npos, SelectionFault(options).find(fault)) << fault;
}

TEST(Lists, KnowPatterns)
{
    const std::tuple<const char*, const char*, bool> CASES[] = {
        {"", "", true},
        {"", "*", true},
        {"", "?", false},
        {"abc", "a*c", true},
        {"abc", "a*b", false},
        {"aXbXb", "a*xb", true},
        {"abab", "*ab", true},
        {"abc", "ABC", true},
        {"abc", "abcd", false},
        {"abc", "ab", false},
        {"Z\u00FCrich", "zu\u0308*", true},
        {"mississippi", "m*iss*p?", true},
    };
    for (const auto& [text, pattern, is] : CASES)
        EXPECT_EQ(is, IsLike(text, pattern)) << text << " " << pattern;
}

TEST(Lists, KeepTheirColumnsStraight)
{
    const std::pair<const char*, size_t> WIDTHS[] = {
        {"B\u00FCro", 4},  {"Bu\u0308ro", 4},         {"\u8CA9\u58F2", 4}, {"\uFF76\uFF8C", 2},
        {"\uFF21", 2},     {"\u1112\u1161\u11AB", 2}, {"🦊x", 3},        {"\u0E01\u0E34\u0E19", 2},
        {"\U00020000", 2}, {"\u200E\u2014", 1},
    };
    for (const auto& [text, width] : WIDTHS)
        EXPECT_EQ(width, Width(text)) << text;
    EXPECT_EQ("Sales", Shortened("Sales", 5));
    EXPECT_EQ("Sal…", Shortened("Sales", 4));
    EXPECT_EQ("営…", Shortened("営業部", 4)); // two places each
    CTable table({"A", "B"});
    table.Add({"\u8CA9", "x"});
    table.Add({"u\u0308,\"", "y\nz"});
    EXPECT_EQ("A    B\n\u8CA9   x\nu\u0308,\"  y<U+000A>z\n", table.Text());
    EXPECT_EQ("A,B\r\n\u8CA9,x\r\n\"u\u0308,\"\"\",y<U+000A>z\r\n", table.Csv());
    EXPECT_EQ("", CTable({"A"}).Text(CTable::Headings::Hidden) + CTable({"A"}).Csv(CTable::Headings::Hidden));
}

TEST(VlanctlCode, KnowsSlipsOfTheKeyboard)
{
    const std::vector<std::string> words = {"create", "remove", "rename", "set", "set-id", "reset", "list", "watch"};
    const std::pair<const char*, const char*> CASES[] = {
        {"craete", "create"}, {"creat", "create"}, {"renme", "rename"}, {"set_id", "set-id"}, {"lsit", "list"},
        {"list", "list"},     {"ls", ""},          {"x", ""},           {"delete", ""},       {"", ""}};
    for (const auto& [word, nearest] : CASES)
        EXPECT_EQ(nearest, Nearest(word, words)) << word;
}

TEST(Interfaces, AreThoseOfTheSystem)
{
    const InterfaceTable interfaces = ReadInterfaces();
    const auto loop = std::find_if(interfaces.begin(), interfaces.end(), [](const auto& entry) {
        const std::vector<std::string>& addresses = entry.second.addresses;
        return std::find(addresses.begin(), addresses.end(), "127.0.0.1") != addresses.end();
    });
    ASSERT_NE(interfaces.end(), loop);
    const InterfaceInfo info = InterfaceOf(interfaces, loop->first);
    EXPECT_FALSE(info.name.empty());
    EXPECT_LT(0u, info.index.value_or(0));
    EXPECT_LT(0u, info.mtu.value_or(0));
    EXPECT_FALSE(InterfaceOf(interfaces, L"{A0000001-0000-4000-8000-00000000FFFF}").index);
}
