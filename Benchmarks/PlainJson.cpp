#include "Benchmarks/PlainJson.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <cwchar>

namespace Zv::Benchmarks
{

std::wstring RequestOfLength(std::size_t length)
{
    constexpr std::size_t frame = 16; // characters around the text
    return length < frame ? L"{}" : L"{\"inputData\":\"" + std::wstring(length - frame, L'A') + L"\"}";
}

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

} // namespace Zv::Benchmarks
