// Finding the parents and trying what is to be created, beside a bare walk that reads the same.

#include "Bench/BareReading.h"
#include "Bench/BenchHost.h"
#include "Bench/BenchOperations.h"

namespace
{
constexpr size_t VLANS_PER_PORT = 63;
constexpr double RATIO_GOAL = 1.5;

void ReadingRow(const char* name, CBenchHost& host, const BenchOperation& operation)
{
    const auto ours = [&] { operation.ours(host); };
    const auto bare = [&] { operation.bare(host); };
    BenchRow(name, BestTimes(ours, bare, 1, 5), {RATIO_GOAL}, CostOf(ours), CostOf(bare));
}
} // namespace

void BenchParents()
{
    CBenchHost host(2 * VLANS_PER_PORT, VLANS_PER_PORT);
    host.Agent();
    BenchHeading("A host of 3 adapters, two with 63 VLANs each");
    ReadingRow("EnumerateVlanSupportingParents", host, ListParents());
    ReadingRow("ValidateNewVlan", host, ValidateNext());
}
