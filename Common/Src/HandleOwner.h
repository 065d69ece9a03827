#pragma once

#include <utility>

// Owns a handle of the system and closes it with Closer::Close, which takes null, too. Moves, and is never copied; null
// while it holds none.
template <typename Handle, typename Closer>
class CRavHandleOwner
{
  public:
    CRavHandleOwner() = default;
    explicit CRavHandleOwner(Handle handle) : m_handle(handle) {}
    CRavHandleOwner(CRavHandleOwner&& other) noexcept : m_handle(other.Release()) {}
    CRavHandleOwner& operator=(CRavHandleOwner&& other) noexcept
    {
        const Handle handle = other.Release(); // before the close: the other may be this one
        Close();
        m_handle = handle;
        return *this;
    }
    ~CRavHandleOwner() { Close(); }

    Handle Get() const { return m_handle; }
    explicit operator bool() const { return m_handle != nullptr; }
    // Where a platform call is to put the handle that it opens. What was held is closed first.
    Handle* Receive()
    {
        Close();
        return &m_handle;
    }
    // The handle, which is the caller's from here on.
    Handle Release() { return std::exchange(m_handle, nullptr); }
    // What closing it gave.
    auto Close() { return Closer::Close(Release()); }

  private:
    Handle m_handle = nullptr;
};
