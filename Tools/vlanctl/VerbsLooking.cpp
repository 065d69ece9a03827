// The command line of tree, watch and report.

#include "Tools/vlanctl/Verbs.h"

namespace
{
void AddTreeOptions(CLI::App& verb, TreeOptions& options)
{
    AddJsonOption(verb, options.json);
}

void AddNoOptions(CLI::App&, TreeOptions&) {}

void AddReportOptions(CLI::App& verb, ReportOptions& options)
{
    verb.add_option("-o,--output", options.file, "The page; one that is there is replaced")
        ->required()
        ->type_name(FILE_VALUE);
}
} // namespace

void AddLookingVerbs(CLI::App& app, Command& command)
{
    AddVerb(app, command, "tree", "Show what carries what: teams, adapters, VLANs, with what is wrong", RunTree,
            AddTreeOptions);
    AddVerb(app, command, "watch", "Show the tree, and again when something changes, until Ctrl-C", RunWatchTree,
            AddNoOptions);
    AddVerb(app, command, "report", "Write a page about the machine's VLANs, with a picture", RunReport,
            AddReportOptions);
}
