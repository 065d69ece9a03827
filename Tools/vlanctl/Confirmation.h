#pragma once

#include "Plan/RavOthers.h"
#include "Tools/vlanctl/ConfirmationFile.h"

#include <string>
#include <vector>

// Keeps a change under the condition that somebody confirms it: a process of its own, which outlives whoever applies,
// holds the old state and takes everything back when no confirmation comes, or when the applying process ends before it
// is done.

// What the processes tell each other; each is there as long as one of them has it.
struct ConfirmationEvents
{
    CFileHandle ready;     // the watcher watches
    CFileHandle applied;   // the time runs
    CFileHandle dismissed; // nothing is left to be confirmed
    CFileHandle confirmed;
    CFileHandle refused; // it is to be taken back at once
};

// Throws CommandError when one of them cannot be had.
ConfirmationEvents CreateConfirmationEvents();
// Null where there is none: nobody waits then.
ConfirmationEvents OpenConfirmationEvents();
// Throws CommandError.
void Signal(const CFileHandle& event);

// The applying side.
class CConfirmation
{
  public:
    // Starts the watcher; nothing must have been done yet. Throws CommandError when there is none, or no record.
    CConfirmation(const std::vector<RAV_BEFORE>& before, unsigned seconds);

    // All is done, and these VLANs are there; to be told while the lock keeps others from creating some.
    void NoteDone(const std::vector<RAV_PRESENT_PARENT>& found);
    // The lock is given back; the time runs from here on. Whether the watcher still watches.
    bool Await();
    // The change came to nothing by itself, or to what cannot be taken back; the watcher ends.
    void Dismiss(ConfirmationState state = ConfirmationState::Dismissed, const std::string& outcome = {});
    std::string Deadline() const { return m_record.deadline; }
    // Waits at the terminal for Enter, for a decision from elsewhere, or for the end; an interruption takes the change
    // back. The record tells what has become of it; none when it is gone.
    std::optional<ConfirmationRecord> AskOnTerminal();

  private:
    void StartWatcher();

    unsigned m_seconds;
    ConfirmationRecord m_record;
    ConfirmationEvents m_events;
    CFileHandle m_watcher; // the process
};

// Throws CommandError when somebody has yet to decide about an earlier change.
void RefusePendingConfirmation();
// Keeps the old state of a change that nobody watches over and that could not be taken back. Throws CommandError.
void NoteFailedChange(const std::vector<RAV_BEFORE>& before, const std::string& outcome);
