// Changing the name, id and type of a VLAN, and restarting it.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/Alteration.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/NameRules.h"
#include "Tools/vlanctl/Names.h"
#include "Tools/vlanctl/Output.h"

#include <charconv>

#include <algorithm>

namespace
{
// What the agent has against another name or id.
std::vector<Note> Refusals(CSession& session, const VlanRow& vlan, const CRavString& name, DWORD id)
{
    CResult result;
    CRavVlanMessages messages;
    session.Agent().ValidateUpdate(result, vlan.info.vlanKey, name, id, messages);
    if (!result.Succeeded())
        throw CommandError(EXIT_REFUSED, "the change cannot be validated: " + CodeText(result));
    return Notes(messages, RAV_SEVERITY_STOP);
}

// The code that stands for ids which cannot be read stands here for the untagged VLAN.
std::vector<Note> IdRefusals(CSession& session, const VlanRow& vlan, DWORD id)
{
    std::vector<Note> notes = Refusals(session, vlan, vlan.info.vlanName, id);
    for (Note& note : notes)
    {
        if (note.code != RAV_MSG_ID_NOT_VALID)
            continue;
        note.meaning = "the untagged VLAN is created and removed; its id is not changed";
        note.advice = "Create the VLAN that you want, then remove this one.";
    }
    return notes;
}

std::vector<Note> NothingAgainstIt()
{
    return {};
}

// Whether something is wrong with the VLAN, perhaps a change that was interrupted: the agent finishes that when it is
// asked for the value that is there.
bool IsHalfChanged(CSession& session, const VlanRow& vlan)
{
    const std::vector<RAV_FINDING> findings = ReadFindings(session, vlan.parentKey);
    return std::any_of(findings.begin(), findings.end(),
                       [&](const RAV_FINDING& finding) { return finding.Concerns(vlan.info.vlanKey, vlan.parentKey); });
}
} // namespace

ExitStatus RunRename(CSession& session, const RenameOptions& options)
{
    const VlanRow vlan = FindVlan(session, options.vlan);
    const CRavString name = FromUtf8(options.name);
    const Alteration alteration = {"rename",
                                   "rename",
                                   {"rename", "renamed", "are renamed"},
                                   false,
                                   [&] { return Refusals(session, vlan, name, vlan.info.vlanId); },
                                   [&](const Step&) {
                                       CResult result;
                                       session.Agent().SetVLANName(result, vlan.info.vlanKey, name, session.Lock(0));
                                       return result;
                                   },
                                   NameWarnings(session, vlan.parentKey, options.name)};
    std::vector<Step> steps;
    if (name != vlan.info.vlanName || IsHalfChanged(session, vlan))
        steps.push_back(StepOf(alteration, vlan, {"name", {}, ToUtf8(vlan.info.vlanName), options.name, {}, {}}));
    return RunAlteration(session, options, alteration, steps, NameRefusals(options.name));
}

ExitStatus RunSetId(CSession& session, const SetIdOptions& options)
{
    const VlanRow vlan = FindVlan(session, options.vlan);
    const std::optional<DWORD> id = ParseId(options.id);
    const Alteration alteration = {"set-id",
                                   "setId",
                                   {"change", "changed", "are changed"},
                                   true,
                                   [&] { return IdRefusals(session, vlan, *id); },
                                   [&](const Step&) {
                                       CResult result;
                                       session.Agent().SetVLANId(result, vlan.info.vlanKey, *id, session.Lock(0));
                                       return result;
                                   }};
    if (!id)
        return RunAlteration(session, options, alteration, {}, {IdNotValid(options.id)});
    std::vector<Step> steps;
    if (*id != vlan.info.vlanId || IsHalfChanged(session, vlan))
        steps.push_back(StepOf(alteration, vlan, {"id", {}, vlan.info.vlanId, *id, {}, {}}));
    return RunAlteration(session, options, alteration, steps);
}

ExitStatus RunSetType(CSession& session, const SetTypeOptions& options)
{
    const VlanRow vlan = FindVlan(session, options.vlan);
    const Alteration alteration = {
        "set-type", "setType", {"change", "changed", "are changed"}, true, NothingAgainstIt, [&](const Step&) {
            CResult result;
            session.Agent().SetVlanType(result, vlan.info.vlanKey, options.type, session.Lock(0));
            return result;
        }};
    std::vector<Step> steps;
    if (options.type != vlan.info.vlanType)
        steps.push_back(StepOf(alteration, vlan, {"type", {}, vlan.info.vlanType, options.type, {}, {}}));
    return RunAlteration(session, options, alteration, steps);
}

// The miniport is stopped and started when the lock is given back.
ExitStatus RunRestart(CSession& session, const RestartOptions& options)
{
    const VlanRow vlan = FindVlan(session, options.vlan);
    const Alteration alteration = {"restart",
                                   "restart",
                                   {"restart", "restarted", "are restarted"},
                                   true,
                                   NothingAgainstIt,
                                   [&](const Step&) {
                                       session.AgentPvt().AddForUnload(vlan.info.vlanKey);
                                       return CResult::Success();
                                   },
                                   {},
                                   true};
    return RunAlteration(session, options, alteration, {{"restart", vlan, {}, StepState::Planned, {}}});
}
