#include "Simulator/Machine.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Com/Core.h"
#include "Simulator/Com/Locator.h"
#include "Simulator/Com/UnsecuredApartment.h"
#include "Simulator/Description/NodeReader.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <numeric>
#include <stdexcept>
#include <system_error>

namespace Zv::Simulator
{

namespace
{

// How long the machine waits at its end for threads that are inside a sink, in milliseconds.
constexpr DWORD PatienceAtTheEnd = 5000;

// A number as the property wants it; unsigned ones keep the bits of a negative number.
Value NumberFor(const Class& definition, const std::wstring& name, int number)
{
    const Property& property = definition.properties[*definition.FindProperty(name)];
    if (IsTextType(property.type))
    {
        return std::to_wstring(number);
    }
    return property.type == CIM_UINT32 ? std::int64_t{static_cast<std::uint32_t>(number)} : std::int64_t{number};
}

// The system's own function: the import that this program calls it by may lead back here.
HRESULT CreateSystemInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** result) noexcept
{
    const auto create = reinterpret_cast<decltype(&CoCreateInstance)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ole32.dll"), "CoCreateInstance")));
    return create == nullptr ? REGDB_E_CLASSNOTREG : create(classId, outer, context, iid, result);
}

} // namespace

std::size_t OutstandingCounts::Total() const noexcept
{
    return std::accumulate(references.begin(), references.end(), strings + arrays);
}

std::string OutstandingCounts::Describe() const
{
    std::string text;
    const auto append = [&](std::size_t count, std::string_view name) {
        if (count != 0)
        {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + std::string{name};
        }
    };
    for (std::size_t i = 0; i < ObjectKindCount; ++i)
    {
        append(references[i], ObjectKindName(static_cast<ObjectKind>(i)));
    }
    append(strings, "BSTR");
    append(arrays, "SAFEARRAY");
    return text.empty() ? "nothing" : text;
}

Machine Machine::Load(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    if (!stream)
    {
        throw std::system_error{errno, std::generic_category(), "cannot read " + file.string()};
    }
    const std::string text{std::istreambuf_iterator<char>{stream}, {}};
    return Parse(text);
}

Machine Machine::Parse(std::string_view json)
{
    return Machine{MakeCore(ReadDescription(json))};
}

Machine::Machine(std::shared_ptr<Core> core) noexcept : m_core{std::move(core)} {}

Machine::Machine(Machine&&) noexcept = default;

Machine& Machine::operator=(Machine&& other) noexcept
{
    if (this != &other)
    {
        const Machine old{std::move(*this)};
        m_core = std::move(other.m_core);
    }
    return *this;
}

Machine::~Machine()
{
    if (m_core != nullptr)
    {
        m_core->gate.ReleaseHangs();
        const std::size_t stuck = m_core->events->Stop(PatienceAtTheEnd) + m_core->calls.Stop(PatienceAtTheEnd);
        if (stuck != 0)
        {
            std::fprintf(stderr, "Simulator: %zu threads never came back from a sink and were left there.\n", stuck);
        }
    }
}

HRESULT Machine::CreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** result) noexcept
{
    if (result == nullptr)
    {
        return E_POINTER;
    }
    *result = nullptr;
    const bool locator = classId == CLSID_WbemLocator;
    if (!locator && classId != CLSID_UnsecuredApartment)
    {
        return CreateSystemInstance(classId, outer, context, iid, result);
    }
    const DWORD wanted = locator ? DWORD{CLSCTX_INPROC_SERVER} : DWORD{CLSCTX_LOCAL_SERVER};
    if ((context & wanted) == 0)
    {
        return REGDB_E_CLASSNOTREG;
    }
    const Site site = locator ? Site::CreateLocator : Site::CreateUnsecuredApartment;
    return m_core->gate.Call(site, {}, [&]() -> HRESULT {
        if (Apartment::Current() == nullptr)
        {
            return CO_E_NOTINITIALIZED;
        }
        if (outer != nullptr)
        {
            return CLASS_E_NOAGGREGATION;
        }
        const ComPtr<IUnknown> object{locator ? static_cast<IUnknown*>(MakeObject<Locator>(m_core).Detach())
                                              : MakeObject<UnsecuredApartment>(m_core).Detach()};
        return object->QueryInterface(iid, result);
    });
}

const Description& Machine::GetDescription() const noexcept
{
    return m_core->description;
}

OutstandingCounts Machine::Outstanding() const
{
    OutstandingCounts counts;
    for (std::size_t i = 0; i < ObjectKindCount; ++i)
    {
        counts.references[i] = m_core->references.Count(static_cast<ObjectKind>(i));
    }
    counts.strings = m_core->ledger.Strings();
    counts.arrays = m_core->ledger.Arrays();
    return counts;
}

std::vector<MethodCall> Machine::MethodCalls() const
{
    return m_core->state.MethodCalls();
}

std::size_t Machine::UnmatchedCalls() const
{
    return m_core->state.UnmatchedCalls();
}

std::optional<std::wstring> Machine::SettingValue(std::wstring_view name) const
{
    return m_core->state.SettingValue(name);
}

void Machine::RecordCalls(bool on)
{
    m_core->gate.SetRecording(on);
}

std::vector<CallRecord> Machine::Calls() const
{
    return m_core->gate.Records();
}

std::size_t Machine::CallCount(Site site) const noexcept
{
    return m_core->gate.Count(site);
}

void Machine::AddFault(const Fault& fault)
{
    m_core->gate.Add(fault);
}

void Machine::ClearFaults()
{
    m_core->gate.ClearFaults();
}

void Machine::ReleaseHangs() noexcept
{
    m_core->gate.ReleaseHangs();
}

std::size_t Machine::FireEvent(int id, int data)
{
    return m_core->events->Fire(MakeEvent(id, data));
}

std::size_t Machine::FireEvent(const EventValues& values)
{
    return m_core->events->Fire(MakeEvent(values));
}

std::size_t Machine::FireEventWithoutData(int id)
{
    return m_core->events->Fire(MakeEvent(id, std::nullopt));
}

void Machine::PostEvent(int id, int data)
{
    m_core->events->Post(MakeEvent(id, data));
}

void Machine::PostEvent(const EventValues& values)
{
    m_core->events->Post(MakeEvent(values));
}

std::size_t Machine::Subscriptions() const
{
    return m_core->events->Subscriptions().size();
}

bool Machine::WaitForSubscriptions(std::size_t count, std::chrono::milliseconds limit) const
{
    return m_core->events->WaitForSubscriptions(count, static_cast<DWORD>(limit.count()));
}

std::vector<ComPtr<IWbemObjectSink>> Machine::Sinks() const
{
    std::vector<ComPtr<IWbemObjectSink>> sinks;
    for (const SubscriptionPtr& subscription : m_core->events->Subscriptions())
    {
        if (subscription->sink)
        {
            subscription->sink->AddRef();
            sinks.emplace_back(subscription->sink.Get());
        }
    }
    return sinks;
}

ObjectPtr Machine::MakeEvent(const EventValues& values) const
{
    const ClassPtr& definition = m_core->description.events.definition;
    if (definition == nullptr)
    {
        throw std::logic_error{"the machine's description has no section \"events\""};
    }
    auto event = MakeInstance(definition);
    for (const auto& [name, value] : values)
    {
        if (!SetValue(*event, {name}, value))
        {
            throw std::logic_error{"the event class has no property " + ToUtf8(name)};
        }
    }
    return event;
}

ObjectPtr Machine::MakeEvent(int id, std::optional<int> data) const
{
    const Events& events = m_core->description.events;
    if (events.definition == nullptr)
    {
        return MakeEvent({});
    }
    return MakeEvent({{events.idName, NumberFor(*events.definition, events.idName, id)},
                      {events.dataName, data ? NumberFor(*events.definition, events.dataName, *data) : Value{}}});
}

} // namespace Zv::Simulator
