#include "Tools/vlanctl/NameRules.h"

#include "Common/Src/Utf8.h"
#include "Tools/vlanctl/Characters.h"

std::vector<Note> NameRefusals(const std::string& name)
{
    std::vector<Note> notes;
    const std::wstring wide = WideOf(name);
    if (!IsText(name))
        notes.push_back(NoteOf("nameIllFormed", "the name is no well-formed text", "Give it in UTF-8."));
    if (const wchar_t control = FirstControl(wide))
        notes.push_back(
            NoteOf("nameControl", "the name holds the control character " + CodePointText(control), "Leave it out."));
    if (const wchar_t direction = FirstDirection(wide))
        notes.push_back(NoteOf("nameDirection",
                               "the name holds " + CodePointText(direction) + ", which turns the direction of writing",
                               "Leave it out."));
    if (EndsBlank(wide))
        notes.push_back(NoteOf("nameEndsBlank", "the name ends with a blank", "Leave the blank out."));
    return notes;
}
