#include "Tools/vlanctl/Messages.h"

#include "Tools/vlanctl/Output.h"

#include <algorithm>
#include <cstdio>

namespace
{
struct MessageText
{
    RAV_VLAN_MESSAGE code;
    bool aboutParent;
    const char* meaning;
    const char* advice;
};

const MessageText TEXTS[] = {
    {RAV_MSG_XMS_BLOCKED, true, "this version of Windows blocks the intermediate driver that VLANs need",
     "Use the VLAN support of Windows itself, or lift the block."},
    {RAV_MSG_TEAM_WITHOUT_VLANS, true, "VLANs cannot be created over this team",
     "Create them over an adapter; VLANs over teams are not offered by this version."},
    {RAV_MSG_DRIVER_NOT_LOADED, true, "the parent's driver is not loaded",
     "Enable the adapter in the Device Manager and try again."},
    {RAV_MSG_PARENT_IN_TEAM, true, "the adapter is a member of a team",
     "Take the adapter out of the team; VLANs over teams are not offered by this version."},
    {RAV_MSG_PARENT_WITHOUT_VLANS, true, "this parent does not support VLANs",
     "'vlanctl parents' lists the parents that do."},
    {RAV_MSG_NOT_OUR_DEVICE, true, "the adapter is not one of the maker's",
     "'vlanctl parents' lists the adapters that can carry VLANs."},
    {RAV_MSG_DRIVER_TOO_OLD, true, "the adapter's driver does not support these VLANs",
     "Install a current driver for the adapter."},
    {RAV_MSG_NAME_EMPTY, false, "the VLAN has no name", "Give one with --name, or use --auto-names."},
    {RAV_MSG_NAME_BEGINS_BLANK, false, "the name begins with a blank", "Leave the blank out."},
    {RAV_MSG_NAME_TOO_LONG, false, "the name is longer than 32 characters", "Shorten it; most emoji count as two."},
    {RAV_MSG_NAME_CHARACTER, false, "the name holds one of the characters / \\ * : > < | ? \"", "Leave it out."},
    {RAV_MSG_NAME_IN_USE, false, "another VLAN of this parent has the same name, or several would get it",
     "Choose another; several VLANs need --auto-names, or one request and name for each."},
    {RAV_MSG_RANGE_ID_IN_USE, false, "an id is already used by a VLAN of this parent, or is named twice",
     "Leave that id out; 'vlanctl list --parent' shows which are used."},
    {RAV_MSG_PARENT_OVERFULL, false, "with these the parent would have more than 64 VLANs",
     "Create fewer, or remove some first."},
    {RAV_MSG_VIRTUAL_PARENT_OVERFULL, false, "with these the virtual device would have more than 63 VLANs",
     "Create fewer, or remove some first."},
    {RAV_MSG_ID_NOT_VALID, false, "the ids cannot be read, or one of several is above 4094",
     "Give one id, ids with commas (10,20) or a rising range (5-9), without blanks."},
    {RAV_MSG_ID_TOO_LARGE, false, "the id is above 4094", "Use an id from 1 to 4094, or 0 for the untagged VLAN."},
    {RAV_MSG_ID_IN_USE, false, "another VLAN of this parent has the same id",
     "Choose another id, or remove that VLAN first."},
    {RAV_MSG_PARENT_FULL, false, "the parent already has 64 VLANs", "Remove one first."},
    {RAV_MSG_VIRTUAL_PARENT_FULL, false, "the virtual device already has 63 VLANs", "Remove one first."},
    {RAV_MSG_UNTAGGED_ALONE, false, "an untagged VLAN cannot be the only VLAN of its parent",
     "Create a tagged VLAN (id 1 to 4094) first."},
    {RAV_MSG_VMQ_ON_ADAPTER, false, "virtual machine queues are on and will be switched off",
     "Nothing, if no virtual machine uses this adapter; else move its virtual machines to another one first."},
    {RAV_MSG_VMQ_ON_TEAM, false, "virtual machine queues are on for a member of the team and will be switched off",
     "Nothing, if no virtual machine uses this team; else move its virtual machines elsewhere first."},
};

const MessageText* Find(DWORD code)
{
    const auto text = std::find_if(std::begin(TEXTS), std::end(TEXTS),
                                   [&](const MessageText& candidate) { return candidate.code == code; });
    return text != std::end(TEXTS) ? text : nullptr;
}

std::string Meaning(DWORD code)
{
    const MessageText* const text = Find(code);
    return text != nullptr ? text->meaning : "a message that this program does not know";
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

void Show(const RAV_VALIDATION_MESSAGE& message, const char* kind)
{
    const MessageText* const text = Find(message.dwCode);
    PrintError(std::string(kind) + " " + HexCode(message.dwCode) + ": " + Meaning(message.dwCode) + "\n" +
               (text != nullptr ? std::string("  ") + text->advice + "\n" : ""));
}
} // namespace

std::string HexCode(DWORD code)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08lX", code);
    return text;
}

std::string CodeText(const CResult& result)
{
    switch (result.ulErrCode)
    {
    case CResult::FAILED:
        return "the operation failed; the trace log VlanAgent.txt in the suite's folder tells why";
    case RAV_CODE_HYPER_V:
        return HexCode(result.ulErrCode) + ": the VLAN is bound to the Hyper-V switch; take it off the switch first";
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
    wchar_t text[256] = {};
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, result.ulErrCode,
                                  0, text, 256, nullptr);
    while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r' || text[length - 1] == L'.'))
        text[--length] = L'\0';
    return HexCode(result.ulErrCode) + (length > 0 ? ": " + ToUtf8(text) : "");
}

std::string FailureText(CSession& session, const CResult& result)
{
    const bool mayBeLocked =
        result.ulErrCode == CResult::FAILED || result.ulErrCode == ERROR_LOCK_VIOLATION || result.Succeeded();
    const std::string holder = mayBeLocked ? session.WhoHoldsALock() : "";
    return holder.empty() ? CodeText(result) : holder;
}

bool ShowMessages(const CRavVlanMessages& messages)
{
    const CRavVlanMessages stops = Distinct(messages, RAV_SEVERITY_STOP);
    for (const RAV_VALIDATION_MESSAGE& message : stops)
        Show(message, "error");
    for (const RAV_VALIDATION_MESSAGE& message : Distinct(messages, RAV_SEVERITY_WARNING))
        Show(message, "warning");
    return !stops.empty();
}

nlohmann::ordered_json MessagesToJson(const CRavVlanMessages& messages)
{
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const DWORD severity : {RAV_SEVERITY_STOP, RAV_SEVERITY_WARNING})
    {
        for (const RAV_VALIDATION_MESSAGE& message : Distinct(messages, severity))
        {
            const MessageText* const text = Find(message.dwCode);
            array.push_back({{"code", HexCode(message.dwCode)},
                             {"number", message.dwCode & 0xFFFF},
                             {"severity", severity == RAV_SEVERITY_STOP ? "error" : "warning"},
                             {"meaning", Meaning(message.dwCode)},
                             {"advice", text != nullptr ? text->advice : ""}});
        }
    }
    return array;
}

std::string ParentReason(CSession& session, const CRavString& parentKey)
{
    CResult result;
    CRavVlanMessages messages;
    // The ids and the name are of no interest here, only what is said of the parent.
    session.Agent().ValidateNewVlan(result, parentKey, L"1", RAV_AUTO_VLAN_NAMES, messages, session.Client());
    for (const RAV_VALIDATION_MESSAGE& message : messages)
    {
        const MessageText* const text = Find(message.dwCode);
        if (message.dwSeverity == RAV_SEVERITY_STOP && text != nullptr && text->aboutParent)
            return text->meaning;
    }
    return result.Succeeded() ? "" : "the agent cannot tell";
}
