#pragma once
// What an operation changed in the registry beside the keys of the VLAN format.

#include "Tests/Harness/RegistryDiff.h"

#include <set>

// The private hive as the system writes it to a file: one call, where a CRegistrySnapshot takes some for each key. The
// values of each key, "name"=data as in the file; keys with subkeys alone, and volatile ones, are not in it.
using RAV_HIVE_DUMP = std::map<std::string, std::set<std::string>, RAV_TEST_LESS_I>;
RAV_HIVE_DUMP DumpHive();

// A line for each value, and each key, that changed and should not have.
std::string Stray(const RAV_HIVE_DUMP& before, const RAV_HIVE_DUMP& after);
