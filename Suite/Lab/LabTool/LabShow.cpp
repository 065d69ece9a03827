#include "Suite/Lab/LabTool/LabCommands.h"

#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>

using Json = nlohmann::ordered_json;

namespace
{
std::string Text(const CRavString& path, const wchar_t* name)
{
    return ToUtf8(LabText(path, name));
}

Json List(const CRavString& path, const wchar_t* name)
{
    Json array = Json::array();
    for (const CRavString& value : LabList(path, name))
        array.push_back(ToUtf8(value));
    return array;
}

std::string State(const CRavString& guid)
{
    const DWORD problem = LabNumber(LabPath(LAB_DEVICES, guid), L"Problem", 0);
    return problem == 0 ? "loaded" : problem == 22 ? "disabled" : "not loaded";
}

// What a driver has read when it started last; 0 of one that has never been started by the suite, or has no such value.
DWORD WorksWith(const CRavString& guid, const wchar_t* name)
{
    return LabNumber(LabPath(LAB_DEVICES, guid), name, 0);
}

Json Bindings(const CRavString& guid)
{
    Json array = Json::array();
    for (const wchar_t* const service : {L"Tcpip", L"Tcpip6", L"MsLldp", XMS_SERVICE, L"VMSP"})
    {
        for (const CRavString& device : LabList(LabPath(SERVICES_KEY, service) + L"\\Linkage", L"Bind"))
        {
            if (device.CompareI(CRavString(DEVICE_PREFIX) + guid))
                array.push_back(ToUtf8(service));
        }
    }
    return array;
}

Json AdapterToJson(const CRavString& guid)
{
    const CRavString lab = LabPath(LAB_ADAPTERS, guid);
    const CRavString instance = LabInstancePath(guid);
    const CRavString device = LabPath(LAB_DEVICES, guid);
    const CRavString team = LabTeamOf(guid);
    const auto flag = [&](const wchar_t* name) { return LabNumber(lab, name, 0) != 0; };
    return {{"name", ToUtf8(LabDisplayName(guid))},
            {"key", ToUtf8(guid)},
            {"instance", ToUtf8(wcsrchr(instance, L'\\') != nullptr ? wcsrchr(instance, L'\\') + 1 : L"")},
            {"driver", State(guid)},
            {"stops", LabNumber(device, L"Stops", 0)},
            {"starts", LabNumber(device, L"Starts", 0)},
            {"runsJumbo", WorksWith(guid, LAB_WORKS_WITH_JUMBO)},
            {"mac", Text(lab, L"PermanentMac")},
            {"corvo", flag(L"Corvo")},
            {"vlansOnPort", flag(L"VlansOnPort")},
            {"virtualDevice", flag(L"VirtualDevice")},
            {"vmq", flag(L"Vmq") ? (Text(instance, VMQ) == "1" ? "on" : "off") : "none"},
            {"team", team.IsEmpty() ? "" : Text(LabPath(LAB_TEAMS, team), L"Name")},
            {"vlanIds", List(instance, XmsValue::VlanId)},
            {"bindings", Bindings(guid)}};
}

Json TeamToJson(const CRavString& guid)
{
    const CRavString path = LabPath(LAB_TEAMS, guid);
    Json members = Json::array();
    for (const CRavString& member : LabList(path, L"Members"))
        members.push_back(ToUtf8(LabDisplayName(member)));
    return {{"name", Text(path, L"Name")},
            {"key", ToUtf8(guid)},
            {"mode", LabNumber(LabInstancePath(guid), XmsValue::TeamMode, 0)},
            {"supportsVlans", LabNumber(path, L"SupportsVlans", 0) != 0},
            {"members", members},
            {"mac", Text(LabInstancePath(guid), NetworkValue::NetworkAddress)},
            {"dhcp", LabNumber(LabPath(TCPIP_INTERFACES_KEY, guid), NetworkValue::EnableDhcp, 0) != 0},
            {"lastVlanNotices", LabNumber(path, L"LastVlanNotices", 0)},
            {"bindings", Bindings(guid)}};
}

bool IsVlan(const CRavString& instance)
{
    return (LabNumber(instance, XmsValue::SupportedFeatures, 0) & FEATURE_VLAN) != 0;
}

Json VlansToJson()
{
    Json array = Json::array();
    CRavRegKey networkClass;
    networkClass.Open(HKEY_LOCAL_MACHINE, CLASS_KEY, false);
    CRavString instance;
    while (networkClass.IsOpened() && networkClass.EnumSubKey(instance))
    {
        const CRavString path = LabPath(CLASS_KEY, instance);
        if (!IsVlan(path))
            continue;
        const CRavString guid = LabText(path, NetworkValue::NetCfgInstanceId);
        array.push_back({{"displayName", Text(path, XmsValue::VlanDisplayName)},
                         {"id", LabNumber(path, XmsValue::VlanId, 0)},
                         {"key", ToUtf8(guid)},
                         {"instance", ToUtf8(instance)},
                         {"driver", State(guid)},
                         {"stops", LabNumber(LabPath(LAB_DEVICES, guid), L"Stops", 0)},
                         {"starts", LabNumber(LabPath(LAB_DEVICES, guid), L"Starts", 0)},
                         {"runsId", WorksWith(guid, LAB_WORKS_WITH_ID)},
                         {"runsJumbo", WorksWith(guid, LAB_WORKS_WITH_JUMBO)},
                         {"mac", Text(path, NetworkValue::NetworkAddress)},
                         {"bindings", Bindings(guid)}});
    }
    return array;
}

// The requests that the driver keeps: the head, then the information buffer.
Json RequestsToJson()
{
    Json array = Json::array();
    CRavRegKey key;
    key.Open(HKEY_LOCAL_MACHINE, CRavString(XMS_PARAMETERS_KEY) + L"\\Requests", false);
    CRavString name;
    while (key.IsOpened() && key.EnumValue(name))
    {
        BYTE data[1024] = {};
        DWORD size = sizeof(data);
        if (!key.GetValue(name, data, size) || size < 88)
            continue;
        wchar_t adapter[40] = {};
        memcpy(adapter, data, 78);
        DWORD oid = 0;
        memcpy(&oid, data + 80, sizeof(oid));
        char code[16];
        snprintf(code, sizeof(code), "0x%08lX", oid);
        const size_t length = std::min<size_t>(data[88] | (data[89] << 8), 256);
        array.push_back({{"adapter", ToUtf8(adapter)},
                         {"oid", code},
                         {"bytes", size - 88},
                         {"text", std::string(reinterpret_cast<const char*>(data) + 90, length)}});
    }
    return array;
}

Json HostToJson()
{
    Json host = {{"adapters", Json::array()}, {"teams", Json::array()}};
    for (const CRavString& guid : LabList(LAB_KEY, LAB_ADAPTER_ORDER))
        host["adapters"].push_back(AdapterToJson(guid));
    for (const CRavString& guid : LabList(LAB_KEY, LAB_TEAM_ORDER))
        host["teams"].push_back(TeamToJson(guid));
    host["vlans"] = VlansToJson();
    host["driverRequests"] = RequestsToJson();
    host["lockHolder"] = ToUtf8(LabSuiteLockHolder());
    host["networkLockHolder"] = ToUtf8(LabWriteLockHolder());
    host["rebootRequested"] =
        LabNumber(LAB_KEY, LAB_REBOOT_REQUESTED, 0) != 0 || LabHasKey(LabPath(SUITE_KEY, RESTART_NEEDED_NAME));
    return host;
}

std::string Plain(const Json& value)
{
    if (value.is_string())
        return value.get<std::string>().empty() ? "-" : value.get<std::string>();
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (!value.is_array())
        return value.dump();
    std::string text;
    for (const Json& item : value)
        text += (text.empty() ? "" : ",") + Plain(item);
    return text.empty() ? "-" : text;
}

// In characters: bytes that go on with one do not count.
size_t Width(const std::string& text)
{
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](unsigned char byte) { return (byte & 0xC0) != 0x80; }));
}

void ShowTable(const char* title, const Json& rows)
{
    Write(std::string(title) + "\n");
    if (rows.empty())
    {
        Write("  none\n");
        return;
    }
    std::vector<std::string> names;
    for (const auto& [name, value] : rows.front().items())
        names.push_back(name);
    std::vector<size_t> widths;
    for (const std::string& name : names)
    {
        size_t width = Width(name);
        for (const Json& row : rows)
            width = std::max(width, Width(Plain(row[name])));
        widths.push_back(width);
    }
    const auto line = [&](const std::function<std::string(const std::string&)>& cell) {
        std::string text = " ";
        for (size_t column = 0; column < names.size(); ++column)
        {
            const std::string value = cell(names[column]);
            text += " " + value + std::string(widths[column] - std::min(widths[column], Width(value)) + 1, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        Write(text + "\n");
    };
    line([](const std::string& name) { return name; });
    for (const Json& row : rows)
        line([&](const std::string& name) { return Plain(row[name]); });
}
} // namespace

void RunShow(OutputFormat format)
{
    if (!LabHasKey(LAB_KEY))
        throw LabError("the lab is not up; 'lab up HOST.json' builds a host");
    const Json host = HostToJson();
    if (format == OutputFormat::Json)
    {
        // What the driver was sent may be any bytes.
        Write(host.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
        return;
    }
    ShowTable("Adapters", host["adapters"]);
    ShowTable("Teams", host["teams"]);
    ShowTable("VLANs", host["vlans"]);
    ShowTable("Driver requests", host["driverRequests"]);
    const auto lock = [&](const char* title, const char* holder) {
        Write(std::string(title) + (host[holder] == "" ? "free" : "held by " + host[holder].get<std::string>()) + "\n");
    };
    lock("Configuration lock: ", "lockHolder");
    lock("Network configuration's write lock: ", "networkLockHolder");
    if (host["rebootRequested"] == true)
        Write("A restart of the system was requested.\n");
}
