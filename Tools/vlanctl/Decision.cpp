#include "Tools/vlanctl/Decision.h"

#include "Tools/vlanctl/Aftermath.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Desired.h"
#include "Tools/vlanctl/Difference.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/TimeText.h"
#include "Tools/vlanctl/Transaction.h"

#include <algorithm>

namespace
{
constexpr unsigned LOCK_SECONDS = 600; // that a way back waits for others to be done

RAV_PRESENT_PARENT ParentOf(const RAV_PLAN_STEP& step, const std::vector<RAV_BEFORE>& before)
{
    RAV_PRESENT_PARENT parent;
    parent.key = parent.name = step.parentKey;
    for (const RAV_BEFORE& one : before)
        parent.name = one.parent.key == step.parentKey ? one.name : parent.name;
    return parent;
}

// With no lock held any more.
std::string WhatIsLeft(CSession& session, const ConfirmationRecord& record)
{
    std::string text;
    for (const RAV_BEFORE& before : record.before)
        TidyTeam(session, before.parent.key);
    for (const RAV_BEFORE& before : record.before)
    {
        for (const std::string& finding : FindingTexts(session, before.parent.key))
            text += "; left: " + finding;
    }
    return text.empty() ? "" : text + "; 'vlanctl doctor' mends this or tells what decides it";
}

// Whether all is back, and what there is to be told.
bool GoBack(CSession& session, const ConfirmationRecord& record, std::string& text)
{
    CTransaction transaction(session, LOCK_SECONDS);
    const RAV_WAY_BACK back = RavGoBack(SourceOf(session), record.before);
    const CResult applied = transaction.Finish();
    text = (back.isDone ? "it was taken back at " + TimeText() : "it could not be taken back as a whole") +
           MeaningsOf(WayBackNotes(back, record.before), "; ") +
           (applied.Succeeded() ? "" : "; the devices could not all be reloaded");
    return back.isDone;
}
} // namespace

void KeepChange(ConfirmationRecord& record)
{
    record.state = ConfirmationState::Confirmed;
    record.outcome = "it was confirmed at " + TimeText();
    WriteConfirmation(record);
}

void DiscardChange(ConfirmationRecord& record)
{
    record.state = ConfirmationState::Dismissed;
    record.outcome = "its old state was given up at " + TimeText();
    WriteConfirmation(record);
}

void TakeBackChange(CSession& session, ConfirmationRecord& record, const std::string& why)
{
    record.state = ConfirmationState::Failed;
    std::string text;
    try
    {
        if (GoBack(session, record, text))
            record.state = ConfirmationState::TakenBack;
    }
    catch (const std::exception& error)
    {
        text = std::string("it could not be taken back: ") + error.what();
    }
    record.outcome = why + "; " + text;
    WriteConfirmation(record); // before an examination, which may take its time
    try
    {
        record.outcome += WhatIsLeft(session, record);
    }
    catch (const std::exception& error)
    {
        record.outcome += std::string("; what is there now cannot be examined: ") + error.what();
    }
    WriteConfirmation(record);
}

std::vector<Note> WayBackNotes(const RAV_WAY_BACK& back, const std::vector<RAV_BEFORE>& before)
{
    std::vector<Note> notes;
    const auto add = [&](const char* name, const std::string& meaning) { notes.push_back(NoteOf(name, meaning)); };
    const auto text = [&](const RAV_PLAN_STEP& step) { return StepText(StepOf(ParentOf(step, before), step)); };
    if (!back.isDone && !back.failure.Succeeded())
        add("notTakenBack", "the way back failed: " + CodeText(back.failure));
    if (!back.reading.Succeeded())
        add("notTakenBack", "the host cannot be read again, so nobody knows what is left: " + CodeText(back.reading));
    for (const RAV_PLAN_STEP& step : back.left)
        add("notTakenBack", "left to do: " + text(step));
    for (const RAV_REFUSAL& refusal : back.refusals)
        add("notTakenBack", IdText(refusal.id) + " cannot be had again: " + Visible(ToUtf8(refusal.text)));
    for (const RAV_REFUSAL& dropped : back.dropped)
        add("settingNotSet",
            "a setting of " + IdText(dropped.id) + " was not set again: " + Visible(ToUtf8(dropped.text)));
    for (const RAV_PLAN_STEP& step : back.createdAgain)
        add("createdAgain", VlanText(step.id, step.name) + " on " + Visible(ToUtf8(ParentOf(step, before).name)) +
                                " was created again: its connection is a new one, without the addresses and the "
                                "locally set MAC of the old one");
    for (const RAV_PRESENT_VLAN& vlan : back.gaveWay)
        add("gaveWay", VlanText(vlan.id, vlan.name) + ", created meanwhile, had to give way");
    return notes;
}

std::string MeaningsOf(const std::vector<Note>& notes, const char* separator)
{
    std::string text;
    for (const Note& note : notes)
        text += separator + note.meaning;
    return text;
}
