#pragma once

// Ctrl-C, Ctrl-Break, the closing of the console and a logoff, for a command that changes the host: while an object of
// this is there they end nothing, and the command asks between two steps whether it should stop.
class CInterruption
{
  public:
    CInterruption();
    ~CInterruption();
    CInterruption(const CInterruption&) = delete;
    CInterruption& operator=(const CInterruption&) = delete;

    static bool IsWanted();
};
