#include "Suite/Lab/NetCfg/NetCfgComponent.h"

#include "Suite/Lab/NetCfg/BindingPaths.h"

namespace
{

// Nobody outside knows this id, so whoever answers to it is a CNetCfgComponent.
constexpr GUID ownComponentId = {0x6f0c9d52, 0x8a3e, 0x4b17, {0x9c, 0x41, 0x2d, 0x75, 0xe0, 0x1b, 0x6a, 0x93}};

} // namespace

HRESULT IdentifyComponent(INetCfgComponent* item, LAB_COMPONENT& component)
{
    void* object = nullptr;
    if (FAILED(item->QueryInterface(ownComponentId, &object)))
        return E_INVALIDARG;
    CNetCfgComponent* own = static_cast<CNetCfgComponent*>(object);
    component = own->Component();
    own->Release();
    const std::wstring name = component.strKeyPath.substr(component.strKeyPath.rfind(L'\\') + 1);
    const std::optional<LAB_COMPONENT> present = ReadComponent(component.guidClass, name);
    CRegistryKey key;
    if (!present || present->guidInstance != component.guidInstance || component.Open(key) != ERROR_SUCCESS)
        return NETCFG_E_ADAPTER_NOT_FOUND;
    return S_OK;
}

HRESULT MakeComponent(const CSessionPtr& session, const LAB_COMPONENT& component, INetCfgComponent** item)
{
    return MakeObject<CNetCfgComponent>(item, session, component);
}

HRESULT CNetCfgComponent::QueryInterface(REFIID id, void** object)
{
    if (object == nullptr || id != ownComponentId)
        return CComObject::QueryInterface(id, object);
    *object = this;
    AddRef();
    return S_OK;
}

CNetCfgComponent::CNetCfgComponent(CSessionPtr session, LAB_COMPONENT component)
    : m_pSession(std::move(session)), m_component(std::move(component))
{
}

// An adapter is shown under its device's friendly name, anything else under its description.
CNetCfgComponent::PLACE CNetCfgComponent::DisplayNamePlace() const
{
    if (m_component.IsAdapter())
        return {DeviceKeyPath(m_component), L"FriendlyName"};
    return {m_component.strKeyPath, L"Description"};
}

HRESULT CNetCfgComponent::GiveText(const wchar_t* name, LPWSTR* text)
{
    if (text == nullptr)
        return E_POINTER;
    *text = nullptr;
    return m_pSession->Call(Needs::Initialized, [&] {
        CRegistryKey key;
        if (const LSTATUS status = m_component.Open(key); status != ERROR_SUCCESS)
            return HRESULT_FROM_WIN32(status);
        const std::optional<std::wstring> value = key.Text(name);
        return value ? CopyText(*value, text) : HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    });
}

HRESULT CNetCfgComponent::GetDisplayName(LPWSTR* name)
{
    if (name == nullptr)
        return E_POINTER;
    *name = nullptr;
    return m_pSession->Call(Needs::Initialized, [&] {
        const PLACE place = DisplayNamePlace();
        std::optional<std::wstring> text = m_pSession->m_pending.Text(place.strKeyPath, place.pName);
        CRegistryKey key;
        if (!text && !place.strKeyPath.empty() && key.Open(place.strKeyPath) == ERROR_SUCCESS)
        {
            text = key.Text(place.pName);
            if (!text && m_component.IsAdapter())
                text = key.Text(L"DeviceDesc");
        }
        return text ? CopyText(*text, name) : GiveText(L"DriverDesc", name);
    });
}

HRESULT CNetCfgComponent::SetDisplayName(LPCWSTR name)
{
    if (name == nullptr)
        return E_POINTER;
    if (*name == L'\0')
        return E_INVALIDARG;
    return m_pSession->Call(Needs::WriteLock, [&] {
        const PLACE place = DisplayNamePlace();
        CRegistryKey key;
        if (place.strKeyPath.empty() || key.Open(place.strKeyPath) != ERROR_SUCCESS)
            return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        m_pSession->m_pending.SetText(place.strKeyPath, place.pName, name);
        return S_OK;
    });
}

HRESULT CNetCfgComponent::GetHelpText(LPWSTR* text)
{
    if (text == nullptr)
        return E_POINTER;
    *text = nullptr;
    return m_pSession->Call(Needs::Initialized, [&] {
        CRegistryKey key;
        if (const LSTATUS status = m_component.Open(key); status != ERROR_SUCCESS)
            return HRESULT_FROM_WIN32(status);
        CRegistryKey driver;
        if (driver.Open(m_component.strKeyPath + L"\\Ndi") != ERROR_SUCCESS)
            return CopyText({}, text);
        return CopyText(driver.Text(L"HelpText").value_or(std::wstring()), text);
    });
}

HRESULT CNetCfgComponent::GetId(LPWSTR* id)
{
    return GiveText(L"ComponentId", id);
}

HRESULT CNetCfgComponent::GetCharacteristics(LPDWORD characteristics)
{
    if (characteristics == nullptr)
        return E_POINTER;
    *characteristics = 0;
    return m_pSession->Call(Needs::Initialized, [&] {
        CRegistryKey key;
        if (const LSTATUS status = m_component.Open(key); status != ERROR_SUCCESS)
            return HRESULT_FROM_WIN32(status);
        *characteristics = key.Number(L"Characteristics").value_or(0);
        return S_OK;
    });
}

HRESULT CNetCfgComponent::GetInstanceGuid(GUID* guid)
{
    if (guid == nullptr)
        return E_POINTER;
    *guid = GUID_NULL;
    return m_pSession->Call(Needs::Initialized, [&] {
        *guid = m_component.guidInstance;
        return S_OK;
    });
}

HRESULT CNetCfgComponent::GetPnpDevNodeId(LPWSTR* id)
{
    if (m_component.IsAdapter())
        return GiveText(L"DeviceInstanceID", id);
    if (id == nullptr)
        return E_POINTER;
    *id = nullptr;
    return m_pSession->Call(Needs::Initialized, [] { return E_NOTIMPL; });
}

HRESULT CNetCfgComponent::GetClassGuid(GUID* guid)
{
    if (guid == nullptr)
        return E_POINTER;
    *guid = GUID_NULL;
    return m_pSession->Call(Needs::Initialized, [&] {
        *guid = m_component.guidClass;
        return S_OK;
    });
}

HRESULT CNetCfgComponent::GetBindName(LPWSTR* name)
{
    if (name == nullptr)
        return E_POINTER;
    *name = nullptr;
    return m_pSession->Call(Needs::Initialized, [&] {
        const std::wstring text = m_component.IsAdapter() ? m_component.GuidText() : ServiceName(m_component);
        return text.empty() ? HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) : CopyText(text, name);
    });
}

HRESULT CNetCfgComponent::GetDeviceStatus(ULONG* status)
{
    if (status == nullptr)
        return E_POINTER;
    *status = 0;
    return m_pSession->Call(Needs::Initialized, [&] {
        if (!m_component.IsAdapter())
            return E_NOTIMPL;
        CRegistryKey key;
        if (m_component.Open(key) != ERROR_SUCCESS)
            return NETCFG_E_ADAPTER_NOT_FOUND;
        // A device about which nothing is kept has been started.
        if (key.Open(std::wstring(LAB_DEVICES) + L'\\' + m_component.GuidText()) == ERROR_SUCCESS)
            *status = key.Number(L"Problem").value_or(0);
        return S_OK;
    });
}

HRESULT CNetCfgComponent::OpenParamKey(HKEY* key)
{
    if (key == nullptr)
        return E_POINTER;
    *key = nullptr;
    return m_pSession->Call(Needs::Initialized, [&] {
        CRegistryKey opened;
        LSTATUS status = m_component.Open(opened, KEY_ALL_ACCESS);
        if (status == ERROR_ACCESS_DENIED)
            status = m_component.Open(opened);
        *key = opened.Detach();
        return HRESULT_FROM_WIN32(status);
    });
}

HRESULT CNetCfgComponent::RaisePropertyUi(HWND, DWORD, IUnknown*)
{
    return E_NOTIMPL;
}

std::optional<LAB_BINDING_ENDS> CNetCfgComponent::EndsWith(INetCfgComponent* other) const
{
    LAB_COMPONENT component{};
    return SUCCEEDED(IdentifyComponent(other, component)) ? BindingEnds(m_component, component) : std::nullopt;
}

HRESULT CNetCfgComponent::SetBound(INetCfgComponent* other, bool bound)
{
    if (other == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::WriteLock, [&] {
        const std::optional<LAB_BINDING_ENDS> ends = EndsWith(other);
        if (!ends)
            return E_INVALIDARG;
        if (bound || BindingStateOf(*m_pSession, *ends) == BindingState::Enabled)
            SetBindingState(*m_pSession, *ends, bound);
        return S_OK;
    });
}

HRESULT CNetCfgComponent::BindTo(INetCfgComponent* other)
{
    return SetBound(other, true);
}

HRESULT CNetCfgComponent::UnbindFrom(INetCfgComponent* other)
{
    return SetBound(other, false);
}

// Every adapter here is an NDIS miniport; every transport, service and client binds down to one.
HRESULT CNetCfgComponent::SupportsBindingInterface(DWORD flags, LPCWSTR name)
{
    if (name == nullptr)
        return E_POINTER;
    if (flags != NCF_LOWER && flags != NCF_UPPER)
        return E_INVALIDARG;
    return m_pSession->Call(Needs::Initialized, [&] {
        const DWORD edge = m_component.IsAdapter() ? NCF_UPPER : NCF_LOWER;
        return flags == edge && SameName(name, bindingInterfaceName) ? S_OK : S_FALSE;
    });
}

HRESULT CNetCfgComponent::IsBoundTo(INetCfgComponent* other)
{
    if (other == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::Initialized, [&] {
        const std::optional<LAB_BINDING_ENDS> ends = EndsWith(other);
        return ends && BindingStateOf(*m_pSession, *ends) == BindingState::Enabled ? S_OK : S_FALSE;
    });
}

HRESULT CNetCfgComponent::IsBindableTo(INetCfgComponent* other)
{
    if (other == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::Initialized, [&] { return EndsWith(other) ? S_OK : S_FALSE; });
}

HRESULT CNetCfgComponent::EnumBindingPaths(DWORD flags, IEnumNetCfgBindingPath** paths)
{
    if (paths == nullptr)
        return E_POINTER;
    *paths = nullptr;
    if (flags != EBP_ABOVE && flags != EBP_BELOW)
        return E_INVALIDARG;
    return m_pSession->Call(Needs::Initialized, [&] {
        // Nothing binds to a transport from above here, and nothing lies below an adapter.
        std::vector<LAB_BINDING_ENDS> bindings;
        if (flags == EBP_ABOVE && m_component.IsAdapter())
            bindings = BindingsOver(*m_pSession, m_component);
        else if (flags == EBP_BELOW && !m_component.IsAdapter())
            bindings = BindingsOf(*m_pSession, m_component);
        return EnumeratePaths(m_pSession, MakeComponent, std::move(bindings), paths);
    });
}

HRESULT CNetCfgComponent::MoveBefore(INetCfgBindingPath*, INetCfgBindingPath*)
{
    return E_NOTIMPL;
}

HRESULT CNetCfgComponent::MoveAfter(INetCfgBindingPath*, INetCfgBindingPath*)
{
    return E_NOTIMPL;
}
