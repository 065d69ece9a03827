// The command line of validate, create and remove.

#include "Tools/vlanctl/Verbs.h"

#include "Tools/vlanctl/WantedVlans.h"

namespace
{
void AddRequestOptions(CLI::App& verb, CreateOptions& options)
{
    verb.add_option(PARENT_OPTION, options.parent, "Adapter or team: name, instance number or key")
        ->required()
        ->type_name(PARENT_VALUE);
    verb.add_option("-i,--id", options.ids,
                    "Ids and ranges (10,20-29), each with =NAME behind it or not; 0 or untagged is the untagged VLAN")
        ->required()
        ->type_name("IDS");
    CLI::Option* const name =
        verb.add_option("-n,--name", options.name,
                        "Name, up to 32 characters (most emoji count as two); {id} in it becomes the VLAN's id");
    name->type_name("NAME");
    verb.add_flag("--auto-names", options.autoNames, "Name each VLAN after its id")->excludes(name);
    AddJsonOption(verb, options.json);
}

void CheckRequestOptions(CLI::App& verb, CreateOptions& options)
{
    const bool isNamed = !options.name.empty() || options.autoNames;
    const bool isNameMissing = ParseWanted(options.ids, std::nullopt).isNameMissing;
    if (isNameMissing && !isNamed)
        throw CLI::ValidationError(verb.get_name(),
                                   "VLANs need names: --name NAME, --auto-names, or --id 10=Sales,20=Voice");
    if (!isNameMissing && !options.name.empty())
        throw CLI::ValidationError(verb.get_name(), "each VLAN has its name in --id: leave --name out");
}

void AddRemoveOptions(CLI::App& verb, RemoveOptions& options)
{
    CLI::Option* const vlans = verb.add_option(VLAN_VALUE, options.vlans, VLAN_HELP)->type_name("");
    verb.add_flag("--instance", options.instance, INSTANCE_HELP);
    CLI::Option* const parent =
        verb.add_option(PARENT_OPTION, options.parent, "The parent that --all is about")->type_name(PARENT_VALUE);
    CLI::Option* const all =
        verb.add_flag("-a,--all", options.all, "All VLANs of the parent")->needs(parent)->excludes(vlans);
    parent->needs(all);
    verb.add_flag("--if-exists", options.ifExists, "A VLAN that is not there is no error")->excludes(all);
    AddChangeOptions(verb, options);
    AddJsonOption(verb, options.json, "Output for programs; with --yes or --dry-run");
}

void CheckRemoveOptions(CLI::App&, RemoveOptions& options)
{
    if (options.vlans.empty() && !options.all)
        throw CLI::ValidationError("remove", "name a VLAN, or all of them with --all --parent PARENT");
    if (options.json && !options.yes && !options.dryRun)
        throw CLI::ValidationError("remove", "--json asks no question: add --yes or --dry-run");
}

void AddCreateOptions(CLI::App& verb, CreateOptions& options)
{
    AddRequestOptions(verb, options);
    verb.add_flag("--if-missing", options.ifMissing, "Create only those that are not there with the same id and name");
    AddChangeOptions(verb, options);
}
} // namespace

void AddCreatingVerbs(CLI::App& app, Command& command)
{
    AddVerb(app, command, "validate", "Tell what stands against creating VLANs; changes nothing", RunValidate,
            AddRequestOptions, CheckRequestOptions);
    AddVerb(app, command, "create", "Create VLANs", RunCreate, AddCreateOptions, CheckRequestOptions);
    AddVerb(app, command, "remove", "Remove VLANs", RunRemove, AddRemoveOptions, CheckRemoveOptions);
}
