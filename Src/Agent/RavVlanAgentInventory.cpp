// Which network adapters are VLANs, and what is known of each.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Src/RavKey.h"
#include "Common/Src/RavRegValues.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Common/Src/XmsNames.h"
#include "Src/View/RavHostView.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentInventory";
constexpr int LOAD_ATTEMPTS = 3;
constexpr size_t PARENT_KEY_CHARACTERS = 512;
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
        // A client that lists all VLANs asks for each of them next: remembering the list spares those calls an
        // enumeration each.
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

// Without a network configuration there are no VLANs, which is an answer and no failure.
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

// Whether a VLAN of the parent is there, or may be. What an enumeration did not show is looked for once more, at each
// component: the answer decides whether the parent's first VLAN is created, or its last one removed.
bool CVlanAgentWin::IsVlanOf(CRavHostSession& session, const CRavString& strVlanKey, const CRavString& strParentKey)
{
    ComPtr<INetCfgComponent> component;
    session.SearchAnew();
    if (FAILED(session.FindNetworkComponentByGUID(strVlanKey, component)))
        return true;
    const RAV_HOST_ADAPTER* const adapter =
        component ? session.View().Find(strVlanKey, CRavHostView::DEPTH::Parents) : nullptr;
    return adapter != nullptr && adapter->IsVlan() && adapter->parentKey == strParentKey;
}

// An enumeration misses a VLAN that the network configuration does not show at the moment. Then a parent with VLANs
// would seem to have none, or only one: creating its "first" VLAN would overwrite, and removing its "last" one delete,
// what the driver keeps of the others.
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
        return IsVlanOf(session, guid, strParentKey);
    });
}

CRavString CVlanAgentWin::GetParentKeyofThisOpenOOOKey(HKEY hKey)
{
    CRavString parent;
    const CRavRegValues values(hKey, {RavName(RAV_NAME_VLAN_PARENT_KEY)});
    values.Text(0, parent, PARENT_KEY_CHARACTERS);
    return parent;
}

// --- the cache: IsVlanInfoLoaded compares keys without regard to case, IsVlanInfoAvailable exactly -------------------

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
    // Another thread may empty the cache between loading and looking up: then it is loaded again.
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

void CVlanAgentWin::ForgetVlan(const CRavXmsVlan& vlan)
{
    const std::lock_guard guard(m_cacheLock);
    m_keyBindings.Clear();
    m_vlanCache.Remove(&vlan);
}

// When two threads have loaded the same VLAN, the object that was added first stays.
void CVlanAgentWin::AddToCache(std::shared_ptr<CRavXmsVlan> pVlan)
{
    const std::lock_guard guard(m_cacheLock);
    if (std::none_of(m_vlanCache.begin(), m_vlanCache.end(),
                     [&](const auto& vlan) { return vlan->m_strVlanKey == pVlan->m_strVlanKey; }))
        m_vlanCache.Add(std::move(pVlan));
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

// Resolves the VLAN's own key, which stays open, and reads whose VLAN it is.
bool CVlanAgentWin::ReadParentKey(CRavXmsVlan& vlan)
{
    const bool resolved = SUCCEEDED(vlan.GetOOOKeyFromVk(L""));
    vlan.m_strParentKey = GetParentKeyofThisOpenOOOKey(vlan.GetParentClassKey());
    return resolved;
}

void CVlanAgentWin::GetVlanStatus(CResult& result, const CRavString& strVlanKey, DWORD& dwStatus)
{
    const CRavTraceScope trace(L"CVlanAgentWin::GetVlanStatus", &result);
    result = CResult();
    dwStatus = 0;
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetVlanStatus", result, [&] {
        // Ends the thread's session, so that the one below sees the present state; but not one whose lock is held:
        // those who hold it go on with it.
        const CRavNetCfgInterface* const held = ThreadSession();
        bool release = held == nullptr || !held->IsLockedForWrite();
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
