#pragma once

#include "Common/Src/RavFormat.h"

#include <windows.h>

#include <cstdarg>
#include <string>
#include <vector>

// The Windows headers rename the member of the same name.
#undef LoadString

// The suite's wide (UTF-16) string: a standard wide string with the suite's helpers. It adds no fields and has no
// virtual operations. std::vector<CRavString> is the suite's list type. Not shared between threads without a lock.
class CRavString : public std::wstring
{
  public:
    CRavString() = default;
    CRavString(const wchar_t* text); // null gives an empty string
    CRavString(wchar_t* const text) : CRavString(static_cast<const wchar_t*>(text)) {}
    // Copies up to the first NUL.
    CRavString(const CRavString& other) : CRavString(other.c_str()) {}
    // Decimal text; a number of 10 or more characters, sign included, gives an empty string.
    CRavString(const int& number);

    CRavString& operator=(const CRavString& other);
    CRavString& operator=(const wchar_t* text);
    CRavString& operator=(const int& number);
    // Keeps only the low 8 bits of each character, sign-extended: meant for ASCII text that was widened elsewhere.
    CRavString& operator=(const std::wstring& other);

    operator const wchar_t*() const { return c_str(); }

    size_t Length() const { return size(); }
    int IsEmpty() const { return empty() ? 1 : 0; }
    void ClearString() { clear(); }
    // A new copy, up to the first NUL, that the caller deletes.
    CRavString* Copy() const { return new CRavString(*this); }

    CRavString operator+(const CRavString& other) const;
    CRavString operator+(const wchar_t* text) const;
    bool operator==(const CRavString& other) const;
    bool operator==(const wchar_t* text) const;
    // Equality without regard to case, in any script.
    bool CompareI(CRavString other) const;

    // Case conversion in place, in any script, independent of the user's locale.
    void MakeLower();
    void MakeUpper();

    // Whether the text is one or more decimal digits and nothing else.
    bool IsNumeric() const;
    // Splits at each delimiter into one part more than there are delimiters; empty parts are kept. False, with no
    // parts, for an empty text.
    bool Split(char delimiter, std::vector<CRavString>& parts) const;

    // Replaces the content with the formatted text, of any length. The number of characters, or negative on failure,
    // which leaves the string empty. The text itself may be among the arguments. A format that does not take the
    // arguments does not compile; one that is not known before it is used goes to FormatUnchecked.
    template <typename... Args>
    int FormatString(RavFormatOf<Args...> format, Args... args)
    {
        return FormatUnchecked(format.Text(), args...);
    }
    int FormatUnchecked(const wchar_t* format, ...);
    int FormatString(const wchar_t* format, va_list args);

    // Replaces the content with a string resource of the module; the number of characters, 0 and an empty string when
    // there is none. LoadCommonResString takes it from the module that this code is part of.
    int LoadString(HINSTANCE module, DWORD id);
    int LoadCommonResString(unsigned int id);
};
