#include "Tools/vlanctl/Verbs.h"

namespace
{
std::string ExitStatusHelp()
{
    std::string text = "Exit status:";
    for (const ExitStatusText& entry : EXIT_STATUS_TEXTS)
        text += "\n  " + std::to_string(entry.status) + "  " + entry.text;
    return text;
}
} // namespace

std::unique_ptr<CLI::App> MakeParser(Command& command)
{
    auto app = std::make_unique<CLI::App>("IEEE 802.1Q VLANs on network adapters and teams", "vlanctl");
    app->set_version_flag("--version", "vlanctl " RAV_VERSION);
    app->require_subcommand(1);
    app->allow_windows_style_options(false); // "/x" is a name that is refused for its slash, not an option
    app->footer(ExitStatusHelp());
    AddReadingVerbs(*app, command);
    AddLookingVerbs(*app, command);
    AddCreatingVerbs(*app, command);
    AddChangingVerbs(*app, command);
    AddDesiredVerbs(*app, command);
    AddHelpingVerbs(*app, command);
    return app;
}

void AddJsonOption(CLI::App& verb, bool& json, const char* help)
{
    verb.add_flag("-j,--json", json, help);
}

void AddWaitOption(CLI::App& verb, unsigned& seconds)
{
    verb.add_option("-w,--wait", seconds, "Seconds to wait for the configuration lock, 10 without it")
        ->check(CLI::Range(0, 3600));
}

void AddChangeOptions(CLI::App& verb, ChangeOptions& options)
{
    verb.add_flag("-y,--yes", options.yes, "Do not ask");
    verb.add_flag("--dry-run", options.dryRun, "Say what would be done, and do nothing");
    verb.add_flag("--repair", options.repair, "Mend at once what a failure or an interruption leaves");
    AddWaitOption(verb, options.waitSeconds);
}
