#pragma once

#include "Common/Library/RavNetCfgInterface.h"
#include "Src/RavShielded.h"

// Holds the network configuration's write lock for a scope.
class CRavNetCfgWriteLock
{
  public:
    explicit CRavNetCfgWriteLock(CRavNetCfgInterface& netCfg)
        : m_netCfg(netCfg), m_hStatus(netCfg.AcquireLockForWrite())
    {
    }
    // Changes that cannot be applied at this point are only traced: there is no caller to report them to.
    ~CRavNetCfgWriteLock()
    {
        RavShielded(L"Src\\RavNetCfgWriteLock", __LINE__, L"CRavNetCfgWriteLock::Release", [this] { Release(); });
    }
    CRavNetCfgWriteLock(const CRavNetCfgWriteLock&) = delete;
    CRavNetCfgWriteLock& operator=(const CRavNetCfgWriteLock&) = delete;

    // Negative when the lock was not had.
    HRESULT Status() const { return m_hStatus; }
    bool IsHeld() const { return m_hStatus >= 0; }
    // Applies the changes and gives the lock back now; the status of that, or 0 when there was nothing to give back.
    HRESULT Release()
    {
        if (!IsHeld())
            return S_OK;
        m_hStatus = E_ABORT;
        return m_netCfg.ReleaseLockForWrite();
    }
    // After a release.
    void TakeAgain() { m_hStatus = m_netCfg.AcquireLockForWrite(); }

  private:
    CRavNetCfgInterface& m_netCfg;
    HRESULT m_hStatus;
};
