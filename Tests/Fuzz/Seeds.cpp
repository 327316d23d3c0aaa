#include "Tests/Fuzz/Mutator.h"
#include "Tests/Fuzz/Vocabulary.h"

#include <iterator>
#include <utility>

namespace Zv::Fuzz
{

namespace
{

std::wstring Repeated(std::wstring_view word, std::size_t count)
{
    std::wstring text;
    text.reserve(word.size() * count);
    for (std::size_t i = 0; i < count; ++i)
    {
        text += word;
    }
    return text;
}

std::wstring Member(std::wstring_view name, std::wstring_view value)
{
    return L"\"" + std::wstring{name} + L"\":" + std::wstring{value};
}

std::vector<std::wstring> Extremes()
{
    std::vector<std::wstring> texts;
    for (const std::size_t depth : {1000U, 1001U, 32'000U, 500'000U})
    {
        texts.push_back(Repeated(L"[", depth) + Repeated(L"]", depth));
        texts.push_back(Repeated(L"{\"a\":", depth) + L"1" + Repeated(L"}", depth));
        texts.push_back(Repeated(L"[", depth));
    }

    const std::wstring megabyte(std::size_t{1} << 20, L'x');
    texts.push_back(L"\"" + megabyte + L"\"");
    texts.push_back(megabyte);
    texts.push_back(L"{" + Member(megabyte, L"1") + L"}");
    for (const std::wstring_view name : {L"property", L"inputData", L"filter", L"wmiNamespace", L"value", L"password"})
    {
        texts.push_back(L"{\"command\":1,\"commandType\":1,\"inputDataSize\":786432,\"returnDataSize\":4,"
                        L"\"wmiClass\":\"C\",\"name\":\"n\"," +
                        Member(name, L"\"" + megabyte + L"\"") + L"}");
    }
    texts.push_back(L"{" + Repeated(L"\"filterEvent\":1,", 60'000) + L"\"filterEvent\":2}");
    texts.push_back(L"[" + Repeated(L"1e5,", 100'000) + L"1]");

    for (const std::wstring_view number : Numbers)
    {
        const std::wstring text{number};
        texts.push_back(text);
        texts.push_back(L"{" + Member(L"filterEvent", text) + L"}");
        texts.push_back(L"{" + Member(L"command", text) + L"," + Member(L"commandType", text) + L"," +
                        Member(L"inputDataSize", text) + L"," + Member(L"returnDataSize", text) +
                        L",\"inputData\":\"AAAA\"}");
    }
    texts.push_back(Repeated(L"9", 1'000'000));
    texts.push_back(L"0." + Repeated(L"0", 1'000'000) + L"1");
    texts.push_back(L"1e" + Repeated(L"9", 100'000));

    for (const std::wstring_view odd :
         {L"\xD800", L"\xDC00", L"\xDC00\xD800", L"\xFFFF", L"\xFEFF", L"\x0001", L"\\uD800", L"\\uDC00", L"\\u0000",
          L"\\uD800\\u0041", L"\\uDBFF\\uDFFF", L"\\uD8", L"\\x41", L"\\"})
    {
        const std::wstring text = L"\"" + std::wstring{odd} + L"\"";
        texts.push_back(std::wstring{odd});
        texts.push_back(text);
        texts.push_back(L"{" + Member(L"property", text) + L"," + Member(L"wmiClass", text) + L"," +
                        Member(L"filter", text) + L"," + Member(L"wmiNamespace", text) + L"," + Member(L"name", text) +
                        L"," + Member(L"value", text) + L"," + Member(L"password", text) + L"}");
    }
    return texts;
}

} // namespace

std::vector<Input> Seeds()
{
    std::vector<Input> seeds;
    for (const std::uint32_t function : Functions)
    {
        for (const std::wstring_view request : Requests)
        {
            seeds.push_back({{{function, std::wstring{request}}}, {}});
        }
    }
    for (const std::wstring& text : Extremes())
    {
        Input input;
        for (const std::uint32_t function : Functions)
        {
            input.commands.push_back({function, text});
            if (input.commands.size() == MaxCommands || function == Functions[std::size(Functions) - 1])
            {
                seeds.push_back(std::exchange(input, {}));
            }
        }
    }
    return seeds;
}

} // namespace Zv::Fuzz
