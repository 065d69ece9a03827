#include "Common/Library/RavNetCfgInterface.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Library/BindingRecord.h"
#include "Common/Library/NetCfgClasses.h"
#include "Common/Library/RestartNote.h"

#include <algorithm>
#include <utility>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr DWORD LOCK_WAIT_MILLISECONDS = 15000;
constexpr wchar_t LOCK_DESCRIPTION[] = L"Corvo VLAN agent";

// A record that cannot be deleted does no harm: the adapter's next first VLAN overwrites it. Nothing is thrown, because
// the caller has yet to give the write lock back.
void DropBindingRecord(const CRavString& adapter)
{
    bool done = false;
    try
    {
        done = RavDeleteBindingRecord(adapter);
    }
    catch (...)
    {
        RavTrace().Print(L"CRavNetCfgInterface: RavDeleteBindingRecord - Exception caught");
    }
    if (!done)
        RavTrace().Print(L"CRavNetCfgInterface: the record of the bindings of %s stays", adapter.c_str());
}

HRESULT Traced(const wchar_t* step, HRESULT status)
{
    if (FAILED(status))
        RavTrace().Print(L"CRavNetCfgInterface: %s fails, 0x%X", step, status);
    return status;
}
} // namespace

CRavNetCfgInterface::~CRavNetCfgInterface()
{
    UnInitialize();
}

HRESULT CRavNetCfgInterface::Initialize()
{
    HRESULT status = S_FALSE;
    const CRavTraceScope trace(L"CRavNetCfgInterface::Initialize", &status);
    if (m_bViewStarted)
        return status;
    EnterApartment();
    status = StartView();
    if (FAILED(status) && !m_pNetCfg)
        LeaveApartment();
    return status;
}

HRESULT CRavNetCfgInterface::UnInitialize()
{
    HRESULT status = S_FALSE;
    const CRavTraceScope trace(L"CRavNetCfgInterface::UnInitialize", &status);
    if (!m_pNetCfg)
        return status;
    status = EndView();
    m_bGoesOnReading = false;
    m_bListed = false;
    if (m_iWriteLocks > 0)
        GiveLockBack();
    m_iWriteLocks = 0;
    m_restored.clear();
    m_pNetCfg.Reset();
    LeaveApartment();
    return status;
}

// A thread that is in an apartment already stays in it, whichever kind it is.
void CRavNetCfgInterface::EnterApartment()
{
    if (m_dwApartmentThread == 0 && SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        m_dwApartmentThread = GetCurrentThreadId();
}

void CRavNetCfgInterface::LeaveApartment()
{
    // The apartment belongs to the thread that entered it; another one must not leave it.
    if (m_dwApartmentThread == GetCurrentThreadId())
        CoUninitialize();
    m_dwApartmentThread = 0;
}

bool CRavNetCfgInterface::IsReading()
{
    if (!m_bViewStarted && m_bGoesOnReading)
        m_bGoesOnReading = FAILED(StartView());
    return m_bViewStarted;
}

INetCfg* CRavNetCfgInterface::GetNetCfg()
{
    IsReading();
    return m_pNetCfg.Get();
}

HRESULT CRavNetCfgInterface::StartView()
{
    HRESULT status = S_OK;
    m_bGoesOnReading = false;
    if (!m_pNetCfg)
        status = CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_pNetCfg));
    if (SUCCEEDED(status))
        status = m_pNetCfg->Initialize(nullptr);
    m_bViewStarted = SUCCEEDED(status);
    if (FAILED(status))
        RavTrace().Print(L"CRavNetCfgInterface: the network configuration cannot be opened, 0x%X", status);
    return status;
}

HRESULT CRavNetCfgInterface::EndView()
{
    if (!m_bViewStarted)
        return S_OK;
    m_bViewStarted = false;
    m_components.Clear();
    m_byId.clear();
    return Traced(L"closing the network configuration", m_pNetCfg->Uninitialize());
}

// The lock has to be taken before the view is started: a view that is open is closed first, and opened again under
// the lock or, when it was not to be had, without by the next call that reads.
HRESULT CRavNetCfgInterface::AcquireLockForWrite()
{
    HRESULT status = S_OK;
    const CRavTraceScope trace(L"CRavNetCfgInterface::AcquireLockForWrite", &status);
    if (m_iWriteLocks > 0)
    {
        ++m_iWriteLocks;
        return status;
    }
    if (!m_pNetCfg)
        return status = Traced(L"locking a session that is not open", E_UNEXPECTED);
    EndView();
    m_bListed = false; // others may have changed it before
    m_bGoesOnReading = true;
    status = TakeLock();
    if (FAILED(status))
        return status;
    status = StartView();
    if (SUCCEEDED(status))
    {
        m_iWriteLocks = 1;
        return status;
    }
    GiveLockBack();
    m_bGoesOnReading = true;
    return status;
}

HRESULT CRavNetCfgInterface::TakeLock()
{
    ComPtr<INetCfgLock> lock;
    CNetCfgText holder;
    HRESULT status = m_pNetCfg.As(&lock);
    if (SUCCEEDED(status))
        status = lock->AcquireWriteLock(LOCK_WAIT_MILLISECONDS, LOCK_DESCRIPTION, holder.Out());
    if (status == S_OK)
        return status;
    if (FAILED(status))
    {
        RavTrace().Print(L"CRavNetCfgInterface::AcquireLockForWrite - the lock cannot be taken, 0x%X", status);
        return status;
    }
    RavTrace().Print(L"CRavNetCfgInterface::AcquireLockForWrite - the lock is held by: %s", holder.Get());
    return HRESULT_FROM_WIN32(ERROR_LOCK_VIOLATION);
}

HRESULT CRavNetCfgInterface::GiveLockBack()
{
    ComPtr<INetCfgLock> lock;
    HRESULT status = m_pNetCfg.As(&lock);
    if (SUCCEEDED(status))
        status = lock->ReleaseWriteLock();
    return Traced(L"giving the write lock back", status);
}

HRESULT CRavNetCfgInterface::ReleaseLockForWrite()
{
    HRESULT status = S_OK;
    const CRavTraceScope trace(L"CRavNetCfgInterface::ReleaseLockForWrite", &status);
    if (m_iWriteLocks == 0)
        return status = Traced(L"giving back a write lock that is not held", NETCFG_E_NO_WRITE_LOCK);
    if (--m_iWriteLocks > 0)
        return status;
    const HRESULT applied = ApplyChanges();
    EndView();
    const HRESULT released = GiveLockBack();
    m_bGoesOnReading = true; // the changes are applied, whether or not the view can be opened again
    status = FAILED(applied) ? applied : released;
    return status;
}

HRESULT CRavNetCfgInterface::ApplyChanges()
{
    const std::vector<CRavString> restored = std::exchange(m_restored, {});
    const HRESULT applied = m_pNetCfg->Apply();
    NoteReboot(applied);
    if (FAILED(applied))
    {
        RavTrace().Print(L"CRavNetCfgInterface::ReleaseLockForWrite - Apply fails, 0x%X", applied);
        m_bListed = false;
        return applied;
    }
    for (const CRavString& adapter : restored)
        DropBindingRecord(adapter);
    return applied;
}

void CRavNetCfgInterface::NoteBindings(const CRavString& strAdapter, bool bRestored)
{
    std::erase(m_restored, strAdapter);
    if (bRestored)
        m_restored.push_back(strAdapter);
}

void CRavNetCfgInterface::NoteReboot(HRESULT hStatus)
{
    if (hStatus != NETCFG_S_REBOOT)
        return;
    RavTrace().Print(L"CRavNetCfgInterface: the change needs a restart of the system");
    m_bNeedsReboot = true;
    RavNoteRestart();
}

HRESULT CRavNetCfgInterface::FindNetworkComponentByGUID(const CRavString& strGuid, ComPtr<INetCfgComponent>& component)
{
    component.Reset();
    if (!IsReading())
        return Traced(L"a search in a session that is not open", NETCFG_E_NOT_INITIALIZED);
    return Traced(L"the walk over the network adapters", m_components.Find(*m_pNetCfg.Get(), strGuid, component));
}

HRESULT CRavNetCfgInterface::ListNetworkComponents(std::vector<CRavString>& guids)
{
    HRESULT status = S_OK;
    if (!m_bListed)
    {
        if (!IsReading())
            return Traced(L"a list of a session that is not open", NETCFG_E_NOT_INITIALIZED);
        status = Traced(L"the walk over the network adapters", m_components.List(*m_pNetCfg.Get(), m_guids));
        m_bListed = status == S_OK;
    }
    guids = m_guids;
    return status;
}

// The list counts again once it is true: not when something is thrown on the way.
void CRavNetCfgInterface::NoteInstalled(const CRavString& strGuid, INetCfgComponent& component)
{
    const bool listed = std::exchange(m_bListed, false);
    m_components.Add(strGuid, component);
    m_guids.push_back(strGuid);
    m_bListed = listed;
}

void CRavNetCfgInterface::NoteRemoved(const CRavString& strGuid)
{
    const bool listed = std::exchange(m_bListed, false);
    m_components.Remove(strGuid);
    std::erase_if(m_guids, [&](const CRavString& guid) { return guid.CompareI(strGuid); });
    m_bListed = listed;
}

void CRavNetCfgInterface::ReadAnew()
{
    if (m_iWriteLocks > 0 || !m_bViewStarted)
        return;
    EndView();
    m_bListed = false;
    m_bGoesOnReading = true;
}

void CRavNetCfgInterface::SearchAnew()
{
    m_components.Clear();
    m_byId.clear();
    m_bListed = false;
}

HRESULT CRavNetCfgInterface::FindComponentById(const wchar_t* id, ComPtr<INetCfgComponent>& component)
{
    component.Reset();
    if (!IsReading())
        return Traced(L"the search for a component", NETCFG_E_NOT_INITIALIZED);
    if (const auto known = m_byId.find(id); known != m_byId.end())
    {
        component = known->second;
        return S_OK;
    }
    const HRESULT status = Traced(L"the search for a component", m_pNetCfg->FindComponent(id, &component));
    if (SUCCEEDED(status) && component)
        m_byId[id] = component;
    return status;
}
