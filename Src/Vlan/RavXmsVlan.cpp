#include "Src/Vlan/RavXmsVlan.h"

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

CRavXmsVlan::~CRavXmsVlan() = default;

CResult CRavXmsVlan::Init()
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::Init", &result);
    if (GetNetCfgInterface() != nullptr)
        result = CResult::Success();
    else
        RavTrace().Print(L"CRavXmsVlan::Init, no network configuration.");
    return result;
}

bool CRavXmsVlan::InitializeComponent(CRavNetCfgInterface& netCfg)
{
    if (Initialize(netCfg).Succeeded())
        return true;
    m_pNetCfgComponent = std::make_unique<CRavNetCfgComponent>(m_strVlanKey);
    return false;
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
    if (!result.Succeeded())
        RavTrace().Print(L"CRavXmsVlan::ReloadMiniport, ReloadDevice fails for %s.", m_strMiniportInst.c_str());
    return result;
}

bool CRavXmsVlan::LoadTeamAgent()
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::LoadTeamAgent", &done);
    m_pTeamAgentPvt.reset(); // or it would keep the module that is to be loaded anew
    m_pTeamAgentPvt =
        RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::LoadTeamAgent", [&] { return m_services.LoadTeamAgent(); });
    done = m_pTeamAgentPvt != nullptr;
    if (!done)
        RavTrace().Print(L"CRavXmsVlan::LoadTeamAgent, there is no team agent.");
    return done;
}
