#pragma once

#include "Common/Settings/RavSetting.h"
#include "Src/RavVlanMessages.h"
#include "Tools/vlanctl/Note.h"
#include "Tools/vlanctl/Session.h"

#include <optional>
#include <string>
#include <vector>

// A result code in words: its number and, where it is a Windows error, what Windows says about it.
std::string CodeText(const CResult& result);

// Why an operation failed that changes something, while this program has the suite's lock: who holds the network
// configuration's own, when that is it, or else the code in words.
struct Failure
{
    std::string text;
    bool isLocked;
};
Failure WhyItFailed(CSession& session, const CResult& result);

// Why an operation failed, when this program holds no lock: who has one, when that is it, or else the code in words.
std::string FailureText(CSession& session, const CResult& result);

// The messages of one severity, each once: the agent reports some for each VLAN that they concern.
std::vector<Note> Notes(const CRavVlanMessages& messages, DWORD severity);

// An id as it is written: "10", "untagged"; one that is too large as the largest number. Empty for anything else.
std::optional<DWORD> ParseId(const std::string& text);
// What is said of an id that cannot be read.
Note IdNotValid(const std::string& text);

// What a message of the agent says; empty for one that is not known.
std::string MeaningOf(DWORD code);
// Why the parent cannot carry new VLANs, empty when it can; and what they would cost it.
struct ParentVerdict
{
    std::string reason;
    std::vector<Note> warnings;
};
ParentVerdict JudgeNewVlans(CSession& session, const CRavString& parentKey);

// What the agent has against a value of a VLAN's setting. Throws CommandError when it cannot tell.
std::vector<Note> SettingRefusals(CSession& session, const CRavString& vlanKey, const CRavString& keyword,
                                  const RAV_SETTING_VAL_INT& value);

// Such a VLAN cannot be removed.
bool IsBoundToHyperV(CSession& session, const CRavString& vlanKey);
inline constexpr char BOUND_TO_HYPER_V[] = "bound to the Hyper-V switch; take it off the switch first";
