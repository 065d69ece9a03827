#pragma once

#include <windows.h>

// Holds a critical section for a scope.
class CRavSectionGuard
{
  public:
    explicit CRavSectionGuard(CRITICAL_SECTION& section) : m_section(section) { EnterCriticalSection(&m_section); }
    ~CRavSectionGuard() { LeaveCriticalSection(&m_section); }
    CRavSectionGuard(const CRavSectionGuard&) = delete;
    CRavSectionGuard& operator=(const CRavSectionGuard&) = delete;

  private:
    CRITICAL_SECTION& m_section;
};
