#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// The state of the binding of a service (a protocol or a filter service) to an adapter's device.
enum class BindingState
{
    Absent,
    Enabled,
    Disabled
};

/// Wanted states by device name.
using LAB_BINDING_CHANGES = std::map<std::wstring, BindingState>;

/// The devices in the service's linkage, in its order.
struct LAB_LINKAGE
{
    std::vector<std::wstring> aEnabled;
    std::vector<std::wstring> aDisabled;

    BindingState State(const std::wstring& device) const;
    void Set(const std::wstring& device, BindingState state);
    void Change(const LAB_BINDING_CHANGES& changes);
};

/// The name under which a service binds to an adapter, "\Device\{GUID}".
std::wstring DeviceName(const std::wstring& guidText);

/// Nothing when the service has no linkage.
std::optional<LAB_LINKAGE> ReadLinkage(const std::wstring& service);

/// Writes the changed lists of a service's linkage, which is made when it is missing. Result: Win32 error.
LSTATUS ChangeBindings(const std::wstring& service, const LAB_BINDING_CHANGES& changes);

/// Ends a change between whose two writes its client has died: what is in both lists is enabled.
void FinishBindingChange(const std::wstring& service);
