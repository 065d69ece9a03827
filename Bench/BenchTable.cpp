#include "Bench/BenchTable.h"

#include <cstdio>

namespace
{
double Seconds()
{
    LARGE_INTEGER counter;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&counter);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(counter.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double TimeOf(const std::function<void()>& work, int calls)
{
    const double start = Seconds();
    for (int call = 0; call < calls; ++call)
        work();
    return (Seconds() - start) * 1e9 / calls;
}

std::string TimeText(double nanoseconds)
{
    char text[32];
    const bool isLong = nanoseconds >= 1e7;
    std::snprintf(text, sizeof(text), "%.2f %s", nanoseconds / (isLong ? 1e6 : 1e3), isLong ? "ms" : "us");
    return text;
}
} // namespace

double BestTime(const std::function<void()>& work, int calls, int rounds)
{
    double best = TimeOf(work, calls);
    for (int round = 1; round < rounds; ++round)
        best = std::min(best, TimeOf(work, calls));
    return best;
}

BenchPair BestTimes(const std::function<void()>& ours, const std::function<void()>& floor, int calls, int rounds)
{
    BenchPair best{TimeOf(ours, calls), TimeOf(floor, calls)};
    for (int round = 1; round < rounds; ++round)
    {
        best.ours = std::min(best.ours, TimeOf(ours, calls));
        best.floor = std::min(best.floor, TimeOf(floor, calls));
    }
    return best;
}

size_t CountCalls(const std::function<void()>& work, HMODULE other)
{
    CJournal journal;
    if (other != nullptr)
        journal.Hook(other);
    journal.Start();
    work();
    journal.Stop();
    const std::string calls = journal.Calls();
    return static_cast<size_t>(std::count(calls.begin(), calls.end(), '\n')) +
           (calls.empty() || calls.back() == '\n' ? 0 : 1);
}

void BenchHeading(const std::string& title)
{
    std::printf("\n%-52s %12s %12s %7s %6s %13s\n", title.c_str(), "ours", "floor", "ratio", "goal", "calls");
}

void BenchRow(const std::string& name, const BenchPair& times, double goal, size_t ourCalls, size_t floorCalls)
{
    char goalText[16] = "";
    if (goal > 0)
        std::snprintf(goalText, sizeof(goalText), "%.2f", goal);
    char calls[32] = "";
    if (ourCalls + floorCalls > 0)
        std::snprintf(calls, sizeof(calls), "%u / %u", static_cast<unsigned>(ourCalls),
                      static_cast<unsigned>(floorCalls));
    std::printf("%-52s %12s %12s %7.3f %6s %13s\n", name.c_str(), TimeText(times.ours).c_str(),
                TimeText(times.floor).c_str(), times.floor > 0 ? times.ours / times.floor : 0, goalText, calls);
    std::fflush(stdout);
}

void BenchText(const std::string& text)
{
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}
