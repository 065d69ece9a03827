#pragma once
// The one conversion between UTF-16, which Windows speaks, and UTF-8, which files and terminals do.

#include <windows.h>

#include <string>
#include <string_view>

// Into the caller's bytes: how many were written, 0 when they do not suffice. Three bytes for each character always do.
inline int RavToUtf8(const wchar_t* text, size_t length, char* bytes, size_t size)
{
    return WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), bytes, static_cast<int>(size), nullptr,
                               nullptr);
}

inline std::string ToUtf8(std::wstring_view text)
{
    std::string bytes(3 * text.size(), '\0');
    bytes.resize(static_cast<size_t>(RavToUtf8(text.data(), text.size(), bytes.data(), bytes.size())));
    return bytes;
}

inline std::wstring WideOf(std::string_view text)
{
    std::wstring wide(text.size(), L'\0');
    const int length = static_cast<int>(text.size());
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), length)));
    return wide;
}
