#pragma once

#include "Suite/Lab/NetCfg/Bindings.h"
#include "Suite/Lab/NetCfg/ComObject.h"
#include "Suite/Lab/NetCfg/WriteLock.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

/// What a method needs before it may do anything.
enum class Needs
{
    Nothing,
    Initialized,
    WriteLock // and initialised
};

/// Changes of one client that wait for Apply.
class CPendingChanges
{
  public:
    void SetText(const std::wstring& keyPath, const std::wstring& name, const std::wstring& text);
    std::optional<std::wstring> Text(const std::wstring& keyPath, const std::wstring& name) const;

    void SetBinding(const std::wstring& service, const std::wstring& device, BindingState state);
    std::optional<BindingState> Binding(const std::wstring& service, const std::wstring& device) const;
    const LAB_BINDING_CHANGES& Bindings(const std::wstring& service) const;

    /// Drops what concerns a removed device.
    void Forget(const std::wstring& device, const std::wstring& deviceKeyPath);
    void Drop();
    /// Writes all and drops it; what a failure leaves unwritten stays pending.
    HRESULT Apply();

  private:
    std::map<std::pair<std::wstring, std::wstring>, std::wstring> m_aTexts; // key path and value name
    std::map<std::wstring, LAB_BINDING_CHANGES> m_aBindings;                // by service
};

/// What the objects that came from one INetCfg share. Methods of all of them run one at a time.
class CSession
{
  public:
    /// Runs a method's body if the session is in the state the method needs.
    template <typename Body>
    HRESULT Call(Needs needs, Body&& body)
    {
        return Guarded([&] {
            const std::lock_guard<std::recursive_mutex> guard(m_mutex);
            const HRESULT ready = Check(needs);
            if (FAILED(ready))
                return ready;
            const HRESULT result = body();
            if (needs == Needs::WriteLock)
                m_linkages.clear(); // it may have changed them
            return result;
        });
    }

    HRESULT Initialize();
    HRESULT Uninitialize();
    HRESULT AcquireWriteLock(DWORD milliseconds, const std::wstring& description);
    HRESULT ReleaseWriteLock();
    /// The client let its INetCfg go: whatever it forgot is given back.
    void Close();

    /// A service's linkage as this client has first met it, without what is pending: a client sees the configuration as
    /// it was, whatever others do to it.
    const LAB_LINKAGE& Linkage(const std::wstring& service) const;

    CPendingChanges m_pending;

  private:
    HRESULT Check(Needs needs) const;

    std::recursive_mutex m_mutex;
    CWriteLock m_writeLock;
    mutable std::map<std::wstring, LAB_LINKAGE> m_linkages;
    bool m_bInitialized = false;
};

using CSessionPtr = std::shared_ptr<CSession>;
