#pragma once

#include <windows.h>

// Owns a handle of the service control manager or of a service; null when it was not to be had.
class CRavServiceHandle
{
  public:
    explicit CRavServiceHandle(SC_HANDLE handle) : m_handle(handle) {}
    ~CRavServiceHandle()
    {
        if (m_handle != nullptr)
            CloseServiceHandle(m_handle);
    }
    CRavServiceHandle(const CRavServiceHandle&) = delete;
    CRavServiceHandle& operator=(const CRavServiceHandle&) = delete;
    SC_HANDLE Get() const { return m_handle; }

  private:
    SC_HANDLE m_handle;
};
