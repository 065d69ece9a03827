#pragma once

#include "Common/Library/RavNetCfgComponent.h"

// The binding between adapters and the intermediate driver.
class CRavAdvSvcNetCfgComponent : public CRavNetCfgComponent
{
  public:
    // Binds the intermediate driver's protocol edge to the adapter and takes the other protocols off it, except those
    // that have to stay (the ones that watch rather than carry traffic, switches, bridges and teams of the system's
    // own). What was taken off is remembered for CleanUpAdapterFromXms. Already bound is success. All or nothing: on
    // failure the bindings are what they were. Needs the write lock. 0 on success, -1 on failure.
    int BindAdapterToXms(CRavNetCfgInterface& netCfg, const CRavString& strAdapter);
};
