// The COM server against the documented contract of the network configuration interfaces: sessions, the write lock,
// what is read, and the server's own life.

#include "Tests/Suite/Lab/NetCfgFixture.h"

#include <functional>

namespace
{

std::string Ids(const ComPtr<IEnumNetCfgComponent>& components, ULONG wanted, HRESULT expected)
{
    INetCfgComponent* items[8] = {};
    ULONG fetched = 99;
    EXPECT_EQ(expected, components->Next(wanted, items, &fetched));
    std::string ids;
    for (ULONG i = 0; i < fetched; ++i)
    {
        LPWSTR id = nullptr;
        items[i]->GetId(&id);
        ids += Taken(id) + ";";
        items[i]->Release();
    }
    return ids;
}

struct STATE_ROW
{
    const char* name;
    bool changes;
    std::function<HRESULT(OBJECTS&)> call;
};

const STATE_ROW s_stateRows[] = {
    {"Apply", true, [](OBJECTS& o) { return o.netcfg->Apply(); }},
    {"Install", true, [](OBJECTS& o) { return o.setup->Install(L"oxmsmp", nullptr, 0, 0, nullptr, nullptr, nullptr); }},
    {"DeInstall", true, [](OBJECTS& o) { return o.setup->DeInstall(o.adapter.Get(), nullptr, nullptr); }},
    {"SetDisplayName", true, [](OBJECTS& o) { return o.adapter->SetDisplayName(L"x"); }},
    {"BindTo", true, [](OBJECTS& o) { return o.bindings->BindTo(o.adapter.Get()); }},
    {"UnbindFrom", true, [](OBJECTS& o) { return o.bindings->UnbindFrom(o.adapter.Get()); }},
    {"Enable", true, [](OBJECTS& o) { return o.path->Enable(FALSE); }},
    {"Cancel", false, [](OBJECTS& o) { return o.netcfg->Cancel(); }},
    {"EnumComponents", false,
     [](OBJECTS& o) {
         ComPtr<IEnumNetCfgComponent> all;
         return o.netcfg->EnumComponents(&GUID_DEVCLASS_NET, &all);
     }},
    {"FindComponent", false, [](OBJECTS& o) { return o.netcfg->FindComponent(L"ms_tcpip", nullptr); }},
    {"QueryNetCfgClass", false,
     [](OBJECTS& o) {
         ComPtr<INetCfgClass> netClass;
         return o.netcfg->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_PPV_ARGS(&netClass));
     }},
    {"class FindComponent", false,
     [](OBJECTS& o) { return o.netClass->FindComponent(L"pci\\ven_1a2b&dev_0010", nullptr); }},
    {"GetInstanceGuid", false,
     [](OBJECTS& o) {
         GUID guid;
         return o.adapter->GetInstanceGuid(&guid);
     }},
    {"OpenParamKey", false,
     [](OBJECTS& o) {
         HKEY key = nullptr;
         const HRESULT result = o.adapter->OpenParamKey(&key);
         if (key != nullptr)
             RegCloseKey(key);
         return result;
     }},
    {"IsBoundTo", false, [](OBJECTS& o) { return o.bindings->IsBoundTo(o.adapter.Get()); }},
    {"IsEnabled", false, [](OBJECTS& o) { return o.path->IsEnabled(); }},
    {"enumerator", false, [](OBJECTS& o) { return o.paths->Reset(); }},
    {"Uninitialize", false, [](OBJECTS& o) { return o.netcfg->Uninitialize(); }},
};

TEST_F(NetCfg, EveryCallChecksTheStateOfItsSession)
{
    OBJECTS all = AllObjects();
    const CRegistryChange change;
    for (const STATE_ROW& row : s_stateRows)
        EXPECT_EQ(row.changes ? NETCFG_E_NO_WRITE_LOCK : S_OK, row.call(all)) << row.name;
    for (const STATE_ROW& row : s_stateRows)
        EXPECT_EQ(NETCFG_E_NOT_INITIALIZED, row.call(all)) << row.name;
    EXPECT_EQ("", change.Text());
}

TEST_F(NetCfg, LifeCycle)
{
    const ComPtr<INetCfg> netcfg = NewNetCfg();
    const ComPtr<INetCfgLock> lock = As<INetCfgLock>(netcfg);
    EXPECT_EQ(E_INVALIDARG, netcfg->Initialize(this));
    EXPECT_EQ(NETCFG_E_NO_WRITE_LOCK, lock->ReleaseWriteLock());
    EXPECT_EQ(S_OK, netcfg->Initialize(nullptr));
    EXPECT_EQ(NETCFG_E_ALREADY_INITIALIZED, netcfg->Initialize(nullptr));
    EXPECT_EQ(NETCFG_E_ALREADY_INITIALIZED, lock->AcquireWriteLock(0, L"late", nullptr));
    EXPECT_EQ(S_FALSE, lock->IsWriteLocked(nullptr));
    EXPECT_EQ(S_OK, netcfg->Uninitialize());
    EXPECT_EQ(S_OK, lock->AcquireWriteLock(0, L"in time", nullptr));
}

TEST_F(NetCfg, BadArgumentsAreRefusedAndOutPointersCleared)
{
    OBJECTS all = AllObjects();
    LPWSTR text = reinterpret_cast<LPWSTR>(this);
    void* object = this;
    const GUID nobodys{1, 2, 3, {}};
    EXPECT_EQ(E_NOINTERFACE, all.netcfg->QueryInterface(IID_IDispatch, &object));
    EXPECT_EQ(nullptr, std::exchange(object, this));
    EXPECT_EQ(E_INVALIDARG, all.netcfg->QueryNetCfgClass(&nobodys, IID_IUnknown, &object));
    EXPECT_EQ(nullptr, std::exchange(object, this));
    EXPECT_EQ(E_NOINTERFACE, all.netcfg->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_IDispatch, &object));
    EXPECT_EQ(nullptr, object);
    EXPECT_EQ(E_POINTER, all.netcfg->EnumComponents(nullptr, nullptr));
    EXPECT_EQ(E_POINTER, all.adapter->OpenParamKey(nullptr));
    EXPECT_EQ(E_POINTER, all.adapter->SetDisplayName(nullptr));
    EXPECT_EQ(E_INVALIDARG, all.adapter->SetDisplayName(L""));
    EXPECT_EQ(E_INVALIDARG, all.bindings->EnumBindingPaths(EBP_ABOVE | EBP_BELOW, &all.paths));
    EXPECT_EQ(E_NOTIMPL, all.protocol->GetPnpDevNodeId(&text));
    EXPECT_EQ(nullptr, text);
    INetCfgBindingPath* two[2];
    EXPECT_EQ(E_POINTER, all.path->GetDepth(nullptr));
    EXPECT_EQ(S_OK, all.bindings->EnumBindingPaths(EBP_BELOW, all.paths.ReleaseAndGetAddressOf()));
    EXPECT_EQ(E_INVALIDARG, all.paths->Next(2, two, nullptr));
    EXPECT_EQ(S_FALSE, all.netcfg->FindComponent(L"nobody", &all.adapter));
    EXPECT_EQ(nullptr, all.adapter.Get());
}

TEST_F(NetCfg, OneHolderOfTheWriteLock)
{
    ComPtr<INetCfg> first = Locked(L"first");
    const ComPtr<INetCfg> second = NewNetCfg();
    const ComPtr<INetCfgLock> lock = As<INetCfgLock>(second);
    LPWSTR holder = nullptr;
    EXPECT_EQ(S_FALSE, lock->AcquireWriteLock(50, L"second", &holder));
    EXPECT_EQ("first", Taken(holder));
    EXPECT_EQ(S_OK, lock->IsWriteLocked(&holder));
    EXPECT_EQ("first", Taken(holder));
    first.Reset(); // the last reference gives the lock back
    EXPECT_EQ(S_OK, lock->AcquireWriteLock(0, L"second", &holder));
    EXPECT_EQ("(null)", Taken(holder));
    EXPECT_EQ(S_OK, lock->ReleaseWriteLock());
    EXPECT_EQ(S_FALSE, lock->IsWriteLocked(&holder));
}

struct CHILD
{
    HANDLE held = nullptr, go = nullptr;
    PROCESS_INFORMATION process{};

    // The child gets this process's hive and the two events as inherited handles.
    CHILD(const CPrivateHive& hive, const char* ending)
    {
        SECURITY_ATTRIBUTES inherit{sizeof(inherit), nullptr, TRUE};
        held = CreateEventW(&inherit, TRUE, FALSE, nullptr);
        go = CreateEventW(&inherit, TRUE, FALSE, nullptr);
        HANDLE inherited = nullptr;
        DuplicateHandle(GetCurrentProcess(), hive.Root(), GetCurrentProcess(), &inherited, 0, TRUE,
                        DUPLICATE_SAME_ACCESS);
        wchar_t program[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        std::wstring line = L"\"" + std::wstring(program) + L"\" --hold-write-lock";
        for (HANDLE handle : {inherited, held, go})
            line += L" " + std::to_wstring(reinterpret_cast<UINT_PTR>(handle));
        line += L" " + Wide(ending);
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        EXPECT_TRUE(
            CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process));
        CloseHandle(inherited);
        const HANDLE either[] = {held, process.hProcess};
        EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(2, either, FALSE, 60000));
    }

    ~CHILD()
    {
        for (HANDLE handle : {held, go, process.hProcess, process.hThread})
            CloseHandle(handle);
    }
};

int HoldWriteLock(char** arguments)
{
    const auto handle = [&](int i) { return reinterpret_cast<HANDLE>(_strtoui64(arguments[i], nullptr, 10)); };
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, static_cast<HKEY>(handle(2)));
    const ComPtr<INetCfgLock> lock = As<INetCfgLock>(NewNetCfg());
    if (lock->AcquireWriteLock(0, L"child", nullptr) != S_OK)
        return 1;
    SetEvent(handle(3));
    WaitForSingleObject(handle(4), 60000);
    if (arguments[5] == std::string("dies"))
        TerminateProcess(GetCurrentProcess(), 0);
    return lock->ReleaseWriteLock() == S_OK ? 0 : 1;
}

TEST_F(NetCfg, TheWriteLockHoldsBetweenProcessesAndDoesNotOutliveItsHolder)
{
    for (const char* ending : {"releases", "dies"})
    {
        const CHILD child(m_hive, ending);
        const ComPtr<INetCfgLock> lock = As<INetCfgLock>(NewNetCfg());
        LPWSTR holder = nullptr;
        EXPECT_EQ(S_FALSE, lock->AcquireWriteLock(0, L"parent", &holder)) << ending;
        EXPECT_EQ("child", Taken(holder));
        SetEvent(child.go);
        EXPECT_EQ(S_OK, lock->AcquireWriteLock(60000, L"parent", &holder)) << ending;
        EXPECT_EQ("\"parent\"", m_hive.Value("SOFTWARE\\VlanLab\\Lock", "Holder").substr(8));
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(child.process.hProcess, 60000));
    }
}

TEST_F(NetCfg, Enumeration)
{
    const ComPtr<INetCfg> netcfg = NewNetCfg();
    netcfg->Initialize(nullptr);
    ComPtr<IEnumNetCfgComponent> all, clone;
    EXPECT_EQ(S_OK, netcfg->EnumComponents(&GUID_DEVCLASS_NET, &all));
    EXPECT_EQ("pci\\ven_1a2b&dev_0010;", Ids(all, 1, S_OK));
    EXPECT_EQ(S_OK, all->Clone(&clone));
    EXPECT_EQ("pci\\ven_9999&dev_0001;", Ids(all, 3, S_FALSE));
    EXPECT_EQ("", Ids(all, 1, S_FALSE));
    EXPECT_EQ("pci\\ven_9999&dev_0001;", Ids(clone, 1, S_OK));
    EXPECT_EQ(S_FALSE, clone->Skip(1));
    EXPECT_EQ(S_OK, all->Reset());
    EXPECT_EQ(S_OK, all->Skip(1));

    INetCfgComponent* item = nullptr;
    EXPECT_EQ(S_OK, all->Next(1, &item, nullptr));
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, Wide(Expand("Class\\0005")).c_str());
    HKEY key = reinterpret_cast<HKEY>(this);
    LPWSTR text = nullptr;
    ULONG status = 1;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), item->OpenParamKey(&key));
    EXPECT_EQ(nullptr, key);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), item->GetDisplayName(&text));
    EXPECT_EQ(NETCFG_E_ADAPTER_NOT_FOUND, item->GetDeviceStatus(&status));
    item->Release();
}

TEST_F(NetCfg, WhatAComponentSaysOfItself)
{
    m_hive.Add("Lab\\Devices\\{A0000000-0000-0000-0000-000000000002}  Problem  REG_DWORD  31");
    OBJECTS all = AllObjects();
    using TextMember = HRESULT (STDMETHODCALLTYPE INetCfgComponent::*)(LPWSTR*);
    const struct
    {
        const ComPtr<INetCfgComponent>& component;
        TextMember member;
        const char* expected;
    } rows[] = {
        {all.adapter, &INetCfgComponent::GetDisplayName, "Corvo 10G #2"},
        {all.adapter, &INetCfgComponent::GetPnpDevNodeId, "PCI\\VEN_1A2B&DEV_0010\\1"},
        {all.adapter, &INetCfgComponent::GetBindName, "{A0000000-0000-0000-0000-000000000002}"},
        {all.adapter, &INetCfgComponent::GetHelpText, ""},
        {all.protocol, &INetCfgComponent::GetDisplayName, "Internet Protocol"},
        {all.protocol, &INetCfgComponent::GetBindName, "Tcpip"},
        {all.protocol, &INetCfgComponent::GetHelpText, "Help"},
        {Find(all.netcfg, L"pci\\ven_9999&dev_0001"), &INetCfgComponent::GetDisplayName, "Other"},
    };
    for (const auto& row : rows)
    {
        LPWSTR text = nullptr;
        EXPECT_EQ(S_OK, (row.component.Get()->*row.member)(&text)) << row.expected;
        EXPECT_EQ(row.expected, Taken(text));
    }
    DWORD characteristics = 0;
    ULONG status = 0;
    EXPECT_EQ(S_OK, all.adapter->GetCharacteristics(&characteristics));
    EXPECT_EQ(DWORD{NCF_PHYSICAL | NCF_HAS_UI}, characteristics);
    EXPECT_EQ(S_OK, all.adapter->GetDeviceStatus(&status));
    EXPECT_EQ(31u, status);
}

TEST_F(NetCfg, ReferencesKeepTheServerInMemory)
{
    const auto canUnload = Export<HRESULT WINAPI()>("DllCanUnloadNow");
    EXPECT_EQ(S_OK, canUnload());
    {
        OBJECTS all = AllObjects();
        all.netcfg.Reset();
        LPWSTR id = nullptr;
        EXPECT_EQ(NETCFG_E_NOT_INITIALIZED, all.adapter->GetId(&id)); // outlived the session
        EXPECT_EQ(2u, all.adapter->AddRef());
        EXPECT_EQ(1u, all.adapter->Release());
        EXPECT_EQ(S_FALSE, canUnload());
    }
    EXPECT_EQ(S_OK, canUnload());
}

TEST_F(NetCfg, FoundByComAndRegisteredBesideThePlatformsServer)
{
    ComPtr<IClassFactory> factory;
    ComPtr<INetCfg> netcfg;
    DWORD cookie = 0;
    CoInitialize(nullptr);
    Export<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject")(CLSID_CNetCfg, IID_PPV_ARGS(&factory));
    EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(factory.Get(), IID_PPV_ARGS(&netcfg)));
    CoRegisterClassObject(CLSID_CNetCfg, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
    EXPECT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netcfg)));
    EXPECT_EQ(S_OK, netcfg->Initialize(nullptr));
    netcfg.Reset();
    CoRevokeClassObject(cookie);
    factory.Reset();
    CoUninitialize();

    const std::string server = "SOFTWARE\\Classes\\CLSID\\{5B035261-40F9-11D1-AAEC-00805FC1270E}\\InprocServer32";
    m_hive.Add(server + "  (default)  REG_SZ  platform.dll");
    for (int twice = 0; twice < 2; ++twice)
        EXPECT_EQ(S_OK, Export<HRESULT WINAPI()>("DllRegisterServer")());
    EXPECT_NE(std::string::npos, m_hive.Value(server, "(default)").find("NetCfg.dll"));
    EXPECT_EQ("REG_SZ  \"Both\"", m_hive.Value(server, "ThreadingModel"));
    EXPECT_EQ(S_OK, Export<HRESULT WINAPI()>("DllUnregisterServer")());
    EXPECT_EQ("REG_SZ  \"platform.dll\"", m_hive.Value(server, "(default)"));
}

} // namespace

int main(int count, char** arguments)
{
    if (count == 6 && arguments[1] == std::string("--hold-write-lock"))
        return HoldWriteLock(arguments);
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
