// The user at the console, with companion apps installed.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Tests/Support/PlatformCalls.h"

#include <cstddef>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace Zv::Testing
{

// A program that the module started for the user.
struct Launch
{
    std::wstring application;
    std::wstring commandLine;
    std::wstring folder;

    bool operator==(const Launch&) const = default;
};

void PrintTo(const Launch& launch, std::ostream* stream);

// Answers what the module asks of the platform for a launch; each call can be made to fail through the fault plan. Any
// thread may call.
class ConsoleUser
{
public:
    explicit ConsoleUser(PlatformCalls& calls);
    ConsoleUser(const ConsoleUser&) = delete;
    ConsoleUser& operator=(const ConsoleUser&) = delete;

    void Uninstall(const std::wstring& family);

    [[nodiscard]] std::vector<Launch> Launches() const;
    void WaitForLaunches(std::size_t count);

private:
    void AnswerTokens(PlatformCalls& calls);
    void AnswerPackages(PlatformCalls& calls);
    void AnswerProcesses(PlatformCalls& calls);
    [[nodiscard]] bool IsInstalled(const std::wstring& family) const;

    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_changed;
    std::set<std::wstring> m_families; // guarded by m_lock
    std::vector<Launch> m_launches;    // guarded by m_lock
    wchar_t m_environment[2] = {};
};

inline constexpr wchar_t LumashadeFamily[] = L"7B3E90C4.Lumashade_k2x7m4qp9wt1d";
inline constexpr wchar_t ChimeboxFamily[] = L"7B3E90C4.Chimeboxes_k2x7m4qp9wt1d";

// How the apps are started: the Lumashade app without arguments, the Chimebox app with this one.
[[nodiscard]] Launch LumashadeLaunch();
[[nodiscard]] Launch ChimeboxLaunch(const std::wstring& argument);

} // namespace Zv::Testing
