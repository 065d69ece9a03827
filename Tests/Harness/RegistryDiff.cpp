#include "Tests/Harness/RegistryDiff.h"

#include <algorithm>
#include <cstring>
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

// Of one value; its data and its name follow.
struct HEADER
{
    DWORD length; // of the name, in characters
    DWORD type;
    DWORD size;
};

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
    std::string path;
    Read(root, path);
}

// Each call goes to another process on some systems: the sizes are asked for once a key, not once a value.
void CRegistrySnapshot::Read(HKEY key, std::string& path)
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
    RAW& raw = m_keys[path];
    raw.reserve(count * (sizeof(HEADER) + largest + 1 + longestName * sizeof(wchar_t)));
    wchar_t name[16384];
    for (DWORD i = 0; i < count; ++i)
    {
        HEADER header = {longestName + 1, REG_NONE, largest};
        const size_t place = raw.size();
        raw.resize(place + sizeof(header) + header.size + 1); // room for a value without data too
        BYTE* const data = raw.data() + place + sizeof(header);
        check(RegEnumValueW(key, i, name, &header.length, nullptr, &header.type, data, &header.size));
        std::memcpy(raw.data() + place, &header, sizeof(header));
        raw.resize(place + sizeof(header) + header.size);
        const auto* const text = reinterpret_cast<const BYTE*>(name);
        raw.insert(raw.end(), text, text + header.length * sizeof(wchar_t));
    }
    wchar_t child[256];
    const size_t length = path.size();
    for (DWORD i = 0; i < children; ++i)
    {
        DWORD size = 256;
        check(RegEnumKeyExW(key, i, child, &size, nullptr, nullptr, nullptr, nullptr));
        HKEY opened = nullptr;
        path += (path.empty() ? "" : "\\") + Utf8(child);
        check(RegOpenKeyExW(key, child, 0, KEY_READ, &opened));
        Read(opened, path);
        RegCloseKey(opened);
        path.resize(length);
    }
}

RAV_TEST_KEY CRegistrySnapshot::Values(const RAW& raw)
{
    RAV_TEST_KEY values;
    for (size_t place = 0; place < raw.size();)
    {
        HEADER header;
        std::memcpy(&header, raw.data() + place, sizeof(header));
        const BYTE* const data = raw.data() + place + sizeof(header);
        std::wstring name(header.length, L'\0');
        std::memcpy(name.data(), data + header.size, header.length * sizeof(wchar_t));
        values[Utf8(name)] = {header.type, {data, data + header.size}};
        place += sizeof(header) + header.size + header.length * sizeof(wchar_t);
    }
    return values;
}

bool CRegistrySnapshot::IsLeaf(const std::string& path) const
{
    const auto next = m_keys.upper_bound(path);
    return next == m_keys.end() || !next->first.starts_with(path + '\\');
}

std::string CRegistrySnapshot::Text() const
{
    std::string text;
    for (const auto& [path, raw] : m_keys)
    {
        if (raw.empty() && !path.empty() && IsLeaf(path))
            text += Shorten(path) + '\n';
        for (const auto& [name, value] : Values(raw))
            text += ValueLine(path, name, value);
    }
    return text;
}

std::string CRegistrySnapshot::Difference(const CRegistrySnapshot& before, const CRegistrySnapshot& after)
{
    std::map<std::string, std::string, RAV_TEST_LESS_I> changes;
    for (const auto& [path, raw] : before.m_keys)
        if (!after.m_keys.contains(path))
            changes[path] = "- " + Shorten(path) + '\n';
    for (const auto& [path, raw] : after.m_keys)
    {
        const auto old = before.m_keys.find(path);
        const bool isNew = old == before.m_keys.end();
        if (isNew && raw.empty() && after.IsLeaf(path))
            changes[path] = "+ " + Shorten(path) + '\n';
        else if (isNew || old->second != raw)
            changes[path] = KeyDifference(path, isNew ? RAV_TEST_KEY() : Values(old->second), Values(raw));
    }
    std::string text;
    for (const auto& change : changes)
        text += change.second;
    return text;
}
