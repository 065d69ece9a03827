#include "Suite/Lab/NetCfg/RegistryKey.h"

#include <algorithm>
#include <utility>

CRegistryKey::CRegistryKey(CRegistryKey&& other) noexcept : m_hKey(other.Detach()) {}

CRegistryKey& CRegistryKey::operator=(CRegistryKey&& other) noexcept
{
    std::swap(m_hKey, other.m_hKey);
    return *this;
}

CRegistryKey::~CRegistryKey()
{
    if (m_hKey != nullptr)
        RegCloseKey(m_hKey);
}

HKEY CRegistryKey::Detach()
{
    return std::exchange(m_hKey, nullptr);
}

LSTATUS CRegistryKey::Open(const std::wstring& path, REGSAM access)
{
    CRegistryKey opened;
    const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, access, &opened.m_hKey);
    *this = std::move(opened);
    return status;
}

LSTATUS CRegistryKey::Create(const std::wstring& path, DWORD options)
{
    CRegistryKey created;
    const LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, options, KEY_ALL_ACCESS,
                                           nullptr, &created.m_hKey, nullptr);
    *this = std::move(created);
    return status;
}

std::optional<std::wstring> CRegistryKey::Raw(const wchar_t* name, DWORD type) const
{
    // Most values fit the first buffer, which saves asking for the size.
    std::wstring buffer(128, L'\0');
    for (;;)
    {
        DWORD found = 0;
        DWORD size = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
        const LSTATUS status =
            RegQueryValueExW(m_hKey, name, nullptr, &found, reinterpret_cast<BYTE*>(buffer.data()), &size);
        if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA)
            return std::nullopt;
        if (found != type)
            return std::nullopt;
        buffer.resize(size / sizeof(wchar_t) + (status == ERROR_MORE_DATA ? 1 : 0));
        if (status == ERROR_SUCCESS)
            return buffer;
    }
}

std::optional<std::wstring> CRegistryKey::Text(const wchar_t* name) const
{
    std::optional<std::wstring> text = Raw(name, REG_SZ);
    if (text)
        text->erase(std::find(text->begin(), text->end(), L'\0'), text->end());
    return text;
}

std::optional<DWORD> CRegistryKey::Number(const wchar_t* name) const
{
    DWORD type = 0;
    DWORD number = 0;
    DWORD size = sizeof(number);
    if (RegQueryValueExW(m_hKey, name, nullptr, &type, reinterpret_cast<BYTE*>(&number), &size) != ERROR_SUCCESS)
        return std::nullopt;
    if (type != REG_DWORD || size != sizeof(number))
        return std::nullopt;
    return number;
}

std::optional<std::vector<std::wstring>> CRegistryKey::List(const wchar_t* name) const
{
    const std::optional<std::wstring> raw = Raw(name, REG_MULTI_SZ);
    if (!raw)
        return std::nullopt;
    std::vector<std::wstring> list;
    for (size_t start = 0; start < raw->size() && (*raw)[start] != L'\0';)
    {
        const size_t length = wcsnlen(raw->c_str() + start, raw->size() - start);
        list.emplace_back(*raw, start, length);
        start += length + 1;
    }
    return list;
}

std::optional<std::wstring> CRegistryKey::Subkey(DWORD index) const
{
    constexpr DWORD longestKeyName = 255;
    wchar_t name[longestKeyName + 1];
    DWORD length = longestKeyName + 1;
    if (RegEnumKeyExW(m_hKey, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
        return std::nullopt;
    return std::wstring(name, length);
}

DWORD CRegistryKey::SubkeyCount() const
{
    DWORD count = 0;
    RegQueryInfoKeyW(m_hKey, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr);
    return count;
}

std::vector<std::wstring> CRegistryKey::Subkeys() const
{
    std::vector<std::wstring> names;
    while (std::optional<std::wstring> name = Subkey(static_cast<DWORD>(names.size())))
        names.push_back(std::move(*name));
    return names;
}

LSTATUS CRegistryKey::Set(const wchar_t* name, DWORD type, const void* data, size_t size)
{
    return RegSetValueExW(m_hKey, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
}

LSTATUS CRegistryKey::SetText(const wchar_t* name, const std::wstring& text)
{
    return Set(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

LSTATUS CRegistryKey::SetNumber(const wchar_t* name, DWORD number)
{
    return Set(name, REG_DWORD, &number, sizeof(number));
}

LSTATUS CRegistryKey::SetList(const wchar_t* name, const std::vector<std::wstring>& list)
{
    std::wstring raw;
    for (const std::wstring& entry : list)
        raw.append(entry).push_back(L'\0');
    return Set(name, REG_MULTI_SZ, raw.c_str(), (raw.size() + 1) * sizeof(wchar_t));
}

LSTATUS CRegistryKey::DeleteValue(const wchar_t* name)
{
    return RegDeleteValueW(m_hKey, name);
}

LSTATUS ReadTextAt(const std::wstring& path, const wchar_t* name, std::wstring& text)
{
    wchar_t buffer[256] = {};
    DWORD size = sizeof(buffer);
    const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, path.c_str(), name, RRF_RT_REG_SZ, nullptr, buffer, &size);
    text = status == ERROR_SUCCESS ? buffer : L"";
    return status;
}

LSTATUS DeleteKeyTree(const std::wstring& path)
{
    const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, path.c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

LSTATUS DeleteKeyAndEmptyParents(const std::wstring& path, const std::wstring& root)
{
    const LSTATUS status = DeleteKeyTree(path);
    if (status != ERROR_SUCCESS)
        return status;
    std::wstring parent = path.substr(0, path.rfind(L'\\'));
    while (parent.size() > root.size())
    {
        CRegistryKey key;
        if (key.Open(parent) == ERROR_SUCCESS &&
            (key.SubkeyCount() != 0 || RegDeleteKeyW(HKEY_LOCAL_MACHINE, parent.c_str()) != ERROR_SUCCESS))
            break;
        parent.resize(parent.rfind(L'\\'));
    }
    return ERROR_SUCCESS;
}

bool SameName(const std::wstring& left, const std::wstring& right)
{
    return CompareStringOrdinal(left.c_str(), static_cast<int>(left.size()), right.c_str(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}
