// A client that follows the firmware's events.
#pragma once

#include "Benchmarks/Subject.h"
#include "Platform/Com/ComPtr.h"

#include <wbemcli.h>

#include <thread>

namespace Zv::Benchmarks
{

// Function 4 for every event, waiting on a thread of its own while it lives; the first one of its subject's session.
class Registration
{
public:
    Registration(Subject& subject, const Simulator::Machine& machine, ProgressCallback onEvent);
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration();

    // What WMI calls with events.
    [[nodiscard]] IWbemObjectSink& Sink() const noexcept { return *m_sink.Get(); }

private:
    Subject& m_subject;
    std::jthread m_thread;
    Tessel::Server::Shared::WMI::ComPtr<IWbemObjectSink> m_sink;
};

} // namespace Zv::Benchmarks
