#include "Common/Intf/RavAdvSvcNetCfgComponent.h"

#include "Common/Src/RavDebug.h"
#include "Suite/CommonLibrary/NetCfgClasses.h"
#include "Suite/CommonLibrary/XmsBindings.h"

#include <algorithm>
#include <iterator>

using Microsoft::WRL::ComPtr;

namespace
{
// These watch the wire, or are bound by an administrator for a purpose of their own: VLANs do not need them off.
constexpr const wchar_t* LEFT_ALONE[] = {L"ms_lldp", L"ms_lltdio", L"ms_rspndr", L"ms_ndiscap", L"vms_pp"};

bool IsLeftAlone(INetCfgComponent& protocol)
{
    return RavHasComponentId(protocol, RAV_XMS_PROTOCOL_ID) ||
           std::any_of(std::begin(LEFT_ALONE), std::end(LEFT_ALONE),
                       [&](const wchar_t* id) { return RavHasComponentId(protocol, id); });
}

HRESULT Bind(INetCfgComponent& protocol, INetCfgComponent& adapter, bool bind)
{
    ComPtr<INetCfgComponentBindings> bindings;
    HRESULT status = protocol.QueryInterface(IID_PPV_ARGS(&bindings));
    if (FAILED(status))
        return status;
    const bool bound = bindings->IsBoundTo(&adapter) == S_OK;
    if (bound == bind || (bind && bindings->IsBindableTo(&adapter) != S_OK))
        return S_OK;
    status = bind ? bindings->BindTo(&adapter) : bindings->UnbindFrom(&adapter);
    if (FAILED(status))
        RavTrace().Print(L"CRavAdvSvcNetCfgComponent: %s fails, 0x%X", bind ? L"BindTo" : L"UnbindFrom", status);
    return status;
}
} // namespace

HRESULT RavBindXms(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, bool bind)
{
    ComPtr<INetCfgComponent> xms;
    HRESULT status = netCfg.FindComponentById(RAV_XMS_PROTOCOL_ID, xms);
    if (FAILED(status))
        return status;
    if (!xms)
        return bind ? HRESULT_FROM_WIN32(ERROR_NOT_FOUND) : S_OK;
    status = Bind(*xms.Get(), adapter, bind);
    ComPtr<INetCfgComponentBindings> bindings;
    if (SUCCEEDED(status) && bind && SUCCEEDED(xms.As(&bindings)) && bindings->IsBoundTo(&adapter) != S_OK)
        status = E_FAIL; // not bindable: the VLAN would never carry a packet
    return status;
}

HRESULT RavBindOtherProtocols(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, bool bind)
{
    HRESULT bound = S_OK;
    const HRESULT walked =
        RavForEachComponent(*netCfg.GetNetCfg(), GUID_DEVCLASS_NETTRANS, [&](INetCfgComponent& protocol) {
            if (!IsLeftAlone(protocol))
                bound = Bind(protocol, adapter, bind);
            return SUCCEEDED(bound);
        });
    return FAILED(walked) ? walked : bound;
}

int CRavAdvSvcNetCfgComponent::BindAdapterToXms(CRavNetCfgInterface& netCfg, const CRavString& strAdapter)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavAdvSvcNetCfgComponent::BindAdapterToXms", &status);
    ComPtr<INetCfgComponent> adapter;
    if (netCfg.IsLockedForWrite() && SUCCEEDED(netCfg.FindNetworkComponentByGUID(strAdapter, adapter)) && adapter &&
        SUCCEEDED(RavBindXms(netCfg, *adapter.Get(), true)) &&
        SUCCEEDED(RavBindOtherProtocols(netCfg, *adapter.Get(), false)))
        status = 0;
    return status;
}
