#include "Plan/RavOrder.h"

#include "Src/RavVlanTypes.h"

#include <algorithm>
#include <map>

namespace
{
// One VLAN of the parent on the way.
struct RAV_PLACE
{
    CRavString key;
    DWORD id = 0;
    CRavString name;
    CRavString folded;                       // the name
    const RAV_WANTED_VLAN* wanted = nullptr; // null: it stays as it is, or leaves
    bool leaves = false;
    bool wasMovedAside = false;

    bool NeedsId() const { return wanted != nullptr && id != wanted->id; }
    bool NeedsName() const { return wanted != nullptr && name != wanted->name; }
};

// Takes one allowed step after the other. Where none is, VLANs wait for each other's ids or names in a circle, which is
// opened by moving one of them aside; that one waits no longer, so that there is an end.
class COrder
{
  public:
    COrder(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted, const RAV_IDENTITY& identity, bool prune)
        : m_present(present)
    {
        for (size_t index = 0; index < wanted.vlans.size(); ++index)
        {
            const RAV_WANTED_VLAN& vlan = wanted.vlans[index];
            m_foldedWanted[&vlan] = RavFolded(vlan.name);
            if (identity.found[index] == nullptr)
                m_missing.push_back(&vlan);
            else
                Add(*identity.found[index], &vlan);
        }
        for (const RAV_PRESENT_VLAN* const left : identity.left)
            Add(*left, nullptr, prune);
    }

    RAV_ORDER Run()
    {
        while (RemoveOne() || ChangeOneId() || RenameOne() || CreateOne() || MoveOneAside())
            continue;
        return {m_steps, Unreached()};
    }

  private:
    void Add(const RAV_PRESENT_VLAN& vlan, const RAV_WANTED_VLAN* wanted, bool leaves = false)
    {
        m_places.push_back({vlan.key, vlan.id, vlan.name, RavFolded(vlan.name), wanted, leaves, false});
    }

    RAV_PLAN_STEP& Step(RAV_CHANGE change, const RAV_PLACE& place)
    {
        RAV_PLAN_STEP& step = m_steps.emplace_back();
        step.change = change;
        step.parentKey = m_present.key;
        step.vlanKey = place.key;
        step.id = place.id;
        step.name = place.name;
        return step;
    }

    // The last tagged VLAN goes when nothing else is left and nothing comes: an untagged one would go along, and the
    // parent would be given back to its protocols for a while.
    bool RemoveOne()
    {
        const auto tagged = std::count_if(m_places.begin(), m_places.end(), [](const auto& place) { return place.id; });
        const auto place = std::find_if(m_places.begin(), m_places.end(), [&](const RAV_PLACE& candidate) {
            return candidate.leaves && (candidate.id == 0 || tagged > 1 || (m_places.size() == 1 && m_missing.empty()));
        });
        if (place == m_places.end())
            return false;
        Step(RAV_CHANGE::Remove, *place);
        m_places.erase(place);
        return true;
    }

    bool ChangeOneId()
    {
        for (RAV_PLACE& place : m_places)
        {
            if (place.NeedsId() && IsIdFree(place.wanted->id))
                return SetId(place, place.wanted->id);
        }
        return false;
    }

    bool RenameOne()
    {
        for (RAV_PLACE& place : m_places)
        {
            if (place.NeedsName() && IsNameFree(m_foldedWanted[place.wanted], &place))
                return Rename(place, place.wanted->name);
        }
        return false;
    }

    bool CreateOne()
    {
        const auto wanted = std::find_if(m_missing.begin(), m_missing.end(),
                                         [&](const RAV_WANTED_VLAN* candidate) { return MayCreate(*candidate); });
        if (wanted == m_missing.end())
            return false;
        const RAV_PLACE place = {{}, (*wanted)->id, (*wanted)->name, m_foldedWanted[*wanted], *wanted, false, false};
        Step(RAV_CHANGE::Create, place).type = (*wanted)->type.value_or(0);
        m_places.push_back(place);
        m_missing.erase(wanted);
        return true;
    }

    bool MayCreate(const RAV_WANTED_VLAN& wanted)
    {
        const bool hasTagged =
            std::any_of(m_places.begin(), m_places.end(), [](const RAV_PLACE& place) { return place.id != 0; });
        return m_places.size() < m_present.mostVlans && (wanted.id != 0 || hasTagged) && IsIdFree(wanted.id) &&
               IsNameFree(m_foldedWanted[&wanted], nullptr);
    }

    bool MoveOneAside()
    {
        for (RAV_PLACE& place : m_places)
        {
            if (place.wasMovedAside || (!place.NeedsId() && !(place.NeedsName() && IsNameWanted(place))))
                continue;
            place.wasMovedAside = true;
            const bool moved = place.NeedsId() ? SetId(place, SpareId()) : Rename(place, SpareName());
            m_steps.back().isTemporary = true;
            return moved;
        }
        return false;
    }

    bool SetId(RAV_PLACE& place, DWORD id)
    {
        Step(RAV_CHANGE::SetId, place).newId = id;
        place.id = id;
        return true;
    }

    bool Rename(RAV_PLACE& place, const CRavString& name)
    {
        Step(RAV_CHANGE::Rename, place).newName = name;
        place.name = name;
        place.folded = RavFolded(name);
        return true;
    }

    bool IsIdFree(DWORD id) const
    {
        return std::none_of(m_places.begin(), m_places.end(), [&](const RAV_PLACE& place) { return place.id == id; });
    }

    bool IsNameFree(const CRavString& folded, const RAV_PLACE* but) const
    {
        return std::none_of(m_places.begin(), m_places.end(),
                            [&](const RAV_PLACE& place) { return &place != but && place.folded == folded; });
    }

    // By another VLAN than the one that has it.
    bool IsNameWanted(const RAV_PLACE& holder)
    {
        const auto wants = [&](const RAV_WANTED_VLAN* wanted) {
            return wanted != nullptr && wanted != holder.wanted && m_foldedWanted[wanted] == holder.folded;
        };
        return std::any_of(m_missing.begin(), m_missing.end(), wants) ||
               std::any_of(m_places.begin(), m_places.end(),
                           [&](const RAV_PLACE& place) { return place.NeedsName() && wants(place.wanted); });
    }

    DWORD SpareId() const
    {
        DWORD id = RAV_MAX_VLAN_ID;
        while (!IsIdFree(id) || std::any_of(m_foldedWanted.begin(), m_foldedWanted.end(),
                                            [&](const auto& w) { return w.first->id == id; }))
            --id;
        return id;
    }

    CRavString SpareName() const
    {
        for (unsigned number = 1;; ++number)
        {
            CRavString name;
            name.FormatString(L"Temporary %u", number);
            const CRavString folded = RavFolded(name);
            if (IsNameFree(folded, nullptr) && std::none_of(m_foldedWanted.begin(), m_foldedWanted.end(),
                                                            [&](const auto& w) { return w.second == folded; }))
                return name;
        }
    }

    // What no step was found for.
    std::vector<RAV_REFUSAL> Unreached() const
    {
        std::vector<RAV_REFUSAL> refusals;
        const auto refuse = [&](DWORD id, const CRavString& name, const wchar_t* why) {
            CRavString text;
            text.FormatString(L"the VLAN \"%s\" cannot be brought to what is wanted: %s", name.c_str(), why);
            refusals.push_back({L"notReachable", id, text});
        };
        for (const RAV_PLACE& place : m_places)
        {
            if (place.leaves)
                refuse(place.id, place.name,
                       L"without it an untagged VLAN would be alone, or the parent without VLANs");
            else if (place.NeedsId())
                refuse(place.wanted->id, place.wanted->name, L"another one keeps its id");
            else if (place.NeedsName())
                refuse(place.wanted->id, place.wanted->name, L"another one keeps its name");
        }
        for (const RAV_WANTED_VLAN* const vlan : m_missing)
        {
            const bool isTaken = !IsIdFree(vlan->id) || !IsNameFree(m_foldedWanted.at(vlan), nullptr);
            refuse(vlan->id, vlan->name, isTaken ? L"another one keeps its id or name" : L"there is no room for it");
        }
        return refusals;
    }

    const RAV_PRESENT_PARENT& m_present;
    std::vector<RAV_PLACE> m_places;
    std::vector<const RAV_WANTED_VLAN*> m_missing;
    std::map<const RAV_WANTED_VLAN*, CRavString> m_foldedWanted;
    std::vector<RAV_PLAN_STEP> m_steps;
};
} // namespace

RAV_ORDER RavOrderSteps(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted,
                        const RAV_IDENTITY& identity, bool prune)
{
    return COrder(present, wanted, identity, prune).Run();
}
