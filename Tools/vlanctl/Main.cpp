#include "Tools/vlanctl/Commands.h"
#include "Tools/vlanctl/Output.h"

#include <CLI/CLI.hpp>

#include <windows.h>

#include <algorithm>
#include <functional>
#include <sstream>

namespace
{
// Where a value is missing the parser would take the next argument for it, and "--name= --dry-run" create a VLAN of
// that name. A value that begins with "--" can be given as "--name=--value".
void RefuseMissingValues(const std::vector<std::string>& lastFirst)
{
    const std::string names[] = {"--parent", "--id", "--name", "--wait"};
    for (auto argument = lastFirst.rbegin(); argument != lastFirst.rend() && *argument != "--"; ++argument)
    {
        const auto next = argument + 1;
        const bool named = std::find(std::begin(names), std::end(names), *argument) != std::end(names);
        if ((argument->starts_with("--") && argument->find('=') + 1 == argument->size()) ||
            (named && next != lastFirst.rend() && next->starts_with("--")))
            throw CLI::ValidationError(*argument, "the value is missing");
    }
}

struct Options
{
    ListOptions list;
    VlanOptions vlan;
    ParentsOptions parents;
    CreateOptions create;
    RemoveOptions remove;
};

using Command = std::function<ExitStatus(CSession&)>;

void AddReadingVerbs(CLI::App& app, Options& options, Command& command)
{
    CLI::App* const list = app.add_subcommand("list", "List the VLANs of the machine or of one parent");
    list->add_option("--parent", options.list.parent, "Only those of this adapter or team");
    list->add_flag("--json", options.list.json, "Output for programs");
    list->callback([&] { command = [&](CSession& session) { return RunList(session, options.list); }; });

    const auto vlanVerb = [&](const char* name, const char* help, ExitStatus (*run)(CSession&, const VlanOptions&)) {
        CLI::App* const verb = app.add_subcommand(name, help);
        verb->add_option("VLAN", options.vlan.vlan, "Name, display name, PARENT/ID, instance number or key")
            ->required();
        verb->add_flag("--json", options.vlan.json, "Output for programs");
        verb->callback([&options, &command, run] {
            command = [&options, run](CSession& session) { return run(session, options.vlan); };
        });
    };
    vlanVerb("show", "Show everything about one VLAN", RunShow);
    vlanVerb("status", "Tell whether a VLAN's miniport is loaded", RunStatus);
    vlanVerb("settings", "List a VLAN's advanced settings", RunSettings);

    CLI::App* const parents = app.add_subcommand("parents", "List the adapters and teams that can carry VLANs");
    parents->add_flag("--all", options.parents.all, "The others, too, with the reason");
    parents->add_flag("--json", options.parents.json, "Output for programs");
    parents->callback([&] { command = [&](CSession& session) { return RunParents(session, options.parents); }; });
}

CLI::App* AddRequestVerb(CLI::App& app, Options& options, const char* name, const char* help)
{
    CLI::App* const verb = app.add_subcommand(name, help);
    verb->add_option("--parent", options.create.parent, "Adapter or team: name, instance number or key")->required();
    verb->add_option("--id", options.create.ids,
                     "One id (10), several (10,20,30) or a range (5-9); 0 is the untagged VLAN")
        ->required();
    CLI::Option_group* const names = verb->add_option_group("name");
    names->add_option("--name", options.create.name, "Name of the VLAN, up to 32 characters (most emoji count as two)");
    names->add_flag("--auto-names", options.create.autoNames, "Name each VLAN after its id");
    names->require_option(1);
    verb->add_flag("--json", options.create.json, "Output for programs");
    return verb;
}

void AddChangingVerbs(CLI::App& app, Options& options, Command& command)
{
    AddRequestVerb(app, options, "validate", "Tell what stands against creating VLANs; changes nothing")->callback([&] {
        command = [&](CSession& session) { return RunValidate(session, options.create); };
    });
    CLI::App* const create = AddRequestVerb(app, options, "create", "Create VLANs");
    create->add_flag("--dry-run", options.create.dryRun, "Say what would be done, and do nothing");
    create
        ->add_option("--wait", options.create.waitSeconds, "Seconds to wait for the configuration lock, 10 without it")
        ->check(CLI::Range(0, 3600));
    create->callback([&] { command = [&](CSession& session) { return RunCreate(session, options.create); }; });

    CLI::App* const remove = app.add_subcommand("remove", "Remove VLANs");
    CLI::Option* const vlans =
        remove->add_option("VLAN", options.remove.vlans, "Name, display name, PARENT/ID, instance number or key");
    CLI::Option* const parent = remove->add_option("--parent", options.remove.parent, "The parent that --all is about");
    CLI::Option* const all =
        remove->add_flag("--all", options.remove.all, "All VLANs of the parent")->needs(parent)->excludes(vlans);
    parent->needs(all);
    remove->add_flag("--yes", options.remove.yes, "Do not ask");
    remove->add_flag("--dry-run", options.remove.dryRun, "Say what would be done, and do nothing");
    remove->add_flag("--json", options.remove.json, "Output for programs; with --yes or --dry-run");
    remove
        ->add_option("--wait", options.remove.waitSeconds, "Seconds to wait for the configuration lock, 10 without it")
        ->check(CLI::Range(0, 3600));
    remove->callback([&] {
        if (options.remove.vlans.empty() && !options.remove.all)
            throw CLI::ValidationError("remove", "name a VLAN, or all of them with --all --parent PARENT");
        if (options.remove.json && !options.remove.yes && !options.remove.dryRun)
            throw CLI::ValidationError("remove", "--json asks no question: add --yes or --dry-run");
        command = [&](CSession& session) { return RunRemove(session, options.remove); };
    });
}

ExitStatus Run(const Command& command)
{
    try
    {
        CSession session;
        return command(session);
    }
    catch (const CommandError& error)
    {
        PrintError(std::string("vlanctl: ") + error.what() + "\n");
        return error.Status();
    }
    catch (const std::exception& error)
    {
        PrintError(std::string("vlanctl: internal error: ") + error.what() + "\n");
        return EXIT_REFUSED;
    }
}

int RunVlanctl()
{
    CLI::App app("IEEE 802.1Q VLANs on network adapters and teams", "vlanctl");
    app.set_version_flag("--version", "vlanctl " RAV_VERSION);
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // "/x" is a name that is refused for its slash, not an option
    app.footer("Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 no management suite or no agent.");
    Options options;
    Command command;
    AddReadingVerbs(app, options, command);
    AddChangingVerbs(app, options, command);
    try
    {
        std::vector<std::string> arguments = ArgumentsLastFirst();
        RefuseMissingValues(arguments);
        if (!arguments.empty() && !arguments.back().starts_with('-') &&
            app.get_subcommands([&](CLI::App* verb) { return verb->check_name(arguments.back()); }).empty())
            throw CLI::ValidationError(arguments.back(), "there is no such verb");
        app.parse(arguments);
    }
    catch (const CLI::Success& request)
    {
        std::ostringstream out;
        app.exit(request, out, out);
        Print(out.str());
        return EXIT_DONE;
    }
    catch (const CLI::ParseError& error)
    {
        std::ostringstream out;
        app.exit(error, out, out);
        PrintError(out.str());
        return EXIT_USAGE;
    }
    return Run(command);
}
} // namespace

int main()
{
    try
    {
        return RunVlanctl();
    }
    catch (...)
    {
        return EXIT_REFUSED; // no memory for a message
    }
}
