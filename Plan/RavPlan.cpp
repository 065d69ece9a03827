#include "Plan/RavPlan.h"

#include "Plan/RavOrder.h"

#include <algorithm>
#include <map>
#include <set>

namespace
{
template <typename... Args>
CRavString Text(RavFormatOf<Args...> format, Args... args)
{
    CRavString text;
    text.FormatString(format, args...);
    return text;
}

class CPlanning
{
  public:
    CPlanning(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted, bool prune)
        : m_present(present), m_wanted(wanted), m_prune(prune), m_identity(RavIdentify(present, wanted))
    {
    }

    RAV_PLAN Run()
    {
        for (const RAV_PRESENT_VLAN* const left : m_identity.left)
            (m_prune ? m_plan.removed : m_plan.kept).push_back(*left);
        JudgeHost();
        JudgeNames();
        JudgeWhole();
        for (size_t index = 0; index < m_wanted.vlans.size(); ++index)
            ChangeKind(m_wanted.vlans[index], m_identity.found[index]);
        if (!m_plan.refusals.empty())
            return m_plan;
        RAV_ORDER order = RavOrderSteps(m_present, m_wanted, m_identity, m_prune);
        m_plan.refusals = std::move(order.refusals);
        if (!m_plan.refusals.empty())
            return m_plan;
        m_plan.steps = std::move(order.steps);
        m_plan.steps.insert(m_plan.steps.end(), m_last.begin(), m_last.end());
        return m_plan;
    }

  private:
    void Refuse(const wchar_t* name, DWORD id, const CRavString& text) { m_plan.refusals.push_back({name, id, text}); }

    // Nobody can tell which of two is meant.
    void JudgeHost()
    {
        std::set<DWORD> ids;
        std::set<CRavString> names;
        for (const RAV_PRESENT_VLAN& vlan : m_present.vlans)
        {
            if (!ids.insert(vlan.id).second || !names.insert(RavFolded(vlan.name)).second)
                Refuse(L"hostDamaged", vlan.id,
                       Text(L"another VLAN of the parent has the id %u or the name \"%s\", too; 'vlanctl doctor' tells "
                            L"what decides between them",
                            vlan.id, vlan.name.c_str()));
        }
    }

    // Those that are kept keep their names and ids.
    void JudgeNames()
    {
        for (const RAV_WANTED_VLAN& wanted : m_wanted.vlans)
        {
            for (const RAV_PRESENT_VLAN& kept : m_plan.kept)
            {
                if (kept.name.CompareI(wanted.name))
                    Refuse(L"nameInUse", wanted.id,
                           Text(L"the name \"%s\" belongs to the VLAN with id %u, which is not asked for and stays",
                                wanted.name.c_str(), kept.id));
                if (kept.id == wanted.id)
                    Refuse(L"idInUse", wanted.id,
                           Text(L"the id belongs to the VLAN \"%s\", which is not asked for and stays",
                                kept.name.c_str()));
            }
        }
    }

    // What the parent would carry in the end.
    void JudgeWhole()
    {
        std::vector<DWORD> ids;
        for (const RAV_WANTED_VLAN& wanted : m_wanted.vlans)
            ids.push_back(wanted.id);
        for (const RAV_PRESENT_VLAN& kept : m_plan.kept)
            ids.push_back(kept.id);
        const DWORD first = ids.empty() ? 0 : ids.front();
        if (ids.size() > m_present.mostVlans && ids.size() > m_present.vlans.size())
            Refuse(L"tooManyVlans", first,
                   Text(L"there would be %u VLANs, and the parent carries %u at most",
                        static_cast<unsigned>(ids.size()), static_cast<unsigned>(m_present.mostVlans)));
        const bool isAlready = m_present.vlans.size() == 1 && m_present.vlans.front().id == 0;
        if (ids.size() == 1 && first == 0 && !isAlready)
            Refuse(L"untaggedAlone", first, L"the untagged VLAN would be alone; it needs a tagged one beside it");
    }

    // Type and settings of a VLAN that is there, or that will be.
    void ChangeKind(const RAV_WANTED_VLAN& wanted, const RAV_PRESENT_VLAN* found)
    {
        if (found != nullptr && wanted.type && *wanted.type != found->type)
        {
            RAV_PLAN_STEP& step = Last(RAV_CHANGE::SetType, wanted, found);
            step.type = found->type;
            step.newType = *wanted.type;
        }
        for (const RAV_WANTED_SETTING& setting : wanted.settings)
            ChangeSetting(wanted, found, setting);
    }

    void ChangeSetting(const RAV_WANTED_VLAN& wanted, const RAV_PRESENT_VLAN* found, const RAV_WANTED_SETTING& asked)
    {
        const RAV_SETTINGS none;
        const RAV_SETTINGS& settings = found == nullptr  ? m_present.newSettings
                                       : found->settings ? *found->settings
                                                         : none;
        const RAV_SETTING* const setting = RavFindSetting(settings, asked.keyword);
        if (setting == nullptr)
            return CannotSet(L"unknownSetting", wanted, UnknownSetting(asked.keyword, settings));
        const bool isReset = asked.value.CompareI(RAV_DEFAULT_VALUE);
        const std::optional<int32_t> value = isReset ? RavDefaultOf(*setting) : RavValueFromText(*setting, asked.value);
        const int32_t was = found == nullptr ? RavDefaultOf(*setting) : RavCurrentOf(*setting);
        if (value == was || RavNumberFromText(asked.value) == was) // also one that it could not be given
            return;
        if (!value)
            return CannotSet(L"settingValue", wanted,
                             Text(L"%s cannot be \"%s\"; it can be %s", setting->strName.c_str(), asked.value.c_str(),
                                  RavPossibleValues(*setting).c_str()));
        RAV_PLAN_STEP& step = Last(isReset ? RAV_CHANGE::Reset : RAV_CHANGE::Set, wanted, found);
        step.keyword = setting->strName;
        step.was = was;
        step.is = *value;
    }

    void CannotSet(const wchar_t* name, const RAV_WANTED_VLAN& wanted, const CRavString& text)
    {
        (m_wanted.wasBefore ? m_plan.dropped : m_plan.refusals).push_back({name, wanted.id, text});
    }

    static CRavString UnknownSetting(const CRavString& keyword, const RAV_SETTINGS& settings)
    {
        CRavString known;
        for (const auto& setting : settings)
            known = known + (known.IsEmpty() ? L"" : L", ") + setting->strName;
        return Text(L"there is no setting called \"%s\"; there are %s", keyword.c_str(),
                    known.IsEmpty() ? L"none" : known.c_str());
    }

    RAV_PLAN_STEP& Last(RAV_CHANGE change, const RAV_WANTED_VLAN& wanted, const RAV_PRESENT_VLAN* found)
    {
        RAV_PLAN_STEP& step = m_last.emplace_back();
        step.change = change;
        step.parentKey = m_present.key;
        step.vlanKey = found != nullptr ? found->key : CRavString();
        step.id = wanted.id;
        step.name = wanted.name;
        return step;
    }

    const RAV_PRESENT_PARENT& m_present;
    const RAV_WANTED_PARENT& m_wanted;
    const bool m_prune;
    const RAV_IDENTITY m_identity;
    RAV_PLAN m_plan;
    std::vector<RAV_PLAN_STEP> m_last; // steps for when all VLANs have their ids and names
};
} // namespace

RAV_PLAN RavPlanParent(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted, bool prune)
{
    return CPlanning(present, wanted, prune).Run();
}
