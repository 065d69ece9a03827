#include "Tests/Fuzz/Stray.h"

#include "Tests/Harness/TraceFile.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace
{
// What an operation may change: a key (# is a digit, * anything without a backslash, ** anything), and which of its
// values.
struct RAV_MAY_CHANGE
{
    const char* key;
    const char* names; // each between blanks; null for all, and for the key itself
};
const RAV_MAY_CHANGE FORMAT[] = {
    {"Class\\####",
     " VLANID VlanMode TaggingMode XMSLoaded NetworkAddress VlanFiltering *PriorityVLANTag *VMQ "
     "RavXmsMiniportKey VLANName VLANDisplayName RavVlanParentKey RavVlanType LogicalGroupID SupportedFeatures "
     "TeamMode TotalPhysicalAdapters "},
    {"XMS\\Adapters\\*", nullptr},
    {"XMS\\Configuration\\*", nullptr},
    {"TcpIp\\*", " EnableDHCP "},
    {"SOFTWARE\\CORVO\\NETWORK_SERVICES\\RAV2\\Bindings", nullptr},
    // The network configuration's own, and the lab's.
    {"Services\\*\\Linkage", nullptr},
    {"Enum\\**", " FriendlyName Class ClassGUID "},
    {"Lab", nullptr},
    {"Lab\\**", nullptr},
};
// What comes or goes as a whole: a miniport, an entry of the driver.
const char* const WHOLE[] = {"XMS\\*\\*\\**", "Class\\####", "Class\\####\\**", "Enum\\**", "Network\\*\\{*}**"};

bool Matches(const char* pattern, const char* text)
{
    for (; *pattern != '\0'; ++pattern, ++text)
    {
        if (*pattern == '*')
        {
            const bool deep = pattern[1] == '*';
            while (!Matches(pattern + (deep ? 2 : 1), text))
            {
                if (*text == '\0' || (*text == '\\' && !deep))
                    return false;
                ++text;
            }
            return true;
        }
        if (*pattern == '#' ? !std::isdigit(static_cast<unsigned char>(*text))
                            : std::tolower(*pattern) != std::tolower(static_cast<unsigned char>(*text)))
            return false;
    }
    return *text == '\0';
}

bool IsFormat(const std::string& key, const std::string& name)
{
    return std::any_of(std::begin(FORMAT), std::end(FORMAT), [&](const RAV_MAY_CHANGE& row) {
        return Matches(row.key, key.c_str()) &&
               (row.names == nullptr || std::string(row.names).find(" " + name + " ") != std::string::npos);
    });
}

std::string NameOf(const std::string& value)
{
    return value.starts_with('"') ? value.substr(1, value.find("\"=") - 1) : "(default)";
}

// Whether a value is the miniports' component id, up to its first NUL.
bool IsMiniportId(const std::string& value)
{
    return value.starts_with("\"ComponentId\"=\"oxmsmp\"") || value.starts_with("\"ComponentId\"=\"oxmsmp\\0") ||
           value.starts_with("\"ComponentId\"=hex(1):6f,00,78,00,6d,00,73,00,6d,00,70,00");
}

bool HasKey(const RAV_HIVE_DUMP& dump, const std::string& key)
{
    const auto next = dump.lower_bound(key);
    return next != dump.end() && (next->first == key || next->first.starts_with(key + '\\'));
}

// Whether the key may be in one registry and not in the other.
bool MayComeAndGo(const RAV_HIVE_DUMP& dump, const std::string& key)
{
    const auto instance = dump.find(key.substr(0, std::string("Class\\0000").size()));
    return (!key.starts_with("Class") ||
            (instance != dump.end() && std::any_of(instance->second.begin(), instance->second.end(), IsMiniportId))) &&
           std::any_of(std::begin(WHOLE), std::end(WHOLE),
                       [&](const char* pattern) { return Matches(pattern, key.c_str()); });
}

std::string Alone(const RAV_HIVE_DUMP& dump, const RAV_HIVE_DUMP& other, const std::string& mark)
{
    std::string stray;
    for (const auto& [key, values] : dump)
    {
        const auto found = other.find(key);
        const bool isAlone = !HasKey(other, key);
        if ((found != other.end() && found->second == values) || (isAlone && MayComeAndGo(dump, key)))
            continue;
        if (isAlone && !IsFormat(key, ""))
            stray += mark + key + "\n";
        for (const std::string& value : values)
            if ((found == other.end() || !found->second.contains(value)) && !IsFormat(key, NameOf(value)))
                stray += mark + key + "  " + value + "\n";
    }
    return stray;
}

void Take(RAV_HIVE_DUMP& dump, std::string& last, const std::string& line)
{
    if (line.starts_with('['))
    {
        std::string key = line.substr(1, line.rfind(']') - 1);
        for (size_t at = 0; (at = key.find("\\\\", at)) != std::string::npos; ++at)
            key.erase(at, 1);
        last = Shorten(key);
        dump[last];
    }
    else if (line.starts_with('"') || line.starts_with('@'))
        dump[last].insert(line);
}
} // namespace

RAV_HIVE_DUMP DumpHive()
{
    wchar_t folder[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, folder);
    const std::wstring path = folder + (L"dump-" + std::to_wstring(GetCurrentProcessId()));
    DeleteFileW(path.c_str());
    if (RegSaveKeyW(HKEY_LOCAL_MACHINE, path.c_str(), nullptr) != ERROR_SUCCESS)
        throw std::runtime_error("the hive cannot be written to a file");
    RAV_HIVE_DUMP dump;
    std::string key;
    std::string line;
    for (const char c : FileText(path))
    {
        if (c != '\n')
            line += c;
        else if (line.ends_with('\\')) // goes on in the next line
            line.pop_back();
        else
        {
            Take(dump, key, line);
            line.clear();
        }
    }
    DeleteFileW(path.c_str());
    return dump;
}

std::string Stray(const RAV_HIVE_DUMP& before, const RAV_HIVE_DUMP& after)
{
    return Alone(before, after, "- ") + Alone(after, before, "+ ");
}
