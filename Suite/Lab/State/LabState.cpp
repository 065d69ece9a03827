#include "Suite/Lab/State/LabState.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"

#include <algorithm>

CRavString LabPath(const wchar_t* parent, const CRavString& name)
{
    return CRavString(parent) + L"\\" + name;
}

DWORD LabNumber(const CRavString& path, const wchar_t* name, DWORD missing)
{
    CRavRegKey key;
    DWORD value = missing;
    if (key.Open(HKEY_LOCAL_MACHINE, path, false))
        key.GetValue(name, value);
    return value;
}

CRavString LabText(const CRavString& path, const wchar_t* name)
{
    CRavRegKey key;
    CRavString text;
    if (key.Open(HKEY_LOCAL_MACHINE, path, false))
        key.GetValue(name, text);
    return text;
}

std::vector<CRavString> LabList(const CRavString& path, const wchar_t* name)
{
    CRavRegKey key;
    std::vector<CRavString> values;
    if (key.Open(HKEY_LOCAL_MACHINE, path, false))
        key.GetValue(name, values);
    return values;
}

bool LabHasKey(const CRavString& path)
{
    CRavRegKey key;
    return key.Open(HKEY_LOCAL_MACHINE, path, false);
}

bool LabSetNumber(const CRavString& path, const wchar_t* name, DWORD value)
{
    CRavRegKey key;
    return key.Create(HKEY_LOCAL_MACHINE, path, true, false) && key.SetValue(name, value);
}

bool LabSetText(const CRavString& path, const wchar_t* name, const CRavString& value)
{
    CRavRegKey key;
    return key.Create(HKEY_LOCAL_MACHINE, path, true, false) && key.SetValue(name, value, false);
}

bool LabSetList(const CRavString& path, const wchar_t* name, const std::vector<CRavString>& values)
{
    CRavRegKey key;
    return key.Create(HKEY_LOCAL_MACHINE, path, true, false) && key.SetValue(name, values);
}

CRavString LabInstancePath(const CRavString& guid)
{
    CRavRegKey networkClass;
    networkClass.Open(HKEY_LOCAL_MACHINE, CLASS_KEY, false);
    CRavString instance;
    while (networkClass.IsOpened() && networkClass.EnumSubKey(instance))
    {
        const CRavString path = LabPath(CLASS_KEY, instance);
        if (LabText(path, NetworkValue::NetCfgInstanceId).CompareI(guid))
            return path;
    }
    return CRavString();
}

CRavString LabDisplayName(const CRavString& guid)
{
    const CRavString instance = LabInstancePath(guid);
    if (instance.IsEmpty())
        return CRavString();
    const CRavString device = LabPath(ENUM_KEY, LabText(instance, L"DeviceInstanceID"));
    const CRavString name = LabText(device, NetworkValue::FriendlyName);
    return name.IsEmpty() ? LabText(instance, NetworkValue::DriverDesc) : name;
}

CRavString LabTeamOf(const CRavString& adapter)
{
    for (const CRavString& team : LabList(LAB_KEY, LAB_TEAM_ORDER))
    {
        const std::vector<CRavString> members = LabList(LabPath(LAB_TEAMS, team), L"Members");
        if (std::any_of(members.begin(), members.end(),
                        [&](const CRavString& member) { return member.CompareI(adapter); }))
            return team;
    }
    return CRavString();
}

bool LabSetDriverEntry(const LAB_DRIVER_ENTRY& entry)
{
    const CRavString path = LabPath(XMS_ADAPTERS_KEY, entry.adapter);
    const CRavString instance = LabInstancePath(entry.adapter);
    const wchar_t* const number = wcsrchr(instance, L'\\');
    return number != nullptr && LabSetNumber(path, XmsValue::LogicalGroupId, entry.group) &&
           LabSetNumber(path, XmsValue::PhysicalAdapterId, wcstoul(number + 1, nullptr, 10)) &&
           LabSetText(path, XmsValue::AdapterName, LabDisplayName(entry.adapter)) &&
           LabSetNumber(path, XmsValue::TotalPhysicalAdapters, entry.total) &&
           LabSetList(path, XmsValue::BindingList, entry.bindings) &&
           LabSetNumber(path, XmsValue::BindingListCount, static_cast<DWORD>(entry.bindings.size())) &&
           LabSetNumber(path, XmsValue::TaggingMode, entry.tagging) && LabSetNumber(instance, XmsValue::XmsLoaded, 1) &&
           LabSetText(instance, NetworkValue::NetworkAddress,
                      LabText(LabPath(LAB_ADAPTERS, entry.adapter), L"PermanentMac"));
}

bool LabMoveDhcp(const CRavString& adapter)
{
    const CRavString tcpip = LabPath(TCPIP_INTERFACES_KEY, adapter);
    const CRavString configuration = LabPath(XMS_CONFIGURATION_KEY, adapter);
    return LabHasKey(configuration) ||
           (LabSetNumber(configuration, NetworkValue::EnableDhcp, LabNumber(tcpip, NetworkValue::EnableDhcp, 0)) &&
            LabSetNumber(tcpip, NetworkValue::EnableDhcp, 0));
}

namespace
{
CRavString StateFolder()
{
    const CRavString folder = LabText(LAB_KEY, LAB_STATE_DIR);
    if (!folder.IsEmpty())
        return folder;
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    return CRavString(temp) + L"VlanLab";
}

// The lock's file alone may be left from a system that went down. The holder's note is volatile and went with it, so
// the lock is held only when both are there.
bool IsHeld(const wchar_t* file, const wchar_t* note)
{
    return LabHasKey(note) && GetFileAttributesW(StateFolder() + L"\\" + file) != INVALID_FILE_ATTRIBUTES;
}
} // namespace

CRavString LabStateFile(const wchar_t* name)
{
    const CRavString folder = StateFolder();
    for (size_t end = folder.find(L'\\'); end != CRavString::npos; end = folder.find(L'\\', end + 1))
        CreateDirectoryW(folder.substr(0, end).c_str(), nullptr);
    CreateDirectoryW(folder, nullptr);
    return folder + L"\\" + name;
}

CRavString LabSuiteLockHolder()
{
    CRavString text;
    if (IsHeld(LAB_SUITE_LOCK_FILE, LAB_SUITE_LOCK))
        text.FormatString(L"process %u (%s) since %s", LabNumber(LAB_SUITE_LOCK, L"ProcessId", 0),
                          LabText(LAB_SUITE_LOCK, L"Program").c_str(), LabText(LAB_SUITE_LOCK, L"Since").c_str());
    return text;
}

CRavString LabWriteLockHolder()
{
    return IsHeld(LAB_WRITE_LOCK_FILE, LAB_WRITE_LOCK) ? LabText(LAB_WRITE_LOCK, L"Holder") : CRavString();
}

bool LabIsWaiting(DWORD process)
{
    CRavString client;
    client.FormatString(L"%s\\%u\\%s", LAB_CLIENTS, process, LAB_WAITS);
    return LabHasKey(client);
}

bool LabIsApplying()
{
    return IsHeld(LAB_APPLY_FILE, LAB_SUITE_LOCK);
}
