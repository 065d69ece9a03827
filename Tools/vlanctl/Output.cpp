#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <cstdio>

namespace
{
void Write(DWORD stream, const std::string& text)
{
    const HANDLE handle = GetStdHandle(stream);
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(handle, &mode))
    {
        const std::wstring wide = FromUtf8(text);
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
        return;
    }
    WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

// Counts characters, not bytes. Combining marks and wide letters are rare in names, and are not considered.
size_t Width(const std::string& text)
{
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}
} // namespace

void Print(const std::string& text)
{
    Write(STD_OUTPUT_HANDLE, text);
}

void PrintError(const std::string& text)
{
    Write(STD_ERROR_HANDLE, text);
}

void PrintJson(const nlohmann::ordered_json& value)
{
    Print(value.dump(2) + "\n");
}

CTable::CTable(std::vector<std::string> headings)
{
    m_rows.push_back(std::move(headings));
}

// Control characters, which the agent lets pass in names, would break the table.
void CTable::Add(std::vector<std::string> cells)
{
    for (std::string& cell : cells)
        std::replace_if(
            cell.begin(), cell.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x20; }, '?');
    m_rows.push_back(std::move(cells));
}

void CTable::Print() const
{
    if (m_rows.size() < 2)
        return;
    std::vector<size_t> widths(m_rows.front().size());
    for (const auto& row : m_rows)
    {
        for (size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], Width(row[column]));
    }
    std::string text;
    for (const auto& row : m_rows)
    {
        for (size_t column = 0; column < row.size(); ++column)
            text += row[column] + std::string(widths[column] - Width(row[column]) + 2, ' ');
        text.erase(text.find_last_not_of(' ') + 1);
        text += "\n";
    }
    ::Print(text);
}
