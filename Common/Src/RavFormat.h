#pragma once

#include <cstddef>
#include <type_traits>

// Formats of the Windows runtime for wide text (%s is a wide string, long has 32 bits), checked against their arguments
// when they are compiled. Compilers check formats by the rules of narrow text, if at all.

// What one conversion of a format takes from the arguments, and what an argument is.
enum class RavFormatArgument
{
    None,
    Number,     // up to 32 bits, signed or not
    LongNumber, // 64 bits
    Real,
    Text,
    NarrowText,
    Pointer
};

template <typename T>
constexpr RavFormatArgument RavFormatArgumentOf()
{
    using Target = std::remove_cv_t<std::remove_pointer_t<T>>;
    if constexpr (std::is_integral_v<T> || (std::is_enum_v<T> && std::is_convertible_v<T, long long>))
        return sizeof(T) <= 4 ? RavFormatArgument::Number : RavFormatArgument::LongNumber;
    else if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>)
        return RavFormatArgument::Real;
    else if constexpr (!std::is_pointer_v<T>)
        return RavFormatArgument::None;
    else if constexpr (std::is_same_v<Target, wchar_t>)
        return RavFormatArgument::Text;
    else if constexpr (std::is_same_v<Target, char>)
        return RavFormatArgument::NarrowText;
    else
        return RavFormatArgument::Pointer;
}

// Reads a format: what its conversions take, one after the other.
class CRavFormatReader
{
  public:
    constexpr explicit CRavFormatReader(const wchar_t* text) : m_next(text) {}

    // What the next conversion, or the star of its width, takes; None behind the last one, and where there is a
    // conversion that the runtime does not know.
    constexpr RavFormatArgument Next()
    {
        while (m_place == Place::Text && FindConversion())
            ;
        if (m_place == Place::Text)
            return RavFormatArgument::None;
        if (SkipToStar())
            return RavFormatArgument::Number;
        m_place = Place::Text;
        const Size size = ReadSize();
        const wchar_t conversion = *m_next == L'\0' ? L'\0' : *m_next++;
        const RavFormatArgument argument = Taken(conversion, size);
        m_isKnown = m_isKnown && argument != RavFormatArgument::None;
        return argument;
    }

    constexpr bool NextTakes(RavFormatArgument given)
    {
        const RavFormatArgument wanted = Next();
        const bool isText = given == RavFormatArgument::Text || given == RavFormatArgument::NarrowText;
        return wanted != RavFormatArgument::None &&
               (wanted == given || (wanted == RavFormatArgument::Pointer && isText));
    }

    constexpr bool IsKnown() const { return m_isKnown; }

  private:
    enum class Place
    {
        Text,
        Conversion // behind its percent sign
    };
    enum class Size
    {
        Usual,
        Short,
        Long,
        Bits64
    };

    static constexpr bool IsOneOf(wchar_t character, const wchar_t* set)
    {
        for (; *set != L'\0'; ++set)
        {
            if (*set == character)
                return true;
        }
        return false;
    }

    // Whether there is more to look at: another percent sign, which may be one of two that stand for themselves.
    constexpr bool FindConversion()
    {
        while (*m_next != L'\0' && *m_next != L'%')
            ++m_next;
        if (*m_next == L'\0')
            return false;
        ++m_next;
        if (*m_next == L'%')
            ++m_next;
        else
            m_place = Place::Conversion;
        return true;
    }

    constexpr bool SkipToStar()
    {
        while (IsOneOf(*m_next, L"-+ #0123456789."))
            ++m_next;
        if (*m_next != L'*')
            return false;
        ++m_next;
        return true;
    }

    constexpr bool Skip(const wchar_t* prefix)
    {
        const wchar_t* next = m_next;
        for (; *prefix != L'\0'; ++prefix, ++next)
        {
            if (*next != *prefix)
                return false;
        }
        m_next = next;
        return true;
    }

    constexpr Size ReadSize()
    {
        if (Skip(L"I64") || Skip(L"ll") || Skip(L"j") || Skip(L"z") || Skip(L"t"))
            return Size::Bits64;
        if (Skip(L"I32") || Skip(L"l") || Skip(L"w"))
            return Size::Long;
        if (Skip(L"I"))
            return Size::Bits64;
        return Skip(L"hh") || Skip(L"h") ? Size::Short : Size::Usual;
    }

    static constexpr RavFormatArgument Taken(wchar_t conversion, Size size)
    {
        if (IsOneOf(conversion, L"diouxX"))
            return size == Size::Bits64 ? RavFormatArgument::LongNumber : RavFormatArgument::Number;
        if (size == Size::Bits64)
            return RavFormatArgument::None;
        if (IsOneOf(conversion, L"cC"))
            return RavFormatArgument::Number;
        if (IsOneOf(conversion, L"sS"))
        {
            const bool isNarrow = size == Size::Short || (size == Size::Usual && conversion == L'S');
            return isNarrow ? RavFormatArgument::NarrowText : RavFormatArgument::Text;
        }
        if (IsOneOf(conversion, L"eEfFgGaA"))
            return RavFormatArgument::Real;
        return conversion == L'p' ? RavFormatArgument::Pointer : RavFormatArgument::None;
    }

    const wchar_t* m_next;
    Place m_place = Place::Text;
    bool m_isKnown = true;
};

// Whether the format takes arguments of these types, each of them and no more.
template <typename... Args>
constexpr bool RavFormatTakes(const wchar_t* format)
{
    CRavFormatReader reader(format);
    return (reader.NextTakes(RavFormatArgumentOf<Args>()) && ...) && reader.Next() == RavFormatArgument::None &&
           reader.IsKnown();
}

// A literal that takes arguments of these types; another does not compile.
template <typename... Args>
class CRavFormat
{
  public:
    consteval CRavFormat(const wchar_t* text) : m_text(text)
    {
        if (!RavFormatTakes<Args...>(text))
            TheFormatDoesNotTakeTheseArguments();
    }

    constexpr const wchar_t* Text() const { return m_text; }

  private:
    static void TheFormatDoesNotTakeTheseArguments(); // not constexpr: its name is in the compiler's complaint

    const wchar_t* m_text;
};

// The format of a call, which is not deduced: the arguments behind it say what it has to take.
template <typename... Args>
using RavFormatOf = std::type_identity_t<CRavFormat<Args...>>;
