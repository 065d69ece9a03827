#pragma once

#include "Tools/vlanctl/Commands.h"
#include "Tools/vlanctl/Guidance.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <memory>

// The verbs as the command line has them: one function for each group adds them to the parser.

// What a verb does once the suite is there.
using Command = std::function<ExitStatus(CSession&)>;

// How a VLAN is named.
inline constexpr char VLAN_HELP[] = "Name, display name, PARENT/ID, id, key, or # and the instance number";
inline constexpr char INSTANCE_HELP[] = "VLAN is an instance number";

// The verb that is chosen puts what it does into `command`.
void AddReadingVerbs(CLI::App& app, Command& command);
void AddCreatingVerbs(CLI::App& app, Command& command);
void AddChangingVerbs(CLI::App& app, Command& command);
void AddDesiredVerbs(CLI::App& app, Command& command);
void AddLookingVerbs(CLI::App& app, Command& command);

// What several verbs have in common.
void AddJsonOption(CLI::App& verb, bool& json, const char* help = "Output for programs");
void AddWaitOption(CLI::App& verb, unsigned& seconds);
void AddChangeOptions(CLI::App& verb, ChangeOptions& options);

// Writes the numbers that are said to be instance numbers as such.
template <typename Options>
void MarkInstances(Options& options)
{
    if (!options.instance)
        return;
    if constexpr (requires { options.vlans; })
        std::for_each(options.vlans.begin(), options.vlans.end(), [](std::string& vlan) { vlan.insert(0, "#"); });
    else
        options.vlan.insert(0, "#");
}

// Adds a verb with options of a type of its own, which live as long as the parser. `check` throws CLI::ValidationError
// when they do not fit together.
template <typename Options>
void AddVerb(CLI::App& app, Command& command, const char* name, const char* help,
             ExitStatus (*run)(CSession&, const Options&), void (*define)(CLI::App&, Options&),
             void (*check)(CLI::App&, Options&) = nullptr)
{
    CLI::App* const verb = app.add_subcommand(name, help);
    verb->footer(ExamplesOf(name));
    const auto options = std::make_shared<Options>();
    define(*verb, *options);
    verb->callback([=, &command] {
        if (check != nullptr)
            check(*verb, *options);
        if constexpr (requires { options->instance; })
            MarkInstances(*options);
        command = [=](CSession& session) { return run(session, *options); };
    });
}
