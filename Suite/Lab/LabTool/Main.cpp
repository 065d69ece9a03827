#include "Suite/Lab/LabTool/LabCommands.h"

#include "Suite/Lab/LabTool/HostBuilder.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <CLI/CLI.hpp>

#include <windows.h>

#include <functional>
#include <iostream>

void Write(const std::string& text)
{
    std::cout << text;
}

namespace
{
// Removes the host even when the platform could not be stopped: as long as a host is there no other can be built.
std::string TakeDown()
{
    std::string errors = StopPlatform();
    RemoveHost();
    return errors;
}

void RunUp(const std::string& file)
{
    if (LabHasKey(LAB_KEY))
        throw LabError("the lab is up already; 'lab down' takes it down first");
    const LabHost host = ReadHostFile(FromUtf8(file));
    try
    {
        if (!BuildHost(host, ProgramFolder()))
            throw LabError("the registry could not be written");
        StartPlatform(host.edition);
    }
    catch (...)
    {
        TakeDown();
        throw;
    }
    const auto count = [](size_t number, const char* what) {
        return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
    };
    Write("the lab is up: " + count(host.adapters.size(), "adapter") + ", " + count(host.teams.size(), "team") + ", " +
          count(host.vlans.size(), "VLAN") + "\n");
}

void RunDown()
{
    if (!LabHasKey(LAB_KEY))
    {
        Write("the lab is not up\n");
        return;
    }
    const std::string errors = TakeDown();
    if (!errors.empty())
        throw LabError("the lab is down, but: " + errors);
    Write("the lab is down\n");
}

// The verbs of "lab team", each with what it takes.
void AddTeamCommands(CLI::App& app, TeamRequest& request, std::function<void()>& command)
{
    CLI::App* const team = app.add_subcommand("team", "Change a team, as its administrator does");
    team->require_subcommand(1);
    const auto add = [&](const char* verb, const char* help) {
        CLI::App* const sub = team->add_subcommand(verb, help);
        sub->add_option("TEAM", request.team, "The team: name, instance number or key")->required();
        sub->callback([&request, &command, verb] {
            request.verb = verb;
            command = [&request] { RunTeam(request); };
        });
        return sub;
    };
    const auto addMembers = [&](CLI::App* sub) {
        return sub->add_option("ADAPTER", request.members, "Display name, instance number or key")->required();
    };
    CLI::App* const create = add("create", "Make a team of adapters");
    addMembers(create);
    create->add_option("--mode", request.mode, "1 to 6");
    add("rename", "Give it another name; its VLANs follow")
        ->add_option("NAME", request.newName, "The new name")
        ->required();
    add("delete", "Take it apart, with its VLANs");
    addMembers(add("add", "An adapter joins it, and gets its VLANs"))->expected(1);
    addMembers(add("remove", "An adapter leaves it, and gets back what it had"))->expected(1);
    add("mode", "Change its mode")->add_option("MODE", request.mode, "1 to 6")->required();
}

int RunLab()
{
    CLI::App app("A host to try the VLAN agent on, without hardware", "lab");
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // a host file may be named by a path that begins with a slash
    std::function<void()> command;
    std::string file;
    std::string name;
    std::string property;
    std::string value;
    bool json = false;
    TeamRequest team;

    CLI::App* const up = app.add_subcommand("up", "Build the host that a file describes");
    up->add_option("HOST", file, "Host file (JSON)")->required();
    up->callback([&] { command = [&] { RunUp(file); }; });
    CLI::App* const show = app.add_subcommand("show", "Show the host");
    show->add_flag("--json", json, "Output for programs");
    show->callback([&] { command = [&] { RunShow(json ? OutputFormat::Json : OutputFormat::Table); }; });
    CLI::App* const set = app.add_subcommand("set", "Change one property of an adapter, team or VLAN");
    set->add_option("NAME", name, "Display name, instance number or key")->required();
    set->add_option("PROPERTY", property, "What to change; an unknown one lists them")->required();
    set->add_option("VALUE", value, "on or off; of address, localMac and jumbo, what it is to be")->required();
    set->callback([&] { command = [&] { RunSet(name, property, value); }; });
    app.add_subcommand("restart", "Do what waits for a restart of the system")->callback([&] { command = RunRestart; });
    CLI::App* const breaking = app.add_subcommand("break", "Break the host, for 'vlanctl doctor' to find");
    breaking->add_option("WHAT", property, "The finding to make; an unknown one lists them")->required();
    breaking->add_option("NAME", name, "The adapter or VLAN: display name, instance number or key")->required();
    breaking->callback([&] { command = [&] { RunBreak(property, name); }; });
    AddTeamCommands(app, team, command);
    app.add_subcommand("down", "Take the host out again")->callback([&] { command = RunDown; });
    try
    {
        app.parse(ArgumentsLastFirst());
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : 2;
    }
    try
    {
        if (IsRealWindows())
            throw LabError("this is a real Windows: the lab would overwrite its network configuration");
        command();
        return 0;
    }
    catch (const DriverError& error)
    {
        std::cerr << "lab: " << error.what() << "\n";
        return 3;
    }
    catch (const std::exception& error)
    {
        std::cerr << "lab: " << error.what() << "\n";
        return 1;
    }
}
} // namespace

int main()
{
    try
    {
        return RunLab();
    }
    catch (...)
    {
        return 1; // no memory for a message
    }
}
