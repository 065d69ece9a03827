#pragma once

#include <windows.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// An error or a warning.
struct Note
{
    std::string name;    // stable, for programs: "idInUse"
    DWORD code = 0;      // of the agent's message; 0 for one of vlanctl's own
    std::string meaning; // a sentence without its full stop
    std::string advice;  // what to do; may be empty
    bool isGrave = false;
    nlohmann::ordered_json about = nlohmann::ordered_json::object(); // further members
};

// One of vlanctl's own.
Note NoteOf(const std::string& name, const std::string& meaning, const std::string& advice = {});
// At the end, in their order.
void Append(std::vector<Note>& notes, const std::vector<Note>& others);
// "0x33000089"
std::string HexCode(DWORD code);
nlohmann::ordered_json NoteToJson(const Note& note);
// Prints notes on standard error, one as "warning 0x33000095: meaning" and its advice.
void ShowNotes(const std::vector<Note>& notes, const char* kind);
