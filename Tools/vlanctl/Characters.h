#pragma once

#include <string>

// Characters in names that nobody sees, or that make a text look like another one.

// The text with such characters as "<U+202E>": control characters, overrides of the writing direction, and the ends of
// lines and paragraphs. Line feeds stay where they are wanted.
std::string Visible(const std::string& text, bool keepLineFeeds = false);
// A JSON text in which such characters are escaped: its value is the same.
std::string EscapedJson(const std::string& json);
// The first control character of a text, or the first that turns the direction of writing; 0 when there is none.
wchar_t FirstControl(const std::wstring& text);
wchar_t FirstDirection(const std::wstring& text);
// "U+202E"
std::string CodePointText(wchar_t character);
bool EndsBlank(const std::wstring& text);
// Whether it is well-formed UTF-8 without the character that stands for what was no text.
bool IsText(const std::string& text);
// The composed form of a text, in which names are compared: letters with marks may be written in two ways.
std::wstring Composed(const std::wstring& text);
