// The COM server against the documented contract of the network configuration interfaces: what is changed, and when.

#include "Tests/Suite/Lab/NetCfgFixture.h"

TEST_F(NetCfg, InstallingAndRemovingAVirtualMiniport)
{
    const ComPtr<INetCfg> netcfg = Locked();
    const ComPtr<INetCfgClassSetup> setup = NetSetup(netcfg);
    const CRegistryChange change;
    EXPECT_EQ(E_NOTIMPL, setup->Install(L"ms_loop", nullptr, 0, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(E_NOTIMPL, setup->DeInstall(Find(netcfg, L"pci\\ven_1a2b&dev_0010").Get(), nullptr, nullptr));
    EXPECT_EQ(E_INVALIDARG, setup->DeInstall(Find(netcfg, L"ms_tcpip").Get(), nullptr, nullptr));
    EXPECT_EQ("", change.Text());

    ComPtr<INetCfgComponent> first, miniport;
    EXPECT_EQ(S_OK, setup->Install(L"oxmsmp", nullptr, 0, 0, nullptr, nullptr, &first)); // fills the gap, 0001
    const CRegistryChange second;
    ASSERT_EQ(S_OK, setup->Install(L"OXMSMP", nullptr, 0, 0, nullptr, nullptr, &miniport));
    LPWSTR name = nullptr;
    miniport->GetBindName(&name);
    const std::string guid = Taken(name);
    first->GetBindName(&name);
    const std::string firstGuid = Taken(name);
    std::string text = second.Text();
    for (const auto& [from, to] : {std::pair(guid, "{NEW}"), std::pair(firstGuid, "{FIRST}")})
        for (size_t at = text.find(from); at != std::string::npos; at = text.find(from))
            text.replace(at, from.size(), to);
    EXPECT_EQ(Lines(R"(
        + Class\0007  Characteristics  REG_DWORD  33
        + Class\0007  ComponentId  REG_SZ  "oxmsmp"
        + Class\0007  DeviceInstanceID  REG_SZ  "ROOT\NET\0007"
        + Class\0007  DriverDesc  REG_SZ  "Corvo XMS Virtual Miniport"
        + Class\0007  DriverVersion  REG_SZ  "1.0.0.0"
        + Class\0007  NetCfgInstanceId  REG_SZ  "{NEW}"
        + Class\0007  ProviderName  REG_SZ  "Corvo"
        + Class\0007\Linkage  Export  REG_MULTI_SZ  "\Device\{NEW}"
        + Class\0007\Linkage  RootDevice  REG_MULTI_SZ  "{NEW}"
        + Network\{NEW}\Connection  Name  REG_SZ  "Local Area Connection 7"
        + Network\{NEW}\Connection  PnpInstanceID  REG_SZ  "ROOT\NET\0007"
        + Enum\ROOT\NET\0007  Class  REG_SZ  "Net"
        + Enum\ROOT\NET\0007  ClassGUID  REG_SZ  "{4D36E972-E325-11CE-BFC1-08002BE10318}"
        + Enum\ROOT\NET\0007  ConfigFlags  REG_DWORD  0
        + Enum\ROOT\NET\0007  DeviceDesc  REG_SZ  "Corvo XMS Virtual Miniport"
        + Enum\ROOT\NET\0007  Driver  REG_SZ  "{4D36E972-E325-11CE-BFC1-08002BE10318}\0007"
        + Enum\ROOT\NET\0007  FriendlyName  REG_SZ  "Corvo XMS Virtual Miniport"
        + Enum\ROOT\NET\0007  HardwareID  REG_MULTI_SZ  "oxmsmp"
        + Enum\ROOT\NET\0007  Service  REG_SZ  "oXMSProtocol"
        ~ Services\Tcpip\Linkage  Bind  REG_MULTI_SZ  "\Device\{A0000000-0000-0000-0000-000000000002}", "\Device\{FIRST}" -> "\Device\{A0000000-0000-0000-0000-000000000002}", "\Device\{FIRST}", "\Device\{NEW}"
    )"),
              text);

    m_hive.Add("Lab\\Devices\\" + guid + "  Problem  REG_DWORD  31\nClass\\0007\\Ndi\\Params  A  REG_SZ  b");
    EXPECT_EQ(S_OK, setup->DeInstall(miniport.Get(), nullptr, nullptr));
    EXPECT_EQ("+ Lab\\Devices\n", second.Text());
    EXPECT_EQ(NETCFG_E_ADAPTER_NOT_FOUND, setup->DeInstall(miniport.Get(), nullptr, nullptr));
    EXPECT_EQ(S_OK, setup->DeInstall(first.Get(), nullptr, nullptr));
    EXPECT_EQ("+ Lab\\Devices\n", change.Text());
}

TEST_F(NetCfg, ChangesOfBindingsAndNamesWaitForApply)
{
    const ComPtr<INetCfg> netcfg = Locked();
    const ComPtr<INetCfgComponent> adapter = Find(netcfg, L"pci\\ven_1a2b&dev_0010");
    const ComPtr<INetCfgComponent> tcpip = Find(netcfg, L"ms_tcpip");
    const auto xms = As<INetCfgComponentBindings>(Find(netcfg, L"oxmsprotocol"));
    const auto above = As<INetCfgComponentBindings>(adapter);
    const CRegistryChange change;

    EXPECT_EQ(S_FALSE, above->IsBindableTo(adapter.Get()));
    EXPECT_EQ(E_INVALIDARG, above->BindTo(adapter.Get()));
    for (const bool applied : {false, true})
    {
        EXPECT_EQ(S_OK, xms->BindTo(adapter.Get()));
        EXPECT_EQ(S_OK, above->UnbindFrom(tcpip.Get())); // the order of the two makes no difference
        EXPECT_EQ(S_OK, adapter->SetDisplayName(L"Uplink"));
        EXPECT_EQ(S_OK, xms->IsBoundTo(adapter.Get()));
        EXPECT_EQ(S_FALSE, above->IsBoundTo(tcpip.Get()));
        LPWSTR name = nullptr;
        adapter->GetDisplayName(&name);
        EXPECT_EQ("Uplink", Taken(name));
        EXPECT_EQ("", change.Text());
        EXPECT_EQ(S_OK, applied ? netcfg->Apply() : netcfg->Cancel());
        EXPECT_EQ(applied ? S_OK : S_FALSE, xms->IsBoundTo(adapter.Get()));
    }
    EXPECT_EQ(Lines(R"(
        ~ Enum\PCI\VEN_1A2B&DEV_0010\1  FriendlyName  REG_SZ  "Corvo 10G #2" -> "Uplink"
        ~ Services\oXMSProtocol\Linkage  Bind  REG_MULTI_SZ   -> "\Device\{A0000000-0000-0000-0000-000000000002}"
        ~ Services\Tcpip\Linkage  Bind  REG_MULTI_SZ  "\Device\{A0000000-0000-0000-0000-000000000002}" -> 
        ~ Services\Tcpip\Linkage  Disabled  REG_MULTI_SZ  "\Device\{A0000000-0000-0000-0000-000000000005}" -> "\Device\{A0000000-0000-0000-0000-000000000005}", "\Device\{A0000000-0000-0000-0000-000000000002}"
    )"),
              Lines(change.Text()));

    ComPtr<IEnumNetCfgBindingPath> paths;
    ComPtr<INetCfgBindingPath> path;
    EXPECT_EQ(S_OK, above->EnumBindingPaths(EBP_ABOVE, &paths));
    std::string seen;
    while (paths->Next(1, path.ReleaseAndGetAddressOf(), nullptr) == S_OK)
    {
        LPWSTR token = nullptr;
        EXPECT_EQ(S_OK, path->GetPathToken(&token));
        seen += Taken(token).substr(0, 9) + (path->IsEnabled() == S_OK ? " on;" : " off;");
        EXPECT_EQ(S_OK, path->IsSamePathAs(path.Get()));
        EXPECT_EQ(S_OK, path->Enable(TRUE));
        EXPECT_EQ(S_OK, path->IsEnabled());
    }
    EXPECT_EQ("ms_tcpip- off;oxmsproto on;", seen);
}

TEST_F(NetCfg, ChangesOfADevicesStateAreRecordedByTheClassInstaller)
{
    const ComPtr<INetCfg> loaded = NewNetCfg();
    const struct
    {
        DWORD state, error;
        const char* expected; // stops, starts, problem
    } rows[] = {
        {DICS_STOP, 0, "1 - 31"},
        {DICS_START, 0, "1 1 0"},
        {DICS_PROPCHANGE, 0, "2 2 0"},
        {DICS_DISABLE, 0, "3 2 22"},
        {DICS_START, 0, "3 2 22"},
        {DICS_ENABLE, 0, "3 3 0"},
        {99, ERROR_INVALID_PARAMETER, "3 3 0"},
    };
    const HDEVINFO set = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    ASSERT_TRUE(SetupDiOpenDeviceInfoW(set, L"PCI\\VEN_1A2B&DEV_0010\\1", nullptr, 0, &device));
    const auto kept = [&](const char* name) {
        const std::string value = m_hive.Value(Expand("Lab\\Devices\\{A0000000-0000-0000-0000-000000000002}"), name);
        return value.empty() ? std::string("-") : value.substr(sizeof("REG_DWORD "));
    };
    for (const auto& row : rows)
    {
        SP_PROPCHANGE_PARAMS change{};
        change.ClassInstallHeader.cbSize = sizeof(change.ClassInstallHeader);
        change.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
        change.StateChange = row.state;
        change.Scope = DICS_FLAG_CONFIGSPECIFIC;
        EXPECT_TRUE(SetupDiSetClassInstallParamsW(set, &device, &change.ClassInstallHeader, sizeof(change)));
        const BOOL done = SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, set, &device);
        EXPECT_EQ(row.error, done ? 0 : GetLastError());
        EXPECT_EQ(row.expected, kept("Stops") + " " + kept("Starts") + " " + kept("Problem")) << row.state;
    }
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
}
