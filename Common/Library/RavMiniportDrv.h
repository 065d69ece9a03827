#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

// The control device of the intermediate driver.
inline constexpr wchar_t RAV_XMS_DEVICE[] = L"\\\\.\\oXMSProtocol";

// Sets an object identifier on one adapter. Input: RAV_OID_HEADER and, behind it, the identifier's information buffer.
// METHOD_BUFFERED, FILE_WRITE_ACCESS.
inline constexpr DWORD RAV_IOCTL_SET_OID = (0x00000012u << 16) | (0x0002u << 14) | (0x0801u << 2) | 0u;

// Head of an OID request to the intermediate driver.
struct RAV_OID_HEADER
{
    wchar_t szAdapter[40]; // instance GUID text of the adapter, NUL-terminated
    DWORD dwOid;
    DWORD dwLength; // bytes of the information buffer that follows
};
static_assert(sizeof(RAV_OID_HEADER) == 88, "the request is shared with the driver");

// Requests to the loaded driver of one adapter. Used by one thread at a time.
class CRavMiniportDrv
{
  public:
    explicit CRavMiniportDrv(const CRavString& strAdapter) : m_strAdapter(strAdapter) {}
    ~CRavMiniportDrv() { CloseDriver(); }
    CRavMiniportDrv(const CRavMiniportDrv&) = delete;
    CRavMiniportDrv& operator=(const CRavMiniportDrv&) = delete;

    // Opens the driver's device; true when it is open.
    bool OpenDriver();
    void CloseDriver();
    // Sends a set request with an information buffer of dwSize bytes; true when the driver completed it successfully.
    bool SetOid(DWORD dwOid, const BYTE* pData, DWORD dwSize);

  private:
    CRavString m_strAdapter;
    HANDLE m_hDevice = INVALID_HANDLE_VALUE;
};
