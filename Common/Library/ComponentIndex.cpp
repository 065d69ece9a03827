#include "Common/Library/ComponentIndex.h"

#include "Common/Library/NetCfgClasses.h"

#include <algorithm>
#include <cwctype>

using Microsoft::WRL::ComPtr;

namespace
{
std::wstring KeyOf(const CRavString& guid)
{
    std::wstring key(guid.c_str());
    std::transform(key.begin(), key.end(), key.begin(), [](wchar_t character) { return std::towupper(character); });
    return key;
}
} // namespace

HRESULT CRavComponentIndex::Find(INetCfg& netCfg, const CRavString& guid, ComPtr<INetCfgComponent>& component)
{
    const std::wstring key = KeyOf(guid);
    HRESULT status = S_OK;
    auto found = m_components.find(key);
    while (found == m_components.end() && status == S_OK)
    {
        status = Advance(netCfg);
        found = m_components.find(key);
    }
    if (FAILED(status))
        return status;
    if (found == m_components.end())
        component.Reset();
    else
        component = found->second;
    return component ? S_OK : S_FALSE;
}

HRESULT CRavComponentIndex::List(INetCfg& netCfg, std::vector<CRavString>& guids)
{
    const HRESULT started = Start(netCfg);
    if (started != S_OK)
        return FAILED(started) ? started : E_POINTER;
    while (Advance(netCfg) == S_OK)
    {
    }
    guids = m_order;
    return m_complete ? S_OK : S_FALSE;
}

// S_FALSE when the class has no enumerator to give.
HRESULT CRavComponentIndex::Start(INetCfg& netCfg)
{
    if (m_complete || m_walk)
        return S_OK;
    m_unnamed = false;
    const HRESULT status = RavStartWalk(netCfg, GUID_DEVCLASS_NET, m_walk);
    return SUCCEEDED(status) && !m_walk ? S_FALSE : status;
}

// Reads one more component: S_OK, or S_FALSE after the last one. A walk that fails is dropped, and the next question
// begins another; so it does behind a walk that has met a component without a GUID, which may tell it then.
HRESULT CRavComponentIndex::Advance(INetCfg& netCfg)
{
    HRESULT status = Start(netCfg);
    if (status != S_OK || m_complete)
        return FAILED(status) ? status : S_FALSE;
    try
    {
        ComPtr<INetCfgComponent> component;
        CRavString guid;
        ULONG fetched = 0;
        status = m_walk->Next(1, &component, &fetched);
        if (component && RavGuidOf(*component.Get(), guid))
            Take(guid, *component.Get());
        else if (component)
            m_unnamed = true;
    }
    catch (...)
    {
        Clear(); // or what was passed over would never be seen again
        throw;
    }
    m_complete = status == S_FALSE && !m_unnamed;
    if (status != S_OK)
        m_walk.Reset();
    return SUCCEEDED(status) && status != S_OK ? S_FALSE : status;
}

void CRavComponentIndex::Take(const CRavString& guid, INetCfgComponent& component)
{
    if (m_components.emplace(KeyOf(guid), &component).second)
        m_order.push_back(guid);
}

// An unfinished walk is dropped, and begun anew by the next question: an enumerator that is open need not show the
// change.
void CRavComponentIndex::Add(const CRavString& guid, INetCfgComponent& component)
{
    m_walk.Reset();
    try
    {
        Take(guid, component);
    }
    catch (...)
    {
        Clear();
        throw;
    }
}

void CRavComponentIndex::Remove(const CRavString& guid)
{
    m_walk.Reset();
    m_components.erase(KeyOf(guid));
    std::erase_if(m_order, [&](const CRavString& other) { return other.CompareI(guid); });
}

void CRavComponentIndex::Clear()
{
    m_walk.Reset();
    m_complete = false;
    m_order.clear();
    m_components.clear();
}
