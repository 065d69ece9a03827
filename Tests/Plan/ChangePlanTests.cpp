// Plans: what is there, what is wanted, and the steps that lead from one to the other; and whatever the two are, no
// step on the way breaks a rule.

#include "Plan/RavOthers.h"
#include "Plan/RavPlan.h"
#include "Tests/Harness/RegistryText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

namespace
{
std::vector<std::string> Split(const std::string& text, char delimiter)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, delimiter);)
        parts.push_back(part.substr(std::min(part.find_first_not_of(' '), part.size())));
    return parts;
}

std::string Spaced(std::string text)
{
    std::replace(text.begin(), text.end(), '_', ' ');
    return text;
}

RAV_SETTINGS Settings(int32_t queues = 2)
{
    auto number = std::make_shared<RAV_SETTING_INT>();
    number->strName = L"*NumRssQueues";
    number->iMin = 1;
    number->iMax = 8;
    number->iDefault = 2;
    number->iCurrent = queues;
    auto choice = std::make_shared<RAV_SETTING_ENUM>();
    choice->strName = L"*JumboPacket";
    choice->values = {1514, 9014};
    choice->descriptions = {L"Disabled", L"9014 Bytes"};
    choice->iDefault = choice->iCurrent = 1514;
    return {number, choice};
}

// "10 Sales, 0 Management": each has the key "{name}". A third word is "key={...}", or the value of *NumRssQueues.
RAV_PRESENT_PARENT Present(const std::string& text, size_t most = 64)
{
    RAV_PRESENT_PARENT parent;
    parent.key = L"{parent}";
    parent.mostVlans = most;
    parent.newSettings = Settings();
    for (const std::string& vlan : Split(text, ','))
    {
        const std::vector<std::string> words = Split(vlan, ' ');
        RAV_PRESENT_VLAN& present = parent.vlans.emplace_back();
        present.id = static_cast<DWORD>(std::stoul(words[0]));
        present.name = Wide(words[1]).c_str();
        present.key = (L"{" + Wide(words[1]) + L"}").c_str();
        const std::string more = words.size() > 2 ? words[2] : "2";
        if (more.starts_with("key="))
            present.key = Wide(more.substr(4)).c_str();
        present.settings = Settings(more.starts_with("key=") ? 2 : std::stoi(more));
    }
    return parent;
}

RAV_WANTED_PARENT Wanted(const std::string& text)
{
    RAV_WANTED_PARENT parent;
    parent.key = L"{parent}";
    for (const std::string& vlan : Split(text, ','))
    {
        const std::vector<std::string> words = Split(vlan, ' ');
        RAV_WANTED_VLAN& wanted = parent.vlans.emplace_back();
        wanted.id = static_cast<DWORD>(std::stoul(words[0]));
        wanted.name = Wide(words[1]).c_str();
        for (size_t word = 2; word < words.size(); ++word)
        {
            const std::vector<std::string> sides = Split(words[word], '=');
            if (sides[0] == "type")
                wanted.type = static_cast<DWORD>(std::stoul(sides[1]));
            else if (sides[0] == "before")
                parent.wasBefore = true;
            else if (sides[0] == "key")
                wanted.key = Wide(sides[1]).c_str();
            else
                wanted.settings.push_back({Wide(sides[0]).c_str(), Wide(Spaced(sides[1])).c_str()});
        }
    }
    return parent;
}

std::string StepText(const RAV_PLAN_STEP& step)
{
    const std::string head =
        std::string(RavChangeName(step.change)) + " " + std::to_string(step.id) + " " + Utf8(step.name);
    switch (step.change)
    {
    case RAV_CHANGE::Create:
        return head + (step.type != 0 ? " type=" + std::to_string(step.type) : "");
    case RAV_CHANGE::Remove:
        return head;
    case RAV_CHANGE::Rename:
        return head + " -> " + Utf8(step.newName);
    case RAV_CHANGE::SetId:
        return head + " -> " + std::to_string(step.newId);
    case RAV_CHANGE::SetType:
        return head + " -> " + std::to_string(step.newType);
    default:
        return head + " " + Utf8(step.keyword) + " " + std::to_string(step.was) + " -> " + std::to_string(step.is);
    }
}

// The steps, or "!" and the names of the refusals; then what is kept.
std::string PlanText(const RAV_PLAN& plan)
{
    std::string text;
    const auto add = [&](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };
    for (const RAV_PLAN_STEP& step : plan.steps)
        add(StepText(step));
    for (const RAV_REFUSAL& refusal : plan.refusals)
        add("!" + Utf8(refusal.name) + " " + std::to_string(refusal.id));
    for (const RAV_REFUSAL& dropped : plan.dropped)
        add("dropped " + Utf8(dropped.name) + " " + std::to_string(dropped.id));
    for (const RAV_PRESENT_VLAN& kept : plan.kept)
        add("kept " + std::to_string(kept.id));
    return text;
}

struct ROW
{
    const char* present;
    const char* wanted;
    bool prune;
    const char* plan;
    size_t most = 64;
};

// The VLANs of a parent under the rules that the agent has, with a step done to them.
class CModel
{
  public:
    explicit CModel(const RAV_PRESENT_PARENT& parent) : m_most(parent.mostVlans), m_vlans(parent.vlans) {}

    void Take(const RAV_PLAN_STEP& step)
    {
        const size_t before = m_vlans.size();
        if (step.change == RAV_CHANGE::Create)
            m_vlans.push_back({{}, step.id, step.name, step.type, Settings()});
        else
            Change(step);
        EXPECT_GE(m_most, m_vlans.size());
        EXPECT_TRUE(before == 0 || !m_vlans.empty() || m_mayEnd) << "the parent is given back in between";
        for (size_t one = 0; one < m_vlans.size(); ++one)
            for (size_t other = 0; other < one; ++other)
            {
                EXPECT_NE(m_vlans[one].id, m_vlans[other].id);
                EXPECT_FALSE(m_vlans[one].name.CompareI(m_vlans[other].name));
            }
        EXPECT_FALSE(m_vlans.size() == 1 && m_vlans.front().id == 0) << "an untagged VLAN is alone";
    }
    void MayEnd() { m_mayEnd = true; }
    std::string Text() const
    {
        std::vector<std::string> texts;
        for (const RAV_PRESENT_VLAN& vlan : m_vlans)
            texts.push_back(std::to_string(vlan.id) + " " + Utf8(vlan.name));
        std::sort(texts.begin(), texts.end());
        std::string text;
        for (const std::string& one : texts)
            text += one + "\n";
        return text;
    }

  private:
    void Change(const RAV_PLAN_STEP& step)
    {
        const auto vlan = std::find_if(m_vlans.begin(), m_vlans.end(), [&](const RAV_PRESENT_VLAN& candidate) {
            return candidate.key == step.vlanKey && candidate.id == step.id && candidate.name == step.name;
        });
        ASSERT_NE(m_vlans.end(), vlan) << StepText(step);
        if (step.change == RAV_CHANGE::Remove)
            m_vlans.erase(vlan);
        else if (step.change == RAV_CHANGE::SetId)
        {
            EXPECT_TRUE(step.id != 0 && step.newId >= 1 && step.newId <= 4094);
            vlan->id = step.newId;
        }
        else if (step.change == RAV_CHANGE::Rename)
            vlan->name = step.newName;
    }

    size_t m_most;
    std::vector<RAV_PRESENT_VLAN> m_vlans;
    bool m_mayEnd = false;
};

// Some VLANs with ids and names from few, so that they meet often.
std::string RandomVlans(std::mt19937& random, unsigned most, unsigned few)
{
    std::vector<unsigned> ids(few);
    std::vector<unsigned> names(few);
    for (unsigned number = 0; number < few; ++number)
        ids[number] = names[number] = number;
    std::shuffle(ids.begin(), ids.end(), random);
    std::shuffle(names.begin(), names.end(), random);
    const size_t count = random() % (most + 1);
    std::string text;
    for (size_t vlan = 0; vlan < count && (count > 1 || ids[0] != 0); ++vlan)
        text += (text.empty() ? "" : ", ") + std::to_string(ids[vlan]) + (random() % 8 == 0 ? " n" : " N") +
                std::to_string(names[vlan]);
    return text;
}
} // namespace

TEST(ChangePlanTests, Tables)
{
    const ROW ROWS[] = {
        {"", "", true, ""},
        {"10 A", "10 A", true, ""},
        {"", "0 M, 10 A type=1", false, "create 10 A type=1; create 0 M"},
        {"10 A, 20 B", "10 A", false, "kept 20"},
        {"10 A, 20 B", "10 A", true, "remove 20 B"},
        {"10 A, 0 M", "", true, "remove 0 M; remove 10 A"},
        // by id, then by name
        {"10 A", "10 B", false, "rename 10 A -> B"},
        {"10 A", "10 a", false, "rename 10 A -> a"},
        {"10 A", "20 A", false, "setId 10 A -> 20"},
        {"10 A", "20 a", false, "setId 10 A -> 20; rename 20 A -> a"},
        {"10 A", "20 B", true, "create 20 B; remove 10 A"},
        // nothing becomes untagged, or ceases to be
        {"10 A, 20 B", "10 A, 0 B", false, "!nameInUse 0; kept 20"},
        {"10 A, 20 B", "10 A, 0 B", true, "remove 20 B; create 0 B"},
        {"10 A, 0 M", "10 A, 20 M", true, "remove 0 M; create 20 M"},
        // circles and chains
        {"10 A, 20 B", "10 B, 20 A", false, "rename 10 A -> Temporary 1; rename 20 B -> A; rename 10 Temporary 1 -> B"},
        {"10 A, 20 B, 30 C", "10 B, 20 C, 30 D", false, "rename 30 C -> D; rename 20 B -> C; rename 10 A -> B"},
        {"10 A, 20 B", "20 A, 30 B", false, "setId 20 B -> 30; setId 10 A -> 20"},
        {"10 A, 20 B", "20 A, 30 C", false, "!nameInUse 20; kept 10"},
        {"10 A, 20 B", "20 A, 30 C", true, "remove 10 A; rename 20 B -> A; create 30 C"},
        {"10 A, 20 B", "10 A key={B}, 20 B key={A}", false,
         "setId 20 B -> 4094; setId 10 A -> 20; setId 4094 B -> 10; rename 20 A -> Temporary 1; rename 10 B -> A; "
         "rename 20 Temporary 1 -> B"},
        // a tagged VLAN stays beside the untagged one, whose name the one that leaves has
        {"10 A, 0 M", "20 M, 0 A", true,
         "rename 0 M -> Temporary 1; create 20 M; remove 10 A; rename 0 Temporary 1 -> A"},
        {"10 A, 0 M", "0 M", true, "!untaggedAlone 0"},
        {"10 A", "0 M", true, "!untaggedAlone 0"},
        {"10 A", "0 M", false, "create 0 M; kept 10"},
        // the limit
        {"10 A, 20 B", "30 C, 40 D", true, "remove 10 A; create 30 C; remove 20 B; create 40 D", 2},
        {"10 A, 20 B", "30 C", false, "!tooManyVlans 30; kept 10; kept 20", 2},
        // rules that leave no way, though the end would be allowed
        {"10 A, 20 B, 30 C", "10 A, 20 B, 40 D", true, "!notReachable 40", 2},
        {"0 M, 10 A", "0 M, 20 B", true, "!notReachable 10; !notReachable 20", 2},
        {"10 A, 20 B", "10 X key={A}, 10 Y key={B}", true, "!notReachable 10"},
        {"10 A, 20 B", "10 X key={A}, 20 x key={B}", true, "!notReachable 20"},
        // what cannot be told apart
        {"10 A, 10 B", "10 A", false, "!hostDamaged 10; !idInUse 10; kept 10"},
        // types and settings, last
        {"10 A 4", "10 A *numrssqueues=4", false, ""},
        {"10 A 4", "10 A type=2 *NumRssQueues=default", false, "setType 10 A -> 2; reset 10 A *NumRssQueues 4 -> 2"},
        {"10 A", "10 B *JumboPacket=9014_Bytes, 20 A *NumRssQueues=8 *JumboPacket=disabled", false,
         "rename 10 A -> B; create 20 A; set 10 B *JumboPacket 1514 -> 9014; set 20 A *NumRssQueues 2 -> 8"},
        {"10 A", "10 A *NumRssQueues=9 *JumboPacket=4088 *VMQ=1, 20 B *NumRssQueues=x", false,
         "!settingValue 10; !settingValue 10; !unknownSetting 10; !settingValue 20"},
        // a value that is there although it cannot be: it stays, and if it was so before it stands in nothing's way
        {"10 A 99", "10 A *NumRssQueues=99", false, ""},
        {"10 A 4", "11 A *NumRssQueues=99 *JumboPacket=9014 *VMQ=1 before", false,
         "setId 10 A -> 11; set 11 A *JumboPacket 1514 -> 9014; dropped settingValue 11; dropped unknownSetting 11"},
    };
    for (const ROW& row : ROWS)
    {
        const RAV_PRESENT_PARENT present = Present(row.present, row.most);
        EXPECT_EQ(row.plan, PlanText(RavPlanParent(present, Wanted(row.wanted), row.prune)))
            << row.present << " -> " << row.wanted;
    }
}

// VLANs that others have created are left alone on the way back, whether it is known what was there when the change was
// done (the key of "10 A" is "{A}") or only what it was to create.
TEST(ChangePlanTests, SparesOthers)
{
    const struct
    {
        const char* before;
        const char* created;
        const char* known; // null: was not read
        const char* present;
        const char* plan; // and who gives way
    } ROWS[] = {
        {"10 A key={A}", "20 B", "10 A, 20 B", "10 A, 20 B, 30 C", "remove 20 B"},
        {"10 A key={A}", "20 B", nullptr, "10 A, 20 B, 30 C", "remove 20 B"},
        {"10 A key={A}", "20 B", nullptr, "10 A, 20 C", ""}, // it came to nothing, and its id is free
        {"10 A key={A}", "20 B", "10 A", "10 A, 20 B", ""},  // removed, and created by somebody else
        {"10 A key={A}", "", "20 A", "20 A, 10 C", "remove 10 C; setId 20 A -> 10; C gives way"},
        {"10 A key={A}", "", "10 B key={A}", "10 B key={A}, 30 A key={X}",
         "remove 30 A; rename 10 B -> A; A gives way"},
        {"10 A key={A}, 20 B key={B}", "", "10 A", "10 A, 20 C", "rename 20 C -> B; C gives way"},
        {"10 A key={A}", "", "30 C", "30 C, 10 A key={X}", "remove 30 C"}, // an earlier way back has created it again
        {"", "10 A", "10 A", "10 A, 0 M", "remove 0 M; remove 10 A; M gives way"},
        {"", "10 A", "10 A", "10 A, 0 M, 20 B", "remove 10 A"},
    };
    for (const auto& row : ROWS)
    {
        RAV_BEFORE before = {Wanted(row.before), {}, Wanted(row.created).vlans, {}};
        if (row.known != nullptr)
            before.known.emplace();
        for (const RAV_PRESENT_VLAN& vlan : Present(row.known != nullptr ? row.known : "").vlans)
            before.known->push_back(vlan.key);
        RAV_PRESENT_PARENT present = Present(row.present);
        const std::vector<RAV_PRESENT_VLAN> gaveWay = RavSpareOthers(present, before);
        std::string text = PlanText(RavPlanParent(present, before.parent, true));
        for (const RAV_PRESENT_VLAN& vlan : gaveWay)
            text += (text.empty() ? "" : "; ") + Utf8(vlan.name) + " gives way";
        EXPECT_EQ(row.plan, text) << row.before << " <- " << row.present;
    }
}

// From anything to anything: every rule holds after every step, nothing is done twice, and in the end it is as wanted.
TEST(ChangePlanTests, AnyToAny)
{
    std::mt19937 random(20);
    size_t planned = 0;
    size_t aside = 0;
    for (unsigned round = 0; round < 6000; ++round)
    {
        const bool isFull = round % 20 == 0;
        const unsigned most = isFull ? 64 : 3 + random() % 6;
        const unsigned few = isFull ? 80 : most + 1 + random() % 4;
        const RAV_PRESENT_PARENT present = Present(RandomVlans(random, most, few), most);
        RAV_WANTED_PARENT wanted = Wanted(RandomVlans(random, most, few));
        for (RAV_WANTED_VLAN& vlan : wanted.vlans)
            if (round % 3 == 0 && !present.vlans.empty()) // as for a way back; some of the keys are nobody's
                vlan.key = (L"{N" + std::to_wstring(random() % few) + L"}").c_str();
        const bool prune = random() % 2 == 0;
        const RAV_PLAN plan = RavPlanParent(present, wanted, prune);
        if (!plan.refusals.empty())
            continue;
        ++planned;
        CModel model(present);
        RAV_PRESENT_PARENT end = present;
        end.vlans.clear();
        for (const RAV_WANTED_VLAN& vlan : wanted.vlans)
            end.vlans.push_back({{}, vlan.id, vlan.name, 0, {}});
        for (const RAV_PRESENT_VLAN& kept : plan.kept)
            end.vlans.push_back(kept);
        if (end.vlans.empty())
            model.MayEnd();
        for (const RAV_PLAN_STEP& step : plan.steps)
        {
            model.Take(step);
            aside += step.isTemporary;
        }
        ASSERT_EQ(CModel(end).Text(), model.Text()) << PlanText(plan);
        ASSERT_FALSE(HasFailure()) << PlanText(plan);
        EXPECT_GE(2 * (present.vlans.size() + wanted.vlans.size()) + 4, plan.steps.size());
    }
    EXPECT_LT(2000u, planned);
    EXPECT_LT(50u, aside);
}
