#include "Tests/Harness/RegistryText.h"

#include "Common/Src/Utf8.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <stdexcept>

namespace
{

const char* const s_types[] = {"REG_NONE",
                               "REG_SZ",
                               "REG_EXPAND_SZ",
                               "REG_BINARY",
                               "REG_DWORD",
                               "REG_DWORD_BIG_ENDIAN",
                               "REG_LINK",
                               "REG_MULTI_SZ",
                               "REG_RESOURCE_LIST",
                               "REG_FULL_RESOURCE_DESCRIPTOR",
                               "REG_RESOURCE_REQUIREMENTS_LIST",
                               "REG_QWORD"};

constexpr std::string_view hexMark = "hex:";

SHORT_NAMES& ShortNames()
{
    static SHORT_NAMES names;
    return names;
}

bool StartsWithI(std::string_view text, std::string_view start)
{
    return text.size() >= start.size() && _strnicmp(text.data(), start.data(), start.size()) == 0;
}

// Replaces `from` at the start of a path when it ends at a whole key name.
bool ReplacePrefix(std::string_view path, const std::string& from, const std::string& to, std::string& result)
{
    if (!StartsWithI(path, from) || (path.size() > from.size() && path[from.size()] != '\\'))
        return false;
    result = to + std::string(path.substr(from.size()));
    return true;
}

std::string Trim(std::string_view text)
{
    const auto start = text.find_first_not_of(" \t\r");
    if (start == std::string_view::npos)
        return {};
    return std::string(text.substr(start, text.find_last_not_of(" \t\r") - start + 1));
}

std::string Hex(const std::vector<BYTE>& data)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (const BYTE byte : data)
    {
        if (!text.empty())
            text += ' ';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::vector<BYTE> ParseHex(std::string_view text)
{
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), [](char c) { return c != ' '; });
    const bool pairs = digits.size() % 2 == 0;
    if (!pairs || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        throw std::invalid_argument("not pairs of hexadecimal digits: " + std::string(text));
    std::vector<BYTE> data;
    for (size_t i = 0; i < digits.size(); i += 2)
        data.push_back(static_cast<BYTE>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return data;
}

std::string Quote(std::wstring_view text)
{
    std::string quoted = "\"";
    for (const char c : Utf8(text))
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

// Pieces in quotes parted by commas, or bare words parted by blanks.
std::vector<std::string> Pieces(std::string_view text)
{
    std::vector<std::string> pieces;
    for (size_t i = 0; i < text.size();)
    {
        if (text[i] == ' ' || text[i] == ',')
        {
            ++i;
            continue;
        }
        std::string piece;
        if (text[i] != '"')
            while (i < text.size() && text[i] != ' ')
                piece += text[i++];
        else
            for (++i;; ++i)
            {
                if (i >= text.size())
                    throw std::invalid_argument("missing closing quote: " + std::string(text));
                if (text[i] == '"' && (i + 1 >= text.size() || text[i + 1] != '"'))
                {
                    ++i;
                    break;
                }
                i += text[i] == '"' ? 1 : 0;
                piece += text[i];
            }
        pieces.push_back(piece);
    }
    return pieces;
}

std::vector<BYTE> Bytes(const void* data, size_t size)
{
    const auto* first = static_cast<const BYTE*>(data);
    return {first, first + size};
}

std::wstring Characters(const std::vector<BYTE>& data)
{
    std::wstring text(data.size() / sizeof(wchar_t), L'\0');
    if (!text.empty())
        std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
    return text;
}

bool IsWellFormedText(const RAV_TEST_VALUE& value)
{
    const std::wstring text = Characters(value.data);
    return value.data.size() % 2 == 0 && !text.empty() && text.find(L'\0') == text.size() - 1;
}

bool IsWellFormedList(const RAV_TEST_VALUE& value)
{
    const std::wstring text = Characters(value.data);
    if (value.data.size() % 2 != 0 || text.empty() || text.back() != L'\0')
        return false;
    return text.size() == 1 || (text.front() != L'\0' && text.find(std::wstring(2, L'\0')) == text.size() - 2);
}

std::string ListText(const std::vector<BYTE>& data)
{
    std::string list;
    const std::wstring text = Characters(data);
    for (size_t start = 0; start + 1 < text.size();)
    {
        const size_t end = text.find(L'\0', start);
        list += (list.empty() ? "" : ", ") + Quote(std::wstring_view(text).substr(start, end - start));
        start = end + 1;
    }
    return list;
}

} // namespace

std::string Utf8(std::wstring_view text)
{
    return ToUtf8(text);
}

std::wstring Wide(std::string_view text)
{
    return WideOf(text);
}

std::vector<std::string> SplitLines(std::string_view text)
{
    std::vector<std::string> lines;
    for (size_t start = 0; start <= text.size();)
    {
        const size_t end = std::min(text.find('\n', start), text.size());
        if (const std::string line = Trim(text.substr(start, end - start)); !line.empty())
            lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

std::string Lines(std::string_view text)
{
    std::string result;
    for (const std::string& line : SplitLines(text))
        result += line + '\n';
    return result;
}

std::vector<std::string> Fields(std::string_view line, size_t limit)
{
    std::vector<std::string> fields;
    while (!line.empty())
    {
        const bool isLast = fields.size() + 1 == limit;
        const size_t end = isLast ? line.size() : std::min(line.find("  "), line.size());
        fields.emplace_back(line.substr(0, end));
        line.remove_prefix(std::min(line.find_first_not_of(' ', end), line.size()));
    }
    return fields;
}

void SetShortNames(SHORT_NAMES names)
{
    std::sort(names.begin(), names.end(),
              [](const auto& one, const auto& two) { return one.first.size() > two.first.size(); });
    ShortNames() = std::move(names);
}

std::string Shorten(std::string_view path)
{
    std::string result;
    for (const auto& [full, brief] : ShortNames())
        if (ReplacePrefix(path, full, brief, result))
            return result;
    return std::string(path);
}

std::string Expand(std::string_view path)
{
    std::string result;
    for (const auto& [full, brief] : ShortNames())
        if (ReplacePrefix(path, brief, full, result))
            return result;
    return std::string(path);
}

std::string TypeText(DWORD type)
{
    return type < std::size(s_types) ? s_types[type] : "REG_" + std::to_string(type);
}

DWORD ParseType(const std::string& text)
{
    const auto* found = std::find(std::begin(s_types), std::end(s_types), text);
    if (found != std::end(s_types))
        return static_cast<DWORD>(found - s_types);
    const bool numbered = text.starts_with("REG_") && text.size() > 4 && text.size() < 14;
    if (!numbered || text.find_first_not_of("0123456789", 4) != std::string::npos)
        throw std::invalid_argument("no registry type: " + text);
    return static_cast<DWORD>(std::stoul(text.substr(4)));
}

std::string DataText(const RAV_TEST_VALUE& value)
{
    const auto number = [&value] {
        unsigned long long result = 0;
        std::memcpy(&result, value.data.data(), value.data.size());
        return std::to_string(result);
    };
    switch (value.type)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        if (IsWellFormedText(value))
            return Quote(Characters(value.data).c_str());
        break;
    case REG_MULTI_SZ:
        if (IsWellFormedList(value))
            return ListText(value.data);
        break;
    case REG_DWORD:
        if (value.data.size() == sizeof(DWORD))
            return number();
        break;
    case REG_QWORD:
        if (value.data.size() == sizeof(unsigned long long))
            return number();
        break;
    default:
        return Hex(value.data);
    }
    return std::string(hexMark) + Hex(value.data);
}

RAV_TEST_VALUE ParseValue(const std::string& typeText, const std::string& text)
{
    const DWORD type = ParseType(typeText);
    if (text.starts_with(hexMark))
        return {type, ParseHex(std::string_view(text).substr(hexMark.size()))};

    std::wstring characters;
    unsigned long long number = 0;
    switch (type)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        characters = Wide(text.starts_with('"') ? Pieces(text).at(0) : text);
        return {type, Bytes(characters.c_str(), (characters.size() + 1) * sizeof(wchar_t))};
    case REG_MULTI_SZ:
        for (const std::string& piece : Pieces(text))
            characters += Wide(piece) + L'\0';
        return {type, Bytes(characters.c_str(), (characters.size() + 1) * sizeof(wchar_t))};
    case REG_DWORD:
    case REG_QWORD:
        number = std::stoull(text, nullptr, 0);
        return {type, Bytes(&number, type == REG_DWORD ? sizeof(DWORD) : sizeof(number))};
    default:
        return {type, ParseHex(text)};
    }
}
