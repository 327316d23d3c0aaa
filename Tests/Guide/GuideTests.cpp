// The reference does not rot: its requests get the responses that it shows, and every function has an example.

#include "Interception/ImportTable.h"
#include "Simulator/Machine.h"
#include "Tests/Guide/Examples.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cwchar>
#include <list>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using namespace Zv::Testing;

constexpr unsigned int Register = static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification);

Zv::Simulator::Machine* g_machine = nullptr; // the machine whose examples run

HRESULT WINAPI CreateSimulatedInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** result)
{
    return g_machine->CreateInstance(classId, outer, context, iid, result);
}

// As outside of a remote call.
RPC_STATUS RPC_ENTRY NoRemoteCall(RPC_BINDING_HANDLE, void*)
{
    return RPC_S_NO_CALL_ACTIVE;
}

std::wstring Trim(std::wstring text)
{
    constexpr const wchar_t* blank = L"\r\n\t ";
    text.erase(text.find_last_not_of(blank) + 1);
    text.erase(0, text.find_first_not_of(blank));
    text.erase(std::remove(text.begin(), text.end(), L'\r'), text.end());
    return text;
}

// What came through the callback of one request, in order.
class ProgressQueue
{
public:
    void Put(const wchar_t* text)
    {
        const std::lock_guard held{m_lock};
        m_texts.emplace_back(text);
        m_changed.notify_one();
    }

    std::wstring Take()
    {
        std::unique_lock held{m_lock};
        m_changed.wait(held, [this] { return !m_texts.empty(); });
        std::wstring text = std::move(m_texts.front());
        m_texts.pop_front();
        return text;
    }

    bool IsEmpty()
    {
        const std::lock_guard held{m_lock};
        return m_texts.empty();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::list<std::wstring> m_texts; // guarded by m_lock
};

// A request on its way, on a thread of its own.
class Pending
{
public:
    Pending(ZVService* service, void* session, const Block& request)
        : function{request.number},
          m_thread{[this, service, session, text = request.text] {
              m_reply = Run(service, session, function, text.c_str(),
                            ProgressCallback{[this](wchar_t* progressText) { progress.Put(progressText); }});
          }}
    {
    }
    Pending(const Pending&) = delete;
    Pending& operator=(const Pending&) = delete;

    const Reply& Join()
    {
        m_thread.join();
        return m_reply;
    }

    const unsigned int function;
    ProgressQueue progress;

private:
    Reply m_reply;
    std::thread m_thread;
};

// A machine, and a session on it, as long as the blocks of one example need them.
class Example
{
public:
    Example(const Module& module, ZVService* service, const std::string& machine)
        : m_machine{Zv::Simulator::Machine::Load(std::filesystem::path{ZV_MACHINES} / (machine + ".json"))},
          m_imports{module.Handle()},
          m_createInstance{m_imports.Redirect("ole32.dll", "CoCreateInstance", &CreateSimulatedInstance)},
          m_callAttributes{m_imports.Redirect("rpcrt4.dll", "RpcServerInqCallAttributesW", &NoRemoteCall)},
          m_service{service},
          m_session{service}
    {
        g_machine = &m_machine;
    }
    Example(const Example&) = delete;
    Example& operator=(const Example&) = delete;

    ~Example()
    {
        EXPECT_TRUE(m_pending.empty()) << "a request has no answer";
        m_session.End();
        EXPECT_EQ(m_machine.Outstanding().Total(), 0U) << m_machine.Outstanding().Describe();
    }

    void Play(const Block& block)
    {
        switch (block.kind)
        {
        case Block::Kind::Request:
            m_pending.push_back(std::make_unique<Pending>(m_service, m_session.Get(), block));
            break;
        case Block::Kind::Progress:
            ASSERT_FALSE(m_pending.empty());
            Progress(*m_pending.back(), block.text);
            break;
        case Block::Kind::Response:
            ASSERT_FALSE(m_pending.empty());
            Answer(*m_pending.back(), block);
            m_pending.pop_back();
            break;
        }
    }

private:
    void Progress(Pending& request, const std::wstring& expected)
    {
        if (request.function == Register)
        {
            int id = 0;
            int data = 0;
            ASSERT_EQ(swscanf_s(expected.c_str(), L"{\"eventId\":%d,\"eventData\":%d}", &id, &data), 2);
            ASSERT_TRUE(m_machine.WaitForSubscriptions(1, Watchdog::Default));
            m_machine.FireEvent(id, data);
        }
        EXPECT_EQ(Trim(request.progress.Take()), expected);
    }

    static void Answer(Pending& request, const Block& expected)
    {
        const Reply& reply = request.Join();
        EXPECT_EQ(reply.code, static_cast<int>(expected.number));
        if (expected.text == L"null")
        {
            EXPECT_EQ(reply.slot, Reply::Slot::Null);
        }
        else
        {
            EXPECT_EQ(reply.text, expected.text);
        }
        EXPECT_TRUE(request.progress.IsEmpty()) << "there was more progress than the guide shows";
    }

    Zv::Simulator::Machine m_machine;
    Zv::Interception::ImportTable m_imports;
    Zv::Interception::Redirection m_createInstance;
    Zv::Interception::Redirection m_callAttributes;
    ZVService* m_service;
    Session m_session;
    std::vector<std::unique_ptr<Pending>> m_pending;
};

TEST(Reference, ShowsWhatTheModuleDoes)
{
    const Watchdog watchdog{"the examples of the reference"};
    const Module module;
    const Service service{module};
    std::unique_ptr<Example> example;
    for (const Block& block : ReadExamples(ZV_REFERENCE))
    {
        SCOPED_TRACE("docs/reference.md, line " + std::to_string(block.line));
        if (!block.machine.empty())
        {
            example.reset();
            example = std::make_unique<Example>(module, service.Get(), block.machine);
        }
        ASSERT_NE(example, nullptr) << "the first example names no machine";
        ASSERT_NO_FATAL_FAILURE(example->Play(block));
    }
}

TEST(Reference, HasAnExampleOfEveryFunction)
{
    std::set<unsigned int> functions;
    for (const Block& block : ReadExamples(ZV_REFERENCE))
    {
        if (block.kind == Block::Kind::Request)
        {
            functions.insert(block.number);
        }
    }
    for (const unsigned int function : {2U, 4U, 8U, 16U, 32U, 64U, 128U, 256U})
    {
        EXPECT_TRUE(functions.contains(function)) << function;
    }
}

} // namespace
