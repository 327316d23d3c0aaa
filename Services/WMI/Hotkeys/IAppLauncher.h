// What starts one companion app.
#pragma once

#include "Logging/Logging.h"

#include <string>

namespace Zv::Tessel::Server::Services::WMI
{

struct CompanionApp;

// Made for one launch. Held by shared pointers that were made for the concrete class and destroy it as such: the table
// of virtual functions has no destructor.
class IAppLauncher
{
public:
    IAppLauncher(const IAppLauncher&) = delete;
    IAppLauncher& operator=(const IAppLauncher&) = delete;

    // Starts the app in the console user's session with that command line, if it is installed there. Failures are
    // logged only.
    virtual void LaunchApp(std::wstring argument) = 0;

    void SetLogger(Logging::TraceLogger* log) noexcept { logger = log; }

    // Whether the console user has the package. Impersonates that user meanwhile; if the look-up raises, the calling
    // thread is left impersonating.
    [[nodiscard]] bool IsAppInstalledForUser(std::wstring familyName) const noexcept;

protected:
    explicit IAppLauncher(const CompanionApp& app);
    ~IAppLauncher() = default;

    // LaunchApp() of every app.
    void Launch(const CompanionApp& app, std::wstring argument) const noexcept;

private:
    Logging::TraceLogger* logger = nullptr; // not owned
    std::wstring packageFamilyName;
    std::wstring exeName;
};

} // namespace Zv::Tessel::Server::Services::WMI
