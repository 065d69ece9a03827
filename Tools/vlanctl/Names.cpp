#include "Tools/vlanctl/Names.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>

namespace
{
// How a name fits: not at all, in another Unicode form, or as it is.
enum class Fit
{
    None,
    Form,
    Exact
};

Fit FitOf(const CRavString& own, const std::string& name)
{
    const CRavString wide = FromUtf8(name);
    if (own.CompareI(wide))
        return Fit::Exact;
    return CRavString(Composed(own).c_str()).CompareI(Composed(wide).c_str()) ? Fit::Form : Fit::None;
}

Fit When(bool fits)
{
    return fits ? Fit::Exact : Fit::None;
}

// A number alone or, as "#0012", what is said to be an instance number.
std::optional<DWORD> NumberOf(const std::string& name, bool isMarked)
{
    if (name.starts_with('#') != isMarked)
        return std::nullopt;
    const std::string digits = name.substr(isMarked ? 1 : 0);
    return FromUtf8(digits).IsNumeric() ? ParseId(digits) : std::nullopt;
}

bool IsInstance(const std::string& instance, const std::optional<DWORD>& number)
{
    return number && !instance.empty() && ParseId(instance) == number;
}

// A parent has no id: its number is the instance.
Fit ParentFit(const CRavString& key, const CRavString& own, const std::string& instance, const std::string& name)
{
    const bool isNumber = IsInstance(instance, NumberOf(name, false)) || IsInstance(instance, NumberOf(name, true));
    return std::max({FitOf(key, name), FitOf(own, name), When(isNumber)});
}

Fit FitOf(const ParentRow& row, const std::string& name)
{
    return ParentFit(row.key, row.name, row.instance, name);
}

// "Port A/10"
Fit PathFit(const VlanRow& row, const std::string& name)
{
    const size_t slash = name.rfind('/');
    if (slash == std::string::npos || ParseId(name.substr(slash + 1)) != row.info.vlanId)
        return Fit::None;
    return ParentFit(row.parentKey, row.parentName, row.parentInstance, name.substr(0, slash));
}

Fit FitOf(const VlanRow& row, const std::string& name)
{
    return std::max({FitOf(row.info.vlanKey, name), FitOf(row.info.displayName, name), FitOf(row.info.vlanName, name),
                     When(NumberOf(name, false) == row.info.vlanId),
                     When(IsInstance(row.instance, NumberOf(name, true))), PathFit(row, name)});
}

std::string Describe(const ParentRow& row)
{
    return Visible(ToUtf8(row.name)) + (row.isTeam ? " (team " : " (adapter ") + row.instance + ", " + ToUtf8(row.key) +
           ")";
}

std::string Describe(const VlanRow& row)
{
    return Visible(ToUtf8(row.info.displayName)) + " (id " + std::to_string(row.info.vlanId) + ", instance " +
           row.instance + ", " + ToUtf8(row.info.vlanKey) + ")";
}

template <typename Row>
[[noreturn]] void RefuseSeveral(const std::string& name, const std::vector<Row>& found)
{
    Note note = NoteOf("ambiguousName", '"' + Visible(name) + "\" may be any of these", "Name one by its key.");
    note.about["candidates"] = nlohmann::ordered_json::array();
    std::string list;
    for (const Row& row : found)
    {
        note.about["candidates"].push_back(Describe(row));
        list += "\n  " + Describe(row);
    }
    throw CommandError(EXIT_REFUSED, note, note.meaning + "; name one by its key:" + list);
}

// The only one of that name.
template <typename Row>
Row ChooseOne(const std::vector<Row>& rows, const std::string& kind, const std::string& name, const char* hint)
{
    if (name.empty())
        throw CommandError(EXIT_USAGE, NoteOf("emptyName", "an empty name is no " + kind + "'s", hint));
    std::vector<Row> found;
    Fit best = Fit::None;
    for (const Row& row : rows)
    {
        const Fit fit = FitOf(row, name);
        best = std::max(best, fit);
        if (fit != Fit::None)
            found.push_back(row);
    }
    if (found.size() > 1)
        RefuseSeveral(name, found);
    if (found.empty())
        throw CommandError(EXIT_REFUSED,
                           NoteOf(UNKNOWN_NAME, "there is no " + kind + " called \"" + Visible(name) + "\"", hint));
    if (best == Fit::Form)
        PrintError("warning: the name of " + Describe(found.front()) +
                   " is written with other characters that look the same\n");
    return found.front();
}
} // namespace

ParentRow ChooseParent(const std::vector<ParentRow>& rows, const std::string& name)
{
    return ChooseOne(rows, "adapter or team", name, "'vlanctl parents --all' shows them.");
}

VlanRow ChooseVlan(const std::vector<VlanRow>& rows, const std::string& name)
{
    const std::optional<DWORD> number = NumberOf(name, false);
    std::vector<VlanRow> meant;
    bool isInstanceOfOther = false;
    for (const VlanRow& row : rows)
    {
        const bool isNamed = FitOf(row, name) != Fit::None;
        if (isNamed || IsInstance(row.instance, number))
            meant.push_back(row);
        isInstanceOfOther = isInstanceOfOther || (!isNamed && IsInstance(row.instance, number));
    }
    if (isInstanceOfOther && meant.size() > 1)
        RefuseSeveral(name, meant);
    if (isInstanceOfOther)
        throw CommandError(EXIT_REFUSED, NoteOf(UNKNOWN_NAME, "there is no VLAN with the id " + name,
                                                "The instance number of " + Describe(meant.front()) +
                                                    " is written \"#" + name + "\"."));
    return ChooseOne(rows, "VLAN", name, "'vlanctl list' shows them, PARENT/ID names one.");
}

ParentRow FindParent(CSession& session, const std::string& name)
{
    return ChooseParent(ReadParents(session, ParentDetail::Names), name);
}

VlanRow FindVlan(CSession& session, const std::string& name)
{
    return ChooseVlan(ReadVlans(session), name);
}

bool IsSameName(const CRavString& own, const std::string& name)
{
    return FitOf(own, name) != Fit::None;
}

std::vector<Note> NameWarnings(CSession& session, const CRavString& parentKey, const std::string& name)
{
    const bool isPlain = std::all_of(name.begin(), name.end(), [](char byte) { return byte > 0; });
    for (const VlanRow& row : isPlain ? std::vector<VlanRow>() : ReadVlans(session, parentKey))
    {
        if (FitOf(row.info.vlanName, name) == Fit::Form)
            return {NoteOf("nameInOtherForm", VlanText(row.info) + " has a name that looks the same",
                           "It is written with other characters; choose a name that can be told apart.")};
    }
    return {};
}
