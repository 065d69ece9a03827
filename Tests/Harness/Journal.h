#pragma once
// A journal of the platform calls that a module makes, through its import table: what it called and on what, in order;
// what it left open; and the same calls made to fail, or something done just before one of them. The module needs no
// preparation.
//
//     CJournal journal;                  // the test program with all that is linked into it; Hook adds DLLs
//     journal.FailCall(3);
//     journal.Start();
//     ... the operation ...
//     journal.Stop();
//     EXPECT_EQ(Lines(R"(RegOpenKeyExW Class\0007 0x20019 -> 5)"), journal.Calls());
//
// Which calls are known stands in Journal.cpp, one line each. An entry is the function's name, what it was about (a
// key's path with short names used, a value, a device, a file), and " -> status" when it failed. One journal lives at a
// time.

#include <windows.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct RAV_JOURNAL_STATE;

class CJournal
{
  public:
    enum class THREADS
    {
        All,
        Mine
    };

    CJournal();
    explicit CJournal(HMODULE module);
    // Gives the modules their calls back. A module may have been unloaded before.
    ~CJournal();
    CJournal(const CJournal&) = delete;
    CJournal& operator=(const CJournal&) = delete;

    void Hook(HMODULE module);

    // Begins an empty record, of every thread's calls or of the calling thread's alone. What is opened before is still
    // known by name.
    void Start(THREADS threads = THREADS::All);
    // Ends the record, which can be read until the next Start, and drops all failures and actions that were not
    // reached.
    void Stop();

    // From now on calls are counted by FailableCalls and their handles known, but no entries kept, which take memory.
    void CountOnly();
    // One entry a line; with names given, those functions alone.
    std::string Calls(std::initializer_list<std::string_view> functions = {}) const;
    size_t Count(std::string_view function) const;
    // How many recorded calls could have been made to fail, of those that FailCall counts.
    size_t FailableCalls() const;
    // What was opened in the record and not closed, one line each: the function that opened it and the name.
    std::string OpenHandles() const;

    // The following three hold for the next record, or for the rest of the current one.
    // Fails the k-th failable call, k from 1. Status 0 is each function's usual refusal: access denied, E_FAIL, ... An
    // action runs just before, and may throw in its place. With names given, calls of those functions alone count.
    void FailCall(size_t k, DWORD status = 0, std::function<void()> action = {},
                  const std::vector<std::string_view>& functions = {});
    // Fails the n-th coming call of one function.
    void FailNext(std::string_view function, DWORD status = 0, size_t n = 1);
    // Runs an action just before the n-th coming call of one function; what the action calls is not recorded.
    void Before(std::string_view function, size_t n, std::function<void()> action);
    // Whether a call was made to fail in this record: an operation has no k-th call when FailCall(k) leaves this false.
    bool HasFailed() const;

  private:
    std::unique_ptr<RAV_JOURNAL_STATE> m_pState;
    friend class CJournalHooks;
};
