// The VLAN's advanced settings, made from the agent's templates.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/OsVersion.h"
#include "Common/Src/RavDebug.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Src/SuiteNames.h"

#include <cerrno>
#include <cwchar>

namespace
{
constexpr wchar_t HELP_TEXT[] = L"This setting has been deprecated and is no longer supported.";
constexpr uint16_t INT_TEMPLATE_CODE = 99;
constexpr uint32_t TEMPLATE_CODE = 1;
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanSettings";
// More than any list of jumbo-frame choices that a team member offers.
constexpr size_t MANY_CHOICES = 99;
constexpr int STANDARD_FRAME = 1514;
constexpr wchar_t STANDARD_FRAME_TEXT[] = L"1514";

constexpr wchar_t CREATE_ROUTINE[] = L"CreateVlanAdvancedSettings";
constexpr wchar_t RESYNC_ROUTINE[] = L"ReSyncJumboFrameSettingEnumValues";

// One template's key, and the routine that reads it: its name stands before what is told.
class CTemplate
{
  public:
    explicit CTemplate(const wchar_t* routine) : m_routine(routine) {}

    bool Open(HKEY parent, const CRavString& path) { return m_key.Open(parent, path, false); }
    CRavRegKey& Key() { return m_key; }

    CRavString Text(const wchar_t* name)
    {
        CRavString text;
        m_key.GetValue(name, text);
        return text;
    }

    // A number that does not parse counts as far as it goes, one that is too large as the nearest limit; neither stops
    // the template, and both are told.
    int Number(const wchar_t* name)
    {
        const CRavString text = Text(name);
        const int number = _wtoi(text);
        wchar_t* end = nullptr;
        errno = 0;
        wcstol(text, &end, 10);
        if (*end != L'\0' || errno == ERANGE)
            RavTrace().Print(L"%s() - the value %s is no number: %s, %d is taken", m_routine, name, text.c_str(),
                             number);
        return number;
    }

    void ReadHead(RAV_SETTING_ENUM& setting)
    {
        setting.iDefault = Number(L"Default");
        setting.iCurrent = setting.iDefault;
        setting.ulExposeLevel = static_cast<uint32_t>(Number(L"ExposeLevel"));
        setting.strDisplayName = Text(L"ParamDesc");
    }

    void ShowCurrent(RAV_SETTING_ENUM& setting) const
    {
        if (!setting.ShowCurrent())
            RavTrace().Print(L"%s() - the default %d is none of the choices - %s", m_routine, setting.iDefault,
                             setting.strName.c_str());
    }

  private:
    CRavRegKey m_key;
    const wchar_t* m_routine;
};

// Settings that no value, or not the default, fits are created as they stand: support finds the reason in the trace.
void TellLimits(const RAV_SETTING_INT& setting)
{
    if (setting.iMin > setting.iMax)
        RavTrace().Print(L"CreateVlanAdvancedSettings() - the range %d to %d is empty - %s", setting.iMin, setting.iMax,
                         setting.strName.c_str());
    else if (setting.iDefault < setting.iMin || setting.iDefault > setting.iMax)
        RavTrace().Print(L"CreateVlanAdvancedSettings() - the default %d lies outside the range - %s", setting.iDefault,
                         setting.strName.c_str());
}

void FillCommon(RAV_SETTING& setting, const CRavString& name)
{
    setting.strName = name;
    setting.strRegistryName = name;
    setting.strHelpText = HELP_TEXT;
    setting.ulCode4 = TEMPLATE_CODE;
}

std::unique_ptr<RAV_SETTING> ReadEnumTemplate(CTemplate& source, const CRavString& name)
{
    auto setting = std::make_unique<RAV_SETTING_ENUM>();
    FillCommon(*setting, name);
    source.ReadHead(*setting);
    if (!CRavMiniportReg::GetEnumDataTypesSubKey(source.Key(), *setting).Succeeded())
    {
        RavTrace().Print(L"CreateVlanAdvancedSettings() - failed to get the enum values - %s", name.c_str());
        return nullptr;
    }
    source.ShowCurrent(*setting);
    return setting;
}

std::unique_ptr<RAV_SETTING> ReadIntTemplate(CTemplate& source, const CRavString& name)
{
    auto setting = std::make_unique<RAV_SETTING_INT>();
    FillCommon(*setting, name);
    setting->usCode2 = INT_TEMPLATE_CODE;
    setting->iDefault = source.Number(L"Default");
    setting->iCurrent = setting->iDefault;
    setting->iBase = source.Number(L"Base");
    setting->ulExposeLevel = static_cast<uint32_t>(source.Number(L"ExposeLevel"));
    setting->iMax = source.Number(L"Max");
    setting->iMin = source.Number(L"Min");
    setting->iStep = source.Number(L"Step");
    setting->strDisplayName = source.Text(L"ParamDesc");
    setting->iScale = source.Number(L"Scale");
    setting->strCurrentDisplay.FormatString(L"%d", setting->iCurrent);
    TellLimits(*setting);
    return setting;
}

// The record that a template describes; null when the template is to be skipped.
std::unique_ptr<RAV_SETTING> ReadTemplate(CRavRegKey& templates, const CRavString& name)
{
    if ((name.CompareI(L"NumRxPackets") || name.CompareI(L"NumTxPackets")) && COSType::IsNt6OrLater())
    {
        RavTrace().Print(L"CreateVlanAdvancedSettings() - setting not supported - %s", name.c_str());
        return nullptr;
    }
    CTemplate source(CREATE_ROUTINE);
    if (!source.Open(templates.GetHKey(), name))
    {
        RavTrace().Print(L"CreateVlanAdvancedSettings() - failed to open the sub key - %s", name.c_str());
        return nullptr;
    }
    CRavString type;
    if (!source.Key().GetValue(L"Type", type))
    {
        RavTrace().Print(L"CreateVlanAdvancedSettings() - failed to get the setting type - %s", name.c_str());
        return nullptr;
    }
    if (type.CompareI(L"enum"))
    {
        RavTrace().Print(L"CreateVlanAdvancedSettings() - Setting type ENUM");
        return ReadEnumTemplate(source, name);
    }
    if (type.CompareI(L"int"))
    {
        RavTrace().Print(L"CreateVlanAdvancedSettings() - Setting type INT");
        return ReadIntTemplate(source, name);
    }
    return nullptr;
}

// One question to the core agent; what it throws is traced and counts as its failure.
template <typename Question>
CResult Ask(const wchar_t* operation, Question&& question)
{
    try
    {
        return question();
    }
    catch (...)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"%s - Exception caught", operation);
        return CResult();
    }
}

// The adapter's jumbo-frame setting; null when it has none or cannot tell.
std::unique_ptr<RAV_SETTING> JumboSetting(CRavCoreAgentPvtIntf& core, const CRavString& adapter)
{
    RAV_SETTING* raw = nullptr;
    const CResult result =
        Ask(L"GetJumboFramesSettingForAdapter", [&] { return core.GetJumboFramesSettingForAdapter(adapter, &raw); });
    std::unique_ptr<RAV_SETTING> setting(raw);
    return result.Succeeded() ? std::move(setting) : nullptr;
}

// A range stands for nearly any number of choices: a member with a list is asked first.
size_t ChoiceCount(const RAV_SETTING& setting)
{
    return setting.GetType() == RAV_SETTING_TYPE_ENUM ? static_cast<const RAV_SETTING_ENUM&>(setting).values.size()
                                                      : MANY_CHOICES - 1;
}

// What every member of a team can do is what the one with the fewest choices can. Counts those that have any.
CRavString MemberWithFewestChoices(CRavCoreAgentPvtIntf& core, const std::vector<CRavString>& members,
                                   size_t& supporting)
{
    size_t fewest = MANY_CHOICES;
    CRavString chosen;
    for (const CRavString& member : members)
    {
        const std::unique_ptr<RAV_SETTING> jumbo = JumboSetting(core, member);
        if (!jumbo)
        {
            RavTrace().Print(L"GetLCDJumboFramesForTeam() - this adapter does not support JF");
            continue;
        }
        ++supporting;
        if (ChoiceCount(*jumbo) < fewest)
        {
            fewest = ChoiceCount(*jumbo);
            chosen = member;
        }
    }
    return chosen;
}

void SetDefault(RAV_SETTING& setting, int value)
{
    if (setting.GetType() == RAV_SETTING_TYPE_ENUM)
        static_cast<RAV_SETTING_ENUM&>(setting).iDefault = value;
    else if (setting.GetType() == RAV_SETTING_TYPE_INT)
        static_cast<RAV_SETTING_INT&>(setting).iDefault = value;
}

bool IsGuid(const CRavString& text)
{
    GUID guid = {};
    return SUCCEEDED(IIDFromString(text, &guid));
}
} // namespace

CResult CRavXmsVlan::CreateVlanAdvancedSettings()
{
    RavTrace().Print(L"Entering CRavXmsVlan::CreateVlanAdvancedSettings");
    CResult result;
    CRavRegKey templates;
    if (!templates.Open(HKEY_LOCAL_MACHINE, TEMPLATES_KEY, false))
        RavTrace().Print(L"CreateVlanAdvancedSettings() - unable to open the VlanAgent registry key");
    CRavString name;
    while (templates.IsOpened() && templates.EnumSubKey(name))
    {
        RavTrace().Print(L"CreateVlanAdvancedSettings() - Inside sub key while loop - %s", name.c_str());
        const std::unique_ptr<RAV_SETTING> setting = ReadTemplate(templates, name);
        if (!setting)
            continue;
        result = CreateSetting(setting.get());
        if (!result.Succeeded())
            RavTrace().Print(L"CreateVlanAdvancedSettings() - failed to create the setting - %s", name.c_str());
    }
    RavTrace().Print(L"Exiting CRavXmsVlan::CreateVlanAdvancedSettings()");
    return result;
}

CResult CRavXmsVlan::CreateSetting(RAV_SETTING* pSetting)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::CreateSetting", &result);
    if (GetMiniportReg() == nullptr || pSetting == nullptr)
    {
        RavTrace().Print(L"CreateSetting(), invalid MiniportReg pointer.");
        return result;
    }
    const bool isJumbo = pSetting->strName.CompareI(JUMBO_PACKET);
    result = isJumbo ? CreateJumboSetting(*pSetting) : GetMiniportReg()->CreateSetting(*pSetting);
    if (!isJumbo && !result.Succeeded())
        RavTrace().Print(L"CreateSetting() - unable to create the setting in the new vlan's registry space.");
    RavTrace().Print(L"Exiting CRavXmsVlan::CreateSetting");
    return result;
}

// Jumbo frames go as far as the parent's do: its choices, not the template's, become the VLAN's.
CResult CRavXmsVlan::CreateJumboSetting(RAV_SETTING& setting)
{
    if (COSType::IsWorkstation() || COSType::IsIa64())
    {
        RavTrace().Print(L"CreateSetting() - OS is not supported");
        return CResult::Success();
    }
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (core == nullptr)
    {
        RavTrace().Print(L"CreateSetting() - call to GetCoreInterface() failed.");
        return CResult();
    }
    std::unique_ptr<RAV_SETTING> parentSetting;
    if (m_iParentType == RAV_PARENT_ADAPTER)
    {
        parentSetting = JumboSetting(*core, m_strParentKey);
        if (!parentSetting)
        {
            RavTrace().Print(L"CreateSetting() - this adapter does not support Jumbo frames.");
            return CResult::Success();
        }
    }
    else if (m_iParentType == RAV_PARENT_TEAM)
    {
        RAV_SETTING* raw = nullptr;
        bool found = false;
        const CResult result = GetLCDJumboFramesForTeam(m_strParentKey, &raw, &found);
        parentSetting.reset(raw);
        if (!result.Succeeded())
        {
            RavTrace().Print(L"CreateSetting() - call to GetLCDJumboFramesForTeam() failed.");
            return CResult();
        }
        if (!found)
            setting.ulExposeLevel = RAV_EXPOSE_HIDDEN;
    }
    if (!parentSetting)
        return GetMiniportReg()->CreateSetting(setting);
    parentSetting->strName = JUMBO_PACKET;
    parentSetting->strRegistryName = JUMBO_PACKET;
    return GetMiniportReg()->CreateSetting(*parentSetting);
}

CResult CRavXmsVlan::GetLCDJumboFramesForTeam(CRavString strTeamGuid, RAV_SETTING** ppSetting, bool* pFound)
{
    RavTrace().Print(L"Entering CRavXmsVlan::GetLCDJumboFramesForTeam");
    *ppSetting = nullptr;
    *pFound = false;
    const CResult result = FindTeamJumboSetting(strTeamGuid, ppSetting, *pFound);
    RavTrace().Print(L"Exiting CRavXmsVlan::GetLCDJumboFramesForTeam()");
    return result;
}

CResult CRavXmsVlan::FindTeamJumboSetting(const CRavString& strTeam, RAV_SETTING** ppSetting, bool& bFound)
{
    if (!IsGuid(strTeam))
    {
        RavTrace().Print(L"GetLCDJumboFramesForTeam() - team guid is invalid.");
        return CResult();
    }
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (core == nullptr)
    {
        RavTrace().Print(L"GetLCDJumboFramesForTeam() - call to GetCoreInterface() failed.");
        return CResult();
    }
    std::vector<CRavString> members;
    if (!Ask(L"GetAdaptersInTeam", [&] { return core->GetAdaptersInTeam(strTeam, members); }).Succeeded())
    {
        RavTrace().Print(L"GetTeamMembers_v failed!");
        return CResult();
    }
    size_t supporting = 0;
    const CRavString chosen = MemberWithFewestChoices(*core, members, supporting);
    bFound = supporting != 0;
    if (!bFound)
        return CResult::Success();
    std::unique_ptr<RAV_SETTING> jumbo = JumboSetting(*core, chosen);
    if (!jumbo)
    {
        RavTrace().Print(L"GetLCDJumboFramesForTeam() - call to GetJumboFramesSettingForAdapter() failed");
        return CResult();
    }
    if (supporting != members.size())
    {
        RavTrace().Print(L"GetLCDJumboFramesForTeam() - this team will not support Jumbo Packets");
        jumbo->ulExposeLevel = RAV_EXPOSE_HIDDEN;
        SetDefault(*jumbo, STANDARD_FRAME);
    }
    *ppSetting = jumbo.release();
    return CResult::Success();
}

CResult CRavXmsVlan::ReSyncJumboFrameSettingEnumValues(CRavString strTopValue)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::ReSyncJumboFrameSettingEnumValues", &result);
    if (GetMiniportReg() == nullptr || !GetMiniportReg()->DeleteSetting(JUMBO_PACKET).Succeeded())
    {
        RavTrace().Print(L"ReSyncJumboFrameSettingEnumValues() - call to DeleteSetting() failed.");
        return result;
    }
    CTemplate source(RESYNC_ROUTINE);
    if (!source.Open(HKEY_LOCAL_MACHINE, CRavString(TEMPLATES_KEY) + L"\\" + JUMBO_PACKET))
    {
        RavTrace().Print(L"ReSyncJumboFrameSettingEnumValues() - unable to open the Jumbo Packet registry key");
        return result;
    }
    RAV_SETTING_ENUM setting;
    FillCommon(setting, JUMBO_PACKET);
    source.ReadHead(setting);
    CRavRegKey choices;
    if (!choices.Open(source.Key().GetHKey(), L"Enum", false))
    {
        RavTrace().Print(L"ReSyncJumboFrameSettingEnumValues() - error opening the enum key - exiting");
        return result;
    }
    CRavString name;
    while (choices.EnumValue(name))
    {
        CRavString text;
        if (choices.GetValue(name, text))
        {
            setting.values.push_back(_wtoi(name));
            setting.descriptions.push_back(text);
        }
        if (!name.CompareI(strTopValue)) // nothing above it is offered, even when it has no text itself
            continue;
        if (!(strTopValue == STANDARD_FRAME_TEXT))
            break;
        setting.ulExposeLevel = RAV_EXPOSE_HIDDEN;
    }
    source.ShowCurrent(setting);
    result = GetMiniportReg()->CreateSetting(setting);
    if (!result.Succeeded())
        RavTrace().Print(L"ReSyncJumboFrameSettingEnumValues() - failed to create the jumbo packet setting.");
    return result;
}
