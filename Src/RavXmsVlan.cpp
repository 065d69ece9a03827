#include "Src/RavXmsVlan.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavNameTable.h"
#include "Src/RavShielded.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlan";
} // namespace

CRavXmsVlan::CRavXmsVlan(const CRavString& strVlanKey, CRavVlanAgentServices& services)
    : CRavAdapter(strVlanKey), m_strVlanKey(strVlanKey), m_services(services)
{
    if (!strVlanKey.CompareI(RAV_NEW_VLAN_KEY))
    {
        m_strMiniportInst = strVlanKey;
        m_strVlanNetCfgInstanceId = strVlanKey;
    }
}

CRavXmsVlan::~CRavXmsVlan()
{
    CloseParentClassKey();
}

CResult CRavXmsVlan::Init()
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::Init", &result);
    if (GetNetCfgInterface() != nullptr)
        result = CResult::Success();
    return result;
}

CResult CRavXmsVlan::IsHyperV_Enabled(bool& bEnabled)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::IsHyperV_Enabled", &result);
    bEnabled = false;
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg != nullptr)
        result = IsHyperV_EnabledOnDevice(*netCfg, bEnabled);
    if (!result.Succeeded())
        RavTrace().Print(L"IsHyperV_Enabled() - call to CRavAdapter::IsHyperV_EnabledOnDevice - failed");
    return result;
}

CResult CRavXmsVlan::ReloadMiniport(bool bLoad, bool& bReboot)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::ReloadMiniport", &result);
    result = ReloadDevice(bLoad, bReboot);
    return result;
}

DWORD CRavXmsVlan::GetSupportedFeatures()
{
    RAV_PARAMETER parameter;
    parameter.strName = RavName(RAV_NAME_SUPPORTED_FEATURES);
    return GetParameter(parameter).Succeeded() && parameter.dwType == REG_DWORD ? parameter.dwValue : 0;
}

bool CRavXmsVlan::LoadTeamAgent()
{
    m_pTeamAgentPvt =
        RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::LoadTeamAgent", [&] { return m_services.LoadTeamAgent(); });
    return m_pTeamAgentPvt != nullptr;
}
