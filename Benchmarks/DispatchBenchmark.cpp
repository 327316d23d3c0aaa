// Dispatch alone: an unsupported function against RapidJSON parsing the same text and writing "{}".

#include "Benchmarks/Report.h"
#include "Benchmarks/Subject.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <cwchar>

namespace
{

using namespace Zv::Benchmarks;

// What any program would write with the library as it comes.
void ParseAndWrite(const std::wstring& request)
{
    using Encoding = rapidjson::UTF16<wchar_t>;
    rapidjson::GenericDocument<Encoding> document;
    document.Parse(request.c_str());
    rapidjson::GenericDocument<Encoding> response{rapidjson::kObjectType};
    rapidjson::GenericStringBuffer<Encoding> buffer;
    rapidjson::Writer<rapidjson::GenericStringBuffer<Encoding>, Encoding, Encoding> writer{buffer};
    response.Accept(writer);
    const wchar_t* const text = buffer.GetString();
    const std::size_t size = (std::wcslen(text) + 1) * sizeof(wchar_t);
    void* const copy = std::malloc(size);
    if (copy == nullptr)
    {
        std::abort();
    }
    std::wmemcpy(static_cast<wchar_t*>(copy), text, size / sizeof(wchar_t));
    std::free(copy);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Dispatch alone: an unsupported function over RapidJSON parsing the request and writing {}",
                argumentCount, arguments, [&](Report& report) {
                    auto machine = MakeMachine(1);
                    Subject subject{machine};
                    constexpr unsigned int unsupported = 3;
                    for (const std::size_t length : {2U, 80U, 800U, 5500U, 55000U})
                    {
                        const std::wstring request =
                            length < 20 ? L"{}" : L"{\"inputData\":\"" + std::wstring(length - 16, L'A') + L"\"}";
                        report.Add(Compare(
                                       std::to_string(length) + " characters",
                                       [&](std::size_t operations) {
                                           for (std::size_t i = 0; i < operations; ++i)
                                           {
                                               subject.RunAny(unsupported, request);
                                           }
                                       },
                                       [&](std::size_t operations) {
                                           for (std::size_t i = 0; i < operations; ++i)
                                           {
                                               ParseAndWrite(request);
                                           }
                                       }),
                                   {1.3, {}});
                    }
                });
}
