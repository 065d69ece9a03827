#include "Common/Src/RavRegKey.h"
#include "Tests/Harness/Journal.h"
#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryDiff.h"

#include <gtest/gtest.h>

namespace
{

std::string Joined(const std::vector<CRavString>& parts)
{
    std::string text;
    for (const CRavString& part : parts)
        text += '[' + Utf8(part) + ']';
    return text;
}

std::string HexOf(size_t count, const std::string& character)
{
    std::string text = "hex:";
    for (size_t i = 0; i < count; ++i)
        text += character;
    return text;
}

class RavRegKey : public ::testing::Test
{
  protected:
    void Open(const char* content = "A")
    {
        m_hive.Add(content);
        ASSERT_TRUE(m_key.Open(HKEY_LOCAL_MACHINE, L"A", true));
    }

    CPrivateHive m_hive;
    CRavRegKey m_key;
};

TEST_F(RavRegKey, AsksForTheRightsItNeedsAndGivesEveryHandleBack)
{
    m_hive.Add("A");
    CJournal journal;
    journal.Start();
    {
        CRavRegKey key;
        EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, L"A", false));
        EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, L"A", true));
        EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, L"B", false, false));
        EXPECT_TRUE(key.SubKeyExists(L"") && !key.SubKeyExists(L"None"));
        EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, L"C", true, true));
        EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, L"None", false));
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.LastResult());
        EXPECT_EQ(nullptr, key.GetHKey());

        EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, L"A", false));
        const CRavRegKey copy(key);
        EXPECT_EQ(nullptr, copy.GetHKey());
        CRavRegKey other;
        other = key.GetHKey();
        HKEY handle = nullptr;
        EXPECT_EQ(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"B", 0, KEY_READ, &handle));
        key = handle;
        EXPECT_EQ(handle, key.GetHKey());
    }
    journal.Stop();
    EXPECT_EQ(Lines(R"(
        RegOpenKeyExW A 0x20019
        RegCloseKey A
        RegOpenKeyExW A 0x2001f
        RegCloseKey A
        RegCreateKeyExW B 0x20019
        RegOpenKeyExW B 0x20019
        RegCloseKey B
        RegOpenKeyExW B\None 0x20019 -> 2
        RegCloseKey B
        RegCreateKeyExW C 0x2001f volatile
        RegCloseKey C
        RegOpenKeyExW None 0x20019 -> 2
        RegOpenKeyExW A 0x20019
        RegOpenKeyExW B 0x20019
        RegCloseKey A
        RegCloseKey B
    )"),
              journal.Calls());
    EXPECT_EQ("", journal.OpenHandles());
}

TEST_F(RavRegKey, WritesEachType)
{
    Open();
    const CRegistryChange change;
    CRavString text(L"B\x00FCro");
    CRavString empty;
    BYTE bytes[] = {0, 255, 16};
    EXPECT_TRUE(m_key.SetValue(L"Text", text, false));
    EXPECT_TRUE(m_key.SetValue(L"Expand", text, true));
    EXPECT_TRUE(m_key.SetValue(L"Empty", empty, false));
    EXPECT_TRUE(m_key.SetValue(L"Number", DWORD{0xFFFFFFFF}));
    EXPECT_TRUE(m_key.SetValue(L"Bytes", bytes, 3));
    EXPECT_TRUE(m_key.SetValue(L"List", std::vector<CRavString>{L"10", L"x y", L"\x65E5"}));
    EXPECT_TRUE(m_key.SetValue(L"No List", std::vector<CRavString>{}));
    EXPECT_EQ(ERROR_SUCCESS, m_key.FlushKey());
    EXPECT_EQ(Lines(R"(
        + A  Bytes  REG_BINARY  00 ff 10
        + A  Empty  REG_SZ  ""
        + A  Expand  REG_EXPAND_SZ  "Büro"
        + A  List  REG_MULTI_SZ  "10", "x y", "日"
        + A  No List  REG_MULTI_SZ
        + A  Number  REG_DWORD  4294967295
        + A  Text  REG_SZ  "Büro"
    )"),
              change.Text());
    EXPECT_EQ(DWORD{REG_EXPAND_SZ}, m_key.GetRegType(L"expand"));
    EXPECT_TRUE(m_key.DeleteValue(L"TEXT"));
    EXPECT_FALSE(m_key.DeleteValue(L"Text"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
    EXPECT_TRUE(m_key.ValueExists(L"List") && !m_key.ValueExists(L"Text"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
    EXPECT_EQ(0u, m_key.GetRegType(L"Text"));
}

TEST_F(RavRegKey, ClosedKeyRefusesAllButDeletingAValue)
{
    DWORD number = 5;
    CRavString text(L"old");
    BYTE byte = 0;
    DWORD size = 1;
    std::vector<CRavString> list{L"old"};
    EXPECT_FALSE(m_key.GetValue(L"V", number) || m_key.GetValue(L"V", text) || m_key.GetValue(L"V", list) ||
                 m_key.GetValue(L"V", &byte, size) || m_key.SetValue(L"V", number) ||
                 m_key.SetValue(L"V", text, false) || m_key.SetValue(L"V", &byte, 1) || m_key.SetValue(L"V", list) ||
                 m_key.ValueExists(L"V") || m_key.SubKeyExists(L"V") || m_key.EnumSubKey(text) ||
                 m_key.EnumValue(text) || m_key.DeleteSubKey(L"V") || m_key.AddValueToMultiString(L"V", L"x") ||
                 m_key.GetRegType(L"V"));
    EXPECT_TRUE(m_key.DeleteValue(L"V"));
    EXPECT_EQ(5u, number);
    EXPECT_EQ("", Joined(list));
}

TEST_F(RavRegKey, HostileNumbersAndTexts)
{
    Open();
    const std::string full = HexOf(256, "41 00 ");
    const struct
    {
        std::string stored;
        bool isNumber;
        LONG numberStatus;
        bool isText;
        std::string text;
    } rows[] = {
        {"", false, ERROR_FILE_NOT_FOUND, false, ""},
        {"REG_DWORD  0x00420041", true, 0, true, "AB"},
        {"REG_DWORD  hex:01 00 00 00 02", false, ERROR_MORE_DATA, true, "\x01"},
        {"REG_BINARY  41 00 42 00", false, 0, true, "AB"},
        {"REG_SZ  1", false, 0, true, "1"},
        {"REG_SZ  12345", false, ERROR_MORE_DATA, true, "12345"},
        {"REG_SZ  hex:", false, 0, true, ""},
        {"REG_SZ  hex:41", false, 0, true, "A"},
        {"REG_SZ  hex:41 00 42 00 43", false, ERROR_MORE_DATA, true, "ABC"},
        {"REG_SZ  hex:41 00 00 00 42 00 00 00", false, ERROR_MORE_DATA, true, "A"},
        {"REG_EXPAND_SZ  %windir%", false, ERROR_MORE_DATA, true, "%windir%"},
        {"REG_SZ  " + std::string(255, 'x'), false, ERROR_MORE_DATA, true, std::string(255, 'x')},
        {"REG_SZ  " + std::string(256, 'x'), false, ERROR_MORE_DATA, false, ""},
        {"REG_SZ  " + std::string(300000, 'x'), false, ERROR_MORE_DATA, false, ""},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.stored.substr(0, 60));
        if (!row.stored.empty())
            m_hive.Add("A  V  " + row.stored);
        DWORD number = 5;
        CRavString text(L"old");
        EXPECT_EQ(row.isNumber, m_key.GetValue(L"V", number));
        EXPECT_EQ(row.numberStatus, m_key.LastResult());
        EXPECT_EQ(row.isNumber ? 0x00420041u : 5u, number);
        EXPECT_EQ(row.isText, m_key.GetValue(L"V", text));
        EXPECT_EQ(row.text, Utf8(text));
    }

    // Just as long as the buffer, without a terminator.
    m_hive.Add("A  V  REG_SZ  " + full);
    CRavString text;
    const bool read = m_key.GetValue(L"V", text);
    EXPECT_EQ(std::string(read ? text.Length() : 0, 'A'), Utf8(text));
    EXPECT_LE(text.Length(), 256u);

    BYTE bytes[4] = {};
    DWORD size = 4;
    m_hive.Add("A  V  REG_SZ  hex:01 02 03");
    EXPECT_TRUE(m_key.GetValue(L"V", bytes, size));
    EXPECT_EQ(3u, size);
    size = 2;
    EXPECT_FALSE(m_key.GetValue(L"V", bytes, size));
    EXPECT_EQ(ERROR_MORE_DATA, m_key.LastResult());
    EXPECT_EQ(3u, size);
}

TEST_F(RavRegKey, HostileLists)
{
    Open();
    const std::pair<std::string, std::string> rows[] = {
        {"REG_MULTI_SZ  \"a\", \"b c\"", "[a][b c]"},
        {"REG_MULTI_SZ", ""},
        {"REG_MULTI_SZ  hex:", ""},
        {"REG_MULTI_SZ  hex:61", "[a]"},
        {"REG_MULTI_SZ  hex:61 00 62", "[ab]"},
        {"REG_MULTI_SZ  hex:61 00 62 00", "[ab]"},
        {"REG_MULTI_SZ  hex:61 00 00 00 62", "[a][b]"},
        {"REG_MULTI_SZ  hex:61 00 00 00 62 00", "[a][b]"},
        {"REG_MULTI_SZ  hex:61 00 00 00 00 00 62 00 00 00 00 00", "[a][b]"},
        {"REG_MULTI_SZ  hex:00 00 00 00 61 00 00 00 00 00", "[a]"},
        {"REG_SZ  one", "[one]"},
        {"REG_DWORD  0x00420041", "[AB]"},
        {"REG_MULTI_SZ  " + HexOf(1 << 19, "41 00 "), '[' + std::string(1 << 19, 'A') + ']'},
    };
    for (const auto& [stored, expected] : rows)
    {
        SCOPED_TRACE(stored.substr(0, 60));
        m_hive.Add("A  V  " + stored);
        std::vector<CRavString> list{L"old"};
        EXPECT_TRUE(m_key.GetValue(L"V", list));
        EXPECT_TRUE(expected == Joined(list)) << Joined(list).substr(0, 60);
    }

    std::vector<CRavString> own{L"other", L"V"};
    m_hive.Add("A  V  REG_MULTI_SZ  a");
    EXPECT_TRUE(m_key.GetValue(own[1], own)); // the name out of the list that it replaces
    EXPECT_EQ("[a]", Joined(own));
    EXPECT_FALSE(m_key.GetValue(own[0], own));
    EXPECT_EQ("", Joined(own));

    std::vector<CRavString> many(100000, L"1234");
    std::vector<CRavString> read;
    EXPECT_TRUE(m_key.SetValue(L"Many", many));
    EXPECT_TRUE(m_key.GetValue(L"Many", read));
    EXPECT_TRUE(many == read);
}

TEST_F(RavRegKey, ListChangesBetweenTheSizeQueryAndTheRead)
{
    const struct
    {
        const char* now;
        bool result;
        LONG status;
        const char* list;
    } rows[] = {{"A  V  REG_MULTI_SZ  one two three", false, ERROR_MORE_DATA, ""},
                {"A  V  REG_MULTI_SZ  x", true, ERROR_SUCCESS, "[x]"},
                {"A  V  REG_MULTI_SZ  hex:78 00 79", true, ERROR_SUCCESS, "[xy]"},
                {nullptr, false, ERROR_FILE_NOT_FOUND, ""}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.now ? row.now : "deleted");
        Open("A  V  REG_MULTI_SZ  one two");
        CJournal journal;
        journal.Before("RegQueryValueExW", 2, [&] {
            if (row.now)
                m_hive.Add(row.now);
            else
                RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, L"A", L"V");
        });
        journal.Start();
        std::vector<CRavString> list;
        EXPECT_EQ(row.result, m_key.GetValue(L"V", list));
        journal.Stop();
        EXPECT_EQ(row.status, m_key.LastResult());
        EXPECT_EQ(row.list, Joined(list));
    }
}

TEST_F(RavRegKey, ListsAreSetsOfNamesInOrder)
{
    Open("A  Ids  REG_MULTI_SZ  \"Ten\", \"B\u00fcro\", \"ten\"");
    EXPECT_TRUE(m_key.IsValueInMultiString(L"ids", L"TEN"));
    EXPECT_FALSE(m_key.IsValueInMultiString(L"Ids", L"Te"));
    EXPECT_FALSE(m_key.IsValueInMultiString(L"None", L"TEN"));
    CRavString found(L"old");
    EXPECT_TRUE(m_key.IsSubStringValueInMultiString(L"Ids", L"\x00DCR", found));
    EXPECT_STREQ(L"B\x00FCro", found.c_str());
    EXPECT_FALSE(m_key.IsSubStringValueInMultiString(L"Ids", L"eleven", found));

    const CRegistryChange change;
    CJournal journal;
    journal.Start();
    EXPECT_TRUE(m_key.AddValueToMultiString(L"Ids", L"TEN"));
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"Ids", L"eleven"));
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"None", L"ten"));
    EXPECT_EQ(0u, journal.Count("RegSetValueExW"));
    EXPECT_TRUE(m_key.AddValueToMultiString(L"Ids", L"eleven"));
    journal.Stop();
    EXPECT_EQ(1u, journal.Count("RegSetValueExW"));
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"Ids", L"TEN"));
    EXPECT_TRUE(m_key.AddValueToMultiString(L"New", L"one"));
    EXPECT_TRUE(m_key.AddValueToMultiString(L"Last", L"one"));
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"Last", L"ONE"));
    EXPECT_EQ(Lines(R"(
        ~ A  Ids  REG_MULTI_SZ  "Ten", "Büro", "ten" -> "Büro", "eleven"
        + A  Last  REG_MULTI_SZ
        + A  New  REG_MULTI_SZ  "one"
    )"),
              change.Text());
}

TEST_F(RavRegKey, EnumerationStartsAgainAtTheEnd)
{
    Open(R"(
        A\One  V  REG_SZ  x
        A\Three
        A\Two
        A  V1  REG_DWORD  1
        A  V2  REG_DWORD  2
    )");
    std::string seen;
    CRavString name;
    DWORD number = 0;
    for (int round = 0; round < 2; ++round)
    {
        while (m_key.EnumSubKey(name))
        {
            EXPECT_TRUE(m_key.GetValue(L"V1", number));
            seen += Utf8(name) + ' ';
        }
        EXPECT_EQ(ERROR_NO_MORE_ITEMS, m_key.LastResult());
        while (m_key.EnumValue(name))
            seen += Utf8(name) + ' ';
    }
    EXPECT_EQ("One Three Two V1 V2 One Three Two V1 V2 ", seen);
    EXPECT_TRUE(m_key.EnumSubKey(name) && m_key.EnumValue(name));
    EXPECT_STREQ(L"V2", name.c_str());
    m_key.ResetEnumeration();
    EXPECT_TRUE(m_key.EnumValue(name));
    EXPECT_STREQ(L"V1", name.c_str());

    // Another key goes on where this one stopped, until the end or Close.
    m_hive.Add("B  W1  REG_DWORD  1\nB  W2  REG_DWORD  2");
    EXPECT_TRUE(m_key.Open(HKEY_LOCAL_MACHINE, L"B", true) && m_key.EnumValue(name));
    EXPECT_STREQ(L"W2", name.c_str());
    EXPECT_TRUE(!m_key.Open(HKEY_LOCAL_MACHINE, L"None", true) && m_key.GetHKey() == nullptr);
    EXPECT_TRUE(m_key.Create(HKEY_LOCAL_MACHINE, L"A", true, false) && !m_key.EnumValue(name));
    EXPECT_TRUE(m_key.EnumValue(name));
    m_key.Close();
    EXPECT_TRUE(m_key.Open(HKEY_LOCAL_MACHINE, L"B", true) && m_key.EnumValue(name));
    EXPECT_STREQ(L"W1", name.c_str());
    EXPECT_TRUE(m_key.Open(HKEY_LOCAL_MACHINE, L"A", true));

    m_hive.Add("A  " + std::string(600, 'a') + "  REG_DWORD  1");
    m_key.ResetEnumeration();
    int entries = 0;
    int tooLong = 0;
    while (m_key.EnumValue(name) || m_key.LastResult() != ERROR_NO_MORE_ITEMS)
        (m_key.LastResult() == ERROR_MORE_DATA ? tooLong : entries) += 1;
    EXPECT_EQ(2, entries);
    EXPECT_EQ(1, tooLong);
}

TEST_F(RavRegKey, DeletesWholeTrees)
{
    Open(R"(
        A\Keep  V  REG_SZ  x
        A\Tree  V  REG_SZ  x
        A\Tree\One\Deep
        A\Tree\Two  V  REG_SZ  x
    )");
    CRegistryChange change;
    EXPECT_FALSE(m_key.DeleteSubKey(nullptr) || m_key.DeleteSubKey(L"") || m_key.DeleteSubKey(L"None"));
    EXPECT_EQ("", change.Text());

    CJournal journal;
    journal.FailNext("RegOpenKeyExW", ERROR_ACCESS_DENIED, 4);
    journal.Start();
    EXPECT_FALSE(m_key.DeleteSubKey(L"Tree"));
    journal.Stop();
    EXPECT_EQ("", journal.OpenHandles());
    EXPECT_EQ(Lines(R"(
        - A\Tree\One
        - A\Tree\One\Deep
    )"),
              change.Text());
    EXPECT_TRUE(m_key.DeleteSubKey(L"tree"));
    EXPECT_EQ(Lines("A\\Keep  V  REG_SZ  \"x\""), CRegistrySnapshot().Text());
}

TEST_F(RavRegKey, EveryFailingCallIsReportedAndLeavesNothingOpen)
{
    const auto operation = [] {
        CRavRegKey key;
        CRavString text(L"x");
        CRavString name;
        DWORD number = 0;
        const bool opened = key.Create(HKEY_LOCAL_MACHINE, L"A", true, false);
        const bool written = key.SetValue(L"Text", text, false) && key.SetValue(L"Number", DWORD{7});
        const bool read = key.GetValue(L"Text", text) && key.GetValue(L"Number", number);
        const bool seen = key.EnumSubKey(name) && key.EnumValue(name) && key.SubKeyExists(L"Tree");
        const bool listed = key.AddValueToMultiString(L"Ids", L"ten") && key.IsValueInMultiString(L"Ids", L"ten") &&
                            key.RemoveValueFromMultiString(L"Ids", L"none");
        const bool deleted = key.DeleteValue(L"Text") && key.DeleteSubKey(L"Tree");
        return opened && written && read && seen && listed && deleted && key.FlushKey() == ERROR_SUCCESS;
    };
    CJournal journal;
    std::string silent;
    for (size_t k = 1;; ++k)
    {
        SCOPED_TRACE(k);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"A");
        m_hive.Add("A\\Tree\\Sub  V  REG_SZ  x");
        journal.FailCall(k, ERROR_ACCESS_DENIED);
        journal.Start();
        bool result = true;
        EXPECT_NO_THROW(result = operation());
        journal.Stop();
        EXPECT_EQ("", journal.OpenHandles());
        if (!journal.HasFailed())
            break;
        for (const std::string& call : SplitLines(journal.Calls()))
            if (result && call.ends_with(" -> 5"))
                silent += call + '\n';
    }
    // A list that can't be read counts as empty, and a tree that can't be enumerated is left to the deletion that
    // follows.
    EXPECT_EQ(Lines(R"(
        RegQueryValueExW A Ids -> 5
        RegQueryValueExW A Ids -> 5
        RegQueryValueExW A Ids -> 5
        RegEnumKeyExW A\Tree\Sub #0 -> 5
        RegEnumKeyExW A\Tree #0 -> 5
    )"),
              silent);
}

} // namespace
