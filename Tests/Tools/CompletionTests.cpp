// What could stand where a user presses Tab.

#include "Tools/vlanctl/Completion.h"
#include "Tools/vlanctl/Progress.h"
#include "Tools/vlanctl/Verbs.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::UnorderedElementsAre;

namespace
{
Completion Of(const std::string& line)
{
    Command none;
    return CompletionOf(*MakeParser(none), WordsOfLine(line));
}
} // namespace

TEST(Completion, ReadsALineAsAShellDoes)
{
    const std::pair<const char*, std::vector<std::string>> CASES[] = {
        {"", {""}},
        {"vlanctl", {"vlanctl"}},
        {"vlanctl  list ", {"vlanctl", "list", ""}},
        {"a \"Port A", {"a", "Port A"}},
        {"a 'Port A'/10", {"a", "Port A/10"}},
        {"a Port\\ A x\\", {"a", "Port A", "x\\"}},
        {"a \"it's\" 'a \"b\\' \"c\\\"d\" '' ", {"a", "it's", "a \"b\\", "c\"d", "", ""}},
    };
    for (const auto& [line, words] : CASES)
        EXPECT_EQ(words, WordsOfLine(line)) << line;
}

TEST(Completion, KnowsWhatIsMissing)
{
    const std::tuple<const char*, const char*, const char*, const char*> CASES[] = {
        // line, kind, what is typed, the VLAN
        {"vlanctl show Po", "VLAN", "Po", ""},
        {"vlanctl show Sales ", "", "", "Sales"},
        {"vlanctl remove Sales Off", "VLAN", "Off", "Sales"},
        {"vlanctl create --parent \"Port A", "PARENT", "Port A", ""},
        {"vlanctl create -p P", "PARENT", "P", ""},
        {"vlanctl create --parent=P", "PARENT", "P", ""},
        {"vlanctl create -p P ", "", "", ""},
        {"vlanctl set --wait 5 Sales *Ju", "SETTING=VALUE", "*Ju", "Sales"},
        {"vlanctl set -y Sales a=1 *Ju", "SETTING=VALUE", "*Ju", "Sales"},
        {"vlanctl reset Sales ", "SETTING", "", "Sales"},
        {"vlanctl doctor --repair not", "FINDING", "not", ""},
        {"vlanctl apply ", "FILE", "", ""},
        {"vlanctl list --sort s", "COLUMN", "s", ""},
        {"vlanctl nonsense x", "", "x", ""},
    };
    for (const auto& [line, kind, typed, vlan] : CASES)
    {
        const Completion completion = Of(line);
        EXPECT_EQ(kind, completion.kind) << line;
        EXPECT_EQ(typed, completion.typed) << line;
        EXPECT_EQ(vlan, completion.vlan) << line;
    }
    EXPECT_THAT(Candidates(Of("vlanctl re"), Of("vlanctl re").words),
                UnorderedElementsAre("remove", "rename", "report", "reset", "restart"));
    EXPECT_THAT(Of("vlanctl ").words, Not(Contains("complete")));
    EXPECT_THAT(Of("vlanctl help s").words, Contains("set"));
    EXPECT_THAT(Of("vlanctl create --").words, Contains("--if-missing"));
    EXPECT_THAT(Of("vlanctl list -o ").words, ElementsAre("table", "json", "csv", "name"));
}

TEST(Completion, OffersWhatGoesOn)
{
    const std::vector<std::string> names = {"Port A", "port B", "Other", "Por\nt", "P\xE2\x80\xAEort"};
    EXPECT_THAT(Candidates(Of("vlanctl create -p po"), names), ElementsAre("Port A", "port B"));
    EXPECT_THAT(Candidates(Of("vlanctl create --parent=o"), names), ElementsAre("--parent=Other"));
}

TEST(Progress, SaysHowFarItIs)
{
    EXPECT_EQ("3 of 40, 12 s: create 12 V", ProgressText(3, 40, 12, "create 12 V"));
    EXPECT_EQ("40 of 40, 2 min 5 s: x", ProgressText(40, 40, 125, "x"));
}
