#pragma once
// What an operation changed in the registry, as text.

#include "Tests/Harness/RegistryText.h"

#include <map>

struct RAV_TEST_LESS_I
{
    using is_transparent = void;
    bool operator()(std::string_view one, std::string_view two) const;
};

using RAV_TEST_KEY = std::map<std::string, RAV_TEST_VALUE, RAV_TEST_LESS_I>;

// Every key and value below a root, at one moment.
class CRegistrySnapshot
{
  public:
    explicit CRegistrySnapshot(HKEY root = HKEY_LOCAL_MACHINE);

    // The whole content in the notation of RegistryText.h, sorted.
    std::string Text() const;

    // The difference from `before` to `after`, sorted by path and value name, short names used:
    //   + PATH                            a new key without values and subkeys
    //   + PATH  NAME  TYPE  DATA          a new value (its key may be new too)
    //   - PATH                            a key that is gone, with all its values; one line for each subkey
    //   - PATH  NAME  TYPE  DATA          a value that is gone, its key still there
    //   ~ PATH  NAME  TYPE  OLD -> NEW    other data; when the type changed too: TYPE  OLD -> TYPE  NEW
    static std::string Difference(const CRegistrySnapshot& before, const CRegistrySnapshot& after);

  private:
    // The values of a key as they were read: few keys of two snapshots differ, the others are never taken apart.
    using RAW = std::vector<BYTE>;

    bool IsLeaf(const std::string& path) const;
    void Read(HKEY key, std::string& path);
    static RAV_TEST_KEY Values(const RAW& raw);

    std::map<std::string, RAW, RAV_TEST_LESS_I> m_keys;
};

// What has changed below HKEY_LOCAL_MACHINE since this object was made.
class CRegistryChange
{
  public:
    std::string Text() const { return CRegistrySnapshot::Difference(m_before, CRegistrySnapshot()); }

  private:
    CRegistrySnapshot m_before;
};
