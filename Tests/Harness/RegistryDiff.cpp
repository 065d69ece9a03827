#include "Tests/Harness/RegistryDiff.h"

#include <algorithm>
#include <stdexcept>

namespace
{

std::string ValueLine(const std::string& path, const std::string& name, const RAV_TEST_VALUE& value)
{
    const std::string data = DataText(value);
    return Shorten(path) + "  " + (name.empty() ? "(default)" : name) + "  " + TypeText(value.type) +
           (data.empty() ? "" : "  ") + data + '\n';
}

std::string ChangeLine(const std::string& path, const std::string& name, const RAV_TEST_VALUE& before,
                       const RAV_TEST_VALUE& after)
{
    const std::string type = before.type == after.type ? std::string() : TypeText(after.type) + "  ";
    return "~ " + Shorten(path) + "  " + (name.empty() ? "(default)" : name) + "  " + TypeText(before.type) + "  " +
           DataText(before) + " -> " + type + DataText(after) + '\n';
}

std::string KeyDifference(const std::string& path, const RAV_TEST_KEY& before, const RAV_TEST_KEY& after)
{
    std::map<std::string, std::string, RAV_TEST_LESS_I> lines;
    for (const auto& [name, value] : before)
        if (!after.contains(name))
            lines[name] = "- " + ValueLine(path, name, value);
    for (const auto& [name, value] : after)
    {
        const auto old = before.find(name);
        if (old == before.end())
            lines[name] = "+ " + ValueLine(path, name, value);
        else if (old->second != value)
            lines[name] = ChangeLine(path, name, old->second, value);
    }
    std::string text;
    for (const auto& line : lines)
        text += line.second;
    return text;
}

} // namespace

bool RAV_TEST_LESS_I::operator()(std::string_view one, std::string_view two) const
{
    // A key sorts before its subkeys, and its subtree before its longer-named siblings.
    const auto rank = [](char c) {
        const unsigned char byte = static_cast<unsigned char>(c);
        return byte == '\\' ? 0 : (byte >= 'a' && byte <= 'z' ? byte - 'a' + 'A' : byte);
    };
    return std::lexicographical_compare(one.begin(), one.end(), two.begin(), two.end(),
                                        [&rank](char a, char b) { return rank(a) < rank(b); });
}

CRegistrySnapshot::CRegistrySnapshot(HKEY root)
{
    Read(root, {});
}

// Each call goes to another process on some systems: the sizes are asked for once a key, not once a value.
void CRegistrySnapshot::Read(HKEY key, const std::string& path)
{
    const auto check = [&path](LSTATUS status) {
        if (status != ERROR_SUCCESS)
            throw std::runtime_error("a key can't be read, or changes while it is: " + path);
    };
    DWORD children = 0;
    DWORD count = 0;
    DWORD longestName = 0;
    DWORD largest = 0;
    check(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &children, nullptr, nullptr, &count, &longestName, &largest,
                           nullptr, nullptr));
    RAV_TEST_KEY& values = m_keys[path];
    std::wstring name(longestName + 1, L'\0');
    std::vector<BYTE> data(largest + 1);
    for (DWORD i = 0; i < count; ++i)
    {
        RAV_TEST_VALUE value;
        DWORD length = longestName + 1;
        DWORD size = largest + 1;
        check(RegEnumValueW(key, i, name.data(), &length, nullptr, &value.type, data.data(), &size));
        value.data.assign(data.begin(), data.begin() + size);
        values[Utf8(std::wstring_view(name).substr(0, length))] = std::move(value);
    }
    wchar_t child[256];
    for (DWORD i = 0; i < children; ++i)
    {
        DWORD length = 256;
        check(RegEnumKeyExW(key, i, child, &length, nullptr, nullptr, nullptr, nullptr));
        HKEY opened = nullptr;
        const std::string childPath = (path.empty() ? "" : path + '\\') + Utf8(child);
        if (RegOpenKeyExW(key, child, 0, KEY_READ, &opened) != ERROR_SUCCESS)
            throw std::runtime_error("a key can't be opened: " + childPath);
        Read(opened, childPath);
        RegCloseKey(opened);
    }
}

bool CRegistrySnapshot::IsLeaf(const std::string& path) const
{
    const auto next = m_keys.upper_bound(path);
    return next == m_keys.end() || !next->first.starts_with(path + '\\');
}

std::string CRegistrySnapshot::Text() const
{
    std::string text;
    for (const auto& [path, values] : m_keys)
    {
        if (values.empty() && !path.empty() && IsLeaf(path))
            text += Shorten(path) + '\n';
        for (const auto& [name, value] : values)
            text += ValueLine(path, name, value);
    }
    return text;
}

std::string CRegistrySnapshot::Difference(const CRegistrySnapshot& before, const CRegistrySnapshot& after)
{
    std::map<std::string, std::string, RAV_TEST_LESS_I> changes;
    for (const auto& [path, values] : before.m_keys)
        if (!after.m_keys.contains(path))
            changes[path] = "- " + Shorten(path) + '\n';
    for (const auto& [path, values] : after.m_keys)
    {
        const auto old = before.m_keys.find(path);
        const bool isNew = old == before.m_keys.end();
        if (isNew && values.empty() && after.IsLeaf(path))
            changes[path] = "+ " + Shorten(path) + '\n';
        else
            changes[path] = KeyDifference(path, isNew ? RAV_TEST_KEY() : old->second, values);
    }
    std::string text;
    for (const auto& change : changes)
        text += change.second;
    return text;
}
