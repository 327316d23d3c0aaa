// What the tests of raw firmware commands share: a machine with a firmware method class, and commands for it.
#pragma once

#include "Tests/Support/ModuleTest.h"
#include "Tests/Support/ScriptedFirmware.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

using ByteVector = std::vector<std::uint8_t>;

class FirmwareTest : public ModuleTest
{
protected:
    FirmwareTest() { firmware.emplace(wmi->script); }

    // Runs command 131081 of type 38.
    Reply RunCommand(const ByteVector& input, unsigned int returnSize);
    // The same with any text as the input, said to be of that size.
    Reply RunWithInput(const std::wstring& base64, std::uint32_t size, unsigned int returnSize = 0);

    // From now on the method's output holds this as "OutData".
    void AnswerWith(const Value& outData);
    // From now on "OutData" is an object with return code 0 and this as "Data".
    void AnswerWithData(const Value& data);

    // The response that is to come from these values.
    [[nodiscard]] static std::wstring Response(std::uint32_t returnCode, const ByteVector& data);

    // The calls of the command once it is connected.
    [[nodiscard]] std::vector<std::wstring> Steps() const;

    static LogLine Failed(const char* method, const wchar_t* call, HRESULT hr)
    {
        return CallFailed(ZvBiosWmiClass, method, call, hr);
    }

    std::optional<ScriptedFirmware> firmware;
};

} // namespace Zv::Testing
