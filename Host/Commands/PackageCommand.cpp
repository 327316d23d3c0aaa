#include "Host/CommandParts/ConsoleUser.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Platform/Windows/Utf8.h"

#include <array>
#include <stdexcept>

namespace Zv::Host
{

namespace
{

// Of the platform's PackageOrigin values, in their order.
constexpr std::array OriginNames = {"unknown",           "unmanaged",       "inbox", "store", "developer, unsigned",
                                    "developer, signed", "line of business"};

std::string OriginName(std::int32_t origin)
{
    return origin >= 0 && origin < static_cast<std::int32_t>(OriginNames.size())
               ? OriginNames[static_cast<std::size_t>(origin)]
               : "";
}

std::string VersionText(std::uint64_t version)
{
    std::string text;
    for (const unsigned int shift : {48U, 32U, 16U, 0U})
    {
        text += (text.empty() ? "" : ".") + std::to_string((version >> shift) & 0xFFFF);
    }
    return text;
}

class PackageCommand : public Command
{
public:
    PackageCommand()
        : Command{{.name = "package",
                   .summary = "Show the console user's package",
                   .details = R"(Looks the package up as the user who is signed in at the console.)",
                   .examples = R"(wmihost package 7B3E90C4.Lumashade_k2x7m4qp9wt1d
wmihost package 7B3E90C4.Chimeboxes_k2x7m4qp9wt1d --json)"}}
    {
        m_arguments.Positional("FAMILY", m_family, "Package family name").Required();
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const ConsoleUser user{environment};
        const std::shared_ptr<void> token = user.Token();
        const std::wstring family = ToUtf16(m_family);
        const std::wstring fullName = user.Launcher().GetPackageFullNameByFamilyName(family, token);
        if (fullName.empty())
        {
            user.Fail("the console user has no package " + m_family);
        }
        const std::wstring folder = user.Launcher().GetPackageInstalledPathByFullName(fullName, token);
        const Tessel::Server::Services::Launcher::OriginAndVersion found = OriginAndVersion(user, family);
        Print(environment, ToUtf8(fullName), ToUtf8(folder), found);
        return ExitCode::Success;
    }

private:
    [[nodiscard]] Tessel::Server::Services::Launcher::OriginAndVersion OriginAndVersion(
        const ConsoleUser& user, const std::wstring& family) const
    {
        try
        {
            return user.Launcher().GetOriginAndVersionByFamilyName(family);
        }
        catch (const std::runtime_error& error)
        {
            throw Failure{ExitCode::CommandFailed, m_family + ": " + error.what()};
        }
    }

    static void Print(const Environment& environment, const std::string& fullName, const std::string& folder,
                      const Tessel::Server::Services::Launcher::OriginAndVersion& found)
    {
        const auto& [origin, version] = found;
        Console& output = environment.Output();
        if (environment.Options().PrintsJson())
        {
            output.WriteLine(JsonObject{}
                                 .Add("fullName", fullName)
                                 .Add("folder", folder)
                                 .Add("origin", origin)
                                 .Add("originName", OriginName(origin))
                                 .Add("version", VersionText(version))
                                 .Text());
            return;
        }
        const std::string name = OriginName(origin);
        output.Write("full name  " + fullName + "\nfolder     " + folder + "\norigin     " + std::to_string(origin) +
                     (name.empty() ? "" : " (" + name + ")") + "\nversion    " + VersionText(version) + '\n');
    }

    std::string m_family;
};

} // namespace

std::unique_ptr<Command> MakePackageCommand()
{
    return std::make_unique<PackageCommand>();
}

} // namespace Zv::Host
