// The command line of the verbs that read, and of doctor.

#include "Tools/vlanctl/Verbs.h"

#include "Tools/vlanctl/Selection.h"
#include "Tools/vlanctl/VlanFields.h"
#include "Tools/vlanctl/WordList.h"

namespace
{
void AddListOptions(CLI::App& verb, ListOptions& options)
{
    verb.add_option(PARENT_OPTION, options.parent, "Only those of this adapter or team")->type_name(PARENT_VALUE);
    verb.add_option("-i,--id", options.ids, "Only these: ids, ranges and patterns (10,20-29,1?)")->type_name("IDS");
    verb.add_option("-n,--name", options.names,
                    "Only those with this name, or one that is like it (Sales*); repeatable")
        ->allow_extra_args(false)
        ->type_name("NAME");
    verb.add_option("-s,--status", options.status, "Only those that are so; several with commas, or a pattern (not*)")
        ->type_name("loaded|notLoaded|disabled|unknown|damaged");
    verb.add_option("--columns", options.columns, "What is shown: id,name,parent,status; any member of the JSON output")
        ->type_name(COLUMN_VALUE);
    verb.add_option("--sort", options.sort, "The column by which they are ordered; parent and id without it")
        ->type_name(COLUMN_VALUE);
    CLI::Option* const output = verb.add_option("-o,--output", options.output, "The form; name is PARENT/ID");
    output->check(CLI::Validator(CLI::IsMember({"table", "json", "csv", "name"})).description(""))
        ->type_name("table|json|csv|name");
    verb.add_flag("--no-header", options.noHeader, "Leave the headings out");
    verb.add_flag("-j,--json", options.json, "The same as -o json")->excludes(output);
}

void CheckColumns(const char* option, const std::string& text, bool isOne)
{
    std::string fault;
    const size_t count = ParseColumns(text, fault).size();
    if (!fault.empty() || count == 0)
        throw CLI::ValidationError(option,
                                   "there is no column \"" + fault + "\"; there are " + Joined(VlanFields(), ", "));
    if (isOne && count > 1)
        throw CLI::ValidationError(option, "takes one column");
}

void CheckListOptions(CLI::App&, ListOptions& options)
{
    options.output = options.json ? "json" : options.output;
    const std::string fault = SelectionFault(options);
    if (!fault.empty())
        throw CLI::ValidationError("list", fault);
    CheckColumns("--columns", options.columns, false);
    if (!options.sort.empty())
        CheckColumns("--sort", options.sort, true);
    if (options.output == "name" && !options.columns.empty())
        throw CLI::ValidationError("--columns", "-o name has none");
    if (options.noHeader && options.output != "table" && options.output != "csv")
        throw CLI::ValidationError("--no-header", "-o " + options.output + " has none");
}

void AddVlanOptions(CLI::App& verb, VlanOptions& options)
{
    AddVlanWord(verb, options);
    AddJsonOption(verb, options.json);
}

void AddParentsOptions(CLI::App& verb, ParentsOptions& options)
{
    verb.add_flag("-a,--all", options.all, "The others, too, with the reason");
    AddJsonOption(verb, options.json);
}

void AddDoctorOptions(CLI::App& verb, DoctorOptions& options)
{
    verb.add_option(PARENT_OPTION, options.parent, "Only what concerns this adapter or team and its VLANs")
        ->type_name(PARENT_VALUE);
    CLI::Option* const repair = verb.add_option("--repair", options.names, "Mend all findings, or those that are named")
                                    ->expected(0, -1)
                                    ->type_name(FINDING_VALUE);
    verb.add_flag("-y,--yes", options.yes, "Do not ask")->needs(repair);
    verb.add_flag("--dry-run", options.dryRun, "Say what would be done, and do nothing")->needs(repair);
    AddJsonOption(verb, options.json);
    AddWaitOption(verb, options.waitSeconds);
}

void CheckDoctorOptions(CLI::App& verb, DoctorOptions& options)
{
    options.repair = verb.get_option("--repair")->count() > 0;
    std::erase(options.names, ""); // stands for an option without values
    if (options.json && options.repair && !options.yes && !options.dryRun)
        throw CLI::ValidationError("doctor", "--json asks no question: add --yes or --dry-run");
}
} // namespace

void AddReadingVerbs(CLI::App& app, Command& command)
{
    AddVerb(app, command, "list", "List the VLANs of the machine or of one parent", RunList, AddListOptions,
            CheckListOptions);
    AddVerb(app, command, "show", "Show everything about one VLAN", RunShow, AddVlanOptions);
    AddVerb(app, command, "status", "Tell whether a VLAN's miniport is loaded", RunStatus, AddVlanOptions);
    AddVerb(app, command, "settings", "List a VLAN's advanced settings", RunSettings, AddVlanOptions);
    AddVerb(app, command, "parents", "List the adapters and teams that can carry VLANs", RunParents, AddParentsOptions);
    AddVerb(app, command, "doctor", "Tell what is wrong with the VLANs of the machine, and mend it", RunDoctor,
            AddDoctorOptions, CheckDoctorOptions);
}
