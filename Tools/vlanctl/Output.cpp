#include "Tools/vlanctl/Output.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Width.h"

#include <algorithm>
#include <utility>

namespace
{
bool s_isWhole = true;
bool s_isKept = false;
bool s_isPassing = false; // a passing line is on the console

constexpr size_t USUAL_WIDTH = 80;
constexpr char LINE_AWAY[] = "\r\x1b[K";

DWORD WriteToConsole(HANDLE console, const std::string& text)
{
    const std::wstring wide = FromUtf8(text);
    DWORD written = 0;
    for (size_t place = 0; place < wide.size(); place += written)
    {
        if (!WriteConsoleW(console, wide.data() + place, static_cast<DWORD>(wide.size() - place), &written, nullptr))
            return GetLastError();
        if (written == 0)
            return ERROR_WRITE_FAULT;
    }
    return ERROR_SUCCESS;
}

DWORD WriteToFile(HANDLE file, const std::string& text)
{
    DWORD written = 0;
    for (size_t place = 0; place < text.size(); place += written)
    {
        if (!WriteFile(file, text.data() + place, static_cast<DWORD>(text.size() - place), &written, nullptr))
            return GetLastError();
        if (written == 0)
            return ERROR_DISK_FULL;
    }
    return ERROR_SUCCESS;
}

DWORD WriteTo(HANDLE handle, const std::string& text)
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) ? WriteToConsole(handle, text) : WriteToFile(handle, text);
}

bool IsSet(const wchar_t* variable)
{
    wchar_t value[2] = {};
    return GetEnvironmentVariableW(variable, value, 2) > 0 && std::wstring(value) != L"0";
}

// Whether a standard stream is a console that takes sequences for colours and places. It is asked to.
bool TakesSequences(DWORD stream)
{
    const HANDLE handle = GetStdHandle(stream);
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != FALSE &&
           SetConsoleMode(handle, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

void TakePassingAway()
{
    if (std::exchange(s_isPassing, false))
        WriteTo(GetStdHandle(STD_ERROR_HANDLE), LINE_AWAY);
}

size_t WidthOfConsole()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    const bool isKnown = GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != FALSE;
    return isKnown && info.dwSize.X > 1 ? static_cast<size_t>(info.dwSize.X) : USUAL_WIDTH;
}

bool IsColoured()
{
    static const bool s_isColoured =
        !IsSet(L"NO_COLOR") && (IsSet(L"CLICOLOR_FORCE") || TakesSequences(STD_OUTPUT_HANDLE));
    return s_isColoured;
}

std::string Styled(const Span& span)
{
    static const char* const CODES[] = {"", "1", "2", "32", "1;31"};
    const std::string text = Visible(span.text, true);
    return span.style == Style::Plain || !IsColoured()
               ? text
               : std::string("\x1b[") + CODES[static_cast<size_t>(span.style)] + "m" + text + "\x1b[0m";
}

// With its sequences for a console, or as standard error has it when standard output has gone.
void Write(const std::string& shown, const std::string& text)
{
    TakePassingAway();
    if (s_isWhole)
    {
        const DWORD error = WriteTo(GetStdHandle(STD_OUTPUT_HANDLE), shown);
        if (error == ERROR_SUCCESS)
            return;
        s_isWhole = false;
        PrintError("vlanctl: standard output cannot be written: " + WindowsText(error) +
                   (s_isKept ? "; it goes on here\n" : "\n"));
    }
    if (s_isKept)
        PrintError(text);
}

// A field of a CSV file, in quotes where it needs them.
std::string Field(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char byte : text)
        quoted += byte == '"' ? std::string(2, byte) : std::string(1, byte);
    return quoted + "\"";
}
} // namespace

void Print(const std::string& text)
{
    Write(Visible(text, true), text);
}

void Print(const std::vector<Span>& spans)
{
    std::string shown;
    std::string text;
    for (const Span& span : spans)
    {
        shown += Styled(span);
        text += span.text;
    }
    Write(shown, text);
}

void ClearConsole()
{
    if (TakesSequences(STD_OUTPUT_HANDLE))
        Write("\x1b[H\x1b[2J", "");
}

bool ShowPassing(const std::string& text)
{
    static const bool s_isPossible = TakesSequences(STD_ERROR_HANDLE);
    if (!s_isPossible)
        return false;
    WriteTo(GetStdHandle(STD_ERROR_HANDLE), LINE_AWAY + Shortened(Visible(text), WidthOfConsole() - 1));
    return s_isPassing = true;
}

bool IsOutputWhole()
{
    return s_isWhole;
}

void KeepOutput()
{
    s_isKept = true;
}

std::string WindowsText(DWORD error)
{
    wchar_t text[256] = {};
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text,
                                  256, nullptr);
    while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r' || text[length - 1] == L'.'))
        text[--length] = L'\0';
    return length > 0 ? ToUtf8(text) : "error " + std::to_string(error);
}

void PrintError(const std::string& text)
{
    TakePassingAway();
    WriteTo(GetStdHandle(STD_ERROR_HANDLE), Visible(text, true));
}

bool IsConsole(DWORD stream)
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != FALSE;
}

void PrintQuestion(const std::string& text)
{
    const HANDLE console = IsConsole(STD_ERROR_HANDLE)
                               ? INVALID_HANDLE_VALUE
                               : CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (console == INVALID_HANDLE_VALUE)
        return PrintError(text);
    TakePassingAway();
    WriteToConsole(console, Visible(text, true));
    CloseHandle(console);
}

void PrintJson(const nlohmann::ordered_json& value)
{
    Print(EscapedJson(value.dump(2)) + "\n");
}

CTable::CTable(std::vector<std::string> headings)
{
    m_rows.push_back(std::move(headings));
}

void CTable::Add(std::vector<std::string> cells)
{
    for (std::string& cell : cells)
        cell = Visible(cell); // a line feed would break the table
    m_rows.push_back(std::move(cells));
}

std::string CTable::Text(Headings headings) const
{
    const auto first = m_rows.begin() + (headings == Headings::Hidden ? 1 : 0);
    if (m_rows.size() < 2)
        return "";
    std::vector<size_t> widths(m_rows.front().size());
    for (auto row = first; row != m_rows.end(); ++row)
    {
        for (size_t column = 0; column < row->size(); ++column)
            widths[column] = std::max(widths[column], Width((*row)[column]));
    }
    std::string text;
    for (auto row = first; row != m_rows.end(); ++row)
    {
        for (size_t column = 0; column < row->size(); ++column)
            text += (*row)[column] + std::string(widths[column] - Width((*row)[column]) + 2, ' ');
        text.erase(text.find_last_not_of(' ') + 1);
        text += "\n";
    }
    return text;
}

std::string CTable::Csv(Headings headings) const
{
    std::string text;
    for (auto row = m_rows.begin() + (headings == Headings::Hidden ? 1 : 0); row != m_rows.end(); ++row)
    {
        for (size_t column = 0; column < row->size(); ++column)
            text += (column > 0 ? "," : "") + Field((*row)[column]);
        text += "\r\n";
    }
    return text;
}

void CTable::Print(Headings headings) const
{
    ::Print(Text(headings));
}

void CTable::PrintCsv(Headings headings) const
{
    Write(Csv(headings), Csv(headings)); // its cells are visible, and its lines end as such files' do
}
