// The VLANs over a team as the team agent sees them: all at once.

#include "Src/Agent/RavVlanAgentChange.h"

#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Src/RavNameTable.h"
#include "Src/Vlan/RavNetCfgWriteLock.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentTeamVlans";
constexpr wchar_t NT_PATH[] = L"\\??\\";

// The driver's file as its service names it: a full path, or a file in the system's folder of drivers.
CRavString DriverFile(const CRavString& imagePath)
{
    const CRavString path = imagePath.compare(0, std::size(NT_PATH) - 1, NT_PATH) == 0
                                ? imagePath.c_str() + std::size(NT_PATH) - 1
                                : imagePath.c_str();
    if (path.Length() > 1 && path[1] == L':')
        return path;
    wchar_t system[MAX_PATH] = {};
    const size_t slash = path.find_last_of(L'\\');
    CRavString file;
    if (GetSystemDirectoryW(system, MAX_PATH) != 0)
        file.FormatUnchecked(RavName(RAV_NAME_DRIVER_FILE), system,
                             path.c_str() + (slash == CRavString::npos ? 0 : slash + 1));
    return file;
}
} // namespace

void CVlanAgentWin::GetTeamMembers(CResult& result, const CRavString& strTeamKey, std::vector<CRavString>& members)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::GetTeamMembers", &result);
    members.clear();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetTeamMembers", result, [&] {
        if (const std::shared_ptr<CRavTeamAgentPvtIntf> team = GetTeamAgentPvtIntf())
            result = team->GetTeamMembers(strTeamKey, members);
    });
}

// Judged for all before the first is changed: a refusal changes nothing.
void CVlanAgentWin::SetTeamXMSSetting(CResult& result, const CRavString& strTeamKey, const CRavString& strName,
                                      const RAV_SETTING_VAL* pValue)
{
    ForEachVlanOf(result, L"SetTeamXMSSetting", strTeamKey, [&](CRavXmsVlan& vlan) {
        CRavVlanMessages messages;
        CResult judged;
        ValidateSetting(judged, vlan.m_strVlanKey, strName, pValue, messages);
        IsRefused(judged, messages, L"SetTeamXMSSetting");
        return judged;
    });
    if (!result.Succeeded())
        return;
    ForEachVlanOf(result, L"SetTeamXMSSetting", strTeamKey, [&](CRavXmsVlan& vlan) {
        CResult set;
        SetSettingOnVlan(set, vlan.m_strVlanKey, strName, pValue);
        return set;
    });
}

void CVlanAgentWin::UpdateParentTeamNameAllVlans(CResult& result, const CRavString& strTeamKey,
                                                 const CRavString& strTeamName)
{
    result = CResult();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::UpdateParentTeamNameAllVlans", result, [&] {
        const CNetCfgSession session(*this);
        CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
        if (netCfg == nullptr)
            return;
        CRavNetCfgWriteLock lock(*netCfg); // one for all of them
        if (!lock.IsHeld())
            return;
        ForEachVlanOf(result, L"UpdateParentTeamNameAllVlans", strTeamKey, [&](CRavXmsVlan& vlan) {
            int status = -1;
            vlan.UpdateVLANName(strTeamName, status);
            return status == 0 ? CResult::Success() : CResult();
        });
        if (FAILED(lock.Release()))
            result = CResult();
    });
}

void CVlanAgentWin::GetStatusOfVlansOnTeam(CResult& result, const CRavString& strTeamKey, DWORD& dwStatus)
{
    dwStatus = RAV_LOAD_STATUS_UNKNOWN;
    bool first = true;
    ForEachVlanOf(result, L"GetStatusOfVlansOnTeam", strTeamKey, [&](CRavXmsVlan& vlan) {
        const DWORD status = vlan.GetLoadStatus(*GetNetCfgInterface());
        if (first || dwStatus == RAV_LOAD_STATUS_LOADED)
            dwStatus = status;
        first = false;
        return CResult::Success();
    });
}

void CVlanAgentWin::GetVoTDriver(CResult& result, const CRavString& strTeamKey, CRavString& strDriver)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::GetVoTDriver", &result);
    strDriver.ClearString();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetVoTDriver", result, [&] {
        const CNetCfgSession session(*this);
        CRavString path;
        CRavString image;
        CRavRegKey service;
        path.FormatUnchecked(RavName(RAV_NAME_SERVICE_KEY), RavName(RAV_NAME_XMS_SERVICE).c_str());
        if (TypeOfParent(RavCanonicalKey(strTeamKey)) != RAV_PARENT_TEAM ||
            !service.Open(HKEY_LOCAL_MACHINE, path, false) || !service.GetValue(RavName(RAV_NAME_IMAGE_PATH), image))
            return;
        strDriver = DriverFile(image);
        if (!strDriver.IsEmpty())
            result = CResult::Success();
    });
}
