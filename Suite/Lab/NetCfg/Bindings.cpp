#include "Suite/Lab/NetCfg/Bindings.h"

#include "Suite/Lab/NetCfg/NetComponents.h"
#include "Suite/Lab/NetCfg/RegistryKey.h"

#include <algorithm>

namespace
{

std::wstring servicePath(const std::wstring& service)
{
    return std::wstring(SERVICES_KEY) + L'\\' + service;
}

std::wstring linkagePath(const std::wstring& service)
{
    return servicePath(service) + L"\\Linkage";
}

// A service that is not installed gets no linkage.
LSTATUS createLinkage(CRegistryKey& key, const std::wstring& service)
{
    CRegistryKey installed;
    const LSTATUS status = installed.Open(servicePath(service));
    return status == ERROR_SUCCESS ? key.Create(linkagePath(service)) : status;
}

bool holds(const std::vector<std::wstring>& list, const std::wstring& device)
{
    return std::any_of(list.begin(), list.end(), [&](const std::wstring& entry) { return SameName(entry, device); });
}

LAB_LINKAGE readLists(const CRegistryKey& key)
{
    return {key.List(L"Bind").value_or(std::vector<std::wstring>()),
            key.List(L"Disabled").value_or(std::vector<std::wstring>())};
}

LSTATUS writeEnabled(CRegistryKey& key, const LAB_LINKAGE& before, const LAB_LINKAGE& after)
{
    return after.aEnabled == before.aEnabled ? ERROR_SUCCESS : key.SetList(L"Bind", after.aEnabled);
}

LSTATUS writeDisabled(CRegistryKey& key, const LAB_LINKAGE& before, const LAB_LINKAGE& after)
{
    return after.aDisabled == before.aDisabled ? ERROR_SUCCESS : key.SetList(L"Disabled", after.aDisabled);
}

} // namespace

BindingState LAB_LINKAGE::State(const std::wstring& device) const
{
    if (holds(aEnabled, device))
        return BindingState::Enabled;
    return holds(aDisabled, device) ? BindingState::Disabled : BindingState::Absent;
}

void LAB_LINKAGE::Set(const std::wstring& device, BindingState state)
{
    if (State(device) == state)
        return;
    for (std::vector<std::wstring>* list : {&aEnabled, &aDisabled})
        std::erase_if(*list, [&](const std::wstring& entry) { return SameName(entry, device); });
    if (state == BindingState::Enabled)
        aEnabled.push_back(device);
    else if (state == BindingState::Disabled)
        aDisabled.push_back(device);
}

void LAB_LINKAGE::Change(const LAB_BINDING_CHANGES& changes)
{
    for (const auto& [device, state] : changes)
        Set(device, state);
}

std::wstring DeviceName(const std::wstring& guidText)
{
    return L"\\Device\\" + guidText;
}

std::optional<LAB_LINKAGE> ReadLinkage(const std::wstring& service)
{
    CRegistryKey key;
    if (key.Open(linkagePath(service)) != ERROR_SUCCESS)
        return std::nullopt;
    return readLists(key);
}

LSTATUS ChangeBindings(const std::wstring& service, const LAB_BINDING_CHANGES& changes)
{
    CRegistryKey key;
    LSTATUS status = createLinkage(key, service);
    if (status != ERROR_SUCCESS)
        return status;
    const LAB_LINKAGE before = readLists(key);
    LAB_LINKAGE after = before;
    after.Change(changes);
    // A list that grows comes first: between the two writes a binding is in both, never in none.
    LSTATUS (*const steps[])(CRegistryKey&, const LAB_LINKAGE&, const LAB_LINKAGE&) = {writeEnabled, writeDisabled};
    const bool disabledFirst = after.aDisabled.size() > before.aDisabled.size();
    for (const bool disabled : {disabledFirst, !disabledFirst})
        if (status == ERROR_SUCCESS)
            status = steps[disabled](key, before, after);
    return status;
}

void FinishBindingChange(const std::wstring& service)
{
    CRegistryKey key;
    if (key.Open(linkagePath(service), KEY_ALL_ACCESS) != ERROR_SUCCESS)
        return;
    const LAB_LINKAGE before = readLists(key);
    LAB_LINKAGE after = before;
    std::erase_if(after.aDisabled, [&](const std::wstring& device) { return holds(after.aEnabled, device); });
    writeDisabled(key, before, after);
}
