// Life of the agent and what its operations share.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Library/ParamKey.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/Helper.h"
#include "Common/Src/OsVersion.h"
#include "Src/RavCoreInterface.h"
#include "Src/View/RavHostView.h"
#include "Src/Vlan/RavXmsVlan.h"

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgent";
constexpr wchar_t COMPONENT_NAME[] = L"VLAN_AGENT";
constexpr wchar_t LOG_FILE[] = L"VlanAgent.txt";
constexpr DWORD LOG_LEVEL = 1;
} // namespace

CRavVlanAgentIntf::CRavVlanAgentIntf() = default;
CRavVlanAgentIntf::CRavVlanAgentIntf(const CRavVlanAgentIntf&) = default;
CRavVlanAgentIntf::~CRavVlanAgentIntf() = default;

CVlanAgentWin::CVlanAgentWin()
{
    RavTrace(); // constructs the trace log now, so that it is destroyed after the agent
}

CVlanAgentWin::~CVlanAgentWin()
{
    // COM has been left by now, and its objects are gone with it: releasing this one would call into nothing.
    m_pNetCfg.Detach();
    m_teamAgent.Close();
    if (m_dwThreadSlot != TLS_OUT_OF_INDEXES)
        TlsFree(m_dwThreadSlot);
}

void CVlanAgentWin::Initialize(CResult& result)
{
    const CRavTraceScope trace(L"CVlanAgentWin::Initialize", &result);
    result = CResult();
    const std::lock_guard guard(m_initializing);
    if (m_bInitialized)
    {
        RavTrace().Print(L"Already Initialized!!!!!");
        result = CResult::Success();
        return;
    }
    if (!RavTrace().IsConfigured())
        RavTrace().Configure(COMPONENT_NAME, LOG_FILE, LOG_LEVEL, 0, 0, nullptr);
    const bool finished = Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::Initialize", result, [&] {
        CreateNetCfg(result);
        ConnectCoreAgent(result);
        PublishCoreInterface();
    });
    // Half an agent must not be handed out: the next call tries again.
    if (!finished)
        m_bInitialized = false;
}

void CVlanAgentWin::CreateNetCfg(CResult& result)
{
    m_pNetCfg.Reset();
    CoInitialize(nullptr);
    if (SUCCEEDED(CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_pNetCfg))) &&
        SUCCEEDED(m_pNetCfg->Initialize(nullptr)))
    {
        m_bInitialized = true;
        result = CResult::Success();
    }
}

void CVlanAgentWin::ConnectCoreAgent(CResult& result)
{
    // Clients may be using the agent while another one initialises it again: a core agent that it has is never loaded
    // anew.
    if (GetCoreAgentPvt() == nullptr)
        FetchCoreAgentPvt();
    if (GetCoreAgentPvt() == nullptr)
    {
        m_bInitialized = false;
        result = CResult();
        return;
    }
    result = GetCoreAgentPvt()->RegisterAgent(COMPONENT_NAME, this);
    if (m_dwThreadSlot == TLS_OUT_OF_INDEXES)
        m_dwThreadSlot = TlsAlloc();
}

// A proxy with a core agent behind it is never replaced, so that whoever holds it can use it as long as the agent
// lives.
void CVlanAgentWin::PublishCoreInterface()
{
    if (m_pCoreInterface != nullptr)
        return;
    m_coreInterface = std::make_unique<CRavCoreInterface>(GetCoreAgentPvt());
    if (GetCoreAgentPvt() != nullptr)
        m_pCoreInterface = m_coreInterface.get();
}

CRavCoreInterface& CVlanAgentWin::Core() const
{
    static CRavCoreInterface none(nullptr);
    CRavCoreInterface* const published = m_pCoreInterface;
    return published != nullptr ? *published : none;
}

// --- what does nothing by design ------------------------------------------------------------------------------------

void CVlanAgentWin::Reserved(CResult& result)
{
    result = CResult::Success();
}

CResult CVlanAgentWin::QueryHookThree()
{
    return CResult::Success();
}

// --- the thread's network configuration session ---------------------------------------------------------------------

bool CVlanAgentWin::HoldsThreadSlot() const
{
    return m_dwThreadSlot != TLS_OUT_OF_INDEXES;
}

void CVlanAgentWin::CreateNetCfgInterfaceObj(CResult& result, bool& bCreated)
{
    bCreated = false;
    result = CResult();
    if (!COSType::IsNt5OrLater() || !HoldsThreadSlot())
        return;
    if (TlsGetValue(m_dwThreadSlot) != nullptr)
    {
        RavTrace().Print(L"CreateNetCfgInterfaceObj pNetCfgInterface Already There!!");
        RavTrace().Print(L"Exiting CRavTeamAgentWin::CreateNetCfgInterfaceObj");
        result = CResult::Success();
        return;
    }
    try
    {
        auto session = std::make_unique<CRavHostSession>();
        session->Initialize();
        if (!TlsSetValue(m_dwThreadSlot, session.get()))
        {
            RavTrace().Print(L"CreateNetCfgInterfaceObj Error TlsSetValue pNetCfgInterface!!");
            return;
        }
        static_cast<void>(session.release()); // the slot owns it
        bCreated = true;
        result = CResult::Success();
    }
    catch (...)
    {
        RavTrace().Print(L"CRavSyncAdvSvcModuleMgr::CreateNetCfgInterfaceObj(bCreated)- caused execption");
    }
}

void CVlanAgentWin::ReleaseNetCfgInterfaceObj(CResult& result, bool& bRelease)
{
    result = CResult::Success();
    if (!bRelease)
    {
        RavTrace().Print(L"bRelease ==false :: Not to Release");
        return;
    }
    void* const held = HoldsThreadSlot() ? TlsGetValue(m_dwThreadSlot) : nullptr;
    if (held == nullptr)
        return;
    RavTrace().Print(L"bRelease == true :: Release");
    bRelease = false;
    if (!TlsSetValue(m_dwThreadSlot, nullptr))
    {
        // The slot still points to the session, so the session must not be deleted: the thread's next operation uses
        // it, and finds it as if it were new.
        RavTrace().Print(L"CreateNetCfgInterfaceObj Error TlsSetValue NULL!!");
        auto* const session = static_cast<CRavHostSession*>(held);
        session->UnInitialize();
        session->View().ForgetAll();
        session->Initialize();
        return;
    }
    const std::unique_ptr<CRavHostSession> session(static_cast<CRavHostSession*>(held));
    session->UnInitialize();
}

void CVlanAgentWin::GetNetCfgInterfaceObj(CResult& result, CRavNetCfgInterface** ppNetCfgInterface)
{
    RavTrace().Print(L"Entering CVlanAgentWin::GetNetCfgInterfaceObj");
    result = CResult();
    if (ppNetCfgInterface == nullptr)
    {
        RavTrace().Print(L"CVlanAgentWin::GetNetCfgInterfaceObj fails, ppNetCfgInterface=NULL-1");
    }
    else
    {
        *ppNetCfgInterface = ThreadSession();
        if (*ppNetCfgInterface != nullptr)
            result = CResult::Success();
    }
    RavTrace().Print(L"Exiting CVlanAgentWin::GetNetCfgInterfaceObj");
}

CRavHostSession* CVlanAgentWin::ThreadSession() const
{
    return HoldsThreadSlot() ? static_cast<CRavHostSession*>(TlsGetValue(m_dwThreadSlot)) : nullptr;
}

CVlanAgentWin::CNetCfgSession::CNetCfgSession(CVlanAgentWin& agent) : m_agent(agent)
{
    agent.CreateNetCfgInterfaceObj(m_result, m_bCreated);
}

CVlanAgentWin::CNetCfgSession::~CNetCfgSession()
{
    RavShielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::ReleaseNetCfgInterfaceObj", [this] {
        CResult released;
        m_agent.ReleaseNetCfgInterfaceObj(released, m_bCreated);
    });
}

// --- siblings and components ----------------------------------------------------------------------------------------

// The pointer that is returned keeps the module loaded: another thread may be inside the team agent while this call
// frees it and loads it again.
std::shared_ptr<CRavTeamAgentPvtIntf> CVlanAgentWin::GetTeamAgentPvtIntf()
{
    const CRavTraceScope trace(L"CVlanAgentWin::GetTeamAgentPvtIntf");
    const std::lock_guard guard(m_teamAgentLock);
    m_teamAgent.Close();
    m_teamAgent = CHelper::RavLoadModule(RavModule::TeamAgent);
    if (!m_teamAgent)
    {
        RavTrace().Print(L"GetTeamAgentPvtIntf() - Load Library Failed");
        return nullptr;
    }
    const auto factory = m_teamAgent.Export<RAV_GET_TEAM_AGENT_PVT>(RAV_GET_TEAM_AGENT_PVT_NAME);
    CRavTeamAgentPvtIntf* team = nullptr;
    if (factory != nullptr)
        RavShielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::GetTeamAgentPvtIntf", [&] { team = factory(); });
    if (team == nullptr)
    {
        RavTrace().Print(L"GetTeamAgentPvtIntf() -  fails unable to get team agent function pointer - exiting");
        return nullptr;
    }
    return {CHelper::RavHoldModule(m_teamAgent), team};
}

// Through the thread's session, where there is one.
bool CVlanAgentWin::OpenMiniportKey(const CRavString& strGuid, CRavRegKey& key)
{
    bool done = false;
    const CRavTraceScope trace(L"CVlanAgentWin::OpenMiniportKey", &done);
    CRavNetCfgInterface own;
    CRavNetCfgInterface* netCfg = ThreadSession();
    if (netCfg == nullptr)
        netCfg = &own;
    if (!netCfg->IsReading() && FAILED(netCfg->Initialize()))
    {
        RavTrace().Print(L"OpenMiniportKey() CRavNetCfgInterface->Initialize() failed.");
        return false;
    }
    ComPtr<INetCfgComponent> component;
    CRavKeyHandle handle;
    if (FAILED(netCfg->FindNetworkComponentByGUID(strGuid, component)))
        RavTrace().Print(L"OpenMiniportKey() CRavNetCfgInterface->FindNetworkComponentByGUID() failed.");
    else if (!component)
        RavTrace().Print(L"OpenMiniportKey() could not create INetCfgComponent object.");
    else if (FAILED(RavOpenParamKey(*component.Get(), handle)))
        RavTrace().Print(L"OpenMiniportKey() INetCfgComponent->OpenParamKey() failed.");
    else
    {
        key.Adopt(std::move(handle));
        done = true;
    }
    component.Reset();
    if (FAILED(own.UnInitialize()))
        RavTrace().Print(L"OpenMiniportKey() CRavNetCfgInterface->UnInitialize() failed.");
    return done;
}

// --- what the VLAN objects may ask ----------------------------------------------------------------------------------

CRavNetCfgInterface* CVlanAgentWin::GetNetCfgInterface()
{
    CResult result;
    CRavNetCfgInterface* netCfg = nullptr;
    GetNetCfgInterfaceObj(result, &netCfg);
    return netCfg;
}

CRavCoreAgentPvtIntf* CVlanAgentWin::GetCoreInterface()
{
    return m_pCoreInterface;
}

std::shared_ptr<CRavTeamAgentPvtIntf> CVlanAgentWin::LoadTeamAgent()
{
    return GetTeamAgentPvtIntf();
}

CResult CVlanAgentWin::EnumerateVlansOnParent(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys)
{
    CResult result;
    EnumerateVlans(result, strParentKey, vlanKeys);
    if (result.Succeeded() && MissesListedVlan(strParentKey, vlanKeys))
    {
        RavTrace().Print(L"CVlanAgentWin::EnumerateVlansOnParent - a VLAN of %s is missing", strParentKey.c_str());
        result = CResult();
    }
    return result;
}

void CVlanAgentWin::QueueForReload(const CRavString& strMiniportInst)
{
    AddForReload(strMiniportInst);
}

void CVlanAgentWin::QueueForUnload(const CRavString& strMiniportInst)
{
    AddForUnload(strMiniportInst);
}

void CVlanAgentWin::VlanWritten(const CRavString& strVlanKey)
{
    if (CRavHostSession* const session = ThreadSession())
        session->View().Forget(strVlanKey);
}
