#include "Suite/Lab/NetCfg/NetCfgClass.h"

#include "Suite/Lab/NetCfg/Enumerator.h"
#include "Suite/Lab/NetCfg/NetCfgComponent.h"
#include "Suite/Lab/NetCfg/VirtualMiniport.h"

namespace
{

class CComponentSource final : public CItemSource<INetCfgComponent>
{
  public:
    CComponentSource(CSessionPtr session, const GUID& classGuid)
        : m_pSession(std::move(session)), m_guidClass(classGuid)
    {
    }

    HRESULT Count(size_t& count) override
    {
        if (!m_aNames)
        {
            std::vector<std::wstring> names;
            if (const LSTATUS status = ReadComponentNames(m_guidClass, names); status != ERROR_SUCCESS)
                return HRESULT_FROM_WIN32(status);
            m_aNames = std::move(names);
        }
        count = m_aNames->size();
        return S_OK;
    }

    HRESULT ItemAt(size_t position, INetCfgComponent** item) override
    {
        LAB_COMPONENT component{};
        const LSTATUS status = ReadComponent(m_guidClass, (*m_aNames)[position], component);
        if (status == ERROR_FILE_NOT_FOUND)
            return S_FALSE;
        return status == ERROR_SUCCESS ? MakeComponent(m_pSession, component, item) : HRESULT_FROM_WIN32(status);
    }

  private:
    CSessionPtr m_pSession;
    GUID m_guidClass;
    std::optional<std::vector<std::wstring>> m_aNames;
};

// On whose behalf something is installed; no token means the user's.
bool isValidToken(const OBO_TOKEN* token)
{
    if (token == nullptr)
        return true;
    switch (token->Type)
    {
    case OBO_USER:
        return true;
    case OBO_COMPONENT:
        return token->pncc != nullptr;
    case OBO_SOFTWARE:
        return token->pszwManufacturer != nullptr && token->pszwProduct != nullptr && token->pszwDisplayName != nullptr;
    }
    return false;
}

// Whether what is done to the device takes effect with the next start of the system only.
bool waitsForRestart(const LAB_COMPONENT& component)
{
    CRegistryKey key;
    return key.Open(std::wstring(LAB_DEVICES) + L'\\' + component.GuidText()) == ERROR_SUCCESS &&
           key.Number(LAB_REBOOT_NEEDED).value_or(0) != 0;
}

} // namespace

HRESULT EnumerateComponents(const CSessionPtr& session, const GUID& classGuid, IEnumNetCfgComponent** items)
{
    using CComponentEnumerator = CEnumerator<IEnumNetCfgComponent, INetCfgComponent>;
    return MakeObject<CComponentEnumerator>(items, session, std::make_shared<CComponentSource>(session, classGuid));
}

CNetCfgClass::CNetCfgClass(CSessionPtr session, const GUID& classGuid)
    : m_pSession(std::move(session)), m_guidClass(classGuid)
{
}

HRESULT CNetCfgClass::FindComponent(LPCWSTR id, INetCfgComponent** item)
{
    if (item != nullptr)
        *item = nullptr;
    if (id == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::Initialized, [&] {
        const std::optional<LAB_COMPONENT> component = FindComponentById({&m_guidClass, 1}, id);
        if (!component)
            return S_FALSE;
        return item == nullptr ? S_OK : MakeComponent(m_pSession, *component, item);
    });
}

HRESULT CNetCfgClass::EnumComponents(IEnumNetCfgComponent** items)
{
    if (items == nullptr)
        return E_POINTER;
    *items = nullptr;
    return m_pSession->Call(Needs::Initialized, [&] { return EnumerateComponents(m_pSession, m_guidClass, items); });
}

HRESULT CNetCfgClass::SelectAndInstall(HWND, OBO_TOKEN*, INetCfgComponent** item)
{
    if (item != nullptr)
        *item = nullptr;
    return E_NOTIMPL;
}

HRESULT CNetCfgClass::Install(LPCWSTR id, OBO_TOKEN* token, DWORD, DWORD, LPCWSTR, LPCWSTR, INetCfgComponent** item)
{
    if (item != nullptr)
        *item = nullptr;
    if (id == nullptr)
        return E_POINTER;
    if (*id == L'\0' || !isValidToken(token))
        return E_INVALIDARG;
    return m_pSession->Call(Needs::WriteLock, [&] {
        if (!IsVirtualMiniport(m_guidClass, id))
            return E_NOTIMPL;
        LAB_COMPONENT installed{};
        if (const LSTATUS status = InstallVirtualMiniport(installed); status != ERROR_SUCCESS)
            return HRESULT_FROM_WIN32(status);
        if (item == nullptr)
            return S_OK;
        const HRESULT made = MakeComponent(m_pSession, installed, item);
        if (FAILED(made))
            RemoveVirtualMiniport(installed); // a failed installation leaves nothing behind
        return made;
    });
}

HRESULT CNetCfgClass::DeInstall(INetCfgComponent* item, OBO_TOKEN* token, LPWSTR* references)
{
    if (references != nullptr)
        *references = nullptr;
    if (item == nullptr)
        return E_POINTER;
    if (!isValidToken(token))
        return E_INVALIDARG;
    return m_pSession->Call(Needs::WriteLock, [&] {
        LAB_COMPONENT component{};
        if (const HRESULT result = IdentifyComponent(item, component); FAILED(result))
            return result;
        if (component.guidClass != m_guidClass)
            return E_INVALIDARG;
        if (!IsVirtualMiniport(m_guidClass, ComponentId(component)))
            return E_NOTIMPL;
        m_pSession->m_pending.Forget(DeviceName(component.GuidText()), DeviceKeyPath(component));
        const bool waits = waitsForRestart(component);
        const HRESULT result = HRESULT_FROM_WIN32(RemoveVirtualMiniport(component));
        return result == S_OK && waits ? NETCFG_S_REBOOT : result;
    });
}
