#include "Suite/Lab/NetCfg/BindingPaths.h"

#include "Suite/Lab/NetCfg/Enumerator.h"

namespace
{

using CInterfaceEnumerator = CEnumerator<IEnumNetCfgBindingInterface, INetCfgBindingInterface>;
using CPathEnumerator = CEnumerator<IEnumNetCfgBindingPath, INetCfgBindingPath>;

HRESULT giveComponent(const CSessionPtr& session, ComponentMaker maker, const LAB_COMPONENT& component,
                      INetCfgComponent** item)
{
    if (item == nullptr)
        return E_POINTER;
    *item = nullptr;
    return session->Call(Needs::Initialized, [&] { return maker(session, component, item); });
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
    CBindingInterface(CSessionPtr session, ComponentMaker maker, LAB_BINDING_ENDS ends)
        : m_pSession(std::move(session)), m_pMaker(maker), m_ends(std::move(ends))
    {
    }

    HRESULT STDMETHODCALLTYPE GetName(LPWSTR* name) override
    {
        return giveText(m_pSession, bindingInterfaceName, name);
    }

    HRESULT STDMETHODCALLTYPE GetUpperComponent(INetCfgComponent** item) override
    {
        return giveComponent(m_pSession, m_pMaker, m_ends.upper, item);
    }

    HRESULT STDMETHODCALLTYPE GetLowerComponent(INetCfgComponent** item) override
    {
        return giveComponent(m_pSession, m_pMaker, m_ends.lower, item);
    }

  private:
    CSessionPtr m_pSession;
    ComponentMaker m_pMaker;
    LAB_BINDING_ENDS m_ends;
};

class CInterfaceSource final : public CItemSource<INetCfgBindingInterface>
{
  public:
    CInterfaceSource(CSessionPtr session, ComponentMaker maker, LAB_BINDING_ENDS ends)
        : m_pSession(std::move(session)), m_pMaker(maker), m_ends(std::move(ends))
    {
    }

    size_t Count() override { return 1; }

    HRESULT ItemAt(size_t, INetCfgBindingInterface** item) override
    {
        return MakeObject<CBindingInterface>(item, m_pSession, m_pMaker, m_ends);
    }

  private:
    CSessionPtr m_pSession;
    ComponentMaker m_pMaker;
    LAB_BINDING_ENDS m_ends;
};

/// A path of one binding: a transport, service or client and an adapter below it.
class CBindingPath final : public CComObject<INetCfgBindingPath>
{
  public:
    CBindingPath(CSessionPtr session, ComponentMaker maker, LAB_BINDING_ENDS ends)
        : m_pSession(std::move(session)), m_pMaker(maker), m_ends(std::move(ends))
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
        return giveComponent(m_pSession, m_pMaker, m_ends.upper, owner);
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
                                                    std::make_shared<CInterfaceSource>(m_pSession, m_pMaker, m_ends));
        });
    }

  private:
    std::wstring Token() const { return ComponentId(m_ends.upper) + L"->" + m_ends.lower.GuidText(); }

    CSessionPtr m_pSession;
    ComponentMaker m_pMaker;
    LAB_BINDING_ENDS m_ends;
};

class CPathSource final : public CItemSource<INetCfgBindingPath>
{
  public:
    CPathSource(CSessionPtr session, ComponentMaker maker, std::vector<LAB_BINDING_ENDS> bindings)
        : m_pSession(std::move(session)), m_pMaker(maker), m_aBindings(std::move(bindings))
    {
    }

    size_t Count() override { return m_aBindings.size(); }

    HRESULT ItemAt(size_t position, INetCfgBindingPath** item) override
    {
        return MakeObject<CBindingPath>(item, m_pSession, m_pMaker, m_aBindings[position]);
    }

  private:
    CSessionPtr m_pSession;
    ComponentMaker m_pMaker;
    std::vector<LAB_BINDING_ENDS> m_aBindings;
};

} // namespace

HRESULT EnumeratePaths(const CSessionPtr& session, ComponentMaker maker, std::vector<LAB_BINDING_ENDS> bindings,
                       IEnumNetCfgBindingPath** paths)
{
    return MakeObject<CPathEnumerator>(paths, session,
                                       std::make_shared<CPathSource>(session, maker, std::move(bindings)));
}
