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
// The host goes whatever becomes of the rest: a lab that cannot be taken down would be in the way for ever.
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

    CLI::App* const up = app.add_subcommand("up", "Build the host that a file describes");
    up->add_option("HOST", file, "Host file (JSON)")->required();
    up->callback([&] { command = [&] { RunUp(file); }; });
    CLI::App* const show = app.add_subcommand("show", "Show the host");
    show->add_flag("--json", json, "Output for programs");
    show->callback([&] { command = [&] { RunShow(json ? OutputFormat::Json : OutputFormat::Table); }; });
    CLI::App* const set = app.add_subcommand("set", "Change one property of an adapter, team or VLAN");
    set->add_option("NAME", name, "Display name, instance number or key")->required();
    set->add_option("PROPERTY", property, "What to change; an unknown one lists them")->required();
    set->add_option("VALUE", value, "on or off")->required();
    set->callback([&] { command = [&] { RunSet(name, property, value); }; });
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
