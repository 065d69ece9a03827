// The command line of what helps to write a command line.

#include "Tools/vlanctl/Verbs.h"

namespace
{
void AddCompletionOptions(CLI::App& verb, CompletionOptions& options)
{
    verb.add_option("SHELL", options.shell, "bash or powershell")
        ->required()
        ->check(CLI::Validator(CLI::IsMember({"bash", "powershell"})).description(""))
        ->type_name("");
}

void AddCompleteOptions(CLI::App& verb, CompleteOptions& options)
{
    verb.add_option("LINE", options.line)->required();
    verb.group(""); // the script of a shell calls it
}
} // namespace

void AddHelpingVerbs(CLI::App& app, Command& command)
{
    AddVerb(app, command, "completion", "Print what teaches a shell to complete verbs, options and names",
            RunCompletion, AddCompletionOptions);
    AddVerb(app, command, "complete", "", RunComplete, AddCompleteOptions);
}
