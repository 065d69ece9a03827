#pragma once

#include "Common/Src/ModuleHandle.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <memory>

// A sibling module of the suite, by what it does.
enum class RavModule
{
    CoreAgent,
    TeamAgent
};

// The environment: modules beside this one, and services.
class CHelper
{
  public:
    CHelper() = delete;

    // The suite's folder, REG_SZ "InstalledDir" of the suite's key: up to 511 characters, as the trace log has it.
    static bool RavInstalledFolder(CRavString& strFolder);

    // Loads a sibling module by its full path in the suite's folder, and from nowhere else. Null on failure.
    static CRavModuleHandle RavLoadModule(RavModule module);

    // Keeps a loaded module in the process, for itself and for all copies of what is returned.
    static std::shared_ptr<void> RavHoldModule(const CRavModuleHandle& module);

    // Services by number; 0 is the DCB service. A service that is on its way to a state arrives first; then they wait
    // until it has stopped or started. Each wait takes at most half a minute. True when it has, also when it already
    // was.
    static bool RavStopService(DWORD dwSelector);
    static bool RavStartService(DWORD dwSelector);
};
