#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryText.h"

#include <memory>
#include <stdexcept>

namespace
{

const wchar_t* const s_home = L"Software\\VlanAgentTests";
const std::wstring s_loaded = L"VlanAgentTests-"; // in HKEY_USERS, where hives are loaded

struct KEY_CLOSER
{
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using KEY = std::unique_ptr<std::remove_pointer_t<HKEY>, KEY_CLOSER>;

void Check(LSTATUS status, std::string_view what)
{
    if (status != ERROR_SUCCESS)
        throw std::runtime_error("registry status " + std::to_string(status) + " at " + std::string(what));
}

KEY Create(HKEY root, const std::wstring& path)
{
    HKEY key = nullptr;
    Check(RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), Utf8(path));
    return KEY(key);
}

std::wstring ValueName(std::string_view name)
{
    return name == "(default)" ? std::wstring() : Wide(name);
}

bool IsRunning(DWORD process)
{
    const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, process);
    if (!handle)
        return false;
    const bool running = WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
    CloseHandle(handle);
    return running;
}

bool Drop(HKEY home, const wchar_t* name)
{
    return RegUnLoadKeyW(home, name) == ERROR_SUCCESS || RegDeleteTreeW(home, name) == ERROR_SUCCESS;
}

// A process that crashed has left its hive behind.
void RemoveLeftovers(HKEY home, std::wstring_view prefix)
{
    wchar_t name[256];
    DWORD length = 256;
    for (DWORD i = 0; RegEnumKeyExW(home, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i, length = 256)
        if (std::wstring_view(name).starts_with(prefix) &&
            !IsRunning(std::wcstoul(name + prefix.size(), nullptr, 10)) && Drop(home, name))
            --i;
}

// To save and to load hives.
void EnablePrivileges()
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token))
        return;
    for (const wchar_t* const name : {L"SeBackupPrivilege", L"SeRestorePrivilege"})
    {
        TOKEN_PRIVILEGES privileges = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
        LookupPrivilegeValueW(nullptr, name, &privileges.Privileges[0].Luid);
        AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
    }
    CloseHandle(token);
}

// A name of this process that no other hive or file has had.
std::wstring NewName()
{
    static int count = 0;
    if (count == 0)
    {
        EnablePrivileges();
        RemoveLeftovers(Create(HKEY_CURRENT_USER, s_home).get(), L"");
        RemoveLeftovers(HKEY_USERS, s_loaded);
    }
    return std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
}

std::wstring NewFile()
{
    wchar_t folder[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, folder);
    return folder + (L"hive-" + NewName());
}

} // namespace

CHiveImage::CHiveImage(const CPrivateHive& hive) : m_strFile(NewFile())
{
    Check(RegSaveKeyW(hive.Root(), m_strFile.c_str(), nullptr), "RegSaveKeyW");
}

CHiveImage::~CHiveImage()
{
    DeleteFileW(m_strFile.c_str());
}

CPrivateHive::CPrivateHive(std::string_view content) : m_strName(NewName())
{
    const KEY home = Create(HKEY_CURRENT_USER, s_home);
    m_hRoot = Create(home.get(), m_strName).release();
    TakeTheMachinesPlace();
    Add(content);
}

// The system writes into the file that it has loaded, so the image's own stays out of it.
CPrivateHive::CPrivateHive(const CHiveImage& image) : m_strName(s_loaded + NewName()), m_strFile(NewFile())
{
    if (!CopyFileW(image.File().c_str(), m_strFile.c_str(), FALSE)) // a process that crashed may have left one
        Check(static_cast<LSTATUS>(GetLastError()), "CopyFileW");
    Check(RegLoadKeyW(HKEY_USERS, m_strName.c_str(), m_strFile.c_str()), "RegLoadKeyW");
    m_hRoot = Create(HKEY_USERS, m_strName).release();
    TakeTheMachinesPlace();
}

void CPrivateHive::TakeTheMachinesPlace()
{
    Check(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &m_hMachine), "HKEY_LOCAL_MACHINE");
    Check(RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_hRoot), "RegOverridePredefKey");
}

CPrivateHive::~CPrivateHive()
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(m_hRoot);
    RegCloseKey(m_hMachine);
    const bool loaded = !m_strFile.empty();
    Drop(loaded ? HKEY_USERS : Create(HKEY_CURRENT_USER, s_home).get(), m_strName.c_str());
    if (loaded)
        DeleteFileW(m_strFile.c_str());
}

void CPrivateHive::Add(std::string_view content)
{
    std::string above;
    for (const std::string& line : SplitLines(content))
    {
        const std::vector<std::string> fields = Fields(line, 4);
        std::string path = fields[0];
        if (path.starts_with(".."))
            path = above + path.substr(2);
        const KEY key = Create(m_hRoot, Wide(Expand(path)));
        above = path;
        if (fields.size() == 1)
            continue;
        if (fields.size() < 3)
            throw std::invalid_argument("neither a key nor PATH  NAME  TYPE  DATA: " + line);

        const RAV_TEST_VALUE value = ParseValue(fields[2], fields.size() == 4 ? fields[3] : std::string());
        // The system looks behind a text for the terminator that it may lack, and would store it as well.
        std::vector<BYTE> data = value.data;
        data.insert(data.end(), sizeof(wchar_t), 0xFF);
        const auto size = static_cast<DWORD>(value.data.size());
        Check(RegSetValueExW(key.get(), ValueName(fields[1]).c_str(), 0, value.type, data.data(), size), line);
    }
}

void CPrivateHive::CopyFromMachine(std::string_view path)
{
    const std::wstring name = Wide(Expand(path));
    const KEY target = Create(m_hRoot, name);
    Check(RegCopyTreeW(m_hMachine, name.c_str(), target.get()), path);
}

std::string CPrivateHive::Value(std::string_view path, std::string_view name) const
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(m_hRoot, Wide(Expand(path)).c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return {};
    const KEY key(opened);
    RAV_TEST_VALUE value;
    DWORD size = 0;
    if (RegQueryValueExW(opened, ValueName(name).c_str(), nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS)
        return {};
    value.data.resize(size);
    Check(RegQueryValueExW(opened, ValueName(name).c_str(), nullptr, &value.type, value.data.data(), &size), name);
    return TypeText(value.type) + "  " + DataText(value);
}
