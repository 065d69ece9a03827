#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

// What helps a user who does not know a verb or an option, or mistypes it.

// The word that is most like another one, when it is like enough for a slip of the keyboard; else empty.
std::string Nearest(const std::string& word, const std::vector<std::string>& words);
// "Examples:" of a verb, for the end of its help; empty when it has none.
std::string ExamplesOf(const std::string& verb);
// Makes "help" and "help VERB" of a command line "--help" and "VERB --help".
void TranslateHelp(std::vector<std::string>& lastFirst);
// Throws CLI::ValidationError for the first verb or option that there is not: before anything that is missing is told.
void RefuseUnknown(CLI::App& app, const std::vector<std::string>& lastFirst);
