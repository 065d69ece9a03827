#pragma once

#include "Plan/RavFinding.h"
#include "Src/View/RavHost.h"
#include "Tools/vlanctl/Session.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

// The host as a tree of what carries what, for whoever draws it: a value made of what one walk has found. Nothing here
// is as anybody's terminal or page wants it.

enum class PictureKind
{
    Team,
    Adapter,
    Member, // an adapter below its team
    Vlan,
    Miniport // of the driver, but no VLAN
};

struct PictureNode
{
    PictureKind kind = PictureKind::Adapter;
    std::string key;
    std::string name;                  // as people know it
    DWORD id = 0;                      // of a VLAN; 0: the untagged one
    std::string status;                // of the device: "loaded"
    std::string instance;              // four digits; empty when unknown
    std::string address;               // MAC, as the system writes it; empty when unknown
    std::vector<std::string> bindings; // of an adapter or team: the driver, and protocols by component id
    std::vector<RAV_FINDING> findings; // about this one alone
    std::vector<PictureNode> children; // members before VLANs; VLANs by id
};

struct Picture
{
    std::vector<PictureNode> nodes;
    std::vector<RAV_FINDING> elsewhere; // about what is no component: what a gone adapter has left
};

// How a component is called by the suite.
using NameOfComponent = std::function<std::string(const RAV_HOST_COMPONENT&)>;

// Teams first, then the adapters that are in none, then miniports that belong to nobody. The host was read with its
// bindings.
Picture PictureOf(const RAV_HOST& host, const std::vector<RAV_FINDING>& findings, const NameOfComponent& nameOf);
// "VLAN driver, ms_tcpip"
std::string BindingsText(const PictureNode& node);
// Of a VLAN: "10 Sales".
std::string TextOf(const PictureNode& vlan);
// "adapter", "vlan"
const char* KindText(PictureKind kind);
// How many there are of a kind, at any depth.
size_t CountOf(const std::vector<PictureNode>& nodes, PictureKind kind);
size_t FindingsIn(const Picture& picture);
// "1 team, 10 adapters, 22 VLANs"
std::string Summary(const std::vector<PictureNode>& nodes);
// "1 finding", "2 findings"
std::string Counted(size_t count, const std::string& what);
nlohmann::ordered_json PictureToJson(const std::vector<PictureNode>& nodes);
// Names of findings.
nlohmann::ordered_json FindingNamesToJson(const std::vector<RAV_FINDING>& findings);

// All this of the machine as it is. Throws CommandError, also when a part of the host cannot be read.
Picture ReadPicture(CSession& session);
