#include "Benchmarks/Registration.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace Zv::Benchmarks
{

Registration::Registration(Subject& subject, const Simulator::Machine& machine, ProgressCallback onEvent)
    : m_subject{subject},
      m_thread{[&subject, onEvent = std::move(onEvent)] {
          subject.Run(FunctionNumber::RegisterBiosEventNotification, L"{}", onEvent);
      }}
{
    if (!machine.WaitForSubscriptions(1, std::chrono::seconds{10}))
    {
        throw std::runtime_error{"function 4 does not subscribe"};
    }
    m_sink = std::move(machine.Sinks().front());
}

Registration::~Registration()
{
    m_subject.Run(FunctionNumber::UnregisterBiosWmiEventNotification, L"{}");
}

} // namespace Zv::Benchmarks
