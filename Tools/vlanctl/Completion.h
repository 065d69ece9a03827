#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

// What could stand where a user has stopped writing a command. Pure: what only the machine knows is left to the caller.

// What is to be completed.
struct Completion
{
    std::string typed;              // as much of it as is there
    std::string before;             // what stands before it in the same word: "--parent="
    std::string kind;               // of value, as the verbs have them: "PARENT"; empty: `words` are all there are
    std::string vlan;               // the VLAN that the command names, if it names one
    std::vector<std::string> words; // that could stand there whatever the machine has
};

// The words of a line as a shell reads it, without their quotes; the last one is what is being written, empty behind a
// blank.
std::vector<std::string> WordsOfLine(const std::string& line);
// `words` as WordsOfLine gives them, with the program's name in front.
Completion CompletionOf(const CLI::App& app, const std::vector<std::string>& words);
// The words that go on from what is typed, in any case of letters, with what stands before them; those that a line
// cannot hold are left out.
std::vector<std::string> Candidates(const Completion& completion, const std::vector<std::string>& words);
