#include "Tools/vlanctl/Names.h"

#include "Tools/vlanctl/Output.h"

#include <cstdlib>

namespace
{
bool Same(const CRavString& left, const std::string& right)
{
    return left.CompareI(FromUtf8(right));
}

// "7" and "0007" are the same instance.
bool SameInstance(const std::string& instance, const std::string& name)
{
    return !instance.empty() && FromUtf8(name).IsNumeric() && name.size() <= 4 &&
           std::strtoul(instance.c_str(), nullptr, 10) == std::strtoul(name.c_str(), nullptr, 10);
}

bool IsParent(const ParentRow& row, const std::string& name)
{
    return Same(row.key, name) || Same(row.name, name) || SameInstance(row.instance, name);
}

bool IsVlan(const VlanRow& row, const std::string& name)
{
    if (Same(row.info.vlanKey, name) || Same(row.info.displayName, name) || Same(row.info.vlanName, name) ||
        SameInstance(row.instance, name))
        return true;
    const size_t slash = name.rfind('/');
    if (slash == std::string::npos)
        return false;
    const std::string id = name.substr(slash + 1);
    return (id == std::to_string(row.info.vlanId) || (row.info.vlanId == 0 && Same(L"untagged", id))) &&
           (Same(row.parentName, name.substr(0, slash)) || Same(row.parentKey, name.substr(0, slash)));
}

std::string Describe(const ParentRow& row)
{
    return ToUtf8(row.name) + (row.isTeam ? " (team " : " (adapter ") + row.instance + ", " + ToUtf8(row.key) + ")";
}

std::string Describe(const VlanRow& row)
{
    return ToUtf8(row.info.displayName) + " (id " + std::to_string(row.info.vlanId) + ", instance " + row.instance +
           ", " + ToUtf8(row.info.vlanKey) + ")";
}

template <typename Row, typename Test>
Row FindOne(const std::vector<Row>& rows, const std::string& kind, const std::string& name, Test test, const char* hint)
{
    std::vector<Row> found;
    for (const Row& row : rows)
    {
        if (test(row, name))
            found.push_back(row);
    }
    if (found.size() == 1)
        return found.front();
    if (found.empty())
        throw CommandError(EXIT_REFUSED, "there is no " + kind + " called \"" + name + "\"" + hint);
    std::string message = "\"" + name + "\" may be any of these; name one by its key:";
    for (const Row& row : found)
        message += "\n  " + Describe(row);
    throw CommandError(EXIT_REFUSED, message);
}
} // namespace

ParentRow FindParent(CSession& session, const std::string& name)
{
    return FindOne(ReadParents(session, ParentDetail::Names), "adapter or team", name, IsParent,
                   "; 'vlanctl parents --all' shows them");
}

VlanRow FindVlan(CSession& session, const std::string& name)
{
    return FindOne(ReadVlans(session), "VLAN", name, IsVlan, "; 'vlanctl list' shows them, PARENT/ID names one");
}
