#pragma once

#include "Tools/vlanctl/Commands.h"
#include "Tools/vlanctl/Guidance.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <memory>

// The verbs as the command line has them: one function for each group adds them to the parser.

// What the verb that was chosen does.
using Command = std::function<ExitStatus()>;

// What the values of an option or the words of a verb are, as its help shows it and completion knows it. Choices have
// bars between them.
inline constexpr char PARENT_VALUE[] = "PARENT";
inline constexpr char VLAN_VALUE[] = "VLAN";
inline constexpr char SETTING_VALUE[] = "SETTING";
inline constexpr char SETTING_AND_VALUE[] = "SETTING=VALUE";
inline constexpr char COLUMN_VALUE[] = "COLUMN";
inline constexpr char FINDING_VALUE[] = "FINDING";
inline constexpr char FILE_VALUE[] = "FILE";

inline constexpr char PARENT_OPTION[] = "-p,--parent";

// How a VLAN is named.
inline constexpr char VLAN_HELP[] = "Name, display name, PARENT/ID, id, key, or # and the instance number";
inline constexpr char INSTANCE_HELP[] = "VLAN is an instance number";

// The verb that is chosen puts what it does into `command`.
void AddReadingVerbs(CLI::App& app, Command& command);
void AddCreatingVerbs(CLI::App& app, Command& command);
void AddChangingVerbs(CLI::App& app, Command& command);
void AddDesiredVerbs(CLI::App& app, Command& command);
void AddLookingVerbs(CLI::App& app, Command& command);
void AddHelpingVerbs(CLI::App& app, Command& command);
// The parser with all of them.
std::unique_ptr<CLI::App> MakeParser(Command& command);

// What several verbs have in common.
template <typename Options>
void AddVlanWord(CLI::App& verb, Options& options)
{
    verb.add_option(VLAN_VALUE, options.vlan, VLAN_HELP)->required()->type_name("");
    verb.add_flag("--instance", options.instance, INSTANCE_HELP);
}
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

template <typename Options>
ExitStatus RunVerb(ExitStatus (*run)(const Options&), const Options& options)
{
    return run(options);
}
template <typename Options>
ExitStatus RunVerb(ExitStatus (*run)(CSession&, const Options&), const Options& options)
{
    CSession session;
    return run(session, options);
}

// Adds a verb with options of a type of its own, which live as long as the parser. `check` throws CLI::ValidationError
// when they do not fit together. `run` is for a verb that needs the suite, or for one that does not.
template <typename Run, typename Options>
void AddVerb(CLI::App& app, Command& command, const char* name, const char* help, Run run,
             void (*define)(CLI::App&, Options&), void (*check)(CLI::App&, Options&) = nullptr)
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
        command = [=] { return RunVerb<Options>(run, *options); };
    });
}
