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

// Platform calls of one piece of work; with another module given, the calls that it makes meanwhile, too.
size_t CountCalls(const std::function<void()>& work, HMODULE other = nullptr);

void BenchHeading(const std::string& title);
// goal: the ratio that is meant to be reached; 0 for none.
void BenchRow(const std::string& name, const BenchPair& times, double goal, size_t ourCalls, size_t floorCalls);
void BenchText(const std::string& text);

void BenchFoundation();
void BenchInventory();
void BenchCreation();
void BenchModule();
// The part of it that runs in a process of its own, started with this argument: the time in tenths of microseconds, or
// negative when it failed.
int RunFresh(const char* what);
