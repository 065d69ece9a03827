// The file that says what VLANs parents have: what it can say, and where it is wrong.

#include "Tests/Harness/RegistryText.h"
#include "Tools/vlanctl/DesiredStateFile.h"
#include "Tools/vlanctl/Session.h"

#include <gtest/gtest.h>

namespace
{
std::string FaultsOf(const std::string& text)
{
    try
    {
        ParseDesiredState(text);
        return "";
    }
    catch (const CommandError& error)
    {
        EXPECT_EQ(EXIT_REFUSED, error.Status());
        return error.what();
    }
}

// A file with these VLANs on Port A.
std::string File(const std::string& vlans)
{
    return R"({"parents": {"Port A": {"vlans": [)" + vlans + "]}}}";
}
} // namespace

TEST(DesiredStateTests, SaysWhatIsWanted)
{
    const std::vector<DesiredParent> parents =
        ParseDesiredState("\xEF\xBB\xBF// the office\n"
                          R"({ "$schema": "vlan-configuration.schema.json", "parents": {
             "Port A": { "vlans": [ { "id": 10, "name": "Sales", "type": 1,
                                      "settings": { "*JumboPacket": "9014", "*NumRssQueues": 4 } }, /* and */
                                    { "id": 0, "name": "Management" } ] },
             "{A0000001-0000-4000-8000-000000000001}": { "vlans": [] } } })");
    ASSERT_EQ(2u, parents.size());
    EXPECT_EQ("Port A", parents[0].name);
    EXPECT_TRUE(parents[1].vlans.empty());
    ASSERT_EQ(2u, parents[0].vlans.size());
    const RAV_WANTED_VLAN& sales = parents[0].vlans[0];
    EXPECT_TRUE(sales.id == 10 && sales.name == L"Sales" && sales.type == 1u);
    ASSERT_EQ(2u, sales.settings.size());
    EXPECT_TRUE(sales.settings[0].keyword == L"*JumboPacket" && sales.settings[0].value == L"9014");
    EXPECT_TRUE(sales.settings[1].value == L"4");
    EXPECT_FALSE(parents[0].vlans[1].type || !parents[0].vlans[1].settings.empty());
}

TEST(DesiredStateTests, TellsWhereItIsWrong)
{
    const struct
    {
        std::string text;
        const char* fault;
    } ROWS[] = {
        {"", "line 1, column 1: syntax error"},
        {"{\n  \"parents\": {,\n", "line 2, column 15: syntax error"},
        {"{ \"parents\": { \"Käse\": x", "line 1, column 24: syntax error"},
        {"[]", "the file is no object"},
        {"{}", "the file has no \"parents\""},
        {R"({"parents": []})", "parents is not an object"},
        {R"({"parents": {}, "parent": {}})", "parent is unknown"},
        {R"({"parents": {"Port A": {}}})", "parents[\"Port A\"] has no \"vlans\""},
        {R"({"parents": {"P": {"vlans": {}}}})", "parents.P.vlans is not a list"},
        {R"({"parents": {"P": {"vlans": []}, "P": {"vlans": []}}})", "parents.P is there twice"},
        {File(R"({"id": 1, "id": 2, "name": "A"})"), "parents[\"Port A\"].vlans[0].id is there twice"},
        {File(R"({"id": 1, "name": "A"}, 7)"), "parents[\"Port A\"].vlans[1] is no object"},
        {File(R"({"name": "A"})"), "parents[\"Port A\"].vlans[0] has no \"id\""},
        {File(R"({"id": 1})"), "parents[\"Port A\"].vlans[0] has no \"name\""},
        {File(R"({"id": 1, "name": "A", "vlan": 1})"), "vlans[0].vlan is unknown"},
        {File(R"({"id": 4095, "name": "A"})"), "vlans[0].id is not a whole number from 0 to 4094"},
        {File(R"({"id": -1, "name": "A"})"), "vlans[0].id is not"},
        {File(R"({"id": 1.5, "name": "A"})"), "vlans[0].id is not"},
        {File(R"({"id": "1", "name": "A"})"), "vlans[0].id is not"},
        {File(R"({"id": 1, "name": "A", "type": 3})"), "vlans[0].type is not a whole number from 0 to 2"},
        {File(R"({"id": 1, "name": 1})"), "vlans[0].name is not a text"},
        {File(R"({"id": 1, "name": ""})"), "vlans[0].name is empty"},
        {File(R"({"id": 1, "name": " A"})"), "vlans[0].name begins with a blank"},
        {File(R"({"id": 1, "name": "A|B"})"), "vlans[0].name holds one of"},
        {File(R"({"id": 1, "name": "A\u0000B"})"), "vlans[0].name holds a zero character"},
        {File(R"({"id": 1, "name": "123456789012345678901234567890123"})"), "is longer than 32 characters"},
        {File(R"({"id": 1, "name": "A"}, {"id": 1, "name": "B"})"),
         "vlans[1].id is that of parents[\"Port A\"].vlans[0], too"},
        {File(R"({"id": 1, "name": "\u00e4"}, {"id": 2, "name": "\u00c4"})"), "vlans[1].name is that of"},
        {File(R"({"id": 1, "name": "A", "settings": []})"), "vlans[0].settings is not an object"},
        {File(R"({"id": 1, "name": "A", "settings": {"*X": true}})"), "settings[\"*X\"] is neither a text nor"},
        {File(R"({"id": 1, "name": "A", "settings": {"*X": 1, "*x": 2}})"), "settings[\"*x\"] is the same setting as"},
        {"{ \"parents\": { \"\xFF\": {} } }", "line 1, column 17: syntax error"},
    };
    for (const auto& [text, fault] : ROWS)
        EXPECT_NE(std::string::npos, FaultsOf(text).find(fault)) << text << "\n" << FaultsOf(text);
    const std::string all = FaultsOf(File(R"({"id": 5000, "name": "", "x": 1})"));
    EXPECT_EQ(2, std::count(all.begin(), all.end(), '\n')) << all;
}
