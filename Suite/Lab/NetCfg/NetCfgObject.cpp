#include "Suite/Lab/NetCfg/NetCfgObject.h"

#include "Suite/Lab/NetCfg/NetCfgClass.h"
#include "Suite/Lab/NetCfg/NetCfgComponent.h"

#include <algorithm>

namespace
{

bool isNetworkClass(const GUID& classGuid)
{
    return std::ranges::count(NetworkClasses(), classGuid) != 0;
}

} // namespace

HRESULT CNetCfg::Initialize(PVOID reserved)
{
    if (reserved != nullptr)
        return E_INVALIDARG;
    return m_pSession->Call(Needs::Nothing, [&] { return m_pSession->Initialize(); });
}

HRESULT CNetCfg::Uninitialize()
{
    return m_pSession->Call(Needs::Initialized, [&] { return m_pSession->Uninitialize(); });
}

HRESULT CNetCfg::Apply()
{
    return m_pSession->Call(Needs::WriteLock, [&] { return m_pSession->m_pending.Apply(); });
}

HRESULT CNetCfg::Cancel()
{
    return m_pSession->Call(Needs::Initialized, [&] {
        m_pSession->m_pending.Drop();
        return S_OK;
    });
}

HRESULT CNetCfg::EnumComponents(const GUID* classGuid, IEnumNetCfgComponent** items)
{
    if (items != nullptr)
        *items = nullptr;
    if (classGuid == nullptr || items == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::Initialized, [&] {
        return isNetworkClass(*classGuid) ? EnumerateComponents(m_pSession, *classGuid, items) : E_INVALIDARG;
    });
}

HRESULT CNetCfg::FindComponent(LPCWSTR id, INetCfgComponent** item)
{
    if (item != nullptr)
        *item = nullptr;
    if (id == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::Initialized, [&] {
        const std::optional<LAB_COMPONENT> component = FindComponentById(NetworkClasses(), id);
        if (!component)
            return S_FALSE;
        return item == nullptr ? S_OK : MakeComponent(m_pSession, *component, item);
    });
}

HRESULT CNetCfg::QueryNetCfgClass(const GUID* classGuid, REFIID id, void** object)
{
    if (object != nullptr)
        *object = nullptr;
    if (classGuid == nullptr || object == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::Initialized, [&] {
        if (!isNetworkClass(*classGuid))
            return E_INVALIDARG;
        CNetCfgClass* made = nullptr;
        HRESULT result = MakeObject<CNetCfgClass>(&made, m_pSession, *classGuid);
        if (FAILED(result))
            return result;
        result = made->QueryInterface(id, object);
        made->Release();
        return result;
    });
}

HRESULT CNetCfg::AcquireWriteLock(DWORD milliseconds, LPCWSTR description, LPWSTR* holder)
{
    if (holder != nullptr)
        *holder = nullptr;
    if (description == nullptr)
        return E_POINTER;
    return m_pSession->Call(Needs::Nothing, [&] {
        const HRESULT result = m_pSession->AcquireWriteLock(milliseconds, description);
        if (result != S_FALSE || holder == nullptr)
            return result;
        const HRESULT copied = CopyText(CWriteLock::HolderDescription(), holder);
        return FAILED(copied) ? copied : result;
    });
}

HRESULT CNetCfg::ReleaseWriteLock()
{
    return m_pSession->Call(Needs::Nothing, [&] { return m_pSession->ReleaseWriteLock(); });
}

HRESULT CNetCfg::IsWriteLocked(LPWSTR* holder)
{
    if (holder != nullptr)
        *holder = nullptr;
    return m_pSession->Call(Needs::Nothing, [&] {
        if (!CWriteLock::IsHeldBySomebody())
            return S_FALSE;
        return holder == nullptr ? S_OK : CopyText(CWriteLock::HolderDescription(), holder);
    });
}
