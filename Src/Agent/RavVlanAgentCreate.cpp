// Creating VLANs at a client's request, and loading and unloading their miniports when it is applied.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavKey.h"
#include "Src/Agent/RavStopMessage.h"
#include "Src/RavCoreInterface.h"
#include "Common/Src/RavSuiteLock.h"
#include "Src/RavVlanMessages.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <algorithm>
#include <optional>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentCreate";
constexpr wchar_t AGENT_FILE[] = L"Src\\RavVlanAgent"; // of the lines that support looks for by file and number
constexpr int LOAD_LINE = 3333;
constexpr int UNLOAD_LINE = 3407;

bool IsVlanType(CResult& result, DWORD type)
{
    if (type <= RAV_MAX_VLAN_TYPE)
        return true;
    RavTrace().Print(L"CVlanAgentWin - there is no vlan type %u", type);
    result = CResult(RAV_CODE_NOT_VALID);
    return false;
}

// A client that cannot say whether to go on has not said to stop.
bool GoesOn(CRavVlanProgress* progress)
{
    bool goesOn = true;
    RavShielded(SOURCE_FILE, __LINE__, L"CRavVlanProgress::GoesOn",
                [&] { goesOn = progress == nullptr || progress->GoesOn(); });
    return goesOn;
}

bool IsTaken(const CRavString& name, const std::vector<CRavString>& taken)
{
    return std::any_of(taken.begin(), taken.end(), [&](const CRavString& other) { return other.CompareI(name); });
}

// "VLAN10", "Untagged"; a number is added when the parent already has a VLAN of that name.
CRavString GenerateVlanName(DWORD id, const std::vector<CRavString>& taken)
{
    CRavString base(L"Untagged");
    if (id != 0)
        base.FormatString(L"VLAN%u", id);
    CRavString name = base;
    for (int number = 2; IsTaken(name, taken); ++number)
        name.FormatString(L"%s-%d", base.c_str(), number);
    return name;
}
} // namespace

// What a client asks for, as both creating operations have it.
struct CVlanAgentWin::Creation
{
    const wchar_t* operation;
    CRavString parentKey; // canonical
    CRavString vlanNumbers;
    CRavString vlanName;
    DWORD vlanType;
    RAV_LOCK_RECORD lock;
};

// Under the suite lock: validation, the client check, and then the work.
template <typename Work>
void CVlanAgentWin::CreateUnderLock(CResult& result, const Creation& creation, Work&& work)
{
    std::optional<CNetCfgSession> session; // one session for all of it, the passes at the end of the lock included
    const CRavSuiteLock suiteLock(*this, creation.lock, result);
    if (!suiteLock.IsHeld())
    {
        RavTrace().Print(L"CreateTeam() - error unable to create the lock");
        return;
    }
    session.emplace(*this);
    if (IsVlanType(result, creation.vlanType) && MayCreate(result, creation))
        work();
}

bool CVlanAgentWin::MayCreate(CResult& result, const Creation& creation)
{
    // Others may have changed the host until this call had the lock: what was read before is dropped.
    ClearVlanCache();
    CRavVlanMessages messages;
    ValidateNewVlan(result, creation.parentKey, creation.vlanNumbers, creation.vlanName, messages,
                    creation.lock.client);
    const auto stop = std::find_if(messages.begin(), messages.end(), [](const RAV_VALIDATION_MESSAGE& message) {
        return message.dwSeverity == RAV_SEVERITY_STOP;
    });
    if (!result.Succeeded() || stop != messages.end())
    {
        RavTrace().Print(L"ERROR:  %s returned stop errors to prevent vlan creation!", creation.operation);
        // ValidateNewVlan has code 0 also when it finds stop errors; the refusal needs a code of its own.
        if (result.Succeeded())
            result = CResult(stop->dwCode);
        return false;
    }
    VerifyClientID(result, creation.lock.client);
    if (result.ulErrCode != CResult::FAILED)
        return true;
    RavTrace().Print(L"CVlanAgentWin::%s - VerifyClientID failed", creation.operation);
    return false;
}

void CVlanAgentWin::CreateVlan(CResult& result, const CRavString& strParentKey, DWORD dwVlanId,
                               const CRavString& strVlanName, DWORD dwVlanType, const RAV_LOCK_RECORD& lock)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::CreateVlan", &result);
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::CreateVlan", result, [&] {
        CRavString number;
        number.FormatString(L"%u", dwVlanId);
        const Creation creation{L"CreateVlan", RavCanonicalKey(strParentKey), number, strVlanName, dwVlanType, lock};
        CreateUnderLock(result, creation, [&] {
            TellTeamAgent(creation.parentKey, creation.lock);
            CreateSingleVlan(result, creation.parentKey, dwVlanId, creation.vlanName, creation.vlanType);
        });
    });
}

void CVlanAgentWin::CreateMultipleVLANs(CResult& result, const CRavString& strParentKey,
                                        const CRavString& strVlanNumbers, const CRavString& strVlanName,
                                        DWORD dwVlanType, CRavVlanProgress* pProgress, const RAV_LOCK_RECORD& lock)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::CreateMultipleVLANs", &result);
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::CreateMultipleVLANs", result, [&] {
        const Creation creation{
            L"CreateMultipleVLANs", RavCanonicalKey(strParentKey), strVlanNumbers, strVlanName, dwVlanType, lock};
        CreateUnderLock(result, creation, [&] {
            std::vector<DWORD> ids;
            if (GetVlanIDsFromRange(creation.vlanNumbers, ids))
            {
                TellTeamAgent(creation.parentKey, creation.lock);
                return CreateEach(result, creation, ids, pProgress);
            }
            RavTrace().Print(L"ERROR:  Unable to parse the vlanNumbers! = %s", creation.vlanNumbers.c_str());
            result = CResult();
        });
    });
}

// Stops at the first VLAN that fails; those created before it stay.
void CVlanAgentWin::CreateEach(CResult& result, const Creation& creation, const std::vector<DWORD>& ids,
                               CRavVlanProgress* pProgress)
{
    std::vector<CRavString> names(ids.size(), creation.vlanName);
    if (creation.vlanName == RAV_AUTO_VLAN_NAMES)
        result = NameEach(creation.parentKey, ids, pProgress, names);
    else
        result = CResult::Success();
    if (!result.Succeeded())
        return;
    size_t done = 0;
    for (const DWORD id : ids)
    {
        if (!GoesOn(pProgress))
        {
            RavTrace().Print(L"CVlanAgentWin::CreateMultipleVLANs - stopped by its client before VLAN %u", id);
            result = CResult(ERROR_CANCELLED);
            return;
        }
        CreateSingleVlan(result, creation.parentKey, id, names[done], creation.vlanType);
        if (!result.Succeeded())
        {
            RavTrace().Error(SOURCE_FILE, __LINE__,
                             L"ERROR: VLAN %u could not be created; %u of %u were created. err= 0x%X", id,
                             static_cast<unsigned>(done), static_cast<unsigned>(ids.size()), result.ulErrCode);
            return;
        }
        ++done;
        RavShielded(SOURCE_FILE, __LINE__, L"CRavVlanProgress::OnVlanCreated", [&] {
            if (pProgress != nullptr)
                pProgress->OnVlanCreated(id, done, ids.size());
        });
    }
}

// The client's names for the VLANs, or else names after their ids: all of them before the first VLAN is created.
CResult CVlanAgentWin::NameEach(const CRavString& strParentKey, const std::vector<DWORD>& ids,
                                CRavVlanProgress* pProgress, std::vector<CRavString>& names)
{
    std::vector<CRavString> taken;
    if (!ReadVlanNames(strParentKey, taken))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the VLAN names of %s cannot be read", strParentKey.c_str());
        return CResult();
    }
    CRavVlanMessages messages;
    for (size_t place = 0; place < ids.size(); ++place)
    {
        CRavString& name = names[place];
        name.ClearString();
        if (pProgress != nullptr && !RavShielded(SOURCE_FILE, __LINE__, L"CRavVlanProgress::NameVlan",
                                                 [&] { pProgress->NameVlan(ids[place], name); }))
            return CResult();
        if (name.IsEmpty())
            name = GenerateVlanName(ids[place], taken);
        else
        {
            ValidateVlanName(messages, RAV_NEW_VLAN_KEY, name, {});
            if (IsTaken(name, taken))
                RavStop(messages, RAV_MSG_NAME_IN_USE);
        }
        taken.push_back(name);
    }
    return messages.empty() ? CResult::Success() : CResult(messages.front().dwCode);
}

// A notification: whatever the team agent answers or throws, the VLAN is created.
void CVlanAgentWin::TellTeamAgent(const CRavString& strParentKey, const RAV_LOCK_RECORD& lock)
{
    CResult ignored;
    Shielded(SOURCE_FILE, __LINE__, L"PrepareForNewVlan", ignored, [&] {
        if (const std::shared_ptr<CRavTeamAgentPvtIntf> team = GetTeamAgentPvtIntf())
            team->PrepareForNewVlan(strParentKey, lock);
    });
}

bool CVlanAgentWin::ReadVlanNames(const CRavString& strParentKey, std::vector<CRavString>& names)
{
    std::vector<CRavString> vlans;
    if (!EnumerateForValidation(strParentKey, vlans))
        return false;
    return std::all_of(vlans.begin(), vlans.end(), [&](const CRavString& key) {
        DWORD id = 0;
        return ReadForValidation(key, id, names.emplace_back());
    });
}

void CVlanAgentWin::CreateSingleVlan(CResult& result, const CRavString& strParentKey, DWORD dwVlanId,
                                     const CRavString& strVlanName, DWORD dwVlanType)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::CreateSingleVlan", &result);
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::CreateSingleVlan", result,
             [&] { result = CreateNewVlan(strParentKey, dwVlanId, strVlanName, dwVlanType); });
}

CResult CVlanAgentWin::CreateNewVlan(const CRavString& strParentKey, DWORD dwVlanId, const CRavString& strVlanName,
                                     DWORD dwVlanType)
{
    if (strVlanName.IsEmpty() || strParentKey.IsEmpty())
    {
        RavTrace().Print(L"vlanName or parentKey is empty");
        return CResult();
    }
    const CNetCfgSession session(*this);
    CRavXmsVlan vlan(RAV_NEW_VLAN_KEY, *this);
    if (!session.IsOpen() || !vlan.Init().Succeeded())
    {
        RavTrace().Print(L"CVlanAgentWin::CreateVlan, CRavXmsVlan::Init() failed.");
        return CResult();
    }
    vlan.m_strParentKey = strParentKey;
    vlan.m_iVlanId = static_cast<int>(dwVlanId);
    vlan.m_strVlanName = strVlanName;
    vlan.m_dwVlanType = dwVlanType + 1; // stored from 1 on
    vlan.GetParentType(vlan.m_iParentType);
    switch (vlan.m_iParentType)
    {
    case RAV_PARENT_ADAPTER:
        return CreateOnParent(vlan, &CRavXmsVlan::CreatVlanOnAdapter);
    case RAV_PARENT_TEAM:
        return CreateOnParent(vlan, &CRavXmsVlan::CreatVlanOnTeam);
    default: // nothing else can be a parent
        RavTrace().Error(AGENT_FILE, __LINE__, L"ERROR: Invalid state");
        return CResult(ERROR_NOT_SUPPORTED);
    }
}

CResult CVlanAgentWin::CreateOnParent(CRavXmsVlan& vlan, void (CRavXmsVlan::*create)(int& status))
{
    int status = -1;
    if (FAILED(vlan.GetParentOOOKey()))
    {
        RavTrace().Print(L"CVlanAgentWin::CreateVlan, fails-1.");
        return CResult();
    }
    vlan.GetCurrentMACAddress(status);
    if (status != 0)
    {
        RavTrace().Print(L"CVlanAgentWin::CreateVlan, fails-2.");
        return CResult();
    }
    IsFirstVlanOnAdapter(vlan);
    (vlan.*create)(status);
    if (status != 0)
    {
        RavTrace().Print(L"CVlanAgentWin::CreateVlan fails");
        return CResult();
    }
    NotifyXmsOfNewVlan(&vlan);
    return CResult::Success();
}

void CVlanAgentWin::IsFirstVlanOnAdapter(CRavXmsVlan& vlan)
{
    RavTrace().Print(L"CVlanAgentWin::IsFirstVlanOnAdapter, ParentKey is-%s", vlan.m_strParentKey.c_str());
    int count = 0;
    vlan.m_bFirstVlan = !(vlan.GetTotNoOfVlansOnThisParent(count) && count >= 1);
}

// Announces the new VLAN to the parent's loaded driver. If that fails the parent, or each member of the team, is queued
// for a reload, since a driver reads its VLANs from the registry when it starts. The VLAN exists already, so a failure
// here is traced only.
void CVlanAgentWin::NotifyXmsOfNewVlan(CRavXmsVlan* pVlan)
{
    if (pVlan == nullptr)
    {
        RavTrace().Print(L"NotifyXmsOfNewVlan - invalid vlan.");
        return;
    }
    const auto tell = [&] { return pVlan->SendNewVlanOid(); };
    if (RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::SendNewVlanOid", tell))
        return;
    RavTrace().Print(L"CVlanAgentWin::NotifyXmsOfNewVlan,OidSend fails-reloading parent.");
    const auto reload = [&] {
        return pVlan->m_iParentType == RAV_PARENT_TEAM ? pVlan->DoReload()
                                                       : Core().UnloadMiniportDuringApplyDone(pVlan->m_strParentKey);
    };
    if (!RavAnswer(SOURCE_FILE, __LINE__, L"UnloadMiniportDuringApplyDone", reload).Succeeded())
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the parent %s cannot be reloaded.",
                         pVlan->m_strParentKey.c_str());
}

// --- apply-done -----------------------------------------------------------------------------------------------------

// What one of the two passes does with a miniport, and the names and line numbers it has in the trace.
struct CVlanAgentWin::MiniportPass
{
    const wchar_t* operation;
    bool load;
    int missingLine;
    const wchar_t* missing;
};

void CVlanAgentWin::LoadDeviceMiniport(CResult& result, const CRavString& strMiniportInst, bool& bReboot)
{
    ReloadDeviceMiniport({L"LoadDeviceMiniport", true, LOAD_LINE, L"Unable to get the VLAN"}, result, strMiniportInst,
                         bReboot);
}

void CVlanAgentWin::UnloadDeviceMiniport(CResult& result, const CRavString& strMiniportInst, bool& bReboot)
{
    ReloadDeviceMiniport({L"UnloadDeviceMiniport", false, UNLOAD_LINE, L"Unable to get the vlan pointer"}, result,
                         strMiniportInst, bReboot);
}

void CVlanAgentWin::ReloadDeviceMiniport(const MiniportPass& pass, CResult& result, const CRavString& strMiniportInst,
                                         bool& bReboot)
{
    RavTrace().Print(L"Entering CVlanAgentWin::%s()", pass.operation);
    result = CResult();
    Shielded(SOURCE_FILE, __LINE__, pass.operation, result, [&] {
        if (strMiniportInst.IsEmpty())
        {
            RavTrace().Print(L"%s() - Invalid vlan guid.", pass.operation);
            return;
        }
        const CNetCfgSession session(*this);
        if (!session.IsOpen())
        {
            RavTrace().Print(L"%s() - call to CreateNetCfgInterfaceObj() failed.", pass.operation);
            return;
        }
        if (pass.load)
            ClearVlanCache();
        const std::shared_ptr<CRavXmsVlan> vlan = GetVlan(strMiniportInst);
        if (!vlan)
        {
            RavTrace().Error(AGENT_FILE, pass.missingLine, L"%s", pass.missing);
            return;
        }
        result = vlan->ReloadMiniport(pass.load, bReboot);
        if (!result.Succeeded())
            RavTrace().Print(L"%s() - CRavXmsVlan->ReloadMiniport fails.", pass.operation);
    });
    RavTrace().Print(L"Exiting CVlanAgentWin::%s()", pass.operation);
}
