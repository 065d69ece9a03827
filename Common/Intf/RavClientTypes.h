#pragma once

#include <windows.h>

// Who is calling: the core agent hands one of these to each client that introduces itself, and knows it again for
// as long as the client's process lives. Copied and passed on, never interpreted by other modules.
struct RAV_CLIENT_ID
{
    DWORD dwProcessId = 0;
    DWORD dwCookie = 0;
};

// What a client sends with every changing operation: itself, and how long it is ready to wait for the suite-wide
// configuration lock.
struct RAV_LOCK_RECORD
{
    RAV_CLIENT_ID client;
    DWORD dwWaitMilliseconds = 0; // 0 does not wait; INFINITE waits for as long as it takes
};
static_assert(sizeof(RAV_LOCK_RECORD) == 12, "the lock record crosses module boundaries");

// Proof of a granted lock; given back with DoneLock.
struct RAV_LOCK_TOKEN
{
    DWORD dwToken = 0; // 0 stands for no lock
};
