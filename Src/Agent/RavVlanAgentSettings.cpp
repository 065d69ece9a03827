// The advanced settings of a VLAN: reading, judging and setting them, for clients and for sibling agents.

#include "Src/Agent/RavVlanAgentChange.h"

#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Src/Agent/RavSettingRules.h"
#include "Src/RavNameTable.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentSettings";

// A keyword is the name of one key: it has no path in it. What a VLAN is made of is no setting.
bool IsKeyword(const CRavString& name)
{
    for (unsigned int number = RAV_NAME_SUPPORTED_FEATURES; number <= RAV_NAME_TEAM_MODE; ++number)
    {
        if (number != RAV_NAME_NETWORK_ADDRESS && RavName(number).CompareI(name))
            return false;
    }
    return !name.IsEmpty() && name.find(L'\\') == CRavString::npos;
}

// None when the VLAN has no such setting, or its value cannot be told.
std::optional<int32_t> StoredValue(CRavXmsVlan& vlan, const CRavString& name)
{
    std::unique_ptr<RAV_SETTING> setting;
    if (vlan.GetMiniportReg() == nullptr || !vlan.GetMiniportReg()->GetSetting(name, setting).Succeeded() ||
        !vlan.GetMiniportReg()->IsCurrentStored(*setting))
        return std::nullopt;
    return RavCurrentOf(*setting);
}

void HandOver(std::vector<std::unique_ptr<RAV_SETTING>>& owned, std::vector<RAV_SETTING*>& settings)
{
    settings.reserve(owned.size()); // so that push_back cannot throw below, which would leak the record just released
    for (auto& setting : owned)
        settings.push_back(setting.release());
}
} // namespace

// --- reading --------------------------------------------------------------------------------------------------------

void CVlanAgentWin::EnumerateSettings(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                                      std::vector<RAV_SETTING*>& settings)
{
    WaitForApplyDone(client);
    EnumerateAdvSettings(result, strVlanKey, settings);
}

void CVlanAgentWin::EnumerateAdvSettings(CResult& result, const CRavString& strVlanKey,
                                         std::vector<RAV_SETTING*>& settings)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::EnumerateSettings", &result);
    settings.clear();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::EnumerateSettings", result, [&] {
        const CNetCfgSession session(*this);
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
        if (!vlan || vlan->GetMiniportReg() == nullptr)
            return;
        std::vector<std::unique_ptr<RAV_SETTING>> owned;
        result = vlan->GetMiniportReg()->EnumerateSettings(owned);
        HandOver(owned, settings);
    });
}

void CVlanAgentWin::GetSetting(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                               const CRavString& strName, RAV_SETTING** ppSetting)
{
    WaitForApplyDone(client);
    GetSetting(result, strVlanKey, strName, ppSetting);
}

void CVlanAgentWin::GetSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                               RAV_SETTING** ppSetting)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::GetSetting", &result);
    if (ppSetting == nullptr)
        return;
    *ppSetting = nullptr;
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetSetting", result, [&] {
        const CNetCfgSession session(*this);
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
        std::unique_ptr<RAV_SETTING> setting;
        if (!vlan || vlan->GetMiniportReg() == nullptr)
            return;
        result = vlan->GetMiniportReg()->GetSetting(strName, setting);
        *ppSetting = setting.release();
    });
}

// --- judging --------------------------------------------------------------------------------------------------------

// What a request for one setting comes to.
struct CVlanAgentWin::SettingWish
{
    CRavString name;
    const RAV_SETTING_VAL* pValue; // null with toDefault
    bool toDefault;
    bool isThere = false; // already
    int32_t number = 0;
};

// Finds out what the wish comes to, and what speaks against it: messages. A failure means that it could not be found
// out.
CResult CVlanAgentWin::JudgeSetting(CRavVlanMessages& messages, CRavXmsVlan& vlan, SettingWish& wish)
{
    std::unique_ptr<RAV_SETTING> setting;
    if (vlan.GetMiniportReg() == nullptr)
        return CResult();
    const CResult found =
        IsKeyword(wish.name) ? vlan.GetMiniportReg()->GetSetting(wish.name, setting) : CResult(ERROR_FILE_NOT_FOUND);
    if (found.ulErrCode == ERROR_FILE_NOT_FOUND)
    {
        RavStopSetting(messages, RAV_MSG_SETTING_UNKNOWN, {wish.name});
        return CResult::Success();
    }
    if (!found.Succeeded())
        return found;
    const std::optional<int32_t> number =
        wish.toDefault ? RavDefaultOf(*setting) : RavNumberOf(messages, *setting, wish.pValue);
    wish.number = number.value_or(0);
    wish.isThere = number == RavCurrentOf(*setting) && vlan.GetMiniportReg()->IsCurrentStored(*setting);
    if (!number || wish.isThere)
        return CResult::Success();
    const size_t before = messages.size();
    RavJudgeNumber(messages, *setting, wish.number);
    const bool isAccepted = messages.size() == before;
    return isAccepted && wish.name.CompareI(JUMBO_PACKET) ? JudgeJumboSize(messages, vlan, wish.number)
                                                          : CResult::Success();
}

// A VLAN's frames can be no larger than those that its parent carries.
CResult CVlanAgentWin::JudgeJumboSize(CRavVlanMessages& messages, CRavXmsVlan& vlan, int32_t size)
{
    int32_t greatest = 0;
    const CResult result = vlan.GetParentJumboSize(greatest);
    if (result.Succeeded() && size > greatest)
        RavStopSetting(messages, RAV_MSG_SETTING_ABOVE_PARENT, {std::to_wstring(greatest).c_str()});
    return result;
}

void CVlanAgentWin::ValidateSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                    const RAV_SETTING_VAL* pValue, CRavVlanMessages& messages)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::ValidateSetting", &result);
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::ValidateSetting", result, [&] {
        const CNetCfgSession session(*this);
        SettingWish wish{strName, pValue, false};
        if (const std::shared_ptr<CRavXmsVlan> vlan = TakeVlan(strVlanKey))
            result = JudgeSetting(messages, *vlan, wish);
    });
}

// --- setting --------------------------------------------------------------------------------------------------------

CResult CVlanAgentWin::StoreSetting(CRavXmsVlan& vlan, const SettingWish& wish)
{
    if (wish.isThere)
        return CResult::Success();
    VlanWritten(vlan.m_strVlanKey);
    const CResult stored = vlan.GetMiniportReg()->SetSetting(wish.name, RAV_SETTING_VAL_INT(wish.number));
    if (stored.Succeeded())
        vlan.UnloadMiniport();
    return stored;
}

void CVlanAgentWin::ChangeSetting(CResult& result, const Change& change, SettingWish wish)
{
    const auto judge = [&](CRavVlanMessages& messages, CRavXmsVlan& vlan) {
        return JudgeSetting(messages, vlan, wish);
    };
    ChangeVlan(result, change, judge, [&](CRavXmsVlan& vlan) { return StoreSetting(vlan, wish); });
}

void CVlanAgentWin::SetSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                               const RAV_SETTING_VAL* pValue, const RAV_LOCK_RECORD& lock)
{
    ChangeSetting(result, {L"SetSetting", strVlanKey, lock, false}, {strName, pValue, false});
}

void CVlanAgentWin::SetSettingToDefault(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                        const RAV_LOCK_RECORD& lock)
{
    ChangeSetting(result, {L"SetSettingToDefault", strVlanKey, lock, false}, {strName, nullptr, true});
}

// --- for sibling agents, under their lock ---------------------------------------------------------------------------

void CVlanAgentWin::SetSettingOnVlan(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                     const RAV_SETTING_VAL* pValue)
{
    ForSibling(result, L"SetSettingOnVlan", strVlanKey, [&](CRavXmsVlan& vlan) {
        CRavVlanMessages messages;
        SettingWish wish{strName, pValue, false};
        CResult done = JudgeSetting(messages, vlan, wish);
        if (done.Succeeded() && !IsRefused(done, messages, L"SetSettingOnVlan"))
            done = StoreSetting(vlan, wish);
        return done;
    });
}

void CVlanAgentWin::SetAdvSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                  const RAV_SETTING_VAL* pValue)
{
    SetSettingOnVlan(result, strVlanKey, strName, pValue);
}

void CVlanAgentWin::SetSetting(CResult& result, const CRavString& strVlanKey, const RAV_SETTING* pSetting)
{
    result = CResult();
    if (pSetting == nullptr || !RavIsEnumOrInt(*pSetting))
        return;
    const RAV_SETTING_VAL_INT value(RavCurrentOf(*pSetting));
    SetSettingOnVlan(result, strVlanKey, pSetting->strName, &value);
}

void CVlanAgentWin::CreateAdvSetting(CResult& result, const CRavString& strVlanKey, const RAV_SETTING* pSetting)
{
    result = CResult();
    if (pSetting == nullptr || !RavIsEnumOrInt(*pSetting) || !IsKeyword(pSetting->strName))
        return;
    ForSibling(result, L"CreateAdvSetting", strVlanKey, [&](CRavXmsVlan& vlan) {
        const std::unique_ptr<RAV_SETTING> setting = RavCloneSetting(*pSetting);
        const std::optional<int32_t> before = StoredValue(vlan, setting->strName);
        VlanWritten(vlan.m_strVlanKey);
        const CResult created = vlan.CreateSetting(setting.get());
        // The driver reads the value alone: a new description interrupts nothing.
        if (created.Succeeded() && (!before || StoredValue(vlan, setting->strName) != before))
            vlan.UnloadMiniport();
        return created;
    });
}

void CVlanAgentWin::RemoveAdvSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName)
{
    ForSibling(result, L"RemoveAdvSetting", strVlanKey, [&](CRavXmsVlan& vlan) {
        if (!IsKeyword(strName) || vlan.GetMiniportReg() == nullptr)
            return CResult();
        std::unique_ptr<RAV_SETTING> described; // without a description a value of that name is no setting
        const CResult read = vlan.GetMiniportReg()->GetSetting(strName, described);
        if (read.ulErrCode == ERROR_FILE_NOT_FOUND)
            return read;
        VlanWritten(vlan.m_strVlanKey);
        const CResult removed = vlan.GetMiniportReg()->DeleteSetting(strName);
        if (removed.Succeeded())
            vlan.UnloadMiniport();
        return removed;
    });
}
