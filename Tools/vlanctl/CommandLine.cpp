#include "Tools/vlanctl/CommandLine.h"

#include "Tools/vlanctl/Guidance.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Verbs.h"

#include <algorithm>
#include <sstream>

namespace
{
bool Wants(const std::vector<std::string>& lastFirst, const std::string& option)
{
    const auto end = std::find(lastFirst.rbegin(), lastFirst.rend(), "--");
    return std::find(lastFirst.rbegin(), end, option) != end;
}

// Also as the form of a list; other verbs have files there.
bool WantsJson(const std::vector<std::string>& lastFirst)
{
    bool wants = Wants(lastFirst, "--json") || Wants(lastFirst, "-j");
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
        return command();
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
    const bool json = WantsJson(arguments);
    Command command;
    const std::unique_ptr<CLI::App> parser = MakeParser(command);
    CLI::App& app = *parser;
    try
    {
        TranslateHelp(arguments);
        RefuseUnknown(app, arguments);
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
