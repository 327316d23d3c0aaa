// Every character, at every place of the blocks in which texts are scanned, on its way into the module and out of it.

#include "Tests/Queries/QueryTest.h"

#include <cstddef>
#include <string_view>

namespace
{

using namespace Zv::Testing;

constexpr std::size_t UnitsInBlock = 8;
constexpr std::size_t TextLength = 1000; // a query takes 1,024 units of a filter

// All UTF-16 units but 0 in order, in texts that begin with `filler` others.
std::vector<std::wstring> AllUnits(std::size_t filler)
{
    std::vector<std::wstring> texts{std::wstring(filler, L'x')};
    for (unsigned int unit = 1; unit <= 0xffff; ++unit)
    {
        if (texts.back().size() == TextLength)
        {
            texts.emplace_back(filler, L'x');
        }
        texts.back() += static_cast<wchar_t>(unit);
    }
    return texts;
}

// A JSON string of that text, unit by unit.
std::wstring Json(const std::wstring& text)
{
    constexpr std::wstring_view escaped = L"\"\\\b\f\n\r\t";
    constexpr std::wstring_view letters = L"\"\\bfnrt";
    std::wstring json = L"\"";
    for (const wchar_t unit : text)
    {
        if (const std::size_t found = escaped.find(unit); found != std::wstring_view::npos)
        {
            json += L'\\';
            json += letters[found];
        }
        else if (unit < 0x20)
        {
            constexpr wchar_t digits[] = L"0123456789ABCDEF";
            json += L"\\u00";
            json += digits[unit >> 4];
            json += digits[unit & 0xf];
        }
        else
        {
            json += unit;
        }
    }
    return json + L'"';
}

class EveryCharacter : public QueryTest, public ::testing::WithParamInterface<std::size_t>
{
};

TEST_P(EveryCharacter, OfAPropertyComesOutAsItIsOrEscaped)
{
    for (const std::wstring& text : AllUnits(GetParam()))
    {
        wmi->script[L"ns"].instances[L"C"].instances.clear();
        Holds({Value::Text(text)});

        ASSERT_EQ(Get().text, L"{\"result\":" + Json(text) + L"}");
    }
}

TEST_P(EveryCharacter, OfARequestReachesWmiAsItIs)
{
    Holds({});
    for (const std::wstring& text : AllUnits(GetParam()))
    {
        transcript.Clear();

        Run(16, (LR"({"property":"P","wmiClass":"C","filter":)" + Json(text) + LR"(,"wmiNamespace":"ns"})").c_str());

        ASSERT_EQ(transcript.Of({L"IWbemServices::ExecQuery"}),
                  std::vector<std::wstring>{L"IWbemServices::ExecQuery(\"WQL\", \"SELECT * FROM C WHERE " + text +
                                            L"\", 48, null) = 0x00000000"});
    }
}

INSTANTIATE_TEST_SUITE_P(AtEachPlace, EveryCharacter, ::testing::Range(std::size_t{0}, UnitsInBlock));

} // namespace
