#pragma once

// A note that a change of devices or bindings takes full effect with the next start of the system only. It is made by
// whichever module of the suite was told so, is there for every program to see, and goes with that start by itself.
void RavNoteRestart();
bool RavIsRestartNoted();
