#include "Tools/vlanctl/Difference.h"

#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Settings.h"

#include <algorithm>
#include <map>

using Json = nlohmann::ordered_json;

namespace
{
struct KindText
{
    const char* name;
    const char* sign;
};
constexpr KindText KINDS[] = {{"create", "+"}, {"change", "~"}, {"remove", "-"}, {"keep", "="}};

VlanRow RowOf(const RAV_PRESENT_PARENT& parent, const CRavString& key, DWORD id, const CRavString& name, DWORD type)
{
    VlanRow row;
    row.info.vlanKey = key;
    row.info.vlanId = id;
    row.info.vlanName = name;
    row.info.vlanType = type;
    row.parentKey = parent.key;
    row.parentName = parent.name;
    return row;
}

// The setting of a step's VLAN; null when it is not known.
const RAV_SETTING* SettingOf(const RAV_PRESENT_PARENT& parent, const RAV_PLAN_STEP& step)
{
    if (step.vlanKey.IsEmpty())
        return RavFindSetting(parent.newSettings, step.keyword);
    const auto vlan = std::find_if(parent.vlans.begin(), parent.vlans.end(),
                                   [&](const RAV_PRESENT_VLAN& candidate) { return candidate.key == step.vlanKey; });
    const bool isKnown = vlan != parent.vlans.end() && vlan->settings;
    return isKnown ? RavFindSetting(*vlan->settings, step.keyword) : nullptr;
}

Change ChangeOfSetting(const RAV_PRESENT_PARENT& parent, const RAV_PLAN_STEP& step)
{
    const RAV_SETTING* const setting = SettingOf(parent, step);
    const auto text = [&](int32_t value) { return setting != nullptr ? ValueText(*setting, value) : std::string(); };
    return {"setting", ToUtf8(step.keyword), step.was, step.is, text(step.was), text(step.is)};
}

// What a step changes; nothing for a creation or a removal.
std::vector<Change> ChangesOf(const RAV_PRESENT_PARENT& parent, const RAV_PLAN_STEP& step)
{
    switch (step.change)
    {
    case RAV_CHANGE::Rename:
        return {{"name", {}, ToUtf8(step.name), ToUtf8(step.newName), {}, {}}};
    case RAV_CHANGE::SetId:
        return {{"id", {}, step.id, step.newId, {}, {}}};
    case RAV_CHANGE::SetType:
        return {{"type", {}, step.type, step.newType, {}, {}}};
    case RAV_CHANGE::Set:
    case RAV_CHANGE::Reset:
        return {ChangeOfSetting(parent, step)};
    default:
        return {};
    }
}

// Two changes of one thing are one; none when it ends as it began.
void AddChange(const Change& change, std::vector<Change>& changes)
{
    const auto same = std::find_if(changes.begin(), changes.end(), [&](const Change& other) {
        return std::string(other.property) == change.property && other.setting == change.setting;
    });
    if (same == changes.end())
        changes.push_back(change);
    else
    {
        same->is = change.is;
        same->isText = change.isText;
    }
}

// Differences of one parent, by VLAN: by its key, or by the id that a new one has.
class CParentDifferences
{
  public:
    explicit CParentDifferences(const RAV_PARENT_CHANGE& change) : m_change(change) {}

    std::vector<Difference> Run()
    {
        for (const RAV_PLAN_STEP& step : m_change.plan.steps)
            Add(step);
        for (const RAV_PRESENT_VLAN& kept : m_change.plan.kept)
            m_differences.push_back(
                {DifferenceKind::Keep, RowOf(m_change.before, kept.key, kept.id, kept.name, kept.type), {}});
        std::stable_sort(m_differences.begin(), m_differences.end(), [](const auto& left, const auto& right) {
            return left.vlan.info.vlanId < right.vlan.info.vlanId;
        });
        return m_differences;
    }

  private:
    void Add(const RAV_PLAN_STEP& step)
    {
        const RAV_PRESENT_PARENT& parent = m_change.before;
        if (step.change == RAV_CHANGE::Create)
            m_differences.push_back({DifferenceKind::Create, RowOf(parent, {}, step.id, step.name, step.type), {}});
        else if (step.change == RAV_CHANGE::Remove)
            m_differences.push_back({DifferenceKind::Remove, Before(step.vlanKey), {}});
        else
            for (const Change& change : ChangesOf(parent, step))
                AddChange(change, Find(step).changes);
    }

    Difference& Find(const RAV_PLAN_STEP& step)
    {
        const auto found = std::find_if(m_differences.begin(), m_differences.end(), [&](const Difference& difference) {
            return difference.vlan.info.vlanKey == step.vlanKey &&
                   (!step.vlanKey.IsEmpty() || difference.vlan.info.vlanId == step.id);
        });
        if (found != m_differences.end())
            return *found;
        return m_differences.emplace_back(Difference{DifferenceKind::Change, Before(step.vlanKey), {}});
    }

    VlanRow Before(const CRavString& key) const
    {
        for (const RAV_PRESENT_VLAN& vlan : m_change.before.vlans)
        {
            if (vlan.key == key)
                return RowOf(m_change.before, key, vlan.id, vlan.name, vlan.type);
        }
        return {};
    }

    const RAV_PARENT_CHANGE& m_change;
    std::vector<Difference> m_differences;
};

std::string VlanName(const VlanRow& vlan)
{
    return VlanText(vlan.info.vlanId, vlan.info.vlanName);
}
} // namespace

std::vector<Difference> DifferencesOf(const std::vector<RAV_PARENT_CHANGE>& changes)
{
    std::vector<Difference> all;
    for (const RAV_PARENT_CHANGE& change : changes)
    {
        const std::vector<Difference> some = CParentDifferences(change).Run();
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

Json DifferencesToJson(const std::vector<Difference>& differences)
{
    Json array = Json::array();
    for (const Difference& difference : differences)
    {
        Json changes = Json::array();
        for (const Change& change : difference.changes)
            changes.push_back(ChangeToJson(change));
        const RAV_VLAN_INFO& info = difference.vlan.info;
        array.push_back({{"difference", KINDS[static_cast<size_t>(difference.kind)].name},
                         {"key", ToUtf8(info.vlanKey)},
                         {"id", info.vlanId},
                         {"name", ToUtf8(info.vlanName)},
                         {"type", info.vlanType},
                         {"parentKey", ToUtf8(difference.vlan.parentKey)},
                         {"parentName", ToUtf8(difference.vlan.parentName)},
                         {"changes", changes}});
    }
    return array;
}

void ShowDifferences(const std::vector<Difference>& differences)
{
    CRavString parent;
    for (const Difference& difference : differences)
    {
        if (difference.vlan.parentKey != parent)
            Print(Visible(ToUtf8(difference.vlan.parentName)) + "\n");
        parent = difference.vlan.parentKey;
        std::string text =
            std::string("  ") + KINDS[static_cast<size_t>(difference.kind)].sign + " " + VlanName(difference.vlan);
        for (size_t index = 0; index < difference.changes.size(); ++index)
            text += (index == 0 ? ": " : ", ") + ChangeText(difference.changes[index]);
        if (difference.kind == DifferenceKind::Keep)
            text += " (not in the file; stays without --prune)";
        Print(text + "\n");
    }
}

bool IsAnyToDo(const std::vector<Difference>& differences)
{
    return std::any_of(differences.begin(), differences.end(),
                       [](const Difference& difference) { return difference.kind != DifferenceKind::Keep; });
}

Step StepOf(const RAV_PRESENT_PARENT& parent, const RAV_PLAN_STEP& step)
{
    Step planned = {RavChangeName(step.change),
                    RowOf(parent, step.vlanKey, step.id, step.name, step.type),
                    {},
                    StepState::Planned,
                    {}};
    planned.changes = ChangesOf(parent, step);
    return planned;
}

std::string StepText(const Step& step)
{
    std::string text =
        std::string(step.action) + " " + VlanName(step.vlan) + " on " + Visible(ToUtf8(step.vlan.parentName));
    for (const Change& change : step.changes)
        text += ": " + ChangeText(change);
    return text;
}
