#include "Bench/BarePrograms.h"

#include "Bench/BareCalls.h"
#include "Bench/BareReading.h"
#include "Suite/Lab/State/LabNames.h"
#include "Tools/vlanctl/Output.h"

#include <map>

namespace
{
constexpr ULONG PROBLEM_DISABLED = 22;

CRavCoreAgentPvtIntf& Core()
{
    const HMODULE library = LoadLibraryW(L"CoreAgent.dll");
    return *reinterpret_cast<RAV_GET_CORE_AGENT_PVT>(
        reinterpret_cast<void*>(GetProcAddress(library, RAV_GET_CORE_AGENT_PVT_NAME)))();
}

// The four digits at the end of what the device's key calls its driver.
std::string InstanceOf(INetCfgComponent& component)
{
    wchar_t* device = nullptr;
    HKEY key = nullptr;
    component.GetPnpDevNodeId(&device);
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, CRavString(ENUM_KEY) + L"\\" + device, 0, KEY_READ, &key);
    CoTaskMemFree(device);
    const std::wstring driver = TextOf(key, L"Driver");
    RegCloseKey(key);
    return ToUtf8(driver.c_str() + driver.rfind(L'\\') + 1);
}

std::string StatusOf(INetCfgComponent& component)
{
    ULONG problem = 0;
    if (FAILED(component.GetDeviceStatus(&problem)))
        return "unknown";
    return problem == 0 ? "loaded" : problem == PROBLEM_DISABLED ? "disabled" : "notLoaded";
}

std::string IdText(DWORD id)
{
    return id == 0 ? "untagged" : std::to_string(id);
}
} // namespace

void PrintBareList()
{
    CRavCoreAgentPvtIntf& core = Core();
    std::map<std::wstring, std::string> parents;
    CTable table({"ID", "NAME", "PARENT", "STATUS", "INSTANCE", "KEY"});
    BareWalk([&](INetCfgComponent& component, HKEY key, const std::wstring& guid, DWORD features) {
        if (features == 0)
            return true;
        const auto [parent, isNew] = parents.try_emplace(TextOf(key, L"RavVlanParentKey"));
        CRavString name;
        if (isNew && core.GetDisplayName(parent->first.c_str(), name).Succeeded())
            parent->second = ToUtf8(name);
        table.Add({IdText(NumberOf(key, L"VLANID")), ToUtf8(TextOf(key, L"VLANName").c_str()), parent->second,
                   StatusOf(component), InstanceOf(component), ToUtf8(guid.c_str())});
        return true;
    });
    table.Print();
}

void PrintBareParents()
{
    struct Parent
    {
        bool fits = false;
        std::string instance;
        std::string ids;
    };
    CRavCoreAgentPvtIntf& core = Core();
    std::vector<CRavString> adapters;
    std::map<std::wstring, Parent> parents;
    core.EnumerateAdapters(adapters);
    for (const CRavString& adapter : adapters)
        parents[adapter.c_str()] = {};
    TeamsOfTeamAgent();
    BareWalk([&](INetCfgComponent& component, HKEY key, const std::wstring& guid, DWORD features) {
        const auto parent = parents.find(features == 0 ? guid : TextOf(key, L"RavVlanParentKey"));
        if (parent == parents.end())
            return true;
        if (features == 0)
        {
            parent->second.fits = !IsFilteredOut(key) && IsFitForVlans(core, guid.c_str());
            parent->second.instance = InstanceOf(component);
        }
        else
            parent->second.ids += (parent->second.ids.empty() ? "" : ",") + IdText(NumberOf(key, L"VLANID"));
        return true;
    });
    CTable table({"NAME", "TYPE", "INSTANCE", "SUPPORTS VLANS", "VLAN IDS", "REASON"});
    for (const CRavString& adapter : adapters)
    {
        const Parent& parent = parents[adapter.c_str()];
        CRavString name;
        core.GetDisplayName(adapter, name);
        if (parent.fits)
            table.Add({ToUtf8(name), "adapter", parent.instance, "yes", parent.ids.empty() ? "-" : parent.ids, ""});
    }
    table.Print();
}
