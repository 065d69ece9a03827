#include "Suite/Lab/NetCfg/NetComponents.h"

#include <initguid.h>
#include <devguid.h>

#include <algorithm>

bool LAB_COMPONENT::IsAdapter() const
{
    return guidClass == GUID_DEVCLASS_NET;
}

std::wstring LAB_COMPONENT::GuidText() const
{
    return ::GuidText(guidInstance);
}

std::wstring GuidText(const GUID& guid)
{
    wchar_t text[39] = {};
    StringFromGUID2(guid, text, ARRAYSIZE(text));
    return text;
}

std::span<const GUID> NetworkClasses()
{
    static const GUID classes[] = {GUID_DEVCLASS_NET, GUID_DEVCLASS_NETTRANS, GUID_DEVCLASS_NETSERVICE,
                                   GUID_DEVCLASS_NETCLIENT};
    return classes;
}

std::span<const GUID> UpperClasses()
{
    return NetworkClasses().subspan(1);
}

namespace
{

std::wstring classPath(const GUID& classGuid)
{
    if (classGuid == GUID_DEVCLASS_NET)
        return CLASS_KEY;
    return std::wstring(NETWORK_KEY) + L'\\' + GuidText(classGuid);
}

bool isInstanceNumber(const std::wstring& name)
{
    return name.size() == 4 && std::all_of(name.begin(), name.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

// Three parts, none of them empty: enumerator, device and instance.
bool isDeviceId(const std::wstring& id)
{
    return std::count(id.begin(), id.end(), L'\\') == 2 && id.front() != L'\\' && id.back() != L'\\' &&
           id.find(L"\\\\") == std::wstring::npos;
}

} // namespace

LSTATUS ReadComponentNames(const GUID& classGuid, std::vector<std::wstring>& names)
{
    CRegistryKey key;
    names.clear();
    if (const LSTATUS status = key.Open(classPath(classGuid)); status != ERROR_SUCCESS)
        return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    names = key.Subkeys();
    if (classGuid == GUID_DEVCLASS_NET)
        std::erase_if(names, [](const std::wstring& name) { return !isInstanceNumber(name); });
    std::sort(names.begin(), names.end());
    return ERROR_SUCCESS;
}

LSTATUS ReadComponent(const GUID& classGuid, const std::wstring& name, LAB_COMPONENT& component)
{
    component = {classGuid, {}, classPath(classGuid) + L'\\' + name};
    std::wstring guid = name;
    LSTATUS status = ERROR_SUCCESS;
    if (component.IsAdapter())
        status = ReadTextAt(component.strKeyPath, L"NetCfgInstanceId", guid);
    if (status != ERROR_SUCCESS && status != ERROR_UNSUPPORTED_TYPE && status != ERROR_MORE_DATA)
        return status;
    const bool known = SUCCEEDED(IIDFromString(guid.c_str(), &component.guidInstance));
    return known ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

std::vector<LAB_COMPONENT> ReadComponents(const GUID& classGuid)
{
    std::vector<LAB_COMPONENT> components;
    std::vector<std::wstring> names;
    ReadComponentNames(classGuid, names);
    for (const std::wstring& name : names)
    {
        LAB_COMPONENT component{};
        if (ReadComponent(classGuid, name, component) == ERROR_SUCCESS)
            components.push_back(std::move(component));
    }
    return components;
}

std::vector<LAB_UPPER_COMPONENT> ReadUpperComponents(std::span<const GUID> classes)
{
    std::vector<LAB_UPPER_COMPONENT> components;
    for (const GUID& classGuid : classes)
    {
        for (LAB_COMPONENT& component : ReadComponents(classGuid))
        {
            if (std::wstring service = ServiceName(component); !service.empty())
                components.push_back({std::move(component), std::move(service)});
        }
    }
    return components;
}

std::optional<LAB_COMPONENT> FindComponentById(std::span<const GUID> classes, const std::wstring& id)
{
    for (const GUID& classGuid : classes)
    {
        std::vector<std::wstring> names;
        ReadComponentNames(classGuid, names);
        for (const std::wstring& name : names)
        {
            LAB_COMPONENT component{};
            if (ReadComponent(classGuid, name, component) == ERROR_SUCCESS && SameName(ComponentId(component), id))
                return component;
        }
    }
    return std::nullopt;
}

std::wstring ComponentId(const LAB_COMPONENT& component)
{
    CRegistryKey key;
    if (component.Open(key) != ERROR_SUCCESS)
        return {};
    return key.Text(L"ComponentId").value_or(std::wstring());
}

std::wstring ServiceName(const LAB_COMPONENT& component)
{
    CRegistryKey key;
    if (component.IsAdapter() || key.Open(component.strKeyPath + L"\\Ndi") != ERROR_SUCCESS)
        return {};
    return key.Text(L"Service").value_or(std::wstring());
}

std::wstring DeviceKeyPath(const LAB_COMPONENT& adapter)
{
    CRegistryKey key;
    if (adapter.Open(key) != ERROR_SUCCESS)
        return {};
    const std::optional<std::wstring> device = key.Text(L"DeviceInstanceID");
    if (!device || !isDeviceId(*device))
        return {};
    return std::wstring(ENUM_KEY) + L'\\' + *device;
}
