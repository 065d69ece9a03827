#pragma once

#include "Plan/RavCarryOut.h"
#include "Tools/vlanctl/ConfirmationFile.h"
#include "Tools/vlanctl/Note.h"
#include "Tools/vlanctl/Session.h"

// What is decided about a change that waits for its confirmation, or that could not be taken back. Whoever decides
// holds the watch. Each notes the outcome in the record; throws CommandError when it cannot be written.

void KeepChange(ConfirmationRecord& record);
// Brings the old state back, and examines what is there then. A failure is the outcome.
void TakeBackChange(CSession& session, ConfirmationRecord& record, const std::string& why);
void DiscardChange(ConfirmationRecord& record);

// What a way back has not brought back, and what it has cost: "notTakenBack", "settingNotSet", "createdAgain",
// "gaveWay".
std::vector<Note> WayBackNotes(const RAV_WAY_BACK& back, const std::vector<RAV_BEFORE>& before);
// Their meanings, each after the separator.
std::string MeaningsOf(const std::vector<Note>& notes, const char* separator);
// What can be done about a change that could not be taken back.
inline constexpr char ABOUT_FAILED_CHANGE[] = "'vlanctl confirm --roll-back' tries again, 'vlanctl confirm --discard' "
                                              "gives the old state up; no file is applied before";
