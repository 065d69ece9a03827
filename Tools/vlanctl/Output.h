#pragma once

#include "Common/Src/CommandLine.h"
#include "Common/Src/RavString.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// What vlanctl writes. Text is UTF-8 in files and pipes, and what the console shows on a console.

void Print(const std::string& text);      // standard output
void PrintError(const std::string& text); // standard error
void PrintJson(const nlohmann::ordered_json& value);

// Rows of cells in aligned columns under their headings; nothing at all without rows.
class CTable
{
  public:
    explicit CTable(std::vector<std::string> headings);
    void Add(std::vector<std::string> cells);
    void Print() const;

  private:
    std::vector<std::vector<std::string>> m_rows;
};
