#include "Src/Agent/RavVlanIdRange.h"

#include "Src/RavVlanTypes.h"

#include <algorithm>
#include <cwchar>

namespace
{
constexpr DWORD TOO_LARGE = 0x7FFFFFFF;

// The value of decimal digits, at most TOO_LARGE.
bool ParseNumber(const CRavString& text, DWORD& number)
{
    if (!text.IsNumeric())
        return false;
    unsigned long long value = 0;
    for (const wchar_t digit : text)
        value = std::min<unsigned long long>(value * 10 + static_cast<unsigned>(digit - L'0'), TOO_LARGE);
    number = static_cast<DWORD>(value);
    return true;
}

bool ParseList(const CRavString& text, std::vector<DWORD>& ids, bool& untagged)
{
    std::vector<CRavString> pieces;
    text.Split(',', pieces);
    for (const CRavString& piece : pieces)
    {
        DWORD number = 0;
        if (!ParseNumber(piece, number))
            return false;
        if (number == 0 && !untagged)
            untagged = true;
        else
            ids.push_back(number);
    }
    return true;
}

bool ParseRange(const CRavString& text, std::vector<DWORD>& ids, bool& untagged)
{
    std::vector<CRavString> limits;
    DWORD low = 0;
    DWORD high = 0;
    // A range of one is not a range.
    if (!text.Split('-', limits) || limits.size() != 2 || !ParseNumber(limits[0], low) ||
        !ParseNumber(limits[1], high) || low >= high)
        return false;
    untagged = low == 0;
    low = std::max<DWORD>(low, 1);
    // Behind the last legal id, and more than any parent carries, nothing new can be learned.
    const DWORD end = std::min(high, std::max(low + RAV_MAX_VLANS, RAV_MAX_VLAN_ID + 1));
    for (DWORD id = low; id <= end; ++id)
        ids.push_back(id);
    return true;
}

bool ParseSingle(const CRavString& text, std::vector<DWORD>& ids, bool& untagged)
{
    DWORD number = 0;
    if (!ParseNumber(text, number))
        return false;
    untagged = number == 0;
    if (!untagged)
        ids.push_back(number);
    return true;
}
} // namespace

bool RavParseVlanIds(const CRavString& text, std::vector<DWORD>& ids)
{
    ids.clear();
    bool untagged = false;
    if (!std::all_of(text.begin(), text.end(), [](wchar_t one) { return wcschr(L"0123456789,-", one) && one != 0; }))
        return false;
    const bool isList = text.find(L',') != CRavString::npos;
    const bool isRange = text.find(L'-') != CRavString::npos;
    const bool parsed = isList    ? ParseList(text, ids, untagged)
                        : isRange ? ParseRange(text, ids, untagged)
                                  : ParseSingle(text, ids, untagged);
    if (!parsed)
        ids.clear();
    else if (untagged && (ids.empty() || ids.back() != 0))
        ids.push_back(0); // last; a list that ends with one has it there already
    return parsed;
}
