#include "Tools/vlanctl/TeamRules.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Output.h"

std::vector<Note> TeamRefusals(const RAV_HOST& host, const CRavString& team)
{
    std::vector<Note> notes;
    for (const auto& [guid, entry] : host.entries)
    {
        const RAV_HOST_COMPONENT* const member = host.Find(guid);
        if (member == nullptr || !(member->instance == L"0000") || !host.IsMember(guid, team))
            continue;
        // The agent reaches a member's key by its number, of which 0 means that there is none.
        Note note;
        note.name = "memberCannotCarry";
        note.meaning = Visible(ToUtf8(member->displayName)) +
                       ", a member of the team, is the adapter number 0000, which cannot carry VLANs of a team";
        note.advice = "Take it out of the team, or let Windows install it anew: it gets another number then.";
        note.about = {{"member", ToUtf8(guid)}};
        notes.push_back(note);
    }
    return notes;
}
