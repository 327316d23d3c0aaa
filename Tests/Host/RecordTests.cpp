// wmihost record.
#include "Program.h"
#include "TemporaryFolder.h"

#include "Host/Text/Json.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

std::vector<std::string> operator+(std::vector<std::string> left, const std::vector<std::string>& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// Records into a file of its own.
class Recording
{
public:
    explicit Recording(const std::vector<std::string>& arguments)
        : m_outcome{RunHost(std::vector<std::string>{"record", "--out", File()} + arguments)}
    {
    }

    [[nodiscard]] std::string File() const { return (m_folder / "recorded.json").string(); }
    [[nodiscard]] std::string Text() const { return TemporaryFolder::Read(File()); }
    [[nodiscard]] bool Exists() const { return std::filesystem::exists(File()); }
    [[nodiscard]] const Outcome& Result() const { return m_outcome; }

private:
    TemporaryFolder m_folder;
    Outcome m_outcome;
};

void ExpectSame(const std::vector<std::string>& question, const std::vector<std::string>& recorded,
                const std::vector<std::string>& original = {})
{
    const Outcome expected = RunHost(question + original);
    const Outcome outcome = RunHost(question + recorded);
    const std::string name = question[0] + ' ' + question[1] + ' ' + (question.size() > 2 ? question[2] : "");
    EXPECT_EQ(outcome.output, expected.output) << name;
    EXPECT_EQ(outcome.error, expected.error) << name;
    EXPECT_EQ(outcome.exitCode, expected.exitCode) << name;
}

// The system's own WMI, recorded and simulated.
TEST(HostRecord, LetsAnotherMachineAnswerAsThisOneDid)
{
    const Recording recording{{"Win32_BaseBoard", "Win32_BIOS", "Win32_ComputerSystem", "Win32_OperatingSystem",
                               "Win32_Processor", "Win32_Service", "Win32_SoundDevice", "--no-redact"}};
    EXPECT_EQ(recording.Result().exitCode, 0);
    EXPECT_EQ(recording.Result().error, "");

    const std::vector<std::string> recorded = {"--simulate", recording.File()};
    ExpectSame({"text", "Win32_BaseBoard"}, recorded);
    // Only what does not change meanwhile.
    const std::vector<std::vector<std::string>> questions = {
        {"get", "Win32_BIOS", "Name"},
        {"get", "Win32_BIOS", "ReleaseDate"},
        {"get", "Win32_BIOS", "SerialNumber"},
        {"get", "Win32_BIOS", "SMBIOSMajorVersion"},
        {"get", "Win32_BIOS", "SystemBiosMajorVersion"}, // a byte, which the module does not read
        {"get", "Win32_BIOS", "CurrentLanguage"},        // NULL
        {"get", "Win32_BIOS", "NoSuchProperty"},
        {"get", "Win32_ComputerSystem", "TotalPhysicalMemory"},
        {"get", "Win32_ComputerSystem", "UserName"},
        {"get", "Win32_OperatingSystem", "OSLanguage"},
        {"get", "Win32_OperatingSystem", "MUILanguages"},
        {"get", "Win32_OperatingSystem", "Primary"},
        {"get", "Win32_Processor", "Name", "--all"},
        {"get", "Win32_Processor", "NumberOfLogicalProcessors"},
        {"get", "Win32_Processor", "Architecture"},
        {"get", "Win32_Service", "Name", "--all"},
        {"get", "Win32_Service", "StartMode", "--all", "--where", "StartMode <> 'Auto'"},
        {"get", "Win32_SoundDevice", "StatusInfo"},
        {"get", "Win32_SoundDevice", "DeviceID"},
    };
    for (const std::vector<std::string>& question : questions)
    {
        ExpectSame(question + std::vector<std::string>{"--json"}, recorded);
    }
}

// A value of each type, extremes and NULLs, embedded objects included.
TEST(HostRecord, KeepsEveryType)
{
    const std::vector<std::string> original = {"--simulate", ZV_MACHINES "/misbehaving.json"};
    const Recording recording{original + std::vector<std::string>{"Zv_Types", "Zv_Slow"}};
    EXPECT_EQ(recording.Result().error, "");
    EXPECT_EQ(recording.Result().exitCode, 0);
    ExpectSame({"text", "Zv_Types"}, {"--simulate", recording.File()}, original);
    ExpectSame({"get", "Zv_Types", "__PATH", "--all"}, {"--simulate", recording.File()}, original);
}

TEST(HostRecord, KeepsMethodsAndEventClasses)
{
    const Recording recording{{"--simulate", ZV_MACHINES "/notebook.json"}};
    EXPECT_EQ(recording.Result().error, "");
    EXPECT_EQ(recording.Result().output, recording.File() + " has classes: 13, instances: 6, settings: 0, packages: "
                                                            "0\n");

    Host::JsonDocument document;
    document.Parse(recording.Text().c_str());
    ASSERT_TRUE(document.IsObject());
    const auto classes = document["namespaces"][1]["classes"].GetArray();
    ASSERT_EQ(classes.Size(), 8U); // with those that are embedded in the answers
    EXPECT_STREQ(classes[1]["name"].GetString(), "zvqBIntM");
    EXPECT_TRUE(classes[1]["methods"]["zvqBIOSInt128"]["in"].HasMember("InData"));
    EXPECT_TRUE(classes[1]["methods"]["zvqBIOSInt128"]["out"].HasMember("OutData"));
    EXPECT_FALSE(classes[1].HasMember("event"));
    EXPECT_STREQ(classes[7]["name"].GetString(), "zvqBEvnt");
    EXPECT_TRUE(classes[7]["event"].GetBool());

    // What methods do is not recorded.
    EXPECT_NE(RunHost({"firmware", "1", "1", "--simulate", recording.File()}).error.find("0x80041055"),
              std::string::npos);
}

TEST(HostRecord, TakesNamespacesPerClassOrForAll)
{
    const std::vector<std::string> notebook = {"--simulate", ZV_MACHINES "/notebook.json"};
    const Recording mixed{notebook + std::vector<std::string>{"Win32_BIOS", "ROOT/WMI:zvqBIntM", "Win32_BIOS",
                                                              "root\\cimv2:win32_baseboard"}};
    EXPECT_EQ(mixed.Result().error, "");
    EXPECT_EQ(mixed.Result().output, mixed.File() + " has classes: 9, instances: 3, settings: 0, packages: 0\n");

    const Recording other{notebook + std::vector<std::string>{"zvqBIntM", "--namespace", "\\\\.\\root\\wmi", "--json"}};
    EXPECT_EQ(other.Result().output, "{\"classes\":7,\"instances\":1,\"settings\":0,\"packages\":0}\n");
}

// Without named classes it records those that are there.
TEST(HostRecord, SaysWhichOfTheUsualClassesAreMissing)
{
    const Recording recording{{"--simulate", ZV_MACHINES "/desktop.json"}};
    EXPECT_EQ(recording.Result().exitCode, 0);
    EXPECT_EQ(recording.Result().error,
              "not recorded: there is no class Win32_ComputerSystem in ROOT\\CIMV2\n"
              "not recorded: there is no class zvqBDataIn in root\\wmi\n"
              "not recorded: there is no class zvqBIntM in root\\wmi\n"
              "not recorded: there is no class zvqBEvnt in root\\wmi\n"
              "not recorded: cannot connect to ROOT\\ZV\\InstrumentedBIOS: 0x8004100e (no such namespace)\n");
    EXPECT_EQ(RunHost({"check", recording.File()}).exitCode, 0);
}

TEST(HostRecord, KeepsWhatItCanReadAndSaysWhatItCannot)
{
    const Recording recording{{"--simulate", ZV_MACHINES "/misbehaving.json", "Zv_Broken"}};
    EXPECT_EQ(recording.Result().exitCode, 9);
    EXPECT_EQ(recording.Result().error, "not recorded: Zv_Broken.Bad: 0x80041001 (the provider failed)\n"
                                        "not recorded: the instances of Zv_Broken: 0x80041015\n");
    EXPECT_NE(recording.Text().find("\"Name\": \"a\""), std::string::npos);
}

// One unreadable class costs only itself.
TEST(HostRecord, LeavesOutWhatItCannotReadAndNamesIt)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("faulty.json", R"json({"version":1,"name":"m","namespaces":[
      {"path":"root\\CIMV2","classes":[
        {"name":"A","properties":{"P":"string"},"instances":[{"P":"x"}]},{"name":"B"},{"name":"C"},
        {"name":"D","properties":{"Q":"uint8"},"instances":[{"Q":1},{"Q":2},{"Q":3}]}]}],
      "faults":[{"at":"IWbemServices::GetObject","about":"B","status":"WBEM_E_FAILED"},
                {"at":"IWbemServices::GetObject","about":"C","hang":true}]})json");
    const Recording recording{
        {"--simulate", machine, "A", "B", "C", "None", "root\\none:E", "D", "--limit", "2", "--class-timeout", "1"}};
    EXPECT_EQ(recording.Result().exitCode, 9);
    EXPECT_EQ(recording.Result().error, "not recorded: cannot read the class B: 0x80041001 (the provider failed)\n"
                                        "not recorded: C: not read within 1 s (--class-timeout)\n"
                                        "not recorded: there is no class None in ROOT\\CIMV2\n"
                                        "not recorded: cannot connect to root\\none: 0x8004100e (no such namespace)\n");
    EXPECT_EQ(recording.Result().output,
              recording.File() + " has classes: 2, instances: 3, settings: 0, packages: 0\n");
}

TEST(HostRecord, WritesNothingWhenThereIsNothing)
{
    const Recording recording{{"NoSuchClass", "root\\wmi:NoSuchClass"}};
    EXPECT_EQ(recording.Result().exitCode, 1);
    EXPECT_EQ(recording.Result().error, "not recorded: there is no class NoSuchClass in ROOT\\CIMV2\n"
                                        "not recorded: there is no class NoSuchClass in root\\wmi\n"
                                        "nothing was recorded; " +
                                            recording.File() + " is not written\n");
    EXPECT_FALSE(recording.Exists());
}

TEST(HostRecord, LeavesInstancesOutOnDemand)
{
    const Recording recording{
        {"--simulate", ZV_MACHINES "/notebook.json", "Win32_BIOS", "root\\wmi:zvqBIntM", "--schema-only"}};
    EXPECT_EQ(recording.Result().error, "");
    EXPECT_EQ(recording.Result().exitCode, 0);
    EXPECT_EQ(recording.Text().find("\"instances\""), std::string::npos);
    EXPECT_NE(recording.Text().find("\"zvqBIOSInt128\""), std::string::npos);
}

// What the description said of the classes: types of objects, sizes, descriptions, and what a class or method is.
TEST(HostRecord, LosesNothingOfASimulatedMachinesClasses)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("rich.json", R"json({"version":1,"name":"m","namespaces":[
      {"path":"root\\CIMV2","classes":[
        {"name":"Tool","description":"Does things.","properties":{
           "Id":{"type":"uint32","description":"Its number.","key":true},
           "Raw":{"type":"uint8[]","size":4},"Part":"object:Part","Ref":"ref"},
         "methods":{"Run":{"description":"Runs it.","in":{"Part":"object:Part"},"out":{"Raw":{"type":"uint8[]","size":8}}},
                    "Count":{"static":true,"out":{"ReturnValue":"uint32"}}},
         "instances":[{"Id":1,"Raw":"01 02"},{"Id":2,"Raw":[1]}]},
        {"name":"Part","properties":{"Number":"uint16"}},
        {"name":"Options","singleton":true,"properties":{"On":"boolean"}}]}]})json");
    const Recording recording{{"--simulate", machine, "Tool", "Options"}};
    EXPECT_EQ(recording.Result().error, "");
    EXPECT_EQ(recording.Result().exitCode, 0);
    Host::JsonDocument document;
    document.Parse(recording.Text().c_str());
    ASSERT_TRUE(document.IsObject());
    Host::JsonDocument expected;
    expected.Parse(R"json([
      {"name":"Tool","description":"Does things.","properties":{
         "Id":{"type":"uint32","description":"Its number.","key":true},
         "Raw":{"type":"uint8[]","size":4},"Part":"object:Part","Ref":"ref"},
       "methods":{"Run":{"description":"Runs it.","in":{"Part":"object:Part"},"out":{"Raw":{"type":"uint8[]","size":8}}},
                  "Count":{"static":true,"out":{"ReturnValue":"uint32"}}},
       "instances":[{"Id":1,"Raw":"01 02 00 00"},{"Id":2,"Raw":{"bytes":"01","length":1}}]},
      {"name":"Part","properties":{"Number":"uint16"}},
      {"name":"Options","singleton":true,"properties":{"On":"boolean"}}])json");
    EXPECT_EQ(document["namespaces"][0]["classes"], expected) << recording.Text();
}

// A machine with something to hide.
constexpr char Owned[] = R"json({"version":1,"name":"m","server":"PC-7","namespaces":[
  {"path":"root\\CIMV2","classes":[
    {"name":"Zv_Board",
     "properties":{"Tag":{"type":"string","key":true},"SerialNumber":"string","Serials":"uint32","UUID":"string",
                   "Numbers":"string[]","AssetTag":"string","Model":"string","SerialNumberID":"uint16[]",
                   "SMBiosData":"uint8[]","VolumeSerialNumber":"uint32","PasswordRequired":"boolean",
                   "AdminPasswordStatus":"uint16"},
     "instances":[{"Tag":"Board SN-4711-0815","SerialNumber":"SN-4711-0815","Serials":3,"UUID":"4C4C4544-0042",
                   "Numbers":["x","(sn-4711-0815)","SN-4711-08155"],"AssetTag":"INV-77","Model":"M1",
                   "SerialNumberID":[83,78],"SMBiosData":"53 4e 2d 34 37 31 31","VolumeSerialNumber":123456,
                   "PasswordRequired":true,"AdminPasswordStatus":3
},
                  {"Tag":"Second","SerialNumber":"SN-other-one"}]
},
    {"name":"Win32_UserAccount",
     "properties":{"Name":{"type":"string","key":true},"Domain":"string","FullName":"string","SID":"string"},
     "instances":[{"Name":"Robin","Domain":"PC-7","FullName":"Robin Goodfellow","SID":"S-1-5-21-77"},
                  {"Name":"Oberon","Domain":"PC-7"}]},
    {"name":"Zv_Session",
     "properties":{"Id":{"type":"string","key":true},"User":"ref","Path":"string","UserName":"string",
                   "Inner":"object:Zv_Setting"},
     "instances":[{"Id":"1","User":"\\\\PC-7\\root\\cimv2:Win32_UserAccount.Name=\"Robin\"",
                   "Path":"c:\\users\\RobinG\\x;C:\\Users\\Public\\y;C:\\Users\\Titania;D:\\\\Users\\\\Snout\\\\z","UserName":"PC-7\\Robin",
                   "Inner":{"Name":"Owner Name","Value":"Puck the Owner"}}]},
    {"name":"Zv_Service","properties":{"Name":{"type":"string","key":true},"StartName":"string"},
     "instances":[{"Name":"a","StartName":"LocalSystem"},{"Name":"b","StartName":"NT AUTHORITY\\LocalService"},
                  {"Name":"c","StartName":".\\Oberon"}]},
    {"name":"Zv_Setting","properties":{"Name":{"type":"string","key":true},"Value":"string","CurrentValue":"string"},
     "instances":[{"Name":"Setup Password","Value":"Winter-2024"},
                  {"Name":"Asset Tracking Number","CurrentValue":"INV-77"},
                  {"Name":"Boot Order","Value":"Disk,Net"}]}]
}]
})json";

std::string RecordOwned(const TemporaryFolder& folder, const std::vector<std::string>& options)
{
    const Recording recording{std::vector<std::string>{"--simulate", folder.Write("owned.json", Owned), "Zv_Board",
                                                       "Win32_UserAccount", "Zv_Session", "Zv_Service", "Zv_Setting"} +
                              options};
    EXPECT_EQ(recording.Result().error, "");
    EXPECT_EQ(recording.Result().exitCode, 0);
    return recording.Text();
}

TEST(HostRecord, ReplacesSerialNumbersUserNamesAndPasswords)
{
    const TemporaryFolder folder;
    const std::string text = RecordOwned(folder, {});
    for (const char* const secret : {"SN-4711-0815\"", "sn-4711-0815)",  "Board SN",   "SN-other-one",
                                     "4C4C4544",       "INV-77",         "83",         "53 4e",
                                     "123456",         "\"Robin\"",      "Goodfellow", "S-1-5-21-77",
                                     "Oberon",         "Name=\\\"Robin", "RobinG",     "Titania",
                                     "Snout",          "PC-7\\\\Robin",  "Puck",       "Winter-2024"})
    {
        EXPECT_EQ(text.find(secret), std::string::npos) << secret << " in " << text;
    }
    for (const char* const kept :
         {"\"x\"", "SN-4711-08155", "\"M1\"", "\"PasswordRequired\": true", "\"AdminPasswordStatus\": 3", "LocalSystem",
          "NT AUTHORITY\\\\LocalService", "C:\\\\Users\\\\Public\\\\y", "Disk,Net", "Setup Password", "PC-7"})
    {
        EXPECT_NE(text.find(kept), std::string::npos) << kept << " in " << text;
    }
}

TEST(HostRecord, GivesTheSameTextTheSameReplacement)
{
    const TemporaryFolder folder;
    const std::string file = folder.Write("redacted.json", RecordOwned(folder, {}));
    const auto get = [&](const std::vector<std::string>& question) {
        const Outcome outcome =
            RunHost(std::vector<std::string>{"get"} + question + std::vector<std::string>{"--simulate", file});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        return outcome.output;
    };
    const std::string serial = get({"Zv_Board", "SerialNumber", "--where", "Model = 'M1'"});
    EXPECT_EQ(get({"Zv_Board", "Tag", "--where", "Model = 'M1'"}), "Board " + serial);
    EXPECT_NE(get({"Zv_Board", "SerialNumber", "--where", "Tag = 'Second'"}), serial);
    EXPECT_EQ(get({"Zv_Board", "AssetTag", "--where", "Model = 'M1'"}),
              get({"Zv_Setting", "CurrentValue", "--where", "Name = 'Asset Tracking Number'"}));

    // The session still refers to its user.
    std::string user = get({"Win32_UserAccount", "Name", "--where", "SID <> ''"});
    user.pop_back();
    EXPECT_EQ(get({"Zv_Session", "User"}), "\\\\PC-7\\root\\cimv2:Win32_UserAccount.Name=\"" + user + "\"\n");
}

TEST(HostRecord, KeepsThemOnDemand)
{
    const TemporaryFolder folder;
    const std::string file = folder.Write("complete.json", RecordOwned(folder, {"--no-redact"}));
    for (const char* const wmiClass : {"Zv_Board", "Win32_UserAccount", "Zv_Session", "Zv_Service", "Zv_Setting"})
    {
        ExpectSame({"text", wmiClass}, {"--simulate", file}, {"--simulate", folder.Write("owned.json", Owned)});
    }
}

struct Mistake
{
    std::vector<std::string> arguments;
    int exitCode;
    const char* error; // its beginning
};

TEST(HostRecord, NamesEachMistakeInOneLineAndWritesNothing)
{
    const Mistake mistakes[] = {
        {{"Win32 BIOS"},
         2,
         "wmihost record: \"Win32 BIOS\" is not a class, such as Win32_BIOS or root\\wmi:zvqBIntM; "},
        {{"Win32_BIOS.Name='x'"}, 2, "wmihost record: \"Win32_BIOS.Name='x'\" is not a class, such as "},
        {{"root\\wmi:"}, 2, "wmihost record: \"root\\wmi:\" is not a class, such as "},
        {{":Win32_BIOS"}, 2, "wmihost record: \"\" is not a namespace of this machine, such as ROOT\\CIMV2; "},
        {{"\\\\other\\root\\cimv2:A"}, 2, "wmihost record: \"\\\\other\\root\\cimv2\" is not a namespace of this "},
        {{"A", "--namespace", "root\\"}, 2, "wmihost record: \"root\\\" is not a namespace of this machine, such as "},
    };
    for (const Mistake& mistake : mistakes)
    {
        const Recording recording{mistake.arguments};
        EXPECT_EQ(recording.Result().exitCode, mistake.exitCode) << mistake.error;
        EXPECT_EQ(recording.Result().output, "") << mistake.error;
        EXPECT_EQ(recording.Result().error.rfind(mistake.error, 0), 0U) << recording.Result().error;
        EXPECT_EQ(recording.Result().error.find('\n'), recording.Result().error.size() - 1) << recording.Result().error;
        EXPECT_FALSE(recording.Exists()) << mistake.error;
    }
}

TEST(HostRecord, NeedsAFileThatItCanWrite)
{
    EXPECT_EQ(RunHost({"record", "Win32_BIOS"}).error,
              "wmihost record: --out is required; see wmihost record --help\n");
    const Outcome outcome = RunHost({"record", "Win32_BIOS", "--out", "no-such-folder\\m.json"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error.rfind("cannot write no-such-folder\\m.json: ", 0), 0U) << outcome.error;
}

} // namespace
} // namespace Zv::Testing
