#include "Plan/RavFinding.h"

#include "Common/Src/NetworkNames.h"

#include <array>

namespace
{
// In the order of RAV_FINDING_KIND.
constexpr RAV_FINDING_TEXT TEXTS[] = {
    {L"ghost-miniport",
     L"A virtual miniport of the driver that is no VLAN and no team: a creation was interrupted. It shows up as a "
     L"network connection that leads nowhere.",
     L"removes the miniport"},
    {L"unfinished-vlan", L"The creation of this VLAN was interrupted before it was complete. It carries no traffic.",
     L"removes its miniport"},
    {L"abandoned-vlan",
     L"Neither its parent nor the driver knows this VLAN any more, or yet: its creation or removal was interrupted. It "
     L"carries no traffic.",
     L"removes its miniport"},
    {L"parent-gone",
     L"The adapter or team below this VLAN is not in the machine any more, or is none. The VLAN carries no traffic, "
     L"and can be neither changed nor removed.",
     L"removes its miniport"},
    {L"parent-unknown", L"The VLAN does not say whose it is; the driver's lists do.",
     L"writes the parent into the VLAN's key"},
    {L"damaged-vlan",
     L"A value of the VLAN's key contradicts what the VLAN is. Programs of the suite show and treat it wrongly.",
     L"writes the value anew"},
    {L"team-values", L"A VLAN over a team, or a member, has another mode or number of adapters than the team.",
     L"writes the values anew"},
    {L"unknown-id", L"The VLAN's id is missing or none that exists, and nothing tells which it was.",
     L"nothing: only you know the id"},
    {L"same-id",
     L"Two VLANs of one parent have the same id: frames with that id reach one of them, and nobody can tell which.",
     L"nothing: only you know which was meant"},
    {L"same-name", L"Two VLANs of one parent have the same name.", L"nothing: only you know which is which"},
    {L"same-device",
     L"The VLAN and another component are one device to Windows: what is done to one, its name or its removal, is done "
     L"to the other.",
     L"nothing: only you know whose the device is"},
    {L"untagged-alone",
     L"The untagged VLAN is the only one of its parent, where the parent itself would do. The agent never leaves a "
     L"host like this.",
     L"nothing: either a tagged VLAN is missing, or this one is not needed"},
    {L"no-driver-entry",
     L"The driver has no entry for this parent: none of its VLANs carries traffic after the next start.",
     L"writes the entry anew"},
    {L"driver-entry", L"The driver's entry names another adapter or group than its VLANs do.",
     L"writes the value anew"},
    {L"binding-list",
     L"The driver's list of the miniports above this adapter has dead, missing or doubled members. A VLAN that is "
     L"missing there carries no traffic.",
     L"writes the list anew"},
    {L"binding-count",
     L"The driver's count is not the length of its list. The agent refuses removals over such an entry, and the driver "
     L"may pass over VLANs.",
     L"writes the count anew"},
    {L"stale-driver-entry",
     L"The driver keeps an entry for an adapter that has no VLANs. The next first VLAN would not be prepared as it has "
     L"to be.",
     L"takes the adapter out of the driver's hands and deletes the entry"},
    {L"id-list",
     L"The ids in the parent's key are not those of its VLANs. An adapter that filters by them drops frames of a VLAN, "
     L"or new VLANs are refused.",
     L"writes the list anew"},
    {L"vlan-mode", L"The parent's VlanMode does not fit its VLANs.", L"writes or deletes the value"},
    {L"tagging-mode",
     L"Tagging is on or off on the port against what its VLANs need: frames go out with, or without, their tag.",
     L"writes the value anew"},
    {L"driver-tagging-mode", L"The driver tags this parent's frames other than its VLANs need.",
     L"writes the value anew"},
    {L"priority-tag", L"The adapter strips the tags of frames that it receives: its VLANs get no traffic.",
     L"sets the adapter's parameter to 3 (priority and VLAN)"},
    {L"parent-mark", L"The adapter's key says that it carries VLANs, or does not, against what is there.",
     L"writes what follows from its VLANs"},
    {L"parent-address", L"The parent does not use the MAC address of its VLANs.",
     L"writes the VLANs' address into the parent's key"},
    {L"not-bound", L"The driver is not bound to the parent: its VLANs carry no traffic.",
     L"binds the driver and takes the parent's own protocols off"},
    {L"protocols-bound",
     L"TCP/IP or another protocol is bound to a parent of VLANs, which gives up its own: the machine answers on the "
     L"port itself.",
     L"takes the protocols off the parent"},
    {L"still-bound", L"The driver is bound to an adapter that has no VLANs: the adapter carries no traffic.",
     L"takes the adapter out of the driver's hands"},
    {L"protocols-missing", L"Protocols that were taken off this adapter for its VLANs were never given back.",
     L"binds them again"},
    {L"dhcp-flag",
     L"The adapter's DHCP flag is not where it has to be: it would get no address, or one that it must not have.",
     L"moves the flag"},
    {L"display-name", L"The VLAN's display name does not follow its parent's name and its own.", L"names it anew"},
    {L"not-loaded", L"The device was stopped and never started again: it carries no traffic.", L"starts it"},
};
static_assert(std::size(TEXTS) == static_cast<size_t>(RAV_FINDING_KIND::COUNT));

// The class key and the driver's keys in the words that people use for them.
CRavString Short(const CRavString& path)
{
    const CRavString classKey = CRavString(CLASS_KEY) + L"\\";
    if (path.compare(0, classKey.size(), classKey) == 0)
        return CRavString(L"instance ") + path.substr(classKey.size()).c_str();
    return path;
}

CRavString ValueText(const CRavString& value)
{
    return value.IsEmpty() ? CRavString(L"empty") : value;
}
} // namespace

bool RAV_FINDING::IsAbout(const CRavString& key) const
{
    return key.IsEmpty() || subject.CompareI(key) || parent.CompareI(key) || (isOfVlan && parent.IsEmpty());
}

bool RAV_FINDING::Concerns(const CRavString& vlan, const CRavString& vlansParent) const
{
    return subject.CompareI(vlan) ||
           (!isOfVlan && (subject.CompareI(vlansParent) || (!parent.IsEmpty() && parent.CompareI(vlansParent))));
}

const RAV_FINDING_TEXT& RavFindingText(RAV_FINDING_KIND kind)
{
    return TEXTS[static_cast<size_t>(kind)];
}

CRavString RavStepText(const RAV_STEP& step)
{
    const CRavString value = CRavString(L"set ") + step.name + L" of " + Short(step.target) + L" to ";
    switch (step.act)
    {
    case RAV_ACT::RemoveMiniport:
        return CRavString(L"remove the miniport ") + step.target;
    case RAV_ACT::SetNumber:
        return value + std::to_wstring(step.number).c_str();
    case RAV_ACT::SetText:
        return value + ValueText(step.text);
    case RAV_ACT::SetList:
        return value + ValueText(RavJoined(step.list));
    case RAV_ACT::DeleteValue:
        return CRavString(L"delete ") + step.name + L" of " + Short(step.target);
    case RAV_ACT::GiveBack:
        return CRavString(L"give bindings and DHCP flag back to ") + step.target + L", delete the driver's entries";
    case RAV_ACT::Bind:
        return CRavString(L"bind the driver to ") + step.target + L", take its own protocols off";
    case RAV_ACT::SetDisplayName:
        return CRavString(L"name ") + step.target + L" \"" + step.text + L"\"";
    case RAV_ACT::Start:
        return CRavString(L"start ") + step.target;
    default:
        return CRavString(L"reload ") + step.target;
    }
}

CRavString RavJoined(const std::vector<CRavString>& list)
{
    CRavString text;
    for (const CRavString& element : list)
        text += (text.IsEmpty() ? L"" : L",") + std::wstring(element);
    return text;
}
