#pragma once

#include "Suite/Lab/NetCfg/Session.h"

#include <algorithm>
#include <memory>

/// The items of an enumeration, by position. Several enumerators (clones) may share one.
template <typename Item>
class CItemSource
{
  public:
    virtual ~CItemSource() = default;
    virtual HRESULT Count(size_t& count) = 0;
    /// S_OK and the item, S_FALSE when there is none at this position and it has to be passed over, or an error.
    virtual HRESULT ItemAt(size_t position, Item** item) = 0;
};

/// A COM enumerator (Next, Skip, Reset, Clone) over a source.
template <typename Enumeration, typename Item>
class CEnumerator final : public CComObject<Enumeration>
{
  public:
    using SourcePtr = std::shared_ptr<CItemSource<Item>>;

    CEnumerator(CSessionPtr session, SourcePtr source, size_t position = 0)
        : m_pSession(std::move(session)), m_pSource(std::move(source)), m_iPosition(position)
    {
    }

    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, Item** items, ULONG* fetched) override
    {
        if (fetched != nullptr)
            *fetched = 0;
        if (items == nullptr)
            return E_POINTER;
        std::fill_n(items, wanted, nullptr);
        if (wanted == 0 || (wanted > 1 && fetched == nullptr))
            return E_INVALIDARG;
        return m_pSession->Call(Needs::Initialized, [&] {
            ULONG count = 0;
            const HRESULT result = Advance(wanted, items, count);
            if (fetched != nullptr)
                *fetched = count;
            return result;
        });
    }

    HRESULT STDMETHODCALLTYPE Skip(ULONG wanted) override
    {
        return m_pSession->Call(Needs::Initialized, [&] {
            ULONG count = 0;
            return Advance(wanted, nullptr, count);
        });
    }

    HRESULT STDMETHODCALLTYPE Reset() override
    {
        return m_pSession->Call(Needs::Initialized, [&] {
            m_iPosition = 0;
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE Clone(Enumeration** clone) override
    {
        if (clone == nullptr)
            return E_POINTER;
        *clone = nullptr;
        return m_pSession->Call(Needs::Initialized, [&] {
            return MakeObject<CEnumerator<Enumeration, Item>>(clone, m_pSession, m_pSource, m_iPosition);
        });
    }

  private:
    // Without a place for the items they are only passed over.
    HRESULT Advance(ULONG wanted, Item** items, ULONG& count)
    {
        size_t all = 0;
        if (const HRESULT counted = m_pSource->Count(all); FAILED(counted))
            return counted;
        for (; count < wanted && m_iPosition < all; ++m_iPosition)
        {
            Item* item = nullptr;
            const HRESULT result = m_pSource->ItemAt(m_iPosition, &item);
            if (FAILED(result))
            {
                while (items != nullptr && count > 0)
                    std::exchange(items[--count], nullptr)->Release();
                return result;
            }
            if (result == S_FALSE)
                continue;
            if (items != nullptr)
                items[count] = item;
            else
                item->Release();
            ++count;
        }
        return count == wanted ? S_OK : S_FALSE;
    }

    CSessionPtr m_pSession;
    SourcePtr m_pSource;
    size_t m_iPosition;
};
