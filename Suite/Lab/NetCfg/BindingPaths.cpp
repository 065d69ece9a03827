#include "Suite/Lab/NetCfg/BindingPaths.h"

#include "Suite/Lab/NetCfg/Enumerator.h"
#include "Suite/Lab/NetCfg/NetCfgComponent.h"

#include <devguid.h>

namespace
{

using CInterfaceEnumerator = CEnumerator<IEnumNetCfgBindingInterface, INetCfgBindingInterface>;
using CPathEnumerator = CEnumerator<IEnumNetCfgBindingPath, INetCfgBindingPath>;

HRESULT giveComponent(const CSessionPtr& session, const LAB_COMPONENT& component, INetCfgComponent** item)
{
    if (item == nullptr)
        return E_POINTER;
    *item = nullptr;
    return session->Call(Needs::Initialized, [&] { return MakeObject<CNetCfgComponent>(item, session, component); });
}

HRESULT giveText(const CSessionPtr& session, const std::wstring& text, LPWSTR* copy)
{
    if (copy == nullptr)
        return E_POINTER;
    *copy = nullptr;
    return session->Call(Needs::Initialized, [&] { return CopyText(text, copy); });
}

class CBindingInterface final : public CComObject<INetCfgBindingInterface>
{
  public:
    CBindingInterface(CSessionPtr session, LAB_BINDING_ENDS ends)
        : m_pSession(std::move(session)), m_ends(std::move(ends))
    {
    }

    HRESULT STDMETHODCALLTYPE GetName(LPWSTR* name) override
    {
        return giveText(m_pSession, bindingInterfaceName, name);
    }

    HRESULT STDMETHODCALLTYPE GetUpperComponent(INetCfgComponent** item) override
    {
        return giveComponent(m_pSession, m_ends.upper, item);
    }

    HRESULT STDMETHODCALLTYPE GetLowerComponent(INetCfgComponent** item) override
    {
        return giveComponent(m_pSession, m_ends.lower, item);
    }

  private:
    CSessionPtr m_pSession;
    LAB_BINDING_ENDS m_ends;
};

class CInterfaceSource final : public CItemSource<INetCfgBindingInterface>
{
  public:
    CInterfaceSource(CSessionPtr session, LAB_BINDING_ENDS ends)
        : m_pSession(std::move(session)), m_ends(std::move(ends))
    {
    }

    size_t Count() override { return 1; }

    HRESULT ItemAt(size_t, INetCfgBindingInterface** item) override
    {
        return MakeObject<CBindingInterface>(item, m_pSession, m_ends);
    }

  private:
    CSessionPtr m_pSession;
    LAB_BINDING_ENDS m_ends;
};

/// A path of one binding: a transport, service or client and an adapter below it.
class CBindingPath final : public CComObject<INetCfgBindingPath>
{
  public:
    CBindingPath(CSessionPtr session, LAB_BINDING_ENDS ends) : m_pSession(std::move(session)), m_ends(std::move(ends))
    {
    }

    HRESULT STDMETHODCALLTYPE IsSamePathAs(INetCfgBindingPath* path) override
    {
        if (path == nullptr)
            return E_POINTER;
        return m_pSession->Call(Needs::Initialized, [&] {
            LPWSTR token = nullptr;
            if (const HRESULT result = path->GetPathToken(&token); FAILED(result))
                return result;
            const bool same = Token() == token;
            CoTaskMemFree(token);
            return same ? S_OK : S_FALSE;
        });
    }

    // A path of one binding has no shorter path in it.
    HRESULT STDMETHODCALLTYPE IsSubPathOf(INetCfgBindingPath* path) override
    {
        if (path == nullptr)
            return E_POINTER;
        return m_pSession->Call(Needs::Initialized, [] { return S_FALSE; });
    }

    HRESULT STDMETHODCALLTYPE IsEnabled() override
    {
        return m_pSession->Call(Needs::Initialized, [&] {
            return BindingStateOf(*m_pSession, m_ends) == BindingState::Enabled ? S_OK : S_FALSE;
        });
    }

    HRESULT STDMETHODCALLTYPE Enable(BOOL enable) override
    {
        return m_pSession->Call(Needs::WriteLock, [&] {
            if (BindingStateOf(*m_pSession, m_ends) == BindingState::Absent)
                return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
            SetBindingState(*m_pSession, m_ends, enable != FALSE);
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetPathToken(LPWSTR* token) override
    {
        if (token == nullptr)
            return E_POINTER;
        *token = nullptr;
        return m_pSession->Call(Needs::Initialized, [&] { return CopyText(Token(), token); });
    }

    HRESULT STDMETHODCALLTYPE GetOwner(INetCfgComponent** owner) override
    {
        return giveComponent(m_pSession, m_ends.upper, owner);
    }

    HRESULT STDMETHODCALLTYPE GetDepth(ULONG* interfaces) override
    {
        if (interfaces == nullptr)
            return E_POINTER;
        *interfaces = 0;
        return m_pSession->Call(Needs::Initialized, [&] {
            *interfaces = 1;
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE EnumBindingInterfaces(IEnumNetCfgBindingInterface** interfaces) override
    {
        if (interfaces == nullptr)
            return E_POINTER;
        *interfaces = nullptr;
        return m_pSession->Call(Needs::Initialized, [&] {
            return MakeObject<CInterfaceEnumerator>(interfaces, m_pSession,
                                                    std::make_shared<CInterfaceSource>(m_pSession, m_ends));
        });
    }

  private:
    std::wstring Token() const { return ComponentId(m_ends.upper) + L"->" + m_ends.lower.GuidText(); }

    CSessionPtr m_pSession;
    LAB_BINDING_ENDS m_ends;
};

class CPathSource final : public CItemSource<INetCfgBindingPath>
{
  public:
    CPathSource(CSessionPtr session, std::vector<LAB_BINDING_ENDS> paths)
        : m_pSession(std::move(session)), m_aPaths(std::move(paths))
    {
    }

    size_t Count() override { return m_aPaths.size(); }

    HRESULT ItemAt(size_t position, INetCfgBindingPath** item) override
    {
        return MakeObject<CBindingPath>(item, m_pSession, m_aPaths[position]);
    }

  private:
    CSessionPtr m_pSession;
    std::vector<LAB_BINDING_ENDS> m_aPaths;
};

// The intermediate driver binds to what is below it, never to the miniports it exposes itself.
bool canBind(const LAB_COMPONENT& upper, const LAB_COMPONENT& lower)
{
    return !SameName(ComponentId(upper), intermediateProtocolId) || !SameName(ComponentId(lower), virtualMiniportId);
}

LAB_LINKAGE linkageOf(const CSession& session, const std::wstring& service)
{
    LAB_LINKAGE linkage = ReadLinkage(service).value_or(LAB_LINKAGE());
    linkage.Change(session.m_pending.Bindings(service));
    return linkage;
}

std::vector<LAB_BINDING_ENDS> pathsAbove(const CSession& session, const LAB_COMPONENT& adapter)
{
    std::vector<LAB_BINDING_ENDS> paths;
    const std::wstring device = DeviceName(adapter.GuidText());
    for (const GUID& classGuid : {GUID_DEVCLASS_NETTRANS, GUID_DEVCLASS_NETSERVICE, GUID_DEVCLASS_NETCLIENT})
    {
        for (LAB_COMPONENT& upper : ReadComponents(classGuid))
        {
            std::wstring service = ServiceName(upper);
            if (!service.empty() && linkageOf(session, service).State(device) != BindingState::Absent)
                paths.push_back({std::move(upper), adapter, std::move(service)});
        }
    }
    return paths;
}

std::vector<LAB_BINDING_ENDS> pathsBelow(const CSession& session, const LAB_COMPONENT& upper)
{
    const std::wstring service = ServiceName(upper);
    if (service.empty())
        return {};
    const LAB_LINKAGE linkage = linkageOf(session, service);
    std::map<std::wstring, LAB_COMPONENT> adapters;
    for (LAB_COMPONENT& adapter : ReadComponents(GUID_DEVCLASS_NET))
        adapters.emplace(DeviceName(adapter.GuidText()), std::move(adapter));
    std::vector<LAB_BINDING_ENDS> paths;
    for (const std::vector<std::wstring>* list : {&linkage.aEnabled, &linkage.aDisabled})
    {
        for (const std::wstring& device : *list)
        {
            if (const auto found = adapters.find(device); found != adapters.end())
                paths.push_back({upper, found->second, service});
        }
    }
    return paths;
}

} // namespace

std::optional<LAB_BINDING_ENDS> BindingEnds(const LAB_COMPONENT& component, INetCfgComponent* other)
{
    LAB_BINDING_ENDS ends{component, {}, {}};
    if (FAILED(IdentifyComponent(other, ends.lower)) || component.IsAdapter() == ends.lower.IsAdapter())
        return std::nullopt;
    if (ends.upper.IsAdapter())
        std::swap(ends.upper, ends.lower);
    ends.strService = ServiceName(ends.upper);
    if (ends.strService.empty() || !canBind(ends.upper, ends.lower))
        return std::nullopt;
    return ends;
}

BindingState BindingStateOf(const CSession& session, const LAB_BINDING_ENDS& ends)
{
    if (const std::optional<BindingState> pending = session.m_pending.Binding(ends.strService, ends.Device()))
        return *pending;
    return ReadLinkage(ends.strService).value_or(LAB_LINKAGE()).State(ends.Device());
}

void SetBindingState(CSession& session, const LAB_BINDING_ENDS& ends, bool enabled)
{
    session.m_pending.SetBinding(ends.strService, ends.Device(),
                                 enabled ? BindingState::Enabled : BindingState::Disabled);
}

HRESULT EnumeratePaths(const CSessionPtr& session, const LAB_COMPONENT& component, bool above,
                       IEnumNetCfgBindingPath** paths)
{
    // Nothing binds to a transport from above here, and nothing lies below an adapter.
    std::vector<LAB_BINDING_ENDS> found;
    if (above && component.IsAdapter())
        found = pathsAbove(*session, component);
    else if (!above && !component.IsAdapter())
        found = pathsBelow(*session, component);
    return MakeObject<CPathEnumerator>(paths, session, std::make_shared<CPathSource>(session, std::move(found)));
}
