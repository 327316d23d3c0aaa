// One class, read on a thread of its own.
#pragma once

#include "Host/Recording/ClassRecorder.h"

#include "Simulator/State/Worker.h"

#include <atomic>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Host
{

// What was read of a class, and of the classes that are embedded in it.
struct ClassReadingResult
{
    bool found = false;
    std::wstring nameSpace; // as the machine spells it
    std::wstring server;
    std::vector<Simulator::ClassEntry> classes;
    std::vector<std::string> losses; // one line each
};

// A class that the system never ends reading is left to its thread when this ends. The machine must outlive it.
class ClassReading
{
public:
    // Null: this machine. Throws std::system_error.
    ClassReading(Simulator::Machine* machine, std::wstring nameSpace, std::wstring name, RecordingOptions options);

    // Whether it is over, after so many milliseconds at most.
    [[nodiscard]] bool WaitFor(DWORD milliseconds) const noexcept { return m_worker->WaitFor(milliseconds); }
    // Instances so far.
    [[nodiscard]] std::size_t Count() const noexcept { return m_state->count; }
    // When it is over. Throws Failure(CommandFailed).
    [[nodiscard]] ClassReadingResult Take();

private:
    struct State
    {
        std::atomic<std::size_t> count = 0;
        ClassReadingResult result;
        std::exception_ptr failure;
    };

    const std::shared_ptr<State> m_state = std::make_shared<State>();
    std::optional<Simulator::Worker> m_worker;
};

} // namespace Zv::Host
