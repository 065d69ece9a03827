#pragma once
// vlanctl and lab as an administrator has them: programs of their own on a host of the lab, with their output and exit
// status. The lab is the whole machine's, so these tests run one at a time.

#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"
#include "Tests/Harness/RegistryDiff.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <functional>

using Json = nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

inline const std::wstring TEMP = std::wstring(_wgetenv(L"TEMP")) + L"\\";

// A program that runs: "vlanctl list --json". Its handles are kept for as long as the test program lives.
class CProgram
{
  public:
    static constexpr DWORD KILLED = 99;

    // Without a folder in the test's own; `in` and `out` are its standard handles, without `out` a file that is kept.
    // One that has nobody to ask has no console: a console of its own for each costs as much as the program. With a job
    // it is one of its processes from the beginning.
    explicit CProgram(const std::string& command, const wchar_t* folder = nullptr, HANDLE in = nullptr,
                      HANDLE out = nullptr, HANDLE job = nullptr)
    {
        std::wstring line = Wide(command); // the folder of the test program is searched first
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in;
        startup.hStdOutput = out != nullptr ? out : m_out;
        startup.hStdError = m_out;
        const DWORD flags = CREATE_SUSPENDED | (in != nullptr ? 0 : DETACHED_PROCESS);
        EXPECT_TRUE(
            CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, nullptr, folder, &startup, &m_run));
        EXPECT_TRUE(job == nullptr || AssignProcessToJobObject(job, m_run.hProcess));
        ResumeThread(m_run.hThread);
    }
    DWORD Id() const { return m_run.dwProcessId; }
    void Kill() const { EXPECT_TRUE(TerminateProcess(m_run.hProcess, KILLED)); }
    bool IsOver(DWORD milliseconds) const { return WaitForSingleObject(m_run.hProcess, milliseconds) == WAIT_OBJECT_0; }
    bool HasPrinted() const { return GetFileSize(m_out, nullptr) > 0; }
    DWORD Status() const
    {
        DWORD status = 98;
        IsOver(90000);
        GetExitCodeProcess(m_run.hProcess, &status);
        return status;
    }
    std::string Out() const
    {
        std::string text(Status() + GetFileSize(m_out, nullptr), '\0');
        DWORD size = 0;
        SetFilePointer(m_out, 0, nullptr, FILE_BEGIN);
        ReadFile(m_out, text.data(), static_cast<DWORD>(text.size()), &size, nullptr);
        return text.substr(0, size);
    }

  private:
    inline static int s_count = 0;
    SECURITY_ATTRIBUTES m_inherited = {sizeof(m_inherited), nullptr, TRUE};
    HANDLE m_out = CreateFileW((TEMP + L"vlanctl" + std::to_wstring(++s_count)).c_str(), GENERIC_READ | GENERIC_WRITE,
                               0, &m_inherited, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    PROCESS_INFORMATION m_run = {};
};

// Runs to the end; all that it printed.
inline std::string Do(const std::string& command, DWORD status = 0)
{
    const CProgram program(command);
    EXPECT_EQ(status, program.Status()) << command << "\n" << program.Out();
    return program.Out();
}

// What follows the messages.
inline Json DoJson(const std::string& command, DWORD status = 0)
{
    const std::string text = "\n" + Do(command + " --json", status);
    return Json::parse(text.substr(std::min(text.find("\n{"), text.find("\n["))));
}

// One member of each object of the list that is printed, or of the errors or else the steps of a change: "10,20".
inline std::string Each(const char* member, const std::string& command, DWORD status = 0)
{
    std::string text;
    const Json json = DoJson(command, status);
    for (const Json& item : json.is_array() ? json : json[json["errors"].empty() ? "steps" : "errors"])
        text += (item[member].is_string() ? item[member].get<std::string>() : item[member].dump()) + ",";
    return text.substr(0, text.find_last_of(','));
}

// What changed since the last call in all that the configuration of a machine is made of.
inline std::string Changes()
{
    HKEY key = nullptr;
    EXPECT_EQ(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet", 0, KEY_READ, &key));
    static CRegistrySnapshot s_before(key);
    const CRegistrySnapshot before = std::exchange(s_before, CRegistrySnapshot(key));
    RegCloseKey(key);
    return CRegistrySnapshot::Difference(before, s_before);
}

// What the driver and its administrator go by for the first adapter, in its instance key and in the driver's entry.
inline const CRavString INSTANCE = LabPath(CLASS_KEY, L"0001");
inline size_t Bound()
{
    return LabList(LabPath(XMS_ADAPTERS_KEY, LabText(INSTANCE, L"NetCfgInstanceId")), L"MiniportBindingList").size();
}

// An event that another program brings about comes before the program ends.
inline bool Comes(const CProgram& program, const std::function<bool()>& event)
{
    while (!event())
        if (program.IsOver(1))
            return event();
    return true;
}

// The lists that the driver reads name just the VLANs that are there, so many of them.
inline void ExpectListsAreRight(size_t vlans)
{
    std::vector<CRavString> ids;
    std::vector<CRavString> devices;
    for (const Json& vlan : DoJson("vlanctl list --parent 0001"))
    {
        devices.push_back(Wide("\\Device\\" + vlan["key"].get<std::string>()).c_str());
        if (vlan["id"] != 0)
            ids.emplace_back(vlan["id"].get<int>());
    }
    const CRavString driver = LabPath(XMS_ADAPTERS_KEY, LabText(INSTANCE, L"NetCfgInstanceId"));
    EXPECT_EQ(vlans, devices.size());
    EXPECT_THAT(LabList(INSTANCE, L"VLANID"), UnorderedElementsAreArray(ids));
    EXPECT_THAT(LabList(driver, L"MiniportBindingList"), UnorderedElementsAreArray(devices));
    EXPECT_EQ(devices.size(), LabNumber(driver, L"MiniportBindingListCount", 0));
}

inline void Up(const char* host)
{
    Do("lab down");
    Do(std::string("lab up Suite/Lab/hosts/") + host);
    Changes();
}
