// Which network adapters are VLANs, and what is known of each.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/RavRegValues.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Common/Settings/RavSetting.h"
#include "Src/View/RavHostView.h"
#include "Common/Src/XmsNames.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentInventory";
constexpr int LOAD_ATTEMPTS = 3;
constexpr DWORD PARENT_KEY_CHARACTERS = 512;
constexpr size_t MINIPORT_KEY_CHARACTERS = 256;
constexpr size_t NAME_CHARACTERS = 256;

bool QueryNumber(HKEY key, const CRavString& name, DWORD& value)
{
    DWORD type = REG_NONE;
    DWORD data = 0;
    DWORD size = sizeof(data);
    if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size) != ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof(data))
        return false;
    value = data;
    return true;
}

// The text up to its first NUL; what is longer than the buffer, or no text, counts as missing.
template <DWORD Characters>
LONG QueryText(HKEY key, const CRavString& name, CRavString& text)
{
    wchar_t buffer[Characters + 1] = {};
    DWORD size = Characters * sizeof(wchar_t);
    DWORD type = REG_NONE;
    const LONG status = RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
    if (status != ERROR_SUCCESS)
        return status;
    if (type != REG_SZ)
        return ERROR_INVALID_DATA;
    text = buffer;
    return ERROR_SUCCESS;
}
} // namespace

// --- enumeration ----------------------------------------------------------------------------------------------------

void CVlanAgentWin::EnumerateVlans(CResult& result, const CRavString& strParentKey, std::vector<CRavString>& vlanKeys)
{
    const CRavTraceScope trace(L"CVlanAgentWin::EnumerateVlans", &result);
    result = CResult();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::EnumerateVlans", result, [&] {
        PurgeLocalVlanCache();
        vlanKeys.clear();
        EnumVlansPvt1(result, strParentKey, vlanKeys);
        // A client that lists all VLANs asks for each of them next.
        if (result.Succeeded() && strParentKey.IsEmpty())
            Bind(vlanKeys);
    });
}

void CVlanAgentWin::PurgeLocalVlanCache()
{
    const std::lock_guard guard(m_cacheLock);
    m_keyBindings.Clear();
}

void CVlanAgentWin::ClearVlanCache()
{
    const std::lock_guard guard(m_cacheLock);
    m_keyBindings.Clear();
    m_vlanCache.Clear();
}

bool CVlanAgentWin::IsBound(const CRavString& strVlanKey)
{
    const std::lock_guard guard(m_cacheLock);
    return std::any_of(m_keyBindings.begin(), m_keyBindings.end(),
                       [&](const auto& binding) { return binding->vlanKey.CompareI(strVlanKey); });
}

void CVlanAgentWin::Bind(const std::vector<CRavString>& vlanKeys)
{
    const std::lock_guard guard(m_cacheLock);
    m_keyBindings.Clear();
    for (const CRavString& key : vlanKeys)
        m_keyBindings.Add(std::make_unique<_VLAN_KEY_BINDINGS>(_VLAN_KEY_BINDINGS{key}));
}

void CVlanAgentWin::EnumVlansPvt1(CResult& result, const CRavString& strParentKey, std::vector<CRavString>& vlanKeys)
{
    const CRavTraceScope trace(L"CVlanAgentWin::EnumVlansPvt1", &result);
    result = CResult();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::EnumVlansPvt1", result,
             [&] { result = EnumerateComponents(strParentKey, vlanKeys); });
}

// A machine whose network configuration is not to be had has no VLANs.
CResult CVlanAgentWin::EnumerateComponents(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys)
{
    CRavHostSession own;
    CRavHostSession* session = ThreadSession();
    if (session == nullptr || !session->IsReading())
        session = &own;
    if (session == &own && FAILED(own.Initialize()))
        return CResult::Success();
    return SUCCEEDED(session->View().EnumerateVlans(strParentKey, vlanKeys)) ? CResult::Success() : CResult();
}

// What the network configuration does not show, or not now, is missing from an enumeration. Taken at its word, that
// would turn a parent with VLANs into one without: the first VLAN of a parent replaces, and the last one deletes, what
// the driver keeps of it.
bool CVlanAgentWin::MissesListedVlan(const CRavString& strParentKey, const std::vector<CRavString>& vlanKeys)
{
    CRavHostSession* const session = ThreadSession();
    if (session == nullptr)
        return false;
    // A team has no entry of its own: its VLANs are listed for its members.
    std::vector<CRavString> adapters;
    session->EnumerateMemberAdapters(strParentKey, adapters);
    adapters.push_back(strParentKey);
    return std::any_of(adapters.begin(), adapters.end(), [&](const CRavString& adapter) {
        return MissesVlanOfEntry(*session, adapter, strParentKey, vlanKeys);
    });
}

bool CVlanAgentWin::MissesVlanOfEntry(CRavHostSession& session, const CRavString& strAdapterKey,
                                      const CRavString& strParentKey, const std::vector<CRavString>& vlanKeys)
{
    const size_t prefix = RavName(RAV_NAME_DEVICE).Length();
    CRavRegKey entry;
    std::vector<CRavString> bindings;
    if (!entry.Open(HKEY_LOCAL_MACHINE, RavDriverEntryPath(strAdapterKey), false) ||
        !RavReadList(entry, RavName(RAV_NAME_BINDING_LIST), bindings))
        return false;
    return std::any_of(bindings.begin(), bindings.end(), [&](const CRavString& binding) {
        const CRavString guid = binding.Length() > prefix ? binding.c_str() + prefix : L"";
        if (std::any_of(vlanKeys.begin(), vlanKeys.end(), [&](const CRavString& key) { return key.CompareI(guid); }))
            return false;
        const RAV_HOST_ADAPTER* const adapter = session.View().Find(guid);
        return adapter != nullptr && adapter->IsVlan() && adapter->parentKey == strParentKey;
    });
}

CRavString CVlanAgentWin::GetParentKeyofThisOpenOOOKey(HKEY hKey)
{
    CRavString parent;
    QueryText<PARENT_KEY_CHARACTERS>(hKey, RavName(RAV_NAME_VLAN_PARENT_KEY), parent);
    return parent;
}

// --- the cache: two look-ups, of which only the first forgives another letter case ----------------------------------

std::shared_ptr<CRavXmsVlan> CVlanAgentWin::IsVlanInfoLoaded(const CRavString& strVlanKey)
{
    const CRavTraceScope trace(L"CVlanAgentWin::IsVlanInfoLoaded");
    const std::lock_guard guard(m_cacheLock);
    for (const auto& vlan : m_vlanCache)
    {
        if (!vlan->m_strVlanKey.CompareI(strVlanKey))
            continue;
        RavTrace().Print(L"Exiting CVlanAgentWin::IsVlanInfoLoaded with loaded vlan ptr.");
        return vlan;
    }
    return nullptr;
}

bool CVlanAgentWin::IsVlanInfoAvailable(const CRavString& strVlanKey, RAV_VLAN_INFO& info)
{
    const std::lock_guard guard(m_cacheLock);
    for (const auto& vlan : m_vlanCache)
    {
        if (!(vlan->m_strVlanKey == strVlanKey))
            continue;
        info = vlan->m_ravVlanInfo;
        RavTrace().Print(L"vlanInfo.vlanId= %d", info.vlanId);
        RavTrace().Print(L"Exiting CVlanAgentWin::IsVlanInfoAvailable-1");
        return true;
    }
    RavTrace().Print(L"Exiting CVlanAgentWin::IsVlanInfoAvailable-2");
    return false;
}

std::shared_ptr<CRavXmsVlan> CVlanAgentWin::GetVlan(const CRavString& strVlanKey)
{
    const CRavTraceScope trace(L"CVlanAgentWin::GetVlan");
    std::shared_ptr<CRavXmsVlan> vlan = IsVlanInfoLoaded(strVlanKey);
    // Another thread may empty the cache between the two.
    CResult loaded = CResult::Success();
    for (int attempt = 0; !vlan && loaded.Succeeded() && attempt < LOAD_ATTEMPTS; ++attempt)
    {
        RAV_VLAN_INFO info;
        LoadThisVlanInfo(loaded, strVlanKey, info);
        if (loaded.Succeeded())
            vlan = IsVlanInfoLoaded(strVlanKey);
    }
    if (!vlan)
        RavTrace().Print(L"CVlanAgentWin::GetVlan - Unable to load vlan!!");
    return vlan;
}

// --- loading --------------------------------------------------------------------------------------------------------

// An enumeration is good until the next one starts, so that listing many VLANs enumerates once, not once for each. What
// it promised and is gone meanwhile is decided by another one.
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
            result = LoadVlan(strVlanKey, false, info);
        if (result.Succeeded())
            return;
        result = FindVlan(strVlanKey);
        if (result.Succeeded())
            result = LoadVlan(strVlanKey, true, info);
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

// A VLAN whose device or driver key cannot be resolved has defaults for what is not known of it: it is there, and can
// be shown and removed.
CResult CVlanAgentWin::LoadVlan(const CRavString& strVlanKey, bool bDamagedToo, RAV_VLAN_INFO& info)
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
    if (!(ReadParentKey(*vlan) && found))
    {
        RavTrace().Print(L"LoadThisVlanInfo - %s is gone or damaged.", strVlanKey.c_str());
        if (!bDamagedToo)
            return CResult();
    }
    const HKEY key = vlan->GetParentClassKey();
    vlan->m_ravVlanInfo.vlanKey = strVlanKey;
    vlan->m_ravVlanInfo.supportedFeatures = vlan->GetSupportedFeatures();
    if (!found) // by its device; its key may have been found all the same
        QueryNumber(key, RavName(RAV_NAME_SUPPORTED_FEATURES), vlan->m_ravVlanInfo.supportedFeatures);
    vlan->m_bFeatureFlag = (vlan->m_ravVlanInfo.supportedFeatures & FEATURE_OVER_TEAM) != 0;
    vlan->m_iParentType = vlan->m_bFeatureFlag ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER;
    GetOtherVlanDetails(*vlan, key, vlan->m_bFeatureFlag);
    vlan->CloseParentClassKey();
    info = vlan->m_ravVlanInfo;
    RavTrace().Print(L"vlanInfo.vlanId= %d", info.vlanId);
    AddToCache(std::move(vlan));
    return CResult::Success();
}

// Resolves the VLAN's own key, which stays open, and reads whose VLAN it is.
bool CVlanAgentWin::ReadParentKey(CRavXmsVlan& vlan)
{
    const bool resolved = SUCCEEDED(vlan.GetOOOKeyFromVk(L""));
    vlan.m_strParentKey = GetParentKeyofThisOpenOOOKey(vlan.GetParentClassKey());
    return resolved;
}

void CVlanAgentWin::ForgetVlan(const CRavXmsVlan& vlan)
{
    const std::lock_guard guard(m_cacheLock);
    m_keyBindings.Clear();
    m_vlanCache.Remove(&vlan);
}

// Two threads may load one VLAN at once: the first object stays.
void CVlanAgentWin::AddToCache(std::shared_ptr<CRavXmsVlan> pVlan)
{
    const std::lock_guard guard(m_cacheLock);
    if (std::none_of(m_vlanCache.begin(), m_vlanCache.end(),
                     [&](const auto& vlan) { return vlan->m_strVlanKey == pVlan->m_strVlanKey; }))
        m_vlanCache.Add(std::move(pVlan));
}

void CVlanAgentWin::GetOtherVlanDetails(CRavXmsVlan& vlan, HKEY hKey, bool /*bFeatureFlag*/)
{
    if (hKey == nullptr)
    {
        RavTrace().Print(L"CVlanAgentWin::GetOtherVlanDetails, hKey is NULL");
        return;
    }
    RAV_VLAN_INFO& info = vlan.m_ravVlanInfo;
    ReadVlanId(vlan, hKey);
    const CRavRegValues values(hKey, {RavName(RAV_NAME_VLAN_NAME), RavName(RAV_NAME_VLAN_DISPLAY_NAME),
                                      RavName(RAV_NAME_LOGICAL_GROUP_ID), RavName(RAV_NAME_XMS_MINIPORT_KEY),
                                      RavName(RAV_NAME_VLAN_TYPE)});
    values.AnyText(0, info.vlanName, NAME_CHARACTERS);
    values.AnyText(1, info.displayName, NAME_CHARACTERS);
    values.Number(2, info.logicalGroupId);
    TakeMiniportKey(vlan, values, 3);
    DWORD type = 0;
    if (values.Number(4, type))
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

void CVlanAgentWin::ReadVlanId(CRavXmsVlan& vlan, HKEY hKey)
{
    DWORD& id = vlan.m_ravVlanInfo.vlanId;
    DWORD size = sizeof(id);
    DWORD type = REG_NONE;
    const LONG status =
        RegQueryValueExW(hKey, RavName(RAV_NAME_VLAN_ID), nullptr, &type, reinterpret_cast<BYTE*>(&id), &size);
    if (status == ERROR_SUCCESS && type == REG_DWORD && size == sizeof(id))
    {
        RavTrace().Print(L"pVlan->m_ravVlanInfo.vlanId= %d", id);
        return;
    }
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

// A VLAN that lost the value gets it back; one that has something else there keeps it.
void CVlanAgentWin::TakeMiniportKey(CRavXmsVlan& vlan, const CRavRegValues& values, size_t uIndex)
{
    CRavString text;
    const bool isText = values.Text(uIndex, text, MINIPORT_KEY_CHARACTERS);
    if (!text.IsEmpty())
        vlan.m_ravVlanInfo.xmsMiniportKey = text;
    else if (isText || values.Status(uIndex) == ERROR_FILE_NOT_FOUND)
        CRavNetCfgComponent(vlan.m_strVlanKey)
            .SetParameterValue(RavName(RAV_NAME_NETWORK_CLASS_KEY) + L"\\", RavName(RAV_NAME_XMS_MINIPORT_KEY),
                               RavCanonicalKey(vlan.m_strMiniportInst));
}

int CVlanAgentWin::ReadJumboPacket(CRavXmsVlan& vlan)
{
    std::unique_ptr<RAV_SETTING> setting;
    if (vlan.GetMiniportReg() == nullptr || !vlan.GetMiniportReg()->GetSetting(JUMBO_PACKET, setting).Succeeded())
        return -1;
    return setting->GetType() == RAV_SETTING_TYPE_ENUM ? static_cast<const RAV_SETTING_ENUM&>(*setting).iCurrent
                                                       : static_cast<const RAV_SETTING_INT&>(*setting).iCurrent;
}

// --- queries --------------------------------------------------------------------------------------------------------

void CVlanAgentWin::GetVlanInfo(CResult& result, const CRavString& strVlanKey, RAV_VLAN_INFO& info)
{
    const CRavTraceScope trace(L"CVlanAgentWin::GetVlanInfo", &result);
    result = CResult();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetVlanInfo", result, [&] {
        const CNetCfgSession session(*this);
        if (IsVlanInfoAvailable(strVlanKey, info))
            result = CResult::Success();
        else
            LoadThisVlanInfo(result, strVlanKey, info);
    });
    if (result.ulErrCode == CResult::FAILED)
        RavTrace().Print(L"CVlanAgentWin::GetVlanInfo-returning fail");
}

void CVlanAgentWin::GetVlanParent(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                                  RAV_VLAN_PARENT& parent)
{
    const CRavTraceScope trace(L"CVlanAgentWin::GetVlanParent", &result);
    result = CResult();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetVlanParent", result, [&] {
        WaitForApplyDone(client);
        if (const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey))
            result = vlan->GetParent(parent);
    });
}

void CVlanAgentWin::GetVlanStatus(CResult& result, const CRavString& strVlanKey, DWORD& dwStatus)
{
    const CRavTraceScope trace(L"CVlanAgentWin::GetVlanStatus", &result);
    result = CResult();
    dwStatus = 0;
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetVlanStatus", result, [&] {
        bool release = true; // a fresh view of the configuration
        ReleaseNetCfgInterfaceObj(result, release);
        CRavXmsVlan vlan(strVlanKey, *this);
        const CNetCfgSession session(*this);
        CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
        if (netCfg == nullptr)
            return;
        vlan.Initialize(*netCfg);
        vlan.Init();
        dwStatus = vlan.GetLoadStatus(*netCfg);
        RAV_VLAN_PARENT parent;
        ReadParentKey(vlan);
        vlan.GetParent(parent);
    });
    result = CResult::Success();
}

bool CVlanAgentWin::IsVlanEnabled(const CRavString& strVlanKey)
{
    bool enabled = false;
    const CRavTraceScope trace(L"CVlanAgentWin::IsVlanEnabled", &enabled);
    CResult ignored;
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::IsVlanEnabled", ignored, [&] {
        const CNetCfgSession session(*this);
        CRavXmsVlan vlan(strVlanKey, *this);
        CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
        if (netCfg == nullptr)
            return;
        vlan.Initialize(*netCfg);
        vlan.Init();
        enabled = vlan.IsDriverLoaded(*netCfg);
    });
    return enabled;
}

void CVlanAgentWin::GetDriverInfo(CResult& result, const CRavString& /*strVlanKey*/, CRavString& /*strInfo*/)
{
    result = CResult::Success();
}

// --- settings, to read ----------------------------------------------------------------------------------------------

void CVlanAgentWin::EnumerateSettings(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                                      std::vector<RAV_SETTING*>& settings)
{
    const CRavTraceScope trace(L"CVlanAgentWin::EnumerateSettings", &result);
    result = CResult();
    settings.clear();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::EnumerateSettings", result, [&] {
        WaitForApplyDone(client);
        const CNetCfgSession session(*this);
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
        if (!vlan || vlan->GetMiniportReg() == nullptr)
            return;
        std::vector<std::unique_ptr<RAV_SETTING>> owned;
        result = vlan->GetMiniportReg()->EnumerateSettings(owned);
        settings.reserve(owned.size()); // from here on nothing can be lost on the way
        for (auto& setting : owned)
            settings.push_back(setting.release());
    });
}

void CVlanAgentWin::GetSetting(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                               const CRavString& strName, RAV_SETTING** ppSetting)
{
    const CRavTraceScope trace(L"CVlanAgentWin::GetSetting", &result);
    result = CResult();
    if (ppSetting == nullptr)
        return;
    *ppSetting = nullptr;
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetSetting", result, [&] {
        WaitForApplyDone(client);
        const CNetCfgSession session(*this);
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strVlanKey);
        std::unique_ptr<RAV_SETTING> setting;
        if (!vlan || vlan->GetMiniportReg() == nullptr)
            return;
        result = vlan->GetMiniportReg()->GetSetting(strName, setting);
        *ppSetting = setting.release();
    });
}
