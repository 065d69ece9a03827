// Finds what speaks against a request to create VLANs. Changes nothing.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/OsVersion.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavKey.h"
#include "Src/RavCoreInterface.h"
#include "Common/Settings/RavSetting.h"
#include "Src/Agent/RavStopMessage.h"
#include "Src/Agent/RavVlanIdRange.h"
#include "Src/RavVlanMessages.h"
#include "Src/View/RavHostView.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <algorithm>
#include <cwchar>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentValidate";
constexpr size_t MAX_NAME_LENGTH = 32;
constexpr wchar_t FORBIDDEN_CHARACTERS[] = L"/\\*:><|?\"";

// Ends a check with its one message. True: the check itself could be made.
bool StopAndEnd(CRavVlanMessages& messages, RAV_VLAN_MESSAGE code)
{
    RavStop(messages, code);
    return true;
}

} // namespace

void CVlanAgentWin::ValidateNewVlan(CResult& result, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                                    const CRavString& strVlanName, CRavVlanMessages& messages,
                                    const RAV_CLIENT_ID& client)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::ValidateNewVlan", &result);
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::ValidateNewVlan", result, [&] {
        const CRavString parent = RavCanonicalKey(strParentKey);
        WaitForApplyDone(client); // before anything is read
        const CNetCfgSession session(*this);
        ValidateParent(messages, parent, client);
        // When a rule could not be checked the validation fails: without messages it would look like permission.
        if (ValidateIds(messages, parent, strVlanNumbers, strVlanName))
            result = CResult::Success();
    });
}

void CVlanAgentWin::ValidateParent(CRavVlanMessages& messages, const CRavString& strParentKey,
                                   const RAV_CLIENT_ID& client)
{
    CResult result;
    bool supports = false;
    bool notLoaded = false;
    bool teamFlag = false;
    DoesParentSupportVlans(result, strParentKey, supports, notLoaded, teamFlag, client);
    if (!result.Succeeded())
        RavTrace().Print(L"DoesParentSupportVlans returned error!");
    else if (COSType::IsWin10WithXMSBlock())
        RavStop(messages, RAV_MSG_XMS_BLOCKED);
    else if (teamFlag)
        RavStop(messages, RAV_MSG_TEAM_WITHOUT_VLANS);
    else if (notLoaded)
        RavStop(messages, RAV_MSG_DRIVER_NOT_LOADED);

    bool vmqEnabled = false;
    bool isTeam = false;
    IsParentVmqEnabled(result, strParentKey, vmqEnabled, isTeam, client);
    if (!result.Succeeded())
        RavTrace().Print(L"IsParentVmqEnabled returned error!");

    if (!supports && !isTeam)
    {
        bool member = false;
        Core().IsBoundToTeam(strParentKey, member);
        RavStop(messages, member ? RAV_MSG_PARENT_IN_TEAM : RAV_MSG_PARENT_WITHOUT_VLANS);
    }
    if (supports && !isTeam && !ValidateAdapter(messages, strParentKey))
        return;
    if (vmqEnabled)
        WarnOfVmq(messages, strParentKey, isTeam ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER);
}

// False when this message makes further ones about the adapter pointless.
bool CVlanAgentWin::ValidateAdapter(CRavVlanMessages& messages, const CRavString& strAdapter)
{
    if (!Core().IsDeviceCorvo(strAdapter))
    {
        RavStop(messages, RAV_MSG_NOT_OUR_DEVICE);
        return false;
    }
    if (!Core().IsDriverSupportingVORN(strAdapter))
        RavStop(messages, RAV_MSG_DRIVER_TOO_OLD);
    return true;
}

// Warns that queues are in use; and, where the setting of the parent or of a member is on, that creation switches it
// off.
void CVlanAgentWin::WarnOfVmq(CRavVlanMessages& messages, const CRavString& strParentKey, RAV_PARENT_TYPE type)
{
    const bool isTeam = type == RAV_PARENT_TEAM;
    const DWORD code = isTeam ? RAV_MSG_VMQ_ON_TEAM : RAV_MSG_VMQ_ON_ADAPTER;
    RavAddMessage(messages, code, RAV_CATEGORY_VMQ, RAV_SEVERITY_WARNING);
    std::vector<CRavString> adapters{strParentKey};
    const auto team = isTeam ? GetTeamAgentPvtIntf() : nullptr;
    const auto members = [&] { return team->GetTeamMembers(strParentKey, adapters); };
    if (isTeam &&
        (team == nullptr || !RavAnswer(SOURCE_FILE, __LINE__, L"CVlanAgentWin::WarnOfVmq", members).Succeeded()))
        return;
    if (std::any_of(adapters.begin(), adapters.end(), [&](const CRavString& one) { return IsVmqSettingOn(one); }))
        RavAddMessage(messages, code, RAV_CATEGORY_VMQ_SETTING, RAV_SEVERITY_WARNING);
}

bool CVlanAgentWin::IsVmqSettingOn(const CRavString& strAdapter)
{
    RAV_SETTING* raw = nullptr;
    const CResult read = Core().GetSetting(strAdapter, VMQ, &raw);
    const std::unique_ptr<RAV_SETTING> setting(raw);
    return read.Succeeded() && setting && setting->GetType() == RAV_SETTING_TYPE_ENUM &&
           static_cast<const RAV_SETTING_ENUM&>(*setting).iCurrent != 0;
}

// False when a rule could not be checked.
bool CVlanAgentWin::ValidateIds(CRavVlanMessages& messages, const CRavString& strParentKey,
                                const CRavString& strVlanNumbers, const CRavString& strVlanName)
{
    std::vector<DWORD> ids;
    if (!GetVlanIDsFromRange(strVlanNumbers, ids))
    {
        RavStop(messages, RAV_MSG_ID_NOT_VALID);
        return true;
    }
    if (ids.size() > 1)
        return ValidateVlanRange(messages, ids, strVlanName, strParentKey);
    return ValidateVlan(messages, RAV_NEW_VLAN_KEY, strVlanName, ids.front(), strParentKey);
}

bool CVlanAgentWin::GetVlanIDsFromRange(const CRavString& strVlanNumbers, std::vector<DWORD>& ids)
{
    return RavParseVlanIds(strVlanNumbers, ids);
}

bool CVlanAgentWin::EnumerateForValidation(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys)
{
    if (CRavHostSession* const session = ThreadSession())
        session->View().Deepen(CRavHostView::DEPTH::Names); // each will be asked for
    CResult result;
    EnumerateVlans(result, strParentKey, vlanKeys);
    if (!result.Succeeded())
        RavTrace().Print(L"ERROR:  unable to enumerate vlasns!");
    return result.Succeeded();
}

bool CVlanAgentWin::ValidateVlan(CRavVlanMessages& messages, const CRavString& strVlanKey,
                                 const CRavString& strVlanName, DWORD dwVlanId, const CRavString& strParentKey)
{
    RavTrace().Print(L"ValidateVlan for vlanKey=%s, vlanName=%s, vlanId=%d", strVlanKey.c_str(), strVlanName.c_str(),
                     dwVlanId);
    const CNetCfgSession session(*this);
    std::vector<CRavString> vlans;
    if (!EnumerateForValidation(strParentKey, vlans))
        return false;
    ValidateVlanName(messages, strVlanKey, strVlanName, vlans);
    return ValidateVlanId(messages, strVlanKey, strVlanName, dwVlanId, strParentKey, vlans);
}

// Ends with the first rule that is broken. False when a rule could not be checked.
bool CVlanAgentWin::ValidateVlanId(CRavVlanMessages& messages, const CRavString& strVlanKey,
                                   const CRavString& strVlanName, DWORD dwVlanId, const CRavString& strParentKey,
                                   const std::vector<CRavString>& vlans)
{
    if (dwVlanId > RAV_MAX_VLAN_ID)
        return StopAndEnd(messages, RAV_MSG_ID_TOO_LARGE);
    const bool isNew = strVlanKey == RAV_NEW_VLAN_KEY;
    if (isNew && vlans.size() >= RAV_MAX_VLANS_OF_VIRTUAL_DEVICE && Core().IsVirtualDevice(strParentKey))
        return StopAndEnd(messages, RAV_MSG_VIRTUAL_PARENT_FULL);
    if (isNew && vlans.size() >= RAV_MAX_VLANS)
        return StopAndEnd(messages, RAV_MSG_PARENT_FULL);
    if (dwVlanId == 0 && (vlans.empty() || (vlans.size() == 1 && !isNew)))
        return StopAndEnd(messages, RAV_MSG_UNTAGGED_ALONE);
    for (const CRavString& key : vlans)
    {
        DWORD id = 0;
        CRavString name;
        if (key.CompareI(strVlanKey))
            continue;
        if (!ReadForValidation(key, id, name))
            return false;
        if (id == dwVlanId)
            return StopAndEnd(messages, RAV_MSG_ID_IN_USE);
        if (name.CompareI(strVlanName))
            return StopAndEnd(messages, RAV_MSG_NAME_IN_USE);
    }
    return true;
}

// Fails for a VLAN that cannot be read: it may have the id or name that is asked for.
bool CVlanAgentWin::ReadForValidation(const CRavString& strVlanKey, DWORD& dwVlanId, CRavString& strVlanName)
{
    CRavHostSession* const session = ThreadSession();
    const RAV_HOST_ADAPTER* const vlan =
        session != nullptr ? session->View().Find(strVlanKey, CRavHostView::DEPTH::Names) : nullptr;
    if (vlan == nullptr)
    {
        RavTrace().Print(L"ERROR:  unable to read the vlan %s!", strVlanKey.c_str());
        return false;
    }
    dwVlanId = vlan->vlanId;
    strVlanName = vlan->vlanName;
    return true;
}

void CVlanAgentWin::ValidateVlanName(CRavVlanMessages& messages, const CRavString& strVlanKey,
                                     const CRavString& strVlanName, const std::vector<CRavString>& vlanKeys)
{
    RavTrace().Print(L"ValidateVlan for vlanKey=%s, vlanName=%s", strVlanKey.c_str(), strVlanName.c_str());
    if (strVlanName.IsEmpty())
        return RavStop(messages, RAV_MSG_NAME_EMPTY);
    if (strVlanName.front() == L' ')
        return RavStop(messages, RAV_MSG_NAME_BEGINS_BLANK);
    if (strVlanName.Length() > MAX_NAME_LENGTH)
        return RavStop(messages, RAV_MSG_NAME_TOO_LONG);
    if (wcscspn(strVlanName, FORBIDDEN_CHARACTERS) != strVlanName.Length())
        return RavStop(messages, RAV_MSG_NAME_CHARACTER);
    if (HasVlanNamed(vlanKeys, strVlanName, strVlanKey))
        return RavStop(messages, RAV_MSG_NAME_IN_USE);
}

bool CVlanAgentWin::HasVlanNamed(const std::vector<CRavString>& vlanKeys, const CRavString& strVlanName,
                                 const CRavString& strExceptKey)
{
    return std::any_of(vlanKeys.begin(), vlanKeys.end(), [&](const CRavString& key) {
        DWORD id = 0;
        CRavString name;
        return !key.CompareI(strExceptKey) && ReadForValidation(key, id, name) && name.CompareI(strVlanName);
    });
}

bool CVlanAgentWin::ValidateVlanRange(CRavVlanMessages& messages, const std::vector<DWORD>& ids,
                                      const CRavString& strVlanName, const CRavString& strParentKey)
{
    if (std::any_of(ids.begin(), ids.end(), [](DWORD id) { return id > RAV_MAX_VLAN_ID; }))
        RavStop(messages, RAV_MSG_ID_NOT_VALID);
    const CNetCfgSession session(*this);
    std::vector<CRavString> vlans;
    if (!EnumerateForValidation(strParentKey, vlans))
        return false;
    const size_t total = ids.size() + vlans.size();
    if (total > RAV_MAX_VLANS_OF_VIRTUAL_DEVICE && Core().IsVirtualDevice(strParentKey))
        RavStop(messages, RAV_MSG_VIRTUAL_PARENT_OVERFULL);
    if (total > RAV_MAX_VLANS)
        RavStop(messages, RAV_MSG_PARENT_OVERFULL);

    const bool generated = strVlanName == RAV_AUTO_VLAN_NAMES;
    std::vector<DWORD> sorted(ids);
    std::sort(sorted.begin(), sorted.end());
    // An id that is named twice is in use as soon as its first VLAN exists.
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
        RavStop(messages, RAV_MSG_RANGE_ID_IN_USE);
    for (const CRavString& key : vlans)
    {
        DWORD id = 0;
        CRavString name;
        if (!ReadForValidation(key, id, name))
            return false;
        if (std::binary_search(sorted.begin(), sorted.end(), id))
            RavStop(messages, RAV_MSG_RANGE_ID_IN_USE);
        if (!generated && name.CompareI(strVlanName))
            RavStop(messages, RAV_MSG_NAME_IN_USE);
    }
    return true;
}
