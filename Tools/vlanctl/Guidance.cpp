#include "Tools/vlanctl/Guidance.h"

#include <algorithm>
#include <numeric>

namespace
{
constexpr size_t MOST_SLIPS = 2;

struct Example
{
    const char* verb;
    const char* text;
};
const Example EXAMPLES[] = {
    {"list", "vlanctl list --parent \"Port A\""},
    {"list", "vlanctl list --json"},
    {"show", "vlanctl show \"Port A/10\""},
    {"status", "vlanctl status Sales"},
    {"settings", "vlanctl settings Sales"},
    {"parents", "vlanctl parents --all"},
    {"tree", "vlanctl tree"},
    {"watch", "vlanctl watch"},
    {"report", "vlanctl report -o vlans.html"},
    {"doctor", "vlanctl doctor"},
    {"doctor", "vlanctl doctor --parent \"Port A\" --repair"},
    {"validate", "vlanctl validate --parent \"Port A\" --id 10 --name Sales"},
    {"create", "vlanctl create --parent \"Port A\" --id 10 --name Sales"},
    {"create", "vlanctl create --parent \"Team 1\" --id 20-29 --auto-names --yes"},
    {"create", "vlanctl create --parent \"Port A\" --id 0,5 --auto-names --dry-run"},
    {"remove", "vlanctl remove Sales \"Port A/20\""},
    {"remove", "vlanctl remove --all --parent \"Port A\" --yes"},
    {"rename", "vlanctl rename Sales Office"},
    {"set-id", "vlanctl set-id Sales 30"},
    {"set-type", "vlanctl set-type Sales 1"},
    {"set", "vlanctl set Sales \"*JumboPacket=9014 Bytes\" NumRssQueues=4"},
    {"reset", "vlanctl reset Sales --all"},
    {"restart", "vlanctl restart Sales"},
    {"export", "vlanctl export -o host.json"},
    {"diff", "vlanctl diff host.json"},
    {"apply", "vlanctl apply host.json --prune"},
    {"apply", "vlanctl apply host.json --yes --confirm-within 60"},
    {"confirm", "vlanctl confirm"},
    {"confirm", "vlanctl confirm --roll-back"},
    {"dsc", "vlanctl dsc export"},
    {"dsc", "vlanctl dsc get --input '{\"parent\": \"Port A\"}'"},
    {"completion", "vlanctl completion bash > /etc/bash_completion.d/vlanctl"},
    {"completion", "vlanctl completion powershell | Out-String | Invoke-Expression"},
};

// How many letters have to be put in, left out, changed, or exchanged with the next one.
size_t Slips(const std::string& one, const std::string& other)
{
    std::vector<std::vector<size_t>> slips(one.size() + 1, std::vector<size_t>(other.size() + 1));
    for (size_t row = 0; row <= one.size(); ++row)
        slips[row][0] = row;
    std::iota(slips[0].begin(), slips[0].end(), size_t{0});
    for (size_t row = 1; row <= one.size(); ++row)
    {
        for (size_t column = 1; column <= other.size(); ++column)
        {
            const size_t change = one[row - 1] == other[column - 1] ? 0 : 1;
            slips[row][column] =
                std::min({slips[row - 1][column] + 1, slips[row][column - 1] + 1, slips[row - 1][column - 1] + change});
            if (row > 1 && column > 1 && one[row - 1] == other[column - 2] && one[row - 2] == other[column - 1])
                slips[row][column] = std::min(slips[row][column], slips[row - 2][column - 2] + 1);
        }
    }
    return slips[one.size()][other.size()];
}

std::string DidYouMean(const std::string& nearest)
{
    return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

// "--id" of "--id=10"
std::string NameOf(const std::string& argument)
{
    return argument.starts_with("--") ? argument.substr(0, argument.find('=')) : argument;
}

// Where a value is missing the parser would take the next argument for it, and "--name= --dry-run" create a VLAN of
// that name; an empty one, of a variable that is not set, would stand for none. A value that begins with "--" can be
// given as "--name=--value".
void RefuseMissingValue(const CLI::Option& option, const std::string& argument, const std::string* next)
{
    const bool isEmpty = argument.starts_with("--") && argument.find('=') + 1 == argument.size();
    const bool isNeeded = option.get_items_expected_min() > 0 && TakesNext(option, argument);
    if (isEmpty || (isNeeded && next != nullptr && (next->empty() || next->starts_with("--"))))
        throw CLI::ValidationError(argument, "the value is missing");
}
} // namespace

std::vector<std::string> VerbsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* const verb : app.get_subcommands([](const CLI::App*) { return true; }))
    {
        if (!verb->get_group().empty()) // those without a group are hidden
            names.push_back(verb->get_name());
    }
    return names;
}

std::vector<std::string> OptionsOf(const CLI::App& verb)
{
    std::vector<std::string> names;
    for (const CLI::Option* const option : verb.get_options())
    {
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    }
    return names;
}

const CLI::Option* FindOption(const CLI::App& verb, const std::string& argument)
{
    return verb.get_option_no_throw(argument.starts_with("--") ? NameOf(argument) : argument.substr(0, 2));
}

bool TakesNext(const CLI::Option& option, const std::string& argument)
{
    const bool hasValue = argument.starts_with("--") ? argument.find('=') != std::string::npos : argument.size() > 2;
    return option.get_items_expected_max() > 0 && !hasValue;
}

std::string Nearest(const std::string& word, const std::vector<std::string>& words)
{
    std::string nearest;
    size_t fewest = std::min(MOST_SLIPS, word.size() / 2) + 1;
    for (const std::string& candidate : words)
    {
        const size_t slips = Slips(word, candidate);
        if (slips < fewest)
        {
            fewest = slips;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string ExamplesOf(const std::string& verb)
{
    std::string text;
    for (const Example& example : EXAMPLES)
    {
        if (verb == example.verb)
            text += std::string(text.empty() ? "Examples:" : "") + "\n  " + example.text;
    }
    return text;
}

void TranslateHelp(std::vector<std::string>& lastFirst)
{
    if (lastFirst.empty() || lastFirst.back() != "help" || lastFirst.size() > 2)
        return;
    lastFirst.pop_back();
    lastFirst.insert(lastFirst.begin(), "--help");
}

void RefuseUnknown(CLI::App& app, const std::vector<std::string>& lastFirst)
{
    if (lastFirst.empty() || lastFirst.back().starts_with('-'))
        return;
    const std::vector<CLI::App*> verbs =
        app.get_subcommands([&](CLI::App* verb) { return verb->check_name(lastFirst.back()); });
    if (verbs.empty())
        throw CLI::ValidationError(lastFirst.back(),
                                   "there is no such verb" + DidYouMean(Nearest(lastFirst.back(), VerbsOf(app))));
    const CLI::App* const verb = verbs.front();
    for (auto argument = lastFirst.rbegin() + 1; argument != lastFirst.rend() && *argument != "--"; ++argument)
    {
        if (!argument->starts_with('-') || argument->size() < 2)
            continue;
        const CLI::Option* const option = FindOption(*verb, *argument);
        if (option == nullptr)
            throw CLI::ValidationError(NameOf(*argument), verb->get_name() + " has no such option" +
                                                              DidYouMean(Nearest(NameOf(*argument), OptionsOf(*verb))));
        const bool isLast = argument + 1 == lastFirst.rend();
        RefuseMissingValue(*option, *argument, isLast ? nullptr : &*(argument + 1));
        if (TakesNext(*option, *argument) && !isLast)
            ++argument;
    }
}
