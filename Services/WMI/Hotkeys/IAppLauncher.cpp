#include "Services/WMI/Hotkeys/IAppLauncher.h"

#include "Services/Launcher/Launcher.h"
#include "Services/WMI/Hotkeys/CompanionApp.h"
#include "Shared/Log/TextLog.h"

#include <memory>
#include <utility>

namespace Zv::Tessel::Server::Services::WMI
{

IAppLauncher::IAppLauncher(const CompanionApp& app) : packageFamilyName{app.packageFamilyName}, exeName{app.exeName} {}

void IAppLauncher::Launch(const CompanionApp& app, std::wstring argument) const noexcept
{
    const Shared::TextLog log{logger};
    try
    {
        if (!IsAppInstalledForUser(packageFamilyName))
        {
            return;
        }
        if (!Launcher{}.Run(exeName, packageFamilyName, std::move(argument)))
        {
            log.Error(app.runFailed);
        }
    }
    catch (...)
    {
        log.Error(app.launchRaised);
    }
}

bool IAppLauncher::IsAppInstalledForUser(std::wstring familyName) const noexcept
{
    const Shared::TextLog log{logger};
    bool installed = false;
    try
    {
        const Launcher launcher;
        const std::shared_ptr<void> token = launcher.GetUserTokenForCurrentUser(TokenImpersonation);
        if (token.get() == INVALID_HANDLE_VALUE)
        {
            return false;
        }
        if (ImpersonateLoggedOnUser(token.get()) == FALSE)
        {
            return false;
        }
        installed = !launcher.GetPackageFullNameByFamilyName(familyName).empty();
        if (!installed)
        {
            log.Warning((familyName += L" NOT INSTALLED:").c_str());
        }
        if (RevertToSelf() == FALSE)
        {
            log.Warning(L"Failed to RevertToSelf");
        }
    }
    catch (...)
    {
        // By contract the text of the listener's check, and no RevertToSelf.
        log.Error(L"listenerShouldRun() Failed to verify listner running check.");
    }
    return installed;
}

} // namespace Zv::Tessel::Server::Services::WMI
