#include "Tools/vlanctl/Costs.h"

#include "Common/Library/BindingRecord.h"
#include "Common/Library/RavNetCfgInterface.h"
#include "Common/Library/RestartNote.h"
#include "Common/Library/XmsBindings.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/RavRegValues.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Connections.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace
{
constexpr const wchar_t* TCPIP[] = {L"ms_tcpip", L"ms_tcpip6"};

// What the adapter is reached by now.
struct Reach
{
    std::vector<CRavString> protocols; // those that a parent of VLANs gives up
    std::vector<std::string> addresses;
    bool isDhcp = false;
};

Reach ReadReach(const CRavString& key)
{
    Reach reach;
    CRavNetCfgInterface netCfg;
    Microsoft::WRL::ComPtr<INetCfgComponent> adapter;
    if (SUCCEEDED(netCfg.Initialize()) && SUCCEEDED(netCfg.FindNetworkComponentByGUID(key, adapter)) && adapter)
        RavListProtocols(netCfg, *adapter.Get(), reach.protocols);
    CRavRegKey interfaceKey;
    DWORD dhcp = 0;
    if (interfaceKey.Open(HKEY_LOCAL_MACHINE, CRavString(TCPIP_INTERFACES_KEY) + L"\\" + key, false))
        reach.isDhcp = interfaceKey.GetValue(NetworkValue::EnableDhcp, dhcp) && dhcp != 0;
    reach.addresses = AddressesOf(key);
    return reach;
}

bool IsTcpIp(const CRavString& protocol)
{
    return std::any_of(std::begin(TCPIP), std::end(TCPIP), [&](const wchar_t* id) { return protocol.CompareI(id); });
}

template <typename Text>
std::string Join(const std::vector<Text>& texts)
{
    std::string joined;
    for (const Text& text : texts)
        joined += (joined.empty() ? "" : ", ") + std::string(text);
    return joined;
}

// "TCP/IP and its address (DHCP, 192.0.2.7)"
std::string WhatIsGivenUp(const Reach& reach, const std::vector<std::string>& others)
{
    std::vector<std::string> origin = reach.addresses;
    if (reach.isDhcp)
        origin.insert(origin.begin(), "DHCP");
    const bool tcpip = reach.protocols.size() > others.size();
    const bool known = !reach.addresses.empty() || reach.isDhcp;
    std::string text = !tcpip ? "" : known ? "TCP/IP and its address (" + Join(origin) + ")" : "TCP/IP";
    if (!others.empty())
        text += (tcpip ? " and other protocols (" : "its protocols (") + Join(others) + ")";
    return text;
}

void AddProtocols(const ParentRow& parent, std::vector<Note>& notes)
{
    const Reach reach = ReadReach(parent.key);
    std::vector<std::string> others;
    Json protocols = Json::array();
    for (const CRavString& protocol : reach.protocols)
    {
        protocols.push_back(ToUtf8(protocol));
        if (!IsTcpIp(protocol))
            others.push_back(ToUtf8(protocol));
    }
    if (reach.protocols.empty())
        return;
    Note note = NoteOf(
        "parentGivesUpProtocols",
        Visible(ToUtf8(parent.name)) + " gives up " + WhatIsGivenUp(reach, others) +
            "; it will be reachable over its VLANs only",
        "It gets them back when its last VLAN is removed. For its untagged frames create the untagged VLAN (id 0).");
    note.about = {{"protocols", protocols}, {"addresses", reach.addresses}, {"dhcp", reach.isDhcp}};
    notes.push_back(note);
    if (reach.protocols.size() > others.size())
        Append(notes, CostsOfSilence(parent.key, Visible(ToUtf8(parent.name))));
}

void AddReturningProtocols(const CRavString& key, const std::string& name, std::vector<Note>& notes)
{
    std::vector<CRavString> protocols;
    if (!RavReadBindingRecord(key, protocols) || protocols.empty())
        return;
    std::vector<std::string> ids(protocols.size());
    std::transform(protocols.begin(), protocols.end(), ids.begin(), ToUtf8);
    const bool tcpip = std::any_of(protocols.begin(), protocols.end(), IsTcpIp);
    Note note = NoteOf("parentGetsProtocolsBack", name + " gets its own protocols back (" + Join(ids) + ")",
                       tcpip ? "This machine is reachable over its untagged frames then." : "");
    note.about = {{"protocols", ids}};
    notes.push_back(note);
}

CRavString Digits(CRavString address)
{
    std::erase_if(address, [](wchar_t character) { return character == L'-' || character == L':'; });
    return address;
}

// The address that somebody has given the adapter; empty when it has its own.
CRavString LocalMac(CSession& session, const CRavString& key)
{
    RAV_PARAMETER parameter;
    parameter.strName = NetworkValue::NetworkAddress;
    CRavString own;
    if (!session.Core().GetParameter(key, parameter).Succeeded() || parameter.dwType != REG_SZ)
        return {};
    session.Core().GetPermMacAddress(key, own);
    return Digits(parameter.strValue).CompareI(Digits(own)) ? CRavString() : parameter.strValue;
}

void AddLocalMac(CSession& session, const CRavString& key, const std::string& text, std::vector<Note>& notes)
{
    const CRavString mac = LocalMac(session, key);
    if (mac.IsEmpty())
        return;
    Note note =
        NoteOf("localMacIsEmptied", text + " (" + ToUtf8(mac) + ") is emptied", "Note it, to set it again afterwards.");
    note.about = {{"mac", ToUtf8(mac)}};
    notes.push_back(note);
}
} // namespace

std::vector<Note> CostsOfFirstVlan(CSession& session, const ParentRow& parent)
{
    std::vector<Note> notes;
    CResult result;
    std::vector<CRavString> vlans;
    session.Agent().EnumerateVlans(result, parent.key, vlans);
    if (result.Succeeded() && !vlans.empty())
        return notes;
    AddProtocols(parent, notes);
    AddLocalMac(session, parent.key,
                "when the last VLAN of " + Visible(ToUtf8(parent.name)) + " is removed, its locally set address",
                notes);
    return notes;
}

std::vector<Note> CostsOfLastVlan(CSession& session, const CRavString& parentKey, const CRavString& parentName)
{
    const std::string name = Visible(ToUtf8(parentName));
    std::vector<Note> notes;
    AddReturningProtocols(parentKey, name, notes);
    AddLocalMac(session, parentKey, "with its last VLAN the locally set address of " + name, notes);
    return notes;
}

std::vector<Note> CostsOfSilence(const CRavString& key, const std::string& name)
{
    const std::vector<std::string> connections = ConnectionsOver(key);
    if (connections.empty())
        return {};
    Note note;
    note.name = "connectionsAreCut";
    note.meaning =
        (connections.size() == 1 ? "a connection to this machine runs over "
                                 : std::to_string(connections.size()) + " connections to this machine run over ") +
        name + " and will be cut (" + connections.front() + (connections.size() > 1 ? ", ..." : "") + ")";
    note.advice = "If it is yours you may not reach this machine again: go on only with another way to it.";
    note.isGrave = true;
    note.about = {{"connections", connections}};
    return {note};
}

std::vector<Note> CostsOfInterruption(const CRavString& vlanKey, const std::string& name)
{
    std::vector<Note> notes = CostsOfSilence(vlanKey, name);
    notes.insert(notes.begin(),
                 NoteOf("vlanIsInterrupted", name + " is reloaded: it carries no traffic for some seconds",
                        "It comes back by itself, with its addresses."));
    return notes;
}

std::vector<Note> CostsOfPendingRestart()
{
    if (!RavIsRestartNoted())
        return {};
    return {NoteOf("restartNeeded", "a restart of the system is pending: what is changed may take effect with it only",
                   "Restart the system first, or afterwards.")};
}

bool IsAnyGrave(const std::vector<Note>& notes)
{
    return std::any_of(notes.begin(), notes.end(), [](const Note& note) { return note.isGrave; });
}
