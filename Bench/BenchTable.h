#pragma once

#include "Tests/Harness/Journal.h"

#include <windows.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

// Measuring: our way of doing something beside the least that could do the same, in turns within one run.

// Nanoseconds of one call, the least of several rounds of many calls.
double BestTime(const std::function<void()>& work, int calls, int rounds = 7);

struct BenchPair
{
    double ours = 0;
    double floor = 0;
};
// The same for two, whose rounds take turns.
BenchPair BestTimes(const std::function<void()>& ours, const std::function<void()>& floor, int calls, int rounds = 15);

// What one piece of work asks of the platform.
struct BenchCost
{
    size_t calls = 0;
    size_t sessions = 0; // of the network configuration
};
// With another module given, the calls that it makes meanwhile count, too.
BenchCost CostOf(const std::function<void()>& work, HMODULE other = nullptr);

// What is meant to be reached; 0 for nothing in particular.
struct BenchGoal
{
    double ratio = 0;
    double calls = 0;
};

void BenchHeading(const std::string& title);
void BenchRow(const std::string& name, const BenchPair& times, const BenchGoal& goal = {}, const BenchCost& ours = {},
              const BenchCost& floor = {});
void BenchText(const std::string& text);

// The groups.
void BenchFoundation();
void BenchInventory();
void BenchParents();
void BenchCreation();
void BenchChange();
void BenchRemoval();
void BenchGrowth();
void BenchPrograms();
void BenchApply();
void BenchModule();
// The part of it that runs in a process of its own, started with this argument: the time in tenths of microseconds, or
// negative when it failed.
int RunFresh(const char* what);
// A program of BenchPrograms, in a process of its own: `hive` is the handle of its HKEY_LOCAL_MACHINE.
int RunProgramHere(const std::string& name, bool count, const std::string& hive);
