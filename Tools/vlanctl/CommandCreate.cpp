// Validating and creating VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
class Progress final : public CRavVlanProgress
{
  public:
    void OnVlanCreated(DWORD vlanId, size_t done, size_t total) override
    {
        PrintError("created " + std::to_string(done) + " of " + std::to_string(total) + ": " +
                   (vlanId == 0 ? "untagged" : "id " + std::to_string(vlanId)) + "\n");
    }
};

CRavString RequestedName(const CreateOptions& options)
{
    return options.autoNames ? CRavString(RAV_AUTO_VLAN_NAMES) : FromUtf8(options.name);
}

bool IsSingle(const std::string& ids)
{
    return ids.find_first_of(",-") == std::string::npos;
}

bool Holds(const CRavVlanMessages& messages, DWORD code)
{
    return std::any_of(messages.begin(), messages.end(),
                       [&](const RAV_VALIDATION_MESSAGE& message) { return message.dwCode == code; });
}

// The agent would give one name to all of several VLANs; nobody could tell them apart.
void RefuseSharedName(const CreateOptions& options, CRavVlanMessages& messages)
{
    if (!IsSingle(options.ids) && RequestedName(options) != RAV_AUTO_VLAN_NAMES &&
        !Holds(messages, RAV_MSG_ID_NOT_VALID) && !Holds(messages, RAV_MSG_NAME_IN_USE))
        messages.push_back({RAV_MSG_NAME_IN_USE, RAV_CATEGORY_VLAN, RAV_SEVERITY_STOP, {CRavString()}});
}

CRavVlanMessages Validate(CSession& session, const CreateOptions& options, const CRavString& parentKey)
{
    CResult result;
    CRavVlanMessages messages;
    session.Agent().ValidateNewVlan(result, parentKey, FromUtf8(options.ids), RequestedName(options), messages,
                                    session.Client());
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the request cannot be validated: " + CodeText(result));
    RefuseSharedName(options, messages);
    return messages;
}

bool HasStop(const CRavVlanMessages& messages)
{
    return std::any_of(messages.begin(), messages.end(),
                       [](const RAV_VALIDATION_MESSAGE& message) { return message.dwSeverity == RAV_SEVERITY_STOP; });
}

CResult Create(CSession& session, const CreateOptions& options, const CRavString& parentKey)
{
    CResult result;
    Progress progress;
    const RAV_LOCK_RECORD lock = session.Lock(options.waitSeconds);
    const CRavString ids = FromUtf8(options.ids);
    if (IsSingle(options.ids) && !options.autoNames)
        session.Agent().CreateVlan(result, parentKey, static_cast<DWORD>(std::stoul(options.ids)),
                                   RequestedName(options), 0, lock);
    else
        session.Agent().CreateMultipleVLANs(result, parentKey, ids, RequestedName(options), 0, &progress, lock);
    return result;
}

// What there is now and was not before.
std::vector<VlanRow> Created(CSession& session, const std::vector<VlanRow>& before, const CRavString& parentKey)
{
    std::vector<VlanRow> rows = ReadVlans(session, parentKey);
    std::erase_if(rows, [&](const VlanRow& row) {
        return std::any_of(before.begin(), before.end(),
                           [&](const VlanRow& old) { return old.info.vlanKey == row.info.vlanKey; });
    });
    return rows;
}

void ShowCreated(const std::vector<VlanRow>& rows, const CreateOptions& options)
{
    Json array = Json::array();
    for (const VlanRow& row : rows)
    {
        array.push_back(
            {{"key", ToUtf8(row.info.vlanKey)}, {"id", row.info.vlanId}, {"name", ToUtf8(row.info.vlanName)}});
        if (!options.json)
            Print("created " + VlanText(row.info) + " " + ToUtf8(row.info.vlanKey) + "\n");
    }
    if (options.json)
        PrintJson(array);
}

// Whether there is nothing that stops the creation.
bool Report(const CRavVlanMessages& messages, const CreateOptions& options)
{
    const bool stop = HasStop(messages);
    if (options.json && stop)
        PrintJson(MessagesToJson(messages));
    else
        ShowMessages(messages);
    return !stop;
}
} // namespace

ExitStatus RunValidate(CSession& session, const CreateOptions& options)
{
    const ParentRow parent = FindParent(session, options.parent);
    const CRavVlanMessages messages = Validate(session, options, parent.key);
    if (options.json)
    {
        PrintJson(MessagesToJson(messages));
        return HasStop(messages) ? EXIT_REFUSED : EXIT_DONE;
    }
    if (ShowMessages(messages))
        return EXIT_REFUSED;
    Print("valid: can be created on " + ToUtf8(parent.name) + "\n");
    return EXIT_DONE;
}

ExitStatus RunCreate(CSession& session, const CreateOptions& options)
{
    if (options.dryRun && options.json)
        return RunValidate(session, options);
    const ParentRow parent = FindParent(session, options.parent);
    if (!Report(Validate(session, options, parent.key), options))
        return EXIT_REFUSED;
    if (options.dryRun)
    {
        Print("would create " + (options.ids == "0" ? "the untagged VLAN" : options.ids) + " on " +
              ToUtf8(parent.name) + "; nothing was changed\n");
        return EXIT_DONE;
    }
    const std::vector<VlanRow> before = ReadVlans(session, parent.key);
    const CResult result = Create(session, options, parent.key);
    // Somebody was quicker: the agent's own validation, under the lock, found what ours could not know yet.
    if (RavIsMessageCode(result.ulErrCode) && !Report(Validate(session, options, parent.key), options))
        return EXIT_REFUSED;
    ShowCreated(Created(session, before, parent.key), options);
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "not all VLANs were created: " + FailureText(session, result));
    return EXIT_DONE;
}
