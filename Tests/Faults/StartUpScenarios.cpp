#include "Tests/Faults/StartUpScenarios.h"

#include "Simulator/Machine.h"
#include "Tests/Faults/OnOneModule.h"
#include "Tests/Faults/Stage.h"
#include "Tests/Support/CommandTap.h"
#include "Tests/Support/Module.h"

#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Zv::Testing
{

namespace
{

// The start-up task of a module that was just loaded: its threads' bodies run one after the other, each with its
// subscription, until they are stopped; then the module is unloaded, and nothing of it may be left.
class StartUpTask final : public Scenario
{
public:
    explicit StartUpTask(std::string name)
        : Scenario{std::move(name), StartUp},
          m_machine{Simulator::Machine::Load(ScenarioMachine)}
    {
    }

    [[nodiscard]] Seen Run(const std::optional<PlannedFault>& fault) override
    {
        Seen seen;
        auto module = std::make_unique<Module>();
        Stage stage{module->Handle(), m_machine};
        {
            const Service service{*module};
            stage.Begin();
            {
                const Armed armed{stage.box, fault};
                service->startup_task();
                for (const auto& body : stage.threads)
                {
                    body();
                }
            }
            seen.texts.push_back(std::to_wstring(stage.threads.size()) + L" threads");
            seen.texts.push_back(std::to_wstring(stage.machine.Subscriptions()) + L" subscriptions");
            if (!fault)
            {
                m_calls = stage.box.Calls();
            }
            m_struck = stage.box.Struck();
            seen.log = stage.transcript.Log();
            m_goodCommand = SucceedsOn(service.Get());
        }
        module.reset();
        seen.joins = stage.TakeJoins();
        seen.heldWhenLeft = stage.TakeHeldWhenLeft();
        seen.left = stage.TakeLeftovers();
        if (GetModuleHandleW(L"WMIService.dll") != nullptr)
        {
            seen.left += "the module itself\n";
        }
        return seen;
    }
    [[nodiscard]] bool IsOfClient(const std::wstring& context) const override
    {
        return context == L"APP_FETCH_Platform_ID_CONTEXT" ||
               (context.starts_with(L"APP_7B3E90C4.") && context.ends_with(L"_LAUNCHER"));
    }
    [[nodiscard]] std::vector<MadeCall> Calls() const override { return m_calls; }
    [[nodiscard]] bool LeavesNothingBehind() const override { return true; }
    [[nodiscard]] bool Struck() const override { return m_struck; }
    [[nodiscard]] bool RunGoodCommand() override { return m_goodCommand; }

private:
    Simulator::Machine m_machine;
    std::vector<MadeCall> m_calls;
    bool m_struck = false;
    bool m_goodCommand = false;
};

// A hotkey: the callback of the companion app that the start-up task registers for an event.
class HotkeyPress final : public OnOneModule
{
public:
    HotkeyPress(std::string name, const std::wstring& registration, std::wstring event)
        : OnOneModule{std::move(name), Hotkey, ScenarioMachine},
          m_event{std::move(event)}
    {
        Stage& stage = TheStage();
        stage.Begin();
        CommandTap tap{TheService(), [this, &registration](const TappedCommand& command, wchar_t** response) {
                           if (command.function != 4)
                           {
                               return false;
                           }
                           if (command.request == registration)
                           {
                               m_callback = command.callback;
                           }
                           *response = nullptr;
                           return true;
                       }};
        TheService()->startup_task();
        for (const auto& body : stage.threads)
        {
            body();
        }
        if (!m_callback)
        {
            throw std::runtime_error{"the app has not registered"};
        }
        stage.ledgers.heap.ForgetIf([](const void*) { return true; }); // the listeners' own, which they keep
        static_cast<void>(stage.TakeJoins());
        static_cast<void>(stage.TakeLeftovers());
    }

private:
    void Act(const std::optional<PlannedFault>& fault, Seen& seen) override
    {
        std::wstring text = m_event;
        {
            const Armed armed{TheStage().box, fault};
            m_callback(text.data());
        }
        for (std::wstring launch : TheStage().Launches())
        {
            // The time of day is not to the point.
            if (const std::size_t time = launch.rfind(L'#'); time != std::wstring::npos)
            {
                launch.replace(time + 1, launch.find(L'|', time) - time - 1, L"time");
            }
            seen.texts.push_back(std::move(launch));
        }
    }

    const std::wstring m_event;
    ProgressCallback m_callback;
};

} // namespace

std::unique_ptr<Scenario> MakeStartUpTask(std::string name)
{
    return std::make_unique<StartUpTask>(std::move(name));
}

std::unique_ptr<Scenario> MakeHotkeyPress(std::string name, const std::wstring& registration, std::wstring event)
{
    return std::make_unique<HotkeyPress>(std::move(name), registration, std::move(event));
}

} // namespace Zv::Testing
