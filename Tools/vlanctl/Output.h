#pragma once

#include "Common/Src/RavUtf8.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// What vlanctl writes. Text is UTF-8 in files and pipes, and what the console shows on a console. Characters that
// nobody would see are made visible.

// Standard output. When it cannot be written that is said once on standard error, and nothing goes on the way there.
void Print(const std::string& text);
void PrintError(const std::string& text); // standard error

enum class Style
{
    Plain,
    Strong,
    Faint,
    Good,
    Bad
};
struct Span
{
    std::string text;
    Style style = Style::Plain;
};
// Styles show on a console that knows them, unless NO_COLOR is set, and everywhere when CLICOLOR_FORCE is.
void Print(const std::vector<Span>& spans);
// One line at the end of a console that standard error is, shortened to its width, in place of the last such one; the
// next output takes it away. False elsewhere, where nothing happens.
bool ShowPassing(const std::string& text);
// Empties a console that knows how; elsewhere nothing happens.
void ClearConsole();

// To the console that somebody sits at, if there is one, also when standard error goes elsewhere.
void PrintQuestion(const std::string& text);
bool IsConsole(DWORD stream); // STD_OUTPUT_HANDLE
// Whether all that was printed has been written.
bool IsOutputWhole();
// From now on what cannot be written to standard output goes to standard error: for a command that has changed the
// host.
void KeepOutput();
// What Windows says about an error, without the full stop.
std::string WindowsText(DWORD error);
void PrintJson(const nlohmann::ordered_json& value);

// Rows of cells under their headings.
class CTable
{
  public:
    enum class Headings
    {
        Shown,
        Hidden
    };
    explicit CTable(std::vector<std::string> headings);
    void Add(std::vector<std::string> cells);
    // In aligned columns; nothing at all without rows.
    std::string Text(Headings headings = Headings::Shown) const;
    // With commas, as RFC 4180 has them; without rows the headings alone.
    std::string Csv(Headings headings = Headings::Shown) const;
    void Print(Headings headings = Headings::Shown) const;
    void PrintCsv(Headings headings = Headings::Shown) const;

  private:
    std::vector<std::vector<std::string>> m_rows;
};
