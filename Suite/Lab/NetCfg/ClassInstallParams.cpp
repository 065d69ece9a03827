#include "Suite/Lab/NetCfg/ClassInstallParams.h"

#include "Suite/Lab/NetCfg/ComObject.h"

#include <devguid.h>

#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace
{

using PARAMS_OWNER = std::pair<HDEVINFO, DWORD>; // set and device, 0 for the set itself

std::mutex paramsMutex;
std::map<PARAMS_OWNER, std::vector<BYTE>> paramsByOwner;

PARAMS_OWNER ownerOf(HDEVINFO set, const SP_DEVINFO_DATA* device)
{
    // Device instances count from 0.
    return {set, device == nullptr ? 0 : device->DevInst + 1};
}

BOOL finish(DWORD error)
{
    if (error == ERROR_SUCCESS)
        return TRUE;
    SetLastError(error);
    return FALSE;
}

DWORD setParams(HDEVINFO set, const SP_DEVINFO_DATA* device, const SP_CLASSINSTALL_HEADER* params, DWORD size)
{
    const std::lock_guard<std::mutex> guard(paramsMutex);
    if (set == INVALID_HANDLE_VALUE || set == nullptr)
        return ERROR_INVALID_HANDLE;
    if (params == nullptr)
    {
        paramsByOwner.erase(ownerOf(set, device));
        return size == 0 ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    }
    if (size < sizeof(*params) || params->cbSize != sizeof(*params))
        return ERROR_INVALID_PARAMETER;
    const BYTE* bytes = reinterpret_cast<const BYTE*>(params);
    paramsByOwner[ownerOf(set, device)].assign(bytes, bytes + size);
    return ERROR_SUCCESS;
}

DWORD getParams(HDEVINFO set, const SP_DEVINFO_DATA* device, SP_CLASSINSTALL_HEADER* params, DWORD size,
                DWORD* required)
{
    const std::lock_guard<std::mutex> guard(paramsMutex);
    const auto found = paramsByOwner.find(ownerOf(set, device));
    if (found == paramsByOwner.end())
        return ERROR_NO_CLASSINSTALL_PARAMS;
    if (required != nullptr)
        *required = static_cast<DWORD>(found->second.size());
    if (params == nullptr || size < found->second.size())
        return ERROR_INSUFFICIENT_BUFFER;
    CopyMemory(params, found->second.data(), found->second.size());
    return ERROR_SUCCESS;
}

template <typename Body>
BOOL answer(Body&& body) noexcept
{
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    Guarded([&] {
        error = body();
        return S_OK;
    });
    return finish(error);
}

BOOL WINAPI setClassInstallParams(HDEVINFO set, PSP_DEVINFO_DATA device, PSP_CLASSINSTALL_HEADER params, DWORD size)
{
    return answer([&] { return setParams(set, device, params, size); });
}

BOOL WINAPI getClassInstallParams(HDEVINFO set, PSP_DEVINFO_DATA device, PSP_CLASSINSTALL_HEADER params, DWORD size,
                                  PDWORD required)
{
    return answer([&] { return getParams(set, device, params, size, required); });
}

/// Sends the callers of a platform function elsewhere, whoever they are, for as long as this object lives.
class CFunctionDetour
{
  public:
    CFunctionDetour(const char* name, void* target)
        : m_pCode(reinterpret_cast<BYTE*>(GetProcAddress(GetModuleHandleW(L"setupapi.dll"), name)))
    {
        if (m_pCode == nullptr)
            return;
        BYTE jump[codeSize] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0}; // mov rax, target; jmp rax
        CopyMemory(jump + 2, &target, sizeof(target));
        CopyMemory(m_aOriginal, m_pCode, codeSize);
        Write(jump);
    }

    CFunctionDetour(const CFunctionDetour&) = delete;
    CFunctionDetour& operator=(const CFunctionDetour&) = delete;

    ~CFunctionDetour()
    {
        if (m_pCode != nullptr)
            Write(m_aOriginal);
    }

  private:
    static constexpr size_t codeSize = 12;

    void Write(const BYTE* code)
    {
        DWORD protection = 0;
        if (!VirtualProtect(m_pCode, codeSize, PAGE_EXECUTE_READWRITE, &protection))
            return;
        CopyMemory(m_pCode, code, codeSize);
        VirtualProtect(m_pCode, codeSize, protection, &protection);
        FlushInstructionCache(GetCurrentProcess(), m_pCode, codeSize);
    }

    BYTE* m_pCode;
    BYTE m_aOriginal[codeSize] = {};
};

bool isMissing()
{
    if (GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr)
        return false;
    const HDEVINFO set = SetupDiCreateDeviceInfoList(&GUID_DEVCLASS_NET, nullptr);
    if (set == INVALID_HANDLE_VALUE)
        return false;
    SP_PROPCHANGE_PARAMS params{};
    params.ClassInstallHeader.cbSize = sizeof(params.ClassInstallHeader);
    params.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    params.StateChange = DICS_PROPCHANGE;
    params.Scope = DICS_FLAG_CONFIGSPECIFIC;
    const BOOL stored = SetupDiSetClassInstallParamsW(set, nullptr, &params.ClassInstallHeader, sizeof(params));
    SetupDiDestroyDeviceInfoList(set);
    return !stored;
}

} // namespace

void SupplyClassInstallParams()
{
    static const bool missing = isMissing();
    if (!missing)
        return;
    static const CFunctionDetour set("SetupDiSetClassInstallParamsW", reinterpret_cast<void*>(setClassInstallParams));
    static const CFunctionDetour get("SetupDiGetClassInstallParamsW", reinterpret_cast<void*>(getClassInstallParams));
}

void ForgetClassInstallParams(HDEVINFO set, const SP_DEVINFO_DATA* device)
{
    const std::lock_guard<std::mutex> guard(paramsMutex);
    if (device != nullptr)
        paramsByOwner.erase(ownerOf(set, device));
    else
        std::erase_if(paramsByOwner, [set](const auto& entry) { return entry.first.first == set; });
}
