// Changing a VLAN that is there: its name, its id and its type.

#include "Src/Agent/RavVlanAgentChange.h"

#include "Common/Library/NetCfgClasses.h"
#include "Common/Src/RavRegValues.h"
#include "Src/Agent/RavStopMessage.h"
#include "Src/RavNameTable.h"
#include "Src/View/RavHostView.h"
#include "Src/Vlan/RavNetCfgWriteLock.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentChange";

CResult ResultOf(int status)
{
    return status == 0 ? CResult::Success() : CResult();
}

// Nothing has been changed: another program holds the write lock, or a restart of the system has to come first.
CResult WithoutWriteLock(HRESULT status)
{
    RavTrace().Print(L"CVlanAgentWin - the network configuration cannot be locked, 0x%X", status);
    return CResult(status == NETCFG_E_NEED_REBOOT ? RAV_CODE_REBOOT_PENDING : CResult::FAILED, RAV_CLASS_REFUSED);
}

CResult Rename(CRavXmsVlan& vlan, const CRavString& name)
{
    int status = -1;
    vlan.ConstructVlanDisplayName(status);
    // It is written behind the name. Without the parent's name, which nobody tells at the moment, neither is.
    const bool isParentLost = vlan.m_strVlanDisplayName == vlan.m_strVlanName &&
                              vlan.m_ravVlanInfo.displayName != vlan.m_ravVlanInfo.vlanName;
    if (status != 0 || isParentLost)
    {
        RavTrace().Print(L"CVlanAgentWin - nobody tells the name of the parent of %s", vlan.m_strVlanKey.c_str());
        return CResult();
    }
    CRavNetCfgWriteLock lock(*vlan.GetNetCfgInterface());
    if (!lock.IsHeld())
        return WithoutWriteLock(lock.Status());
    vlan.SetVLANName(name, status);
    if (FAILED(lock.Release()))
        status = -1;
    return ResultOf(status);
}

// Whether the display names follow from the VLAN's name: a change that was interrupted before them is not there yet.
bool IsShownByName(CRavXmsVlan& vlan)
{
    int status = -1;
    CNetCfgText shown;
    Microsoft::WRL::ComPtr<INetCfgComponent> component;
    vlan.ConstructVlanDisplayName(status);
    return status == 0 && vlan.m_strVlanDisplayName == vlan.m_ravVlanInfo.displayName &&
           SUCCEEDED(vlan.GetNetCfgInterface()->FindNetworkComponentByGUID(vlan.m_strVlanKey, component)) &&
           component && SUCCEEDED(component->GetDisplayName(shown.Out())) && vlan.m_strVlanDisplayName == shown.Get();
}

// What the adapters below a VLAN list of ids.
struct LISTED
{
    std::vector<CRavString> behind; // adapters that do not list the VLAN's own
    std::vector<CRavString> ids;
};

bool ReadIds(CRavXmsVlan& vlan, LISTED& listed)
{
    std::vector<CRavString> carriers;
    if (!vlan.FindCarriers(carriers))
        return false;
    const CRavString own = std::to_wstring(vlan.m_iVlanId).c_str();
    for (const CRavString& carrier : carriers)
    {
        std::vector<CRavString> ids;
        CRavRegKey key;
        if (FAILED(vlan.GetOOOKeyFromVk(carrier)) || !key.Open(vlan.GetParentClassKey(), L"", false))
            return false;
        if (!RavReadList(key, RavName(RAV_NAME_VLAN_ID), ids) && key.LastResult() != ERROR_FILE_NOT_FOUND)
            return false;
        if (std::find(ids.begin(), ids.end(), own) == ids.end())
            listed.behind.push_back(carrier);
        listed.ids.insert(listed.ids.end(), ids.begin(), ids.end());
    }
    vlan.CloseParentClassKey();
    return true;
}
} // namespace

CRavString CVlanAgentWin::NameOfOperation(const wchar_t* operation)
{
    return CRavString(L"CVlanAgentWin::") + operation;
}

bool CVlanAgentWin::IsRefused(CResult& result, const CRavVlanMessages& messages, const wchar_t* operation)
{
    const auto stop = std::find_if(messages.begin(), messages.end(), [](const RAV_VALIDATION_MESSAGE& message) {
        return message.dwSeverity == RAV_SEVERITY_STOP;
    });
    if (stop == messages.end())
        return false;
    RavTrace().Print(L"CVlanAgentWin::%s - refused, 0x%X", operation, stop->dwCode);
    result = CResult(stop->dwCode);
    return true;
}

bool CVlanAgentWin::IsKnownClient(CResult& result, const RAV_CLIENT_ID& client, const wchar_t* operation)
{
    CResult asked;
    VerifyClientID(asked, client);
    if (asked.ulErrCode != CResult::FAILED)
        return true;
    RavTrace().Print(L"CVlanAgentWin::%s - VerifyClientID failed", operation);
    result = CResult();
    return false;
}

// The object leaves the cache, where a reader could find it half changed. Without a parent that is there a VLAN cannot
// be changed as a whole: its names and ids follow the parent's.
std::shared_ptr<CRavXmsVlan> CVlanAgentWin::TakeVlan(const CRavString& strVlanKey)
{
    ClearVlanCache(); // others may have changed the host: what was read before is dropped
    std::shared_ptr<CRavXmsVlan> vlan = GetVlan(RavCanonicalKey(strVlanKey));
    if (!vlan)
        return nullptr;
    ForgetVlan(*vlan);
    if (vlan->GetParentType(vlan->m_iParentType).Succeeded())
        return vlan;
    RavTrace().Print(L"CVlanAgentWin::TakeVlan - the parent of %s is gone", strVlanKey.c_str());
    return nullptr;
}

// --- validation -----------------------------------------------------------------------------------------------------

void CVlanAgentWin::ValidateUpdate(CResult& result, const CRavString& strVlanKey, const CRavString& strVlanName,
                                   DWORD dwVlanId, CRavVlanMessages& messages)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::ValidateUpdate", &result);
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::ValidateUpdate", result, [&] {
        const CNetCfgSession session(*this);
        ReadNamesToo();
        const std::shared_ptr<CRavXmsVlan> vlan = TakeVlan(strVlanKey);
        if (vlan && JudgeName(messages, *vlan, strVlanName) && JudgeId(messages, *vlan, dwVlanId))
            result = CResult::Success();
    });
}

void CVlanAgentWin::ReadNamesToo()
{
    if (CRavHostSession* const session = ThreadSession())
        session->View().Deepen(CRavHostView::DEPTH::Names);
}

// The name that the VLAN has may stay, whatever it is. False when the rules could not be checked.
bool CVlanAgentWin::JudgeName(CRavVlanMessages& messages, const CRavXmsVlan& vlan, const CRavString& strName)
{
    std::vector<CRavString> siblings;
    if (strName == vlan.m_strVlanName && !strName.IsEmpty())
        return true;
    if (!EnumerateVlansOnParent(vlan.m_strParentKey, siblings).Succeeded() || !AreReadable(siblings))
        return false;
    ValidateVlanName(messages, vlan.m_strVlanKey, strName, siblings);
    return true;
}

// The same for the id. A VLAN stays tagged, or untagged: with that the whole parent would change.
bool CVlanAgentWin::JudgeId(CRavVlanMessages& messages, const CRavXmsVlan& vlan, DWORD dwVlanId)
{
    std::vector<CRavString> siblings;
    if (dwVlanId == vlan.m_ravVlanInfo.vlanId)
        return true;
    if (dwVlanId > RAV_MAX_VLAN_ID)
    {
        RavStop(messages, RAV_MSG_ID_TOO_LARGE);
        return true;
    }
    if (!EnumerateVlansOnParent(vlan.m_strParentKey, siblings).Succeeded())
        return false;
    std::erase_if(siblings, [&](const CRavString& key) { return key.CompareI(vlan.m_strVlanKey); });
    if (dwVlanId == 0 && siblings.empty())
    {
        RavStop(messages, RAV_MSG_UNTAGGED_ALONE);
        return true;
    }
    for (const CRavString& key : siblings)
    {
        DWORD id = 0;
        CRavString name;
        if (!ReadForValidation(key, id, name))
            return false;
        if (id != dwVlanId)
            continue;
        RavStop(messages, RAV_MSG_ID_IN_USE);
        return true;
    }
    if (dwVlanId == 0 || vlan.m_ravVlanInfo.vlanId == 0)
        RavStop(messages, RAV_MSG_ID_NOT_VALID);
    return true;
}

bool CVlanAgentWin::AreReadable(const std::vector<CRavString>& vlanKeys)
{
    return std::all_of(vlanKeys.begin(), vlanKeys.end(), [&](const CRavString& key) {
        DWORD id = 0;
        CRavString name;
        return ReadForValidation(key, id, name);
    });
}

// --- the changes ----------------------------------------------------------------------------------------------------

void CVlanAgentWin::SetVLANName(CResult& result, const CRavString& strVlanKey, const CRavString& strVlanName,
                                const RAV_LOCK_RECORD& lock)
{
    const auto judge = [&](CRavVlanMessages& messages, CRavXmsVlan& vlan) {
        return JudgeName(messages, vlan, strVlanName) ? CResult::Success() : CResult();
    };
    const auto change = [&](CRavXmsVlan& vlan) {
        const bool isThere = vlan.m_strVlanName == strVlanName && IsShownByName(vlan);
        return isThere ? CResult::Success() : Rename(vlan, strVlanName);
    };
    ChangeVlan(result, {L"SetVLANName", strVlanKey, lock, true}, judge, change);
}

void CVlanAgentWin::SetVLANId(CResult& result, const CRavString& strVlanKey, DWORD dwVlanId,
                              const RAV_LOCK_RECORD& lock)
{
    const auto judge = [&](CRavVlanMessages& messages, CRavXmsVlan& vlan) {
        return JudgeId(messages, vlan, dwVlanId) ? CResult::Success() : CResult();
    };
    const auto change = [&](CRavXmsVlan& vlan) { return ChangeId(vlan, static_cast<int>(dwVlanId)); };
    ChangeVlan(result, {L"SetVLANId", strVlanKey, lock, true}, judge, change);
}

// A change that was interrupted when the VLAN had its id, and not all lists below it, is finished before the next one.
CResult CVlanAgentWin::ChangeId(CRavXmsVlan& vlan, int iVlanId)
{
    if (iVlanId == 0)
        return CResult::Success(); // it is untagged, and stays so: no list has it
    LISTED listed;
    if (!ReadIds(vlan, listed) || (!listed.behind.empty() && !FindReplacedId(vlan, listed.ids)))
        return CResult();
    int status = 0;
    for (const CRavString& adapter : listed.behind)
    {
        vlan.SetVlanIdAsMultiStrInAdptrOOOKi(adapter, status);
        if (status != 0)
            return CResult();
    }
    vlan.m_iPreviousVlanId = -1;
    if (iVlanId != vlan.m_iVlanId)
        vlan.SetVLANId(iVlanId, status);
    else if (!listed.behind.empty())
        vlan.UnloadMiniport();
    return ResultOf(status);
}

// Of the ids that are listed the one that no VLAN of the parent has; several leave it open which one it was. False when
// the VLANs cannot be read.
bool CVlanAgentWin::FindReplacedId(CRavXmsVlan& vlan, std::vector<CRavString> ids)
{
    std::vector<CRavString> siblings;
    if (!EnumerateVlansOnParent(vlan.m_strParentKey, siblings).Succeeded())
        return false;
    for (const CRavString& key : siblings)
    {
        DWORD id = 0;
        CRavString name;
        if (!ReadForValidation(key, id, name))
            return false;
        std::erase(ids, CRavString(std::to_wstring(id).c_str()));
    }
    if (!ids.empty() && std::all_of(ids.begin(), ids.end(), [&](const CRavString& id) { return id == ids.front(); }))
        vlan.m_iPreviousVlanId = _wtoi(ids.front());
    return true;
}

void CVlanAgentWin::SetVlanType(CResult& result, const CRavString& strVlanKey, DWORD dwVlanType,
                                const RAV_LOCK_RECORD& lock)
{
    const auto judge = [&](CRavVlanMessages&, CRavXmsVlan&) {
        return CResult(dwVlanType <= RAV_MAX_VLAN_TYPE ? 0 : RAV_CODE_NOT_VALID);
    };
    const auto change = [&](CRavXmsVlan& vlan) {
        int status = 0;
        const DWORD stored = dwVlanType + 1; // from 1 on
        if (vlan.m_dwVlanType == 0 || vlan.m_ravVlanInfo.vlanType != dwVlanType)
            vlan.SetVLANType(stored, status);
        return ResultOf(status);
    };
    ChangeVlan(result, {L"SetVlanType", strVlanKey, lock, false}, judge, change);
}
