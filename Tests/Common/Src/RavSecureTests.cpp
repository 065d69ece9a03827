#include "Common/Src/RavSecure.h"
#include "Tests/Common/Src/ModuleTrace.h"
#include "Tests/Harness/RegistryText.h"

namespace
{

const std::string s_handler = "RavSecureInvalidParameterHandler : ERROR";

CModuleTrace* const s_trace = CModuleTrace::Register();

// Wine refuses a concatenation without calling the handler, Windows calls it.
std::string WithoutHandlerLines(const std::string& text)
{
    std::string result;
    for (const std::string& line : SplitLines(text))
        result += line.ends_with(s_handler) ? "" : line + '\n';
    return result;
}

// One scenario: the handler is installed by the first copy of the process.
TEST(RavSecure, CopiesReportWhatTheyRefuse)
{
    const wchar_t* const source = L"..\\..\\Src\\Caller";
    const std::wstring longText(300, L'x');
    wchar_t text[8] = L"";
    wchar_t name[260] = L"old";
    s_trace->Forget();

    EXPECT_EQ(0, RavSafeCopy(source, 1, text, 8, L"B\x00FCro"));
    EXPECT_STREQ(L"B\x00FCro", text);
    EXPECT_EQ(0, RavSafeCat(source, 2, text, 8, L"123"));
    EXPECT_STREQ(L"B\x00FCro123", text);
    EXPECT_EQ(Lines("0 ..\\..\\Common\\Src\\RavSecure (98): "
                    "Setting invalid parameter handler to: RavSecureInvalidParameterHandler"),
              s_trace->Text());

    const struct
    {
        int (*function)(const wchar_t*, int, wchar_t*, size_t, const wchar_t*);
        wchar_t* destination;
        size_t size;
        const wchar_t* text;
        int result;
        const char* trace;
    } rows[] = {
        {&RavSafeCopy, text, 8, L"1234567", 0, ""},
        {&RavSafeCopy, text, 8, L"12345678", ERANGE,
         "..\\..\\Src\\Caller (5): RavSafeCopy ERROR: strDestination size 0, or too small"},
        {&RavSafeCopy, text, 8, nullptr, EINVAL, "..\\..\\Src\\Caller (5): RavSafeCopy ERROR: NULL == strSource"},
        {&RavSafeCopy, nullptr, 8, L"x", EINVAL,
         "..\\..\\Common\\Src\\RavSecure (189): RavSafeCopy ERROR: NULL == strDestination"},
        {&RavSafeCat, text, 8, L"1234", 0, ""},
        {&RavSafeCat, text, 8, L"5678", ERANGE,
         "..\\..\\Src\\Caller (5): RavSafeCopy ERROR: strDestination size 0, or too small"},
        {&RavSafeCat, text, 8, nullptr, EINVAL, "..\\..\\Src\\Caller (5): RavSafeCopy ERROR: NULL == strSource"},
        {&RavSafeCat, nullptr, 8, L"x", EINVAL,
         "..\\..\\Common\\Src\\RavSecure (189): RavSafeCopy ERROR: NULL == strDestination"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        s_trace->Forget();
        EXPECT_EQ(row.result, row.function(source, 5, row.destination, row.size, row.text));
        if (row.result && row.destination)
        {
            EXPECT_STREQ(L"", row.destination);
        }
        const bool isCopy = row.function == rows[0].function;
        EXPECT_TRUE(!row.result || !isCopy || s_trace->Text().starts_with("0 " + s_handler)) << s_trace->Text();
        EXPECT_EQ(*row.trace ? "0 " + Lines(row.trace) : "", WithoutHandlerLines(s_trace->Text()));
    }

    s_trace->Forget();
    EXPECT_EQ(0, RavSafeCopy(source, 6, name, L"new"));
    EXPECT_EQ(0, RavSafeCat(source, 7, name, L"er"));
    EXPECT_STREQ(L"newer", name);
    EXPECT_EQ(ERANGE, RavSafeCopy(source, 8, name, longText.c_str()));
    EXPECT_STREQ(L"", name);
    EXPECT_EQ(ERANGE, RavSafeCat(source, 9, name, longText.c_str()));
    EXPECT_EQ(Lines(R"(
        1 ENTRY:  RavSafeCopy
        1 EXIT:  RavSafeCopy, nReturn=0
        1 ENTRY:  RavSafeCat
        1 EXIT:  RavSafeCat, nReturn=0
        1 ENTRY:  RavSafeCopy
        1 ..\..\Src\Caller (8): RavSafeCopy ERROR: strDestination size 0, or too small
        1 EXIT:  RavSafeCopy, nReturn=34
        1 ENTRY:  RavSafeCat
        1 ..\..\Src\Caller (9): RavSafeCopy ERROR: strDestination size 0, or too small
        1 EXIT:  RavSafeCat, nReturn=34
    )"),
              WithoutHandlerLines(s_trace->Text()));
}

} // namespace
