#pragma once

#include <windows.h>

#include <string>

// How far a command of several steps has come: on a console one line that is written over, elsewhere lines on standard
// error, at most one a second.
class CProgressLine
{
  public:
    explicit CProgressLine(size_t total) : m_total(total), m_start(GetTickCount64()), m_last(m_start) {}
    // Takes the line away.
    ~CProgressLine();
    CProgressLine(const CProgressLine&) = delete;
    CProgressLine& operator=(const CProgressLine&) = delete;

    // So many steps are done, and this one is begun. Of a single step nothing is shown.
    void Show(size_t done, const std::string& what);

  private:
    size_t m_total;
    ULONGLONG m_start;
    ULONGLONG m_last; // when something was shown
};

// "3 of 40, 12 s: create 12 VLAN12 on Port A"
std::string ProgressText(size_t step, size_t total, ULONGLONG seconds, const std::string& what);
