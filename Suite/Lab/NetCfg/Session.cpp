#include "Suite/Lab/NetCfg/Session.h"

#include "Suite/Lab/NetCfg/NetComponents.h"
#include "Suite/Lab/NetCfg/RegistryKey.h"
#include "Suite/Lab/NetCfg/VirtualMiniport.h"

#include <netcfgx.h>

void CPendingChanges::SetText(const std::wstring& keyPath, const std::wstring& name, const std::wstring& text)
{
    m_aTexts[{keyPath, name}] = text;
}

std::optional<std::wstring> CPendingChanges::Text(const std::wstring& keyPath, const std::wstring& name) const
{
    const auto found = m_aTexts.find({keyPath, name});
    return found == m_aTexts.end() ? std::nullopt : std::optional(found->second);
}

void CPendingChanges::SetBinding(const std::wstring& service, const std::wstring& device, BindingState state)
{
    m_aBindings[service][device] = state;
}

std::optional<BindingState> CPendingChanges::Binding(const std::wstring& service, const std::wstring& device) const
{
    const LAB_BINDING_CHANGES& changes = Bindings(service);
    const auto found = changes.find(device);
    return found == changes.end() ? std::nullopt : std::optional(found->second);
}

const LAB_BINDING_CHANGES& CPendingChanges::Bindings(const std::wstring& service) const
{
    static const LAB_BINDING_CHANGES none;
    const auto found = m_aBindings.find(service);
    return found == m_aBindings.end() ? none : found->second;
}

void CPendingChanges::Forget(const std::wstring& device, const std::wstring& deviceKeyPath)
{
    for (auto& [service, changes] : m_aBindings)
        changes.erase(device);
    std::erase_if(m_aTexts, [&](const auto& change) { return change.first.first == deviceKeyPath; });
}

void CPendingChanges::Drop()
{
    m_aTexts.clear();
    m_aBindings.clear();
}

HRESULT CPendingChanges::Apply()
{
    while (!m_aTexts.empty())
    {
        const auto& [place, text] = *m_aTexts.begin();
        CRegistryKey key;
        LSTATUS status = key.Open(place.first, KEY_SET_VALUE);
        if (status == ERROR_SUCCESS)
            status = key.SetText(place.second.c_str(), text);
        if (status != ERROR_SUCCESS)
            return HRESULT_FROM_WIN32(status);
        m_aTexts.erase(m_aTexts.begin());
    }
    while (!m_aBindings.empty())
    {
        const auto& [service, changes] = *m_aBindings.begin();
        if (const LSTATUS status = ChangeBindings(service, changes); status != ERROR_SUCCESS)
            return HRESULT_FROM_WIN32(status);
        m_aBindings.erase(m_aBindings.begin());
    }
    return S_OK;
}

HRESULT CSession::Check(Needs needs) const
{
    if (needs != Needs::Nothing && !m_bInitialized)
        return NETCFG_E_NOT_INITIALIZED;
    if (needs == Needs::WriteLock && !m_writeLock.IsHeld())
        return NETCFG_E_NO_WRITE_LOCK;
    return S_OK;
}

HRESULT CSession::Initialize()
{
    if (m_bInitialized)
        return NETCFG_E_ALREADY_INITIALIZED;
    m_bInitialized = true;
    return S_OK;
}

HRESULT CSession::Uninitialize()
{
    m_pending.Drop();
    m_linkages.clear();
    m_bInitialized = false;
    return S_OK;
}

const LAB_LINKAGE& CSession::Linkage(const std::wstring& service) const
{
    const auto [linkage, isNew] = m_linkages.try_emplace(service);
    if (isNew)
        linkage->second = ReadLinkage(service).value_or(LAB_LINKAGE());
    return linkage->second;
}

HRESULT CSession::AcquireWriteLock(DWORD milliseconds, const std::wstring& description)
{
    if (m_bInitialized)
        return NETCFG_E_ALREADY_INITIALIZED;
    if (m_writeLock.IsHeld())
        return S_OK;
    const bool hasDied = !CWriteLock::HolderDescription().empty(); // or it has the lock still
    const HRESULT result = m_writeLock.Acquire(milliseconds, description);
    if (result == S_OK)
        FinishMiniportChange();
    if (result == S_OK && hasDied)
        for (const LAB_UPPER_COMPONENT& upper : ReadUpperComponents())
            FinishBindingChange(upper.strService);
    return result;
}

HRESULT CSession::ReleaseWriteLock()
{
    if (!m_writeLock.IsHeld())
        return NETCFG_E_NO_WRITE_LOCK;
    m_writeLock.Release();
    return S_OK;
}

void CSession::Close()
{
    const std::lock_guard<std::recursive_mutex> guard(m_mutex);
    Uninitialize();
    m_writeLock.Release();
}
