// Counts the instructions that a thread executes, exactly: with the processor's trap flag set, each one raises an
// exception when it is done.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Zv::Benchmarks
{

// What was executed of one loaded image.
struct ImageTally
{
    std::string name;             // of its file, in small letters; empty for what lies in no image
    std::size_t instructions = 0; // one that repeats itself (rep movs) counts once
};

// One at a time in a process, and it follows one thread. What the kernel does for the thread is not seen.
class Stepper
{
public:
    enum class Calls
    {
        Follow,
        Skip // what the subject calls runs at full speed; nothing else may call into the subject meanwhile
    };

    // Knows the images that are loaded now.
    explicit Stepper(HMODULE subject);
    Stepper(const Stepper&) = delete;
    Stepper& operator=(const Stepper&) = delete;
    ~Stepper();

    // From here on, the calling thread is followed; the counts start anew.
    void Start(Calls calls = Calls::Follow) noexcept;
    // On the same thread.
    void Stop() noexcept;

    // All images, the subject first.
    [[nodiscard]] std::vector<ImageTally> Images() const;
    // How often the instruction at each offset in the subject was executed.
    [[nodiscard]] const std::vector<std::uint32_t>& Addresses() const noexcept;

private:
    void* m_handler;
};

} // namespace Zv::Benchmarks
