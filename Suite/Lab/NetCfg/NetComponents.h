#pragma once

#include "Suite/Lab/NetCfg/RegistryKey.h"
#include "Suite/Lab/State/LabNames.h"

#include <windows.h>
#include <objbase.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

inline constexpr wchar_t virtualMiniportId[] = L"oxmsmp";
inline constexpr wchar_t intermediateProtocolId[] = L"oxmsprotocol";

/// What identifies one network component. Everything else is read from its key when it is asked for.
struct LAB_COMPONENT
{
    GUID guidClass;
    GUID guidInstance;
    std::wstring strKeyPath;

    bool IsAdapter() const;
    std::wstring GuidText() const;
    /// Win32 error when the key is gone.
    LSTATUS Open(CRegistryKey& key, REGSAM access = KEY_READ) const { return key.Open(strKeyPath, access); }
};

/// The classes whose components are kept here: adapters, and those that bind to them (transports, services, clients).
std::span<const GUID> NetworkClasses();
std::span<const GUID> UpperClasses();

std::wstring GuidText(const GUID& guid);

/// The key names below a class, in order; the components themselves are read one by one.
std::vector<std::wstring> ComponentNames(const GUID& classGuid);

/// One component of a class by its key name; nothing when the key is gone or holds no instance GUID.
std::optional<LAB_COMPONENT> ReadComponent(const GUID& classGuid, const std::wstring& name);

std::vector<LAB_COMPONENT> ReadComponents(const GUID& classGuid);

/// All that binds to adapters and runs as a service, class by class.
struct LAB_UPPER_COMPONENT
{
    LAB_COMPONENT component;
    std::wstring strService;
};
std::vector<LAB_UPPER_COMPONENT> ReadUpperComponents(std::span<const GUID> classes = UpperClasses());

/// The first component of the classes with a component id.
std::optional<LAB_COMPONENT> FindComponentById(std::span<const GUID> classes, const std::wstring& id);

/// The component id, empty when there is none.
std::wstring ComponentId(const LAB_COMPONENT& component);

/// The service a transport, service or client runs as, empty when there is none.
std::wstring ServiceName(const LAB_COMPONENT& component);

/// The key of an adapter's device below Enum, empty when the adapter names none.
std::wstring DeviceKeyPath(const LAB_COMPONENT& adapter);
