#pragma once

#include "Suite/Lab/NetCfg/Session.h"

#include <netcfgx.h>

/// One class of network components, with their installation.
class CNetCfgClass final : public CComObject<INetCfgClass, INetCfgClassSetup>
{
  public:
    CNetCfgClass(CSessionPtr session, const GUID& classGuid);

    HRESULT STDMETHODCALLTYPE FindComponent(LPCWSTR id, INetCfgComponent** item) override;
    HRESULT STDMETHODCALLTYPE EnumComponents(IEnumNetCfgComponent** items) override;

    HRESULT STDMETHODCALLTYPE SelectAndInstall(HWND parent, OBO_TOKEN* token, INetCfgComponent** item) override;
    HRESULT STDMETHODCALLTYPE Install(LPCWSTR id, OBO_TOKEN* token, DWORD flags, DWORD upgradeFrom, LPCWSTR answerFile,
                                      LPCWSTR answerSections, INetCfgComponent** item) override;
    HRESULT STDMETHODCALLTYPE DeInstall(INetCfgComponent* item, OBO_TOKEN* token, LPWSTR* references) override;

  private:
    CSessionPtr m_pSession;
    GUID m_guidClass;
};

/// The components of a class in the order of their keys. The class is read when the first item is asked for, and each
/// component when its turn comes; keys without an instance GUID are passed over.
HRESULT EnumerateComponents(const CSessionPtr& session, const GUID& classGuid, IEnumNetCfgComponent** items);
