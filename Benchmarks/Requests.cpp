#include "Benchmarks/Requests.h"

#include <windows.h>

#include <wincrypt.h>

#include <vector>

namespace Zv::Benchmarks
{

std::wstring FirmwareInput(std::size_t size)
{
    const std::vector<unsigned char> bytes(size, 0x5a);
    DWORD length = 0;
    CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(size), CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, nullptr,
                         &length);
    std::wstring text(length, L'\0');
    CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(size), CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, text.data(),
                         &length);
    text.resize(length);
    return text;
}

std::wstring FirmwareRequest(std::size_t inputSize, std::size_t returnSize)
{
    std::wstring request = L"{\"command\":1,\"commandType\":255,\"inputDataSize\":" + std::to_wstring(inputSize) +
                           L",\"returnDataSize\":" + std::to_wstring(returnSize);
    if (inputSize != 0)
    {
        request += L",\"inputData\":\"" + FirmwareInput(inputSize) + L"\"";
    }
    return request + L"}";
}

} // namespace Zv::Benchmarks
