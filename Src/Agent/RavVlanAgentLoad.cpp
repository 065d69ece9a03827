// Loading a VLAN: what its keys tell of it.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/RavRegValues.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavNameTable.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentLoad";
constexpr size_t PARENT_KEY_CHARACTERS = 512;
constexpr size_t MINIPORT_KEY_CHARACTERS = 256;
constexpr size_t NAME_CHARACTERS = 256;

// Of a VLAN's instance key.
enum VLAN_VALUE : size_t
{
    FEATURES,
    PARENT_KEY,
    ID,
    NAME,
    DISPLAY_NAME,
    LOGICAL_GROUP,
    MINIPORT_KEY,
    TYPE
};

CRavRegValues ReadVlanValues(HKEY key)
{
    return {key,
            {RavName(RAV_NAME_SUPPORTED_FEATURES), RavName(RAV_NAME_VLAN_PARENT_KEY), RavName(RAV_NAME_VLAN_ID),
             RavName(RAV_NAME_VLAN_NAME), RavName(RAV_NAME_VLAN_DISPLAY_NAME), RavName(RAV_NAME_LOGICAL_GROUP_ID),
             RavName(RAV_NAME_XMS_MINIPORT_KEY), RavName(RAV_NAME_VLAN_TYPE)}};
}

// 0 when the key does not tell.
DWORD GetSupportedFeatures(const CRavRegValues& values)
{
    DWORD features = 0;
    values.Number(FEATURES, features);
    return features;
}

void TakeVlanId(CRavXmsVlan& vlan, const CRavRegValues& values)
{
    DWORD& id = vlan.m_ravVlanInfo.vlanId;
    if (values.Number(ID, id))
    {
        RavTrace().Print(L"pVlan->m_ravVlanInfo.vlanId= %d", id);
        return;
    }
    const LONG status = values.Status(ID);
    RavTrace().Print(L"RegQueryValueEx failed. err= %d", status != ERROR_SUCCESS ? status : ERROR_INVALID_DATA);
    if (vlan.m_iVlanId != -1)
    {
        id = static_cast<DWORD>(vlan.m_iVlanId);
        RavTrace().Print(L"Vlan ID already set to %d", id);
        return;
    }
    id = 0;
    RavTrace().Print(L"Assumed this to be an untagged vlan. Set ID to 0.");
}

// A missing value is written again; a value of another type is left as it is.
void TakeMiniportKey(CRavXmsVlan& vlan, const CRavRegValues& values)
{
    CRavString text;
    const bool isText = values.Text(MINIPORT_KEY, text, MINIPORT_KEY_CHARACTERS);
    if (!text.IsEmpty())
        vlan.m_ravVlanInfo.xmsMiniportKey = text;
    else if (isText || values.Status(MINIPORT_KEY) == ERROR_FILE_NOT_FOUND)
        CRavNetCfgComponent(vlan.m_strVlanKey)
            .SetParameterValue(RavName(RAV_NAME_NETWORK_CLASS_KEY) + L"\\", RavName(RAV_NAME_XMS_MINIPORT_KEY),
                               RavCanonicalKey(vlan.m_strMiniportInst));
}

int ReadJumboPacket(CRavXmsVlan& vlan)
{
    std::unique_ptr<RAV_SETTING> setting;
    if (vlan.GetMiniportReg() == nullptr || !vlan.GetMiniportReg()->GetSetting(JUMBO_PACKET, setting).Succeeded())
        return -1;
    return setting->GetType() == RAV_SETTING_TYPE_ENUM ? static_cast<const RAV_SETTING_ENUM&>(*setting).iCurrent
                                                       : static_cast<const RAV_SETTING_INT&>(*setting).iCurrent;
}
} // namespace

// The keys of the last enumeration are trusted, so that reading many VLANs one by one enumerates once and not for each.
// When a VLAN among them cannot be loaded, another enumeration decides whether it still exists.
void CVlanAgentWin::LoadThisVlanInfo(CResult& result, const CRavString& strVlanKey, RAV_VLAN_INFO& info)
{
    const CRavTraceScope trace(L"CVlanAgentWin::LoadThisVlanInfo", &result);
    result = CResult();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::LoadThisVlanInfo", result, [&] {
        if (IsVlanInfoAvailable(strVlanKey, info))
        {
            RavTrace().Print(L"LoadThisVlanInfo - vlan is already loaded");
            result = CResult::Success();
            return;
        }
        if (IsBound(strVlanKey))
            result = LoadVlan(strVlanKey, Damaged::Fail, info);
        if (result.Succeeded())
            return;
        result = FindVlan(strVlanKey);
        if (result.Succeeded())
            result = LoadVlan(strVlanKey, Damaged::Load, info);
    });
}

CResult CVlanAgentWin::FindVlan(const CRavString& strVlanKey)
{
    CResult result;
    std::vector<CRavString> keys;
    EnumVlansPvt1(result, L"", keys);
    if (!result.Succeeded())
    {
        RavTrace().Print(L"LoadThisVlanInfo - call to EnumVlansPvt1() failed.");
        return result;
    }
    Bind(keys);
    if (std::any_of(keys.begin(), keys.end(), [&](const CRavString& key) { return key.CompareI(strVlanKey); }))
        return CResult::Success();
    RavTrace().Print(L"LoadThisVlanInfo - invalid vlan guid.");
    return CResult();
}

// A VLAN whose device or driver key cannot be found is damaged but exists: it is loaded with defaults for what cannot
// be read, so that it can be shown and removed.
CResult CVlanAgentWin::LoadVlan(const CRavString& strVlanKey, Damaged damaged, RAV_VLAN_INFO& info)
{
    std::shared_ptr<CRavXmsVlan> vlan(new (std::nothrow) CRavXmsVlan(strVlanKey, *this));
    const CNetCfgSession session(*this);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (!vlan || netCfg == nullptr)
    {
        RavTrace().Print(L"LoadThisVlanInfo - invalid vlan.");
        return CResult();
    }
    const bool found = vlan->InitializeComponent(*netCfg);
    vlan->Init();
    vlan->m_strVlanKey = strVlanKey;
    if (!(SUCCEEDED(vlan->GetOOOKeyFromVk(L"")) && found))
    {
        RavTrace().Print(L"LoadThisVlanInfo - %s is gone or damaged.", strVlanKey.c_str());
        if (damaged == Damaged::Fail)
            return CResult();
    }
    const CRavRegValues values = ReadVlanValues(vlan->GetParentClassKey());
    values.Text(PARENT_KEY, vlan->m_strParentKey, PARENT_KEY_CHARACTERS);
    vlan->m_ravVlanInfo.vlanKey = strVlanKey;
    vlan->m_ravVlanInfo.supportedFeatures = GetSupportedFeatures(values);
    vlan->m_bFeatureFlag = (vlan->m_ravVlanInfo.supportedFeatures & FEATURE_OVER_TEAM) != 0;
    vlan->m_iParentType = vlan->m_bFeatureFlag ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER;
    GetOtherVlanDetails(*vlan, vlan->GetParentClassKey(), vlan->m_bFeatureFlag, &values);
    vlan->CloseParentClassKey();
    info = vlan->m_ravVlanInfo;
    RavTrace().Print(L"vlanInfo.vlanId= %d", info.vlanId);
    AddToCache(std::move(vlan));
    return CResult::Success();
}

void CVlanAgentWin::GetOtherVlanDetails(CRavXmsVlan& vlan, HKEY hKey, bool /*bFeatureFlag*/,
                                        const CRavRegValues* pKnown)
{
    if (hKey == nullptr)
    {
        RavTrace().Print(L"CVlanAgentWin::GetOtherVlanDetails, hKey is NULL");
        return;
    }
    const CRavRegValues values = pKnown != nullptr ? *pKnown : ReadVlanValues(hKey);
    RAV_VLAN_INFO& info = vlan.m_ravVlanInfo;
    TakeVlanId(vlan, values);
    values.AnyText(NAME, info.vlanName, NAME_CHARACTERS);
    values.AnyText(DISPLAY_NAME, info.displayName, NAME_CHARACTERS);
    values.Number(LOGICAL_GROUP, info.logicalGroupId);
    TakeMiniportKey(vlan, values);
    DWORD type = 0;
    if (values.Number(TYPE, type))
        info.vlanType = RavClientVlanType(type);
    if (vlan.GetComponent() != nullptr)
        vlan.GetComponent()->GetDescription(*GetNetCfgInterface(), info.description);
    info.jumboPacket = ReadJumboPacket(vlan);

    vlan.m_iVlanId = static_cast<int>(info.vlanId);
    vlan.m_strVlanName = info.vlanName;
    vlan.m_strVlanDisplayName = info.displayName;
    vlan.m_dwLogicalGroupId = info.logicalGroupId;
    vlan.m_dwVlanType = type;
}
