#pragma once
// What a host's registry holds, so that it can be compared with what another host's holds: VLANs go by their ids in
// place of their keys and numbers, lists are sorted, and the lab's own notes are left out.

#include "Tests/Harness/RegistryDiff.h"

#include <map>
#include <string>
#include <vector>

class CHostState
{
  public:
    // VLANs that the host had `before` keep the names that they had there.
    explicit CHostState(const CHostState* before = nullptr);

    bool Has(const std::string& line) const;
    // The lines that differ: "- " and what the other one alone has, "+ " and what this one alone has.
    std::vector<std::string> Since(const CHostState& before) const;

  private:
    void NameVlans();
    std::string Named(const std::string& line);

    const bool m_knowsAll;                      // what has a name; any other key is {?}
    std::map<std::string, std::string> m_names; // by key or by number
    std::vector<std::string> m_lines;
};
