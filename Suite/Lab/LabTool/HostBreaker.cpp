#include "Suite/Lab/LabTool/HostBreaker.h"

#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/RavRegKey.h"
#include "Suite/Lab/LabTool/LabCommands.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>

namespace
{
constexpr wchar_t NO_COMPONENT[] = L"{00000000-0000-0000-0000-000000000001}";
constexpr DWORD STOPPED = 31; // CM_PROB_FAILED_ADD

// An adapter, team or VLAN, and where its values are.
struct Subject
{
    CRavString guid;
    CRavString path;
    CRavString entry;

    explicit Subject(const CRavString& key)
        : guid(key), path(LabInstancePath(key)), entry(LabPath(XMS_ADAPTERS_KEY, key))
    {
    }
    bool IsVlan() const { return (LabNumber(path, XmsValue::SupportedFeatures, 0) & FEATURE_VLAN) != 0; }
    CRavString Parent() const { return LabText(path, XmsValue::VlanParentKey); }
    CRavString Id() const { return std::to_wstring(LabNumber(path, XmsValue::VlanId, 0)).c_str(); }
};

bool Delete(const CRavString& path, std::initializer_list<const wchar_t*> names)
{
    CRavRegKey key;
    bool done = key.Open(HKEY_LOCAL_MACHINE, path, true);
    for (const wchar_t* const name : names)
        done = done && (key.DeleteValue(name) || key.LastResult() == ERROR_FILE_NOT_FOUND);
    return done;
}

template <typename Change>
bool ChangeList(const CRavString& path, const wchar_t* name, Change&& change)
{
    std::vector<CRavString> list = LabList(path, name);
    change(list);
    return LabSetList(path, name, list);
}

bool Append(const CRavString& path, const wchar_t* name, const CRavString& element)
{
    return ChangeList(path, name, [&](std::vector<CRavString>& list) { list.push_back(element); });
}

bool Erase(const CRavString& path, const wchar_t* name, const CRavString& element)
{
    return ChangeList(path, name, [&](std::vector<CRavString>& list) { std::erase(list, element); });
}

CRavString Device(const CRavString& guid)
{
    return CRavString(DEVICE_PREFIX) + guid;
}

// Takes the VLAN out of the lists of its parent.
bool Forget(const Subject& vlan)
{
    const Subject parent(vlan.Parent());
    return Erase(parent.entry, XmsValue::BindingList, Device(vlan.guid)) &&
           Erase(parent.path, XmsValue::VlanId, vlan.Id());
}

// Another VLAN of the same parent.
Subject Sibling(const Subject& vlan)
{
    for (const CRavString& binding : LabList(LabPath(XMS_ADAPTERS_KEY, vlan.Parent()), XmsValue::BindingList))
    {
        Subject other(binding.c_str() + std::size(DEVICE_PREFIX) - 1);
        if (!other.guid.CompareI(vlan.guid))
            return other;
    }
    throw LabError("this needs a second VLAN on the same adapter");
}

CRavString Linkage(const wchar_t* service)
{
    return LabPath(SERVICES_KEY, service) + L"\\Linkage";
}

bool Move(const wchar_t* service, const CRavString& guid, const wchar_t* from, const wchar_t* to)
{
    return Erase(Linkage(service), from, Device(guid)) && Append(Linkage(service), to, Device(guid));
}

struct Break
{
    const char* name;
    bool ofVlan;
    bool (*make)(const Subject& subject);
};

const Break BREAKS[] = {
    {"ghost-miniport", true, [](const Subject& vlan) { return Delete(vlan.path, {XmsValue::SupportedFeatures}); }},
    {"unfinished-vlan", true,
     [](const Subject& vlan) {
         return Delete(vlan.path, {XmsValue::VlanName, XmsValue::VlanDisplayName});
     }},
    {"abandoned-vlan", true, Forget},
    {"parent-gone", true,
     [](const Subject& vlan) { return Forget(vlan) && LabSetText(vlan.path, XmsValue::VlanParentKey, NO_COMPONENT); }},
    {"parent-unknown", true, [](const Subject& vlan) { return Delete(vlan.path, {XmsValue::VlanParentKey}); }},
    {"damaged-vlan", true, [](const Subject& vlan) { return LabSetText(vlan.path, XmsValue::XmsMiniportKey, L""); }},
    {"team-values", true,
     [](const Subject& vlan) {
         if ((LabNumber(vlan.path, XmsValue::SupportedFeatures, 0) & FEATURE_OVER_TEAM) == 0)
             throw LabError("this needs a VLAN over a team");
         return LabSetNumber(vlan.path, XmsValue::TotalPhysicalAdapters, 9);
     }},
    {"unknown-id", true,
     [](const Subject& vlan) {
         return Erase(Subject(vlan.Parent()).path, XmsValue::VlanId, vlan.Id()) &&
                LabSetNumber(vlan.path, XmsValue::VlanId, 0);
     }},
    {"same-id", true,
     [](const Subject& vlan) {
         return LabSetNumber(vlan.path, XmsValue::VlanId, LabNumber(Sibling(vlan).path, XmsValue::VlanId, 1));
     }},
    {"same-name", true,
     [](const Subject& vlan) {
         return LabSetText(vlan.path, XmsValue::VlanName, LabText(Sibling(vlan).path, XmsValue::VlanName));
     }},
    {"same-device", true,
     [](const Subject& vlan) {
         return LabSetText(vlan.path, NetworkValue::DeviceInstanceId,
                           LabText(Sibling(vlan).path, NetworkValue::DeviceInstanceId));
     }},
    {"untagged-alone", true, [](const Subject& vlan) { return Delete(vlan.path, {XmsValue::VlanId}); }},
    {"display-name", true,
     [](const Subject& vlan) { return LabSetText(vlan.path, XmsValue::VlanDisplayName, L"Old name"); }},
    {"no-driver-entry", false,
     [](const Subject& adapter) {
         CRavRegKey entries;
         return entries.Open(HKEY_LOCAL_MACHINE, XMS_ADAPTERS_KEY, true) && entries.DeleteSubKey(adapter.guid);
     }},
    {"driver-entry", false,
     [](const Subject& adapter) { return LabSetNumber(adapter.entry, XmsValue::PhysicalAdapterId, 99); }},
    {"binding-list", false,
     [](const Subject& adapter) { return Append(adapter.entry, XmsValue::BindingList, Device(NO_COMPONENT)); }},
    {"binding-count", false,
     [](const Subject& adapter) { return LabSetNumber(adapter.entry, XmsValue::BindingListCount, 99); }},
    {"stale-driver-entry", false,
     [](const Subject& adapter) { return LabSetNumber(adapter.entry, XmsValue::LogicalGroupId, 9); }},
    {"id-list", false, [](const Subject& adapter) { return Append(adapter.path, XmsValue::VlanId, L"999"); }},
    {"vlan-mode", false,
     [](const Subject& adapter) {
         return LabNumber(adapter.path, XmsValue::VlanMode, 0) != 0 ? Delete(adapter.path, {XmsValue::VlanMode})
                                                                    : LabSetNumber(adapter.path, XmsValue::VlanMode, 1);
     }},
    {"tagging-mode", false,
     [](const Subject& adapter) {
         return LabSetNumber(adapter.path, XmsValue::TaggingMode,
                             LabNumber(adapter.path, XmsValue::TaggingMode, 0) != 0 ? 0 : 1);
     }},
    {"driver-tagging-mode", false,
     [](const Subject& adapter) { return LabSetNumber(adapter.entry, XmsValue::TaggingMode, 0); }},
    {"priority-tag", false, [](const Subject& adapter) { return LabSetText(adapter.path, PRIORITY_VLAN_TAG, L"0"); }},
    {"parent-mark", false,
     [](const Subject& adapter) {
         return LabNumber(adapter.path, XmsValue::XmsLoaded, 0) != 0
                    ? Delete(adapter.path, {XmsValue::XmsLoaded})
                    : LabSetNumber(adapter.path, XmsValue::XmsLoaded, 1);
     }},
    {"parent-address", false,
     [](const Subject& adapter) { return LabSetText(adapter.path, NetworkValue::NetworkAddress, L""); }},
    {"not-bound", false, [](const Subject& adapter) { return Move(XMS_SERVICE, adapter.guid, L"Bind", L"Disabled"); }},
    {"still-bound", false,
     [](const Subject& adapter) { return Move(XMS_SERVICE, adapter.guid, L"Disabled", L"Bind"); }},
    {"protocols-bound", false,
     [](const Subject& adapter) { return Move(L"Tcpip", adapter.guid, L"Disabled", L"Bind"); }},
    {"protocols-missing", false,
     [](const Subject& adapter) {
         return LabSetList(BINDING_RECORDS_KEY, adapter.guid, {L"ms_tcpip"}) &&
                Move(L"Tcpip", adapter.guid, L"Bind", L"Disabled");
     }},
    {"dhcp-flag", false,
     [](const Subject& adapter) {
         return LabSetNumber(LabPath(TCPIP_INTERFACES_KEY, adapter.guid), NetworkValue::EnableDhcp, 1);
     }},
    {"not-loaded", false,
     [](const Subject& adapter) { return LabSetNumber(LabPath(LAB_DEVICES, adapter.guid), L"Problem", STOPPED); }},
};
} // namespace

std::vector<std::string> HostBreaks()
{
    std::vector<std::string> names;
    for (const Break& each : BREAKS)
        names.push_back(each.name);
    return names;
}

bool BreakHost(const std::string& name, const CRavString& guid)
{
    const Break* const found =
        std::find_if(std::begin(BREAKS), std::end(BREAKS), [&](const Break& each) { return name == each.name; });
    std::string possible;
    for (const std::string& each : HostBreaks())
        possible += (possible.empty() ? "" : ", ") + each;
    if (found == std::end(BREAKS))
        throw LabError("there is no break \"" + name + "\"; there are: " + possible);
    const Subject subject(guid);
    if (found->ofVlan != subject.IsVlan())
        throw LabError("\"" + name + "\" is for " + (found->ofVlan ? "VLANs" : "adapters"));
    return found->make(subject);
}
