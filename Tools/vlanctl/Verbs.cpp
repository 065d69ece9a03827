#include "Tools/vlanctl/Verbs.h"

void AddJsonOption(CLI::App& verb, bool& json, const char* help)
{
    verb.add_flag("--json", json, help);
}

void AddWaitOption(CLI::App& verb, unsigned& seconds)
{
    verb.add_option("--wait", seconds, "Seconds to wait for the configuration lock, 10 without it")
        ->check(CLI::Range(0, 3600));
}

void AddChangeOptions(CLI::App& verb, ChangeOptions& options)
{
    verb.add_flag("--yes", options.yes, "Do not ask");
    verb.add_flag("--dry-run", options.dryRun, "Say what would be done, and do nothing");
    verb.add_flag("--repair", options.repair, "Mend at once what a failure or an interruption leaves");
    AddWaitOption(verb, options.waitSeconds);
}
