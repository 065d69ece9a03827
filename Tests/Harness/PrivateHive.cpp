#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryText.h"

#include <memory>
#include <stdexcept>

namespace
{

const wchar_t* const s_home = L"Software\\VlanAgentTests";

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

// A process that crashed has left its hive behind.
void RemoveLeftovers(HKEY home)
{
    wchar_t name[64];
    DWORD length = 64;
    for (DWORD i = 0; RegEnumKeyExW(home, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i, length = 64)
        if (!IsRunning(std::wcstoul(name, nullptr, 10)) && RegDeleteTreeW(home, name) == ERROR_SUCCESS)
            --i;
}

} // namespace

CPrivateHive::CPrivateHive(std::string_view content)
{
    static int count = 0;
    Check(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &m_hMachine), "HKEY_LOCAL_MACHINE");
    const KEY home = Create(HKEY_CURRENT_USER, s_home);
    if (count == 0)
        RemoveLeftovers(home.get());
    m_strName = std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    m_hRoot = Create(home.get(), m_strName).release();
    Check(RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_hRoot), "RegOverridePredefKey");
    Add(content);
}

CPrivateHive::~CPrivateHive()
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(m_hRoot);
    RegCloseKey(m_hMachine);
    RegDeleteTreeW(HKEY_CURRENT_USER, (std::wstring(s_home) + L'\\' + m_strName).c_str());
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
