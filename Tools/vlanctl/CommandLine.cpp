#include "Tools/vlanctl/CommandLine.h"

#include "Tools/vlanctl/Guidance.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Verbs.h"

#include <algorithm>
#include <sstream>

namespace
{
// Where a value is missing the parser would take the next argument for it, and "--name= --dry-run" create a VLAN of
// that name; an empty one, of a variable that is not set, would stand for none. A value that begins with "--" can be
// given as "--name=--value".
void RefuseMissingValues(const std::vector<std::string>& lastFirst)
{
    const std::string names[] = {"--parent",         "--id",     "--name",    "--wait", "--output",
                                 "--confirm-within", "--status", "--columns", "--sort"};
    for (auto argument = lastFirst.rbegin(); argument != lastFirst.rend() && *argument != "--"; ++argument)
    {
        const auto next = argument + 1;
        const bool named = std::find(std::begin(names), std::end(names), *argument) != std::end(names);
        if ((argument->starts_with("--") && argument->find('=') + 1 == argument->size()) ||
            (named && next != lastFirst.rend() && (next->empty() || next->starts_with("--"))))
            throw CLI::ValidationError(*argument, "the value is missing");
    }
}

bool Wants(const std::vector<std::string>& lastFirst, const std::string& option)
{
    const auto end = std::find(lastFirst.rbegin(), lastFirst.rend(), "--");
    return std::find(lastFirst.rbegin(), end, option) != end;
}

// Also as the form of a list; other verbs have files there.
bool WantsJson(const std::vector<std::string>& lastFirst)
{
    bool wants = Wants(lastFirst, "--json");
    if (lastFirst.empty() || lastFirst.back() != "list")
        return wants;
    for (const char* const option : {"-ojson", "-o=json", "--output=json"})
        wants = wants || Wants(lastFirst, option);
    for (auto argument = lastFirst.rbegin(); argument + 1 < lastFirst.rend(); ++argument)
        wants = wants || ((*argument == "-o" || *argument == "--output") && *(argument + 1) == "json");
    return wants;
}

// An error that ends a command, for programs: they never have to read nothing.
ExitStatus Fail(ExitStatus status, const Note& note, const std::string& text, bool json)
{
    PrintError(text);
    if (json)
        PrintJson({{"exitStatus", status}, {"error", NoteToJson(note)}});
    return status;
}

ExitStatus Run(const Command& command, bool json)
{
    try
    {
        CSession session;
        return command(session);
    }
    catch (const CommandError& error)
    {
        return Fail(error.Status(), error.What(), std::string("vlanctl: ") + error.what() + "\n", json);
    }
    catch (const std::exception& error)
    {
        const Note note = NoteOf("internal", std::string("internal error: ") + error.what());
        return Fail(EXIT_REFUSED, note, "vlanctl: " + note.meaning + "\n", json);
    }
}

std::string ExitStatusHelp()
{
    std::string text = "Exit status:";
    for (const ExitStatusText& entry : EXIT_STATUS_TEXTS)
        text += "\n  " + std::to_string(entry.status) + "  " + entry.text;
    return text;
}

// Output that was not written is a failure whatever was done; that has been told on standard error then.
ExitStatus WithOutput(ExitStatus status)
{
    const bool isGood =
        status == EXIT_DONE || status == EXIT_RESTART || status == EXIT_NOT_LOADED || status == EXIT_FINDINGS;
    return isGood && !IsOutputWhole() ? EXIT_REFUSED : status;
}
} // namespace

ExitStatus RunCommandLine(std::vector<std::string> arguments)
{
    CLI::App app("IEEE 802.1Q VLANs on network adapters and teams", "vlanctl");
    app.set_version_flag("--version", "vlanctl " RAV_VERSION);
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // "/x" is a name that is refused for its slash, not an option
    app.footer(ExitStatusHelp());
    const bool json = WantsJson(arguments);
    Command command;
    AddReadingVerbs(app, command);
    AddLookingVerbs(app, command);
    AddCreatingVerbs(app, command);
    AddChangingVerbs(app, command);
    AddDesiredVerbs(app, command);
    try
    {
        TranslateHelp(arguments);
        RefuseUnknown(app, arguments);
        RefuseMissingValues(arguments);
        app.parse(arguments);
    }
    catch (const CLI::Success& request)
    {
        std::ostringstream out;
        app.exit(request, out, out);
        Print(out.str());
        return WithOutput(EXIT_DONE);
    }
    catch (const CLI::ParseError& error)
    {
        std::ostringstream out;
        app.exit(error, out, out);
        return Fail(EXIT_USAGE, NoteOf("usage", error.what()), out.str(), json);
    }
    return WithOutput(Run(command, json));
}
