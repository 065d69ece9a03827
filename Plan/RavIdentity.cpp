#include "Plan/RavIdentity.h"

#include <algorithm>

namespace
{
bool IsSameKind(const RAV_PRESENT_VLAN& vlan, const RAV_WANTED_VLAN& wanted)
{
    return (vlan.id == 0) == (wanted.id == 0);
}

class CIdentification
{
  public:
    CIdentification(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted) : m_wanted(wanted.vlans)
    {
        m_identity.found.resize(m_wanted.size());
        for (const RAV_PRESENT_VLAN& vlan : present.vlans)
            m_identity.left.push_back(&vlan);
    }

    RAV_IDENTITY Run()
    {
        FindBy([](const auto& vlan, const auto& wanted) { return !wanted.key.IsEmpty() && vlan.key == wanted.key; });
        FindBy([](const auto& vlan, const auto& wanted) { return vlan.id == wanted.id; });
        FindBy([](const auto& vlan, const auto& wanted) { return vlan.name.CompareI(wanted.name); });
        const std::vector<const RAV_PRESENT_VLAN*> left = m_identity.left;
        for (const RAV_PRESENT_VLAN* const vlan : left)
            FollowNames(*vlan);
        return m_identity;
    }

  private:
    template <typename Test>
    void FindBy(Test&& isSame)
    {
        for (size_t index = 0; index < m_wanted.size(); ++index)
        {
            if (m_identity.found[index] != nullptr)
                continue;
            const auto match =
                std::find_if(m_identity.left.begin(), m_identity.left.end(), [&](const RAV_PRESENT_VLAN* vlan) {
                    return IsSameKind(*vlan, m_wanted[index]) && isSame(*vlan, m_wanted[index]);
                });
            if (match == m_identity.left.end())
                continue;
            m_identity.found[index] = *match;
            m_identity.left.erase(match);
        }
    }

    // From a VLAN that is left over to the one that is wanted under its name, from that one's own VLAN on to the next:
    // when the last is one that is not there yet, all of them move up.
    void FollowNames(const RAV_PRESENT_VLAN& first)
    {
        std::vector<size_t> way;
        for (const RAV_PRESENT_VLAN* vlan = &first; vlan != nullptr; vlan = m_identity.found[way.back()])
        {
            const size_t next = WantedByName(*vlan);
            if (next == m_wanted.size() || std::find(way.begin(), way.end(), next) != way.end())
                return;
            way.push_back(next);
        }
        const RAV_PRESENT_VLAN* moving = &first;
        std::erase(m_identity.left, moving);
        for (const size_t index : way)
            std::swap(m_identity.found[index], moving);
    }

    size_t WantedByName(const RAV_PRESENT_VLAN& vlan) const
    {
        const auto wanted = std::find_if(m_wanted.begin(), m_wanted.end(), [&](const RAV_WANTED_VLAN& candidate) {
            return candidate.key.IsEmpty() && IsSameKind(vlan, candidate) && vlan.name.CompareI(candidate.name);
        });
        return static_cast<size_t>(wanted - m_wanted.begin());
    }

    const std::vector<RAV_WANTED_VLAN>& m_wanted;
    RAV_IDENTITY m_identity;
};
} // namespace

RAV_IDENTITY RavIdentify(const RAV_PRESENT_PARENT& present, const RAV_WANTED_PARENT& wanted)
{
    return CIdentification(present, wanted).Run();
}
