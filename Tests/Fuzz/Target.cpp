#include "Tests/Fuzz/Target.h"

#include "Interception/ImportTable.h"
#include "Logging/Logging.h"
#include "Platform/Windows/WindowsDeclarations.h"
#include "Tests/Support/Text.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <objbase.h>

#include <algorithm>
#include <array>
#include <cwchar>

namespace Zv::Fuzz
{

namespace
{

using Testing::FunctionNumber;
using Testing::Reply;

constexpr int Malformed = 0x20000016;
constexpr int TooLong = 0x20000017;
constexpr int GeneralFailure = 0x20000002;

[[nodiscard]] bool IsResultCode(int code) noexcept
{
    return code == 0 || (code >= 0x20000001 && code <= TooLong && code != 0x2000000a && code != 0x2000000b);
}

[[nodiscard]] bool IsJsonObject(const std::wstring& text)
{
    rapidjson::GenericDocument<rapidjson::UTF16<wchar_t>> document;
    return !document.Parse(text.c_str()).HasParseError() && document.IsObject();
}

std::string Complaint(const Reply& reply)
{
    const std::string code = " (result " + std::to_string(reply.code) + ")";
    if (!IsResultCode(reply.code))
    {
        return "a result code that does not exist" + code;
    }
    switch (reply.slot)
    {
    case Reply::Slot::Null:
        return reply.code == Malformed ? "" : "a null response" + code;
    case Reply::Slot::Untouched:
        return reply.code == TooLong || reply.code == GeneralFailure ? "" : "no response" + code;
    case Reply::Slot::Text:
        break;
    }
    if (reply.code == Malformed || reply.code == TooLong)
    {
        return "a response where there is to be none" + code;
    }
    if (reply.text.size() > 65535)
    {
        return "a response of " + std::to_string(reply.text.size()) + " characters" + code;
    }
    return IsJsonObject(reply.text) ? "" : "a response that is no JSON object" + code;
}

// The program frees the module's exceptions that it catches: blocks that the ledger is to forget. They are collected
// while one is handled, since the ledger itself frees memory.
struct Freed
{
    bool collecting = false;
    std::size_t count = 0;
    std::array<void*, 16> blocks{};
};
Freed g_freed;
void (*g_free)(void*) = nullptr;

void FreeOfProgram(void* block)
{
    if (g_freed.collecting && g_freed.count < g_freed.blocks.size())
    {
        g_freed.blocks[g_freed.count++] = block;
    }
    g_free(block);
}

void WatchProgram()
{
    static const Interception::Redirection redirection = [] {
        const Interception::ImportTable imports{GetModuleHandleW(nullptr)};
        g_free = imports.Current<void (*)(void*)>(nullptr, "free");
        return imports.Redirect(nullptr, "free", &FreeOfProgram);
    }();
}

// The run time keeps a few blocks per thread from the first exception on.
void WarmUp(const Testing::Module& module)
{
    const Testing::Service service{module};
    const Testing::Session session{service.Get()};
    Testing::Run(service.Get(), session.Get(), 16, L"{}");
}

} // namespace

Target::Target(const std::filesystem::path& module) : m_module{module}
{
    Testing::ComMemory::Watch();
    WatchProgram();
    WarmUp(m_module);
    Logging::LogManager::SetProvider(L"the fuzzer's");
    m_service.emplace(m_module); // before the accounting begins: it stays
    m_calls.emplace(m_module.Handle(), m_transcript, m_plan, m_ledgers);
    m_machine.emplace(*m_calls, m_transcript, m_plan);
    m_calls->Replace<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>(
        [this](DWORD count, const HANDLE* handles, BOOL all, DWORD limit) { return Wait(count, handles, all, limit); });
    m_calls->Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
        [this](RPC_BINDING_HANDLE, void* attributes) -> RPC_STATUS {
            m_clientHasLeft = m_answers->Choice(64) == 63;
            static_cast<RPC_CALL_ATTRIBUTES_V3_W*>(attributes)->CallStatus = m_clientHasLeft ? 1 : 0;
            return RPC_S_OK;
        });
    m_comBlocksBefore = Testing::ComMemory::Blocks();
}

std::string Target::Run(const Input& input)
{
    Answers answers{input.machine};
    m_answers = &answers;
    m_machine->Use(answers);
    m_clientHasLeft = false;
    m_session.emplace(m_service->Get(), L"fuzzer");
    std::string complaint;
    for (const Command& command : input.commands)
    {
        // A client that has left sends nothing any more. (By contract the session's next registration would not see its
        // stop event before another event has come: docs/events.md.)
        if (m_session->Get() == nullptr || m_clientHasLeft || !complaint.empty())
        {
            break;
        }
        complaint = RunCommand(command);
    }
    m_session.reset();
    if (complaint.empty())
    {
        complaint = WhatIsLeft();
    }
    m_transcript.Clear();
    m_plan.Clear();
    return complaint;
}

std::string Target::RunCommand(const Command& command)
{
    std::size_t told = 0;
    return Complaint(Testing::Run(m_service->Get(), m_session->Get(), command.function, command.request.c_str(),
                                  [&told](wchar_t* text) { told += std::wcslen(text); }));
}

// A registration waits. Events arrive here until one concerns it or the machine has no more, and then it is stopped in
// one of the ways that hosts have.
DWORD Target::Wait(DWORD count, const HANDLE* handles, BOOL all, DWORD limit)
{
    const auto original = m_calls->Original<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>();
    if (count != 2 || limit != INFINITE)
    {
        return original(count, handles, all, limit);
    }
    for (int round = 0; round < 64; ++round)
    {
        if (const DWORD result = original(count, handles, all, 0); result != WAIT_TIMEOUT)
        {
            return result;
        }
        switch (m_answers->Choice(16))
        {
        case 0: {
            constexpr auto unregister = static_cast<unsigned int>(FunctionNumber::UnregisterBiosWmiEventNotification);
            Testing::Run(m_service->Get(), m_session->Get(), unregister, L"{\"filterEvent\":0}");
            break;
        }
        case 1:
            m_session->End();
            break;
        case 2:
            return WAIT_FAILED; // the command waits again
        default:
            Deliver();
            break;
        }
    }
    SetEvent(handles[0]);
    return original(count, handles, all, limit);
}

void Target::Deliver()
{
    try
    {
        m_machine->Deliver();
    }
    catch (...)
    {
        g_freed.collecting = true; // by contract: a value that is no number raises an exception
    }
    g_freed.collecting = false;
    for (; g_freed.count > 0; --g_freed.count)
    {
        m_ledgers.heap.Given(g_freed.blocks[g_freed.count - 1]);
    }
}

std::string Target::WhatIsLeft()
{
    std::string left;
    int joins = m_ledgers.comJoins.Take();
    if (joins < 0 || joins > m_machine->LocatorsDenied())
    {
        left += "joins of COM: " + std::to_string(joins) + "\n";
    }
    for (; joins > 0; --joins)
    {
        CoUninitialize();
    }
    left += Testing::Narrow(m_ledgers.Outstanding());
    if (m_machine->Outstanding() != 0)
    {
        left += "references: " + std::to_string(m_machine->Outstanding()) + "\n";
    }
    if (Testing::ComMemory::Blocks() != m_comBlocksBefore)
    {
        left += "blocks of COM: " + std::to_string(Testing::ComMemory::Blocks() - m_comBlocksBefore) + "\n";
    }
    if (::testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed())
    {
        left += "a call that nobody expects\n";
    }
    return left.empty() ? "" : "left over: " + left;
}

} // namespace Zv::Fuzz
