#pragma once

#include "Plan/RavOthers.h"
#include "Tools/vlanctl/FileHandle.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

// A change that waits for its confirmation, as the suite's folder keeps it: what the host was before. Whoever watches
// over it holds a second file open, which nobody else can open for as long as he lives.

enum class ConfirmationState
{
    Applying,
    Waiting,
    Confirmed,
    Dismissed, // the change came to nothing by itself
    TakenBack,
    Failed // it was to be taken back, and could not be
};

struct ConfirmationRecord
{
    std::string who;      // "HOST\\Administrator, process 123"
    std::string since;    // "2026-11-25 17:40:12", of this machine's clock
    std::string deadline; // of Waiting
    ConfirmationState state = ConfirmationState::Applying;
    std::string outcome; // in words
    std::vector<RAV_BEFORE> before;
};

// Whether somebody has yet to decide about it.
bool IsPending(const ConfirmationRecord& record);

// None when there is no record. Throws CommandError when it cannot be read.
std::optional<ConfirmationRecord> ReadConfirmation();
// Replaces it as a whole. Throws CommandError.
void WriteConfirmation(const ConfirmationRecord& record);

// The watcher's file; null when another one has it.
CFileHandle TakeWatch();
bool IsWatched();
