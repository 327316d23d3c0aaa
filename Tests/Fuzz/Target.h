// The module as the fuzzer drives it, and what must hold whatever it is fed with.
#pragma once

#include "Tests/Fuzz/Machine.h"
#include "Tests/Support/Module.h"

#include <filesystem>
#include <optional>
#include <string>

namespace Zv::Fuzz
{

// Runs inputs, one at a time, each in a session of its own, on one thread.
class Target
{
public:
    // Throws std::runtime_error when the module cannot be loaded.
    explicit Target(const std::filesystem::path& module);
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;
    ~Target() = default;

    // What was wrong, empty when nothing was. Promises of the interface: the result code is one of the module's, the
    // response is a JSON object of at most 65,535 characters or null where the contract says so, nothing is held after
    // the session's end. What crashes or does not end is noticed elsewhere.
    [[nodiscard]] std::string Run(const Input& input);

    [[nodiscard]] HMODULE Handle() const noexcept { return m_module.Handle(); }

private:
    [[nodiscard]] std::string RunCommand(const Command& command);
    DWORD Wait(DWORD count, const HANDLE* handles, BOOL all, DWORD limit);
    void Deliver();
    [[nodiscard]] std::string WhatIsLeft();

    // In the order in which they stand on each other.
    Testing::Module m_module;
    Testing::Transcript m_transcript;
    Testing::FaultPlan m_plan;
    Testing::Ledgers m_ledgers;
    std::optional<Testing::Service> m_service;
    std::optional<Testing::PlatformCalls> m_calls;
    std::optional<Machine> m_machine;
    std::optional<Testing::Session> m_session;
    Answers* m_answers = nullptr; // of the input that runs
    bool m_clientHasLeft = false; // in the input that runs
    long m_comBlocksBefore = 0;
};

} // namespace Zv::Fuzz
