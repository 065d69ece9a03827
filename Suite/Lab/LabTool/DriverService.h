#pragma once

// The service of the lab's driver. A session of Wine starts it by itself while a host is up, and may end at any time:
// both operations take the service in whatever state it is, and wait for one that is between two.

// Creates the service if need be, starts it and sees that the driver answers. Throws DriverError.
void StartDriver();
// Stops the driver; the service stays, to be started on demand only. Throws DriverError.
void StopDriver();
