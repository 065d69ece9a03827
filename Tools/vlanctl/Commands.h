#pragma once

#include "Tools/vlanctl/Session.h"

#include <string>
#include <vector>

// The verbs. Each returns the exit status or throws CommandError.

struct ListOptions
{
    std::string parent; // empty: of all parents
    bool json = false;
};
ExitStatus RunList(CSession& session, const ListOptions& options);

struct VlanOptions
{
    std::string vlan;
    bool json = false;
};
ExitStatus RunShow(CSession& session, const VlanOptions& options);
ExitStatus RunStatus(CSession& session, const VlanOptions& options);
ExitStatus RunSettings(CSession& session, const VlanOptions& options);

struct ParentsOptions
{
    bool all = false;
    bool json = false;
};
ExitStatus RunParents(CSession& session, const ParentsOptions& options);

struct CreateOptions
{
    std::string parent;
    std::string ids;
    std::string name;
    bool autoNames = false;
    bool dryRun = false;
    bool json = false;
    unsigned waitSeconds = 10;
};
ExitStatus RunValidate(CSession& session, const CreateOptions& options);
ExitStatus RunCreate(CSession& session, const CreateOptions& options);

struct RemoveOptions
{
    std::vector<std::string> vlans;
    std::string parent;
    bool all = false;
    bool yes = false;
    bool dryRun = false;
    bool json = false;
    unsigned waitSeconds = 10;
};
ExitStatus RunRemove(CSession& session, const RemoveOptions& options);
