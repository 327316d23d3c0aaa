#include "Services/WMI/Hotkeys/HotkeyEvent.h"

#include "Services/JsonUtils.h"
#include "Shared/Json/JsonText.h"

#include <utility>

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

std::optional<std::int32_t> FindNumber(const JsonDocument& event, const wchar_t* key)
{
    const auto member = event.FindMember(key);
    if (member == event.MemberEnd() || !member->value.IsNumber())
    {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(ToUint32(member->value));
}

} // namespace

HotkeyEvent ReadHotkeyEvent(const wchar_t* eventText)
{
    JsonDocument event;
    if (!ParseJson(eventText, event) || !event.IsObject())
    {
        return {};
    }
    return {FindNumber(event, L"eventId"), FindNumber(event, L"eventData")};
}

void LaunchCompanionApp(IHotKeyAppLauncherAbstractFactory& factory, Logging::TraceLogger* logger, std::wstring argument)
{
    const std::shared_ptr<IAppLauncher> launcher = factory.CreateAppLauncher();
    launcher->SetLogger(logger);
    launcher->LaunchApp(std::move(argument));
}

} // namespace Zv::Tessel::Server::Services::WMI
