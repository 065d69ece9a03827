#include "Tools/vlanctl/CreationCheck.h"

#include "Common/Src/RavUtf8.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/NameRules.h"
#include "Tools/vlanctl/Names.h"

#include <algorithm>
#include <map>
#include <set>

namespace
{
constexpr DWORD IN_USE[] = {RAV_MSG_RANGE_ID_IN_USE, RAV_MSG_ID_IN_USE};
constexpr DWORD NO_ID[] = {RAV_MSG_ID_NOT_VALID, RAV_MSG_ID_TOO_LARGE};
constexpr DWORD ABOUT_NAMES[] = {RAV_MSG_NAME_EMPTY, RAV_MSG_NAME_BEGINS_BLANK, RAV_MSG_NAME_TOO_LONG,
                                 RAV_MSG_NAME_CHARACTER, RAV_MSG_NAME_IN_USE};

template <size_t SIZE>
bool IsOneOf(DWORD code, const DWORD (&codes)[SIZE])
{
    return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

template <size_t SIZE>
bool HoldsOneOf(const CRavVlanMessages& messages, const DWORD (&codes)[SIZE])
{
    return std::any_of(messages.begin(), messages.end(),
                       [&](const RAV_VALIDATION_MESSAGE& message) { return IsOneOf(message.dwCode, codes); });
}

RAV_VALIDATION_MESSAGE Stop(DWORD code)
{
    return {code, RAV_CATEGORY_VLAN, RAV_SEVERITY_STOP, {}};
}

CRavVlanMessages Ask(CSession& session, const CRavString& parentKey, const std::string& ids,
                     const std::optional<std::string>& name)
{
    CResult result;
    CRavVlanMessages messages;
    session.Agent().ValidateNewVlan(result, parentKey, FromUtf8(ids), RequestedName(name), messages, session.Client());
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the request cannot be validated: " + CodeText(result));
    return messages;
}

// Says in a note which parts of the request it is about: "10 (Sales)".
struct Culprit
{
    std::string text;
    std::string detail;
};

void NameCulprits(Note& note, const std::vector<Culprit>& culprits)
{
    note.about["refused"] = nlohmann::ordered_json::array();
    std::string list;
    for (const Culprit& culprit : culprits)
    {
        note.about["refused"].push_back(culprit.text);
        list += (list.empty() ? ": " : ", ") + (culprit.text.empty() ? "\"\"" : culprit.text) +
                (culprit.detail.empty() ? "" : " (" + culprit.detail + ")");
    }
    note.meaning += list;
}

std::map<DWORD, size_t> CountIds(const WantedVlans& wanted)
{
    std::map<DWORD, size_t> counts;
    for (const WantedVlan& vlan : wanted.vlans)
        ++counts[vlan.id];
    return counts;
}

std::vector<Culprit> IdsInUse(CSession& session, const CRavString& parentKey, const WantedVlans& wanted)
{
    std::vector<Culprit> culprits;
    const std::vector<VlanRow> rows = ReadVlans(session, parentKey);
    for (const auto& [id, count] : CountIds(wanted))
    {
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [id = id](const VlanRow& candidate) { return candidate.info.vlanId == id; });
        if (row != rows.end())
            culprits.push_back({IdText(id), ToUtf8(row->info.vlanName)});
        else if (count > 1)
            culprits.push_back({IdText(id), "twice"});
    }
    return culprits;
}

std::vector<Culprit> NoIds(const WantedVlans& wanted)
{
    std::vector<Culprit> culprits;
    for (const RefusedPart& part : wanted.refused)
        culprits.push_back({part.text, ""});
    return culprits;
}

// The rules about ids and the parent, and for one VLAN alone those about its name.
CreationCheck CheckIds(CSession& session, const CRavString& parentKey, const WantedVlans& wanted,
                       const std::optional<std::string>& name)
{
    CRavVlanMessages messages = Ask(session, parentKey, wanted.ids, name);
    if (!wanted.refused.empty() && !HoldsOneOf(messages, NO_ID))
        messages.push_back(Stop(RAV_MSG_ID_NOT_VALID));
    const bool isAnyTwice = CountIds(wanted).size() < wanted.vlans.size();
    if (isAnyTwice && !HoldsOneOf(messages, IN_USE))
        messages.push_back(Stop(RAV_MSG_RANGE_ID_IN_USE));
    CreationCheck check = {Notes(messages, RAV_SEVERITY_STOP), Notes(messages, RAV_SEVERITY_WARNING)};
    for (Note& note : check.errors)
    {
        if (IsOneOf(note.code, IN_USE))
            NameCulprits(note, IdsInUse(session, parentKey, wanted));
        else if (IsOneOf(note.code, NO_ID))
            NameCulprits(note, NoIds(wanted));
    }
    return check;
}

// What is said of one name of several.
void CheckName(CSession& session, const CRavString& parentKey, const WantedVlan& vlan, std::vector<Note>& errors)
{
    CRavVlanMessages messages = Ask(session, parentKey, "1", vlan.name); // whatever is said of the id
    std::erase_if(messages,
                  [](const RAV_VALIDATION_MESSAGE& message) { return !IsOneOf(message.dwCode, ABOUT_NAMES); });
    std::vector<Note> notes = Notes(messages, RAV_SEVERITY_STOP);
    Append(notes, NameRefusals(*vlan.name));
    for (Note& note : notes)
    {
        NameCulprits(note, {{IdText(vlan.id), *vlan.name}});
        errors.push_back(note);
    }
}

// VLANs of one request that would get the same name: nobody could tell them apart.
void CheckSharedNames(const WantedVlans& wanted, std::vector<Note>& errors)
{
    std::map<CRavString, std::vector<Culprit>> names;
    std::set<DWORD> ids; // one that is there twice has been told
    for (const WantedVlan& vlan : wanted.vlans)
    {
        if (!ids.insert(vlan.id).second)
            continue;
        const std::string name = vlan.name.value_or("VLAN" + std::to_string(vlan.id));
        CRavString folded = FromUtf8(name);
        folded.MakeLower();
        names[folded].push_back({IdText(vlan.id), name});
    }
    for (const auto& [name, culprits] : names)
    {
        if (culprits.size() < 2)
            continue;
        std::vector<Note> notes = Notes({Stop(RAV_MSG_NAME_IN_USE)}, RAV_SEVERITY_STOP);
        NameCulprits(notes.front(), culprits);
        errors.push_back(notes.front());
    }
}
} // namespace

CRavString RequestedName(const std::optional<std::string>& name)
{
    return name ? FromUtf8(*name) : CRavString(RAV_AUTO_VLAN_NAMES);
}

CreationCheck CheckCreation(CSession& session, const CRavString& parentKey, const WantedVlans& wanted)
{
    if (wanted.vlans.size() + wanted.refused.size() == 1)
    {
        const auto& name = wanted.vlans.empty() ? wanted.refused.front().name : wanted.vlans.front().name;
        CreationCheck check = CheckIds(session, parentKey, wanted, name);
        Append(check.errors, NameRefusals(name.value_or("")));
        return check;
    }
    CreationCheck check = CheckIds(session, parentKey, wanted, std::nullopt);
    if (wanted.refused.empty())
        CheckSharedNames(wanted, check.errors);
    if (!check.errors.empty())
        return check;
    for (const WantedVlan& vlan : wanted.vlans)
    {
        if (vlan.name)
            CheckName(session, parentKey, vlan, check.errors);
    }
    return check;
}
