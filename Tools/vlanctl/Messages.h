#pragma once

#include "Src/RavVlanMessages.h"
#include "Tools/vlanctl/Session.h"

#include <nlohmann/json.hpp>

#include <string>

// A result code in words: its number and, where it is a Windows error, what Windows says about it.
std::string CodeText(const CResult& result);

// Why an operation that changes something failed: who holds a lock, when that is it, or else the code in words.
std::string FailureText(CSession& session, const CResult& result);

// "0x33000089"
std::string HexCode(DWORD code);

// Prints each message once, stops before warnings: code, meaning, what to do. Whether there was a stop error.
bool ShowMessages(const CRavVlanMessages& messages);
nlohmann::ordered_json MessagesToJson(const CRavVlanMessages& messages);

// Why the parent cannot carry new VLANs; empty when it can.
std::string ParentReason(CSession& session, const CRavString& parentKey);
