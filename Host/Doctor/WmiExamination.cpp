#include "Host/Doctor/WmiExamination.h"

#include "Host/Client/BoardId.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Recording/WmiClient.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Watch/HotkeyWatch.h"
#include "Platform/Windows/Utf8.h"

#include "Platform/Windows/BoundedFormat.h"
#include "Services/WMI/Hotkeys/CompanionApp.h"
#include "Shared/WMI/FirmwareNames.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Zv::Host
{

using Tessel::Server::Services::FunctionNumber;
using Tessel::Server::Shared::WMI::ComPtr;

namespace
{

namespace Firmware = Tessel::Server::Shared::WMI;
namespace Services = Tessel::Server::Services;

constexpr char MakersMachines[] = "Expected on machines of other makers; on one of the maker's install its firmware "
                                  "driver.";
constexpr char NoNamespace[] = "no such namespace";
constexpr char NoClass[] = "no such class";
constexpr char NoCommands[] = "wmihost firmware and function 2 fail with 0x20000002";
constexpr char NoSettings[] = "wmihost set and defaults, functions 64 and 128, fail";
constexpr char NoEvents[] = "wmihost events, function 4 and all hotkeys get no firmware events";

std::string Named(const char* what, const wchar_t* name)
{
    return std::string{what} + ' ' + ToUtf8(name);
}

// Those of them that the class lacks.
std::string Lacking(IWbemClassObject& definition, const std::vector<std::wstring>& methods)
{
    std::string lacking;
    for (const std::wstring& method : methods)
    {
        ComPtr<IWbemClassObject> in;
        ComPtr<IWbemClassObject> out;
        if (FAILED(definition.GetMethod(method.c_str(), 0, in.Receive(), out.Receive())))
        {
            lacking += (lacking.empty() ? "" : ", ") + ToUtf8(method);
        }
    }
    return lacking;
}

std::wstring FirmwareMethod(std::uint32_t size)
{
    wchar_t name[30];
    static_cast<void>(swprintf_s(name, Firmware::FirmwareMethodNameFormat, static_cast<long>(size)));
    return name;
}

std::string InstanceCount(const Reply& reply)
{
    JsonDocument document;
    document.Parse(reply.response.value_or("{}").c_str());
    const bool isList = !document.HasParseError() && document.IsObject() && document.HasMember("result") &&
                        document["result"].IsArray();
    const std::size_t count = isList ? document["result"].Size() : 0;
    return std::to_string(count) + (count == 1 ? " instance" : " instances");
}

} // namespace

WmiExamination::WmiExamination(Session& session, Simulator::Machine* machine, const Interruption& interruption)
    : m_session{session},
      m_machine{machine},
      m_interruption{interruption}
{
    ExamineBoard();
    ExamineCommands();
    ExamineSettings();
    ExamineEvents();
    ExamineHotkeys();
}

WmiExamination::Answer WmiExamination::AskForInstances(const wchar_t* nameSpace, const wchar_t* className)
{
    // Every instance has a path, whatever its class.
    const Reply reply =
        m_session.Execute(FunctionNumber::GetWmiPropertyValues, JsonObject{}
                                                                    .Add("property", "__PATH")
                                                                    .Add("wmiClass", ToUtf8(className))
                                                                    .Add("wmiNamespace", ToUtf8(nameSpace))
                                                                    .Text());
    m_interruption.Check();
    switch (reply.code)
    {
    case Services::Success:
        return {State::Ok, State::Ok, InstanceCount(reply)};
    case Services::NamespaceInvalid:
        return {State::Missing, State::Missing, NoNamespace};
    case Services::ClassInvalid:
        return {State::Ok, State::Missing, NoClass};
    default:
        break;
    }
    if (reply.code == Services::GeneralFailure && reply.problem.empty())
    {
        return {State::Ok, State::Missing, "no instance"};
    }
    const bool connected = !reply.problem.starts_with("IWbemLocator") && !reply.problem.starts_with("CoCreateInstance");
    return {connected ? State::Ok : State::Unknown, State::Unknown, ErrorLine(reply.code, {}, reply.problem)};
}

void WmiExamination::FindClass(const Subject& subject, State namespaceState, const wchar_t* nameSpace,
                               const wchar_t* className, const std::vector<std::wstring>& methods)
{
    if (namespaceState == State::Missing)
    {
        Add(subject.Missing(NoNamespace));
        return;
    }
    try
    {
        const WmiClient wmi{m_machine, nameSpace};
        const ComPtr<IWbemClassObject> definition = wmi.FindClass(className);
        if (!definition)
        {
            Add(subject.Missing(NoClass));
            return;
        }
        const std::string lacking = Lacking(*definition.Get(), methods);
        Add(lacking.empty() ? subject.Ok() : subject.Missing("lacks " + lacking));
    }
    catch (const Failure& failure)
    {
        Add(subject.Unknown(failure.what()));
    }
    m_interruption.Check();
}

void WmiExamination::ExamineBoard()
{
    const Answer answer = AskForInstances(Services::WMI::BoardIdNamespace, Services::WMI::BoardIdClass);
    const Subject nameSpace{Named("namespace", Services::WMI::BoardIdNamespace),
                            "wmihost get and text find nothing of the system's; no board id",
                            "Repair WMI: every Windows has this namespace."};
    Add(nameSpace.Is(answer.nameSpace, answer.nameSpace == State::Ok ? "" : answer.detail));

    m_board = ReadBoardId(m_session);
    const Subject board{"board id", "hotkeys that are for certain boards are not armed",
                        "See what \"wmihost get Win32_BaseBoard Product\" says."};
    if (m_board)
    {
        Add(board.Ok(*m_board));
    }
    else
    {
        Add(answer.instances == State::Ok ? board.Missing("the property Product holds no text")
                                          : board.Is(answer.instances, answer.detail));
    }
}

void WmiExamination::ExamineCommands()
{
    const Answer answer = AskForInstances(Firmware::FirmwareNamespace, Firmware::FirmwareMethodClassOfInstances);
    const Subject nameSpace{Named("namespace", Firmware::FirmwareNamespace), "no firmware commands, no firmware events",
                            "Repair WMI: every Windows has this namespace."};
    Add(nameSpace.Is(answer.nameSpace, answer.nameSpace == State::Ok ? "" : answer.detail));
    m_firmwareNamespace = answer.nameSpace;

    const Subject instance{Named("firmware commands", Firmware::FirmwareMethodClass), NoCommands, MakersMachines};
    Add(instance.Is(answer.instances, answer.detail));

    if (answer.instances != State::Missing)
    {
        std::vector<std::wstring> methods;
        std::ranges::transform(Firmware::FirmwareReturnSizes, std::back_inserter(methods), &FirmwareMethod);
        FindClass({"their methods " + ToUtf8(methods.front()) + " to " + ToUtf8(methods.back()),
                   "firmware commands fail with 0x20000002 where that many bytes are to come back", MakersMachines},
                  m_firmwareNamespace, Firmware::FirmwareNamespace, Firmware::FirmwareMethodClass, methods);
    }
    FindClass({Named("their input block", Firmware::FirmwareInputClass), NoCommands, MakersMachines},
              m_firmwareNamespace, Firmware::FirmwareNamespace, Firmware::FirmwareInputClass);
}

void WmiExamination::ExamineSettings()
{
    const Answer answer = AskForInstances(Firmware::SettingsNamespace, Firmware::SettingsClass);
    const Subject nameSpace{Named("namespace", Firmware::SettingsNamespace), NoSettings, MakersMachines};
    Add(nameSpace.Is(answer.nameSpace, answer.nameSpace == State::Ok ? "" : answer.detail));

    const Subject instance{Named("firmware settings", Firmware::SettingsClass), NoSettings, MakersMachines};
    Add(instance.Is(answer.instances, answer.detail));

    if (answer.instances != State::Missing)
    {
        FindClass({"their methods " + ToUtf8(Firmware::SettingsChangeMethod) + " and " +
                       ToUtf8(Firmware::SettingsDefaultsMethod),
                   NoSettings, MakersMachines},
                  answer.nameSpace, Firmware::SettingsNamespace, Firmware::SettingsClass,
                  {Firmware::SettingsChangeMethod, Firmware::SettingsDefaultsMethod});
    }
}

void WmiExamination::ExamineEvents()
{
    FindClass({Named("firmware events", Firmware::FirmwareEventClass), NoEvents, MakersMachines}, m_firmwareNamespace,
              Firmware::FirmwareNamespace, Firmware::FirmwareEventClass);
    if (m_findings.back().state != State::Ok)
    {
        m_noEvents = "no firmware events";
    }

    const Subject apartment{"delivery of events (unsecured apartment)", NoEvents,
                            "This system's WMI lacks a part that every Windows has; repair WMI."};
    ComPtr<IUnsecuredApartment> created;
    const HRESULT status = CreateWmiObject(m_machine, CLSID_UnsecuredApartment, CLSCTX_LOCAL_SERVER, created);
    Add(SUCCEEDED(status) && created ? apartment.Ok() : apartment.Missing(StatusText(status)));
    if (m_findings.back().state != State::Ok && m_noEvents.empty())
    {
        m_noEvents = "firmware events cannot be delivered";
    }
}

void WmiExamination::ExamineHotkeys()
{
    for (const HotkeyApp& app : HotkeyApps())
    {
        const bool several = app.constants.hotkeyEventIds.size() > 1;
        const Subject hotkey{std::string{"hotkeys of "} + app.name, "the app's keys start nothing",
                             "Expected on machines that are not made for the app."};
        const bool supported = app.SupportsBoard(m_board);
        if (supported && m_noEvents.empty())
        {
            Add(hotkey.Ok("armed for event" + std::string{several ? "s " : " "} + app.EventIds() + ": " +
                          app.WhyByBoard(m_board)));
        }
        else
        {
            Add(hotkey.Missing("not armed: " + (supported ? m_noEvents : app.WhyByBoard(m_board))));
        }
    }
}

} // namespace Zv::Host
