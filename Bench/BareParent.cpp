#include "Bench/BareParent.h"

#include "Bench/BareCalls.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"

#include <initguid.h>
#include <devguid.h>

using Microsoft::WRL::ComPtr;

CBareParent::CBareParent(const std::function<bool(INetCfgComponent&)>& visit)
{
    wchar_t* holder = nullptr;
    CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_netCfg));
    m_netCfg.As(&m_lock);
    m_lock->AcquireWriteLock(0, L"bench", &holder);
    CoTaskMemFree(holder);
    m_netCfg->Initialize(nullptr);
    m_netCfg->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_INetCfgClassSetup,
                               reinterpret_cast<void**>(setup.GetAddressOf()));
    WalkNetwork(*m_netCfg.Get(), [&](INetCfgComponent& component) {
        const bool enough = visit(component);
        if (!adapter && GuidOf(component) == CBenchHost::Parent().c_str())
            adapter = &component;
        return !adapter || !enough;
    });
    adapter->OpenParamKey(&key);
    driverKey = CreateKey(BelowKey(XMS_ADAPTERS_KEY));
}

void CBareParent::Close()
{
    RegCloseKey(driverKey);
    RegCloseKey(key);
    m_netCfg->Apply();
    setup.Reset();
    adapter.Reset();
    m_netCfg->Uninitialize();
    m_lock->ReleaseWriteLock();
}

void CBareParent::ReadLists()
{
    ids = ListOf(key, XmsValue::VlanId);
    devices = ListOf(driverKey, XmsValue::BindingList);
}

void CBareParent::WriteLists()
{
    SetList(key, XmsValue::VlanId, ids);
    SetList(driverKey, XmsValue::BindingList, devices);
    SetNumber(driverKey, XmsValue::BindingListCount, static_cast<DWORD>(devices.size()));
}

ComPtr<INetCfgComponentBindings> CBareParent::BindingsOf(const wchar_t* protocol) const
{
    ComPtr<INetCfgComponent> component;
    ComPtr<INetCfgComponentBindings> bindings;
    m_netCfg->FindComponent(protocol, &component);
    component.As(&bindings);
    return bindings;
}
