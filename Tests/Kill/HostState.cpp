#include "Tests/Kill/HostState.h"

#include "Common/Src/RavRegKey.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr size_t GUID_LENGTH = 38;

bool IsGuid(const std::string& text, size_t at)
{
    return text[at] == '{' && at + GUID_LENGTH <= text.size() && text[at + GUID_LENGTH - 1] == '}' &&
           text[at + 9] == '-';
}

// What only the lab keeps, apart from a device that does not run.
bool IsNote(const std::string& line)
{
    if (!line.starts_with("Lab"))
        return false;
    return line.find("  Problem  ") == std::string::npos || line.ends_with("  0");
}

std::string WithSortedList(const std::string& line)
{
    const std::string type = "  REG_MULTI_SZ  ";
    const size_t at = line.find(type);
    if (at == std::string::npos)
        return line;
    std::vector<std::string> entries;
    const std::string data = line.substr(at + type.size());
    for (size_t begin = 0; begin < data.size();)
    {
        const size_t end = std::min(data.find(", ", begin), data.size());
        entries.push_back(data.substr(begin, end - begin));
        begin = end + 2;
    }
    std::sort(entries.begin(), entries.end());
    std::string text = line.substr(0, at + type.size());
    for (const std::string& entry : entries)
        text += (&entry == entries.data() ? "" : ", ") + entry;
    return text;
}

} // namespace

CHostState::CHostState(const CHostState* before) : m_knowsAll(before != nullptr)
{
    if (before != nullptr)
        m_names = before->m_names;
    const std::string text = CRegistrySnapshot().Text();
    NameVlans();
    for (const std::string& line : SplitLines(text))
        if (!IsNote(line))
            m_lines.push_back(WithSortedList(Named(line)));
    std::sort(m_lines.begin(), m_lines.end());
}

// A miniport that is no VLAN yet, or no more, is {new}.
void CHostState::NameVlans()
{
    CRavRegKey networkClass;
    CRavString instance;
    networkClass.Open(HKEY_LOCAL_MACHINE, CLASS_KEY, false);
    while (networkClass.IsOpened() && networkClass.EnumSubKey(instance))
    {
        const CRavString path = LabPath(CLASS_KEY, instance);
        const std::string key = Utf8(LabText(path, L"NetCfgInstanceId"));
        if (LabText(path, L"ComponentId") != L"oxmsmp" || LabNumber(path, L"SupportedFeatures", 0) == 1)
            continue;
        const bool isVlan = !LabText(path, L"RavVlanParentKey").IsEmpty();
        const std::string name = isVlan ? "{V" + std::to_string(LabNumber(path, L"VLANID", 0)) + "}" : "{new}";
        m_names.emplace(key, name);
        m_names.emplace(Utf8(instance), name);
    }
}

std::string CHostState::Named(const std::string& line)
{
    std::string text;
    for (size_t at = 0; at < line.size();)
    {
        const bool guid = IsGuid(line, at);
        const bool number = std::string_view(text).ends_with("Class\\") || std::string_view(text).ends_with("NET\\");
        const size_t length = guid ? GUID_LENGTH : number ? 4 : 1;
        const std::string part = line.substr(at, length);
        if (guid && (!m_knowsAll || m_names.contains(part)))
            text += m_names.emplace(part, part).first->second;
        else
            text += guid ? "{?}" : number && m_names.contains(part) ? m_names[part] : part;
        at += length;
    }
    return text;
}

bool CHostState::Has(const std::string& line) const
{
    return std::binary_search(m_lines.begin(), m_lines.end(), line);
}

std::vector<std::string> CHostState::Since(const CHostState& before) const
{
    std::vector<std::string> lines;
    const auto only = [&lines](const char* sign, const CHostState& one, const CHostState& other) {
        std::vector<std::string> found;
        std::set_difference(one.m_lines.begin(), one.m_lines.end(), other.m_lines.begin(), other.m_lines.end(),
                            std::back_inserter(found));
        for (const std::string& line : found)
            lines.push_back(sign + line);
    };
    only("- ", before, *this);
    only("+ ", *this, before);
    return lines;
}
