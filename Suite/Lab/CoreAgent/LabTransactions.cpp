// Clients, the suite-wide lock, and what happens when it is given back.

#include "Suite/Lab/CoreAgent/LabCoreAgent.h"

#include "Common/Intf/RavAdapter.h"
#include "Common/Src/RavNetAgentPvt.h"
#include "Common/Src/RavRegKey.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>

namespace
{
CRavString ClientPath(DWORD process)
{
    CRavString number;
    number.FormatString(L"%u", process);
    return LabPath(LAB_CLIENTS, number);
}

bool IsAlive(DWORD process)
{
    const HANDLE handle = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process);
    DWORD code = 0;
    const bool alive = handle != nullptr && GetExitCodeProcess(handle, &code) && code == STILL_ACTIVE;
    if (handle != nullptr)
        CloseHandle(handle);
    return alive;
}

bool Same(const RAV_CLIENT_ID& left, const RAV_CLIENT_ID& right)
{
    return left.dwProcessId == right.dwProcessId && left.dwCookie == right.dwCookie;
}

CRavString ProgramName()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const wchar_t* const name = wcsrchr(path, L'\\');
    return name != nullptr ? name + 1 : path;
}

// Stops or starts a device; one that is not there, or was not running before, is left alone.
bool ChangeDevice(const CRavString& adapter, bool load, bool onlyIfLoaded, bool& reboot)
{
    CRavNetCfgInterface netCfg;
    CRavAdapter device(adapter);
    if (FAILED(netCfg.Initialize()) || !device.Initialize(netCfg).Succeeded())
        return false;
    if (onlyIfLoaded && !device.IsDriverLoaded(netCfg))
        return false;
    return device.ReloadDevice(load, reboot).Succeeded();
}
} // namespace

DWORD CLabCoreAgent::RegisterClient(RAV_CLIENT_ID& client)
{
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    client.dwProcessId = GetCurrentProcessId();
    client.dwCookie = counter.LowPart | 1;
    CRavRegKey key;
    if (!key.Create(HKEY_LOCAL_MACHINE, ClientPath(client.dwProcessId), true, true) ||
        !key.SetValue(L"Cookie", client.dwCookie))
        return static_cast<DWORD>(key.LastResult());
    return ERROR_SUCCESS;
}

CResult CLabCoreAgent::VerifyClientID(const RAV_CLIENT_ID& client)
{
    const bool known =
        client.dwCookie != 0 && LabNumber(ClientPath(client.dwProcessId), L"Cookie", 0) == client.dwCookie;
    return known && IsAlive(client.dwProcessId) ? CResult::Success() : CResult();
}

CResult CLabCoreAgent::RegisterAgent(const CRavString& strName, CRavNetAgentPvt* pAgent)
{
    if (pAgent == nullptr || strName.IsEmpty())
        return CResult(ERROR_INVALID_PARAMETER);
    const std::lock_guard guard(m_lock);
    m_agents[strName] = pAgent;
    return CResult::Success();
}

// --- the lock
// -----------------------------------------------------------------------------------------------------------

bool CLabCoreAgent::TakeLockFile(CExclusiveFile& file, DWORD waitMilliseconds)
{
    return file.Acquire(LabStateFolder() + L"\\suite.lock", waitMilliseconds);
}

void CLabCoreAgent::NoteHolder(const RAV_CLIENT_ID& client)
{
    CRavRegKey key;
    CRavString program = ProgramName();
    if (key.Create(HKEY_LOCAL_MACHINE, LAB_SUITE_LOCK, true, true))
    {
        key.SetValue(L"ProcessId", client.dwProcessId);
        key.SetValue(L"Program", program, false);
    }
}

CRavString CLabCoreAgent::DescribeLockHolder()
{
    CExclusiveFile probe;
    if (TakeLockFile(probe, 0))
        return CRavString();
    CRavString text;
    text.FormatString(L"process %u (%s)", LabNumber(LAB_SUITE_LOCK, L"ProcessId", 0),
                      LabText(LAB_SUITE_LOCK, L"Program").c_str());
    return text;
}

CResult CLabCoreAgent::StartLock(const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token)
{
    const ULONGLONG start = GetTickCount64();
    for (;;)
    {
        {
            const std::lock_guard guard(m_lock);
            const bool again = m_grants > 0 && Same(m_holder, request.client);
            if (again || (m_grants == 0 && TakeLockFile(m_suiteLock, 0)))
            {
                m_holder = request.client;
                ++m_grants;
                NoteHolder(request.client);
                token.dwToken = ++m_lastToken;
                m_tokens.push_back(token.dwToken);
                return CResult::Success();
            }
        }
        if (request.dwWaitMilliseconds != INFINITE && GetTickCount64() - start >= request.dwWaitMilliseconds)
            return CResult(ERROR_LOCK_VIOLATION);
        Sleep(10);
    }
}

CResult CLabCoreAgent::DoneLock(const RAV_LOCK_TOKEN& token)
{
    bool last = false;
    {
        const std::lock_guard guard(m_lock);
        const auto grant = std::find(m_tokens.begin(), m_tokens.end(), token.dwToken);
        if (grant == m_tokens.end())
            return CResult(ERROR_NOT_LOCKED);
        m_tokens.erase(grant);
        last = m_grants == 1;
        if (!last)
            --m_grants;
    }
    if (!last)
        return CResult::Success();
    Apply(); // still under the lock: nobody sees a transaction that is half applied
    const std::lock_guard guard(m_lock);
    m_grants = 0;
    CRavRegKey lab;
    if (lab.Open(HKEY_LOCAL_MACHINE, LAB_KEY, true))
        lab.DeleteSubKey(L"SuiteLock");
    m_suiteLock.Release();
    return CResult::Success();
}

// --- applying
// -----------------------------------------------------------------------------------------------------------

bool CLabCoreAgent::WaitForApplyDone(const RAV_CLIENT_ID& /*client*/)
{
    const std::lock_guard guard(m_applying);
    return true;
}

CResult CLabCoreAgent::UnloadMiniport(const CRavString& strAdapter, bool& bReboot)
{
    if (!ChangeDevice(strAdapter, false, true, bReboot))
        return LabInstancePath(strAdapter).IsEmpty() ? CResult(ERROR_FILE_NOT_FOUND) : CResult::Success();
    QueueReload(strAdapter, true);
    return CResult::Success();
}

CResult CLabCoreAgent::UnloadMiniportDuringApplyDone(const CRavString& strAdapter)
{
    if (LabInstancePath(strAdapter).IsEmpty())
        return CResult(ERROR_FILE_NOT_FOUND);
    QueueReload(strAdapter, false);
    return CResult::Success();
}

void CLabCoreAgent::QueueReload(const CRavString& adapter, bool unloaded)
{
    const std::lock_guard guard(m_lock);
    const auto queued = std::find_if(m_reloads.begin(), m_reloads.end(),
                                     [&](const Reload& reload) { return reload.adapter.CompareI(adapter); });
    if (queued == m_reloads.end())
        m_reloads.push_back({adapter, unloaded});
    else
        queued->unloaded = queued->unloaded || unloaded;
}

void CLabCoreAgent::Apply()
{
    const std::lock_guard applying(m_applying);
    bool reboot = false;
    RunPasses(reboot);
    if (reboot)
        LabSetNumber(LAB_KEY, LAB_REBOOT_REQUESTED, 1);
}

// Everything stops before anything starts: VLANs before the adapters below them, adapters before the VLANs above.
void CLabCoreAgent::RunPasses(bool& reboot)
{
    std::map<CRavString, CRavNetAgentPvt*> agents;
    std::vector<Reload> reloads;
    {
        const std::lock_guard guard(m_lock);
        agents = m_agents;
        reloads.swap(m_reloads);
    }
    const auto run = [&](auto pass) {
        for (const auto& [name, agent] : agents)
        {
            try
            {
                CResult result;
                (agent->*pass)(result, reboot);
            }
            catch (...)
            {
                RavTrace().Print(L"core agent: %s threw from an apply pass", name.c_str());
            }
        }
    };
    run(&CRavNetAgentPvt::ApplyDone_UnloadDevice);
    for (Reload& reload : reloads)
        reload.unloaded = reload.unloaded || ChangeDevice(reload.adapter, false, true, reboot);
    for (const Reload& reload : reloads)
    {
        if (reload.unloaded)
            ChangeDevice(reload.adapter, true, false, reboot);
    }
    run(&CRavNetAgentPvt::ApplyDone_LoadDevice);
}
