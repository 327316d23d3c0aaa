// The limit for the module's commands: a hand-written client that makes the same COM calls on the same machine, and
// neither reads nor writes JSON.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Simulator/Machine.h"

#include <wbemcli.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Zv::Benchmarks
{

class LimitClient
{
public:
    explicit LimitClient(Simulator::Machine& machine) : m_machine{machine} {}

    // As function 2. Both sizes in bytes. Returns the bytes that the firmware returned.
    std::vector<unsigned char> FirmwareCommand(const std::vector<unsigned char>& input, std::size_t returnSize) const;

    // The same for a client whose bytes travel as base64: converted with the platform's functions, as the module must.
    [[nodiscard]] std::wstring FirmwareCommand(const std::wstring& base64Input, std::size_t returnSize) const;

    // As functions 16 and 32: reads the property of every instance. Returns the number of characters and digits seen.
    std::size_t ReadProperty(const wchar_t* className, const wchar_t* property) const;

    // As function 256.
    std::size_t ReadTexts(const wchar_t* className) const;

    // As functions 64 (with a name) and 128 (name null).
    unsigned int Set(const wchar_t* name, const wchar_t* value) const;

    // A firmware event, as WMI would hand it out.
    [[nodiscard]] Tessel::Server::Shared::WMI::ComPtr<IWbemClassObject> MakeEvent(int id, int data) const;

private:
    Simulator::Machine& m_machine;
};

} // namespace Zv::Benchmarks
