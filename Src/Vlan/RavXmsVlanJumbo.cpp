// How large a VLAN's frames may be: no larger than its parent's.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavShielded.h"

#include <algorithm>
#include <string>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanJumbo";
constexpr int32_t STANDARD_FRAME = 1514;

// Null, with code 0, for an adapter that has no such setting.
CResult AskJumboSetting(CRavCoreAgentPvtIntf& core, const CRavString& adapter, std::unique_ptr<RAV_SETTING>& setting)
{
    RAV_SETTING* raw = nullptr;
    const CResult result = RavAnswer(SOURCE_FILE, __LINE__, L"GetJumboFramesSettingForAdapter",
                                     [&] { return core.GetJumboFramesSettingForAdapter(adapter, &raw); });
    setting.reset(raw);
    if (!result.Succeeded())
        RavTrace().Print(L"CRavXmsVlan - the jumbo frames of %s cannot be read, 0x%X", adapter.c_str(),
                         result.ulErrCode);
    return result;
}

int32_t SizeOf(const RAV_SETTING* setting)
{
    if (setting == nullptr)
        return STANDARD_FRAME;
    return setting->GetType() == RAV_SETTING_TYPE_ENUM  ? static_cast<const RAV_SETTING_ENUM&>(*setting).iCurrent
           : setting->GetType() == RAV_SETTING_TYPE_INT ? static_cast<const RAV_SETTING_INT&>(*setting).iCurrent
                                                        : STANDARD_FRAME;
}

// The choices up to the size, with a value and default that are among them. False when none is left.
bool Limit(RAV_SETTING_ENUM& setting, int32_t current, int32_t size)
{
    std::vector<int32_t> values;
    std::vector<CRavString> texts;
    for (size_t index = 0; index < setting.values.size(); ++index)
    {
        if (setting.values[index] > size)
            continue;
        values.push_back(setting.values[index]);
        texts.push_back(setting.Description(index));
    }
    if (values.empty())
        return false;
    const int32_t greatest = *std::max_element(values.begin(), values.end());
    setting.values = values;
    setting.descriptions = texts;
    // A value that is no choice comes down to the next one.
    setting.iCurrent = *std::min_element(values.begin(), values.end());
    for (const int32_t value : values)
    {
        if (value <= current)
            setting.iCurrent = std::max(setting.iCurrent, value);
    }
    setting.iDefault = std::min(setting.iDefault, greatest);
    return true;
}

bool Limit(RAV_SETTING_INT& setting, int32_t current, int32_t size)
{
    if (setting.iMin > size)
        return false;
    setting.iMax = std::min(setting.iMax, size);
    if (setting.iStep > 0) // the greatest that the steps reach
        setting.iMax -= static_cast<int32_t>((int64_t{setting.iMax} - setting.iMin) % setting.iStep);
    setting.iCurrent = std::clamp(current, setting.iMin, setting.iMax);
    setting.iDefault = std::min(setting.iDefault, setting.iMax);
    return true;
}

bool Limit(RAV_SETTING& setting, int32_t current, int32_t size)
{
    return setting.GetType() == RAV_SETTING_TYPE_ENUM
               ? Limit(static_cast<RAV_SETTING_ENUM&>(setting), current, size)
               : setting.GetType() == RAV_SETTING_TYPE_INT &&
                     Limit(static_cast<RAV_SETTING_INT&>(setting), current, size);
}

bool Same(const RAV_SETTING& left, const RAV_SETTING& right)
{
    if (left.GetType() != right.GetType() || left.ulExposeLevel != right.ulExposeLevel)
        return false;
    if (left.GetType() == RAV_SETTING_TYPE_ENUM)
    {
        const auto& a = static_cast<const RAV_SETTING_ENUM&>(left);
        const auto& b = static_cast<const RAV_SETTING_ENUM&>(right);
        return a.values == b.values && a.descriptions == b.descriptions && a.iCurrent == b.iCurrent &&
               a.iDefault == b.iDefault;
    }
    const auto& a = static_cast<const RAV_SETTING_INT&>(left);
    const auto& b = static_cast<const RAV_SETTING_INT&>(right);
    return a.iMin == b.iMin && a.iMax == b.iMax && a.iStep == b.iStep && a.iCurrent == b.iCurrent &&
           a.iDefault == b.iDefault;
}
} // namespace

CResult CRavXmsVlan::GetParentJumboSize(int32_t& iSize)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::GetParentJumboSize", &result);
    iSize = 0;
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    std::vector<CRavString> carriers;
    if (core == nullptr || !FindCarriers(carriers) || carriers.empty())
        return result; // of a team whose members are all away nobody knows it
    int32_t smallest = INT32_MAX;
    for (const CRavString& carrier : carriers)
    {
        std::unique_ptr<RAV_SETTING> setting;
        result = AskJumboSetting(*core, carrier, setting);
        if (!result.Succeeded())
            return result;
        smallest = std::min(smallest, SizeOf(setting.get()));
    }
    iSize = smallest;
    result = CResult::Success();
    return result;
}

// Of a team that has a member which is not in the machine nobody can tell what all members carry.
bool CRavXmsVlan::AreAllCarriersThere()
{
    std::vector<CRavString> all{m_strParentKey};
    std::vector<CRavString> present;
    return (m_iParentType != RAV_PARENT_TEAM || GetTeamMembers_v(m_strParentKey, all)) && FindCarriers(present) &&
           present.size() == all.size();
}

// What is stored without a description that tells how to read it.
int32_t CRavXmsVlan::StoredJumboSize()
{
    CRavString text;
    return m_ownKey.GetValue(JUMBO_PACKET, text) ? _wtoi(text) : STANDARD_FRAME;
}

// Null for a VLAN without the setting, and for one that has a value, but no description that can be read: a change was
// interrupted between the two.
CResult CRavXmsVlan::ReadOwnJumboSetting(std::unique_ptr<RAV_SETTING>& setting, bool& bDamaged)
{
    bDamaged = false;
    if (GetMiniportReg() == nullptr || !OpenThisMiniportRegKey())
        return CResult();
    const CResult result = GetMiniportReg()->GetSetting(JUMBO_PACKET, setting);
    const bool isGone = result.ulErrCode == ERROR_FILE_NOT_FOUND;
    if (!isGone && result.ulErrCode != ERROR_INVALID_DATA)
        return result;
    const bool isLacking =
        m_ownKey.GetRegType(JUMBO_PACKET) == REG_NONE && m_ownKey.LastResult() == ERROR_FILE_NOT_FOUND;
    bDamaged = !isGone || !isLacking;
    return CResult::Success();
}

CResult CRavXmsVlan::FollowParentJumboSize(bool& bChanged)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::FollowParentJumboSize", &result);
    bChanged = false;
    std::unique_ptr<RAV_SETTING> present;
    std::unique_ptr<RAV_SETTING> wanted;
    bool isDamaged = false;
    int32_t size = 0;
    result = ReadOwnJumboSetting(present, isDamaged);
    if (!result.Succeeded() || (!present && !isDamaged))
        return result; // a VLAN without the setting has nothing to follow with
    if (!AreAllCarriersThere())
    {
        RavTrace().Print(L"CRavXmsVlan::FollowParentJumboSize, a member is not in the machine: what all carry is open");
        return result = CResult::Success();
    }
    result = GetParentJumboSize(size);
    if (result.Succeeded())
        result = FindParentJumboSetting(wanted);
    if (!result.Succeeded())
        return result;
    if (!wanted && isDamaged)
    {
        m_services.VlanWritten(m_strVlanKey);
        result = ReSyncJumboFrameSettingEnumValues(std::to_wstring(size).c_str());
        bChanged = result.Succeeded();
        return result;
    }
    if (!wanted)
        wanted = RavCloneSetting(*present);
    if (!Limit(*wanted, isDamaged ? StoredJumboSize() : SizeOf(present.get()), size))
    {
        RavTrace().Print(L"CRavXmsVlan::FollowParentJumboSize, no choice is as small as %d", size);
        return result = CResult(ERROR_INVALID_DATA);
    }
    if (present && Same(*present, *wanted))
        return result;
    m_services.VlanWritten(m_strVlanKey);
    result = GetMiniportReg()->CreateSetting(*wanted);
    bChanged = result.Succeeded();
    return result;
}

// The setting from whose choices a VLAN of the parent takes its own; null when the parent has none.
CResult CRavXmsVlan::FindParentJumboSetting(std::unique_ptr<RAV_SETTING>& setting)
{
    CResult result;
    if (m_iParentType == RAV_PARENT_TEAM)
    {
        RAV_SETTING* raw = nullptr;
        bool found = false;
        result = GetLCDJumboFramesForTeam(m_strParentKey, &raw, &found);
        setting.reset(raw);
    }
    else if (CRavCoreAgentPvtIntf* const core = GetCoreInterface())
        result = AskJumboSetting(*core, m_strParentKey, setting);
    if (setting)
    {
        setting->strName = JUMBO_PACKET;
        setting->strRegistryName = JUMBO_PACKET;
    }
    return result;
}
