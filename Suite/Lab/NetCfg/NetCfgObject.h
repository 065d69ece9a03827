#pragma once

#include "Suite/Lab/NetCfg/Session.h"

#include <netcfgx.h>

/// The network configuration as one client sees it, and the client's way to the write lock.
class CNetCfg final : public CComObject<INetCfg, INetCfgLock>
{
  public:
    CNetCfg() = default;

    HRESULT STDMETHODCALLTYPE Initialize(PVOID reserved) override;
    HRESULT STDMETHODCALLTYPE Uninitialize() override;
    HRESULT STDMETHODCALLTYPE Apply() override;
    HRESULT STDMETHODCALLTYPE Cancel() override;
    HRESULT STDMETHODCALLTYPE EnumComponents(const GUID* classGuid, IEnumNetCfgComponent** items) override;
    HRESULT STDMETHODCALLTYPE FindComponent(LPCWSTR id, INetCfgComponent** item) override;
    HRESULT STDMETHODCALLTYPE QueryNetCfgClass(const GUID* classGuid, REFIID id, void** object) override;

    HRESULT STDMETHODCALLTYPE AcquireWriteLock(DWORD milliseconds, LPCWSTR description, LPWSTR* holder) override;
    HRESULT STDMETHODCALLTYPE ReleaseWriteLock() override;
    HRESULT STDMETHODCALLTYPE IsWriteLocked(LPWSTR* holder) override;

  private:
    // Components that outlive this object share the session, which is closed then.
    ~CNetCfg() override { m_pSession->Close(); }

    CSessionPtr m_pSession = std::make_shared<CSession>();
};
