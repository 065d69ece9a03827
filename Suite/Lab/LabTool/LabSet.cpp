#include "Suite/Lab/LabTool/HostBreaker.h"
#include "Suite/Lab/LabTool/LabCommands.h"
#include "Suite/Lab/LabTool/SuiteCall.h"

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
constexpr DWORD PROBLEM_NOT_LOADED = 10; // CM_PROB_FAILED_START

using Setter = std::function<bool(const CRavString& guid, const std::string& value)>;
using Switch = std::function<bool(const CRavString& guid, bool on)>;

Switch Flag(const wchar_t* name)
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

bool SetAddress(const CRavString& guid, const std::string& value)
{
    const CRavString path = LabPath(TCPIP_INTERFACES_KEY, guid);
    return LabNumber(path, NetworkValue::EnableDhcp, 0) != 0
               ? LabSetText(path, NetworkValue::DhcpIpAddress, FromUtf8(value))
               : LabSetList(path, NetworkValue::IpAddress, {FromUtf8(value)});
}

bool SetLocalMac(const CRavString& guid, const std::string& value)
{
    return LabSetText(LabInstancePath(guid), NetworkValue::NetworkAddress, FromUtf8(value));
}

bool SetJumbo(const CRavString& guid, const std::string& value)
{
    size_t end = 0;
    int size = 0;
    try
    {
        size = std::stoi(value, &end);
    }
    catch (const std::exception&)
    {
        end = 0;
    }
    if (end != value.size())
        throw LabError("\"" + value + "\" is no size in bytes");
    SetJumboSize(guid, size);
    return true;
}

bool SetSupportsVlans(const CRavString& guid, bool on)
{
    return LabSetNumber(LabPath(LAB_TEAMS, guid), L"SupportsVlans", on);
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
Setter OnOff(const Switch& set)
{
    return [set](const CRavString& guid, const std::string& value) { return set(guid, ParseFlag(value)); };
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
        {"driverLoaded", ADAPTER | VLAN, OnOff(SetLoaded)},
        {"hyperV", ADAPTER | VLAN, OnOff(SetBinding)},
        {"rebootNeeded", ADAPTER | VLAN, OnOff(SetRebootNeeded)},
        {"vmq", ADAPTER, OnOff(SetVmq)},
        {"corvo", ADAPTER, OnOff(Flag(L"Corvo"))},
        {"vlansOnPort", ADAPTER, OnOff(Flag(L"VlansOnPort"))},
        {"virtualDevice", ADAPTER, OnOff(Flag(L"VirtualDevice"))},
        {"driverSupportsVlans", ADAPTER, OnOff(Flag(L"Vorn"))},
        {"xmsRule", ADAPTER, OnOff(Flag(L"XmsRule"))},
        {"dhcp", ADAPTER, OnOff(SetDhcp)},
        {"supportsVlans", TEAM, OnOff(SetSupportsVlans)},
        {"address", ADAPTER | VLAN, SetAddress},
        {"localMac", ADAPTER, SetLocalMac},
        {"jumbo", ADAPTER, SetJumbo},
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

Target FindTarget(const std::string& name, unsigned kinds = ADAPTER | TEAM | VLAN,
                  const char* what = "adapter, team or VLAN")
{
    const CRavString wide = FromUtf8(name);
    std::vector<Target> found;
    for (const Target& target : Targets())
    {
        if ((target.kind & kinds) != 0 &&
            (IsNamed(target.guid, wide) ||
             (target.kind == TEAM && LabText(LabPath(LAB_TEAMS, target.guid), L"Name").CompareI(wide))))
            found.push_back(target);
    }
    if (found.empty())
        throw LabError(std::string("there is no ") + what + " called \"" + name + "\"");
    if (found.size() == 1)
        return found.front();
    std::string candidates;
    for (const Target& target : found)
        candidates += "\n  " + ToUtf8(target.guid) + "  " + ToUtf8(LabDisplayName(target.guid));
    throw LabError("\"" + name + "\" is the name of several; use a key:" + candidates);
}

} // namespace

void RequireLab()
{
    if (!LabHasKey(LAB_KEY))
        throw LabError("the lab is not up; 'lab up HOST.json' builds a host");
}

CRavString FindAdapter(const std::string& name)
{
    return FindTarget(name, ADAPTER, "adapter").guid;
}

CRavString FindTeam(const std::string& name)
{
    return FindTarget(name, TEAM, "team").guid;
}

void RunRestart()
{
    RequireLab();
    CRavRegKey suite;
    LabSetNumber(LAB_KEY, LAB_REBOOT_REQUESTED, 0);
    if (suite.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, true))
        suite.DeleteSubKey(RESTART_NEEDED_NAME);
}

void RunBreak(const std::string& what, const std::string& name)
{
    RequireLab();
    if (!BreakHost(what, FindTarget(name).guid))
        throw LabError("the registry could not be written");
}

void RunSet(const std::string& name, const std::string& property, const std::string& value)
{
    RequireLab();
    const Target target = FindTarget(name);
    std::string possible;
    for (const Property& candidate : Properties())
    {
        if ((candidate.kinds & target.kind) == 0)
            continue;
        if (property == candidate.name)
        {
            if (!candidate.set(target.guid, value))
                throw LabError("the registry could not be written");
            return;
        }
        possible += std::string(possible.empty() ? "" : ", ") + candidate.name;
    }
    throw LabError("there is no property \"" + property + "\"; there are: " + possible);
}
