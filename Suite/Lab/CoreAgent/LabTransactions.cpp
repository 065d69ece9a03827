// Clients, the suite-wide lock, and what happens when it is given back.

#include "Suite/Lab/CoreAgent/LabCoreAgent.h"

#include "Common/Library/RavAdapter.h"
#include "Common/Src/RavNetAgentPvt.h"
#include "Common/Src/RavRegKey.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>
#include <optional>

namespace
{
constexpr DWORD POLL_MILLISECONDS = 10;

CRavString ClientPath(DWORD process)
{
    CRavString number;
    number.FormatString(L"%u", process);
    return LabPath(LAB_CLIENTS, number);
}

bool IsAlive(DWORD process)
{
    const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, process);
    const bool alive = handle != nullptr && WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
    if (handle != nullptr)
        CloseHandle(handle);
    return alive;
}

// A process may introduce itself more than once: each value is one identity.
bool IsKnown(const RAV_CLIENT_ID& client)
{
    CRavRegKey key;
    CRavString name;
    key.Open(HKEY_LOCAL_MACHINE, ClientPath(client.dwProcessId), false);
    while (client.dwCookie != 0 && key.IsOpened() && key.EnumValue(name))
    {
        DWORD cookie = 0;
        if (key.GetValue(name, cookie) && cookie == client.dwCookie)
            return true;
    }
    return false;
}

void ForgetDeadClients()
{
    CRavRegKey clients;
    std::vector<CRavString> dead;
    CRavString process;
    clients.Open(HKEY_LOCAL_MACHINE, LAB_CLIENTS, true);
    while (clients.IsOpened() && clients.EnumSubKey(process))
    {
        if (!IsAlive(wcstoul(process, nullptr, 10)))
            dead.push_back(process);
    }
    for (const CRavString& name : dead)
        clients.DeleteSubKey(name);
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

CRavString LocalTime()
{
    SYSTEMTIME time = {};
    GetLocalTime(&time);
    CRavString text;
    text.FormatString(L"%02u:%02u:%02u", time.wHour, time.wMinute, time.wSecond);
    return text;
}

void NoteHolder(const RAV_CLIENT_ID& client)
{
    CRavRegKey key;
    if (key.Create(HKEY_LOCAL_MACHINE, LAB_SUITE_LOCK, true, true))
    {
        key.SetValue(L"ProcessId", client.dwProcessId);
        key.SetValue(L"Program", ProgramName(), false);
        key.SetValue(L"Since", LocalTime(), false);
    }
}

void ForgetHolder()
{
    CRavRegKey lab;
    if (lab.Open(HKEY_LOCAL_MACHINE, LAB_KEY, true))
        lab.DeleteSubKey(L"SuiteLock");
}

enum class Change
{
    Done,
    Needless,
    Failed
};

// Lets others see who waits, until the wait ends.
class CWaitNote
{
  public:
    explicit CWaitNote(const RAV_CLIENT_ID& client) : m_client(ClientPath(client.dwProcessId))
    {
        CRavRegKey note;
        note.Create(HKEY_LOCAL_MACHINE, LabPath(m_client, LAB_WAITS), true, true);
    }
    ~CWaitNote()
    {
        CRavRegKey key;
        if (key.Open(HKEY_LOCAL_MACHINE, m_client, true))
            key.DeleteSubKey(LAB_WAITS);
    }
    CWaitNote(const CWaitNote&) = delete;
    CWaitNote& operator=(const CWaitNote&) = delete;

  private:
    CRavString m_client;
};

enum class Device
{
    Stop,
    Start
};

// One that is not there, or that is to be stopped and does not run, is left alone.
Change ChangeDevice(const CRavString& adapter, Device order, bool& reboot)
{
    const bool load = order == Device::Start;
    CRavNetCfgInterface netCfg;
    CRavAdapter device(adapter);
    if (FAILED(netCfg.Initialize()))
        return Change::Failed;
    if (!device.Initialize(netCfg).Succeeded() || (!load && !device.IsDriverLoaded(netCfg)))
        return Change::Needless;
    if (device.ReloadDevice(load, reboot).Succeeded())
        return Change::Done;
    RavTrace().Print(L"core agent: %s cannot be %s", adapter.c_str(), load ? L"loaded" : L"unloaded");
    return Change::Failed;
}

void KeepFirstFailure(CResult& result, const CResult& next)
{
    if (result.Succeeded())
        result = next;
}
} // namespace

DWORD CLabCoreAgent::RegisterClient(RAV_CLIENT_ID& client)
{
    ForgetDeadClients();
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    client.dwProcessId = GetCurrentProcessId();
    client.dwCookie = counter.LowPart | 1;
    CRavRegKey key;
    CRavString name;
    name.FormatString(L"%08X", client.dwCookie);
    if (!key.Create(HKEY_LOCAL_MACHINE, ClientPath(client.dwProcessId), true, true) ||
        !key.SetValue(name, client.dwCookie))
        return static_cast<DWORD>(key.LastResult());
    return ERROR_SUCCESS;
}

CResult CLabCoreAgent::VerifyClientID(const RAV_CLIENT_ID& client)
{
    return IsKnown(client) && IsAlive(client.dwProcessId) ? CResult::Success() : CResult();
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

DWORD CLabCoreAgent::TryGrant(const RAV_CLIENT_ID& client, RAV_LOCK_TOKEN& token)
{
    const std::lock_guard guard(m_lock);
    const bool sameThread = m_holderThread == GetCurrentThreadId();
    if (m_isApplying)
        return sameThread ? ERROR_POSSIBLE_DEADLOCK : ERROR_LOCK_VIOLATION;
    if (m_tokens.empty())
    {
        const DWORD status = m_suiteLock.Try(LabStateFile(LAB_SUITE_LOCK_FILE));
        if (status != ERROR_SUCCESS)
            return status;
        m_holder = client;
        m_holderThread = GetCurrentThreadId();
        NoteHolder(client);
    }
    else if (!sameThread || !Same(m_holder, client))
        return ERROR_LOCK_VIOLATION;
    token.dwToken = ++m_lastToken;
    m_tokens.push_back(token.dwToken);
    return ERROR_SUCCESS;
}

CResult CLabCoreAgent::StartLock(const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token)
{
    const ULONGLONG start = GetTickCount64();
    std::optional<CWaitNote> note;
    for (;;)
    {
        const DWORD status = TryGrant(request.client, token);
        if (status == ERROR_SUCCESS)
            return CResult::Success();
        if (status != ERROR_LOCK_VIOLATION)
            RavTrace().Print(L"core agent: the suite's lock cannot be taken, error %d", status);
        if (status != ERROR_LOCK_VIOLATION ||
            (request.dwWaitMilliseconds != INFINITE && GetTickCount64() - start >= request.dwWaitMilliseconds))
            return CResult(status);
        if (!note)
            note.emplace(request.client);
        Sleep(POLL_MILLISECONDS);
    }
}

// The end of a transaction, from the last grant's return to the moment when others may have the lock.
class CLabCoreAgent::Ending
{
  public:
    explicit Ending(CLabCoreAgent& agent) : m_agent(agent) {}
    ~Ending()
    {
        const std::lock_guard guard(m_agent.m_lock);
        m_agent.m_isApplying = false;
        ForgetHolder(); // before the lock file goes: afterwards the note could be the next holder's
        m_agent.m_suiteLock.Release();
    }
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

  private:
    CLabCoreAgent& m_agent;
};

CResult CLabCoreAgent::DoneLock(const RAV_LOCK_TOKEN& token)
{
    {
        const std::lock_guard guard(m_lock);
        const auto grant = std::find(m_tokens.begin(), m_tokens.end(), token.dwToken);
        if (grant == m_tokens.end())
            return CResult(ERROR_NOT_LOCKED);
        m_tokens.erase(grant);
        if (!m_tokens.empty())
            return CResult::Success();
        m_isApplying = true;
        m_holderThread = GetCurrentThreadId();
    }
    const Ending ending(*this);
    return Apply(); // still under the lock: nobody sees a transaction that is half applied
}

// --- applying

bool CLabCoreAgent::WaitForApplyDone(const RAV_CLIENT_ID& /*client*/)
{
    const auto mustWait = [&] {
        const std::lock_guard guard(m_lock);
        // An agent may ask from inside its own pass: waiting for the end of that would never end.
        return m_isApplying ? m_holderThread != GetCurrentThreadId() : LabIsApplying();
    };
    while (mustWait())
        Sleep(POLL_MILLISECONDS);
    return true;
}

CResult CLabCoreAgent::UnloadMiniport(const CRavString& strAdapter, bool& bReboot)
{
    switch (ChangeDevice(strAdapter, Device::Stop, bReboot))
    {
    case Change::Done:
        QueueReload(strAdapter, true);
        return CResult::Success();
    case Change::Needless:
        return LabInstancePath(strAdapter).IsEmpty() ? CResult(ERROR_FILE_NOT_FOUND) : CResult::Success();
    default:
        return CResult(ERROR_GEN_FAILURE);
    }
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

// The file tells other processes that a transaction is being applied. If it cannot be made they do not wait for it; the
// transaction is applied all the same.
CResult CLabCoreAgent::Apply()
{
    CExclusiveFile file;
    const DWORD status = file.Try(LabStateFile(LAB_APPLY_FILE));
    if (status != ERROR_SUCCESS)
        RavTrace().Print(L"core agent: nobody will wait for this apply, error %d", status);
    bool reboot = false;
    const CResult result = RunPasses(reboot);
    if (reboot)
        LabSetNumber(LAB_KEY, LAB_REBOOT_REQUESTED, 1);
    return result;
}

// Everything stops before anything starts: VLANs before the adapters below them, adapters before the VLANs above.
CResult CLabCoreAgent::RunPasses(bool& reboot)
{
    CResult result = RunAgents(&CRavNetAgentPvt::ApplyDone_UnloadDevice, reboot);
    KeepFirstFailure(result, ReloadAdapters(reboot));
    KeepFirstFailure(result, RunAgents(&CRavNetAgentPvt::ApplyDone_LoadDevice, reboot));
    return result;
}

CResult CLabCoreAgent::RunAgents(void (CRavNetAgentPvt::*pass)(CResult&, bool&), bool& reboot)
{
    std::map<CRavString, CRavNetAgentPvt*> agents;
    {
        const std::lock_guard guard(m_lock);
        agents = m_agents;
    }
    CResult result = CResult::Success();
    for (const auto& [name, agent] : agents)
    {
        CResult answer;
        try
        {
            (agent->*pass)(answer, reboot);
        }
        catch (...)
        {
            RavTrace().Print(L"core agent: %s threw from an apply pass", name.c_str());
        }
        KeepFirstFailure(result, answer);
    }
    return result;
}

CResult CLabCoreAgent::ReloadAdapters(bool& reboot)
{
    std::vector<Reload> reloads;
    {
        const std::lock_guard guard(m_lock);
        reloads.swap(m_reloads);
    }
    bool failed = false;
    const auto change = [&](const Reload& reload, Device order) {
        const Change done = ChangeDevice(reload.adapter, order, reboot);
        failed = failed || done == Change::Failed;
        return done == Change::Done;
    };
    for (Reload& reload : reloads)
        reload.unloaded = reload.unloaded || change(reload, Device::Stop);
    for (const Reload& reload : reloads)
    {
        if (reload.unloaded)
            change(reload, Device::Start);
    }
    return failed ? CResult(ERROR_GEN_FAILURE) : CResult::Success();
}
