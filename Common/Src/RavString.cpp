#include "Common/Src/RavString.h"

#include "Common/Src/RavSecure.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>

namespace
{
// The conversion buffer that decides which numbers have a text: sign, digits and terminator.
constexpr size_t NUMBER_SIZE = 10;

// Simple case mapping of the invariant locale: the same result on every machine, one character for one.
void MapCase(std::wstring& text, DWORD mapping)
{
    if (text.empty())
        return;
    std::wstring mapped(text.size(), L'\0');
    const int length = static_cast<int>(text.size());
    if (LCMapStringEx(LOCALE_NAME_INVARIANT, mapping, text.data(), length, mapped.data(), length, nullptr, nullptr,
                      0) == length)
        text.swap(mapped);
}
} // namespace

CRavString::CRavString(const wchar_t* text) : std::wstring(text != nullptr ? text : L"") {}

CRavString::CRavString(const int& number)
{
    *this = number;
}

CRavString& CRavString::operator=(const CRavString& other)
{
    std::wstring::operator=(other);
    return *this;
}

CRavString& CRavString::operator=(const wchar_t* text)
{
    assign(text != nullptr ? text : L"");
    return *this;
}

CRavString& CRavString::operator=(const int& number)
{
    RavSecureInstallHandler();
    wchar_t buffer[NUMBER_SIZE] = {};
    if (_itow_s(number, buffer, NUMBER_SIZE, 10) == 0)
        assign(buffer);
    else
        clear();
    return *this;
}

CRavString& CRavString::operator=(const std::wstring& other)
{
    std::wstring narrowed(other.size(), L'\0');
    std::transform(other.begin(), other.end(), narrowed.begin(),
                   [](wchar_t character) { return static_cast<wchar_t>(static_cast<signed char>(character & 0xFF)); });
    swap(narrowed);
    return *this;
}

CRavString CRavString::operator+(const CRavString& other) const
{
    CRavString sum;
    sum.reserve(size() + other.size());
    sum.append(*this).append(other);
    return sum;
}

CRavString CRavString::operator+(const wchar_t* text) const
{
    return *this + CRavString(text);
}

bool CRavString::operator==(const CRavString& other) const
{
    return compare(other) == 0;
}

bool CRavString::operator==(const wchar_t* text) const
{
    return compare(text != nullptr ? text : L"") == 0;
}

bool CRavString::CompareI(CRavString other) const
{
    return CompareStringOrdinal(c_str(), static_cast<int>(size()), other.c_str(), static_cast<int>(other.size()),
                                TRUE) == CSTR_EQUAL;
}

void CRavString::MakeLower()
{
    MapCase(*this, LCMAP_LOWERCASE);
}

void CRavString::MakeUpper()
{
    MapCase(*this, LCMAP_UPPERCASE);
}

bool CRavString::IsNumeric() const
{
    return !empty() &&
           std::all_of(begin(), end(), [](wchar_t character) { return character >= L'0' && character <= L'9'; });
}

bool CRavString::Split(char delimiter, std::vector<CRavString>& parts) const
{
    const wchar_t separator = static_cast<unsigned char>(delimiter);
    parts.clear();
    if (empty())
        return false;
    size_t start = 0;
    for (size_t end = find(separator); end != npos; start = end + 1, end = find(separator, start))
        parts.emplace_back(substr(start, end - start).c_str());
    parts.emplace_back(substr(start).c_str());
    return true;
}

int CRavString::FormatUnchecked(const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int length = FormatString(format, args);
    va_end(args);
    return length;
}

int CRavString::FormatString(const wchar_t* format, va_list args)
{
    RavSecureInstallHandler();
    va_list again;
    va_copy(again, args);
    int length = format != nullptr ? _vscwprintf(format, args) : -1;
    std::wstring text;
    if (length > 0)
    {
        // The terminator lands in the character that every string keeps behind its end.
        text.resize(static_cast<size_t>(length));
        length = _vsnwprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    if (length < 0)
        text.clear();
    swap(text);
    return length;
}

int CRavString::LoadString(HINSTANCE module, DWORD id)
{
    // With no buffer the call hands out the resource itself, which is not terminated.
    const wchar_t* resource = nullptr;
    const int length = LoadStringW(module, id, reinterpret_cast<wchar_t*>(&resource), 0);
    if (length <= 0 || resource == nullptr)
    {
        clear();
        return 0;
    }
    assign(resource, static_cast<size_t>(length));
    return length;
}

int CRavString::LoadCommonResString(unsigned int id)
{
    static const char here = 0;
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<const wchar_t*>(&here), &module))
    {
        clear();
        return 0;
    }
    return LoadString(module, id);
}
