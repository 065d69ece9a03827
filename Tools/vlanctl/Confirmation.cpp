#include "Tools/vlanctl/Confirmation.h"

#include "Tools/vlanctl/Decision.h"
#include "Tools/vlanctl/Interruption.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"
#include "Tools/vlanctl/TimeText.h"

#include <algorithm>
#include <array>

namespace
{
constexpr DWORD SLICE_MILLISECONDS = 200;
constexpr DWORD POLL_MILLISECONDS = 20;
constexpr DWORD END_MILLISECONDS = 60000;
constexpr DWORD START_MILLISECONDS = 60000; // that a watcher gets to be ready
constexpr DWORD MOST_NAME = 256;

std::string Who()
{
    std::array<wchar_t, MOST_NAME + 1> user = {};
    DWORD size = MOST_NAME;
    GetUserNameW(user.data(), &size);
    return ComputerName() + "\\" + ToUtf8(user.data()) + ", process " + std::to_string(GetCurrentProcessId());
}

bool IsInJob()
{
    BOOL isInJob = FALSE;
    return IsProcessInJob(GetCurrentProcess(), nullptr, &isInJob) != FALSE && isInJob != FALSE;
}

[[noreturn]] void FailToStart(const std::string& why)
{
    throw CommandError(EXIT_REFUSED,
                       "nothing was changed: the process that would take it back cannot be started: " + why);
}

// Belongs to nobody's console, job or handles, so that it outlives them.
PROCESS_INFORMATION StartDetached(std::wstring command)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = INVALID_HANDLE_VALUE;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE,
                       CREATE_BREAKAWAY_FROM_JOB | DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr,
                       &startup, &process) == FALSE)
        FailToStart(GetLastError() == ERROR_ACCESS_DENIED && IsInJob()
                        ? "this program runs in a job that lets none of its processes go, and may end them all; run it "
                          "from another place"
                        : WindowsText(GetLastError()));
    return process;
}

// Reads one line, and confirms with it.
DWORD WINAPI ReadEnter(void* parameter)
{
    const CFileHandle confirmed(parameter);
    char byte = 0;
    DWORD size = 0;
    while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &size, nullptr) != FALSE && size == 1)
    {
        if (byte == '\n' || byte == '\r')
        {
            SetEvent(confirmed.Get());
            break;
        }
    }
    return 0;
}

// Whoever has decided about the last change may still be examining what it has left, and writes into its record then.
void AwaitEndOfWatch()
{
    const ULONGLONG start = GetTickCount64();
    while (IsWatched())
    {
        if (GetTickCount64() - start > END_MILLISECONDS)
            throw CommandError(EXIT_LOCKED, "the last change is still being looked after; try again when that is done");
        Sleep(POLL_MILLISECONDS);
    }
}

ConfirmationRecord RecordOf(const std::vector<RAV_BEFORE>& before)
{
    ConfirmationRecord record;
    record.who = Who();
    record.since = TimeText();
    record.before = before;
    return record;
}
} // namespace

CConfirmation::CConfirmation(const std::vector<RAV_BEFORE>& before, unsigned seconds)
    : m_seconds(seconds), m_record(RecordOf(before)), m_events(CreateConfirmationEvents())
{
    WriteConfirmation(m_record);
    try
    {
        StartWatcher();
    }
    catch (const CommandError&)
    {
        Dismiss();
        throw;
    }
}

void CConfirmation::StartWatcher()
{
    std::wstring program(MAX_PATH, L'\0');
    while (GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())) == program.size())
        program.resize(2 * program.size());
    const PROCESS_INFORMATION process =
        StartDetached(L"\"" + std::wstring(program.c_str()) + L"\" watch-confirmation " +
                      std::to_wstring(GetCurrentProcessId()) + L" " + std::to_wstring(m_seconds));
    m_watcher = CFileHandle(process.hProcess);
    const CFileHandle thread(process.hThread);
    const HANDLE first[] = {m_events.ready.Get(), m_watcher.Get()};
    if (WaitForMultipleObjects(2, first, FALSE, START_MILLISECONDS) != WAIT_OBJECT_0)
        FailToStart("it does not answer");
}

void CConfirmation::NoteDone(const std::vector<RAV_PRESENT_PARENT>& found)
{
    for (RAV_BEFORE& before : m_record.before)
    {
        const auto parent = std::find_if(found.begin(), found.end(), [&](const RAV_PRESENT_PARENT& candidate) {
            return candidate.key == before.parent.key;
        });
        if (parent == found.end())
            continue;
        before.known.emplace();
        for (const RAV_PRESENT_VLAN& vlan : parent->vlans)
            before.known->push_back(vlan.key);
    }
}

bool CConfirmation::Await()
{
    m_record.state = ConfirmationState::Waiting;
    m_record.deadline = TimeText(m_seconds);
    WriteConfirmation(m_record);
    Signal(m_events.applied);
    return WaitForSingleObject(m_watcher.Get(), 0) == WAIT_TIMEOUT;
}

void CConfirmation::Dismiss(ConfirmationState state, const std::string& outcome)
{
    m_record.state = state;
    m_record.outcome = outcome;
    WriteConfirmation(m_record);
    Signal(m_events.dismissed);
}

std::optional<ConfirmationRecord> CConfirmation::AskOnTerminal()
{
    HANDLE confirmed = nullptr;
    if (DuplicateHandle(GetCurrentProcess(), m_events.confirmed.Get(), GetCurrentProcess(), &confirmed, 0, FALSE,
                        DUPLICATE_SAME_ACCESS) == FALSE)
        throw CommandError(EXIT_PARTLY, "the terminal cannot be read; 'vlanctl confirm' keeps the change: " +
                                            WindowsText(GetLastError()));
    FlushConsoleInputBuffer(GetStdHandle(STD_INPUT_HANDLE)); // what was typed before was no answer to this
    // It may read on when the end has come otherwise; the program is about to end then.
    const CFileHandle reader(CreateThread(nullptr, 0, ReadEnter, confirmed, 0, nullptr));
    while (WaitForSingleObject(m_watcher.Get(), SLICE_MILLISECONDS) == WAIT_TIMEOUT)
    {
        if (CInterruption::IsWanted())
            Signal(m_events.refused);
    }
    return ReadConfirmation();
}

void RefusePendingConfirmation()
{
    const std::optional<ConfirmationRecord> record = ReadConfirmation();
    if (!record || !IsPending(*record))
        return AwaitEndOfWatch();
    const std::string change = "a change by " + record->who + " since " + record->since;
    if (record->state == ConfirmationState::Failed)
        throw CommandError(EXIT_REFUSED, change + ": " + record->outcome + "\n  " + ABOUT_FAILED_CHANGE);
    const bool isWatched = IsWatched();
    throw CommandError(isWatched ? EXIT_LOCKED : EXIT_REFUSED,
                       change + " waits for its confirmation" +
                           (isWatched ? "" : ", and nobody watches over it any more") +
                           "; 'vlanctl confirm' keeps it, 'vlanctl confirm --roll-back' takes it back");
}

void NoteFailedChange(const std::vector<RAV_BEFORE>& before, const std::string& outcome)
{
    ConfirmationRecord record = RecordOf(before);
    record.state = ConfirmationState::Failed;
    record.outcome = outcome;
    WriteConfirmation(record);
}
