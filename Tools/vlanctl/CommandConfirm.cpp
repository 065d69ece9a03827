// Confirming a change, or having it taken back.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Confirmation.h"
#include "Tools/vlanctl/Decision.h"
#include "Tools/vlanctl/Output.h"

using Json = nlohmann::ordered_json;

namespace
{
constexpr DWORD POLL_MILLISECONDS = 50;
constexpr DWORD PATIENCE_MILLISECONDS = 20 * POLL_MILLISECONDS;

// To be discarded, a record need not be one that can be understood.
std::optional<ConfirmationRecord> ReadToDecide(const ConfirmOptions& options)
{
    try
    {
        return ReadConfirmation();
    }
    catch (const CommandError&)
    {
        if (!options.discard)
            throw;
        ConfirmationRecord record;
        record.who = "somebody";
        record.since = "some time";
        record.state = ConfirmationState::Failed;
        return record;
    }
}

// What was not taken back as a whole is nothing that could be confirmed; what waits is nothing to be forgotten.
void RefuseWrongVerb(const ConfirmationRecord& record, const ConfirmOptions& options)
{
    const bool isFailed = record.state == ConfirmationState::Failed;
    if (isFailed && !options.rollBack && !options.discard)
        throw CommandError(EXIT_REFUSED, "the change by " + record.who + " since " + record.since + ": " +
                                             record.outcome + "\n  " + ABOUT_FAILED_CHANGE);
    if (!isFailed && options.discard)
        throw CommandError(EXIT_REFUSED, "the change by " + record.who + " since " + record.since +
                                             " waits for its confirmation: 'vlanctl confirm' keeps it, 'vlanctl "
                                             "confirm --roll-back' takes it back");
}

// Whoever watches over the change decides, and ends.
void AskWatcher(const ConfirmationRecord& record, bool rollBack)
{
    if (record.state == ConfirmationState::Applying)
        throw CommandError(EXIT_LOCKED, "the change by " + record.who + " since " + record.since +
                                            " is still being made; try again when it is done");
    const ConfirmationEvents events = OpenConfirmationEvents();
    const CFileHandle& event = rollBack ? events.refused : events.confirmed;
    if (event) // else the watcher has just ended, or it is another 'vlanctl confirm'
        Signal(event);
    for (DWORD waited = 0; IsWatched(); waited += POLL_MILLISECONDS)
    {
        if (waited == PATIENCE_MILLISECONDS)
            PrintError("vlanctl: waiting until what was decided is done\n");
        Sleep(POLL_MILLISECONDS);
    }
}

void Decide(CSession& session, ConfirmationRecord& record, const ConfirmOptions& options)
{
    if (options.discard)
        DiscardChange(record);
    else if (options.rollBack)
        TakeBackChange(session, record,
                       record.state == ConfirmationState::Failed ? "it was tried again" : "its watcher is gone");
    else
        KeepChange(record);
}

// The record of a change that somebody has yet to decide about.
ConfirmationRecord ReadPending(const ConfirmOptions& options)
{
    const std::optional<ConfirmationRecord> record = ReadToDecide(options);
    if (!record || record->state == ConfirmationState::Dismissed)
        throw CommandError(EXIT_REFUSED, "no change waits for its confirmation");
    if (!IsPending(*record))
        throw CommandError(EXIT_REFUSED, "no change waits for its confirmation; of the last one, by " + record->who +
                                             " since " + record->since + ": " + record->outcome);
    RefuseWrongVerb(*record, options);
    return *record;
}

ExitStatus Show(const ConfirmationRecord& record, const ConfirmOptions& options)
{
    const bool isAsWanted = record.state == (options.rollBack  ? ConfirmationState::TakenBack
                                             : options.discard ? ConfirmationState::Dismissed
                                                               : ConfirmationState::Confirmed);
    const ExitStatus status = isAsWanted                                  ? EXIT_DONE
                              : record.state == ConfirmationState::Failed ? EXIT_PARTLY
                                                                          : EXIT_REFUSED;
    const std::string text = "the change by " + record.who + " since " + record.since + ": " + record.outcome;
    if (options.json)
        PrintJson({{"verb", "confirm"},
                   {"exitStatus", status},
                   {"kept", record.state == ConfirmationState::Confirmed},
                   {"who", record.who},
                   {"since", record.since},
                   {"outcome", record.outcome}});
    else if (isAsWanted)
        Print(text + "\n");
    if (!isAsWanted)
        PrintError("vlanctl: " + text + "\n");
    return status;
}
} // namespace

ExitStatus RunConfirm(CSession& session, const ConfirmOptions& options)
{
    ConfirmationRecord record = ReadPending(options);
    for (;;)
    {
        if (const CFileHandle watch = TakeWatch()) // nobody else decides meanwhile
        {
            record = ReadPending(options);
            Decide(session, record, options);
            return Show(record, options);
        }
        AskWatcher(record, options.rollBack);
        const std::optional<ConfirmationRecord> decided = ReadConfirmation();
        if (decided && !IsPending(*decided))
            return Show(*decided, options);
        record = ReadPending(options);
    }
}
