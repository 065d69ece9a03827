#include "Common/Src/RavNetAgentPvt.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/Helper.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/SectionGuard.h"
#include "Common/Src/SuiteNames.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"..\\Common\\Src\\RavNetAgentPvt";
constexpr wchar_t DCB_CHANGE[] = L"DcbAdvancedSettingChange";
constexpr DWORD DCB_SERVICE = 0;
// The unload pass reports with the load pass's words; those who read the trace know them.
constexpr wchar_t MINIPORT_FAILED[] = L"ApplyDone_LoadDevice - LoadMiniport() failed - device -> %s";
constexpr int LOAD_LINE = 119;
constexpr int UNLOAD_LINE = 193;

void AddOnce(std::vector<CRavString>& list, const CRavString& name)
{
    if (!name.IsEmpty() && std::find(list.begin(), list.end(), name) == list.end())
        list.push_back(name);
}

// A changed DCB setting takes effect when the service starts again.
void RestartDcbService()
{
    CRavRegKey key;
    CRavString change;
    if (!key.Open(HKEY_LOCAL_MACHINE, DCB_KEY, true) || key.GetRegType(DCB_CHANGE) != REG_SZ ||
        !key.GetValue(DCB_CHANGE, change) || !(change == L"1"))
        return;
    CHelper::RavStopService(DCB_SERVICE);
    CHelper::RavStartService(DCB_SERVICE);
    key.SetValue(DCB_CHANGE, L"0", false);
}

// One call of the core agent; what it throws is traced under the line and becomes nothing.
template <typename Call>
void Forward(int line, const wchar_t* message, Call&& call)
{
    try
    {
        call();
    }
    catch (...)
    {
        RavTrace().Error(SOURCE_FILE, line, L"%s", message);
    }
}
} // namespace

CRavNetAgentPvt::CRavNetAgentPvt()
{
    InitializeCriticalSection(&m_lock);
}

CRavNetAgentPvt::~CRavNetAgentPvt()
{
    m_coreAgent.Close();
    DeleteCriticalSection(&m_lock);
}

void CRavNetAgentPvt::AddForReload(const CRavString& strMiniportInst)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::AddForReload");
    RavTrace().Print(L"Adding strMiniportInst=%s", strMiniportInst.c_str());
    const CRavSectionGuard guard(m_lock);
    AddOnce(m_reloadList, strMiniportInst);
}

void CRavNetAgentPvt::AddForUnload(const CRavString& strMiniportInst)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::AddForUnload");
    RavTrace().Print(L"strMiniportInst=%s", strMiniportInst.c_str());
    const CRavSectionGuard guard(m_lock);
    AddOnce(m_unloadList, strMiniportInst);
}

void CRavNetAgentPvt::ApplyDone_LoadDevice(CResult& result, bool& bReboot)
{
    result = CResult();
    const CRavTraceScope trace(L"CRavNetAgentPvt::ApplyDone_LoadDevice", &result);
    const CRavSectionGuard guard(m_lock);
    if (m_reloadList.empty())
        RavTrace().Print(L"ApplyDone_LoadDevice() - No miniports to load");
    else
        RavTrace().Print(L"ApplyDone_LoadDevice() - Need to load (%d) Miniports.",
                         static_cast<int>(m_reloadList.size()));
    Forward(__LINE__, L"CRavNetAgentPvt::ApplyDone_LoadDevice - Exception caught", [&] {
        PassOver(m_reloadList, &CRavNetAgentPvt::LoadDeviceMiniport, LOAD_LINE, bReboot);
        result.ulErrCode = 0;
    });
}

void CRavNetAgentPvt::ApplyDone_UnloadDevice(CResult& result, bool& bReboot)
{
    result = CResult();
    const CRavTraceScope trace(L"CRavNetAgentPvt::ApplyDone_UnloadDevice", &result);
    const CRavSectionGuard guard(m_lock);
    Forward(__LINE__, L"CRavNetAgentPvt::ApplyDone_UnloadDevice - Exception caught", [&] { RestartDcbService(); });
    if (m_unloadList.empty())
        RavTrace().Print(L"ApplyDone_UnLoadDevice() - No miniports to load");
    else
        RavTrace().Print(L"ApplyDone_UnLoadDevice() - Need to unload (%d) Miniports.",
                         static_cast<int>(m_unloadList.size()));
    Forward(__LINE__, L"CRavNetAgentPvt::ApplyDone_UnloadDevice - Exception caught", [&] {
        PassOver(m_unloadList, &CRavNetAgentPvt::UnloadDeviceMiniport, UNLOAD_LINE, bReboot);
        result.ulErrCode = 0;
    });
}

// One entry after the other, from the front. What one of them throws is that one's failure.
void CRavNetAgentPvt::PassOver(std::vector<CRavString>& list, MINIPORT_OPERATION operation, int line, bool& bReboot)
{
    bool reboot = false;
    while (!list.empty())
    {
        const CRavString name = list.front();
        CResult done;
        Forward(line, L"CRavNetAgentPvt - Exception caught", [&] { (this->*operation)(done, name, reboot); });
        if (!done.Succeeded())
            RavTrace().Error(SOURCE_FILE, line, MINIPORT_FAILED, name.c_str());
        if (reboot)
            bReboot = true;
        if (&list == &m_unloadList)
            AddForReload(name);
        list.erase(list.begin());
    }
}

void CRavNetAgentPvt::UnloadDeviceMiniport(CResult& result, const CRavString& /*strMiniportInst*/, bool& /*bReboot*/)
{
    result = CResult();
}

void CRavNetAgentPvt::LoadDeviceMiniport(CResult& result, const CRavString& /*strMiniportInst*/, bool& /*bReboot*/)
{
    result = CResult();
}

void CRavNetAgentPvt::OnNotification() {}

CResult CRavNetAgentPvt::QueryHookOne()
{
    return CResult::Success();
}

CResult CRavNetAgentPvt::QueryHookTwo()
{
    return CResult::Success();
}

void CRavNetAgentPvt::FetchCoreAgentPvt()
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::FetchCoreAgentPvt");
    const CRavSectionGuard guard(m_lock);
    m_pCoreAgentPvt = nullptr;
    m_coreAgent.Close();
    m_coreAgent = CHelper::RavLoadModule(RavModule::CoreAgent);
    const auto factory = m_coreAgent.Export<RAV_GET_CORE_AGENT_PVT>(RAV_GET_CORE_AGENT_PVT_NAME);
    if (factory != nullptr)
        Forward(__LINE__, L"CRavNetAgentPvt::FetchCoreAgentPvt - Exception caught",
                [&] { m_pCoreAgentPvt = factory(); });
}

CRavCoreAgentPvtIntf* CRavNetAgentPvt::GetCoreAgentPvt() const
{
    const CRavSectionGuard guard(m_lock);
    return m_pCoreAgentPvt;
}

void CRavNetAgentPvt::VerifyClientID(CResult& result, const RAV_CLIENT_ID& client)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::VerifyClientID", &result);
    result = CResult();
    CRavCoreAgentPvtIntf* const core = GetCoreAgentPvt();
    if (core == nullptr)
        return;
    Forward(238, L"CRavNetAgentPvt::VerifyClientID - Exception caught", [&] { result = core->VerifyClientID(client); });
}

void CRavNetAgentPvt::WaitForApplyDone(const RAV_CLIENT_ID& client)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::WaitForApplyDone");
    CRavCoreAgentPvtIntf* const core = GetCoreAgentPvt();
    if (core == nullptr)
        return;
    Forward(267, L"CRavNetAgentPvt::WaitForApplyDone() - Exception caught", [&] { core->WaitForApplyDone(client); });
}

void CRavNetAgentPvt::StartLock(CResult& result, const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::StartLock", &result);
    result = CResult();
    CRavCoreAgentPvtIntf* const core = GetCoreAgentPvt();
    if (core == nullptr)
        return;
    Forward(352, L"CRavNetAgentPvt::StartLock() - Exception caught", [&] { result = core->StartLock(request, token); });
}

void CRavNetAgentPvt::DoneLock(CResult& result, const RAV_LOCK_TOKEN& token)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::DoneLock", &result);
    result = CResult();
    CRavCoreAgentPvtIntf* const core = GetCoreAgentPvt();
    if (core == nullptr)
        return;
    Forward(380, L"CRavNetAgentPvt::DoneLock() - Exception caught", [&] { result = core->DoneLock(token); });
}
