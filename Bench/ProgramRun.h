#pragma once

#include "Bench/BenchTable.h"

#include <optional>
#include <string>

class CBenchHost;

// Programs of the benchmark in processes of their own, on a registry of the benchmark's own.

constexpr DWORD PROGRAM_PATIENCE = 20000; // milliseconds for one process

struct ProgramRun
{
    double whole = 0;  // nanoseconds
    double inside = 0; // the same without the start and the end of the process
    BenchCost cost;
    std::string output;
};
// Nothing when it takes too long.
std::optional<ProgramRun> RunProgram(const CBenchHost& host, const std::string& name, bool count);

struct MeasuredProgram
{
    std::optional<ProgramRun> best;
    BenchCost cost;
};
// Runs it so often, and once more to count.
using MAKE_RUN = std::function<std::optional<ProgramRun>(bool count)>;
MeasuredProgram Measure(const MAKE_RUN& run, int rounds);

// What such a process does.
int MeasureHere(void (*run)(), bool count, const std::string& hive);
