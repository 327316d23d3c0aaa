// wmihost doctor.
#include "Program.h"
#include "TemporaryFolder.h"

#include "Host/Text/Json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using ::testing::HasSubstr;

// State and subject of each finding from the first about WMI on; what comes before depends on where the module lies.
std::vector<std::string> FindingsOf(const Outcome& outcome)
{
    Host::JsonDocument document;
    document.Parse(outcome.output.c_str());
    std::vector<std::string> findings;
    if (document.HasParseError() || !document.IsObject())
    {
        return {"no JSON: " + outcome.output + outcome.error};
    }
    for (const Host::JsonValue& finding : document["findings"].GetArray())
    {
        findings.push_back(std::string{finding["state"].GetString()} + ' ' + finding["subject"].GetString());
    }
    const auto isAboutWmi = [](const std::string& finding) { return finding.find("ROOT\\CIMV2") != std::string::npos; };
    findings.erase(findings.begin(), std::ranges::find_if(findings, isAboutWmi));
    return findings;
}

struct Machine
{
    const char* name;
    int exitCode;
    std::vector<std::string> findings;
};

TEST(HostDoctor, TellsWhatASimulatedMachineHasAndLacks)
{
    const Machine machines[] = {
        {"notebook",
         0,
         {"ok namespace ROOT\\CIMV2", "ok board id", "ok namespace \\\\.\\root\\wmi", "ok firmware commands zvqBIntM",
          "ok their methods zvqBIOSInt0 to zvqBIOSInt4096", "ok their input block zvqBDataIn",
          "ok namespace ROOT\\ZV\\InstrumentedBIOS", "ok firmware settings ZVBIOS_BIOSSettingInterface",
          "ok their methods SetBIOSSetting and SetSystemDefaults", "ok firmware events zvqBEvnt",
          "ok delivery of events (unsecured apartment)", "ok hotkeys of Lumashade", "ok hotkeys of Chimebox",
          "ok session API ext-ms-win-session-wtsapi32-l1-1-0", "ok signed-in user", "ok package of Lumashade",
          "ok package of Chimebox"}},
        {"desktop",
         8,
         {"ok namespace ROOT\\CIMV2", "ok board id", "ok namespace \\\\.\\root\\wmi",
          "missing firmware commands zvqBIntM", "missing their input block zvqBDataIn",
          "missing namespace ROOT\\ZV\\InstrumentedBIOS", "missing firmware settings ZVBIOS_BIOSSettingInterface",
          "missing firmware events zvqBEvnt", "ok delivery of events (unsecured apartment)",
          "missing hotkeys of Lumashade", "missing hotkeys of Chimebox",
          "ok session API ext-ms-win-session-wtsapi32-l1-1-0", "missing signed-in user", "unknown package of Lumashade",
          "unknown package of Chimebox"}},
        {"misbehaving",
         8,
         {"ok namespace ROOT\\CIMV2", "missing board id", "ok namespace \\\\.\\root\\wmi",
          "ok firmware commands zvqBIntM", "ok their methods zvqBIOSInt0 to zvqBIOSInt4096",
          "ok their input block zvqBDataIn", "ok namespace ROOT\\ZV\\InstrumentedBIOS",
          "ok firmware settings ZVBIOS_BIOSSettingInterface", "ok their methods SetBIOSSetting and SetSystemDefaults",
          "ok firmware events zvqBEvnt", "ok delivery of events (unsecured apartment)", "missing hotkeys of Lumashade",
          "ok hotkeys of Chimebox", "ok session API ext-ms-win-session-wtsapi32-l1-1-0", "ok signed-in user",
          "missing package of Lumashade", "missing package of Chimebox"}},
    };
    for (const Machine& machine : machines)
    {
        const Outcome outcome = RunSimulated(machine.name, {"doctor", "--json"});
        EXPECT_EQ(outcome.exitCode, machine.exitCode) << machine.name;
        EXPECT_EQ(outcome.error, "") << machine.name;
        EXPECT_EQ(FindingsOf(outcome), machine.findings) << machine.name;
    }
}

TEST(HostDoctor, TellsWhatTheSystemItRunsOnLacks)
{
    const Outcome outcome = RunHost({"doctor", "--json"});
    EXPECT_EQ(outcome.exitCode, 8);
    const std::vector<std::string> findings = FindingsOf(outcome);
    // A machine of another maker.
    for (const char* const finding :
         {"ok namespace ROOT\\CIMV2", "ok board id", "ok namespace \\\\.\\root\\wmi",
          "missing firmware commands zvqBIntM", "missing namespace ROOT\\ZV\\InstrumentedBIOS",
          "missing firmware events zvqBEvnt", "missing hotkeys of Lumashade", "missing hotkeys of Chimebox"})
    {
        EXPECT_NE(std::ranges::find(findings, finding), findings.end()) << finding << " in " << outcome.output;
    }
    EXPECT_THAT(outcome.output, HasSubstr("\"subject\":\"administrator's rights\""));
}

TEST(HostDoctor, NamesTheFilesThatItHasLoaded)
{
    const std::string output = RunSimulated("notebook", {"doctor"}).output;
    EXPECT_THAT(output, HasSubstr(", " + (HostFolder() / "WMIService.dll").string() + '\n'));
    EXPECT_THAT(output, HasSubstr((HostFolder() / "Logging.dll").string() + '\n'));
}

TEST(HostDoctor, SaysWhatALackMeansAndWhatToDo)
{
    const Outcome outcome = RunSimulated("desktop", {"doctor"});
    EXPECT_THAT(outcome.output, HasSubstr("missing  firmware commands zvqBIntM                      no such class\n"
                                          "missing  their input block zvqBDataIn                    no such class\n"
                                          "           Means: wmihost firmware and function 2 fail with 0x20000002\n"
                                          "           To do: "));
    EXPECT_THAT(outcome.output, HasSubstr("not armed: board B650M-PLUS is none of 7C21, 7D3A, 7D4F, 7D52, 7D60\n"));
    EXPECT_THAT(outcome.output, HasSubstr("nobody is signed in at the console\n"));
    EXPECT_THAT(outcome.output, HasSubstr("\n\n7 ok, 8 missing, 2 unknown\n"));
}

TEST(HostDoctor, SaysWhyAnAppIsArmed)
{
    const std::string output = RunSimulated("notebook", {"doctor"}).output;
    EXPECT_THAT(output, HasSubstr("armed for event 20: board 7C21 is one of its\n"));
    EXPECT_THAT(output, HasSubstr("armed for events 3, 131074, 131073, 21: it is supported on every board\n"));
}

TEST(HostDoctor, FindsWhatAClassLacks)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[
        {"path":"root\\wmi","classes":[
          {"name":"zvqBIntM","properties":{"InstanceName":{"type":"string","key":true}},
           "methods":{"zvqBIOSInt0":{},"zvqBIOSInt4":{}},"instances":[{"InstanceName":"0"}]}]},
        {"path":"root\\ZV\\InstrumentedBIOS","classes":[{"name":"ZVBIOS_BIOSSettingInterface"}]}],
        "session":{"signedIn":true,"sessionApi":false}})");
    const Outcome outcome = RunHost({"doctor", "--simulate", machine});
    EXPECT_EQ(outcome.exitCode, 8) << outcome.error;
    EXPECT_THAT(outcome.output, HasSubstr("lacks zvqBIOSInt128, zvqBIOSInt1024, zvqBIOSInt4096\n"));
    EXPECT_THAT(outcome.output,
                HasSubstr("missing  namespace ROOT\\CIMV2                            no such namespace\n"));
    EXPECT_THAT(outcome.output, HasSubstr("missing  firmware settings ZVBIOS_BIOSSettingInterface   no instance\n"));
    EXPECT_THAT(outcome.output, HasSubstr("missing  session API ext-ms-win-session-wtsapi32-l1-1-0\n"));
    EXPECT_THAT(outcome.output, HasSubstr("cannot be asked for without the session API\n"));
}

TEST(HostDoctor, SaysThatItCouldNotFindOut)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[
        {"path":"root\\wmi","classes":[]},{"path":"root\\CIMV2","classes":[]}],
        "faults":[{"at":"IWbemLocator::ConnectServer","about":"\\\\.\\root\\wmi","status":"WBEM_E_ACCESS_DENIED"}]})");
    const Outcome outcome = RunHost({"doctor", "--simulate", machine});
    EXPECT_THAT(outcome.output, HasSubstr("unknown  namespace \\\\.\\root\\wmi "));
    EXPECT_THAT(outcome.output, HasSubstr("gave 0x80041003 (access denied)\n"));
    EXPECT_THAT(outcome.output, HasSubstr("unknown  firmware events zvqBEvnt "));
}

TEST(HostDoctor, GivesAFindingPerLine)
{
    const std::vector<std::string> lines = RunSimulated("notebook", {"doctor", "--ndjson"}).OutputLines();
    EXPECT_EQ(lines.size(), 19U);
    for (const std::string& line : lines)
    {
        EXPECT_EQ(line.rfind("{\"state\":\"ok\",\"subject\":\"", 0), 0U) << line;
    }
}

TEST(HostDoctor, NeedsTheModule)
{
    const Outcome outcome = RunHost({"doctor", "--module", "none.dll"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_THAT(outcome.error, HasSubstr("cannot load the module"));
}

} // namespace
} // namespace Zv::Testing
