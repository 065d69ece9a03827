#include "Suite/Lab/LabTool/LabCommands.h"

#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <functional>
#include <vector>

namespace
{
constexpr DWORD PROBLEM_NOT_LOADED = 31;

using Setter = std::function<bool(const CRavString& guid, bool on)>;

Setter Flag(const wchar_t* name)
{
    return [name](const CRavString& guid, bool on) { return LabSetNumber(LabPath(LAB_ADAPTERS, guid), name, on); };
}

bool SetBinding(const CRavString& guid, bool on)
{
    CRavRegKey key;
    const CRavString device = CRavString(DEVICE_PREFIX) + guid;
    return key.Create(HKEY_LOCAL_MACHINE, LabPath(SERVICES_KEY, L"VMSP") + L"\\Linkage", true, false) &&
           (on ? key.AddValueToMultiString(L"Bind", device) : key.RemoveValueFromMultiString(L"Bind", device));
}

bool SetVmq(const CRavString& guid, bool on)
{
    if (LabNumber(LabPath(LAB_ADAPTERS, guid), L"Vmq", 0) == 0)
        throw LabError("this adapter has no virtual machine queues");
    return LabSetText(LabInstancePath(guid), VMQ, on ? L"1" : L"0");
}

bool SetLoaded(const CRavString& guid, bool on)
{
    return LabSetNumber(LabPath(LAB_DEVICES, guid), L"Problem", on ? 0 : PROBLEM_NOT_LOADED);
}

bool SetRebootNeeded(const CRavString& guid, bool on)
{
    return LabSetNumber(LabPath(LAB_DEVICES, guid), LAB_REBOOT_NEEDED, on);
}

bool SetDhcp(const CRavString& guid, bool on)
{
    return LabSetNumber(LabPath(TCPIP_INTERFACES_KEY, guid), NetworkValue::EnableDhcp, on);
}

bool SetSupportsVlans(const CRavString& guid, bool on)
{
    return LabSetNumber(LabPath(LAB_TEAMS, guid), L"SupportsVlans", on);
}

// Kinds of targets; a property may be of several.
constexpr unsigned ADAPTER = 1;
constexpr unsigned TEAM = 2;
constexpr unsigned VLAN = 4;

struct Property
{
    const char* name;
    unsigned kinds;
    Setter set;
};

const std::vector<Property>& Properties()
{
    static const std::vector<Property> properties = {
        {"driverLoaded", ADAPTER | VLAN, SetLoaded},
        {"hyperV", ADAPTER | VLAN, SetBinding},
        {"rebootNeeded", ADAPTER | VLAN, SetRebootNeeded},
        {"vmq", ADAPTER, SetVmq},
        {"corvo", ADAPTER, Flag(L"Corvo")},
        {"vlansOnPort", ADAPTER, Flag(L"VlansOnPort")},
        {"virtualDevice", ADAPTER, Flag(L"VirtualDevice")},
        {"driverSupportsVlans", ADAPTER, Flag(L"Vorn")},
        {"xmsRule", ADAPTER, Flag(L"XmsRule")},
        {"dhcp", ADAPTER, SetDhcp},
        {"supportsVlans", TEAM, SetSupportsVlans},
    };
    return properties;
}

struct Target
{
    CRavString guid;
    unsigned kind;
};

// VLANs can be bound to the Hyper-V switch, too.
std::vector<CRavString> VlanKeys()
{
    std::vector<CRavString> keys;
    CRavRegKey networkClass;
    networkClass.Open(HKEY_LOCAL_MACHINE, CLASS_KEY, false);
    CRavString instance;
    while (networkClass.IsOpened() && networkClass.EnumSubKey(instance))
    {
        const CRavString path = LabPath(CLASS_KEY, instance);
        if ((LabNumber(path, XmsValue::SupportedFeatures, 0) & FEATURE_VLAN) != 0)
            keys.push_back(LabText(path, NetworkValue::NetCfgInstanceId));
    }
    return keys;
}

bool IsNamed(const CRavString& guid, const CRavString& name)
{
    const CRavString instance = LabInstancePath(guid);
    const wchar_t* const number = wcsrchr(instance, L'\\');
    return guid.CompareI(name) || LabDisplayName(guid).CompareI(name) || (number != nullptr && name == number + 1);
}

std::vector<Target> Targets()
{
    std::vector<Target> targets;
    for (const CRavString& guid : LabList(LAB_KEY, LAB_ADAPTER_ORDER))
        targets.push_back({guid, ADAPTER});
    for (const CRavString& guid : LabList(LAB_KEY, LAB_TEAM_ORDER))
        targets.push_back({guid, TEAM});
    for (const CRavString& guid : VlanKeys())
        targets.push_back({guid, VLAN});
    return targets;
}

Target FindTarget(const std::string& name)
{
    const CRavString wide = FromUtf8(name);
    std::vector<Target> found;
    for (const Target& target : Targets())
    {
        if (IsNamed(target.guid, wide) ||
            (target.kind == TEAM && LabText(LabPath(LAB_TEAMS, target.guid), L"Name").CompareI(wide)))
            found.push_back(target);
    }
    if (found.empty())
        throw LabError("there is no adapter, team or VLAN called \"" + name + "\"");
    if (found.size() == 1)
        return found.front();
    std::string candidates;
    for (const Target& target : found)
        candidates += "\n  " + ToUtf8(target.guid) + "  " + ToUtf8(LabDisplayName(target.guid));
    throw LabError("\"" + name + "\" is the name of several; use a key:" + candidates);
}

bool ParseFlag(const std::string& value)
{
    for (const char* const yes : {"on", "yes", "true", "1"})
    {
        if (value == yes)
            return true;
    }
    for (const char* const no : {"off", "no", "false", "0"})
    {
        if (value == no)
            return false;
    }
    throw LabError("\"" + value + "\" is no value for this: say on or off");
}
} // namespace

void RunSet(const std::string& name, const std::string& property, const std::string& value)
{
    if (!LabHasKey(LAB_KEY))
        throw LabError("the lab is not up; 'lab up HOST.json' builds a host");
    const Target target = FindTarget(name);
    std::string possible;
    for (const Property& candidate : Properties())
    {
        if ((candidate.kinds & target.kind) == 0)
            continue;
        if (property == candidate.name)
        {
            if (!candidate.set(target.guid, ParseFlag(value)))
                throw LabError("the registry could not be written");
            return;
        }
        possible += std::string(possible.empty() ? "" : ", ") + candidate.name;
    }
    throw LabError("there is no property \"" + property + "\"; there are: " + possible);
}
