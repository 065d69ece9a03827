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
std::string GoalText(const char* format, double goal)
{
    char text[16] = "";
    if (goal > 0)
        std::snprintf(text, sizeof(text), format, goal);
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

BenchCost CostOf(const std::function<void()>& work, HMODULE other)
{
    CJournal journal;
    if (other != nullptr)
        journal.Hook(other);
    journal.Start();
    work();
    journal.Stop();
    const std::string calls = journal.Calls();
    return {static_cast<size_t>(std::count(calls.begin(), calls.end(), '\n')), journal.Count("CoCreateInstance")};
}

void BenchHeading(const std::string& title)
{
    std::printf("\n%-52s %11s %11s %7s %6s %15s %7s %8s\n", title.c_str(), "ours", "floor", "ratio", "goal", "calls",
                "goal", "sessions");
}

void BenchRow(const std::string& name, const BenchPair& times, const BenchGoal& goal, const BenchCost& ours,
              const BenchCost& floor)
{
    const auto pair = [](size_t one, size_t other) { return std::to_string(one) + " / " + std::to_string(other); };
    const bool counted = ours.calls + floor.calls > 0;
    std::printf("%-52s %11s %11s %7.3f %6s %15s %7s %8s\n", name.c_str(), TimeText(times.ours).c_str(),
                TimeText(times.floor).c_str(), times.floor > 0 ? times.ours / times.floor : 0,
                GoalText("%.2f", goal.ratio).c_str(), counted ? pair(ours.calls, floor.calls).c_str() : "",
                GoalText("%.0f", goal.calls).c_str(),
                ours.sessions > 0 ? pair(ours.sessions, floor.sessions).c_str() : "");
    std::fflush(stdout);
}

void BenchText(const std::string& text)
{
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}
