// A simulated machine: a description that has come to life.
#pragma once

#include "Simulator/Description/Description.h"
#include "Simulator/Description/DescriptionError.h"
#include "Simulator/State/CallGate.h"
#include "Simulator/State/MachineState.h"
#include "Simulator/State/References.h"

#include <windows.h>

#include <wbemcli.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zv::Tessel::Server::Shared::WMI
{
template <class Interface>
class ComPtr;
}

namespace Zv::Simulator
{

struct Core;

// What a machine has handed out and not got back.
struct OutstandingCounts
{
    std::array<std::size_t, ObjectKindCount> references{}; // interface references, by kind of object
    std::size_t strings = 0;                               // BSTRs; only counted under an AutomationWatch
    std::size_t arrays = 0;                                // SAFEARRAYs; likewise

    // References to objects of one kind.
    [[nodiscard]] std::size_t Of(ObjectKind kind) const noexcept { return references[static_cast<std::size_t>(kind)]; }
    // References, strings and arrays.
    [[nodiscard]] std::size_t Total() const noexcept;
    // "2 IWbemClassObject, 1 BSTR"; "nothing" when all is given back.
    [[nodiscard]] std::string Describe() const;
};

// Property names and values of an event; others keep the class's initial value.
using EventValues = std::vector<std::pair<std::wstring, Value>>;

// Plug it in by redirecting a module's CoCreateInstance import to a function that calls CreateInstance. Objects that
// outlive the machine keep working on its last state; its events end with it. Safe on several threads.
class Machine
{
public:
    // Throws DescriptionError when the description is not valid, std::system_error when the file cannot be read.
    [[nodiscard]] static Machine Load(const std::filesystem::path& file);
    [[nodiscard]] static Machine Parse(std::string_view json);

    Machine(Machine&&) noexcept;
    Machine& operator=(Machine&&) noexcept;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    ~Machine();

    // Answers as CoCreateInstance does for CLSID_WbemLocator and CLSID_UnsecuredApartment; objects of any other class
    // are the system's own.
    [[nodiscard]] HRESULT CreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid,
                                         void** result) noexcept;

    // As it was read.
    [[nodiscard]] const Description& GetDescription() const noexcept;

    // At this moment.
    [[nodiscard]] OutstandingCounts Outstanding() const;

    // The last thousand method calls; how many calls no rule matched since the machine began.
    [[nodiscard]] std::vector<MethodCall> MethodCalls() const;
    [[nodiscard]] std::size_t UnmatchedCalls() const;
    [[nodiscard]] std::optional<std::wstring> SettingValue(std::wstring_view name) const;

    // Every COM call on the machine, kept from RecordCalls(true) on; counted always.
    void RecordCalls(bool on);
    [[nodiscard]] std::vector<CallRecord> Calls() const;
    [[nodiscard]] std::size_t CallCount(Site site) const noexcept;

    // Faults beside those of the description. The first one in the list that fits a call strikes.
    void AddFault(const Fault& fault);
    void ClearFaults();
    // Lets calls that hang, now or later, go on.
    void ReleaseHangs() noexcept;

    // Events of the class that the description's section "events" names; std::logic_error without that section.
    // FireEvent delivers on this thread and returns how many sinks it called: events of one thread arrive in its order,
    // and several threads may fire at once. PostEvent leaves the delivery to the machine's own threads and returns.
    std::size_t FireEvent(int id, int data);
    std::size_t FireEvent(const EventValues& values);
    std::size_t FireEventWithoutData(int id); // its data is NULL
    void PostEvent(int id, int data);
    void PostEvent(const EventValues& values);
    [[nodiscard]] std::size_t Subscriptions() const;
    // False when there are still fewer after that time.
    [[nodiscard]] bool WaitForSubscriptions(std::size_t count, std::chrono::milliseconds limit) const;
    // The sinks (usually stubs) of all subscriptions, to be called in ways that no event would call them.
    [[nodiscard]] std::vector<Tessel::Server::Shared::WMI::ComPtr<IWbemObjectSink>> Sinks() const;

private:
    friend class AutomationWatch;
    explicit Machine(std::shared_ptr<Core> core) noexcept;

    [[nodiscard]] ObjectPtr MakeEvent(const EventValues& values) const;
    [[nodiscard]] ObjectPtr MakeEvent(int id, std::optional<int> data) const;

    std::shared_ptr<Core> m_core;
};

} // namespace Zv::Simulator
