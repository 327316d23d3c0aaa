// The commands that the module runs on its private service objects.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Services/ZVService.h"

#include <functional>
#include <string>
#include <vector>

namespace Zv::Testing
{

struct TappedCommand
{
    unsigned int function;
    std::wstring request;
    Tessel::Server::Services::ProgressCallback callback;
};

// While it lives, calls of slot 3 of every object of the service's class come here first. One at a time.
class CommandTap
{
public:
    // Answers a command: returns true and the response, from malloc, or false to let the module run it.
    using Answer = std::function<bool(const TappedCommand&, wchar_t** response)>;

    explicit CommandTap(Tessel::Server::Services::ZVService* service, Answer answer = {});
    CommandTap(const CommandTap&) = delete;
    CommandTap& operator=(const CommandTap&) = delete;
    ~CommandTap();

    // The module is being unloaded: nothing is to be put back.
    void Forget() noexcept { m_slot = nullptr; }

    [[nodiscard]] std::vector<TappedCommand> Commands() const;
    // "4 {"filterEvent":20}" and so on, sorted.
    [[nodiscard]] std::vector<std::wstring> Texts() const;

private:
    using Function = int (*)(void*, void*, unsigned int, wchar_t*, wchar_t**,
                             Tessel::Server::Services::ProgressCallbackArgument*, void*);

    static int Tap(void* service, void* session, unsigned int function, wchar_t* request, wchar_t** response,
                   Tessel::Server::Services::ProgressCallbackArgument* callback, void* configuration);
    static void Write(void** slot, void* function);

    void** m_slot;
    Function m_original;
    Answer m_answer;
    mutable Tessel::Server::Shared::Lock m_lock;
    std::vector<TappedCommand> m_commands; // guarded by m_lock
};

// A text as commands hand it out.
[[nodiscard]] wchar_t* NewResponse(const std::wstring& text);

} // namespace Zv::Testing
