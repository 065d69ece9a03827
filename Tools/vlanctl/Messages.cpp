#include "Tools/vlanctl/Messages.h"

#include "Common/Library/RestartNote.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace
{
struct MessageText
{
    RAV_VLAN_MESSAGE code;
    const char* name;
    bool aboutParent;
    const char* meaning;
    const char* advice;
};

const MessageText TEXTS[] = {
    {RAV_MSG_XMS_BLOCKED, "driverBlocked", true,
     "this version of Windows blocks the intermediate driver that VLANs need",
     "Use the VLAN support of Windows itself, or lift the block."},
    {RAV_MSG_TEAM_WITHOUT_VLANS, "teamWithoutVlans", true, "VLANs cannot be created over this team",
     "The team's kind rules them out: create them over another team or adapter."},
    {RAV_MSG_DRIVER_NOT_LOADED, "driverNotLoaded", true, "the parent's driver is not loaded",
     "Enable the adapter in the Device Manager and try again."},
    {RAV_MSG_PARENT_IN_TEAM, "parentInTeam", true, "the adapter is a member of a team",
     "Create the VLAN over the team, or take the adapter out of it."},
    {RAV_MSG_PARENT_WITHOUT_VLANS, "parentWithoutVlans", true, "this parent does not support VLANs",
     "'vlanctl parents' lists the parents that do."},
    {RAV_MSG_NOT_OUR_DEVICE, "notOurDevice", true, "the adapter is not one of the maker's",
     "'vlanctl parents' lists the adapters that can carry VLANs."},
    {RAV_MSG_DRIVER_TOO_OLD, "driverTooOld", true, "the adapter's driver does not support these VLANs",
     "Install a current driver for the adapter."},
    {RAV_MSG_NAME_EMPTY, "nameEmpty", false, "the VLAN has no name",
     "Give it one; --auto-names names new ones after their ids."},
    {RAV_MSG_NAME_BEGINS_BLANK, "nameBeginsBlank", false, "the name begins with a blank", "Leave the blank out."},
    {RAV_MSG_NAME_TOO_LONG, "nameTooLong", false, "the name is longer than 32 characters",
     "Shorten it; most emoji count as two."},
    {RAV_MSG_NAME_CHARACTER, "nameCharacter", false, "the name holds one of the characters / \\ * : > < | ? \"",
     "Leave it out."},
    {RAV_MSG_NAME_IN_USE, "nameInUse", false, "another VLAN of this parent has the same name, or several would get it",
     "Choose another; several new ones have names as --name \"Floor {id}\", --id 10=Sales,20=Voice or --auto-names."},
    {RAV_MSG_RANGE_ID_IN_USE, "idInUse", false, "an id is already used by a VLAN of this parent, or is named twice",
     "Leave it out; 'vlanctl list --parent' shows which are used."},
    {RAV_MSG_PARENT_OVERFULL, "tooManyVlans", false, "with these the parent would have more than 64 VLANs",
     "Create fewer, or remove some first."},
    {RAV_MSG_VIRTUAL_PARENT_OVERFULL, "tooManyVlans", false,
     "with these the virtual device would have more than 63 VLANs", "Create fewer, or remove some first."},
    {RAV_MSG_ID_NOT_VALID, "idNotValid", false, "an id cannot be read, or is above 4094",
     "Give ids from 1 to 4094, or 0 for the untagged VLAN, with commas (10,20) and as rising ranges (5-9)."},
    {RAV_MSG_ID_TOO_LARGE, "idTooLarge", false, "the id is above 4094",
     "Use an id from 1 to 4094; 0, the untagged VLAN, is for a new one."},
    {RAV_MSG_ID_IN_USE, "idInUse", false, "another VLAN of this parent has the same id",
     "Choose another id, or remove that VLAN first."},
    {RAV_MSG_PARENT_FULL, "tooManyVlans", false, "the parent already has 64 VLANs", "Remove one first."},
    {RAV_MSG_VIRTUAL_PARENT_FULL, "tooManyVlans", false, "the virtual device already has 63 VLANs",
     "Remove one first."},
    {RAV_MSG_UNTAGGED_ALONE, "untaggedAlone", false, "an untagged VLAN cannot be the only VLAN of its parent",
     "Create a tagged VLAN (id 1 to 4094) first."},
    {RAV_MSG_VMQ_ON_ADAPTER, "vmqGoesOff", false,
     "virtual machine queues are on; they go off and stay off, also without VLANs",
     "Nothing, if no virtual machine uses this adapter; else move its virtual machines to another one first."},
    {RAV_MSG_VMQ_ON_TEAM, "vmqGoesOff", false,
     "virtual machine queues are on for a member of the team; they go off and stay off, also without VLANs",
     "Nothing, if no virtual machine uses this team; else move its virtual machines elsewhere first."},
    {RAV_MSG_SETTING_UNKNOWN, "settingUnknown", false, "the VLAN has no setting %1", "'vlanctl settings' lists them."},
    {RAV_MSG_SETTING_NO_CHOICE, "settingValue", false, "the value is none of the choices",
     "'vlanctl settings' lists them."},
    {RAV_MSG_SETTING_OUT_OF_RANGE, "settingValue", false, "the value is not from %1 to %2", "Choose one that is."},
    {RAV_MSG_SETTING_OFF_STEP, "settingValue", false, "the value is not %1 or a multiple of %2 above it",
     "Choose one that is."},
    {RAV_MSG_SETTING_WRONG_KIND, "settingValue", false, "the value is no number", "Give a number."},
    {RAV_MSG_SETTING_ABOVE_PARENT, "settingAboveParent", false,
     "the parent carries frames of up to %1 bytes, and no larger ones",
     "Choose %1 or less, or raise the parent's first."},
};

const MessageText* Find(DWORD code)
{
    const auto text = std::find_if(std::begin(TEXTS), std::end(TEXTS),
                                   [&](const MessageText& candidate) { return candidate.code == code; });
    return text != std::end(TEXTS) ? text : nullptr;
}

// Puts the message's parameters in the places of %1 and %2; of one that is not known "?".
std::string Filled(std::string text, const std::vector<CRavString>& parameters)
{
    size_t place = 0;
    while ((place = text.find('%', place)) != std::string::npos)
    {
        const auto number = static_cast<size_t>(text[place + 1] - '1');
        const std::string parameter = number < parameters.size() ? ToUtf8(parameters[number]) : "?";
        text.replace(place, 2, parameter);
        place += parameter.size();
    }
    return text;
}

std::string Meaning(DWORD code, const std::vector<CRavString>& parameters = {})
{
    const MessageText* const text = Find(code);
    return text != nullptr ? Filled(text->meaning, parameters) : "a message that this program does not know";
}

// Each message once: the agent reports some for each VLAN that they concern.
CRavVlanMessages Distinct(const CRavVlanMessages& messages, DWORD severity)
{
    CRavVlanMessages distinct;
    for (const RAV_VALIDATION_MESSAGE& message : messages)
    {
        if (message.dwSeverity == severity &&
            std::none_of(distinct.begin(), distinct.end(),
                         [&](const RAV_VALIDATION_MESSAGE& other) { return other.dwCode == message.dwCode; }))
            distinct.push_back(message);
    }
    return distinct;
}

// Code 0, or that of a failure, with class 2 is how the agent tells of the network configuration's lock.
bool IsLockCode(const CResult& result)
{
    const bool isRefused = result.ulErrCode == CResult::FAILED && result.ulErrClass == RAV_CLASS_REFUSED;
    return result.Succeeded() || isRefused || result.ulErrCode == ERROR_LOCK_VIOLATION;
}

bool MayBeLocked(const CResult& result)
{
    return IsLockCode(result) || result.ulErrCode == CResult::FAILED;
}
} // namespace

std::string CodeText(const CResult& result)
{
    switch (result.ulErrCode)
    {
    case CResult::FAILED:
        if (result.ulErrClass == RAV_CLASS_REFUSED)
            return "another program was changing the network configuration; try again";
        return "the operation failed; the trace log VlanAgent.txt in the suite's folder tells why";
    case RAV_CODE_HYPER_V:
        return HexCode(result.ulErrCode) + ": the VLAN is " + BOUND_TO_HYPER_V;
    case RAV_CODE_REBOOT_PENDING:
        return "a restart of the system is pending; restart it and try again";
    case 0: // with class 2: the network configuration's lock was not to be had
    case ERROR_LOCK_VIOLATION:
        return "another program was changing the network configuration; try again";
    default:
        break;
    }
    if (RavIsMessageCode(result.ulErrCode))
        return HexCode(result.ulErrCode) + ": " + Meaning(result.ulErrCode);
    return HexCode(result.ulErrCode) + ": " + WindowsText(result.ulErrCode);
}

Failure WhyItFailed(CSession& session, const CResult& result)
{
    const std::string holder = MayBeLocked(result) ? session.WhoHoldsTheNetwork() : "";
    if (!holder.empty() || IsLockCode(result))
        return {!holder.empty() ? holder : CodeText(result), true};
    return {CodeText(result) + (result.ulErrCode == CResult::FAILED && RavIsRestartNoted()
                                    ? "; a restart of the system is pending, which may be the reason"
                                    : ""),
            false};
}

std::string FailureText(CSession& session, const CResult& result)
{
    const std::string holder = MayBeLocked(result) ? session.WhoHoldsALock() : "";
    return holder.empty() ? CodeText(result) : holder;
}

std::vector<Note> Notes(const CRavVlanMessages& messages, DWORD severity)
{
    std::vector<Note> notes;
    for (const RAV_VALIDATION_MESSAGE& message : Distinct(messages, severity))
    {
        const MessageText* const text = Find(message.dwCode);
        Note note;
        note.name = text != nullptr ? text->name : "unknown";
        note.code = message.dwCode;
        note.meaning = Meaning(message.dwCode, message.parameters);
        note.advice = text != nullptr ? Filled(text->advice, message.parameters) : "";
        notes.push_back(note);
    }
    return notes;
}

std::optional<DWORD> ParseId(const std::string& text)
{
    DWORD id = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, id);
    if (rest == end && error == std::errc::result_out_of_range)
        return MAXDWORD;
    if (rest == end && error == std::errc())
        return id;
    return FromUtf8(text).CompareI(L"untagged") ? std::optional<DWORD>(0) : std::nullopt;
}

Note IdNotValid(const std::string& text)
{
    Note note = NoteOf("idNotValid", "\"" + text + "\" is no id", "Give a number from 1 to 4094.");
    note.code = RAV_MSG_ID_NOT_VALID;
    return note;
}

std::string MeaningOf(DWORD code)
{
    const MessageText* const text = Find(code);
    return text != nullptr ? text->meaning : "";
}

ParentVerdict JudgeNewVlans(CSession& session, const CRavString& parentKey)
{
    CResult result;
    CRavVlanMessages messages;
    // The ids and the name are of no interest here, only what is said of the parent.
    session.Agent().ValidateNewVlan(result, parentKey, L"1", RAV_AUTO_VLAN_NAMES, messages, session.Client());
    ParentVerdict verdict = {result.Succeeded() ? "" : "the agent cannot tell", Notes(messages, RAV_SEVERITY_WARNING)};
    for (const RAV_VALIDATION_MESSAGE& message : messages)
    {
        const MessageText* const text = Find(message.dwCode);
        if (message.dwSeverity != RAV_SEVERITY_STOP || text == nullptr || !text->aboutParent)
            continue;
        verdict.reason = text->meaning;
        break;
    }
    return verdict;
}

std::vector<Note> SettingRefusals(CSession& session, const CRavString& vlanKey, const CRavString& keyword,
                                  const RAV_SETTING_VAL_INT& value)
{
    CResult result;
    CRavVlanMessages messages;
    session.Agent().ValidateSetting(result, vlanKey, keyword, &value, messages);
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED,
                           "the setting " + ToUtf8(keyword) + " cannot be validated: " + CodeText(result));
    std::vector<Note> notes = Notes(messages, RAV_SEVERITY_STOP);
    for (Note& note : notes)
        note.meaning = ToUtf8(keyword) + ": " + note.meaning;
    return notes;
}

bool IsBoundToHyperV(CSession& session, const CRavString& vlanKey)
{
    CResult result;
    bool isBound = false;
    session.AgentPvt().IsHyperV_EnabledOnVlan(result, vlanKey, isBound);
    return isBound;
}
