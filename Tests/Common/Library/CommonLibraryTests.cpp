// The common library over the lab's COM server: once as a class object of this process, and once (--registered) found
// through the registry, with the driver running.

#include "Common/Library/RavAdvSvcNetCfgComponent.h"
#include "Common/Library/RestartNote.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Library/NetCfgClasses.h"
#include "Suite/Lab/LabTool/LabCommands.h"
#include "Tests/Harness/TraceFile.h"
#include "Tests/Src/LabFixture.h"

using Microsoft::WRL::ComPtr;

namespace
{
bool s_registered = false;

class CLabPlatform : public CLabServer
{
    void SetUp() override { s_registered ? StartPlatform("server") : CLabServer::SetUp(); }
    void TearDown() override { EXPECT_EQ("", s_registered ? StopPlatform() : ""); }
};

// One adapter, and beside TCP/IP a protocol that is off by itself.
struct CTestHost : CLabHost
{
    CTestHost() : CLabHost(R"({"adapters": [{"name": "A", "mac": "001B21000001", "jumboFrames": [1514, 9014]}]})")
    {
        Hive().Add(R"(
            Network\{4D36E975-E325-11CE-BFC1-08002BE10318}\{B0000001-0000-4000-8000-000000000006}  ComponentId  REG_SZ  ms_implat
            ..\Ndi  Service  REG_SZ  Other
            Services\Other\Linkage  Bind  REG_MULTI_SZ
            XMS\Adapters
            XMS\Configuration)");
    }
    const CRavString adapter = LabGuid(1);
};

struct CLocked : CRavNetCfgInterface
{
    CLocked() { Initialize(), AcquireLockForWrite(); }
};

HRESULT s_answer = S_OK;
DWORD s_waited = 0;
void* s_original = nullptr;

// A method of an interface answers otherwise for as long as the result lives.
std::shared_ptr<void> Replace(IUnknown* object, size_t slot, auto function)
{
    void** const place = *reinterpret_cast<void***>(object) + slot;
    DWORD before = 0;
    VirtualProtect(place, sizeof(void*), PAGE_READWRITE, &before);
    s_original = std::exchange(*place, reinterpret_cast<void*>(function));
    return {place, [original = s_original](void* method) { *static_cast<void**>(method) = original; }};
}
} // namespace

TEST(Session, TheLockNestsAndIsGivenBackWhateverBecomesOfTheChanges)
{
    const CTestHost host;
    CRavNetCfgInterface netCfg;
    EXPECT_EQ(E_UNEXPECTED, netCfg.AcquireLockForWrite());
    netCfg.Initialize();
    const auto answer = +[](INetCfg*) { return s_answer; };
    for (const HRESULT applied : {S_OK, E_FAIL, static_cast<HRESULT>(NETCFG_S_REBOOT)})
    {
        s_answer = applied;
        EXPECT_EQ(S_OK, netCfg.AcquireLockForWrite());
        EXPECT_EQ(S_OK, netCfg.AcquireLockForWrite());
        EXPECT_EQ(S_OK, netCfg.ReleaseLockForWrite());
        EXPECT_FALSE(CLabHost::IsNetworkLockFree());
        const auto apply = Replace(netCfg.GetNetCfg(), 5, answer);
        EXPECT_EQ(FAILED(applied) ? applied : S_OK, netCfg.ReleaseLockForWrite());
        EXPECT_TRUE(CLabHost::IsNetworkLockFree());
        EXPECT_EQ(applied == NETCFG_S_REBOOT, netCfg.NeedsReboot());
        EXPECT_EQ(applied == NETCFG_S_REBOOT, RavIsRestartNoted());
        EXPECT_EQ(NETCFG_E_NO_WRITE_LOCK, netCfg.ReleaseLockForWrite());
    }
    // Changes that were applied count as applied, even when the view cannot be opened afterwards.
    ComPtr<INetCfgComponent> adapter;
    EXPECT_EQ(S_OK, netCfg.AcquireLockForWrite());
    const auto refuse = +[](INetCfg*, void*) { return E_FAIL; };
    {
        const auto refused = Replace(netCfg.GetNetCfg(), 3, refuse);
        EXPECT_EQ(S_OK, netCfg.ReleaseLockForWrite());
        EXPECT_EQ(NETCFG_E_NOT_INITIALIZED, netCfg.FindNetworkComponentByGUID(host.adapter, adapter));
    }
    EXPECT_EQ(S_OK, netCfg.Initialize());
}

// The wait itself is the server's; here it is what is asked of it, and the answer at its end.
TEST(Session, AHeldLockIsWaitedForAndItsHolderNamed)
{
    const CTestHost host;
    const CTempFolder folder;
    LabSetText(SUITE_KEY, L"InstalledDir", folder.Folder().c_str());
    ASSERT_EQ(0, RavTrace().Configure(L"TEST", L"lock.txt", 3, 0, 0, nullptr));
    CLocked other;
    CRavNetCfgInterface netCfg;
    ComPtr<INetCfgLock> lock;
    ComPtr<INetCfgComponent> adapter;
    netCfg.Initialize();
    netCfg.GetNetCfg()->QueryInterface(IID_PPV_ARGS(&lock));
    // The wait itself is the server's; here it is what is asked of it, and the answer at its end.
    using Acquire = HRESULT (*)(INetCfgLock*, DWORD, LPCWSTR, LPWSTR*);
    const Acquire noWait = [](INetCfgLock* self, DWORD milliseconds, LPCWSTR who, LPWSTR* holder) {
        s_waited = milliseconds;
        return reinterpret_cast<Acquire>(s_original)(self, 0, who, holder);
    };
    const auto replaced = Replace(lock.Get(), 3, noWait);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_LOCK_VIOLATION), netCfg.AcquireLockForWrite());
    EXPECT_EQ(15000u, s_waited);
    EXPECT_NE(std::string::npos, FileText(folder.Path(L"lock.txt")).find("the lock is held by: Corvo VLAN agent\r\n"));
    EXPECT_EQ(S_OK, netCfg.FindNetworkComponentByGUID(host.adapter, adapter)); // reading goes on
}

TEST(Miniport, ComesAndGoesAndNothingElseEverDoes)
{
    const CTestHost host;
    const CRegistryChange change;
    CRavNetCfgComponent component;
    CRavString guid;
    CLocked netCfg;
    ComPtr<INetCfgClassSetup> setup;
    netCfg.GetNetCfg()->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_PPV_ARGS(&setup));
    ASSERT_EQ(0, component.InstallVirtualComponent(netCfg, guid));
    EXPECT_EQ(1u, CLabHost::Miniports());
    const auto answer = +[](INetCfgClassSetup*, INetCfgComponent*, OBO_TOKEN*, LPWSTR*) { return s_answer; };
    s_answer = S_OK; // a server that would remove anything
    EXPECT_EQ(-1, (Replace(setup.Get(), 5, answer), component.RemoveVirtualComponent(netCfg, host.adapter)));
    s_answer = NETCFG_S_STILL_REFERENCED;
    EXPECT_EQ(-1, (Replace(setup.Get(), 5, answer), component.RemoveVirtualComponent(netCfg, guid)));
    EXPECT_EQ(0, component.RemoveVirtualComponent(netCfg, guid));
    EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
}

// What an administrator had unticked stays so, and what is off by itself, too; without a record TCP/IP comes back.
TEST(Bindings, AnAdapterGetsBackWhatWasTakenOffItAndAllOfThemOrNone)
{
    for (const std::string how : {"bound", "cleaned up", "record lost", "no place for a record"})
    {
        CTestHost host;
        const std::string key = Utf8(host.adapter);
        CRavAdvSvcNetCfgComponent component;
        if (how != "record lost")
            host.Hive().Add("Services\\Tcpip6\\Linkage  Bind  REG_MULTI_SZ\n..  Disabled  REG_MULTI_SZ  \\Device\\" +
                            key);
        if (how == "no place for a record")
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, SUITE_KEY);
        const CRegistryChange change;
        CLocked netCfg;
        const bool bound = component.BindAdapterToXms(netCfg, host.adapter) == 0;
        EXPECT_EQ(how != "no place for a record", bound);
        EXPECT_EQ(S_OK, netCfg.ReleaseLockForWrite());
        EXPECT_TRUE(how != "bound" || CLabHost::Readable(change.Text(), {}) == Lines(R"(
            + SOFTWARE\CORVO\NETWORK_SERVICES\RAV2\Bindings  {A0000001-0000-4000-8000-000000000001}  REG_MULTI_SZ  "ms_tcpip"
            ~ Services\oXMSProtocol\Linkage  Bind  REG_MULTI_SZ   -> "\Device\{A0000001-0000-4000-8000-000000000001}"
            ~ Services\oXMSProtocol\Linkage  Disabled  REG_MULTI_SZ  "\Device\{A0000001-0000-4000-8000-000000000001}" ->
            ~ Services\Tcpip\Linkage  Bind  REG_MULTI_SZ  "\Device\{A0000001-0000-4000-8000-000000000001}" ->
            ~ Services\Tcpip\Linkage  Disabled  REG_MULTI_SZ   -> "\Device\{A0000001-0000-4000-8000-000000000001}")"))
            << change.Text();
        EXPECT_EQ(S_OK, netCfg.AcquireLockForWrite());
        if (how == "record lost")
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, CRavString(SUITE_KEY) + L"\\Bindings");
        if (how == "cleaned up")
            host.Hive().Add("XMS\\Adapters\\" + key + "\nXMS\\Configuration\\" + key +
                            "  EnableDHCP  REG_DWORD  1\nTcpIp\\" + key + "  EnableDHCP  REG_DWORD  0");
        EXPECT_EQ(0, bound ? netCfg.CleanUpAdapterFromXms(host.adapter, true) : 0);
        EXPECT_EQ(S_OK, netCfg.ReleaseLockForWrite());
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {})) << how;
        EXPECT_EQ(S_OK, netCfg.AcquireLockForWrite()); // cleaning up a second time changes nothing
        EXPECT_EQ(0, netCfg.CleanUpAdapterFromXms(host.adapter, true));
        EXPECT_EQ(S_OK, netCfg.ReleaseLockForWrite());
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {})) << how;
    }
}

// A binding that cannot be read is a failure: taken for "not bound" it would cost the adapter its protocols.
TEST(Bindings, AreNotGuessed)
{
    CTestHost host;
    const CRegistryChange change;
    CLocked netCfg;
    ComPtr<INetCfgComponent> protocol;
    ComPtr<INetCfgComponentBindings> bindings;
    ASSERT_EQ(S_OK, netCfg.FindComponentById(L"ms_tcpip", protocol));
    ASSERT_EQ(S_OK, protocol.As(&bindings));
    const auto answer = +[](INetCfgComponentBindings*, INetCfgComponent*) { return E_FAIL; };
    EXPECT_EQ(-1,
              (Replace(bindings.Get(), 6, answer), CRavAdvSvcNetCfgComponent().BindAdapterToXms(netCfg, host.adapter)));
    EXPECT_EQ(S_OK, netCfg.ReleaseLockForWrite());
    EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
}

// Also for a parent from before there were records: at the second try its driver is off already, so only a record can
// tell what it had.
TEST(Bindings, WhatFailedComesBackLater)
{
    for (const bool record : {true, false})
    {
        CTestHost host;
        if (record)
            host.Hive().Add("Services\\Tcpip6\\Linkage  Bind  REG_MULTI_SZ\n..  Disabled  REG_MULTI_SZ  \\Device\\" +
                            Utf8(host.adapter));
        const CRegistryChange change;
        CLocked netCfg;
        EXPECT_EQ(0, CRavAdvSvcNetCfgComponent().BindAdapterToXms(netCfg, host.adapter));
        EXPECT_EQ(S_OK, netCfg.ReleaseLockForWrite());
        if (!record)
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, CRavString(SUITE_KEY) + L"\\Bindings");
        const auto cleanUp = [&] {
            EXPECT_EQ(S_OK, netCfg.AcquireLockForWrite());
            const bool cleaned = netCfg.CleanUpAdapterFromXms(host.adapter, true) == 0;
            return SUCCEEDED(netCfg.ReleaseLockForWrite()) && cleaned;
        };
        ComPtr<INetCfgComponent> protocol;
        ComPtr<INetCfgComponentBindings> bindings;
        ASSERT_EQ(S_OK, netCfg.FindComponentById(L"ms_tcpip", protocol));
        ASSERT_EQ(S_OK, protocol.As(&bindings));
        const auto apply = [](INetCfg*) { return E_FAIL; };
        const auto bindTo = [](INetCfgComponentBindings*, INetCfgComponent*) { return E_FAIL; };
        EXPECT_FALSE(
            (record ? Replace(netCfg.GetNetCfg(), 5, +apply) : Replace(bindings.Get(), 3, +bindTo), cleanUp()));
        EXPECT_NE("", CLabHost::Readable(change.Text(), {}));
        EXPECT_TRUE(cleanUp());
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
    }
}

TEST(Adapter, LoadsUnloadsAndKeepsItsSettings)
{
    CTestHost host;
    CLocked netCfg;
    CRavAdapter adapter(host.adapter);
    bool reboot = false;
    ASSERT_TRUE(adapter.Initialize(netCfg).Succeeded());
    EXPECT_TRUE(adapter.ReloadDevice(false, reboot).Succeeded() && !reboot);
    EXPECT_EQ(RAV_LOAD_STATUS_NOT_LOADED, adapter.GetLoadStatus(netCfg));
    LabSetNumber(LabPath(LAB_DEVICES, host.adapter), LAB_REBOOT_NEEDED, 1);
    EXPECT_TRUE(adapter.ReloadDevice(true, reboot).Succeeded() && reboot && RavIsRestartNoted());
    EXPECT_EQ(RAV_LOAD_STATUS_LOADED, adapter.GetLoadStatus(netCfg));
    LabSetNumber(LabPath(LAB_DEVICES, host.adapter), L"Problem", 22);
    EXPECT_EQ(RAV_LOAD_STATUS_DISABLED, adapter.GetLoadStatus(netCfg));

    const CRegistryChange change;
    std::unique_ptr<RAV_SETTING> jumbo;
    CRavMiniportReg& settings = *adapter.GetMiniportReg();
    ASSERT_TRUE(settings.GetSetting(L"*JumboPacket", jumbo).Succeeded());
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER},
              settings.SetSetting(L"*jumbopacket", RAV_SETTING_VAL_INT(4088)).ulErrCode);
    EXPECT_TRUE(settings.SetSetting(L"*jumbopacket", RAV_SETTING_VAL_INT(9014)).Succeeded());
    EXPECT_EQ("REG_SZ  \"9014\"", host.Hive().Value("Class\\0001", "*JumboPacket"));
    EXPECT_TRUE(settings.DeleteSetting(L"*JumboPacket").Succeeded());
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, settings.DeleteSetting(L"*JumboPacket").ulErrCode);
    EXPECT_TRUE(settings.CreateSetting(*jumbo).Succeeded());
    EXPECT_EQ("- Class\\0001\\Ndi\\Params\\*JumboPacket  ExposeLevel  REG_SZ  \"0\"\n",
              change.Text()); // a level of 0 is not written

    adapter.SetMiniportInstance(LabGuid(9));
    EXPECT_FALSE(adapter.Initialize(netCfg).Succeeded());
    EXPECT_EQ(RAV_LOAD_STATUS_UNKNOWN, adapter.GetLoadStatus(netCfg));
}

// In the machine's own registry, which is where the driver sees it.
TEST(Driver, KeepsWhatItAcceptsAndRefusesTheRest)
{
    if (!s_registered)
        GTEST_SKIP() << "needs the driver";
    CRavMiniportDrv driver(LabGuid(1));
    CRavRegKey key;
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, XMS_PARAMETERS_KEY); // requests of who was here before are counted on
    std::vector<BYTE> data(259, 'x');
    const auto set = [&](BYTE lengthHigh, DWORD size, DWORD oid = 0xFF010109) {
        data[0] = 0, data[1] = lengthHigh;
        return driver.SetOid(oid, data.data(), size);
    };
    ASSERT_TRUE(key.Create(HKEY_LOCAL_MACHINE, LabPath(XMS_PARAMETERS_KEY, L"Requests"), true, false));
    EXPECT_FALSE(set(1, 258)); // not open
    ASSERT_TRUE(driver.OpenDriver());
    EXPECT_FALSE(set(1, 0) || set(1, 257) || set(1, 259) || set(2, 258) || set(1, 258, 0xFF010108));
    EXPECT_TRUE(set(1, 258) && set(1, 258) && key.ValueExists(L"0001") && !key.ValueExists(L"0003"));
    BYTE kept[512] = {};
    DWORD size = sizeof(kept);
    ASSERT_TRUE(key.GetValue(L"0002", kept, size));
    EXPECT_EQ(sizeof(RAV_OID_HEADER) + 258, size);
    EXPECT_EQ(0, memcmp(kept, LabGuid(1), 39 * sizeof(wchar_t)));
    EXPECT_EQ(0, memcmp(kept + sizeof(RAV_OID_HEADER), data.data(), 258));
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, XMS_PARAMETERS_KEY);
}

int main(int count, char** arguments)
{
    testing::InitGoogleTest(&count, arguments);
    s_registered = count == 2 && arguments[1] == std::string("--registered");
    testing::AddGlobalTestEnvironment(new CLabPlatform);
    return RUN_ALL_TESTS();
}
