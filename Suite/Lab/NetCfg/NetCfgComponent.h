#pragma once

#include "Suite/Lab/NetCfg/ComponentBindings.h"

#include <netcfgx.h>

#include <optional>

/// One network component. It knows its identity alone: a component whose key is gone answers with an error.
class CNetCfgComponent final : public CComObject<INetCfgComponent, INetCfgComponentBindings>
{
  public:
    CNetCfgComponent(CSessionPtr session, LAB_COMPONENT component);

    /// Also answers to an interface id of the server's own, see IdentifyComponent.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;

    const LAB_COMPONENT& Component() const { return m_component; }

    HRESULT STDMETHODCALLTYPE GetDisplayName(LPWSTR* name) override;
    HRESULT STDMETHODCALLTYPE SetDisplayName(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetHelpText(LPWSTR* text) override;
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override;
    HRESULT STDMETHODCALLTYPE GetCharacteristics(LPDWORD characteristics) override;
    HRESULT STDMETHODCALLTYPE GetInstanceGuid(GUID* guid) override;
    HRESULT STDMETHODCALLTYPE GetPnpDevNodeId(LPWSTR* id) override;
    HRESULT STDMETHODCALLTYPE GetClassGuid(GUID* guid) override;
    HRESULT STDMETHODCALLTYPE GetBindName(LPWSTR* name) override;
    HRESULT STDMETHODCALLTYPE GetDeviceStatus(ULONG* status) override;
    HRESULT STDMETHODCALLTYPE OpenParamKey(HKEY* key) override;
    HRESULT STDMETHODCALLTYPE RaisePropertyUi(HWND parent, DWORD flags, IUnknown* context) override;

    HRESULT STDMETHODCALLTYPE BindTo(INetCfgComponent* other) override;
    HRESULT STDMETHODCALLTYPE UnbindFrom(INetCfgComponent* other) override;
    HRESULT STDMETHODCALLTYPE SupportsBindingInterface(DWORD flags, LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE IsBoundTo(INetCfgComponent* other) override;
    HRESULT STDMETHODCALLTYPE IsBindableTo(INetCfgComponent* other) override;
    HRESULT STDMETHODCALLTYPE EnumBindingPaths(DWORD flags, IEnumNetCfgBindingPath** paths) override;
    HRESULT STDMETHODCALLTYPE MoveBefore(INetCfgBindingPath* source, INetCfgBindingPath* destination) override;
    HRESULT STDMETHODCALLTYPE MoveAfter(INetCfgBindingPath* source, INetCfgBindingPath* destination) override;

  private:
    struct PLACE
    {
        std::wstring strKeyPath;
        const wchar_t* pName;
    };
    PLACE DisplayNamePlace() const;
    HRESULT GiveText(const wchar_t* name, LPWSTR* text);
    std::optional<LAB_BINDING_ENDS> EndsWith(INetCfgComponent* other) const;
    HRESULT SetBound(INetCfgComponent* other, bool bound);

    CSessionPtr m_pSession;
    LAB_COMPONENT m_component;
};

/// What a component object passed in by a client stands for. E_INVALIDARG when it is not one of this server's,
/// NETCFG_E_ADAPTER_NOT_FOUND when the component is gone, or its key is another component's by now.
HRESULT IdentifyComponent(INetCfgComponent* item, LAB_COMPONENT& component);

/// The object of a component for a client.
HRESULT MakeComponent(const CSessionPtr& session, const LAB_COMPONENT& component, INetCfgComponent** item);
