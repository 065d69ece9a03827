#include "Common/Library/RavMiniportDrv.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavSecure.h"

#include <cstring>
#include <iterator>
#include <vector>

bool CRavMiniportDrv::OpenDriver()
{
    CloseDriver();
    m_hDevice = CreateFileW(RAV_XMS_DEVICE, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, 0, nullptr);
    if (m_hDevice == INVALID_HANDLE_VALUE)
        RavTrace().Print(L"CRavMiniportDrv::OpenDriver - %s, error %d", RAV_XMS_DEVICE, GetLastError());
    return m_hDevice != INVALID_HANDLE_VALUE;
}

void CRavMiniportDrv::CloseDriver()
{
    if (m_hDevice != INVALID_HANDLE_VALUE)
        CloseHandle(m_hDevice);
    m_hDevice = INVALID_HANDLE_VALUE;
}

bool CRavMiniportDrv::SetOid(DWORD dwOid, const BYTE* pData, DWORD dwSize)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavMiniportDrv::SetOid", &done);
    RAV_OID_HEADER header = {};
    if (m_hDevice == INVALID_HANDLE_VALUE)
    {
        RavTrace().Print(L"CRavMiniportDrv::SetOid - the driver is not open");
        return false;
    }
    if (RavSafeCopy(L"..\\..\\Suite\\CommonLibrary\\RavMiniportDrv", __LINE__, header.szAdapter,
                    std::size(header.szAdapter), m_strAdapter) != 0)
        return false;
    header.dwOid = dwOid;
    header.dwLength = dwSize;
    std::vector<BYTE> request(sizeof(header) + dwSize);
    memcpy(request.data(), &header, sizeof(header));
    if (dwSize > 0)
        memcpy(request.data() + sizeof(header), pData, dwSize);
    DWORD returned = 0;
    done = DeviceIoControl(m_hDevice, RAV_IOCTL_SET_OID, request.data(), static_cast<DWORD>(request.size()), nullptr, 0,
                           &returned, nullptr) != FALSE;
    if (!done)
        RavTrace().Print(L"CRavMiniportDrv::SetOid - OID 0x%X, error %d", dwOid, GetLastError());
    return done;
}
