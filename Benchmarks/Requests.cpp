#include "Benchmarks/Requests.h"

#include <windows.h>

#include <wincrypt.h>

#include <vector>

namespace Zv::Benchmarks
{

namespace
{

std::wstring Base64(const std::vector<unsigned char>& bytes)
{
    DWORD length = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    CryptBinaryToStringW(bytes.data(), size, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, nullptr, &length);
    std::wstring text(length, L'\0');
    CryptBinaryToStringW(bytes.data(), size, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, text.data(), &length);
    text.resize(length);
    return text;
}

} // namespace

std::wstring FirmwareRequest(std::size_t inputSize, std::size_t returnSize)
{
    std::wstring request = L"{\"command\":1,\"commandType\":255,\"inputDataSize\":" + std::to_wstring(inputSize) +
                           L",\"returnDataSize\":" + std::to_wstring(returnSize);
    if (inputSize != 0)
    {
        request += L",\"inputData\":\"" + Base64(std::vector<unsigned char>(inputSize, 0x5a)) + L"\"";
    }
    return request + L"}";
}

} // namespace Zv::Benchmarks
