// The command line of the verbs that change a VLAN which is there.

#include "Tools/vlanctl/Verbs.h"

namespace
{
template <typename Options>
void AddVlan(CLI::App& verb, Options& options)
{
    AddVlanWord(verb, options);
    AddChangeOptions(verb, options);
    AddJsonOption(verb, options.json);
}

void AddRenameOptions(CLI::App& verb, RenameOptions& options)
{
    AddVlan(verb, options);
    verb.add_option("NAME", options.name, "Its new name, up to 32 characters (most emoji count as two)")
        ->required()
        ->type_name("");
}

void AddSetIdOptions(CLI::App& verb, SetIdOptions& options)
{
    AddVlan(verb, options);
    verb.add_option("ID", options.id, "Its new id, 1 to 4094")->required()->type_name("");
}

void AddSetTypeOptions(CLI::App& verb, SetTypeOptions& options)
{
    AddVlan(verb, options);
    verb.add_option("TYPE", options.type, "0, 1 or 2")->required()->check(CLI::Range(0, 2))->type_name("");
}

constexpr char HIDDEN_HELP[] = "Also settings that the driver does not offer";

void AddSetOptions(CLI::App& verb, SetOptions& options)
{
    AddVlan(verb, options);
    verb.add_option(SETTING_AND_VALUE, options.values,
                    "A setting and its value, or the value's text; several are possible")
        ->required()
        ->type_name("");
    verb.add_flag("--hidden", options.hidden, HIDDEN_HELP);
}

void AddResetOptions(CLI::App& verb, ResetOptions& options)
{
    AddVlan(verb, options);
    CLI::Option* const names =
        verb.add_option(SETTING_VALUE, options.names, "Settings that get their default value again")->type_name("");
    verb.add_flag("-a,--all", options.all, "All settings")->excludes(names);
    verb.add_flag("--hidden", options.hidden, HIDDEN_HELP);
}

void CheckResetOptions(CLI::App&, ResetOptions& options)
{
    if (options.names.empty() && !options.all)
        throw CLI::ValidationError("reset", "name a setting, or all of them with --all");
}
} // namespace

void AddChangingVerbs(CLI::App& app, Command& command)
{
    AddVerb(app, command, "rename", "Give a VLAN another name", RunRename, AddRenameOptions);
    AddVerb(app, command, "set-id", "Give a tagged VLAN another id", RunSetId, AddSetIdOptions);
    AddVerb(app, command, "set-type", "Give a VLAN another type", RunSetType, AddSetTypeOptions);
    AddVerb(app, command, "set", "Change advanced settings of a VLAN", RunSet, AddSetOptions);
    AddVerb(app, command, "reset", "Give advanced settings of a VLAN their default values", RunReset, AddResetOptions,
            CheckResetOptions);
    AddVerb(app, command, "restart", "Reload a VLAN's miniport", RunRestart, AddVlan<RestartOptions>);
}
