#include "Tools/vlanctl/Selection.h"

#include "Common/Src/RavUtf8.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/WantedVlans.h"
#include "Tools/vlanctl/WordList.h"

#include <algorithm>

namespace
{
constexpr char WILDCARDS[] = "*?";
constexpr const char* STATUSES[] = {LOADED, "notLoaded", "disabled", "unknown", DAMAGED};

CRavString Folded(const std::string& text)
{
    CRavString folded = Composed(FromUtf8(text)).c_str();
    folded.MakeLower();
    return folded;
}

bool HasWildcard(const std::string& text)
{
    return text.find_first_of(WILDCARDS) != std::string::npos;
}

bool IsPatternOfId(const std::string& text)
{
    return HasWildcard(text) && text.find_first_not_of("0123456789*?") == std::string::npos;
}

bool HasId(const VlanRow& row, const std::string& word)
{
    const std::vector<DWORD> ids = IdsOfRange(word);
    return IsPatternOfId(word) ? IsLike(std::to_string(row.info.vlanId), word)
                               : std::find(ids.begin(), ids.end(), row.info.vlanId) != ids.end();
}

bool HasName(const VlanRow& row, const std::string& pattern)
{
    return IsLike(ToUtf8(row.info.vlanName), pattern);
}

bool HasStatus(const VlanRow& row, const std::string& pattern)
{
    return IsLike(StatusWord(row), pattern) || IsLike(StatusText(row), pattern);
}

bool HasAny(const VlanRow& row, const std::vector<std::string>& wishes, bool (*has)(const VlanRow&, const std::string&))
{
    return wishes.empty() ||
           std::any_of(wishes.begin(), wishes.end(), [&](const std::string& wish) { return has(row, wish); });
}

std::vector<std::string> Words(const std::string& text)
{
    return text.empty() ? std::vector<std::string>() : WordsOf(text);
}

bool IsStatus(const std::string& word)
{
    return HasWildcard(word) || std::any_of(std::begin(STATUSES), std::end(STATUSES),
                                            [&](const char* status) { return IsLike(status, word); });
}
} // namespace

bool IsLike(const std::string& text, const std::string& pattern)
{
    const CRavString own = Folded(text);
    const CRavString wanted = Folded(pattern);
    size_t place = 0;
    size_t next = 0;                          // in the pattern
    size_t star = CRavString::npos, rest = 0; // the last star, and from where the text after what it stands for goes on
    while (place < own.size())
    {
        if (next < wanted.size() && wanted[next] == L'*')
        {
            star = next++;
            rest = place;
        }
        else if (next < wanted.size() && (wanted[next] == L'?' || wanted[next] == own[place]))
        {
            ++next;
            ++place;
        }
        else if (star != CRavString::npos)
        {
            next = star + 1;
            place = ++rest;
        }
        else
            return false;
    }
    return wanted.find_first_not_of(L'*', next) == CRavString::npos;
}

std::string SelectionFault(const ListOptions& options)
{
    for (const std::string& word : Words(options.ids))
    {
        if (!IsPatternOfId(word) && IdsOfRange(word).empty())
            return "--id: \"" + word + "\" is no id, no rising range and no pattern (10, 20-29, 1?)";
    }
    for (const std::string& word : Words(options.status))
    {
        if (!IsStatus(word))
            return "--status: there is no \"" + word + "\"; there are loaded, notLoaded, disabled, unknown, damaged";
    }
    return "";
}

bool IsSelected(const VlanRow& row, const ListOptions& options)
{
    return HasAny(row, Words(options.ids), HasId) && HasAny(row, options.names, HasName) &&
           HasAny(row, Words(options.status), HasStatus);
}
