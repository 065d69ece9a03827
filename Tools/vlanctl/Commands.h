#pragma once

#include "Tools/vlanctl/Change.h"

#include <string>
#include <vector>

// The verbs. Each returns the exit status or throws CommandError.

struct ListOptions
{
    std::string parent = {};             // empty: of all parents
    std::string ids = {};                // "10,20-29,1?"; empty: all
    std::vector<std::string> names = {}; // with wildcards; none: all
    std::string status = {};             // "loaded,not*"; empty: each
    std::string columns = {};            // "id,name"; empty: the usual ones
    std::string sort = {};               // a column; empty: by parent and id
    std::string output = "table";        // "table", "json", "csv", "name"
    bool noHeader = false;
    bool json = false;
};
ExitStatus RunList(CSession& session, const ListOptions& options);

struct VlanOptions
{
    std::string vlan;
    bool instance = false; // it is an instance number
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

struct DoctorOptions : ChangeOptions
{
    std::string parent;             // empty: the whole host
    std::vector<std::string> names; // of the findings to mend; empty: all
};
ExitStatus RunDoctor(CSession& session, const DoctorOptions& options);

struct CreateOptions : ChangeOptions
{
    std::string parent;
    std::string ids; // "10=Sales,20-29"
    std::string name;
    bool autoNames = false;
    bool ifMissing = false; // those that are there are left alone
};
ExitStatus RunValidate(CSession& session, const CreateOptions& options);
ExitStatus RunCreate(CSession& session, const CreateOptions& options);

struct RemoveOptions : ChangeOptions
{
    std::vector<std::string> vlans;
    bool instance = false; // they are instance numbers
    std::string parent;
    bool all = false;
    bool ifExists = false; // one that is not there is no error
};
ExitStatus RunRemove(CSession& session, const RemoveOptions& options);

struct RenameOptions : ChangeOptions
{
    std::string vlan;
    bool instance = false; // it is an instance number
    std::string name;
};
ExitStatus RunRename(CSession& session, const RenameOptions& options);

struct SetIdOptions : ChangeOptions
{
    std::string vlan;
    bool instance = false; // it is an instance number
    std::string id;
};
ExitStatus RunSetId(CSession& session, const SetIdOptions& options);

struct SetTypeOptions : ChangeOptions
{
    std::string vlan;
    bool instance = false; // it is an instance number
    DWORD type = 0;
};
ExitStatus RunSetType(CSession& session, const SetTypeOptions& options);

struct SetOptions : ChangeOptions
{
    std::string vlan;
    bool instance = false;           // it is an instance number
    std::vector<std::string> values; // "NAME=VALUE"
    bool hidden = false;             // those that the driver does not offer, too
};
ExitStatus RunSet(CSession& session, const SetOptions& options);

struct ResetOptions : ChangeOptions
{
    std::string vlan;
    bool instance = false;          // it is an instance number
    std::vector<std::string> names; // of settings; none with `all`
    bool all = false;
    bool hidden = false;
};
ExitStatus RunReset(CSession& session, const ResetOptions& options);

struct RestartOptions : ChangeOptions
{
    std::string vlan;
    bool instance = false; // it is an instance number
};
ExitStatus RunRestart(CSession& session, const RestartOptions& options);

struct ExportOptions
{
    std::vector<std::string> parents; // none: those that carry VLANs, or could
    std::string file;                 // none: standard output
    bool json = false;                // errors, too: the file always is
};
ExitStatus RunExport(CSession& session, const ExportOptions& options);

struct DiffOptions : ChangeOptions
{
    std::string file;
    std::vector<std::string> parents; // none: all that the file names
    bool prune = false;               // VLANs that the file does not name are removed
};
ExitStatus RunDiff(CSession& session, const DiffOptions& options);

struct ApplyOptions : DiffOptions
{
    bool keep = false;           // what was done when something fails
    unsigned confirmSeconds = 0; // 0: it needs no confirmation
};
ExitStatus RunApply(CSession& session, const ApplyOptions& options);

struct ConfirmOptions
{
    bool rollBack = false;
    bool discard = false; // the old state of a change that could not be taken back
    bool json = false;
};
ExitStatus RunConfirm(CSession& session, const ConfirmOptions& options);

struct WatchConfirmationOptions
{
    DWORD process = 0; // that applies
    DWORD seconds = 0;
};
ExitStatus RunWatchConfirmation(CSession& session, const WatchConfirmationOptions& options);

struct TreeOptions
{
    bool json = false;
};
ExitStatus RunTree(CSession& session, const TreeOptions& options);
// The same, again whenever something changes, until it is interrupted.
ExitStatus RunWatchTree(CSession& session, const TreeOptions& options);

struct ReportOptions
{
    std::string file;
};
ExitStatus RunReport(CSession& session, const ReportOptions& options);

struct DscOptions
{
    std::string operation; // "get", "set", "test", "export", "schema"
    std::string input;     // the instance; empty: standard input has it
    bool whatIf = false;   // what "set" would lead to
};
// One operation of a command-based resource, as engines of desired state have them: one parent with all its VLANs.
ExitStatus RunDsc(const DscOptions& options);

struct CompletionOptions
{
    std::string shell; // "bash", "powershell"
};
// Prints the script that the shell has to read.
ExitStatus RunCompletion(const CompletionOptions& options);

struct CompleteOptions
{
    std::string line; // up to where its user has come, as a shell reads it
};
// Prints what could stand there, a line each.
ExitStatus RunComplete(const CompleteOptions& options);
