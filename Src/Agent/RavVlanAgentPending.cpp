// Operations of the two faces that do nothing by design, and those that are not offered yet.

#include "Src/Agent/RavVlanAgent.h"

void CVlanAgentWin::Reserved(CResult& result)
{
    result = CResult::Success();
}

CResult CVlanAgentWin::QueryHookThree()
{
    return CResult::Success();
}

void CVlanAgentWin::NotOffered(CResult& result, const wchar_t* operation)
{
    RavTrace().Print(L"CVlanAgentWin::%s is not offered by this version", operation);
    result = CResult();
}

void CVlanAgentWin::SetSetting(CResult& result, const CRavString&, const CRavString&, const RAV_SETTING_VAL*,
                               const RAV_LOCK_RECORD&)
{
    NotOffered(result, L"SetSetting");
}

void CVlanAgentWin::SetSettingToDefault(CResult& result, const CRavString&, const CRavString&, const RAV_LOCK_RECORD&)
{
    NotOffered(result, L"SetSettingToDefault");
}

void CVlanAgentWin::SetVlanType(CResult& result, const CRavString&, DWORD, const RAV_LOCK_RECORD&)
{
    NotOffered(result, L"SetVlanType");
}

void CVlanAgentWin::SetVLANName(CResult& result, const CRavString&, const CRavString&, const RAV_LOCK_RECORD&)
{
    NotOffered(result, L"SetVLANName");
}

void CVlanAgentWin::SetVLANId(CResult& result, const CRavString&, DWORD, const RAV_LOCK_RECORD&)
{
    NotOffered(result, L"SetVLANId");
}

void CVlanAgentWin::ValidateSetting(CResult& result, const CRavString&, const CRavString&, const RAV_SETTING_VAL*,
                                    std::vector<RAV_VALIDATION_MESSAGE>&)
{
    NotOffered(result, L"ValidateSetting");
}

void CVlanAgentWin::ValidateUpdate(CResult& result, const CRavString&, const CRavString&, DWORD,
                                   std::vector<RAV_VALIDATION_MESSAGE>&)
{
    NotOffered(result, L"ValidateUpdate");
}

void CVlanAgentWin::AddVlanToTeamMember(CResult& result, const CRavString&, const CRavString&, const CRavString&)
{
    NotOffered(result, L"AddVlanToTeamMember");
}

void CVlanAgentWin::SetTeamXMSSetting(CResult& result, const CRavString&, const CRavString&, const RAV_SETTING_VAL*)
{
    NotOffered(result, L"SetTeamXMSSetting");
}

void CVlanAgentWin::SetSettingOnVlan(CResult& result, const CRavString&, const CRavString&, const RAV_SETTING_VAL*)
{
    NotOffered(result, L"SetSettingOnVlan");
}

void CVlanAgentWin::GetTeamMembers(CResult& result, const CRavString&, std::vector<CRavString>&)
{
    NotOffered(result, L"GetTeamMembers");
}

void CVlanAgentWin::CreateAdvSetting(CResult& result, const CRavString&, const RAV_SETTING*)
{
    NotOffered(result, L"CreateAdvSetting");
}

void CVlanAgentWin::EnumerateAdvSettings(CResult& result, const CRavString&, std::vector<RAV_SETTING*>&)
{
    NotOffered(result, L"EnumerateAdvSettings");
}

void CVlanAgentWin::GetSetting(CResult& result, const CRavString&, const CRavString&, RAV_SETTING**)
{
    NotOffered(result, L"GetSetting");
}

void CVlanAgentWin::SetAdvSetting(CResult& result, const CRavString&, const CRavString&, const RAV_SETTING_VAL*)
{
    NotOffered(result, L"SetAdvSetting");
}

void CVlanAgentWin::RemoveAdvSetting(CResult& result, const CRavString&, const CRavString&)
{
    NotOffered(result, L"RemoveAdvSetting");
}

void CVlanAgentWin::GetVoTDriver(CResult& result, const CRavString&, CRavString&)
{
    NotOffered(result, L"GetVoTDriver");
}

void CVlanAgentWin::GetStatusOfVlansOnTeam(CResult& result, const CRavString&, DWORD&)
{
    NotOffered(result, L"GetStatusOfVlansOnTeam");
}

void CVlanAgentWin::UpdateParentTeamNameAllVlans(CResult& result, const CRavString&, const CRavString&)
{
    NotOffered(result, L"UpdateParentTeamNameAllVlans");
}

void CVlanAgentWin::IsOtherVlansBoundToVmSwitchProtocol(CResult& result, const CRavString&, bool&)
{
    NotOffered(result, L"IsOtherVlansBoundToVmSwitchProtocol");
}

void CVlanAgentWin::GetParameter(CResult& result, const CRavString&, RAV_PARAMETER&)
{
    NotOffered(result, L"GetParameter");
}

void CVlanAgentWin::SetVlanFilteringSetting(CResult& result, const CRavString&, bool)
{
    NotOffered(result, L"SetVlanFilteringSetting");
}

void CVlanAgentWin::IsVlanVmqCapable(CResult& result, const CRavString&, bool&)
{
    NotOffered(result, L"IsVlanVmqCapable");
}

void CVlanAgentWin::IsVlanVmqEnabled(CResult& result, const CRavString&, bool&)
{
    NotOffered(result, L"IsVlanVmqEnabled");
}

void CVlanAgentWin::ReSyncJumboFrameSettingEnumValues(CResult& result, const CRavString&, const CRavString&)
{
    NotOffered(result, L"ReSyncJumboFrameSettingEnumValues");
}

void CVlanAgentWin::SetSetting(CResult& result, const CRavString&, const RAV_SETTING*)
{
    NotOffered(result, L"SetSetting");
}

void CVlanAgentWin::SyncJumboFramesOnAllVlans(CResult& result, const CRavString&)
{
    NotOffered(result, L"SyncJumboFramesOnAllVlans");
}

void CVlanAgentWin::GetReceiveScaleCapabilitiesFlag(CResult& result, const CRavString&, DWORD&)
{
    NotOffered(result, L"GetReceiveScaleCapabilitiesFlag");
}
