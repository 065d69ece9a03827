#pragma once

#include "Common/Library/ComponentIndex.h"
#include "Common/Src/RavString.h"

#include <windows.h>
#include <netcfgx.h>
#include <wrl/client.h>

#include <map>
#include <vector>

// One session with the Windows network configuration (INetCfg).
//
// Used by one thread at a time. The session enters a COM apartment for the thread that initialises it, unless that
// thread is in one already, and leaves it again when the same thread ends the session. Component objects that were
// found through a session stay valid until its write lock is taken or given back, or the session is uninitialised: each
// of these starts a new view of the configuration.
class CRavNetCfgInterface
{
  public:
    CRavNetCfgInterface() = default;
    // Gives back the write lock, if it is held, without applying, and ends the session.
    ~CRavNetCfgInterface();
    CRavNetCfgInterface(const CRavNetCfgInterface&) = delete;
    CRavNetCfgInterface& operator=(const CRavNetCfgInterface&) = delete;

    // Opens the session for reading. S_FALSE when it is open already.
    HRESULT Initialize();
    // Ends the session. S_FALSE when none is open.
    HRESULT UnInitialize();

    // Takes the system-wide write lock and starts a fresh view of the configuration under it. Waits up to 15 seconds
    // for another holder; then the holder's description goes to the trace and the result is
    // HRESULT_FROM_WIN32(ERROR_LOCK_VIOLATION). Nested calls on one session count; each needs its release.
    // A negative result means: no lock, and the session is open for reading again.
    HRESULT AcquireLockForWrite();
    // Applies the changes that were made under the lock and gives it back. The lock is given back even when the changes
    // could not be applied; the result is then the failure. The session goes on reading: the call that reads next opens
    // the configuration again, and fails when it cannot.
    HRESULT ReleaseLockForWrite();

    // Finds the network adapter component with the instance GUID. S_FALSE and a null component when there is none.
    HRESULT FindNetworkComponentByGUID(const CRavString& strGuid, Microsoft::WRL::ComPtr<INetCfgComponent>& component);
    // The instance GUIDs of all network adapter components, in the order of the class; S_FALSE when they need not
    // be all. What was read under the write lock holds on behind it; taking the lock reads anew what others may have
    // changed.
    HRESULT ListNetworkComponents(std::vector<CRavString>& guids);
    // Forgets which components there are: behind a time in which other programs may have changed that. Nothing under
    // the write lock, which keeps them out.
    void ReadAnew();
    // Forgets what was found so far in this view; the next question looks at each component again.
    void SearchAnew();
    // Tells of a component that was installed, or removed, through this session.
    void NoteInstalled(const CRavString& strGuid, INetCfgComponent& component);
    void NoteRemoved(const CRavString& strGuid);
    // Finds a protocol, service or client by its component id, for example "ms_tcpip". One that was found stays found
    // for as long as the view of the network configuration is open.
    HRESULT FindComponentById(const wchar_t* id, Microsoft::WRL::ComPtr<INetCfgComponent>& component);

    // Takes an adapter out of the intermediate driver's hands: unbinds the driver from it, with bRestoreBindings binds
    // the protocols again that BindAdapterToXms has taken off (TCP/IP when the driver was bound and that is not known),
    // and deletes the driver's entries for it (adapter and configuration key, after the former "EnableDHCP" has been
    // given back to TCP/IP). What is not there needs no cleaning, and cleaning twice changes nothing more. 0 on
    // success, -1 on failure. Needs the write lock; a clean-up that failed, or that could not be applied when the lock
    // was given back, can be done again.
    int CleanUpAdapterFromXms(const CRavString& strAdapter, bool bRestoreBindings);

    // The adapters below a team, as the driver's binding lists name them, in registry order.
    HRESULT EnumerateMemberAdapters(const CRavString& strTeam, std::vector<CRavString>& members);
    // The team's mode as its miniport's key has it.
    HRESULT GetTeamMode(const CRavString& strTeam, DWORD& dwMode);

    // Remembers the answer of a changing INetCfg call that asks for a restart of the system (NETCFG_S_REBOOT),
    // and notes it for others.
    void NoteReboot(HRESULT hStatus);
    // Notes whether an adapter has got back what was taken off it: its record goes when that is applied, and not
    // before, so that what could not be applied can be done again.
    void NoteBindings(const CRavString& strAdapter, bool bRestored);
    // Whether a change of this session takes full effect only with the next start of the system.
    bool NeedsReboot() const { return m_bNeedsReboot; }

    // The configuration object of the open session; null when closed. Not owned by the caller.
    INetCfg* GetNetCfg();
    // Whether the configuration can be read. After the write lock has been given back this opens it again.
    bool IsReading();
    bool IsLockedForWrite() const { return m_iWriteLocks > 0; }

  private:
    void EnterApartment();
    void LeaveApartment();
    HRESULT StartView();
    HRESULT EndView();
    HRESULT GiveLockBack();
    HRESULT TakeLock();
    HRESULT ApplyChanges();
    int DeleteDriverEntries(const CRavString& strAdapter);

    Microsoft::WRL::ComPtr<INetCfg> m_pNetCfg;
    bool m_bViewStarted = false;
    bool m_bGoesOnReading = false; // the view is closed, and started by the next call that reads
    CRavComponentIndex m_components;
    std::map<CRavString, Microsoft::WRL::ComPtr<INetCfgComponent>> m_byId; // protocols and their like
    std::vector<CRavString> m_guids;                                       // of the last complete list
    bool m_bListed = false;
    int m_iWriteLocks = 0;
    bool m_bNeedsReboot = false;
    std::vector<CRavString> m_restored; // adapters whose binding records go with the next apply
    DWORD m_dwApartmentThread = 0;      // 0: no apartment to leave
};
