// wmihost trace.
#include "Program.h"
#include "TemporaryFolder.h"

#include "Host/Text/Json.h"
#include "Host/Trace/Imports.h"

#include "Interception/ImportTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using ::testing::HasSubstr;
using ::testing::Not;

constexpr char Password[] = "Winter-2024";

Outcome Trace(const std::string& machine, std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "trace");
    return RunSimulated(machine, std::move(arguments), input);
}

// The trace's lines without times, thread numbers and handles.
std::vector<std::string> LinesOf(const std::string& trace)
{
    Outcome outcome;
    outcome.output = std::regex_replace(trace, std::regex{R"(  \[[0-9.]+ ms\])"}, "");
    outcome.output = std::regex_replace(outcome.output, std::regex{R"(0x[0-9a-f]{1,6}\b)"}, "0x");
    return outcome.OutputLines();
}

bool Has(const std::string& text, const char* pattern)
{
    return std::regex_search(text, std::regex{pattern});
}

// Those of them that are there, in their order.
std::vector<std::string> InOrder(const std::vector<std::string>& lines, const std::vector<std::string>& wanted)
{
    std::vector<std::string> found;
    auto from = lines.begin();
    for (const std::string& line : wanted)
    {
        const auto at = std::find(from, lines.end(), line);
        if (at != lines.end())
        {
            found.push_back(line);
            from = at + 1;
        }
    }
    return found;
}

TEST(HostTrace, ShowsTheCallsOfAQueryInTheirOrder)
{
    const Outcome outcome = Trace("notebook", {"get", "Win32_BaseBoard", "Product"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "7C21\n");
    const std::vector<std::string> wanted = {
        "[1] StartSession() ...",
        R"([1] ExecuteCommand(function=16, request={"wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2","property":"Product"}) ...)",
        "[1]   CoInitializeEx(apartment=COINIT_MULTITHREADED) = S_OK",
        "[1]   CoInitializeSecurity(authentication=RPC_C_AUTHN_LEVEL_DEFAULT, "
        "impersonation=RPC_C_IMP_LEVEL_IMPERSONATE, capabilities=0) = S_OK",
        "[1]   CoCreateInstance(class=CLSID_WbemLocator, context=CLSCTX_INPROC_SERVER, interface=IID_IWbemLocator) = "
        "S_OK, object=IWbemLocator#1",
        R"([1]   IWbemLocator#1->ConnectServer(namespace="ROOT\CIMV2", user=null, flags=0) = S_OK, services=IWbemServices#2)",
        "[1]   CoSetProxyBlanket(proxy=IWbemServices#2, authentication=RPC_C_AUTHN_WINNT, "
        "authorization=RPC_C_AUTHZ_NONE, principal=null, level=RPC_C_AUTHN_LEVEL_CALL, "
        "impersonation=RPC_C_IMP_LEVEL_IMPERSONATE, capabilities=0) = S_OK",
        R"([1]   IWbemServices#2->ExecQuery(language="WQL", query="SELECT * FROM Win32_BaseBoard", )"
        "flags=WBEM_FLAG_RETURN_IMMEDIATELY|WBEM_FLAG_FORWARD_ONLY) = S_OK, enumerator=IEnumWbemClassObject#3",
        "[1]   IEnumWbemClassObject#3->Next(timeout=WBEM_INFINITE, count=1) = S_OK, object=IWbemClassObject#4, "
        "returned=1",
        R"([1]   IWbemClassObject#4->Get(name="Product") = S_OK, value="7C21")",
        "[1]   CoUninitialize()",
        R"([1] ... ExecuteCommand = 0x00000000 (Success), response={"result":"7C21"})",
        "[1] EndSession()",
    };
    EXPECT_EQ(InOrder(LinesOf(outcome.error), wanted), wanted) << outcome.error;
}

TEST(HostTrace, WorksOnTheSystemsOwnWmi)
{
    const Outcome outcome = RunHost({"trace", "get", "Win32_BaseBoard", "Product"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output, RunHost({"get", "Win32_BaseBoard", "Product"}).output);
    EXPECT_THAT(outcome.error, HasSubstr("CoSetProxyBlanket(proxy=IWbemServices#2, "));
    EXPECT_THAT(outcome.error, HasSubstr("IWbemClassObject#4->Get(name=\"Product\") = S_OK, value="));
}

TEST(HostTrace, NamesFailuresAndShowsLogLinesWhereTheyWereWritten)
{
    const Outcome outcome = Trace("notebook", {"get", "Win32_None", "Product"});
    EXPECT_EQ(outcome.exitCode, 1);
    const std::vector<std::string> lines = LinesOf(outcome.error);
    const std::vector<std::string> wanted = {
        "[1]   IEnumWbemClassObject#3->Next(timeout=WBEM_INFINITE, count=1) = 0x80041010 (WBEM_E_INVALID_CLASS)",
        "[1]   log warning [wmihost]: class Zv::Tessel::Server::Shared::WMI::PublicWmi.GetPropertyValue - failed on "
        "function IEnumWbemClassObject->Next with HRESULT 0x80041010",
        "[1] ... ExecuteCommand = 0x2000000f (ClassInvalid), response={}",
    };
    EXPECT_EQ(InOrder(lines, wanted), wanted) << outcome.error;
}

struct Traced
{
    const char* machine;
    std::vector<std::string> arguments;
};

TEST(HostTrace, LeavesWhatACommandDoesAsItIs)
{
    const Traced commands[] = {
        {"notebook", {"get", "Win32_Process", "Name", "--all"}},
        {"notebook", {"text", "Win32_BIOS"}},
        {"notebook", {"firmware", "1", "255", "--in", "01020304", "--out", "128"}},
        {"notebook", {"set", "Fast Boot", "Disable", "--password", Password}},
        {"notebook", {"defaults", "--yes", "--password", "wrong"}},
        {"notebook", {"hotkeys", "--press", "20:0xff0000"}},
        {"notebook", {"package", "7B3E90C4.Lumashade_k2x7m4qp9wt1d"}},
        {"notebook", {"launch", "Lumashade.exe", "7B3E90C4.Lumashade_k2x7m4qp9wt1d"}},
        {"notebook", {"doctor"}},
        {"misbehaving", {"firmware", "1", "6", "--out", "4"}},
        {"misbehaving", {"set", "Digits", "x"}},
        {"desktop", {"events", "--count", "1"}},
    };
    const TemporaryFolder folder;
    const std::string file = (folder / "trace").string();
    bool json = false;
    for (const Traced& command : commands)
    {
        json = !json;
        std::vector<std::string> traced{"--memory", "--out", file};
        traced.insert(traced.end(), json ? 1 : 0, "--json");
        traced.insert(traced.end(), command.arguments.begin(), command.arguments.end());
        const Outcome plain = RunSimulated(command.machine, command.arguments);
        const Outcome outcome = Trace(command.machine, traced);
        EXPECT_EQ(outcome.output, plain.output) << command.arguments.front();
        EXPECT_EQ(outcome.error, plain.error) << command.arguments.front();
        EXPECT_EQ(outcome.exitCode, plain.exitCode) << command.arguments.front();
        EXPECT_THAT(TemporaryFolder::Read(file), HasSubstr("RtlGetVersion")) << command.arguments.front();
    }
}

TEST(HostTrace, NeverShowsAPassword)
{
    const std::string request = R"({"name":"Setup Password","value":"New-4711","password":"Hush-4711"})";
    const TemporaryFolder folder;
    const std::string file = folder.Write("request.json", request);
    const std::string broken = folder.Write("broken.json", request.substr(1));
    const std::vector<std::vector<std::string>> commands = {
        {"set", "Fast Boot", "Disable", "--password", "Hush-4711"},
        {"set", "Fast Boot", "Disable", "--password", "-"},
        {"set", "Setup Password", "New-4711", "--password", "Hush-4711"},
        {"defaults", "--yes", "--password", "Hush-4711"},
        {"run", "64", file},
        {"run", "128", file},
        {"run", "16", file},
        {"run", "64", broken},
    };
    bool json = false;
    for (const std::vector<std::string>& command : commands)
    {
        json = !json;
        std::vector<std::string> arguments{"--memory", "--data"};
        arguments.insert(arguments.end(), json ? 1 : 0, "--json");
        arguments.insert(arguments.end(), command.begin(), command.end());
        const Outcome outcome = Trace("notebook", arguments, "Hush-4711\n");
        EXPECT_THAT(outcome.error, HasSubstr("ExecuteCommand")) << command.front();
        EXPECT_THAT(outcome.error, Not(HasSubstr("4711"))) << command.front();
    }
    EXPECT_THAT(Trace("notebook", commands[2]).error, HasSubstr("Put(name=\"Password\", value=***, "));
    EXPECT_THAT(Trace("notebook", commands[0]).error, HasSubstr("Put(name=\"Value\", value=\"Disable\", "));
}

TEST(HostTrace, KeepsWhatTellsAboutTheOwner)
{
    const Outcome serial = Trace("notebook", {"get", "Win32_BaseBoard", "SerialNumber"});
    EXPECT_EQ(serial.output, "PXYZ0123456789\n");
    EXPECT_THAT(serial.error, Not(HasSubstr("PXYZ")));
    EXPECT_THAT(Trace("notebook", {"text", "Win32_BaseBoard"}).error, Not(HasSubstr("PXYZ")));
    EXPECT_THAT(Trace("notebook", {"launch", "Lumashade.exe", "7B3E90C4.Lumashade_k2x7m4qp9wt1d"}).error,
                Not(HasSubstr("Robin")));
}

TEST(HostTrace, ShowsTheFirmwaresBytesOnRequest)
{
    const std::vector<std::string> command = {"firmware", "1", "255", "--in", "de ad be ef", "--out", "4"};
    const std::string without = Trace("notebook", command).error;
    EXPECT_THAT(without, HasSubstr("->Put(name=\"zvqBData\", value=uint8[4], type=0) = S_OK"));
    EXPECT_THAT(without, HasSubstr("\"inputData\":\"8 characters of base64\""));
    EXPECT_THAT(without, Not(HasSubstr("3q2+7w")));

    std::vector<std::string> withData{"--data"};
    withData.insert(withData.end(), command.begin(), command.end());
    const std::string with = Trace("notebook", withData).error;
    EXPECT_THAT(with, HasSubstr("->Put(name=\"zvqBData\", value=uint8[4] de ad be ef, type=0) = S_OK"));
    EXPECT_THAT(with, HasSubstr("3q2+7w=="));
    EXPECT_THAT(with, HasSubstr("->Get(name=\"rwReturnCode\") = S_OK, value=int32 0"));
}

TEST(HostTrace, ShowsEventsOnTheThreadsThatTheyComeOn)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("machine.json", EventMachine(R"({"atMs":0,"id":20,"data":7})"));
    const Outcome outcome = RunHost({"trace", "events", "--count", "1", "--simulate", machine});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    const std::string& trace = outcome.error;
    EXPECT_THAT(trace, HasSubstr("CoCreateInstance(class=CLSID_UnsecuredApartment, "));
    EXPECT_THAT(trace, HasSubstr("->CreateObjectStub(sink="));
    EXPECT_THAT(trace, HasSubstr("->ExecNotificationQueryAsync(language=\"WQL\", query=\"SELECT * from zvqBEvnt\", "));
    EXPECT_TRUE(Has(trace, R"(\[\d+\] IWbemObjectSink#\d+->Indicate\(count=1\) \.\.\.)")) << trace;
    EXPECT_TRUE(Has(trace, R"(\[\d+\]   IWbemClassObject#\d+->Get\(name="EventID"\) = S_OK, value=int32 20)")) << trace;
    EXPECT_TRUE(Has(trace, R"(\[\d+\]   callback\(text="\{"eventId":20,"eventData":7\}"\))")) << trace;
    EXPECT_THAT(trace, HasSubstr("->CancelAsyncCall(sink=IWbemObjectSink#"));
}

TEST(HostTrace, ShowsHowAHotkeyStartsAnApp)
{
    const Outcome outcome = Trace("notebook", {"hotkeys", "--press", "21"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_THAT(outcome.error, HasSubstr("startup_task() ..."));
    EXPECT_THAT(outcome.error, HasSubstr("FindPackagesByPackageFamily(family=\"7B3E90C4.Chimeboxes_k2x7m4qp9wt1d\", "));
    EXPECT_THAT(outcome.error, HasSubstr(" = 122 (ERROR_INSUFFICIENT_BUFFER)"));
    EXPECT_TRUE(Has(outcome.error, R"(CreateProcessAsUserW\(.*flags=CREATE_NEW_CONSOLE\|NORMAL_PRIORITY_CLASS\|)"
                                   R"(CREATE_UNICODE_ENVIRONMENT\|EXTENDED_STARTUPINFO_PRESENT)"))
        << outcome.error;
}

TEST(HostTrace, ShowsTheErrorOfAFailedCallByName)
{
    EXPECT_THAT(Trace("desktop", {"package", "x"}).error,
                HasSubstr("WTSQueryUserToken(session=1) = FALSE, error 1008 (ERROR_NO_TOKEN)"));
}

TEST(HostTrace, GivesAnObjectPerCallForPrograms)
{
    const TemporaryFolder folder;
    const std::string file = (folder / "trace.ndjson").string();
    const Outcome outcome = Trace("notebook", {"--json", "--out", file, "get", "Win32_None", "Product", "--json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.output, HasSubstr("\"ClassInvalid\"")); // the subcommand's own
    Outcome trace;
    trace.output = TemporaryFolder::Read(file);
    std::map<std::string, int> calls;
    int logLines = 0;
    for (const std::string& line : trace.OutputLines())
    {
        Host::JsonDocument document;
        document.Parse(line.c_str());
        ASSERT_FALSE(document.HasParseError()) << line;
        EXPECT_TRUE(document["n"].IsUint() && document["thread"].IsInt() && document["depth"].IsUint()) << line;
        if (document.HasMember("log"))
        {
            ++logLines;
            continue;
        }
        EXPECT_TRUE(document["arguments"].IsObject() && document["result"].IsString() && document["ms"].IsNumber())
            << line;
        ++calls[document["call"].GetString()];
    }
    EXPECT_EQ(calls["ExecuteCommand"], 1);
    EXPECT_EQ(calls["CoCreateInstance"], 1);
    EXPECT_EQ(calls["IEnumWbemClassObject#3->Next"], 1);
    EXPECT_EQ(logLines, 2);
}

TEST(HostTrace, ShowsTheHeapOnRequestOnly)
{
    const std::vector<std::string> command = {"get", "Win32_BaseBoard", "Product"};
    const std::string plain = Trace("notebook", command).error;
    EXPECT_THAT(plain, Not(HasSubstr("malloc(")));
    EXPECT_THAT(plain, Not(HasSubstr("SysAllocString(")));
    const std::string all = Trace("notebook", {"--memory", "get", "Win32_BaseBoard", "Product"}).error;
    EXPECT_TRUE(Has(all, R"(malloc\(size=\d+\) = 0x)")) << all;
    EXPECT_THAT(all, HasSubstr("SysAllocString() = 0x"));
}

TEST(HostTrace, NamesTheCallThatHangs)
{
    const TemporaryFolder folder;
    const std::string machine =
        folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[]}],
                     "faults":[{"at":"IWbemLocator::ConnectServer","hang":true}]})");
    const Outcome outcome = RunHost({"trace", "--timeout", "0.2", "get", "Win32_BIOS", "Name", "--simulate", machine});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_THAT(outcome.error,
                HasSubstr("[1]   IWbemLocator#1->ConnectServer(namespace=\"ROOT\\CIMV2\", user=null, flags=0) ...\n"));
    EXPECT_THAT(outcome.error, HasSubstr("[1]   ... IWbemLocator#1->ConnectServer has not returned\n"));
}

struct WrongUse
{
    std::vector<std::string> arguments;
    int exitCode;
    const char* error;
};

TEST(HostTrace, SaysWhatIsWrongWithItsCommandLine)
{
    const WrongUse uses[] = {
        {{"trace"}, 2, "wmihost trace: a subcommand is missing; see wmihost trace --help\n"},
        {{"trace", "none"}, 2, "there is no subcommand \"none\", only "},
        {{"trace", "trace", "get"}, 2, "wmihost trace: traces any subcommand but itself; see wmihost trace --help\n"},
        {{"trace", "get"}, 2, "wmihost get: CLASS is required; see wmihost get --help\n"},
        {{"trace", "set", "a", "b", "Hush-4711"}, 2, "wmihost set: an argument was not expected; it is not shown"},
        {{"trace", "--out", "none/none", "get", "Win32_BIOS", "Name"}, 4, "cannot write none/none: "},
    };
    for (const WrongUse& use : uses)
    {
        const Outcome outcome = RunHost(use.arguments);
        EXPECT_EQ(outcome.exitCode, use.exitCode) << use.error;
        EXPECT_EQ(outcome.output, "") << use.error;
        EXPECT_EQ(outcome.error.rfind(use.error, 0), 0U) << outcome.error;
    }
}

TEST(HostTrace, HelpsWithItselfAndWithTheSubcommand)
{
    EXPECT_THAT(RunHost({"trace", "--help"}).output, HasSubstr("Examples:\n"));
    EXPECT_EQ(RunHost({"trace", "get", "--help"}).output, RunHost({"get", "--help"}).output);
}

TEST(TraceTable, KnowsEveryImportOfTheModule)
{
    const HMODULE module = LoadLibraryExW((HostFolder() / "WMIService.dll").c_str(), nullptr,
                                          LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    ASSERT_NE(module, nullptr);
    const Interception::ImportTable imports{module};
    for (const Interception::Import& import : imports.Imports())
    {
        EXPECT_NE(Host::Tracing::FindImport(import.dll, import.name), nullptr)
            << import.name << " of " << import.dll << ": say in Trace/Imports.cpp how it is shown, or why it is not";
    }
    FreeLibrary(module);
}

TEST(TraceTable, HasEachImportOnceAndAReasonForEachQuietOne)
{
    std::map<std::string_view, int> count;
    for (const Host::Tracing::ImportEntry& entry : Host::Tracing::AllImports())
    {
        EXPECT_EQ(++count[entry.name], 1) << entry.name;
        const bool isQuiet = entry.group == Host::Tracing::ImportEntry::Group::Quiet;
        EXPECT_EQ(entry.hook == nullptr, isQuiet) << entry.name;
        EXPECT_EQ(entry.why[0] != '\0', isQuiet) << entry.name;
    }
}

} // namespace
} // namespace Zv::Testing
