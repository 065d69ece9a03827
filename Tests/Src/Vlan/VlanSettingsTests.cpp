// A VLAN's advanced settings: from the templates and from its parent's jumbo frames to the registry, on every edition.

#include "Common/Src/OsVersion.h"
#include "Common/Settings/RavSetting.h"
#include "Tests/Common/Src/ModuleTrace.h"
#include "Tests/Harness/OtherSystem.h"
#include "Tests/Src/Vlan/VlanObjectFixture.h"

#include <set>
#include <sstream>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);
CModuleTrace* const s_trace = CModuleTrace::Register();

// Adapters 0001 {1} to 0007 {7}, the team 0008 {8}, and the VLAN 0009.
const char* const HOST = R"({
    "adapters": [ { "name": "Three", "mac": "001B21000001", "jumboFrames": [1514, 4088, 9014] },
                  { "name": "Two", "mac": "001B21000002", "jumboFrames": [1514, 4088] },
                  { "name": "Also two", "mac": "001B21000003", "jumboFrames": [1514, 9014] },
                  { "name": "None", "mac": "001B21000004" }, { "name": "Range", "mac": "001B21000005" },
                  { "name": "Old", "mac": "001B21000006", "jumboFrames": [1514], "standardKeywords": false },
                  { "name": "Port", "mac": "001B21000007" } ],
    "teams": [ { "name": "Team", "members": ["Three", "Two"] } ],
    "vlans": [ { "parent": "Port", "id": 10, "name": "Ten" } ] })";
const std::string TEMPLATES = Utf8(TEMPLATES_KEY) + "\\";
const std::string JUMBO =
    "*JumboPacket Type=enum Default=9014 ExposeLevel=1 Enum\\1514=Off Enum\\4088=4k Enum\\9014=9k";
const std::string JUMBO_KEYS = R"(- 0009 *JumboPacket; - 0009\Ndi\Params\*JumboPacket)";

// Values stand as NAME=TEXT, those of a subkey as KEY\NAME=TEXT.
void AddSetting(CVlanLab& lab, const std::string& text, const std::string& root = TEMPLATES)
{
    const std::string key = root + text.substr(0, text.find(' '));
    for (std::smatch part; const std::string& value : SplitLines(Replaced(text.substr(text.find(' ') + 1), " ", "\n")))
        if (std::regex_match(value, part, std::regex(R"((.+\\)?(.+)=(.*))")))
            lab.Change(key + Replaced("\\" + part.str(1), R"(\\$)", "") + ' ' + part.str(2) + " SZ " + part.str(3));
}

// Choices or range, default and expose level; at the end the choices' texts, when they are asked for.
std::string Summary(const RAV_SETTING* setting, bool withTexts = false)
{
    std::string texts;
    std::string text;
    if (const auto* const choice = dynamic_cast<const RAV_SETTING_ENUM*>(setting))
        for (size_t index = 0; index < choice->values.size(); ++index)
        {
            text += std::to_string(choice->values[index]) + (choice->values[index] != choice->iDefault ? " " : "! ");
            texts += withTexts ? " " + Utf8(choice->Description(index)) : "";
        }
    if (const auto* const range = dynamic_cast<const RAV_SETTING_INT*>(setting))
        for (const int32_t value : {range->iMin, range->iMax, range->iDefault})
            text += std::to_string(value) + ' ';
    return setting == nullptr ? "none" : text + "level " + std::to_string(setting->ulExposeLevel) + texts;
}
std::string Stored(CRavXmsVlan& vlan, const wchar_t* name = L"*JumboPacket", bool withTexts = false)
{
    std::unique_ptr<RAV_SETTING> setting;
    vlan.GetMiniportReg()->GetSetting(name, setting);
    return Summary(setting.get(), withTexts);
}
std::string TeamChoice(CRavXmsVlan& vlan)
{
    RAV_SETTING* raw = nullptr;
    bool found = false;
    const CResult result = vlan.GetLCDJumboFramesForTeam(vlan.m_strParentKey, &raw, &found);
    const std::unique_ptr<RAV_SETTING> setting(raw);
    EXPECT_EQ(found && result.Succeeded(), setting != nullptr);
    return result.Succeeded() ? Summary(raw) : "fails";
}

// In the place of a record's GetType: notes the names and codes of what is handed to the driver's registry class.
std::set<std::string> s_records;
template <RAV_SETTING_TYPE type>
RAV_SETTING_TYPE NoteRecord(const RAV_SETTING* setting)
{
    std::ostringstream text;
    text << Utf8(setting->strName) << " " << Utf8(setting->strRegistryName) << " " << setting->ulCode1 << " "
         << setting->usCode2 << " " << setting->llCode3 << " " << setting->ulCode4;
    s_records.insert(text.str());
    return type;
}
bool IsServer()
{
    return !PosesAs().empty() || !COSType::IsWorkstation();
}
} // namespace

TEST(VlanSettings, TemplatesBecomeTheDriversSettings)
{
    CVlanLab lab(HOST);
    for (const char* const text :
         {"*Empty Type=enum Default=1", "*NoNumbers Type=enum Enum\\x=Off", "*NoType Default=1", "*Text Type=text",
          "*Enum Type=ENUM Default=1 ExposeLevel=1 ParamDesc=Flow Enum\\0=Off Enum\\01=On Enum\\1=Twice Enum\\x=Bad",
          "*Int Type=Int Default=2 Base=10 Max=8 Min=1 Step=1 ParamDesc=Queues Scale=3",
          "*Other Type=enum Default=7 Enum\\0=Off", "*Wild Type=int Default=99999999999 Max=8x Min=", JUMBO.c_str()})
        AddSetting(lab, text);
    const std::unique_ptr<CRavXmsVlan> vlan = lab.Load(1, "Port", 10);
    s_trace->Forget();
    const CRegistryChange change;
    vlan->CreateVlanAdvancedSettings();
    const std::string help = R"( HelpText SZ "This setting has been deprecated and is no longer supported.")";
    const std::string stored = Replaced(CVlanLab::Short(change.Text()), R"(\+ 0009\\Ndi\\Params\\)", "");
    EXPECT_EQ(R"(+ 0009 *Enum SZ "1"; + 0009 *Int SZ "2"; + 0009 *Other SZ "7"; + 0009 *Wild SZ "2147483647"; )"
              R"(*Enum Default SZ "1"; *Enum ExposeLevel SZ "1"; *Enum(help); *Enum ParamDesc SZ "Flow"; )"
              R"(*Enum Type SZ "enum"; *Enum\Enum 0 SZ "Off"; *Enum\Enum 1 SZ "On"; *Int Base SZ "10"; )"
              R"(*Int Default SZ "2"; *Int(help); *Int Max SZ "8"; *Int Min SZ "1"; *Int ParamDesc SZ "Queues"; )"
              R"(*Int Scale SZ "3"; *Int Step SZ "1"; *Int Type SZ "int"; *Other Default SZ "7"; *Other(help); )"
              R"(*Other ParamDesc SZ ""; *Other Type SZ "enum"; *Other\Enum 0 SZ "Off"; )"
              R"(*Wild Default SZ "2147483647"; *Wild(help); *Wild Max SZ "8"; *Wild Min SZ "0"; )"
              R"(*Wild ParamDesc SZ ""; *Wild Type SZ "int")",
              Replaced(stored, help, "(help)"));
    std::string told;
    for (std::smatch line; const std::string& text : SplitLines(s_trace->Text()))
        if (std::regex_match(text, line, std::regex("0 C\\S+ - (?!Inside|Setting type)(.*)")))
            told += line.str(1) + '\n';
    EXPECT_EQ(Lines(R"(failed to get the enum values - *Empty
                       choice 1 is there twice
                       choice x is left out
                       choice x is left out
                       failed to get the enum values - *NoNumbers
                       failed to get the setting type - *NoType
                       the default 7 is none of the choices - *Other
                       the value Default is no number: 99999999999, 2147483647 is taken
                       the value Max is no number: 8x, 8 is taken
                       the default 2147483647 lies outside the range - *Wild)"),
              told);
    AddSetting(lab, "NumRxPackets Type=int");
    AddSetting(lab, "numTXpackets Type=int");
    vlan->CreateVlanAdvancedSettings();
    for (const wchar_t* const name : {L"NumRxPackets", L"NumTxPackets"})
        EXPECT_EQ(PosesAs() == L"win2003" ? "0 0 0 level 0" : "none", Stored(*vlan, name));
}

TEST(VlanSettings, JumboFramesGoAsFarAsTheParents)
{
    // The members of the team, or the one adapter under the VLAN; what a server creates; the choice for a team.
    const char* const cases[][3] = {{"{1}", "1514! 4088 9014 level 0", "fails"},
                                    {"{4}", "none", "fails"},
                                    {"{5}", "1514 9014 4088 level 0", "fails"},
                                    {"{6}", "1514! level 0", "fails"},
                                    {"{1} {2} {3}", "1514 4088! level 0", "1514 4088! level 0"},
                                    {"{1} {3} {2}", "1514! 9014 level 0", "1514! 9014 level 0"},
                                    {"{2} {4}", "1514! 4088 level 3", "1514! 4088 level 3"},
                                    {"{5} {4}", "1514 9014 1514 level 3", "1514 9014 1514 level 3"},
                                    {"{5} {1}", "1514! 4088 9014 level 0", "1514! 4088 9014 level 0"},
                                    {"{4} {7}", "1514 4088 9014! level 3", "none"}};
    CVlanLab lab(HOST);
    EXPECT_EQ(CResult::FAILED, lab.Load(1, "Port", 10)->CreateVlanAdvancedSettings().ulErrCode); // no template
    AddSetting(lab, JUMBO);
    AddSetting(lab, "*JumboPacket Type=int Default=4088 Min=1514 Max=9014", R"(0005\Ndi\Params\)");
    lab.Change(R"(0002\Ndi\Params\*JumboPacket Default SZ 4088)");
    for (const auto& [adapters, created, chosen] : cases)
    {
        lab.Change(JUMBO_KEYS + R"(; Lab\Teams\{8} Members MULTI_SZ )" + adapters);
        const bool team = strlen(adapters) > 3;
        const std::unique_ptr<CRavXmsVlan> vlan = lab.Load(1, team ? "Team" : "Port", 10);
        if (!team)
            vlan->m_strParentKey = Wide(CVlanLab::Long(adapters)).c_str();
        EXPECT_EQ(chosen, TeamChoice(*vlan)) << adapters;
        EXPECT_TRUE(vlan->CreateVlanAdvancedSettings().Succeeded()) << adapters;
        EXPECT_EQ(IsServer() ? created : "none", Stored(*vlan)) << adapters;
    }
    const std::unique_ptr<CRavXmsVlan> vlan = lab.Load(1, "Team", 10);
    for (const wchar_t* const team : {L"{A0000001-0000-4000-8000-000000000077}", L"no GUID"})
    {
        lab.Change(JUMBO_KEYS);
        vlan->m_strParentKey = team;
        EXPECT_EQ("fails", TeamChoice(*vlan));
        EXPECT_EQ(IsServer(), !vlan->CreateVlanAdvancedSettings().Succeeded());
        EXPECT_EQ("none", Stored(*vlan));
    }
    // The last setting's result is the result of all.
    AddSetting(lab, "!First Type=int");
    EXPECT_EQ(IsServer(), !vlan->CreateVlanAdvancedSettings().Succeeded());
    EXPECT_EQ("0 0 0 level 0", Stored(*vlan, L"!First"));
    AddSetting(lab, "Last Type=int");
    EXPECT_TRUE(vlan->CreateVlanAdvancedSettings().Succeeded());
    vlan->m_iParentType = RAV_PARENT_UNKNOWN;
    EXPECT_TRUE(vlan->CreateVlanAdvancedSettings().Succeeded());
    EXPECT_EQ(IsServer() ? "1514 4088 9014! level 1" : "none", Stored(*vlan));
}

// Fields of the records that are not stored. The parent's setting is created under the standardized keyword, whatever
// its own is.
TEST(VlanSettings, RecordsHaveTheirNamesAndCodes)
{
    CVlanLab lab(HOST);
    for (const char* const text : {"Choice Type=enum Enum\\0=Off", "Number Type=int", JUMBO.c_str()})
        AddSetting(lab, text);
    RAV_SETTING_ENUM choice;
    RAV_SETTING_INT number;
    RAV_SETTING* raw = nullptr;
    static_cast<CRavVlanAgentServices&>(lab).GetCoreInterface()->GetJumboFramesSettingForAdapter(lab.Key("Old"), &raw);
    const std::unique_ptr<RAV_SETTING> parents(raw);
    ASSERT_NE(nullptr, parents);
    s_records.clear();
    {
        const CSlot slots[] = {{&choice, 0, &NoteRecord<RAV_SETTING_TYPE_ENUM>},
                               {&number, 0, &NoteRecord<RAV_SETTING_TYPE_INT>},
                               {raw, 0, &NoteRecord<RAV_SETTING_TYPE_ENUM>}};
        lab.Load(1, "Old", 10)->CreateVlanAdvancedSettings();
    }
    std::set<std::string> expected = {"Choice Choice 0 0 0 1", "Number Number 0 99 0 1"};
    if (IsServer())
        expected.insert({"*JumboPacket *JumboPacket 0 0 0 1", "MaxFrameSize MaxFrameSize 0 0 0 1"});
    EXPECT_EQ(expected, s_records);
}

// A VLAN's settings as clients read them.
TEST(VlanSettings, ClientsReadThemThroughTheAgent)
{
    CVlanLab lab(HOST);
    AddSetting(lab, "*JumboPacket Type=enum Default=1514 ExposeLevel=1 Enum\\1514=Off Enum\\9014=9k",
               R"(0009\Ndi\Params\)");
    AddSetting(lab, "Queues Type=int Default=2 Min=1 Max=8", R"(0009\Ndi\Params\)");
    lab.Change("0009 *JumboPacket SZ 9014; 0009 Queues DWORD 4");
    CVlanAgentWin& agent = lab.Agent();
    CResult result;
    RAV_VLAN_INFO info;
    agent.GetVlanInfo(result, LabGuid(100), info);
    EXPECT_EQ(9014, info.jumboPacket);

    std::string read;
    std::vector<RAV_SETTING*> all;
    agent.EnumerateSettings(result, lab.Client(), LabGuid(100), all);
    EXPECT_TRUE(result.Succeeded());
    for (RAV_SETTING* const setting : all)
    {
        const std::unique_ptr<RAV_SETTING> owned(setting);
        read += Utf8(owned->strName) + "=" + Utf8(owned->GetDisplayValue()) + " of " + Summary(setting) + "; ";
    }
    EXPECT_EQ("*JumboPacket=9k of 1514! 9014 level 1; Queues=4 of 1 8 2 level 0; ", read);

    const struct
    {
        CRavString vlan;
        const wchar_t* name;
        DWORD code;
        const char* found;
    } CASES[] = {{LabGuid(100), L"queues", 0, "1 8 2 level 0"},
                 {LabGuid(100), L"None", ERROR_FILE_NOT_FOUND, "none"},
                 {LabGuid(77), L"Queues", CResult::FAILED, "none"}};
    for (const auto& one : CASES)
    {
        RAV_SETTING* raw = nullptr;
        agent.GetSetting(result, lab.Client(), one.vlan, one.name, &raw);
        const std::unique_ptr<RAV_SETTING> setting(raw);
        EXPECT_EQ(one.code, result.ulErrCode) << Utf8(one.name);
        EXPECT_EQ(one.found, Summary(raw)) << Utf8(one.name);
    }
}

TEST(VlanSettings, CoreAgentThatThrowsStopsNoOtherTemplate)
{
    CVlanLab lab(HOST);
    AddSetting(lab, JUMBO);
    AddSetting(lab, "Last Type=int Max=8");
    CJournal journal(GetModuleHandleW(L"CoreAgent.dll"));
    bool thrown = true;
    size_t throws = 0;
    for (size_t n = 1; thrown; ++n)
        for (const char* const parent : {"Port", "Team"})
        {
            lab.Change(R"(- 0009 Last; - 0009\Ndi\Params\Last)");
            const std::unique_ptr<CRavXmsVlan> vlan = lab.Load(1, parent, 10);
            thrown = false;
            journal.Before("RegOpenKeyExW", n, [&] {
                thrown = true;
                ++throws;
                throw std::runtime_error("core agent");
            });
            journal.Start();
            EXPECT_NO_THROW(TeamChoice(*vlan));
            EXPECT_NO_THROW(vlan->CreateVlanAdvancedSettings());
            journal.Stop();
            EXPECT_EQ("", journal.OpenHandles()) << n;
            EXPECT_EQ("0 8 0 level 0", Stored(*vlan, L"Last")) << n;
        }
    EXPECT_LT(5u, throws);
}

TEST(OtherSystems, HaveTheirSettingsToo)
{
    if (!CanPose())
        GTEST_SKIP() << "Windows itself cannot pose as another version.";
    for (const wchar_t* const server : {L"win2008", L"win2003"})
        EXPECT_EQ(0u, RunAs(server, L"VlanSettings.*")) << Utf8(server);
}

TEST(Resynchronisation, ChoicesEndWithTheTopValue)
{
    const std::string cases[][3] = {{"4088", "", "1 1514 4088 level 1 Off 4k"},
                                    {"9014", "", "1 1514 4088 9014! level 1 Off 4k 9k"},
                                    {"9999", "", "1 1514 4088 9014! level 1 Off 4k 9k"},
                                    {"1514", "", "1 1514 4088 9014! level 3 Off 4k 9k"},
                                    {"4088", JUMBO_KEYS, "0 none"},
                                    {"4088", "- " + TEMPLATES + "*JumboPacket", "0 none"},
                                    {"4088", "- " + TEMPLATES + "*JumboPacket\\Enum", "0 none"}};
    for (const auto& [top, before, after] : cases)
    {
        CVlanLab lab(HOST);
        AddSetting(lab, JUMBO + " Enum\\2000=" + std::string(300, 'A'));
        AddSetting(lab, "*JumboPacket Type=enum Default=1 Enum\\1=One", R"(0009\Ndi\Params\)");
        lab.Change(before);
        const std::unique_ptr<CRavXmsVlan> vlan = lab.Load(1, "Port", 10);
        s_trace->Forget();
        const CResult result = vlan->ReSyncJumboFrameSettingEnumValues(Wide(top).c_str());
        EXPECT_EQ(std::string::npos, s_trace->Text().find("CreateVlanAdvancedSettings")); // another routine's lines
        EXPECT_EQ(after, std::to_string(result.Succeeded()) + ' ' + Stored(*vlan, L"*JumboPacket", true))
            << top << before;
    }
}

TEST(MiniportReg, NumbersKeepTheirBase)
{
    CVlanLab lab(HOST);
    const std::unique_ptr<CRavXmsVlan> vlan = lab.Load(1, "Port", 10);
    CRavMiniportReg& settings = *vlan->GetMiniportReg();
    RAV_SETTING_INT hex;
    hex.strName = L"*Hex";
    hex.iBase = 16;
    hex.iMax = 4095;
    hex.iMin = -256;
    hex.iDefault = hex.iCurrent = 26;
    lab.Change(R"(0009\Ndi\Params\*Kept Type SZ int)");
    const CRegistryChange change;
    EXPECT_TRUE(settings.CreateSetting(hex).Succeeded());
    EXPECT_TRUE(settings.SetSetting(L"*Hex", RAV_SETTING_VAL_INT(255)).Succeeded());
    EXPECT_FALSE(settings.SetSetting(L"*Hex", RAV_SETTING_VAL_INT(4096)).Succeeded());
    EXPECT_FALSE(settings.SetSetting(L"*Hex", RAV_SETTING_VAL_INT(-257)).Succeeded());
    const std::string stored = Replaced(CVlanLab::Short(change.Text()), R"(\\Ndi\\Params\\\*Hex)", "");
    EXPECT_EQ(
        R"(+ 0009 *Hex SZ "ff"; + 0009 Base SZ "16"; + 0009 Default SZ "1a"; + 0009 Max SZ "fff"; + 0009 Min SZ "-100")"
        R"(; + 0009 ParamDesc SZ ""; + 0009 Type SZ "int")",
        stored);
    std::string current;
    for (const char* const value : {"SZ ff", "SZ -ff", "SZ 0x1A", "SZ wild", "DWORD 27", "DWORD 4294967295"})
    {
        lab.Change(std::string("0009 *Hex ") + value);
        std::unique_ptr<RAV_SETTING> setting;
        EXPECT_TRUE(settings.GetSetting(L"*Hex", setting).Succeeded());
        current += Utf8(setting->GetDisplayValue()) + ' ';
    }
    EXPECT_EQ("255 -255 26 26 27 2147483647 ", current);

    // Success means all of it: no value of an older description stays, and nothing of a deleted one.
    EXPECT_TRUE(settings.CreateSetting(hex).Succeeded());
    const std::string created = change.Text();
    CJournal journal;
    for (const bool create : {true, false})
        for (size_t k = 1, failed = true; failed; ++k)
        {
            AddSetting(lab, "*Hex Type=enum Step=5 Enum\\9=Old", R"(0009\Ndi\Params\)");
            lab.Change("0009 *Hex SZ 1");
            journal.FailCall(k);
            journal.Start();
            const bool done = (create ? settings.CreateSetting(hex) : settings.DeleteSetting(L"*Hex")).Succeeded();
            failed = journal.HasFailed();
            journal.Stop();
            EXPECT_EQ("", journal.OpenHandles()) << k;
            EXPECT_TRUE(failed || k > 5) << "no call of this operation has failed";
            EXPECT_TRUE(done ? change.Text() == (create ? created : "") : failed) << k << ": " << journal.Calls();
        }
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, static_cast<LONG>(settings.DeleteSetting(L"*Hex").ulErrCode));

    // Installers write any of the numbers as REG_DWORD.
    for (const char* const field :
         {"Base 16", "Default 20", "ExposeLevel 3", "Max 4294967295", "Min 10", "Step 5", "Scale 2"})
        lab.Change(R"(0009\Ndi\Params\*Kept )" + Replaced(field, " ", " DWORD "));
    std::unique_ptr<RAV_SETTING> kept;
    ASSERT_TRUE(settings.GetSetting(L"*Kept", kept).Succeeded());
    const auto& numbers = static_cast<const RAV_SETTING_INT&>(*kept);
    EXPECT_EQ("10 2147483647 20 level 3", Summary(kept.get()));
    EXPECT_EQ("16 5 2 20", (std::ostringstream() << numbers.iBase << ' ' << numbers.iStep << ' ' << numbers.iScale
                                                 << ' ' << numbers.iCurrent)
                               .str());

    // A choice without a text is still a choice.
    RAV_SETTING_ENUM untold;
    untold.strName = L"*Untold";
    untold.values = {1514, 9014};
    untold.descriptions = {L"Off"};
    EXPECT_TRUE(settings.CreateSetting(untold).Succeeded());
    EXPECT_EQ("1514 9014 level 0", Stored(*vlan, L"*Untold"));
}
