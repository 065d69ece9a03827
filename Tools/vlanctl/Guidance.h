#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

// What helps a user who does not know a verb or an option, or mistypes it.

// The names of the verbs that help shows.
std::vector<std::string> VerbsOf(const CLI::App& app);
// "--id" and its like.
std::vector<std::string> OptionsOf(const CLI::App& verb);
// The option of an argument ("--id=10", "-i10"); null when there is none.
const CLI::Option* FindOption(const CLI::App& verb, const std::string& argument);
// Whether its value is the next argument.
bool TakesNext(const CLI::Option& option, const std::string& argument);
// The word that is most like another one, when it is like enough for a slip of the keyboard; else empty.
std::string Nearest(const std::string& word, const std::vector<std::string>& words);
// "Examples:" of a verb, for the end of its help; empty when it has none.
std::string ExamplesOf(const std::string& verb);
// Makes "help" and "help VERB" of a command line "--help" and "VERB --help".
void TranslateHelp(std::vector<std::string>& lastFirst);
// Throws CLI::ValidationError for the first verb, option or value that there is not: before anything else that is
// missing is told.
void RefuseUnknown(CLI::App& app, const std::vector<std::string>& lastFirst);
