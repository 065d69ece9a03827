#pragma once

#include "Common/Library/RavNetCfgInterface.h"

// Bindings between protocols and one adapter. All changes need the write lock and take effect when it is released.

// Binds the intermediate driver's protocol edge to the adapter, or takes it off. Off is success also where it never
// was.
enum class RavBinding
{
    Off,
    On
};
HRESULT RavBindXms(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, RavBinding binding);
HRESULT RavIsBoundToXms(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, bool& bound);

// Takes the ordinary protocols off: all but the intermediate driver, those that only watch, and those that hand the
// adapter to somebody else. `taken` gets the component ids of those that were really bound, also on failure.
HRESULT RavTakeProtocolsOff(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, std::vector<CRavString>& taken);
// The component ids of the ordinary protocols that are bound to the adapter: what a parent of VLANs gives up.
HRESULT RavListProtocols(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, std::vector<CRavString>& protocols);
// Binds protocols by component id; one that has been uninstalled since is passed over.
HRESULT RavBindProtocols(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter,
                         const std::vector<CRavString>& protocols);
// Takes the intermediate driver off an adapter and restores, or leaves off, the protocols of its record, which goes
// once they are back and that is applied. Without a record an adapter that the driver was bound to gets TCP/IP, and one
// that it was not bound to keeps what it has. An adapter that was taken out of the machine needs nothing.
enum class RavProtocols
{
    Restore,
    LeaveOff
};
HRESULT RavGiveBindingsBack(CRavNetCfgInterface& netCfg, const CRavString& guid, RavProtocols protocols);
