#pragma once

#include <windows.h>

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

    // Loads a sibling module by its full path in the suite's folder, and from nowhere else. Null on failure. The caller
    // frees it.
    static HMODULE RavLoadModule(RavModule module);

    // Services by number; 0 is the DCB service. Wait, for at most half a minute, until it has stopped or started. True
    // when it has, also when it already was.
    static bool RavStopService(DWORD dwSelector);
    static bool RavStartService(DWORD dwSelector);
};
