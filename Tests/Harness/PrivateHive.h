#pragma once
// An empty HKEY_LOCAL_MACHINE of this process's own, DLLs included, for the time of one test. One at a time.
// HKEY_CLASSES_ROOT and the other roots stay the machine's.

#include <windows.h>

#include <string>
#include <string_view>

class CPrivateHive;

// What a private hive held at one moment, volatile keys left out, in a file of this process: hives that begin with it
// cost a few calls, however much there is in it.
class CHiveImage
{
  public:
    explicit CHiveImage(const CPrivateHive& hive);
    ~CHiveImage();
    CHiveImage(const CHiveImage&) = delete;
    CHiveImage& operator=(const CHiveImage&) = delete;
    const std::wstring& File() const { return m_strFile; }

  private:
    std::wstring m_strFile;
};

class CPrivateHive
{
  public:
    // Puts the private hive in the place of the machine's and fills it. Throws std::runtime_error when it can't.
    explicit CPrivateHive(std::string_view content = {});
    explicit CPrivateHive(const CHiveImage& image);
    ~CPrivateHive();
    CPrivateHive(const CPrivateHive&) = delete;
    CPrivateHive& operator=(const CPrivateHive&) = delete;

    // Adds keys and values, one a line in the notation of RegistryText.h. A line of a path alone is an empty key; ".."
    // at the start of a path stands for the path of the line above.
    void Add(std::string_view content);
    // Copies a key of the real machine, all below it included, for what the platform itself reads there.
    void CopyFromMachine(std::string_view path);

    // The key that stands for HKEY_LOCAL_MACHINE, to share it with another process; it stays this object's.
    HKEY Root() const { return m_hRoot; }

    // The stored value as TYPE  DATA, or an empty text when there is none.
    std::string Value(std::string_view path, std::string_view name) const;

  private:
    void TakeTheMachinesPlace();

    std::wstring m_strName;
    std::wstring m_strFile; // that the hive was loaded from; empty when it was not
    HKEY m_hMachine = nullptr;
    HKEY m_hRoot = nullptr;
};
