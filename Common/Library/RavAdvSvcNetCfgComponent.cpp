#include "Common/Library/RavAdvSvcNetCfgComponent.h"

#include "Common/Src/RavDebug.h"
#include "Common/Library/BindingRecord.h"
#include "Common/Library/NetCfgClasses.h"
#include "Common/Library/XmsBindings.h"

#include <algorithm>
#include <iterator>

using Microsoft::WRL::ComPtr;

namespace
{
// Protocols that stay bound to a parent of VLANs: they only watch the wire, or give the adapter to a switch, a bridge
// or a team of the system's own.
constexpr const wchar_t* LEFT_ALONE[] = {L"ms_lldp",   L"ms_lltdio", L"ms_rspndr", L"ms_ndiscap",
                                         L"ms_implat", L"ms_bridge", L"vms_pp"};

bool IsLeftAlone(INetCfgComponent& protocol)
{
    return RavHasComponentId(protocol, RAV_XMS_PROTOCOL_ID) ||
           std::any_of(std::begin(LEFT_ALONE), std::end(LEFT_ALONE),
                       [&](const wchar_t* id) { return RavHasComponentId(protocol, id); });
}

HRESULT Traced(const wchar_t* call, HRESULT status)
{
    if (FAILED(status))
        RavTrace().Print(L"CRavAdvSvcNetCfgComponent: %s fails, 0x%X", call, status);
    return status;
}

HRESULT IsBound(INetCfgComponent& protocol, INetCfgComponent& adapter, bool& bound,
                ComPtr<INetCfgComponentBindings>& bindings)
{
    HRESULT status = protocol.QueryInterface(IID_PPV_ARGS(bindings.ReleaseAndGetAddressOf()));
    if (SUCCEEDED(status))
        status = bindings->IsBoundTo(&adapter);
    bound = status == S_OK;
    return Traced(L"IsBoundTo", status);
}

HRESULT IsBound(INetCfgComponent& protocol, INetCfgComponent& adapter, bool& bound)
{
    ComPtr<INetCfgComponentBindings> bindings;
    return IsBound(protocol, adapter, bound, bindings);
}

// What cannot be bound to the adapter at all is left as it is.
HRESULT Bind(INetCfgComponent& protocol, INetCfgComponent& adapter, RavBinding binding)
{
    ComPtr<INetCfgComponentBindings> bindings;
    bool bound = false;
    HRESULT status = IsBound(protocol, adapter, bound, bindings);
    if (FAILED(status) || bound == (binding == RavBinding::On))
        return FAILED(status) ? status : S_OK;
    if (binding == RavBinding::Off)
        return Traced(L"UnbindFrom", bindings->UnbindFrom(&adapter));
    status = Traced(L"IsBindableTo", bindings->IsBindableTo(&adapter));
    if (status == S_OK)
        status = Traced(L"BindTo", bindings->BindTo(&adapter));
    return FAILED(status) ? status : S_OK;
}

// Calls visit(protocol, id) for each ordinary protocol that is bound to the adapter, until it fails.
template <typename Visit>
HRESULT ForEachOrdinaryProtocol(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, Visit&& visit)
{
    HRESULT status = S_OK;
    const auto look = [&](INetCfgComponent& protocol) {
        bool bound = false;
        CNetCfgText id;
        if (!IsLeftAlone(protocol) && SUCCEEDED(status = IsBound(protocol, adapter, bound)) && bound &&
            SUCCEEDED(status = protocol.GetId(id.Out())))
            status = visit(protocol, id.Get());
        return SUCCEEDED(status);
    };
    const HRESULT walked = RavForEachComponent(*netCfg.GetNetCfg(), GUID_DEVCLASS_NETTRANS, look);
    return FAILED(walked) ? walked : status;
}

// Which protocols an adapter gets back: those of its record, and without one TCP/IP if the driver was bound to it.
std::vector<CRavString> ProtocolsToRestore(const CRavString& adapter, bool wasBound)
{
    std::vector<CRavString> protocols;
    if (!RavReadBindingRecord(adapter, protocols) && wasBound)
        protocols = {L"ms_tcpip", L"ms_tcpip6"};
    return protocols;
}

// Adds the protocols that were just taken off to the adapter's record. A parent without a record became one under a
// release that kept none: its record begins with what such a parent is given back. A record of an adapter that is not
// bound comes of an interrupted change: what that took off is not bound any more.
bool Remember(const CRavString& adapter, bool wasBound, const std::vector<CRavString>& taken)
{
    if (wasBound && taken.empty())
        return true;
    std::vector<CRavString> protocols = ProtocolsToRestore(adapter, wasBound);
    for (const CRavString& id : taken)
    {
        if (std::none_of(protocols.begin(), protocols.end(),
                         [&](const CRavString& known) { return known.CompareI(id); }))
            protocols.push_back(id);
    }
    return RavWriteBindingRecord(adapter, protocols);
}

// Binds the driver, then takes the protocols off. On failure all of it is undone: releasing the lock applies whatever
// is pending, and half of this would leave the adapter with neither TCP/IP nor VLANs.
HRESULT BindToXms(CRavNetCfgInterface& netCfg, const CRavString& guid, INetCfgComponent& adapter)
{
    std::vector<CRavString> taken;
    bool wasBound = false;
    HRESULT status = RavIsBoundToXms(netCfg, adapter, wasBound);
    if (FAILED(status))
        return status;
    if (SUCCEEDED(status = RavBindXms(netCfg, adapter, RavBinding::On)) &&
        SUCCEEDED(status = RavTakeProtocolsOff(netCfg, adapter, taken)) && !Remember(guid, wasBound, taken))
        status = E_FAIL;
    netCfg.NoteBindings(guid, false);
    if (SUCCEEDED(status))
        return status;
    RavBindProtocols(netCfg, adapter, taken);
    if (!wasBound)
        RavBindXms(netCfg, adapter, RavBinding::Off);
    return status;
}
} // namespace

HRESULT RavBindXms(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, RavBinding binding)
{
    ComPtr<INetCfgComponent> xms;
    const bool on = binding == RavBinding::On;
    HRESULT status = netCfg.FindComponentById(RAV_XMS_PROTOCOL_ID, xms);
    if (FAILED(status))
        return status;
    if (!xms)
        return on ? HRESULT_FROM_WIN32(ERROR_NOT_FOUND) : S_OK;
    status = Bind(*xms.Get(), adapter, binding);
    bool bound = false;
    if (SUCCEEDED(status) && on && SUCCEEDED(status = IsBound(*xms.Get(), adapter, bound)) && !bound)
        status = E_FAIL; // not bindable: the VLAN would never carry a packet
    return status;
}

HRESULT RavIsBoundToXms(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, bool& bound)
{
    ComPtr<INetCfgComponent> xms;
    bound = false;
    const HRESULT status = netCfg.FindComponentById(RAV_XMS_PROTOCOL_ID, xms);
    return FAILED(status) || !xms ? status : IsBound(*xms.Get(), adapter, bound);
}

HRESULT RavTakeProtocolsOff(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, std::vector<CRavString>& taken)
{
    return ForEachOrdinaryProtocol(netCfg, adapter, [&](INetCfgComponent& protocol, const wchar_t* id) {
        const HRESULT status = Bind(protocol, adapter, RavBinding::Off);
        if (SUCCEEDED(status))
            taken.push_back(id);
        return status;
    });
}

HRESULT RavListProtocols(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, std::vector<CRavString>& protocols)
{
    return ForEachOrdinaryProtocol(netCfg, adapter, [&](INetCfgComponent&, const wchar_t* id) {
        protocols.push_back(id);
        return S_OK;
    });
}

HRESULT RavBindProtocols(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter,
                         const std::vector<CRavString>& protocols)
{
    HRESULT first = S_OK;
    for (const CRavString& id : protocols)
    {
        ComPtr<INetCfgComponent> protocol;
        HRESULT status = netCfg.FindComponentById(id, protocol);
        if (SUCCEEDED(Traced(L"FindComponent", status)) && protocol)
            status = Bind(*protocol.Get(), adapter, RavBinding::On);
        if (FAILED(status) && SUCCEEDED(first))
            first = status; // go on: the other protocols have to come back all the same
    }
    return first;
}

HRESULT RavGiveBindingsBack(CRavNetCfgInterface& netCfg, const CRavString& guid, RavProtocols protocols)
{
    const bool restore = protocols == RavProtocols::Restore;
    ComPtr<INetCfgComponent> adapter;
    bool wasBound = false;
    HRESULT status = netCfg.FindNetworkComponentByGUID(guid, adapter);
    if (SUCCEEDED(status) && adapter && SUCCEEDED(status = RavIsBoundToXms(netCfg, *adapter.Get(), wasBound)))
    {
        const std::vector<CRavString> missing = ProtocolsToRestore(guid, wasBound);
        if (restore && wasBound)
            RavWriteBindingRecord(
                guid, missing); // if a later step fails, the next try finds the driver off and would not know them
        status = RavBindXms(netCfg, *adapter.Get(), RavBinding::Off);
        if (SUCCEEDED(status) && restore)
            status = RavBindProtocols(netCfg, *adapter.Get(), missing);
    }
    if (FAILED(status))
        RavTrace().Print(L"CRavAdvSvcNetCfgComponent: the bindings of %s cannot be given back, 0x%X", guid.c_str(),
                         status);
    else if (restore)
        netCfg.NoteBindings(guid, true);
    return status;
}

int CRavAdvSvcNetCfgComponent::BindAdapterToXms(CRavNetCfgInterface& netCfg, const CRavString& strAdapter)
{
    int status = -1;
    const CRavTraceScope trace(L"CRavAdvSvcNetCfgComponent::BindAdapterToXms", &status);
    ComPtr<INetCfgComponent> adapter;
    HRESULT bound =
        netCfg.IsLockedForWrite() ? netCfg.FindNetworkComponentByGUID(strAdapter, adapter) : NETCFG_E_NO_WRITE_LOCK;
    if (SUCCEEDED(bound))
        bound = adapter ? BindToXms(netCfg, strAdapter, *adapter.Get()) : HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    if (SUCCEEDED(bound))
        status = 0;
    else
        RavTrace().Print(L"CRavAdvSvcNetCfgComponent::BindAdapterToXms - %s cannot be bound, 0x%X", strAdapter.c_str(),
                         bound);
    return status;
}
