#include "Tests/Fuzz/Mutation.h"

#include "Common/Src/NetworkNames.h"

#include <algorithm>
#include <cwctype>

namespace
{
using namespace std::literals;

const DWORD TYPES[] = {REG_SZ, REG_MULTI_SZ, REG_DWORD, REG_BINARY, REG_EXPAND_SZ, REG_QWORD, REG_NONE, REG_LINK, 17};
const DWORD NUMBERS[] = {0,    1,    2,    3,          8,          9,          12,        13,        98,
                         4094, 4095, 4096, 9999,       10000,      65535,      65536,     999999999, 255,
                         256,  1000, 99,   0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
const size_t SIZES[] = {0, 1, 2, 3, 4, 5, 7, 8, 77};
const size_t COUNTS[] = {255, 256, 257, 512, 513, 1023, 1024, 1025}; // around the buffers there are

std::vector<std::wstring> Split(const std::wstring& text)
{
    std::vector<std::wstring> parts;
    for (size_t start = 0; start <= text.size(); start += parts.back().size() + 1)
        parts.push_back(text.substr(start, text.find(L'|', start) - start));
    return parts;
}

const std::vector<std::wstring> TEXTS =
    Split(L"|0|1|-1|4294967296|99999999999999999999|0x10| 5|5 |1e3|enum|int|..|\\|a\\b|..\\..\\x|*|{|%s%n%d|\\Device\\|"
          L"-2147483648|{00000000-0000-0000-0000-000000000000}|4095|/|oxmsmp|PCI\\X\\Y|PCI\\VEN_1A2B&DEV_0010\\1");
const std::vector<std::wstring> PIECES =
    Split(L"\0|\0\0|\xD800|\xDC00\xD800|\xFFFF|\x0131|\n|\"|\t| |\xDF|%s|"s + std::wstring(300, L'x'));
// Whose values are damaged more often.
const char* const OWN[] = {"Class\\", "XMS\\", "TcpIp\\", "SOFTWARE\\", "Services\\oXMSProtocol"};
const std::vector<std::wstring> STRANGE_KEYS = Split(
    L"Class\\0000|Class\\0099|Class\\9999|Class\\10000|Class\\12|Class\\Properties|XMS\\Adapters\\x|XMS\\Adapters\\{");

std::wstring TextOf(const std::vector<BYTE>& data)
{
    return {reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t)};
}

std::vector<BYTE> BytesOf(const std::wstring& text)
{
    const auto* const first = reinterpret_cast<const BYTE*>(text.data());
    return {first, first + text.size() * sizeof(wchar_t)};
}

std::string Hex(const std::vector<BYTE>& data)
{
    return "hex:" + DataText({REG_BINARY, data});
}

// As bytes, where the readable form would not bring back what it was made from.
std::string Readable(const RAV_TEST_VALUE& value)
{
    const std::wstring text = TextOf(value.data);
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](wchar_t c) { return c == 0 || (c >= 0x20 && c < 0x7F); });
    const std::string data = isPlain ? DataText(value) : "";
    return TypeText(value.type) + "  " + (data.empty() ? Hex(value.data) : data);
}

// The line with the bytes that it counts written out.
std::string Whole(const std::string& line)
{
    const size_t start = line.rfind("hex:");
    const size_t star = line.find('*', std::min(start, line.size()));
    if (start == std::string::npos || star == std::string::npos)
        return line;
    const std::string piece = line.substr(start + 4, star - start - 4) + ' ';
    std::string whole = line.substr(0, start + 4);
    for (unsigned long count = std::stoul(line.substr(star + 1)); count != 0; --count)
        whole += piece;
    return whole;
}

std::wstring Path(const std::string& path)
{
    return Wide(Expand(path));
}

void Copy(const std::string& from, const std::string& to)
{
    HKEY key = nullptr;
    if ((to + '\\').starts_with(from + '\\') ||
        RegCreateKeyW(HKEY_LOCAL_MACHINE, Path(to).c_str(), &key) != ERROR_SUCCESS)
        return; // a copy into itself would have no end
    RegCopyTreeW(HKEY_LOCAL_MACHINE, Path(from).c_str(), key);
    RegCloseKey(key);
}
} // namespace

void Mutate(CPrivateHive& hive, const std::string& mutations)
{
    for (const std::string& line : SplitLines(mutations))
    {
        const bool marked = line.size() > 2 && line[1] == ' ';
        const std::vector<std::string> fields = Fields(marked ? line.substr(2) : line, 4);
        if (!marked)
            hive.Add(Whole(line));
        else if (line[0] == '>')
            Copy(fields[0], fields[1]);
        else if (line[0] == '*')
            for (unsigned long number = 1000 + std::stoul(fields[1]); number > 1000; --number)
                RegSetKeyValueW(HKEY_LOCAL_MACHINE, (Path(fields[0]) + L'\\' + std::to_wstring(number)).c_str(),
                                NetworkValue::NetCfgInstanceId, REG_SZ, L"{}", 3 * sizeof(wchar_t));
        else if (fields.size() == 2)
            RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, Path(fields[0]).c_str(),
                               fields[1] == "(default)" ? L"" : Wide(fields[1]).c_str());
        else
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, Path(fields[0]).c_str());
    }
}

CMutator::CMutator(const std::string& host)
{
    for (const std::string& line : SplitLines(host))
    {
        const std::vector<std::string> fields = Fields(line, 4);
        if (fields[0] == "Lab" || fields[0].starts_with("Lab\\"))
            continue; // what stands for hardware
        if (m_keys.empty() || m_keys.back() != fields[0])
            m_keys.push_back(fields[0]);
        if (fields.size() > 2 && fields[1] != "Installer32")
            m_entries.push_back({fields[0], fields[1], ParseValue(fields[2], fields.size() == 4 ? fields[3] : "")});
        if (fields.size() == 4 && fields[1] == "NetCfgInstanceId")
            m_guids.push_back(TextOf(m_entries.back().value.data).c_str());
    }
    const auto own = [](const ENTRY& entry) {
        return entry.path.find("Ndi") == std::string::npos &&
               std::any_of(std::begin(OWN), std::end(OWN),
                           [&](const char* start) { return entry.path.starts_with(start); });
    };
    m_own = static_cast<size_t>(std::stable_partition(m_entries.begin(), m_entries.end(), own) - m_entries.begin());
}

const CMutator::ENTRY& CMutator::Pick(CDice& dice) const
{
    return m_entries[dice.Below(dice.OneIn(5) ? m_entries.size() : m_own)];
}

const std::string& CMutator::PickKey(CDice& dice) const
{
    return dice.OneIn(4) ? dice.Of(m_keys) : Pick(dice).path;
}

// A text with something in it, in its place, or instead of a part of it.
std::wstring CMutator::Words(CDice& dice, const std::wstring& text) const
{
    std::wstring words = text;
    const size_t open = text.find(L'{');
    const size_t place = dice.Below(text.size() + 1);
    switch (dice.Below(8))
    {
    case 0:
        return dice.Of(TEXTS);
    case 1:
        return std::to_wstring(dice.OneIn(2) ? dice.Of(NUMBERS) : dice.Below(5000));
    case 2:
        return words.insert(place, dice.Of(PIECES));
    case 3:
        return words.substr(0, place);
    case 4:
        std::transform(words.begin(), words.end(), words.begin(),
                       [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
        return words;
    case 5:
        return words + words;
    case 6:
        return dice.Of(m_guids);
    default: // another GUID in the place of the one there, so that keys point in circles or two to one
        return open != std::wstring::npos && text.size() >= open + 38 ? words.replace(open, 38, dice.Of(m_guids))
                                                                      : words + dice.Of(m_guids);
    }
}

RAV_TEST_VALUE CMutator::Bytes(CDice& dice, const RAV_TEST_VALUE& value) const
{
    RAV_TEST_VALUE other = value;
    const size_t place = dice.Below(value.data.size() + 1);
    const DWORD number = dice.Of(NUMBERS);
    switch (dice.Below(6))
    {
    case 0:
        other.type = dice.Of(TYPES);
        return other;
    case 1:
        other.data.resize(std::min(dice.Of(SIZES), other.data.size()));
        return other;
    case 2: // odd, or without terminators
        other.data.resize(value.data.size() - std::min<size_t>(value.data.size(), 1 + dice.Below(4)));
        return other;
    case 3:
        other.data.insert(other.data.begin() + static_cast<std::ptrdiff_t>(place), static_cast<BYTE>(dice.Below(256)));
        return other;
    case 4:
        return {REG_DWORD, {reinterpret_cast<const BYTE*>(&number), reinterpret_cast<const BYTE*>(&number + 1)}};
    default: // what stands elsewhere
        return Pick(dice).value;
    }
}

std::string CMutator::Data(CDice& dice, const ENTRY& entry) const
{
    const RAV_TEST_VALUE& value = entry.value;
    const bool isText = value.type == REG_SZ || value.type == REG_MULTI_SZ;
    if (dice.OneIn(40)) // 64 kB of a text, or as many entries
    {
        const std::wstring piece = dice.OneIn(2) ? L"x" : TextOf(value.data) + L"x";
        return TypeText(dice.OneIn(2) ? value.type : REG_SZ) + "  " + Hex(BytesOf(piece)) + "*" +
               std::to_string(32768 / piece.size());
    }
    if (!isText || dice.OneIn(3))
        return dice.OneIn(10) ? TypeText(value.type) + "  hex:41 00*" + std::to_string(dice.Of(COUNTS))
                              : Readable(Bytes(dice, value));
    std::wstring text = TextOf(value.data).c_str();
    if (value.type == REG_SZ)
        return Readable({REG_SZ, BytesOf(Words(dice, text) + L'\0')});
    std::vector<std::wstring> list;
    const std::wstring whole = TextOf(value.data);
    for (size_t start = 0; start < whole.size() && whole[start] != 0; start += list.back().size() + 1)
        list.push_back(whole.c_str() + start);
    const size_t place = dice.Below(list.size() + 1);
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(place), Words(dice, list.empty() ? L"" : dice.Of(list)));
    if (dice.OneIn(3))
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(dice.Below(list.size())));
    text.clear();
    for (const std::wstring& piece : list)
        text += piece + L'\0';
    return Readable({REG_MULTI_SZ, BytesOf(text + L'\0')});
}

std::string CMutator::KeyLine(CDice& dice) const
{
    const std::string& key = PickKey(dice);
    if (dice.OneIn(60)) // slow: hundreds or thousands of calls
        return "* " + std::string(dice.OneIn(2) ? "Class" : "XMS\\Adapters") + "  " +
               std::to_string(200 + dice.Below(1800));
    if (dice.OneIn(3))
        return "> " + key + "  " + (dice.OneIn(2) ? Utf8(dice.Of(STRANGE_KEYS)) : PickKey(dice));
    return "- " + key;
}

std::string CMutator::Line(CDice& dice) const
{
    const ENTRY& entry = Pick(dice);
    if (dice.OneIn(8))
        return KeyLine(dice);
    if (dice.OneIn(8))
        return "- " + entry.path + "  " + entry.name;
    const ENTRY& other = dice.OneIn(10) ? Pick(dice) : entry; // a value where there was none
    return entry.path + "  " + other.name + "  " + Data(dice, other);
}

std::string CMutator::Next(CDice& dice) const
{
    std::string mutations = Line(dice) + "\n";
    while (dice.OneIn(2))
        mutations += Line(dice) + "\n";
    return mutations;
}
