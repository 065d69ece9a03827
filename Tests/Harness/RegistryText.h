#pragma once
// The registry as text: one notation for hive content, for differences and for the journal of platform calls.
//
// A value is written PATH  NAME  TYPE  DATA, the fields parted by two or more blanks (names may hold single blanks).
// Paths are below HKEY_LOCAL_MACHINE; the unnamed value is (default). Data: REG_SZ "text" (a quote inside is doubled),
// REG_DWORD and REG_QWORD decimal or 0x..., REG_MULTI_SZ "one", "two", REG_BINARY 0a ff. Bytes that are no well-formed
// value of their type are hex:31 00 32. On input a REG_SZ may stand bare, and so may the words of a REG_MULTI_SZ.

#include <windows.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

std::string Utf8(std::wstring_view text);
std::wstring Wide(std::string_view text);

// Trims every line and drops the empty ones, so that a raw literal may be indented as its test is.
std::string Lines(std::string_view text);
std::vector<std::string> SplitLines(std::string_view text);
// The parts between runs of two or more blanks, at most `limit` of them: the last one is all that is left.
std::vector<std::string> Fields(std::string_view line, size_t limit);

// Short names for long key paths (long, short), longest first wins; for the whole process, both ways.
using SHORT_NAMES = std::vector<std::pair<std::string, std::string>>;
void SetShortNames(SHORT_NAMES names);
std::string Shorten(std::string_view path);
std::string Expand(std::string_view path);

struct RAV_TEST_VALUE
{
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
    bool operator==(const RAV_TEST_VALUE&) const = default;
};

std::string TypeText(DWORD type);
std::string DataText(const RAV_TEST_VALUE& value);
// Both throw std::invalid_argument naming what can't be read.
DWORD ParseType(const std::string& text);
RAV_TEST_VALUE ParseValue(const std::string& type, const std::string& data);
