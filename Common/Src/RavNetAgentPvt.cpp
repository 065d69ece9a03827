#include "Common/Src/RavNetAgentPvt.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/Helper.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"..\\Common\\Src\\RavNetAgentPvt";
constexpr wchar_t DCB_KEY[] = L"SOFTWARE\\CORVO\\Network_Services\\RAV2\\DCB\\";
constexpr wchar_t DCB_CHANGE[] = L"DcbAdvancedSettingChange";
constexpr DWORD DCB_SERVICE = 0;
// The unload pass reports with the load pass's words; those who read the trace know them.
constexpr wchar_t MINIPORT_FAILED[] = L"ApplyDone_LoadDevice - LoadMiniport() failed - device -> %s";
constexpr int LOAD_LINE = 119;
constexpr int UNLOAD_LINE = 193;

class SectionGuard
{
  public:
    explicit SectionGuard(CRITICAL_SECTION& section) : m_section(section) { EnterCriticalSection(&m_section); }
    ~SectionGuard() { LeaveCriticalSection(&m_section); }
    SectionGuard(const SectionGuard&) = delete;
    SectionGuard& operator=(const SectionGuard&) = delete;

  private:
    CRITICAL_SECTION& m_section;
};

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
    if (!key.Open(HKEY_LOCAL_MACHINE, DCB_KEY, true) || !key.GetValue(DCB_CHANGE, change) || !(change == L"1"))
        return;
    CHelper::RavStopService(DCB_SERVICE);
    CHelper::RavStartService(DCB_SERVICE);
    change = L"0";
    key.SetValue(DCB_CHANGE, change, false);
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
        RavTrace().Error(SOURCE_FILE, line, message);
    }
}
} // namespace

CRavNetAgentPvt::CRavNetAgentPvt()
{
    InitializeCriticalSection(&m_lock);
}

CRavNetAgentPvt::~CRavNetAgentPvt()
{
    if (m_hCoreAgent != nullptr)
        FreeLibrary(m_hCoreAgent);
    m_hCoreAgent = nullptr;
    DeleteCriticalSection(&m_lock);
}

void CRavNetAgentPvt::AddForReload(const CRavString& strMiniportInst)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::AddForReload");
    RavTrace().Print(L"Adding strMiniportInst=%s", strMiniportInst.c_str());
    const SectionGuard guard(m_lock);
    AddOnce(m_reloadList, strMiniportInst);
}

void CRavNetAgentPvt::AddForUnload(const CRavString& strMiniportInst)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::AddForUnload");
    RavTrace().Print(L"strMiniportInst=%s", strMiniportInst.c_str());
    const SectionGuard guard(m_lock);
    AddOnce(m_unloadList, strMiniportInst);
}

void CRavNetAgentPvt::ApplyDone_LoadDevice(CResult& result, bool& bReboot)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::ApplyDone_LoadDevice", &result);
    const SectionGuard guard(m_lock);
    if (m_reloadList.empty())
        RavTrace().Print(L"ApplyDone_LoadDevice() - No miniports to load");
    else
        RavTrace().Print(L"ApplyDone_LoadDevice() - Need to load (%d) Miniports.",
                         static_cast<int>(m_reloadList.size()));
    bool reboot = false;
    while (!m_reloadList.empty())
    {
        const CRavString name = m_reloadList.front();
        CResult loaded;
        LoadDeviceMiniport(loaded, name, reboot);
        if (!loaded.Succeeded())
            RavTrace().Error(SOURCE_FILE, LOAD_LINE, MINIPORT_FAILED, name.c_str());
        if (reboot)
            bReboot = true;
        m_reloadList.erase(m_reloadList.begin());
    }
    result = CResult::Success();
}

void CRavNetAgentPvt::ApplyDone_UnloadDevice(CResult& result, bool& bReboot)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::ApplyDone_UnloadDevice", &result);
    const SectionGuard guard(m_lock);
    RestartDcbService();
    if (m_unloadList.empty())
        RavTrace().Print(L"ApplyDone_UnLoadDevice() - No miniports to load");
    else
        RavTrace().Print(L"ApplyDone_UnLoadDevice() - Need to unload (%d) Miniports.",
                         static_cast<int>(m_unloadList.size()));
    bool reboot = false;
    while (!m_unloadList.empty())
    {
        const CRavString name = m_unloadList.front();
        CResult unloaded;
        UnloadDeviceMiniport(unloaded, name, reboot);
        if (!unloaded.Succeeded())
            RavTrace().Error(SOURCE_FILE, UNLOAD_LINE, MINIPORT_FAILED, name.c_str());
        if (reboot)
            bReboot = true;
        AddForReload(name);
        m_unloadList.erase(m_unloadList.begin());
    }
    result = CResult::Success();
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
    const SectionGuard guard(m_lock);
    m_pCoreAgentPvt = nullptr;
    // Loaded before the earlier one is given back: nobody who is inside it loses the ground.
    const HMODULE previous = m_hCoreAgent;
    m_hCoreAgent = CHelper::RavLoadModule(RavModule::CoreAgent);
    if (previous != nullptr)
        FreeLibrary(previous);
    if (m_hCoreAgent == nullptr)
        return;
    const FARPROC address = GetProcAddress(m_hCoreAgent, RAV_GET_CORE_AGENT_PVT_NAME);
    RAV_GET_CORE_AGENT_PVT factory = nullptr;
    static_assert(sizeof(factory) == sizeof(address));
    memcpy(&factory, &address, sizeof(factory));
    if (factory != nullptr)
        m_pCoreAgentPvt = factory();
}

void CRavNetAgentPvt::VerifyClientID(CResult& result, const RAV_CLIENT_ID& client)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::VerifyClientID", &result);
    result = CResult();
    if (m_pCoreAgentPvt == nullptr)
        return;
    Forward(238, L"CRavNetAgentPvt::VerifyClientID - Exception caught",
            [&] { result = m_pCoreAgentPvt->VerifyClientID(client); });
}

void CRavNetAgentPvt::WaitForApplyDone(const RAV_CLIENT_ID& client)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::WaitForApplyDone");
    if (m_pCoreAgentPvt == nullptr)
        return;
    Forward(267, L"CRavNetAgentPvt::WaitForApplyDone() - Exception caught",
            [&] { m_pCoreAgentPvt->WaitForApplyDone(client); });
}

void CRavNetAgentPvt::StartLock(CResult& result, const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::StartLock", &result);
    result = CResult();
    if (m_pCoreAgentPvt == nullptr)
        return;
    Forward(352, L"CRavNetAgentPvt::StartLock() - Exception caught",
            [&] { result = m_pCoreAgentPvt->StartLock(request, token); });
}

void CRavNetAgentPvt::DoneLock(CResult& result, const RAV_LOCK_TOKEN& token)
{
    const CRavTraceScope trace(L"CRavNetAgentPvt::DoneLock", &result);
    result = CResult();
    if (m_pCoreAgentPvt == nullptr)
        return;
    Forward(380, L"CRavNetAgentPvt::DoneLock() - Exception caught", [&] { result = m_pCoreAgentPvt->DoneLock(token); });
}
