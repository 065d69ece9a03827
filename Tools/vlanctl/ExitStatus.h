#pragma once

// How vlanctl ends.
enum ExitStatus
{
    EXIT_DONE = 0,
    EXIT_REFUSED = 1,
    EXIT_USAGE = 2,
    EXIT_NO_SUITE = 3,
    EXIT_PARTLY = 4,
    EXIT_LOCKED = 5,
    EXIT_RESTART = 6,
    EXIT_NOT_LOADED = 7,
    EXIT_FINDINGS = 8
};

struct ExitStatusText
{
    ExitStatus status;
    const char* name; // of an error that has no other
    const char* text;
};
inline constexpr ExitStatusText EXIT_STATUS_TEXTS[] = {
    {EXIT_DONE, "done", "done, or nothing to do"},
    {EXIT_REFUSED, "refused", "refused or failed, nothing was changed; or the output could not be written"},
    {EXIT_USAGE, "usage", "wrong usage"},
    {EXIT_NO_SUITE, "noSuite", "no management suite or no agent"},
    {EXIT_PARTLY, "partlyDone", "partly done, or interrupted"},
    {EXIT_LOCKED, "locked", "locked by another program, nothing was changed"},
    {EXIT_RESTART, "restartNeeded", "done, a restart of the system is needed"},
    {EXIT_NOT_LOADED, "notLoaded", "status: the VLAN's miniport is not loaded"},
    {EXIT_FINDINGS, "findings", "differences or findings; status: the VLAN is damaged"},
};
