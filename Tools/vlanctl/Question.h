#pragma once

#include <string>

// What somebody at the terminal has to agree to before it is done.
struct Question
{
    std::string text;        // "Connections over these VLANs will be lost."
    bool yes = false;        // --yes: it is answered already
    bool grave = false;      // "yes" has to be written in full
    bool unattended = false; // also asked where standard input is no terminal: the answer is read from there
    std::string what = {};   // what standard output has announced: repeated where that is no console
};

// Asks on the console, without one on standard error. Throws CommandError when the answer is no, or when there is none.
void RequireConsent(const Question& question);
