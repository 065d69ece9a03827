#include "Tools/vlanctl/VlanDetails.h"

#include "Common/Src/RavUtf8.h"
#include "Common/Src/XmsNames.h"

#include <map>

namespace
{
using Members = std::optional<std::vector<TeamMember>>;

Members MembersOf(CSession& session, const RAV_HOST& host, const CRavString& team)
{
    std::vector<CRavString> keys;
    if (session.Teams() == nullptr || !session.Teams()->GetTeamMembers(team, keys).Succeeded())
        return std::nullopt;
    Members members(std::in_place);
    for (const CRavString& key : keys)
    {
        CRavString name;
        session.Core().GetDisplayName(key, name);
        const RAV_HOST_COMPONENT* const component = host.Find(key);
        members->push_back({key, name, component != nullptr ? ToUtf8(component->instance) : ""});
    }
    return members;
}
} // namespace

void ReadDetails(CSession& session, const RAV_HOST& host, std::vector<VlanRow>& rows)
{
    const InterfaceTable interfaces = ReadInterfaces();
    std::map<CRavString, Members> teams;
    for (VlanRow& row : rows)
    {
        row.connection = InterfaceOf(interfaces, row.info.vlanKey);
        const RAV_HOST_COMPONENT* const component = host.Find(row.info.vlanKey);
        if (row.connection.mac.empty() && component != nullptr && component->networkAddress.size() == 12)
            row.connection.mac = MacText(component->networkAddress);
        row.members.emplace();
        if ((row.info.supportedFeatures & FEATURE_OVER_TEAM) == 0)
            continue;
        const auto [team, isNew] = teams.try_emplace(row.parentKey);
        if (isNew)
            team->second = MembersOf(session, host, row.parentKey);
        row.members = team->second;
    }
}
