#pragma once

#include <objbase.h>

// Keeps the calling thread in a COM apartment for a scope. A thread that is in one already stays in that.
class CRavComApartment
{
  public:
    CRavComApartment() : m_bEntered(SUCCEEDED(CoInitialize(nullptr))) {}
    ~CRavComApartment()
    {
        if (m_bEntered)
            CoUninitialize();
    }
    CRavComApartment(const CRavComApartment&) = delete;
    CRavComApartment& operator=(const CRavComApartment&) = delete;

  private:
    bool m_bEntered;
};
