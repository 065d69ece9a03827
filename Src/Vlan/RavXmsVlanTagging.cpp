// The ids of the VLANs on a parent, and the VLAN mode that follows from them.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavDriverEntry.h"
#include "Src/Vlan/RavTaggingMode.h"

#include <algorithm>
#include <cwchar>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanTagging";
constexpr int MAX_LISTED_ID = 9999; // four digits

int NumberOf(const CRavString& text)
{
    return _wtoi(text);
}

bool IsMissing(const CRavRegKey& key)
{
    return key.LastResult() == ERROR_FILE_NOT_FOUND;
}

// Beside the instance keys the network class has others, which not everybody may read.
bool IsInstance(const CRavString& name)
{
    return name.Length() == 4 && name.find_first_not_of(L"0123456789") == CRavString::npos;
}

// Whether the miniport with the instance key is a tagged VLAN over the team. False when its key cannot be read: it may
// be one. A key that has gone in the meantime is none.
bool IsTaggedVlanOf(const CRavString& path, const CRavString& team, bool& bTagged)
{
    CRavRegKey key;
    CRavString parent;
    CRavString guid;
    DWORD id = 0;
    if (!key.Open(HKEY_LOCAL_MACHINE, path, false))
    {
        if (!IsMissing(key))
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: OpenThisMiniportRegKey failed.");
        return IsMissing(key);
    }
    const auto read = [&](const wchar_t* name, auto& value) {
        if (key.GetValue(name, value) || RavIsNoNumber(key.LastResult()))
            return true;
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: RegQueryValueEx failed. err= %d", key.LastResult());
        return false;
    };
    if (!read(XmsValue::VlanParentKey, parent))
        return false;
    if (!parent.CompareI(team))
        return true;
    if (!read(NetworkValue::NetCfgInstanceId, guid) || !read(XmsValue::VlanId, id))
        return false;
    if (IsMissing(key))
        RavTrace().Print(L"EROR_FILE_NOT_FOUND for %s err= %d type= %d", XmsValue::VlanId, key.LastResult(), REG_NONE);
    bTagged = !guid.IsEmpty() && !guid.CompareI(team) && id != 0;
    return true;
}
} // namespace

bool CRavXmsVlan::GetVlanIdArray(std::vector<CRavString>& ids)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::GetVlanIdArray", &done);
    ids.clear();
    const CRavParentKeyBorrow borrowed(*this);
    CRavRegKey key;
    done = OpenKeyWithVlanIds(key);
    if (done && !RavReadList(key, XmsValue::VlanId, ids))
        RavTrace().Print(L"QueryMultiStringValue failed.");
    return done;
}

bool CRavXmsVlan::OpenKeyWithVlanIds(CRavRegKey& key)
{
    if (m_iParentType == RAV_PARENT_TEAM)
        return OpenTeamMemberKey(key);
    const HRESULT status = GetParentOOOKey();
    if (FAILED(status))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetOOOKeyFromVk failed for %s. hr= %X", m_strParentKey.c_str(),
                         status);
        return false;
    }
    if (!key.Open(GetParentClassKey(), L"", false))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Open failed.");
        return false;
    }
    return true;
}

bool CRavXmsVlan::OpenTeamMemberKey(CRavRegKey& key)
{
    RavTrace().Print(L"m_strParentKey: %s", m_strParentKey.c_str());
    RavTrace().Print(L"m_strMiniportInst: %s", m_strMiniportInst.c_str());
    RavTrace().Print(L"m_strVlanNetCfgInstanceId: %s", m_strVlanNetCfgInstanceId.c_str());
    CRavString member = CarryingMember();
    if (member.IsEmpty())
    {
        std::vector<CRavString> members;
        CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
        if (netCfg == nullptr || FAILED(netCfg->EnumerateMemberAdapters(m_strParentKey, members)))
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: EnumerateMemberAdapters failed.");
        if (!members.empty())
            member = members.front();
    }
    RavTrace().Print(L"key_str: %s.", member.c_str());
    if (member.IsEmpty())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetKeyStrForFirstAdapterFromVlanOnTeam failed.");
        return false;
    }
    const DWORD number = GetAdapterNumberFromAdapterID(member);
    if (number == NO_ADAPTER_NUMBER)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetAdapterNumberFromAdapterID failed. ID: %s", member.c_str());
        return false;
    }
    CRavKeyHandle handle = OpenKeyForAdapterNumber(number);
    if (!handle)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: OpenKeyForAdapterNumber failed. number= %d", number);
        return false;
    }
    const bool opened = key.Open(handle.Get(), L"", false);
    if (!opened)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Open failed.");
    if (handle.Close() != ERROR_SUCCESS)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: RegCloseKey failed.");
    return opened;
}

int CRavXmsVlan::CountNumberTaggedVlans()
{
    int count = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CountNumberTaggedVlans", &count);
    std::vector<CRavString> ids;
    if (GetVlanIdArray(ids))
        count = static_cast<int>(ids.size());
    else
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetVlanIdArray failed.");
    return count;
}

// Keeps those of the team's VLANs that the member carries. This VLAN counts among them until its removal is complete,
// even when the driver's list of the member no longer names it.
bool CRavXmsVlan::KeepThoseOnMember(std::vector<CRavString>& vlanKeys)
{
    std::erase_if(vlanKeys, [&](const CRavString& key) { return key.CompareI(m_strVlanKey); });
    const bool done = RavKeepListed(m_strMemberKey, vlanKeys);
    vlanKeys.push_back(m_strVlanKey);
    return done;
}

// The team member whose keys hold this VLAN's state: the one that the object stands for, otherwise the first whose
// binding list names the VLAN.
CRavString CRavXmsVlan::CarryingMember()
{
    CRavString member = m_strMemberKey;
    if (!IsOnTeamMember())
        GetKeyStrForFirstAdapterFromVlanOnTeam(m_strVlanNetCfgInstanceId, member);
    return member;
}

int CRavXmsVlan::CountRemainingVlans()
{
    int count = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CountRemainingVlans", &count);
    std::vector<CRavString> keys;
    if (m_services.EnumerateVlansOnParent(m_strParentKey, keys).Succeeded() &&
        (!IsOnTeamMember() || KeepThoseOnMember(keys)))
        count = static_cast<int>(keys.size());
    else
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the VLANs of %s cannot be counted.", m_strParentKey.c_str());
    return count;
}

bool CRavXmsVlan::IsParentWithUntaggedVlan(bool& bUntagged)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::IsParentWithUntaggedVlan", &done);
    bUntagged = false;
    CRavString adapter = m_strParentKey;
    if (m_iParentType == RAV_PARENT_TEAM)
    {
        adapter = CarryingMember();
        RavTrace().Print(L"key_str: %s", adapter.c_str());
    }
    const CRavString path = RavDriverEntryPath(adapter);
    CRavRegKey key;
    if (adapter.IsEmpty() || !key.Open(HKEY_LOCAL_MACHINE, path, false))
    {
        RavTrace().Print(L"Could not open xms protocol key %s, err= %d", path.c_str(), key.LastResult());
        return false;
    }
    // An adapter that never had a VLAN has no mode, which is an answer and no failure.
    constexpr DWORD NO_MODE = 0xFFFFFFFF;
    DWORD mode = NO_MODE;
    done = key.GetValue(XmsValue::TaggingMode, mode) || RavIsNoNumber(key.LastResult());
    if (mode == NO_MODE)
        RavTrace().Print(L"GetValue missed for %s on the key %s", XmsValue::TaggingMode, path.c_str());
    if (!done)
        return false;
    bUntagged = RavServesUntagged(mode);
    RavTrace().Print(L"valid out value= %s", bUntagged ? L"true" : L"false");
    return done;
}

bool CRavXmsVlan::IsParentWithTaggedVlan(bool& bTagged)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::IsParentWithTaggedVlan", &done);
    bTagged = false;
    RavTrace().Print(L"adapter_id: %s", m_strParentKey.c_str());
    done = m_iParentType != RAV_PARENT_TEAM ? HasAdapterTaggedVlan(m_strParentKey, bTagged)
           : IsOnTeamMember()               ? HasAdapterTaggedVlan(m_strMemberKey, bTagged)
                                            : HasTeamTaggedVlan(bTagged);
    return done;
}

bool CRavXmsVlan::HasAdapterTaggedVlan(const CRavString& strAdapter, bool& bTagged)
{
    CRavKeyHandle handle;
    CRavRegKey key;
    if (FAILED(OpenKeyOf(strAdapter, handle)) || !key.Open(handle.Get(), L"", false))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: OpenThisMiniportRegKey failed.");
        return false;
    }
    const DWORD type = key.GetRegType(XmsValue::VlanId);
    if (IsMissing(key))
    {
        RavTrace().Print(L"EROR_FILE_NOT_FOUND for %s err= %d type= %d", XmsValue::VlanId, key.LastResult(), type);
        return true;
    }
    if (key.LastResult() != ERROR_SUCCESS || type != REG_MULTI_SZ)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: RegQueryValueEx failed. er= %d type= %d", key.LastResult(),
                         type);
        return false;
    }
    std::vector<CRavString> ids;
    if (!key.GetValue(XmsValue::VlanId, ids))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: RegQueryValueEx failed. err= %d", key.LastResult());
        return false;
    }
    bTagged = std::any_of(ids.begin(), ids.end(), [](const CRavString& id) { return NumberOf(id) != 0; });
    return true;
}

// A team has no list of ids of its own: the miniports whose keys name it as their parent tell.
bool CRavXmsVlan::HasTeamTaggedVlan(bool& bTagged)
{
    const CRavString path = RavName(RAV_NAME_NETWORK_CLASS_KEY);
    CRavRegKey networkClass;
    if (!networkClass.Open(HKEY_LOCAL_MACHINE, path, false))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: OpenThisMiniportRegKey failed.");
        return false;
    }
    CRavString instance;
    while (!bTagged && networkClass.EnumSubKey(instance))
    {
        if (IsInstance(instance) && !IsTaggedVlanOf(path + L"\\" + instance, m_strParentKey, bTagged))
            return false;
    }
    if (bTagged || networkClass.LastResult() == ERROR_NO_MORE_ITEMS)
        return true;
    RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: RegQueryValueEx failed. err= %d", networkClass.LastResult());
    return false;
}

bool CRavXmsVlan::GetVlanMode(DWORD& dwMode)
{
    bool done = true;
    const CRavTraceScope trace(L"CRavXmsVlan::GetVlanMode", &done);
    dwMode = 1;
    if (IsUntagged())
    {
        bool tagged = false;
        done = IsParentWithTaggedVlan(tagged);
        dwMode = tagged ? 1 : 0;
    }
    if (done)
        RavTrace().Print(L"valid out value = %d", dwMode);
    return done;
}

void CRavXmsVlan::UpdateVlanMode(int& status)
{
    status = 0;
    const CRavTraceScope trace(L"CRavXmsVlan::UpdateVlanMode", &status);
    DWORD mode = 1;
    if (!GetVlanMode(mode))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetVlanMode failed.");
        mode = 1;
    }
    RavTrace().Print(L"VLAN mode= %d", mode);
    if (mode == 0)
    {
        const LONG result = RegDeleteValueW(GetParentClassKey(), XmsValue::VlanMode);
        if (result != ERROR_SUCCESS)
            RavTrace().Print(L"RegDeleteValue failed. err= %d", result);
        return;
    }
    const LONG result = RavWriteNumber(GetParentClassKey(), XmsValue::VlanMode, mode);
    if (result != ERROR_SUCCESS)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: RegSetValueEx failed. err= %d", result);
        status = -1;
    }
}

void CRavXmsVlan::SetParamsForAdptrOOOKey(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetParamsForAdptrOOOKey", &status);
    RavTrace().Print(L"Entering CRavXmsVlan::SetParamsForAdptrOOOKey");
    const bool team = m_iParentType == RAV_PARENT_TEAM;
    HRESULT opened = S_OK;
    if (team)
        opened = OpenKeyOf(m_strParentAdapterId);
    else if (!m_parentClassKey)
        opened = GetParentOOOKey();
    if (SUCCEEDED(opened))
    {
        UpdateVlanMode(status);
        if (status != 0)
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: UpdateVlanMode failed.");
    }
    if (team)
        CloseParentClassKey();
    RavTrace().Print(L"Exiting CRavXmsVlan::SetParamsForAdptrOOOKey");
}

bool CRavXmsVlan::RemoveRegValuesWhenOnlyUntagged(HKEY hKey)
{
    const CRavTraceScope trace(L"CRavXmsVlan::RemoveRegValuesWhenOnlyUntagged");
    CRavRegKey key;
    key.Open(hKey, L"", true);
    const bool done = key.IsOpened() && key.DeleteValue(XmsValue::VlanId);
    if (!done)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: DeleteValue failed.");
    if (!key.IsOpened() || !key.DeleteValue(XmsValue::VlanMode))
        RavTrace().Print(L"DeleteValue failed for VlanMode.");
    return done;
}

// Entries of 0, and those that are no number, are damage (the untagged VLAN is never listed) and are dropped as well.
void CRavXmsVlan::DeleteVlanID(HKEY hKey, int iVlanId)
{
    const CRavTraceScope trace(L"CRavXmsVlan::DeleteVlanID");
    CRavRegKey key;
    if (!key.Open(hKey, L"", true))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Open failed.");
        return;
    }
    std::vector<CRavString> ids;
    if (!RavReadList(key, XmsValue::VlanId, ids))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetValue failed.");
        return;
    }
    std::erase_if(ids, [&](const CRavString& id) {
        RavTrace().Print(L"Comparing %d with %s", iVlanId, id.c_str());
        return NumberOf(id) == iVlanId || NumberOf(id) == 0;
    });
    RavTrace().Print(L"size= %d", static_cast<int>(ids.size()));
    if (ids.empty())
        RemoveRegValuesWhenOnlyUntagged(hKey);
    else if (!key.SetValue(XmsValue::VlanId, ids))
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetValue failed.");
}

void CRavXmsVlan::SetVlanIdAsMultiStrInAdptrOOOKi(const CRavString& strParentGuid, int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetVlanIdAsMultiStrInAdptrOOOKi", &status);
    const auto failed = [] { RavTrace().Print(L"CRavXmsVlan::SetVlanIdAsMultiStrInAdptrOOOKi fails-1.Exiting"); };
    CRavKeyHandle handle;
    CRavRegKey key;
    if (m_iVlanId < 0 || m_iVlanId > MAX_LISTED_ID || FAILED(OpenKeyOf(strParentGuid, handle)) ||
        !key.Open(handle.Get(), L"", true))
        return failed();
    std::vector<CRavString> ids;
    if (RavReadList(key, XmsValue::VlanId, ids))
    {
        std::erase_if(ids, [&](const CRavString& id) { return NumberOf(id) == m_iPreviousVlanId; });
        if (ids.empty())
            RavTrace().Print(L"Empty array of VLAN ID's");
    }
    else if (!IsMissing(key)) // an unreadable list may hold other VLANs' ids, which must not be lost
        return failed();
    ids.emplace_back(m_iVlanId);
    if (!key.SetValue(XmsValue::VlanId, ids))
        return failed();
    status = 0;
    RavTrace().Print(L"CRavXmsVlan::SetVlanIdAsMultiStrInAdptrOOOKi Success. Exiting.");
}
