// What a setting accepts, and how texts and numbers become each other.

#include "Common/Src/OsVersion.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Src/Agent/RavPointerArray.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Src/SuiteNames.h"
#include "Tests/Harness/OtherSystem.h"
#include "Tests/Harness/PrivateHive.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cwchar>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
constexpr int32_t LOWEST = std::numeric_limits<int32_t>::min();
constexpr int32_t HIGHEST = std::numeric_limits<int32_t>::max();
constexpr wchar_t MEANINGLESS[] = L"thedisplayvalueisNOTsupportedforthissetting";

RAV_SETTING_INT Range(int32_t min, int32_t max, int32_t step, int32_t current = 0, const wchar_t* display = L"")
{
    RAV_SETTING_INT setting;
    setting.strName = L"*ReceiveBuffers";
    setting.iMin = min;
    setting.iMax = max;
    setting.iStep = step;
    setting.iCurrent = current;
    setting.strCurrentDisplay = display;
    return setting;
}

RAV_SETTING_ENUM Choices(std::vector<int32_t> values, std::vector<CRavString> descriptions = {},
                         const wchar_t* name = L"*FlowControl")
{
    RAV_SETTING_ENUM setting;
    setting.strName = name;
    setting.values = std::move(values);
    setting.descriptions = std::move(descriptions);
    return setting;
}

bool Accepts(const RAV_SETTING& setting, int32_t number)
{
    const RAV_SETTING_VAL_INT value(number);
    return setting.IsValueValid(&value);
}

TEST(Setting, RangeAndStep)
{
    struct
    {
        int32_t min, max, step;
        std::vector<int32_t> good, bad;
    } const cases[] = {
        {1514, 9014, 500, {1514, 2014, 9014}, {1513, 1515, 2015, 9013, 9015, 9514, LOWEST, HIGHEST}},
        {1514, 9014, 0, {1514, 1515, 9013, 9014}, {1513, 9015, 0, -1514}},
        {-10, 9, 4, {-10, -6, -2, 2, 6}, {-14, -8, 0, 4, 9, 10}},
        {0, 10, -5, {0, 5, 10}, {1, -5, 15}},
        {7, 7, 3, {7}, {4, 6, 8, 10}},
        {9, 1, 0, {}, {1, 5, 9}},
        {LOWEST, HIGHEST, 0, {LOWEST, 0, HIGHEST}, {}},
        {LOWEST, HIGHEST, HIGHEST, {LOWEST, -1, HIGHEST - 1}, {0, HIGHEST}},
        {LOWEST, HIGHEST, -1, {LOWEST, 0, HIGHEST}, {}},
        {LOWEST, HIGHEST, LOWEST, {LOWEST, 0}, {-1, 1, HIGHEST}},
    };
    for (const auto& [min, max, step, good, bad] : cases)
    {
        const RAV_SETTING_INT setting = Range(min, max, step);
        SCOPED_TRACE(testing::Message() << min << " to " << max << " by " << step);
        for (int32_t number : good)
            EXPECT_TRUE(Accepts(setting, number)) << number;
        for (int32_t number : bad)
            EXPECT_FALSE(Accepts(setting, number)) << number;
    }
}

TEST(Setting, ListedChoices)
{
    const RAV_SETTING_ENUM setting = Choices({3, -1, LOWEST, 98});
    for (int32_t number : {3, -1, LOWEST, 98})
        EXPECT_TRUE(Accepts(setting, number)) << number;
    for (int32_t number : {0, 1, 99, HIGHEST})
        EXPECT_FALSE(Accepts(setting, number)) << number;
    EXPECT_FALSE(Accepts(Choices({}), 0));
}

TEST(Setting, ReservedNumbersOfThePerformanceProfile)
{
    const std::string key = Utf8(SUITE_KEY);
    const std::string script = std::string(key) + "  SaveRestoreScriptFromMSI  REG_SZ  restore.vbs";
    const std::string endless = std::string(key) + "  SaveRestoreScriptFromMSI  REG_SZ  " + std::string(300, 'x');
    const std::vector<int32_t> listed{1, 2, 3};
    const std::vector<int32_t> all{0, 1, 2, 98, 99};
    struct
    {
        std::string hive;
        std::vector<int32_t> choices, valid;
    } const cases[] = {
        {"", listed, {2, 3, 98}}, {key, listed, {2, 3, 98}}, {script, listed, {1, 2, 3, 98}}, {script, {2}, {2, 98}},
        {"", all, {2, 98}},       {script, all, {1, 2, 98}}, {endless, listed, {2, 3, 98}},
    };
    for (const auto& [content, choices, valid] : cases)
    {
        const CPrivateHive hive(content);
        for (const wchar_t* name : {L"PerformanceProfile", L"performancePROFILE"})
        {
            const RAV_SETTING_ENUM setting = Choices(choices, {}, name);
            std::vector<int32_t> accepted;
            for (int32_t number = -1; number <= 100; ++number)
                if (Accepts(setting, number))
                    accepted.push_back(number);
            EXPECT_EQ(valid, accepted) << content;
        }
    }
}

TEST(Setting, ValuesOfOtherTypesAreRefusedAndLeftAlone)
{
    const RAV_SETTING_INT range = Range(0, 10, 0);
    const RAV_SETTING_ENUM choices = Choices({0, 1}, {L"Off", L"On"});
    const RAV_SETTING_ENUM profile = Choices({2}, {L"On"}, L"PerformanceProfile");
    RAV_SETTING_VAL_STR text;
    text.strValue = L"1";
    text.strDisplay = L"On";
    RAV_SETTING_VAL_MULTI_STR list;
    list.values = {L"1"};
    list.displays = {L"On"};
    for (const RAV_SETTING* setting :
         {static_cast<const RAV_SETTING*>(&range), static_cast<const RAV_SETTING*>(&choices),
          static_cast<const RAV_SETTING*>(&profile)})
        for (RAV_SETTING_VAL* value : {static_cast<RAV_SETTING_VAL*>(&text), static_cast<RAV_SETTING_VAL*>(&list),
                                       static_cast<RAV_SETTING_VAL*>(nullptr)})
        {
            EXPECT_FALSE(setting->IsValueValid(value));
            EXPECT_FALSE(setting->ResolveDisplayValue(value));
            EXPECT_FALSE(setting->SetValueFromDisplay(value));
        }
    EXPECT_EQ(L"1", text.strValue);
    EXPECT_EQ(L"On", text.strDisplay);
    EXPECT_EQ(std::vector<CRavString>{L"1"}, list.values);
}

struct RAV_TRANSLATION
{
    int32_t before;
    const wchar_t* text;
    bool done;
    int32_t after;
};

using Translate = bool (RAV_SETTING::*)(RAV_SETTING_VAL*) const;

void Check(const RAV_SETTING& setting, Translate translate, const std::vector<RAV_TRANSLATION>& cases)
{
    for (const auto& [before, text, done, after] : cases)
    {
        RAV_SETTING_VAL_INT value(before, text);
        EXPECT_EQ(done, (setting.*translate)(&value)) << before << " " << text;
        EXPECT_EQ(after, value.iValue) << before << " " << text;
        EXPECT_EQ(text, value.strDisplay);
    }
}

TEST(Setting, ResolvesAChangedText)
{
    Check(Range(0, 4096, 8, 256, L"256"), &RAV_SETTING::ResolveDisplayValue,
          {{512, L"1024", true, 512},
           {512, MEANINGLESS, true, 512},
           {256, MEANINGLESS, false, 256},
           {256, L"256", false, 256},
           {256, L"1024", true, 1024},
           {256, L" -8 bytes", true, -8},
           {256, L"many", true, 0},
           {256, L"99999999999", true, HIGHEST}});

    RAV_SETTING_ENUM choices = Choices({0, 3, 1}, {L"Off", L"Rx & Tx", L"Tx"});
    choices.iCurrent = 3;
    choices.strCurrentDisplay = L"Rx & Tx";
    Check(choices, &RAV_SETTING::ResolveDisplayValue,
          {{1, L"Off", true, 1},
           {77, L"no such", true, 77},
           {3, L"RX & TX", false, 3},
           {3, MEANINGLESS, false, 3},
           {3, L"off", true, 0},
           {3, L"TX", true, 1},
           {3, L"T", false, 3},
           {3, L"", false, 3}});
}

TEST(Setting, SetsTheNumberFromTheText)
{
    Check(Range(0, 10, 0, 5, L"5"), &RAV_SETTING::SetValueFromDisplay,
          {{1, L"7", true, 7},
           {1, L"5", true, 5},
           {1, L"", true, 0},
           {1, L"4711", true, 4711},
           {1, MEANINGLESS, true, 1}});

    const auto set = &RAV_SETTING::SetValueFromDisplay;
    Check(Choices({0, 1}, {L"Off", L"On"}), set, {{0, L"ON", true, 1}, {1, L"Auto", false, -1}, {1, L"", false, -1}});
    Check(Choices({5, 9}, {L"A", L"a"}), set, {{0, L"A", true, 5}, {0, L"B", false, -1}});
    Check(Choices({-2, -7, 4}, {L"A", L"B", L"C"}), set, {{0, L"b", true, -7}, {0, L"D", false, -8}});
    Check(Choices({}), set, {{3, L"A", false, -1}});
    // Damaged lists: a choice without a description can't be named, but its number is taken.
    RAV_SETTING_ENUM shorter = Choices({1, -1}, {L"One"});
    Check(shorter, set, {{0, L"One", true, 1}, {0, L"Two", false, -2}});
    shorter.iCurrent = -1;
    EXPECT_TRUE(shorter.ShowCurrent());
    EXPECT_EQ(L"", shorter.GetDisplayValue());
    Check(Choices({1}, {L"One", L"Two"}), set, {{0, L"Two", false, -1}});
    Check(Choices({1}, {MEANINGLESS}), set, {{0, MEANINGLESS, false, -1}});
}

TEST(Setting, AnUnknownTextNeverGivesAValidNumber)
{
    for (const std::vector<int32_t>& values :
         {std::vector<int32_t>{}, {-1, -2}, {LOWEST}, {LOWEST, HIGHEST, HIGHEST - 1}})
        for (const wchar_t* name : {L"*FlowControl", L"PerformanceProfile"})
        {
            const CPrivateHive hive;
            const RAV_SETTING_ENUM setting = Choices(values, {}, name);
            RAV_SETTING_VAL_INT value(0, L"unknown");
            EXPECT_FALSE(setting.SetValueFromDisplay(&value));
            EXPECT_FALSE(setting.IsValueValid(&value)) << value.iValue;
        }
}

template <typename Setting>
std::unique_ptr<Setting> CloneOf(const Setting& setting)
{
    std::unique_ptr<RAV_SETTING> clone = RavCloneSetting(setting);
    EXPECT_EQ(setting.GetType(), clone->GetType());
    return std::unique_ptr<Setting>(static_cast<Setting*>(clone.release()));
}

void FillBase(RAV_SETTING& setting)
{
    setting.strName = L"*Name";
    setting.strRegistryName = L"Registry";
    setting.strDisplayName = L"Display";
    setting.ulCode1 = 1;
    setting.usCode2 = 99;
    setting.llCode3 = int64_t{HIGHEST} * 4;
    setting.strHelpText = L"Help";
    setting.strText1 = L"One";
    setting.strText2 = L"Two";
    setting.ulCode4 = 4;
    setting.ulExposeLevel = RAV_EXPOSE_HIDDEN;
}

auto BaseFields(const RAV_SETTING& s)
{
    return std::make_tuple(s.strName, s.strRegistryName, s.strDisplayName, s.ulCode1, s.usCode2, s.llCode3,
                           s.strHelpText, s.strText1, s.strText2, s.ulCode4, s.ulExposeLevel);
}

TEST(Setting, ClonesAreWholeAndIndependent)
{
    RAV_SETTING_ENUM choices = Choices({1, 2}, {L"One", L"Two"});
    FillBase(choices);
    choices.iDefault = 1;
    choices.iCurrent = 2;
    choices.strCurrentDisplay = L"Two";
    const auto choicesClone = CloneOf(choices);
    EXPECT_EQ(BaseFields(choices), BaseFields(*choicesClone));
    choices = Choices({7});
    EXPECT_EQ((std::vector<int32_t>{1, 2}), choicesClone->values);
    EXPECT_EQ((std::vector<CRavString>{L"One", L"Two"}), choicesClone->descriptions);
    EXPECT_EQ(1, choicesClone->iDefault);
    EXPECT_EQ(2, choicesClone->iCurrent);
    EXPECT_EQ(L"Two", choicesClone->GetDisplayValue());

    RAV_SETTING_INT range = Range(-1, 100, 5, 9, L"nine");
    FillBase(range);
    range.iBase = 16;
    range.iDefault = 4;
    range.iScale = 2;
    const auto rangeClone = CloneOf(range);
    EXPECT_EQ(BaseFields(range), BaseFields(*rangeClone));
    range = Range(0, 0, 0);
    const auto& r = *rangeClone;
    EXPECT_EQ(std::make_tuple(16, 100, -1, 5, 4, 9, 2),
              std::make_tuple(r.iBase, r.iMax, r.iMin, r.iStep, r.iDefault, r.iCurrent, r.iScale));
    EXPECT_EQ(L"nine", r.GetDisplayValue());
}

TEST(PointerArray, DeletesWhatItOwnsOnceAndKeepsOrder)
{
    struct CCounted
    {
        CCounted(int number, int& alive) : m_iNumber(number), m_alive(alive) { ++m_alive; }
        ~CCounted() { --m_alive; }
        int m_iNumber;
        int& m_alive;
    };
    int alive = 0;
    {
        CRavPointerArray<CCounted> array;
        CCounted* objects[4];
        for (int i = 0; i < 4; ++i)
            objects[i] = array.Add(std::make_unique<CCounted>(i, alive));
        EXPECT_EQ(nullptr, array.Add(nullptr));
        EXPECT_TRUE(array.Remove(objects[1]));
        EXPECT_FALSE(array.Remove(objects[1]));
        EXPECT_EQ(3, alive);
        const std::shared_ptr<CCounted> taken = array.Take(objects[2]);
        EXPECT_EQ(2, taken->m_iNumber);
        EXPECT_EQ(3, alive);
        ASSERT_EQ(2u, array.Size());
        EXPECT_EQ(objects[0], array[0]);
        EXPECT_EQ(objects[3], array[1]);
        array.Clear();
        EXPECT_TRUE(array.IsEmpty());
        EXPECT_EQ(1, alive);
        array.Add(std::make_unique<CCounted>(5, alive));
    }
    EXPECT_EQ(0, alive);
}

TEST(SettingNames, KeywordsByDriver)
{
    const struct
    {
        int id;
        const wchar_t* standardized;
        const wchar_t* other;
    } cases[] = {
        {0, L"*SpeedDuplex", L"SpeedDuplex"},
        {2, L"*JumboPacket", L"MaxFrameSize"},
        {7, L"*LsoV2IPv4", L"SettingNameUnknown"},
        {9, L"*IPsecOffloadV2", L"IPSecEnabled"},
        {10, L"None", L"None"},
        {-1, L"None", L"None"},
        {LOWEST, L"None", L"None"},
    };
    for (const auto& [id, standardized, other] : cases)
    {
        EXPECT_EQ(standardized, CAdvancedSettingNames(true).GetName(id));
        EXPECT_EQ(other, CAdvancedSettingNames(false).GetName(id));
    }
}

struct RAV_TEST_SYSTEM
{
    const wchar_t* version;
    bool nt6, workstation, canBlock;
};

void CheckSystem(const RAV_TEST_SYSTEM& system)
{
    EXPECT_EQ(system.nt6, COSType::IsNt6OrLater());
    EXPECT_EQ(system.workstation, COSType::IsWorkstation());
    EXPECT_FALSE(COSType::IsIa64());
    EXPECT_EQ(system.nt6 ? L"*LsoV1IPv4" : L"TcpSegmentation", CAdvancedSettingNames(true).GetName(6));
    EXPECT_EQ(L"TcpSegmentation", CAdvancedSettingNames(false).GetName(6));

    const std::string key = Utf8(SUITE_KEY);
    const std::pair<const char*, bool> cases[] = {{"", false},
                                                  {"  XMSBlock  REG_DWORD  0", false},
                                                  {"  XMSBlock  REG_DWORD  1", true},
                                                  {"  XMSBlock  REG_DWORD  2", false},
                                                  {"  XMSBlock  REG_SZ  1", false}};
    for (const auto& [value, blocked] : cases)
    {
        const CPrivateHive hive(key + value);
        EXPECT_EQ(blocked && system.canBlock, COSType::IsWin10WithXMSBlock()) << value;
    }
}

TEST(OsVersion, AnswersFollowTheSystem)
{
    if (!CanPose())
        GTEST_SKIP() << "Windows itself cannot pose as another version.";
    const RAV_TEST_SYSTEM systems[] = {{L"win10", true, true, true},
                                       {L"vista", true, true, false},
                                       {L"win2008", true, false, false},
                                       {L"win2003", false, false, false}};
    const std::wstring posing = PosesAs();
    for (const RAV_TEST_SYSTEM& system : systems)
    {
        if (posing.empty())
            EXPECT_EQ(0u, RunAs(system.version, L"OsVersion.*")) << system.version;
        else if (posing == system.version)
            CheckSystem(system);
    }
}
} // namespace
