#include "Suite/Lab/NetCfg/ClassInstallParams.h"
#include "Suite/Lab/NetCfg/NetCfgObject.h"
#include "Suite/Lab/NetCfg/NetComponents.h"

#include <olectl.h>

namespace
{

HINSTANCE serverModule = nullptr;

constexpr wchar_t serverKeyPath[] = L"SOFTWARE\\Classes\\CLSID\\{5B035261-40F9-11D1-AAEC-00805FC1270E}";
constexpr wchar_t inProcessKeyName[] = L"\\InprocServer32";
constexpr wchar_t previousServerName[] = L"PreviousNetCfgServer";

class CClassFactory final : public CComObject<IClassFactory>
{
  public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (outer != nullptr)
            return CLASS_E_NOAGGREGATION;
        return Guarded([&] {
            CNetCfg* made = nullptr;
            HRESULT result = MakeObject<CNetCfg>(&made);
            if (FAILED(result))
                return result;
            result = made->QueryInterface(id, object);
            made->Release();
            return result;
        });
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override
    {
        if (lock)
            CServerUse::Add();
        else
            CServerUse::Remove();
        return S_OK;
    }
};

std::wstring serverPath()
{
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(serverModule, path, MAX_PATH);
    return length == MAX_PATH ? std::wstring() : std::wstring(path, length);
}

std::wstring registeredServer()
{
    CRegistryKey key;
    if (key.Open(std::wstring(serverKeyPath) + inProcessKeyName) != ERROR_SUCCESS)
        return {};
    return key.Text(nullptr).value_or(std::wstring());
}

LSTATUS writeServer(const std::wstring& path)
{
    CRegistryKey key;
    LSTATUS status = key.Create(serverKeyPath);
    if (status == ERROR_SUCCESS)
        status = key.SetText(nullptr, L"Network Configuration Component Object");
    if (status == ERROR_SUCCESS)
        status = key.Create(std::wstring(serverKeyPath) + inProcessKeyName);
    if (status == ERROR_SUCCESS)
        status = key.SetText(nullptr, path);
    return status == ERROR_SUCCESS ? key.SetText(L"ThreadingModel", L"Both") : status;
}

// On a real Windows every program would find this server in the place of the system's own.
bool isRealWindows()
{
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll == nullptr || GetProcAddress(ntdll, "wine_get_version") == nullptr;
}

// The platform's own server is noted, so that taking ours away puts it back.
LSTATUS registerServer()
{
    const std::wstring path = serverPath();
    const std::wstring present = registeredServer();
    if (path.empty())
        return ERROR_FILENAME_EXCED_RANGE;
    if (!present.empty() && !SameName(present, path))
    {
        CRegistryKey lab;
        LSTATUS status = lab.Create(LAB_KEY);
        if (status == ERROR_SUCCESS && !lab.Text(previousServerName))
            status = lab.SetText(previousServerName, present);
        if (status != ERROR_SUCCESS)
            return status;
    }
    return writeServer(path);
}

LSTATUS unregisterServer()
{
    if (!SameName(registeredServer(), serverPath()))
        return ERROR_SUCCESS;
    CRegistryKey lab;
    std::optional<std::wstring> previous;
    if (lab.Open(LAB_KEY, KEY_READ | KEY_WRITE) == ERROR_SUCCESS)
        previous = lab.Text(previousServerName);
    if (!previous)
        return DeleteKeyTree(serverKeyPath);
    const LSTATUS status = writeServer(*previous);
    return status == ERROR_SUCCESS ? lab.DeleteValue(previousServerName) : status;
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        serverModule = module;
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, LPVOID* object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (classId != CLSID_CNetCfg)
        return CLASS_E_CLASSNOTAVAILABLE;
    return Guarded([&] {
        SupplyClassInstallParams();
        CClassFactory* factory = nullptr;
        HRESULT result = MakeObject<CClassFactory>(&factory);
        if (FAILED(result))
            return result;
        result = factory->QueryInterface(id, object);
        factory->Release();
        return result;
    });
}

STDAPI DllCanUnloadNow()
{
    return CServerUse::IsAny() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer()
{
    if (isRealWindows())
        return SELFREG_E_CLASS;
    return Guarded([] {
        const LSTATUS status = registerServer();
        return status == ERROR_SUCCESS ? S_OK : SELFREG_E_CLASS;
    });
}

STDAPI DllUnregisterServer()
{
    return Guarded([] {
        const LSTATUS status = unregisterServer();
        return status == ERROR_SUCCESS ? S_OK : SELFREG_E_CLASS;
    });
}
