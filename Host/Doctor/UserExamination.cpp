#include "Host/Doctor/UserExamination.h"

#include "Host/CommandParts/ConsoleUser.h"
#include "Host/Doctor/ModuleExamination.h"
#include "Host/Watch/HotkeyWatch.h"
#include "Host/Watch/LogText.h"
#include "Host/Watch/ProblemWatch.h"
#include "Platform/Windows/Utf8.h"

#include "Services/Launcher/ApiSet.h"
#include "Services/Launcher/Launcher.h"

#include <memory>
#include <string>

namespace Zv::Host
{

namespace
{

namespace Services = Tessel::Server::Services;
using Services::Launcher;

constexpr char NoApps[] = "no hotkey starts a companion app; wmihost package and launch fail";

Finding ExamineToken(const Environment& environment, const Launcher& launcher, const std::shared_ptr<void>& token,
                     bool hasApi)
{
    const Subject user{"signed-in user", NoApps, "Sign in at the console; run the host as LocalSystem."};
    if (token != nullptr && token.get() != INVALID_HANDLE_VALUE)
    {
        std::wstring profile;
        const bool isReal = launcher.IsRealUserSession(profile);
        return user.Ok("profile " + ToUtf8(profile) + (isReal ? "" : ", which is no person's"));
    }
    if (!hasApi)
    {
        return user.Unknown("cannot be asked for without the session API");
    }
    if (environment.Options().simulateFile.empty() && !MayAskForUsers())
    {
        return user.Unknown("this account may not ask for the user's token, LocalSystem may");
    }
    return user.Missing("nobody is signed in at the console");
}

Finding ExaminePackage(Environment& environment, const Launcher& launcher, const std::shared_ptr<void>& token,
                       const HotkeyApp& app)
{
    const Subject package{std::string{"package of "} + app.name, "the app's keys start nothing",
                          "Install the companion app for the signed-in user."};
    if (!ConsoleUser::HasPackages(environment))
    {
        return package.Missing("this system has no packages");
    }
    if (token == nullptr || token.get() == INVALID_HANDLE_VALUE)
    {
        return package.Unknown("cannot be asked for without the signed-in user");
    }
    const std::wstring name = launcher.GetPackageFullNameByFamilyName(app.constants.packageFamilyName, token);
    return name.empty() ? package.Missing("no package of the family " + ToUtf8(app.constants.packageFamilyName))
                        : package.Ok(ToUtf8(name));
}

} // namespace

Findings ExamineUser(Environment& environment)
{
    static_cast<void>(environment.LoadedModule());
    const ProblemWatch ofLauncher;
    const Launcher launcher;
    const std::shared_ptr<void> token = launcher.GetUserTokenForCurrentUser(TokenImpersonation);

    const Subject api{std::string{"session API "} + Services::SessionApiSet, NoApps,
                      "Expected on reduced editions of Windows."};
    // What the launcher logs where this Windows lacks the API.
    const bool hasApi = ofLauncher.Problem() != WithoutStop(ToUtf8(Services::NoSessionApi));
    Findings findings{hasApi ? api.Ok() : api.Missing(), ExamineToken(environment, launcher, token, hasApi)};
    for (const HotkeyApp& app : HotkeyApps())
    {
        findings.push_back(ExaminePackage(environment, launcher, token, app));
    }
    return findings;
}

} // namespace Zv::Host
