#include "Tools/vlanctl/Report.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
constexpr const char* STATES[] = {"planned", "done", "refused", "failed", "notReached", "takenBack", "isThere"};

template <typename Item>
Json ToArray(const std::vector<Item>& items, Json (*toJson)(const Item&))
{
    Json array = Json::array();
    for (const Item& item : items)
        array.push_back(toJson(item));
    return array;
}

std::string Shown(const Json& value, const std::string& text)
{
    const std::string plain = value.is_string() ? Visible(value.get<std::string>()) : value.dump();
    return text.empty() || text == plain ? plain : plain + " " + text;
}

Json StepToJson(const Step& step)
{
    return {{"action", step.action},
            {"key", ToUtf8(step.vlan.info.vlanKey)},
            {"id", step.vlan.info.vlanId},
            {"name", ToUtf8(step.vlan.info.vlanName)},
            {"displayName", ToUtf8(step.vlan.info.displayName)},
            {"parentKey", ToUtf8(step.vlan.parentKey)},
            {"parentName", ToUtf8(step.vlan.parentName)},
            {"with", ToUtf8(step.with)},
            {"state", STATES[static_cast<size_t>(step.state)]},
            {"reason", step.reason},
            {"changes", ToArray(step.changes, ChangeToJson)}};
}
} // namespace

Json ChangeToJson(const Change& change)
{
    Json json = {{"property", change.property}};
    if (!change.setting.empty())
        json["setting"] = change.setting;
    json.update({{"was", change.was}, {"is", change.is}});
    if (!change.setting.empty())
        json.update({{"wasText", change.wasText}, {"isText", change.isText}});
    return json;
}

std::string ChangeText(const Change& change)
{
    return (change.setting.empty() ? change.property : change.setting) + " " + Shown(change.was, change.wasText) +
           " -> " + Shown(change.is, change.isText);
}

void AddError(Report& report, const char* name, const std::string& meaning)
{
    report.errors.push_back(NoteOf(name, meaning));
    PrintError("vlanctl: " + meaning + "\n");
}

size_t Count(const Report& report, StepState state)
{
    return static_cast<size_t>(
        std::count_if(report.steps.begin(), report.steps.end(), [&](const Step& step) { return step.state == state; }));
}

ExitStatus StatusOf(const Report& report)
{
    const bool isChanged = Count(report, StepState::Done) > 0;
    const bool isTroubled =
        !report.errors.empty() || std::any_of(report.steps.begin(), report.steps.end(), [](const Step& step) {
            return !step.reason.empty() || step.state == StepState::NotReached;
        });
    if (isTroubled || report.isDamaged)
        return isChanged || report.isDamaged ? EXIT_PARTLY : report.isLocked ? EXIT_LOCKED : EXIT_REFUSED;
    return isChanged && report.isRestartNeeded ? EXIT_RESTART : EXIT_DONE;
}

Json ReportToJson(const Report& report)
{
    return {{"verb", report.verb},
            {"dryRun", report.isDryRun},
            {"exitStatus", StatusOf(report)},
            {"restartNeeded", report.isRestartNeeded},
            {"errors", ToArray(report.errors, NoteToJson)},
            {"warnings", ToArray(report.warnings, NoteToJson)},
            {"steps", ToArray(report.steps, StepToJson)}};
}
