#include "Tools/vlanctl/Characters.h"

#include "Common/Src/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace
{
struct Range
{
    wchar_t first;
    wchar_t last;
};
constexpr Range CONTROLS[] = {{0x01, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x2029}};
constexpr Range DIRECTIONS[] = {{0x202A, 0x202E}, {0x2066, 0x2069}};
constexpr Range BLANKS[] = {{0x20, 0x20}, {0xA0, 0xA0}, {0x2000, 0x200B}, {0x202F, 0x202F}, {0x3000, 0x3000}};
constexpr wchar_t REPLACEMENT = 0xFFFD; // of what was no text

template <size_t SIZE>
bool IsIn(wchar_t character, const Range (&ranges)[SIZE])
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range& range) { return character >= range.first && character <= range.last; });
}

std::string Number(const char* format, wchar_t character)
{
    char text[16];
    std::snprintf(text, sizeof(text), format, static_cast<unsigned>(character));
    return text;
}

std::string Replaced(const std::string& text, bool keepLineFeeds, const char* format)
{
    if (std::all_of(text.begin(), text.end(),
                    [&](char byte) { return (byte >= 0x20 && byte < 0x7F) || (keepLineFeeds && byte == '\n'); }))
        return text;
    std::wstring replaced;
    for (const wchar_t character : WideOf(text))
    {
        if ((IsIn(character, CONTROLS) || IsIn(character, DIRECTIONS)) && !(keepLineFeeds && character == L'\n'))
            replaced += WideOf(Number(format, character));
        else
            replaced += character;
    }
    return ToUtf8(replaced);
}

// The first character in the ranges; 0 when there is none.
template <size_t SIZE>
wchar_t FirstIn(const std::wstring& text, const Range (&ranges)[SIZE])
{
    const auto found =
        std::find_if(text.begin(), text.end(), [&](wchar_t character) { return IsIn(character, ranges); });
    return found != text.end() ? *found : L'\0';
}
} // namespace

std::string Visible(const std::string& text, bool keepLineFeeds)
{
    return Replaced(text, keepLineFeeds, "<U+%04X>");
}

std::string EscapedJson(const std::string& json)
{
    return Replaced(json, true, "\\u%04x");
}

wchar_t FirstControl(const std::wstring& text)
{
    return FirstIn(text, CONTROLS);
}

wchar_t FirstDirection(const std::wstring& text)
{
    return FirstIn(text, DIRECTIONS);
}

std::string CodePointText(wchar_t character)
{
    return Number("U+%04X", character);
}

bool EndsBlank(const std::wstring& text)
{
    return !text.empty() && IsIn(text.back(), BLANKS);
}

bool IsText(const std::string& text)
{
    const int size = static_cast<int>(text.size());
    return text.empty() || (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0) > 0 &&
                            WideOf(text).find_first_of(std::wstring({REPLACEMENT, L'\0'})) == std::wstring::npos);
}

std::wstring Composed(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    const int estimate = text.empty() ? 0 : NormalizeString(NormalizationC, text.data(), length, nullptr, 0);
    if (estimate <= 0)
        return text;
    std::wstring composed(static_cast<size_t>(estimate), L'\0');
    const int written = NormalizeString(NormalizationC, text.data(), length, composed.data(), estimate);
    if (written <= 0) // ill-formed: it is compared as it is
        return text;
    composed.resize(static_cast<size_t>(written));
    return composed;
}
