#include "Tests/Firmware/FirmwareTest.h"

#include <wincrypt.h>

#include <algorithm>

namespace Zv::Testing
{

namespace
{

std::wstring Base64(const ByteVector& bytes, DWORD flags)
{
    const auto size = static_cast<DWORD>(bytes.size());
    DWORD length = 0;
    CryptBinaryToStringW(bytes.data(), size, flags, nullptr, &length);
    std::wstring text(length, L'\0');
    CryptBinaryToStringW(bytes.data(), size, flags, text.data(), &length);
    text.resize(length);
    return text;
}

} // namespace

Reply FirmwareTest::RunCommand(const ByteVector& input, unsigned int returnSize)
{
    return RunWithInput(input.empty() ? L"" : Base64(input, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF),
                        static_cast<std::uint32_t>(input.size()), returnSize);
}

Reply FirmwareTest::RunWithInput(const std::wstring& base64, std::uint32_t size, unsigned int returnSize)
{
    const std::wstring request = LR"({"command":131081,"commandType":38,"inputDataSize":)" + std::to_wstring(size) +
                                 LR"(,"returnDataSize":)" + std::to_wstring(returnSize) + LR"(,"inputData":")" +
                                 base64 + LR"("})";
    return Run(2, request.c_str());
}

void FirmwareTest::AnswerWith(const Value& outData)
{
    wmi->script[FirmwareNamespace].execute = [outData](const MethodCall&, ObjectScriptPtr& output) {
        output = Instance(L"output", {{L"OutData", outData}});
        return S_OK;
    };
}

void FirmwareTest::AnswerWithData(const Value& data)
{
    AnswerWith(Value::Object(Instance(L"OutData", {{L"rwReturnCode", Value::Int(0, CIM_UINT32)}, {L"Data", data}})));
}

std::wstring FirmwareTest::Response(std::uint32_t returnCode, const ByteVector& data)
{
    std::wstring text = LR"({"result":{"returnCode":)" + std::to_wstring(returnCode);
    if (!data.empty())
    {
        text += LR"(,"returnData":")";
        for (const wchar_t character : Base64(data, CRYPT_STRING_BASE64))
        {
            text += character == L'\r'   ? std::wstring{L"\\r"}
                    : character == L'\n' ? std::wstring{L"\\n"}
                                         : std::wstring{character};
        }
        text += L"\"";
    }
    return text + L"}}";
}

std::vector<std::wstring> FirmwareTest::Steps() const
{
    std::vector<std::wstring> steps = transcript.Calls();
    const auto connected =
        std::ranges::find_if(steps, [](const std::wstring& call) { return call.starts_with(L"CoSetProxyBlanket"); });
    if (connected == steps.end())
    {
        return {};
    }
    steps.erase(steps.begin(), connected + 1);
    return steps;
}

} // namespace Zv::Testing
