// The process that takes a change back when nobody confirms it.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Confirmation.h"
#include "Tools/vlanctl/Decision.h"

ExitStatus RunWatchConfirmation(CSession& session, const WatchConfirmationOptions& options)
{
    const CFileHandle watch = TakeWatch();
    const ConfirmationEvents events = OpenConfirmationEvents();
    const CFileHandle applier(OpenProcess(SYNCHRONIZE, FALSE, options.process));
    if (!watch || !events.ready || !applier)
        return EXIT_REFUSED;
    Signal(events.ready);
    const HANDLE first[] = {events.dismissed.Get(), events.applied.Get(), applier.Get()};
    const DWORD begin = WaitForMultipleObjects(3, first, FALSE, INFINITE);
    if (begin == WAIT_OBJECT_0)
        return EXIT_DONE;
    const HANDLE second[] = {events.confirmed.Get(), events.refused.Get()};
    const DWORD end =
        begin == WAIT_OBJECT_0 + 1 ? WaitForMultipleObjects(2, second, FALSE, options.seconds * 1000) : WAIT_TIMEOUT;
    std::optional<ConfirmationRecord> record = ReadConfirmation();
    if (!record)
        return EXIT_REFUSED;
    if (end == WAIT_OBJECT_0)
        KeepChange(*record);
    else
        TakeBackChange(session, *record,
                       begin != WAIT_OBJECT_0 + 1 ? "the program that made it ended before it was done"
                       : end == WAIT_OBJECT_0 + 1 ? "it was not wanted"
                                                  : "it was not confirmed in time");
    return EXIT_DONE;
}
