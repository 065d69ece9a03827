#pragma once

#include "Common/Intf/RavNetCfgInterface.h"

// Bindings between protocols and one adapter. All need the write lock and take effect when it is released.

// Binds the intermediate driver's protocol edge to the adapter, or takes it off. Off is success also where it never
// was.
HRESULT RavBindXms(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, bool bind);
// The same for the ordinary protocols: all but the intermediate driver and those that only watch.
HRESULT RavBindOtherProtocols(CRavNetCfgInterface& netCfg, INetCfgComponent& adapter, bool bind);
