// The tools that every other test trusts.

#include "Tests/Harness/Journal.h"
#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryDiff.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <functional>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace
{

HKEY OpenKey(const wchar_t* path)
{
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | KEY_WRITE, &key);
    return key;
}

LSTATUS SetNumber(HKEY key, const wchar_t* name, DWORD number)
{
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
}

TEST(PrivateHive, HoldsWhatTheTextSaysAndNothingElse)
{
    const char* const content = R"(
        A
        SOFTWARE\One  (default)  REG_SZ  "a  ""b"""
        SOFTWARE\One  Number  REG_DWORD  4294967295
        SOFTWARE\One\Sub  Big  REG_QWORD  18446744073709551615
        SOFTWARE\One\Sub  Broken  REG_MULTI_SZ  hex:31 00 32
        SOFTWARE\One\Sub  Empty List  REG_MULTI_SZ
        SOFTWARE\One\Sub  List  REG_MULTI_SZ  "Büro", "x y"
        SOFTWARE\One\Sub  None  REG_NONE
        SOFTWARE\One\Sub  Raw  REG_BINARY  00 ff 0a
        SOFTWARE\One\Sub  Raw17  REG_17  01
        SOFTWARE\One Two  Number  REG_DWORD  16
    )";
    {
        const CPrivateHive hive(content);
        EXPECT_EQ(Lines(content), CRegistrySnapshot().Text());
        EXPECT_EQ("REG_DWORD  16", hive.Value("SOFTWARE\\One Two", "number"));
    }
    EXPECT_EQ(nullptr, OpenKey(L"SOFTWARE\\One"));
    const CPrivateHive next;
    EXPECT_EQ("", CRegistrySnapshot().Text());
}

TEST(PrivateHive, ShortForms)
{
    SetShortNames({{"SYSTEM\\Class", "Class"}, {"SYSTEM", "Sys"}});
    const CPrivateHive hive(R"(
        Class\0007  List  REG_MULTI_SZ  10 20
        ..  Name  REG_SZ  bare words
        ..\Sub  Number  REG_DWORD  0x10
        SYSTEM\Classes
    )");
    EXPECT_EQ(Lines(R"(
        Class\0007  List  REG_MULTI_SZ  "10", "20"
        Class\0007  Name  REG_SZ  "bare words"
        Class\0007\Sub  Number  REG_DWORD  16
        Sys\Classes
    )"),
              CRegistrySnapshot().Text());
    SetShortNames({});
}

// What tests do to a host is undone by another hive of the same image: nothing is missing, other or left over.
TEST(PrivateHive, BeginsAsItsImageWhateverWasDoneToOthers)
{
    const std::string content = R"(
        A
        SOFTWARE\One  (default)  REG_SZ  "a  ""b"" \ = [x] ; # @"
        SOFTWARE\One  Number  REG_DWORD  4294967295
        SOFTWARE\One  Short Number  REG_DWORD  hex:01 02
        SOFTWARE\One\[Sub]  "Quo\ted"=1  REG_QWORD  18446744073709551615
        SOFTWARE\One\[Sub]  Broken  REG_MULTI_SZ  hex:31 00 32
        SOFTWARE\One\[Sub]  Büro 😀  REG_MULTI_SZ  "Büro", "😀 y"
        SOFTWARE\One\[Sub]  Empty  REG_SZ  ""
        SOFTWARE\One\[Sub]  Empty List  REG_MULTI_SZ
        SOFTWARE\One\[Sub]  Expanded  REG_EXPAND_SZ  "%TEMP%\x"
        SOFTWARE\One\[Sub]  Long  REG_BINARY  00 ff 0a 0d
        SOFTWARE\One\[Sub]  None  REG_NONE
        SOFTWARE\One\[Sub]  Nothing  REG_DWORD  hex:
        SOFTWARE\One\[Sub]  Raw17  REG_17  01
        SOFTWARE\One\[Sub]  Two Texts  REG_SZ  hex:31 00 00 00 32 00 00 00
        SOFTWARE\One\[Sub]  Unended  REG_SZ  hex:31 00
        SOFTWARE\Two\Büro 😀\Leaf
    )";
    std::optional<CHiveImage> image;
    std::string whole;
    {
        CPrivateHive hive(content);
        hive.Add("SOFTWARE\\Two  Large  REG_SZ  \"" + std::string(5000, 'x') + '"');
        whole = CRegistrySnapshot().Text();
        image.emplace(hive);
    }
    const std::function<void(CPrivateHive&)> damages[] = {
        [](CPrivateHive&) { RegDeleteTreeW(HKEY_LOCAL_MACHINE, nullptr); },
        [](CPrivateHive&) { RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\One"); },
        [](CPrivateHive&) { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\One", L"Number"); },
        [](CPrivateHive&) { RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Two\\B\xFCro \xD83D\xDE00\\Leaf"); },
        [](CPrivateHive& hive) { hive.Add("A\\New  Value  REG_SZ  \"x\""); },
        [](CPrivateHive& hive) { hive.Add("SOFTWARE\\One  Number  REG_DWORD  1"); },
        [](CPrivateHive& hive) { hive.Add("SOFTWARE\\One  Number  REG_SZ  \"1\""); },
        [](CPrivateHive& hive) { hive.Add("SOFTWARE\\One\\[Sub]  empty  REG_SZ  \"full\""); },
        [](CPrivateHive&) {}};
    for (const auto& damage : damages)
    {
        CPrivateHive hive(*image);
        EXPECT_EQ(whole, CRegistrySnapshot().Text());
        damage(hive);
        EXPECT_EQ(&damage == std::end(damages) - 1, whole == CRegistrySnapshot().Text()) << &damage - damages;
    }
    EXPECT_EQ(nullptr, OpenKey(L"SOFTWARE\\One"));
}

TEST(PrivateHive, BadTextIsRefused)
{
    CPrivateHive hive;
    for (const char* bad :
         {"A  B", "A  B  REG_WORD  1", "A  B  REG_BINARY  1", "A  B  REG_MULTI_SZ  \"x", "A  B  REG_DWORD  x"})
        EXPECT_THROW(hive.Add(bad), std::invalid_argument) << bad;
}

TEST(RegistryDiff, EveryKindOfChange)
{
    CPrivateHive hive(R"(
        Kept  Same  REG_DWORD  1
        Kept  Data  REG_DWORD  1
        Kept  Type  REG_DWORD  1
        Kept  Gone  REG_SZ  "x"
        Kept  Case  REG_SZ  "x"
        Gone  A  REG_SZ  "x"
        Gone\Sub
        Gone2
    )");
    const CRegistryChange change;
    hive.Add(R"(
        Kept  Data  REG_DWORD  2
        Kept  Type  REG_SZ  "1"
        kept  New  REG_BINARY  01
        New  (default)  REG_SZ  "n"
        New\Empty
    )");
    const HKEY kept = OpenKey(L"Kept");
    EXPECT_EQ(0, RegDeleteValueW(kept, L"Gone"));
    RegCloseKey(kept);
    EXPECT_EQ(0, RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Gone"));
    EXPECT_EQ(0, RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"Gone2"));
    EXPECT_EQ(Lines(R"(
        - Gone
        - Gone\Sub
        - Gone2
        ~ Kept  Data  REG_DWORD  1 -> 2
        - Kept  Gone  REG_SZ  "x"
        + Kept  New  REG_BINARY  01
        ~ Kept  Type  REG_DWORD  1 -> REG_SZ  "1"
        + New  (default)  REG_SZ  "n"
        + New\Empty
    )"),
              change.Text());
}

TEST(Journal, TellsCallsInOrderAndWhatStaysOpen)
{
    const CPrivateHive hive("Class\\0007  VLANID  REG_SZ  x");
    CJournal journal;
    const HKEY before = OpenKey(L"Class");
    journal.Start();
    HKEY key = nullptr;
    HKEY lost = nullptr;
    RegOpenKeyExW(before, L"0007", 0, KEY_READ | KEY_WRITE, &key);
    SetNumber(key, L"VLANID", 1);
    SetNumber(key, nullptr, 1);
    RegQueryValueExW(key, L"None", nullptr, nullptr, nullptr, nullptr);
    RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\VlanAgentTests", 0, nullptr, 0, KEY_READ, nullptr, &lost, nullptr);
    CreateFileW(L"\\\\.\\NoSuchDevice", 0, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    FreeLibrary(LoadLibraryW(L"version.dll"));
    RegCloseKey(key);
    journal.Stop();
    RegCloseKey(before);
    EXPECT_EQ(Lines(R"(
        RegOpenKeyExW Class\0007 0x2001f
        RegSetValueExW Class\0007 VLANID
        RegSetValueExW Class\0007 (default)
        RegQueryValueExW Class\0007 None -> 2
        RegCreateKeyExW HKCU\Software\VlanAgentTests 0x20019
        CreateFileW \\.\NoSuchDevice -> 2
        LoadLibraryW version.dll
        FreeLibrary version.dll
        RegCloseKey Class\0007
    )"),
              journal.Calls());
    EXPECT_EQ("RegCreateKeyExW HKCU\\Software\\VlanAgentTests\n", journal.OpenHandles());
    EXPECT_EQ(2u, journal.Count("RegSetValueExW"));
    EXPECT_EQ(7u, journal.FailableCalls());
    EXPECT_THROW(journal.Count("RegSetValue"), std::invalid_argument);
    RegCloseKey(lost);
}

TEST(Journal, FailsTheCallsItIsToldTo)
{
    const CPrivateHive hive("A  Number  REG_DWORD  1");
    CJournal journal;
    const HKEY key = OpenKey(L"A");
    const CRegistryChange change;
    journal.FailCall(2);
    journal.FailNext("RegSetValueExW", ERROR_DISK_FULL, 3);
    journal.FailNext("LoadLibraryW", ERROR_MOD_NOT_FOUND);
    journal.FailNext("TlsAlloc");
    journal.FailNext("CreateFileW");
    journal.FailNext("CoCreateInstance");
    journal.Start();
    EXPECT_EQ(0, SetNumber(key, L"Number", 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, SetNumber(key, L"Number", 2));
    EXPECT_EQ(ERROR_DISK_FULL, SetNumber(key, L"Number", 3));
    EXPECT_EQ(nullptr, LoadLibraryW(L"version.dll"));
    EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
    EXPECT_EQ(TLS_OUT_OF_INDEXES, TlsAlloc());
    EXPECT_EQ(INVALID_HANDLE_VALUE, CreateFileW(L"\\\\.\\NUL", 0, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    void* object = &journal;
    EXPECT_EQ(E_FAIL, CoCreateInstance(GUID{}, nullptr, CLSCTX_ALL, GUID{}, &object));
    EXPECT_EQ(nullptr, object);
    EXPECT_TRUE(journal.HasFailed());
    journal.Stop();
    EXPECT_EQ("", journal.OpenHandles());

    journal.FailCall(2);
    journal.Start();
    EXPECT_EQ(0, SetNumber(key, L"Number", 1));
    journal.Stop();
    EXPECT_FALSE(journal.HasFailed());
    EXPECT_EQ(0, SetNumber(key, L"Number", 1));
    RegCloseKey(key);
    EXPECT_EQ("", change.Text());
}

TEST(Journal, ActsBeforeACallAndLeavesNoTrace)
{
    const CPrivateHive hive("A");
    const HKEY key = OpenKey(L"A");
    {
        CJournal journal;
        journal.Before("RegQueryValueExW", 2, [key] { SetNumber(key, L"Late", 1); });
        journal.Start(CJournal::THREADS::Mine);
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(key, L"Late", nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(key, L"Late", nullptr, nullptr, nullptr, nullptr));
        journal.Stop();
        EXPECT_EQ(2u, journal.FailableCalls());
    }
    RegCloseKey(key);
}

} // namespace
