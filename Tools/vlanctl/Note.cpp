#include "Tools/vlanctl/Note.h"

#include "Tools/vlanctl/Output.h"

#include <cstdio>

Note NoteOf(const std::string& name, const std::string& meaning, const std::string& advice)
{
    Note note;
    note.name = name;
    note.meaning = meaning;
    note.advice = advice;
    return note;
}

void Append(std::vector<Note>& notes, const std::vector<Note>& others)
{
    notes.insert(notes.end(), others.begin(), others.end());
}

std::string HexCode(DWORD code)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08lX", code);
    return text;
}

nlohmann::ordered_json NoteToJson(const Note& note)
{
    nlohmann::ordered_json json = {{"name", note.name},
                                   {"code", note.code != 0 ? HexCode(note.code) : ""},
                                   {"number", note.code & 0xFFFF},
                                   {"meaning", note.meaning},
                                   {"advice", note.advice}};
    json.update(note.about);
    return json;
}

void ShowNotes(const std::vector<Note>& notes, const char* kind)
{
    for (const Note& note : notes)
        PrintError(std::string(kind) + (note.code != 0 ? " " + HexCode(note.code) : "") + ": " + note.meaning + "\n" +
                   (note.advice.empty() ? "" : "  " + note.advice + "\n"));
}
