#pragma once

#include "Bench/BenchTable.h"

#include <functional>
#include <string>

class CBenchHost;

// What the agent is asked to do, each beside bare calls that come to the same.

using BENCH_WORK = std::function<void(CBenchHost&)>;
struct BenchOperation
{
    BENCH_WORK ours;
    BENCH_WORK bare;
};

// The next VLAN of the first parent, which has so many.
BenchOperation CreateNext(size_t present);
// The ids from 1 on.
BenchOperation CreateMany(size_t vlans);
// One of several.
BenchOperation RemoveOne();
// The ids from 1 to this, the only VLANs of the first parent, by one removal each.
BenchOperation RemoveAll(size_t vlans);
// The same, the bare calls under one lock for each, too.
BenchOperation RemoveOneByOne(size_t vlans);
// All VLANs with what is known of them, in a fresh process.
BenchOperation ListVlans();
// The parents that support VLANs.
BenchOperation ListParents();
// What stands against one more VLAN of the first parent.
BenchOperation ValidateNext();

// The following make a host with so many VLANs for each measurement, since the operation changes it.
BenchCost CostOn(size_t vlans, const BENCH_WORK& work, HMODULE other = nullptr);
void ChangeRow(const std::string& name, size_t vlans, const BenchOperation& operation, const BenchGoal& goal);
