// Prints what is logged.
#include <Logging/Sinks.h>

#include <cstdio>

int main()
{
    const Logging::ScopedSink sink{Logging::Sinks::Add(
        Logging::Level::Info,
        [](const Logging::LogLine& line, void*) noexcept { std::printf("logged: %ls\n", line.text); }, nullptr)};
    Logging::LogManager::SetProvider(L"consumer");
    Logging::LogManager::GetLogger()->LogInfo(L"%s", L"a line");
    return 0;
}
