#include "Tools/vlanctl/Question.h"

#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"

#include <iostream>

namespace
{
bool IsYes(const std::string& answer, bool grave)
{
    return grave ? answer.starts_with("yes") : answer.starts_with('y') || answer.starts_with('Y');
}
} // namespace

void RequireConsent(const Question& question)
{
    if (question.yes || (!question.unattended && !IsConsole(STD_INPUT_HANDLE)))
        return;
    PrintQuestion((IsConsole(STD_OUTPUT_HANDLE) ? "" : question.what) + question.text +
                  (question.text.empty() ? "" : " ") + (question.grave ? "Write \"yes\" to go on: " : "Go on? [y/N] "));
    std::string answer;
    if (!std::getline(std::cin, answer))
        PrintQuestion("\n");
    if (!IsYes(answer, question.grave))
        throw CommandError(EXIT_REFUSED,
                           NoteOf("notConfirmed", "nothing was changed; --yes answers the question beforehand"));
}
