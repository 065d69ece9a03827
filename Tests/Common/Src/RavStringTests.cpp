#include "Common/Src/RavString.h"
#include "Tests/Common/Src/ModuleTrace.h"
#include "Tests/Harness/RegistryText.h"

namespace
{

CModuleTrace* const s_trace = CModuleTrace::Register();

std::string Joined(const std::vector<CRavString>& parts)
{
    std::string text;
    for (const CRavString& part : parts)
        text += '[' + Utf8(part) + ']';
    return text;
}

int FormatList(CRavString& text, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = text.FormatString(format, args);
    va_end(args);
    return result;
}

TEST(RavString, CopiesEndAtTheFirstNul)
{
    CRavString whole(L"one");
    whole.push_back(L'\0');
    whole.append(L"two");
    const CRavString copy(whole);
    EXPECT_EQ(3u, copy.Length());
    const std::unique_ptr<CRavString> heap(whole.Copy());
    EXPECT_EQ(3u, heap->Length());
    EXPECT_EQ(7u, whole.Length());

    wchar_t buffer[] = L"buffer";
    EXPECT_TRUE(CRavString(buffer) == L"buffer");
    CRavString text;
    EXPECT_NE(0, text.IsEmpty());
    text = buffer;
    text = *&text;
    text = text.c_str() + 3;
    EXPECT_TRUE(text == L"fer");
    EXPECT_STREQ(L"fer", static_cast<const wchar_t*>(text));
    EXPECT_EQ(0, text.IsEmpty());
    text.ClearString();
    EXPECT_NE(0, text.IsEmpty());
}

TEST(RavString, NumbersOfTenCharactersAreTooLong)
{
    s_trace->Forget();
    // Nobody has copied anything yet: without the handler the first of them would end the process.
    EXPECT_STREQ(L"", CRavString(1234567890).c_str());
    EXPECT_EQ("0 ..\\..\\Common\\Src\\RavSecure (98): "
              "Setting invalid parameter handler to: RavSecureInvalidParameterHandler\n"
              "0 RavSecureInvalidParameterHandler : ERROR\n",
              s_trace->Text());
    const struct
    {
        int number;
        const wchar_t* text;
    } rows[] = {{0, L"0"},         {123456789, L"123456789"}, {-12345678, L"-12345678"},
                {1234567890, L""}, {-123456789, L""},         {INT_MIN, L""},
                {1000000000, L""}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.number);
        s_trace->Forget();
        CRavString assigned(L"before");
        assigned = row.number;
        EXPECT_STREQ(row.text, CRavString(row.number).c_str());
        EXPECT_STREQ(row.text, assigned.c_str());
        const std::string handled = "0 RavSecureInvalidParameterHandler : ERROR\n";
        EXPECT_EQ(*row.text ? "" : handled + handled, s_trace->Text());
    }
}

TEST(RavString, AssigningAStandardStringNarrows)
{
    CRavString text;
    text = std::wstring(L"VLAN 10 \x00FC\x0142\x0180\xFFFF");
    EXPECT_STREQ(L"VLAN 10 \xFFFC\x0042\xFF80\xFFFF", text.c_str());
}

TEST(RavString, ComparesInAnyScript)
{
    const struct
    {
        const wchar_t* one;
        const wchar_t* two;
        bool same;
        bool sameI;
    } rows[] = {{L"", L"", true, true},
                {L"Eth", L"Eth", true, true},
                {L"ETH0", L"eth0", false, true},
                {L"B\x00DCRO", L"b\x00FCro", false, true},
                {L"\x0416\x0423\x041A", L"\x0436\x0443\x043A", false, true},
                {L"B\x00FCro", L"Buro", false, false},
                {L"Eth", L"Eth ", false, false},
                {L"a-b", L"ab", false, false}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(Utf8(row.one) + " / " + Utf8(row.two));
        CRavString one(row.one);
        const CRavString two(row.two);
        EXPECT_EQ(row.same, one == two);
        EXPECT_EQ(row.same, one == row.two);
        EXPECT_EQ(row.sameI, one.CompareI(two));
    }
    CRavString name(L"B\x00FCro \x0416 9");
    name.MakeUpper();
    EXPECT_STREQ(L"B\x00DCRO \x0416 9", name.c_str());
    name.MakeLower();
    EXPECT_STREQ(L"b\x00FCro \x0436 9", name.c_str());
    EXPECT_STREQ(L"b\x00FCro \x0436 9!", (name + CRavString(L"!")).c_str());
}

TEST(RavString, OnlyDigitsAreNumeric)
{
    for (const wchar_t* text : {L"0", L"007", L"99999999999999999999"})
        EXPECT_TRUE(CRavString(text).IsNumeric()) << Utf8(text);
    for (const wchar_t* text : {L"", L"-1", L"+1", L" 1", L"1 ", L"1.0", L"0x1", L"\x0661", L"\xFF11"})
        EXPECT_FALSE(CRavString(text).IsNumeric()) << Utf8(text);
}

TEST(RavString, SplitKeepsEmptyFields)
{
    const std::pair<const wchar_t*, const char*> rows[] = {
        {L"a", "[a]"}, {L"a,b", "[a][b]"}, {L",a,,b,", "[][a][][b][]"}, {L",", "[][]"}, {L"", ""}};
    for (const auto& [text, parts] : rows)
    {
        std::vector<CRavString> found{L"old"};
        EXPECT_EQ(*text != 0, CRavString(text).Split(',', found)) << Utf8(text);
        EXPECT_EQ(parts, Joined(found)) << Utf8(text);
    }
}

TEST(RavString, FormatsAnyLength)
{
    CRavString text(L"10");
    EXPECT_EQ(12, text.FormatString(L"%s/%S/%03d/%x", L"w\x00FC", "n", 7, 0xABC));
    EXPECT_STREQ(L"w\x00FC/n/007/abc", text.c_str());
    const std::wstring longText(70000, L'x');
    EXPECT_EQ(70000, text.FormatString(L"%s", longText.c_str()));
    EXPECT_EQ(longText, text);
    EXPECT_EQ(4, FormatList(text, L"%s", L"list"));
    EXPECT_EQ(9, text.FormatString(L"%s %s", text.c_str(), text.c_str()));
    EXPECT_STREQ(L"list list", text.c_str());
    EXPECT_EQ(0, text.FormatString(L"%s", L""));
    EXPECT_STREQ(L"", text.c_str());
}

TEST(RavString, LoadsStringResources)
{
    const HINSTANCE module = GetModuleHandleW(nullptr);
    CRavString text(L"before");
    EXPECT_NE(0, text.LoadString(module, 1));
    EXPECT_STREQ(L"VLAN", text.c_str());
    EXPECT_NE(0, text.LoadString(module, 2));
    EXPECT_STREQ(L"B\x00FCro \x65E5", text.c_str());
    EXPECT_NE(0, text.LoadString(module, 3));
    EXPECT_EQ(310u, text.Length());
    EXPECT_NE(0, text.LoadCommonResString(1));
    EXPECT_STREQ(L"VLAN", text.c_str());
    EXPECT_EQ(0, text.LoadString(module, 4));
    EXPECT_EQ(0, text.LoadCommonResString(60000));
}

} // namespace
