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
    bool IsLeaf(const std::string& path) const;
    void Read(HKEY key, const std::string& path);

    std::map<std::string, RAV_TEST_KEY, RAV_TEST_LESS_I> m_keys;
};

// What has changed below HKEY_LOCAL_MACHINE since this object was made.
class CRegistryChange
{
  public:
    std::string Text() const { return CRegistrySnapshot::Difference(m_before, CRegistrySnapshot()); }

  private:
    CRegistrySnapshot m_before;
};
