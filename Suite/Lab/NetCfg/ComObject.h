#pragma once

#include <windows.h>
#include <objbase.h>

#include <atomic>
#include <new>
#include <string>
#include <tuple>
#include <utility>

/// Counts what keeps the server in memory: its living objects and the locks clients hold on it.
class CServerUse
{
  public:
    static void Add() { s_iCount.fetch_add(1); }
    static void Remove() { s_iCount.fetch_sub(1); }
    static bool IsAny() { return s_iCount.load() != 0; }

  private:
    static inline std::atomic<long> s_iCount{0};
};

/// A reference-counted object with one or more COM interfaces. It starts with one reference, its maker's.
template <typename... Interfaces>
class CComObject : public Interfaces...
{
  public:
    CComObject() { CServerUse::Add(); }
    CComObject(const CComObject&) = delete;
    CComObject& operator=(const CComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (id == __uuidof(IUnknown))
            *object = static_cast<std::tuple_element_t<0, std::tuple<Interfaces...>>*>(this);
        else
            ((id == __uuidof(Interfaces) ? void(*object = static_cast<Interfaces*>(this)) : void()), ...);
        if (*object == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return m_iReferences.fetch_add(1) + 1; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = m_iReferences.fetch_sub(1) - 1;
        if (left == 0)
            delete this;
        return left;
    }

  protected:
    virtual ~CComObject() { CServerUse::Remove(); }

  private:
    std::atomic<ULONG> m_iReferences{1};
};

/// Makes an object and hands its only reference to the caller.
template <typename Object, typename Interface, typename... Arguments>
HRESULT MakeObject(Interface** object, Arguments&&... arguments)
{
    *object = new (std::nothrow) Object(std::forward<Arguments>(arguments)...);
    return *object == nullptr ? E_OUTOFMEMORY : S_OK;
}

/// Runs the body of a COM method; no exception leaves the server.
template <typename Body>
HRESULT Guarded(Body&& body) noexcept
{
    try
    {
        return body();
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
    catch (...)
    {
        return E_UNEXPECTED;
    }
}

/// Copies a text for the client, who frees it by CoTaskMemFree.
inline HRESULT CopyText(const std::wstring& text, LPWSTR* copy)
{
    const size_t size = (text.size() + 1) * sizeof(wchar_t);
    *copy = static_cast<LPWSTR>(CoTaskMemAlloc(size));
    if (*copy == nullptr)
        return E_OUTOFMEMORY;
    CopyMemory(*copy, text.c_str(), size);
    return S_OK;
}
