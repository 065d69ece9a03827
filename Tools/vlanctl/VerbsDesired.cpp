// The command line of the verbs that have to do with desired state.

#include "Tools/vlanctl/Verbs.h"

namespace
{
constexpr unsigned MOST_SECONDS = 86400;

void AddParents(CLI::App& verb, std::vector<std::string>& parents)
{
    verb.add_option(PARENT_OPTION, parents, "Only this adapter or team; it may be repeated")
        ->allow_extra_args(false)
        ->type_name(PARENT_VALUE);
}

void AddExportOptions(CLI::App& verb, ExportOptions& options)
{
    AddParents(verb, options.parents);
    verb.add_option("-o,--output", options.file, "The file to write; standard output without it")
        ->type_name(FILE_VALUE);
    AddJsonOption(verb, options.json, "Errors for programs, too; the file is JSON always");
}

void AddFile(CLI::App& verb, DiffOptions& options)
{
    verb.add_option(FILE_VALUE, options.file, "The desired state; - is standard input")->required()->type_name("");
    AddParents(verb, options.parents);
    verb.add_flag("--prune", options.prune, "Remove the VLANs of its parents that it does not name");
}

void AddDiffOptions(CLI::App& verb, DiffOptions& options)
{
    AddFile(verb, options);
    AddJsonOption(verb, options.json);
}

void AddApplyOptions(CLI::App& verb, ApplyOptions& options)
{
    AddFile(verb, options);
    AddChangeOptions(verb, options);
    AddJsonOption(verb, options.json, "Output for programs; with --yes or --dry-run");
    CLI::Option* const keep = verb.add_flag("--keep", options.keep, "When a step fails leave what was done");
    verb.add_option("--confirm-within", options.confirmSeconds,
                    "Take everything back unless it is confirmed within so many seconds")
        ->check(CLI::Range(1U, MOST_SECONDS))
        ->excludes(keep);
}

void CheckApplyOptions(CLI::App&, ApplyOptions& options)
{
    if (options.json && !options.yes && !options.dryRun)
        throw CLI::ValidationError("apply", "--json asks no question: add --yes or --dry-run");
}

void AddConfirmOptions(CLI::App& verb, ConfirmOptions& options)
{
    CLI::Option* const rollBack = verb.add_flag("--roll-back", options.rollBack, "Take the change back at once");
    verb.add_flag("--discard", options.discard, "Give up the old state of a change that could not be taken back")
        ->excludes(rollBack);
    AddJsonOption(verb, options.json);
}

void AddDscOptions(CLI::App& verb, DscOptions& options)
{
    verb.add_option("OPERATION", options.operation, "get, set, test, export or schema")
        ->required()
        ->check(CLI::Validator(CLI::IsMember({"get", "set", "test", "export", "schema"})).description(""))
        ->type_name("");
    verb.add_option("--input", options.input, "The instance; standard input has it without this")->type_name("JSON");
    verb.add_flag("--what-if", options.whatIf, "Tell what set would lead to, and change nothing");
}

void CheckDscOptions(CLI::App&, DscOptions& options)
{
    if (options.whatIf && options.operation != "set")
        throw CLI::ValidationError("--what-if", "is for set");
}

void AddWatchConfirmationOptions(CLI::App& verb, WatchConfirmationOptions& options)
{
    verb.add_option("PROCESS", options.process)->required();
    verb.add_option("SECONDS", options.seconds)->required();
    verb.group(""); // vlanctl starts it by itself
}
} // namespace

void AddDesiredVerbs(CLI::App& app, Command& command)
{
    AddVerb(app, command, "export", "Write the VLANs of the machine as a file", RunExport, AddExportOptions);
    AddVerb(app, command, "diff", "Tell what applying a file would do, and what that costs", RunDiff, AddDiffOptions);
    AddVerb(app, command, "apply", "Bring the VLANs of the machine to what a file says", RunApply, AddApplyOptions,
            CheckApplyOptions);
    AddVerb(app, command, "confirm", "Keep a change that waits for its confirmation", RunConfirm, AddConfirmOptions);
    AddVerb(app, command, "dsc", "Be a resource of an engine of desired state", RunDsc, AddDscOptions, CheckDscOptions);
    AddVerb(app, command, "watch-confirmation", "", RunWatchConfirmation, AddWatchConfirmationOptions);
}
