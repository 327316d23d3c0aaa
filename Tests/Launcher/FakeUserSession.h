// A console user with packages, behind the module's imports.
#pragma once

#include "Platform/Windows/WindowsDeclarations.h"
#include "Tests/Support/PlatformCalls.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Testing
{

struct FakePackage
{
    std::wstring fullName;
    UINT32 properties = 0;
    std::wstring folder{};
    std::optional<PackageOrigin> origin{}; // nothing: not staged
    std::uint64_t version = 0;
};

// While it lives, the module's calls for sessions, tokens, packages and processes come here: each is written into the
// transcript with its arguments and can be made to fail. What the module takes and must give back (tokens, environment
// blocks, attribute lists, heap blocks, package descriptions, processes, threads) stands in the ledger of handles.
class FakeUserSession
{
public:
    FakeUserSession(PlatformCalls& calls, Transcript& transcript, Ledgers& ledgers);
    FakeUserSession(const FakeUserSession&) = delete;
    FakeUserSession& operator=(const FakeUserSession&) = delete;
    ~FakeUserSession() = default;

    // The machine. Change it only while no call runs.
    DWORD sessionId = 3;                                       // of the console
    std::map<std::wstring, std::wstring> variables;            // "%name%" and what stands for it, as the user sees it
    std::map<std::wstring, std::vector<FakePackage>> families; // the packages that the user has, by family
    bool successfulInfoQuery = false;                          // GetPackageInfo succeeds without a buffer
    UINT32 infoCount = 1;                                      // entries that it then reports
    DWORD lastError = ERROR_ACCESS_DENIED;                     // of calls that fail
    SIZE_T attributeListSize = 48;
    std::function<void(const std::string& function)> onCall; // runs in each call

    // The n-th call of that function from now on fails; or every one.
    void Fail(const std::string& function, int nth = 1) { m_failing[function].push_back(m_counts[function] + nth); }
    void FailAll(const std::string& function) { m_failing[function].push_back(Every); }
    // The n-th call of all from now on fails.
    void FailCall(int nth) { m_failingCall = m_calls + nth; }
    [[nodiscard]] int Calls() const noexcept { return m_calls; }
    [[nodiscard]] int Calls(const std::string& function) { return m_counts[function]; }

    // A shared holder as the module hands it out, of a token that the ledger does not know.
    [[nodiscard]] std::shared_ptr<void> Token(const wchar_t* name);

private:
    static constexpr int Every = -1;

    template <Name Function, class Signature, class Work>
    void Answer(Work work);

    void AnswerTokens();
    void AnswerProfile();
    void AnswerPackages();
    void AnswerPackageInfo();
    void AnswerAttributeLists();
    void AnswerProcesses();
    void AnswerHandles();

    // Notes a call; true when it is to fail.
    bool Enter(const char* function, const std::wstring& arguments);
    bool Fails(const char* function);

    HANDLE NewHandle(const std::wstring& name);
    [[nodiscard]] std::wstring NameOf(const void* handle) const;
    [[nodiscard]] const FakePackage* PackageOf(const std::wstring& fullName) const;
    [[nodiscard]] std::wstring Expand(std::wstring path) const;
    [[nodiscard]] std::wstring ShowStartup(const STARTUPINFOW* startup) const;

    PlatformCalls& m_platform;
    Transcript& m_transcript;
    Ledgers& m_ledgers;
    int m_calls = 0;
    int m_failingCall = 0;
    std::map<std::string, int> m_counts;
    std::map<std::string, std::vector<int>> m_failing;
    std::map<const void*, std::wstring> m_names;
    std::map<std::wstring, int> m_namesGiven;
    std::array<wchar_t, 8> m_environment{};
    std::uintptr_t m_nextHandle = 0x10000;
};

} // namespace Zv::Testing
