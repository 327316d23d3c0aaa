#include "Tests/Faults/Scenario.h"

#include "Services/Launcher/Launcher.h"
#include "Tests/Faults/ModuleLife.h"
#include "Tests/Faults/OnOneModule.h"
#include "Tests/Faults/StartUpScenarios.h"
#include "Tests/Support/Module.h"

#include <objbase.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Services::Launcher;

constexpr wchar_t GoodRequest[] =
    LR"({"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"})";

// One command on a session of its own.
class OneCommand final : public OnOneModule
{
public:
    OneCommand(std::string name, Group group, const char8_t* machine, unsigned int function, std::wstring request)
        : OnOneModule{std::move(name), group, machine},
          m_function{function},
          m_request{std::move(request)}
    {
    }

private:
    void Act(const std::optional<PlannedFault>& fault, Seen& seen) override
    {
        Session session{TheService(), ScenarioClient};
        Reply reply;
        {
            const Armed armed{TheStage().box, fault};
            reply = Testing::Run(TheService(), session.Get(), m_function, m_request.c_str());
        }
        Note(seen, "command", reply);
    }

    const unsigned int m_function;
    const std::wstring m_request;
};

// A registration with everything that happens to one, from the start of its session to the end.
class WholeRegistration final : public OnOneModule
{
public:
    // filtered: for one event, else for all. The host ends it by unregistering, or by ending the session.
    enum class End
    {
        Unregister,
        Session
    };
    WholeRegistration(std::string name, const char8_t* machine, bool filtered, End end)
        : OnOneModule{std::move(name), Registration, machine},
          m_filtered{filtered},
          m_end{end}
    {
    }

private:
    static constexpr auto Register = FunctionNumber::RegisterBiosEventNotification;
    static constexpr auto Unregister = FunctionNumber::UnregisterBiosWmiEventNotification;

    void Act(const std::optional<PlannedFault>& fault, Seen& seen) override
    {
        Stage& stage = TheStage();
        Session session{TheService(), ScenarioClient};
        const auto fire = [&stage](int id) { return [&stage, id] { stage.machine.FireEvent(id, id * 10); }; };
        const auto command = [&](const char* name, FunctionNumber function, const wchar_t* request) {
            return [&, name, function, request] { Note(seen, name, Command(session.Get(), function, request)); };
        };
        std::vector<std::function<void()>> steps{fire(5)};
        if (m_filtered)
        {
            steps.insert(steps.end(), {command("join", Register, L"{\"filterEvent\":6}"), fire(6), fire(7),
                                       command("leave one", Unregister, L"{\"filterEvent\":6}")});
        }
        if (m_end == End::Unregister)
        {
            steps.emplace_back(
                command("unregister", Unregister, m_filtered ? L"{\"filterEvent\":5}" : L"not a request"));
        }
        else
        {
            steps.emplace_back([&session] { session.End(); });
        }
        stage.Begin(std::move(steps));

        const Armed armed{stage.box, fault};
        Note(seen, "register", Command(session.Get(), Register, m_filtered ? L"{\"filterEvent\":5}" : L"null"));
        session.End();
    }

    const bool m_filtered;
    const End m_end;
};

// The life of a session.
class SessionLife final : public OnOneModule
{
public:
    SessionLife() : OnOneModule{"a session", SessionsAndService, ScenarioMachine} {}

private:
    void Act(const std::optional<PlannedFault>& fault, Seen& seen) override
    {
        const Armed armed{TheStage().box, fault};
        try
        {
            Session session{TheService(), ScenarioClient};
            seen.texts.emplace_back(L"started");
        }
        catch (...)
        {
            seen.raised = true;
        }
    }
};

// The life of a service object.
class ServiceLife : public OnOneModule
{
public:
    explicit ServiceLife(std::string name) : OnOneModule{std::move(name), SessionsAndService, ScenarioMachine} {}

protected:
    void Act(const std::optional<PlannedFault>& fault, Seen& seen) override
    {
        const Armed armed{TheStage().box, fault};
        try
        {
            const Service service{TheModule()};
            seen.texts.emplace_back(L"made");
        }
        catch (...)
        {
            seen.raised = true;
        }
    }
};

// The same, in which some faults have a bad end.
class BadEnds final : public ServiceLife
{
public:
    using End = std::function<void(Seen&)>;
    struct BadEnd
    {
        std::string_view call;
        Mode mode;
        End end;
    };

    BadEnds(std::string name, std::vector<BadEnd> ends) : ServiceLife{std::move(name)}, m_ends{std::move(ends)} {}

private:
    void Act(const std::optional<PlannedFault>& fault, Seen& seen) override
    {
        ServiceLife::Act(fault, seen);
        for (const BadEnd& bad : m_ends)
        {
            if (fault && fault->call.number == 1 && fault->call.name.find(bad.call) != std::string::npos &&
                fault->mode == bad.mode)
            {
                bad.end(seen);
            }
        }
    }

    const std::vector<BadEnd> m_ends;
};

// The launcher's exported functions.
class LauncherFunctions final : public OnOneModule
{
public:
    using Work = std::function<std::wstring(const Launcher& launcher)>;

    LauncherFunctions(std::string name, Work work)
        : OnOneModule{std::move(name), LauncherCall, ScenarioMachine},
          m_work{std::move(work)}
    {
        static_cast<void>(Launcher{}); // binds what is bound at the first call
    }

private:
    void Act(const std::optional<PlannedFault>& fault, Seen& seen) override
    {
        const Armed armed{TheStage().box, fault};
        try
        {
            const Launcher launcher;
            const std::wstring answer = m_work(launcher);
            seen.texts.emplace_back(answer.c_str()); // the memory of the answer is the module's
        }
        catch (...)
        {
            seen.raised = true;
        }
        seen.texts.insert(seen.texts.end(), TheStage().Launches().begin(), TheStage().Launches().end());
    }

    const Work m_work;
};

struct Entry
{
    std::string name;
    Group group;
    std::function<std::unique_ptr<Scenario>(const std::string& name)> make;
};

Entry Command(std::string name, Group group, const char8_t* machine, unsigned int function, std::wstring request)
{
    return {std::move(name), group, [=](const std::string& given) {
                return std::make_unique<OneCommand>(given, group, machine, function, request);
            }};
}

Entry Calls(std::string name, LauncherFunctions::Work work)
{
    return {std::move(name), LauncherCall, [work = std::move(work)](const std::string& given) {
                return std::make_unique<LauncherFunctions>(given, work);
            }};
}

std::wstring OriginText(const Launcher::OriginAndVersion& answer)
{
    return std::to_wstring(answer.first) + L" " + std::to_wstring(answer.second);
}

const std::vector<Entry>& Entries()
{
    const auto firmware = [](int type, int inputSize, const wchar_t* input, int returnSize) {
        return L"{\"command\":1,\"commandType\":" + std::to_wstring(type) + L",\"inputDataSize\":" +
               std::to_wstring(inputSize) + L",\"inputData\":\"" + input + L"\",\"returnDataSize\":" +
               std::to_wstring(returnSize) + L"}";
    };
    const auto query = [](const wchar_t* property, const wchar_t* wmiClass, const wchar_t* filter = L"") {
        return L"{\"property\":\"" + std::wstring{property} + L"\",\"wmiClass\":\"" + wmiClass + L"\",\"filter\":\"" +
               filter + L"\",\"wmiNamespace\":\"ROOT\\\\CIMV2\"}";
    };
    static const std::vector<Entry> entries{
        Command("firmware, no data", FirmwareCommand, ScenarioMachine, 2, firmware(255, 0, L"", 0)),
        Command("firmware, 4 bytes in, 4 out", FirmwareCommand, ScenarioMachine, 2, firmware(255, 4, L"AQIDBA==", 4)),
        Command("firmware, 3 bytes in, 128 out", FirmwareCommand, ScenarioMachine, 2, firmware(255, 3, L"AQID", 128)),
        Command("firmware, version text", FirmwareCommand, ScenarioMachine, 2, firmware(1, 0, L"", 128)),
        Command("property, text", PropertyCommand, ScenarioMachine, 16, query(L"Product", L"Win32_BaseBoard")),
        Command("property, flag", PropertyCommand, ScenarioMachine, 16, query(L"PoweredOn", L"Win32_BaseBoard")),
        Command("property, texts", PropertyCommand, ScenarioMachine, 16, query(L"BIOSVersion", L"Win32_BIOS")),
        Command("property, last of three", PropertyCommand, ScenarioMachine, 16,
                query(L"HandleCount", L"Win32_Process")),
        Command("property, filter", PropertyCommand, ScenarioMachine, 16,
                query(L"Name", L"Win32_Process", L"ProcessId = 4")),
        Command("property, numbers of all", PropertyCommand, ScenarioMachine, 32,
                query(L"HandleCount", L"Win32_Process")),
        Command("property, texts of all", PropertyCommand, ScenarioMachine, 32, query(L"Name", L"Win32_Process")),
        Command("property, arrays of all", PropertyCommand, ScenarioMachine, 32,
                query(L"BiosCharacteristics", L"Win32_BIOS")),
        Command("text of one", TextCommand, ScenarioMachine, 256, query(L"", L"Win32_BaseBoard")),
        Command("text of three", TextCommand, ScenarioMachine, 256, query(L"", L"Win32_Process")),
        Command("setting", SettingCommand, ScenarioMachine, 64,
                LR"({"name":"Fast Boot","value":"Enable","password":"Winter-2024"})"),
        Command("setting, no password", SettingCommand, ScenarioMachine, 64,
                LR"({"name":"Fast Boot","value":"Enable"})"),
        Command("defaults", SettingCommand, ScenarioMachine, 128, LR"({"password":"Winter-2024"})"),
        Command("nothing to unregister", OtherCommand, ScenarioMachine, 8, L"{}"),
        Command("an id that is not listened for", OtherCommand, ScenarioMachine, 8, L"{\"filterEvent\":7}"),
        Command("no request to unregister", OtherCommand, ScenarioMachine, 8, L"no request"),
        Command("unknown function", OtherCommand, ScenarioMachine, 3, L"{}"),
        Command("malformed request", OtherCommand, ScenarioMachine, 2, L"{\"command\":"),
        {"registration for one event", Registration,
         [](const std::string& name) {
             return std::make_unique<WholeRegistration>(name, ScenarioMachine, true,
                                                        WholeRegistration::End::Unregister);
         }},
        {"registration for all events", Registration,
         [](const std::string& name) {
             return std::make_unique<WholeRegistration>(name, ScenarioMachine, false,
                                                        WholeRegistration::End::Unregister);
         }},
        {"registration that its session ends", Registration,
         [](const std::string& name) {
             return std::make_unique<WholeRegistration>(name, ScenarioMachine, true, WholeRegistration::End::Session);
         }},
        {"from load to unload", Load,
         [](const std::string& name) { return std::make_unique<ModuleLife>(name, ScenarioMachine); }},
        {"a session", SessionsAndService, [](const std::string&) { return std::make_unique<SessionLife>(); }},
        {"a service", SessionsAndService, [](const std::string& name) { return std::make_unique<ServiceLife>(name); }},
        {"the start-up task", StartUp, &MakeStartUpTask},
        {"the Lumashade key", Hotkey,
         [](const std::string& name) {
             return MakeHotkeyPress(name, L"{\"filterEvent\":20}", L"{\"eventId\":20,\"eventData\":16711680}");
         }},
        {"a Chimebox key", Hotkey,
         [](const std::string& name) {
             return MakeHotkeyPress(name, L"{\"filterEvent\":21}", L"{\"eventId\":21,\"eventData\":7}");
         }},
        Calls("Launcher::Run",
              [](const Launcher& launcher) {
                  return std::to_wstring(
                      launcher.Run(L"Lumashade.exe", L"7B3E90C4.Lumashade_k2x7m4qp9wt1d", L"an argument"));
              }),
        Calls("Launcher::RunExeAsUser",
              [](const Launcher& launcher) {
                  DWORD processId = 0;
                  const HANDLE inherited = GetStdHandle(STD_OUTPUT_HANDLE);
                  const bool done = launcher.RunExeAsUser(
                      L"C:\\Users\\Robin\\AppData\\Local\\Microsoft\\WindowsApps\\Lumashade.exe", L"C:\\",
                      launcher.GetUserTokenForCurrentUser(TokenPrimary), L"", processId, {inherited});
                  return std::to_wstring(done);
              }),
        Calls("Launcher::IsRealUserSession",
              [](const Launcher& launcher) {
                  std::wstring profile;
                  const bool real = launcher.IsRealUserSession(profile);
                  return std::to_wstring(real) + profile;
              }),
        Calls("Launcher::GetOriginAndVersionByFamilyName",
              [](const Launcher& launcher) {
                  return OriginText(launcher.GetOriginAndVersionByFamilyName(L"7B3E90C4.Lumashade_k2x7m4qp9wt1d"));
              }),
        Calls("Launcher::GetPackageInstalledPathByFullName",
              [](const Launcher& launcher) {
                  return launcher.GetPackageInstalledPathByFullName(
                      L"7B3E90C4.Lumashade_2.1.14.0_x64__k2x7m4qp9wt1d",
                      launcher.GetUserTokenForCurrentUser(TokenImpersonation));
              }),
    };
    return entries;
}

// For the tests of what runs the scenarios.
const std::vector<Entry>& EntriesWithBadEnds()
{
    static constexpr auto make = [](std::string name, std::vector<BadEnds::BadEnd> ends) {
        return Entry{std::move(name), SessionsAndService, [ends = std::move(ends)](const std::string& given) {
                         return std::make_unique<BadEnds>(given, ends);
                     }};
    };
    static const BadEnds::End crash = [](Seen&) { *static_cast<volatile int*>(nullptr) = 0; };
    static const std::vector<Entry> entries{
        make("(crashing)", {{"GetLogger", Mode::Slow, crash}, {"malloc", Mode::Onward, crash}}),
        make("(hanging)", {{"malloc", Mode::Once, [](Seen&) { Sleep(INFINITE); }}}),
        make("(leaking)", {{"malloc", Mode::Once, [](Seen& seen) { seen.left += "a thing\n"; }}}),
    };
    return entries;
}

} // namespace

void Note(Seen& seen, const std::string& call, const Reply& reply)
{
    seen.codes[call] = reply.code;
    seen.texts.insert(seen.texts.end(), reply.progress.begin(), reply.progress.end());
    switch (reply.slot)
    {
    case Reply::Slot::Untouched:
        seen.texts.emplace_back(L"no response");
        break;
    case Reply::Slot::Null:
        seen.texts.emplace_back(L"null response");
        break;
    case Reply::Slot::Text:
        seen.texts.push_back(reply.text);
        break;
    }
}

bool SucceedsOn(ZVService* service)
{
    Session session{service, ScenarioClient};
    return Run(service, session.Get(), static_cast<unsigned int>(FunctionNumber::GetWmiPropertyValue), GoodRequest)
               .text == LR"({"result":"7C21"})";
}

std::vector<std::string> ScenariosOf(Group groups)
{
    std::vector<std::string> names;
    for (const Entry& entry : Entries())
    {
        if ((entry.group & groups) != 0)
        {
            names.push_back(entry.name);
        }
    }
    return names;
}

std::unique_ptr<Scenario> MakeScenario(const std::string& name)
{
    for (const std::vector<Entry>* const entries : {&Entries(), &EntriesWithBadEnds()})
    {
        const auto found = std::ranges::find(*entries, name, &Entry::name);
        if (found != entries->end())
        {
            return found->make(name);
        }
    }
    throw std::out_of_range{"no scenario is called " + name};
}

} // namespace Zv::Testing
