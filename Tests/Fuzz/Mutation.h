#pragma once
// Damage to a host's registry: made from a seed, and written as text, so that a round that fails can become a row of a
// test.
//
//   PATH  NAME  TYPE  DATA    as in RegistryText.h; DATA may also be hex:41 00*9, which is so many times the same bytes
//   - PATH  NAME              the value goes
//   - PATH                    the key goes, with all below it
//   > PATH  OTHER             a copy of the key, with all below it, under another path
//   * PATH  COUNT             so many more keys below it, with a value each

#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryText.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

// Draws the same numbers from the same seed everywhere, which the distributions of the library need not do.
class CDice
{
  public:
    CDice(uint64_t seed, uint64_t index) : m_engine(seed * 1000003 + index) {}
    size_t Below(size_t count) { return static_cast<size_t>(m_engine() % count); }
    bool OneIn(size_t count) { return Below(count) == 0; }
    template <typename Container>
    const auto& Of(const Container& choices)
    {
        return choices[Below(std::size(choices))];
    }

  private:
    std::mt19937_64 m_engine;
};

class CMutator
{
  public:
    // A host as the text of its registry.
    explicit CMutator(const std::string& host);
    // One to several mutations, a line each.
    std::string Next(CDice& dice) const;

  private:
    struct ENTRY
    {
        std::string path;
        std::string name;
        RAV_TEST_VALUE value;
    };
    const ENTRY& Pick(CDice& dice) const;
    const std::string& PickKey(CDice& dice) const;
    std::string Line(CDice& dice) const;
    std::string KeyLine(CDice& dice) const;
    std::string Data(CDice& dice, const ENTRY& entry) const;
    RAV_TEST_VALUE Bytes(CDice& dice, const RAV_TEST_VALUE& value) const;
    std::wstring Words(CDice& dice, const std::wstring& text) const;

    std::vector<ENTRY> m_entries; // values of the suite's own come first
    size_t m_own = 0;
    std::vector<std::string> m_keys;
    std::vector<std::wstring> m_guids;
};

void Mutate(CPrivateHive& hive, const std::string& mutations);
