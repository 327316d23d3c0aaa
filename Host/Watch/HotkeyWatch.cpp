#include "Host/Watch/HotkeyWatch.h"

#include "Host/Explain/HResults.h"
#include "Host/Watch/LogText.h"
#include "Platform/Windows/Utf8.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

namespace Zv::Host
{

namespace
{

namespace WMI = Tessel::Server::Services::WMI;

// The session that an app's listeners run their commands in.
std::wstring ListenerClientId(const CompanionApp& app)
{
    return std::wstring{L"APP_"} + app.packageFamilyName + L"_LAUNCHER";
}

} // namespace

std::string HotkeyApp::EventIds() const
{
    std::string text;
    for (const int id : constants.hotkeyEventIds)
    {
        text += (text.empty() ? "" : ", ") + std::to_string(id);
    }
    return text;
}

std::string HotkeyApp::BoardIds() const
{
    std::string text;
    for (const wchar_t* const id : constants.supportedBoardIds)
    {
        text += (text.empty() ? "" : ", ") + ToUtf8(id);
    }
    return text;
}

bool HotkeyApp::ListensFor(int id) const noexcept
{
    return std::ranges::find(constants.hotkeyEventIds, id) != constants.hotkeyEventIds.end();
}

bool HotkeyApp::SupportsBoard(const std::optional<std::string>& board) const
{
    const auto& boards = constants.supportedBoardIds;
    return boards.empty() ||
           (board && std::ranges::any_of(boards, [&](const wchar_t* id) { return ToUtf8(id) == *board; }));
}

std::string HotkeyApp::WhyByBoard(const std::optional<std::string>& board) const
{
    if (constants.supportedBoardIds.empty())
    {
        return "it is supported on every board";
    }
    if (!board)
    {
        return "the board's id cannot be read";
    }
    return "board " + *board + (SupportsBoard(board) ? " is one of its" : " is none of " + BoardIds());
}

const std::array<HotkeyApp, HotkeyAppCount>& HotkeyApps() noexcept
{
    static constexpr std::array<HotkeyApp, HotkeyAppCount> apps{
        {{"Lumashade", WMI::Lumashade}, {"Chimebox", WMI::Chimebox}}};
    return apps;
}

HotkeyWatch::HotkeyWatch()
    : m_subscribing{{ProblemWatch{ListenerClientId(HotkeyApps()[0].constants)},
                     ProblemWatch{ListenerClientId(HotkeyApps()[1].constants)}}},
      m_sink{Logging::Sinks::Add(Logging::Level::Info, &Keep, this)}
{
}

HotkeyWatch::App HotkeyWatch::Of(std::size_t app) const
{
    const std::lock_guard held{m_mutex};
    return m_apps.at(app);
}

std::string HotkeyWatch::WhyStopped(std::size_t app) const
{
    const ProblemWatch& watch = m_subscribing.at(app);
    const char* const lack = WhyNoEvents(watch.Status());
    return lack != nullptr ? lack : watch.Problem();
}

std::size_t HotkeyWatch::Listeners() const
{
    const std::lock_guard held{m_mutex};
    std::size_t listeners = 0;
    for (std::size_t i = 0; i < HotkeyAppCount; ++i)
    {
        listeners += m_apps[i].isRunning ? HotkeyApps()[i].constants.hotkeyEventIds.size() - m_apps[i].stopped : 0;
    }
    return listeners;
}

std::string HotkeyWatch::TakeProblems()
{
    const std::lock_guard held{m_mutex};
    std::string line;
    for (const std::string& problem : std::exchange(m_problems, {}))
    {
        line += (line.empty() ? "" : "; ") + std::string{WithoutStop(problem)};
    }
    return line;
}

void HotkeyWatch::Keep(const Logging::LogLine& line, void* self) noexcept
{
    if (line.overload != Logging::Overload::Text)
    {
        return;
    }
    try
    {
        static_cast<HotkeyWatch*>(self)->Keep(line.level, {line.text, line.length});
    }
    catch (const std::bad_alloc&)
    {
        return; // what is shown goes without it
    }
}

void HotkeyWatch::Keep(Logging::Level level, std::wstring_view text)
{
    const std::lock_guard held{m_mutex};
    for (std::size_t i = 0; i < HotkeyAppCount; ++i)
    {
        const CompanionApp& app = HotkeyApps()[i].constants;
        m_apps[i].isRunning = m_apps[i].isRunning || text == app.isRunning;
        m_apps[i].stopped += text == std::wstring{app.packageFamilyName} + L" Stopped" ? 1 : 0;
        if (text == app.notSupported)
        {
            m_apps[i].notSupported = true;
            return;
        }
    }
    if (std::string line = ToUtf8(text); level != Logging::Level::Info && !IsHarmless(line))
    {
        m_problems.push_back(std::move(line));
    }
}

} // namespace Zv::Host
