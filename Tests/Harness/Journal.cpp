#include "Tests/Harness/Journal.h"

#include "Tests/Harness/JournalCalls.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <map>
#include <mutex>
#include <stdexcept>
#include <tuple>
#include <type_traits>
#include <vector>

using namespace RavJournal;

namespace
{

const char* const s_names[] = {
#define RAV_JOURNAL_NAME(function, style, subject) #function,
    RAV_JOURNAL_CALLS(RAV_JOURNAL_NAME)
#undef RAV_JOURNAL_NAME
};

size_t IndexOf(std::string_view function)
{
    const auto* found = std::find(std::begin(s_names), std::end(s_names), function);
    if (found == std::end(s_names))
        throw std::invalid_argument("the journal does not know " + std::string(function));
    return static_cast<size_t>(found - s_names);
}

using FUNCTION = void (*)();

// Set when the first module is hooked, and never taken back: a call may be on its way through a hook.
FUNCTION s_real[CALL_COUNT];
CJournal* s_current;
// While an action runs, this thread's calls are none of the module's.
thread_local bool s_inAction;
struct IN_ACTION
{
    IN_ACTION() { s_inAction = true; }
    ~IN_ACTION() { s_inAction = false; } // also when the action throws, as the function it stands for may
};

struct RULE
{
    size_t function;
    size_t remaining;
    std::function<void()> action;
    DWORD status = 0;
};

struct RECORDED
{
    size_t function;
    std::string text;
};

struct HANDLE_INFO
{
    std::string name;
    size_t function = 0;
    size_t openings = 0;
};

struct PATCH
{
    HMODULE module;
    unsigned char* slot;
    FUNCTION original;
};

} // namespace

struct RAV_JOURNAL_STATE
{
    mutable std::recursive_mutex lock;
    std::vector<PATCH> patches;
    std::map<OPENED, HANDLE_INFO> handles;
    std::vector<RECORDED> calls;
    std::vector<RULE> failures;
    std::vector<RULE> actions;
    size_t failable = 0;
    size_t failIndex = 0;
    DWORD failStatus = 0;
    std::vector<size_t> failFunctions; // that count; all when there is none
    std::function<void()> failAction;
    bool recording = false;
    bool entries = true;
    bool failed = false;
    DWORD thread = 0;
};

using GUARD = std::lock_guard<std::recursive_mutex>;

// What the hooks, which are plain functions, do with the journal.
class CJournalHooks
{
  public:
    static RAV_JOURNAL_STATE* Journal() { return s_current ? s_current->m_pState.get() : nullptr; }

    static bool IsRecording(const RAV_JOURNAL_STATE& journal)
    {
        return journal.recording && !s_inAction && (journal.thread == 0 || journal.thread == GetCurrentThreadId());
    }

    // The actions due before a call.
    static std::vector<std::function<void()>> Due(RAV_JOURNAL_STATE& journal, size_t function)
    {
        std::vector<std::function<void()>> due;
        for (RULE& rule : journal.actions)
            if (rule.function == function && rule.remaining && --rule.remaining == 0)
                due.push_back(rule.action);
        return due;
    }

    static bool MustFail(RAV_JOURNAL_STATE& journal, size_t function, DWORD& status)
    {
        const auto& counted = journal.failFunctions;
        const bool counts = counted.empty() || std::find(counted.begin(), counted.end(), function) != counted.end();
        bool fail = counts && ++journal.failable == journal.failIndex;
        status = fail ? journal.failStatus : 0;
        for (RULE& rule : journal.failures)
            if (rule.function == function && rule.remaining && --rule.remaining == 0)
            {
                fail = true;
                status = rule.status;
            }
        journal.failed |= fail;
        return fail;
    }

    static void Opened(RAV_JOURNAL_STATE& journal, OPENED opened, size_t function, const std::string& name,
                       bool recorded)
    {
        HANDLE_INFO& info = journal.handles[opened];
        // Only a module is opened twice under one handle; any other was closed where the journal could not see it.
        const bool again = function == I_LoadLibraryW || function == I_LoadLibraryExW;
        info = {name, function, (again ? info.openings : 0) + (recorded ? 1 : 0)};
    }

    // The name stays: a late use of the handle can be told by it.
    static void Closed(RAV_JOURNAL_STATE& journal, OPENED opened)
    {
        const auto found = journal.handles.find(opened);
        if (found != journal.handles.end() && found->second.openings)
            --found->second.openings;
    }
};

namespace RavJournal
{

std::string NameOf(OPENED opened)
{
    const RAV_JOURNAL_STATE* journal = CJournalHooks::Journal();
    if (!journal)
        return {};
    const GUARD guard(journal->lock);
    const auto found = journal->handles.find(opened);
    return found == journal->handles.end() ? "(unknown)" : found->second.name;
}

bool IsKnown(OPENED opened)
{
    const RAV_JOURNAL_STATE* journal = CJournalHooks::Journal();
    if (!journal)
        return false;
    const GUARD guard(journal->lock);
    return journal->handles.contains(opened);
}

} // namespace RavJournal

namespace
{

template <STYLE Style, class Result>
Result Refusal(DWORD status)
{
    if constexpr (Style == STYLE::Status)
        return static_cast<Result>(status ? status : ERROR_ACCESS_DENIED);
    else if constexpr (Style == STYLE::Config)
        return static_cast<Result>(status ? status : CR_FAILURE);
    else if constexpr (Style == STYLE::Com)
        return status ? HRESULT_FROM_WIN32(status) : E_FAIL;
    else
    {
        SetLastError(status ? status : ERROR_ACCESS_DENIED);
        if constexpr (Style == STYLE::File)
            return static_cast<Result>(INVALID_HANDLE_VALUE);
        else if constexpr (Style == STYLE::Index)
            return TLS_OUT_OF_INDEXES;
        else
            return Result{};
    }
}

// 0 when the call succeeded.
template <STYLE Style, class Result>
DWORD StatusOf(Result result, DWORD lastError)
{
    if constexpr (Style == STYLE::Status || Style == STYLE::Config)
        return static_cast<DWORD>(result);
    else if constexpr (Style == STYLE::Com)
        return FAILED(result) ? static_cast<DWORD>(result) : 0;
    else
    {
        bool good = result != Result{};
        if constexpr (Style == STYLE::File)
            good = result != INVALID_HANDLE_VALUE;
        else if constexpr (Style == STYLE::Index)
            good = result != TLS_OUT_OF_INDEXES;
        else if constexpr (std::is_same_v<Result, LSTATUS>)
            good = result == ERROR_SUCCESS;
        return good ? 0 : (lastError ? lastError : ERROR_GEN_FAILURE);
    }
}

template <class Wanted, class... Args>
Wanted Find(const std::tuple<Args...>& arguments)
{
    if constexpr ((std::is_same_v<Wanted, Args> || ...))
        return std::get<Wanted>(arguments);
    else
        return nullptr;
}

template <size_t Index, STYLE Style, class Subject, class Signature>
struct HOOK;

template <size_t Index, STYLE Style, class Subject, class Result, class... Args>
struct HOOK<Index, Style, Subject, Result(Args...)>
{
    static constexpr bool opensResult = Style == STYLE::Handle || Style == STYLE::File || Style == STYLE::Index;

    static Result WINAPI Call(Args... args)
    {
        const auto real = reinterpret_cast<Result(WINAPI*)(Args...)>(s_real[Index]);
        RAV_JOURNAL_STATE* journal = CJournalHooks::Journal();
        if (!journal || !Subject::Applies(args...))
            return real(args...);

        // The caller's last error must not show what the journal does.
        const DWORD errorBefore = GetLastError();
        const std::tuple<Args...> arguments(args...);
        const std::string name = Subject::Name(args...);
        std::string entry = s_names[Index];
        for (const std::string& part : {Shorten(name), Subject::Detail(args...)})
            entry += (part.empty() ? "" : " ") + part;

        const bool recorded = CJournalHooks::IsRecording(*journal);
        DWORD status = 0;
        const bool fail = recorded && Prepare(*journal, status);
        if constexpr (Style == STYLE::Never)
        {
            // Before the real call: another thread may be given the same handle right after it.
            const GUARD guard(journal->lock);
            CJournalHooks::Closed(*journal, Id(std::get<0>(arguments)));
        }
        SetLastError(errorBefore);
        const Result result = fail ? Refuse(arguments, status) : real(args...);
        const DWORD error = GetLastError();
        Finish(*journal, name, entry, recorded, arguments, result, StatusOf<Style>(result, error));
        SetLastError(error);
        return result;
    }

  private:
    static bool Prepare(RAV_JOURNAL_STATE& journal, DWORD& status)
    {
        std::vector<std::function<void()>> due;
        bool fail = false;
        {
            const GUARD guard(journal.lock);
            due = CJournalHooks::Due(journal, Index);
            if constexpr (Style != STYLE::Never)
                fail = CJournalHooks::MustFail(journal, Index, status);
            if (fail && journal.failable == journal.failIndex && journal.failAction)
                due.push_back(journal.failAction);
        }
        const IN_ACTION inAction;
        for (const auto& action : due)
            action();
        return fail;
    }

    static Result Refuse(const std::tuple<Args...>& arguments, DWORD status)
    {
        if (void** object = Find<void**>(arguments); object && Style == STYLE::Com)
            *object = nullptr;
        return Refusal<Style, Result>(status);
    }

    static void Finish(RAV_JOURNAL_STATE& journal, const std::string& name, std::string& entry, bool recorded,
                       const std::tuple<Args...>& arguments, Result result, DWORD status)
    {
        const GUARD guard(journal.lock);
        if (recorded && journal.entries)
        {
            if (status)
                entry += " -> " + (Style == STYLE::Com ? Hexadecimal(status) : std::to_string(status));
            journal.calls.push_back({Index, entry});
        }
        if (status)
            return;
        if (PHKEY key = Find<PHKEY>(arguments))
            CJournalHooks::Opened(journal, Id(*key), Index, name, recorded);
        if constexpr (opensResult)
            CJournalHooks::Opened(journal, Id(result), Index, name, recorded);
    }
};

const FUNCTION s_hooks[] = {
#define RAV_JOURNAL_HOOK(function, style, subject)                                                                     \
    reinterpret_cast<FUNCTION>(&HOOK<I_##function, STYLE::style, subject, decltype(function)>::Call),
    RAV_JOURNAL_CALLS(RAV_JOURNAL_HOOK)
#undef RAV_JOURNAL_HOOK
};

template <class T>
T* At(HMODULE module, DWORD offset)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
}

bool IsLoaded(HMODULE module)
{
    HMODULE found = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return GetModuleHandleExW(flags, reinterpret_cast<const wchar_t*>(module), &found) && found == module;
}

// A linker may align the tables of imports to less than their elements.
template <typename T>
T Read(const unsigned char* place)
{
    T value;
    std::memcpy(&value, place, sizeof(value));
    return value;
}

void Write(unsigned char* slot, FUNCTION function)
{
    DWORD protection = 0;
    VirtualProtect(slot, sizeof(function), PAGE_READWRITE, &protection);
    std::memcpy(slot, &function, sizeof(function));
    VirtualProtect(slot, sizeof(function), protection, &protection);
}

} // namespace

CJournal::CJournal() : CJournal(GetModuleHandleW(nullptr)) {}

CJournal::CJournal(HMODULE module) : m_pState(std::make_unique<RAV_JOURNAL_STATE>())
{
    if (s_current)
        throw std::logic_error("one journal at a time");
    s_current = this;
    Hook(module);
}

CJournal::~CJournal()
{
    for (const PATCH& patch : m_pState->patches)
        if (IsLoaded(patch.module))
            Write(patch.slot, patch.original);
    s_current = nullptr;
}

void CJournal::Hook(HMODULE module)
{
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (!directory.VirtualAddress)
        return;
    for (const auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); import->OriginalFirstThunk;
         ++import)
    {
        const auto* names = At<unsigned char>(module, import->OriginalFirstThunk);
        auto* slot = At<unsigned char>(module, import->FirstThunk);
        for (ULONGLONG name = 0; (name = Read<ULONGLONG>(names)) != 0;
             names += sizeof(IMAGE_THUNK_DATA), slot += sizeof(FUNCTION))
        {
            if (IMAGE_SNAP_BY_ORDINAL(name))
                continue;
            const char* function = reinterpret_cast<const char*>(At<unsigned char>(module, static_cast<DWORD>(name)) +
                                                                 offsetof(IMAGE_IMPORT_BY_NAME, Name));
            const auto* found = std::find_if(std::begin(s_names), std::end(s_names),
                                             [function](const char* known) { return !std::strcmp(known, function); });
            if (found == std::end(s_names))
                continue;
            const auto index = static_cast<size_t>(found - s_names);
            const auto original = Read<FUNCTION>(slot);
            if (original == s_hooks[index])
                continue;
            s_real[index] = original;
            m_pState->patches.push_back({module, slot, original});
            Write(slot, s_hooks[index]);
        }
    }
}

void CJournal::Start(THREADS threads)
{
    const GUARD guard(m_pState->lock);
    m_pState->calls.clear();
    for (auto& handle : m_pState->handles)
        handle.second.openings = 0;
    m_pState->failable = 0;
    m_pState->failed = false;
    m_pState->thread = threads == THREADS::Mine ? GetCurrentThreadId() : 0;
    m_pState->recording = true;
}

void CJournal::Stop()
{
    const GUARD guard(m_pState->lock);
    m_pState->recording = false;
    m_pState->failIndex = 0;
    m_pState->failAction = nullptr;
    m_pState->failFunctions.clear();
    m_pState->failures.clear();
    m_pState->actions.clear();
}

void CJournal::CountOnly()
{
    const GUARD guard(m_pState->lock);
    m_pState->entries = false;
}

std::string CJournal::Calls(std::initializer_list<std::string_view> functions) const
{
    const GUARD guard(m_pState->lock);
    std::vector<size_t> wanted;
    std::transform(functions.begin(), functions.end(), std::back_inserter(wanted), IndexOf);
    std::string text;
    for (const RECORDED& call : m_pState->calls)
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), call.function) != wanted.end())
            text += call.text + '\n';
    return text;
}

size_t CJournal::Count(std::string_view function) const
{
    const GUARD guard(m_pState->lock);
    const size_t index = IndexOf(function);
    return static_cast<size_t>(std::count_if(m_pState->calls.begin(), m_pState->calls.end(),
                                             [index](const RECORDED& call) { return call.function == index; }));
}

size_t CJournal::FailableCalls() const
{
    const GUARD guard(m_pState->lock);
    return m_pState->failable;
}

std::string CJournal::OpenHandles() const
{
    const GUARD guard(m_pState->lock);
    std::string text;
    for (const auto& [opened, info] : m_pState->handles)
        for (size_t i = 0; i < info.openings; ++i)
            text += s_names[info.function] + (info.name.empty() ? "" : ' ' + Shorten(info.name)) + '\n';
    return text;
}

void CJournal::FailCall(size_t k, DWORD status, std::function<void()> action,
                        const std::vector<std::string_view>& functions)
{
    const GUARD guard(m_pState->lock);
    m_pState->failFunctions.clear();
    std::transform(functions.begin(), functions.end(), std::back_inserter(m_pState->failFunctions), IndexOf);
    m_pState->failIndex = k;
    m_pState->failStatus = status;
    m_pState->failAction = std::move(action);
}

void CJournal::FailNext(std::string_view function, DWORD status, size_t n)
{
    const GUARD guard(m_pState->lock);
    m_pState->failures.push_back({IndexOf(function), n, {}, status});
}

void CJournal::Before(std::string_view function, size_t n, std::function<void()> action)
{
    const GUARD guard(m_pState->lock);
    m_pState->actions.push_back({IndexOf(function), n, std::move(action)});
}

bool CJournal::HasFailed() const
{
    const GUARD guard(m_pState->lock);
    return m_pState->failed;
}
