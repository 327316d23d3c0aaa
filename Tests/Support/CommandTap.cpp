#include "Tests/Support/CommandTap.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>

namespace Zv::Testing
{

using Tessel::Server::Services::ProgressCallback;
using Tessel::Server::Services::ProgressCallbackArgument;
using Tessel::Server::Shared::LockGuard;

namespace
{

CommandTap* g_tap = nullptr; // changed while no command runs

} // namespace

wchar_t* NewResponse(const std::wstring& text)
{
    auto* const response = static_cast<wchar_t*>(std::malloc((text.size() + 1) * sizeof(wchar_t)));
    std::copy_n(text.c_str(), text.size() + 1, response);
    return response;
}

CommandTap::CommandTap(Tessel::Server::Services::ZVService* service, Answer answer)
    : m_slot{*reinterpret_cast<void***>(service) + 3},
      m_original{reinterpret_cast<Function>(*m_slot)},
      m_answer{std::move(answer)}
{
    g_tap = this;
    Write(m_slot, reinterpret_cast<void*>(&CommandTap::Tap));
}

CommandTap::~CommandTap()
{
    if (m_slot != nullptr)
    {
        Write(m_slot, reinterpret_cast<void*>(m_original));
    }
    g_tap = nullptr;
}

std::vector<TappedCommand> CommandTap::Commands() const
{
    const LockGuard held{m_lock};
    return m_commands;
}

std::vector<std::wstring> CommandTap::Texts() const
{
    std::vector<std::wstring> texts;
    for (const TappedCommand& command : Commands())
    {
        texts.push_back(std::to_wstring(command.function) + L" " + command.request);
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

int CommandTap::Tap(void* service, void* session, unsigned int function, wchar_t* request, wchar_t** response,
                    ProgressCallbackArgument* callback, void* configuration)
{
    const TappedCommand command{function, request, ProgressCallback{*callback}};
    {
        const LockGuard held{g_tap->m_lock};
        g_tap->m_commands.push_back(command);
    }
    if (g_tap->m_answer && g_tap->m_answer(command, response))
    {
        const Tessel::Server::Services::ProgressCallbackGuard destroyed{*callback};
        return 0;
    }
    return g_tap->m_original(service, session, function, request, response, callback, configuration);
}

void CommandTap::Write(void** slot, void* function)
{
    DWORD before = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    *slot = function;
    VirtualProtect(slot, sizeof *slot, before, &before);
}

} // namespace Zv::Testing
