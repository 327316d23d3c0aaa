#include "Tests/Faults/Expectations.h"

#include "Simulator/Cim/StatusNames.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/ThisBuild.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace Zv::Testing
{

namespace
{

using Simulator::Status;
using Lines = std::vector<std::wstring>;

// Result codes.
constexpr int General = 0x20000002;
constexpr int SizeMismatch = 0x20000007;
constexpr int PropertyNotFound = 0x2000000d;
constexpr int ClassInvalid = 0x2000000f;
constexpr int QueryInvalid = 0x20000010;
constexpr int NamespaceInvalid = 0x20000012;

// Classes as log lines name them.
constexpr wchar_t Service[] = L"class Zv::Tessel::Server::Services::WMI::WMIService";
constexpr wchar_t Firmware[] = L"class Zv::Tessel::Server::Shared::WMI::ZVBiosWmi";
constexpr wchar_t Public[] = L"class Zv::Tessel::Server::Shared::WMI::PublicWmi";
constexpr wchar_t Event[] = L"class Zv::Tessel::Server::Shared::WMI::BiosWmiEvent";
constexpr wchar_t Sink[] = L"class Zv::Tessel::Server::Shared::WMI::BiosWmiEventSink";
constexpr wchar_t Request[] = L"struct Zv::Tessel::Server::Services::WMI::ReadBiosWmiCommandParamsJson"
                              L".ReadBiosWmiCommandParamsJson";
constexpr wchar_t Response[] = L"struct Zv::Tessel::Server::Services::WMI::WriteBiosWmiCommandReturnsJson"
                               L".WriteBiosWmiCommandReturnsJson";

constexpr wchar_t Register[] = L"RegisterBiosEventNotification";
constexpr wchar_t SettingMethod[] = L"SetBiosPublicWmi";

// "class.method - failed on function call with HRESULT 0x…"
std::wstring Failed(const std::wstring& className, const std::wstring& method, const std::wstring& call,
                    const std::wstring& status = L"{hr}")
{
    return L"Warning " + className + L"." + method + L" - failed on function " + call + L" with HRESULT 0x" + status;
}

std::wstring WindowsFailed(const std::wstring& className, const std::wstring& method, const std::wstring& call)
{
    return L"Error " + className + L"." + method + L" - Windows API " + call + L" error, GetLastError = {error}";
}

const std::wstring NoMemoryForResponse =
    std::wstring{L"Error "} + Service + L".ExecuteCommand - cannot allocate memory for *outString";
const std::wstring NoSink =
    std::wstring{L"Error "} + Service + L".RegisterBiosEventNotification - unable to create BiosWmiEvent class";

// Of the launcher and the companion apps.
constexpr wchar_t NoConsole[] =
    L"Warning Problem while detecting active console session ID. This could be caused if the business logic ran while "
    L"the user was not logged in.";
constexpr wchar_t NoToken[] = L"Warning Problem while querying user's access token.";
constexpr wchar_t NoDuplicate[] = L"Warning Problem while duplicating the user's access token.";
constexpr wchar_t NotReverted[] = L"Error Problem while reverting the impersonation.";
constexpr wchar_t NotExpanded[] = L"Warning Problem while expanding path.";
constexpr wchar_t NoFamilySize[] = L"Warning Problem while finding out the size of the buffer. Returned length is 0.";
constexpr wchar_t NoFamily[] = L"Warning Problem while finding package's resources.";
constexpr wchar_t NoNames[] = L"Warning Problem while allocating buffer.";
constexpr wchar_t NoPathSize[] = L"Warning Problem while finding out the size of the buffer.";
constexpr wchar_t NoPath[] = L"Warning Problem while finding the full path for the package.";
constexpr wchar_t NoProcess[] = L"Warning Problem while creating process as user {error}.";
// One for each app; the words that differ are left out when lines are compared.
constexpr wchar_t RunFailed[] = L"Error Launcher class failed to launch The {app} UWP App.";
constexpr wchar_t LaunchRaised[] = L"Error The {app} UWP App launch failed.";
constexpr wchar_t CallbackFailed[] = L"Error Applauncher failed to setup bios wmi event callback for {app} app.";
constexpr wchar_t NotInstalled[] = L"Warning 7B3E90C4.{app}_k2x7m4qp9wt1d NOT INSTALLED:";
constexpr wchar_t CheckFailed[] = L"Error listenerShouldRun() Failed to verify listner running check.";
constexpr wchar_t HandleNotReverted[] = L"Warning Failed to RevertToSelf";

// Of the start-up task.
constexpr wchar_t NoPlatformId[] = L"Error getPlatformId() Failed to get the platform ID string.";
constexpr wchar_t NotSupported[] =
    L"Warning hotKeyListener() {app} App Launcher feature is not supported for this platform.";
constexpr wchar_t NoListener[] = L"Error SetupListner() failed to setup listner.";
constexpr wchar_t NoListenerThread[] = L"Error SetupListner() failed to create event listening thread.";
constexpr wchar_t NoSetup[] =
    L"Error SetupHotkeyEventAppLauncher() error occured during setting up hotkey app launcher for Lumashade and "
    L"Chimebox.";

constexpr wchar_t NotReleased[] = L"Error ~EventListner() Failed to release the acquired resources.";

class Table
{
public:
    Table()
    {
        AddEverywhere();
        AddFirmware();
        AddPublic();
        AddProperties();
        AddTexts();
        AddSettings();
        AddRegistrations();
        AddLoad();
        AddSessions();
        AddStartUp();
        AddLauncher();
        AddHotkeys();
    }

    [[nodiscard]] const std::vector<Expectation>& Rows() const noexcept { return m_rows; }

private:
    static constexpr unsigned int PublicCommands = PropertyCommand | TextCommand | SettingCommand;
    static constexpr unsigned int Commands = FirmwareCommand | PublicCommands | OtherCommand;

    void Add(Expectation row) { m_rows.push_back(std::move(row)); }

    // A general failure of whichever command, with these lines.
    void Fail(unsigned int groups, std::string_view site, Lines lines, int number = 0)
    {
        Add({.groups = groups,
             .site = site,
             .number = number,
             .effect = Effect::Fails,
             .code = General,
             .lines = std::move(lines)});
    }
    void FailAbout(unsigned int groups, std::string_view site, std::wstring_view about, Lines lines)
    {
        Add({.groups = groups,
             .site = site,
             .about = about,
             .effect = Effect::Fails,
             .code = General,
             .lines = std::move(lines)});
    }
    void Same(unsigned int groups, std::string_view site, Lines lines = {}, int number = 0)
    {
        Add({.groups = groups, .site = site, .number = number, .lines = std::move(lines)});
    }
    void With(unsigned int groups, std::string_view site, Effect effect, Lines lines = {}, int number = 0)
    {
        Add({.groups = groups, .site = site, .number = number, .effect = effect, .lines = std::move(lines)});
    }

    void AddEverywhere()
    {
        // Without a logger nothing is logged.
        With(EveryGroup, ThisBuild::GetLogger, Effect::Silence);
        // The launcher names a provider when there is no logger: one that refuses leaves it without.
        With(EveryGroup, ThisBuild::SetProvider, Effect::Silence);
        // What gives something back has no failure that changes anything.
        for (const std::string_view release : {"VariantClear", "SafeArrayDestroy", "DestroyEnvironmentBlock",
                                               "HeapFree", "ClosePackageInfo", "CoDecrementMTAUsage"})
        {
            Same(EveryGroup, release);
        }
        // A subscription whose apartment cannot be held is as good as any while its thread lives.
        Same(EveryGroup, "CoIncrementMTAUsage");
        // Memory: a general failure, or it was not needed.
        for (const std::string_view memory : {"malloc", "calloc", "realloc", "SysAllocString"})
        {
            Fail(Commands, memory, {});
            Same(Commands, memory);
        }
        for (const std::string_view memory : {"malloc", "calloc", "realloc"})
        {
            Fail(Commands | Registration, memory, {NoMemoryForResponse});
        }
        // Formatting into a buffer.
        Same(EveryGroup, ThisBuild::Formatter);
    }

    // The connection, with the class and the method that log; NoMore: the lines that follow.
    void AddConnection(unsigned int groups, const wchar_t* className, const wchar_t* method, const Lines& more,
                       int joinsWithoutLocator)
    {
        const auto fail = [&](std::string_view site, const std::wstring& call, int joins, int number = 0) {
            Lines lines{Failed(className, method, call)};
            lines.insert(lines.end(), more.begin(), more.end());
            Add({.groups = groups,
                 .site = site,
                 .number = number,
                 .effect = Effect::Fails,
                 .code = General,
                 .lines = std::move(lines),
                 .joins = joins});
        };
        Same(groups, "CoInitializeSecurity", {Failed(className, method, L"CoInitializeSecurity")});
        Add({.groups = groups, .site = "CoInitializeSecurity", .only = RPC_E_TOO_LATE});
        fail("CoCreateInstance", L"CoCreateInstance", joinsWithoutLocator, 1);
        fail("CoCreateInstance(WbemLocator)", L"CoCreateInstance", joinsWithoutLocator);
        fail("IWbemLocator::QueryInterface", L"CoCreateInstance", joinsWithoutLocator);
        fail("IWbemLocator::ConnectServer", L"IWbemLocator->ConnectServer(WmiNamespace)", 0);
        for (const std::string_view blanket :
             {"CoSetProxyBlanket", "IWbemServices::QueryInterface", "IClientSecurity::SetBlanket"})
        {
            fail(blanket, L"CoSetProxyBlanket", 0);
        }
    }

    void AddJoin(unsigned int groups, const wchar_t* className, const wchar_t* method)
    {
        // COM is left once more than it was joined, by contract.
        Add({.groups = groups,
             .site = "CoInitializeEx",
             .lines = {Failed(className, method, L"CoInitializeEx")},
             .joins = -1});
    }

    void AddFirmware()
    {
        constexpr unsigned int group = FirmwareCommand;
        AddJoin(group, Firmware, L"GetReady");
        AddConnection(group, Firmware, L"GetReady", {}, 1);
        Fail(group, ThisBuild::Formatter, {});

        FailAbout(group, "IWbemServices::GetObject", L"zvqBIntM",
                  {Failed(Firmware, L"ExecuteCommand", L"IWbemServices->GetObject(InputDataBlock)")});
        Fail(group, "IWbemClassObject::GetMethod",
             {Failed(Firmware, L"ExecuteCommand", L"IWbemClassObject->GetMethod(BiosWmiMethod)")});

        constexpr wchar_t input[] = L"SetupInputDataBlock";
        FailAbout(group, "IWbemServices::GetObject", L"zvqBDataIn",
                  {Failed(Firmware, input, L"IWbemServices->GetObject(InputDataBlock)")});
        FailAbout(group, "IWbemClassObject::SpawnInstance", L"zvqBDataIn",
                  {Failed(Firmware, input, L"IWbemClassObject->SpawnInstance(InputDataBlockInstance)")});
        FailAbout(group, "IWbemClassObject::SpawnInstance", L"__PARAMETERS",
                  {Failed(Firmware, input, L"IWbemClassObject->SpawnInstance(BiosMethodInstance)")});
        for (const auto& [property, call] : {std::pair{L"Sign", L"InputDataBlockInstance->Put(Sign)"},
                                             {L"Command", L"InputDataBlockInstance->Put(Command)"},
                                             {L"CommandType", L"InputDataBlockInstance->Put(CommandType)"},
                                             {L"Size", L"InputDataBlockInstance->Put(Size)"},
                                             {L"zvqBData", L"InputDataBlockInstance->Put(inputData)"},
                                             {L"InData", L"BiosMethodInstance->Put(InputDataBlockClass)"}})
        {
            FailAbout(group, "IWbemClassObject::Put", property, {Failed(Firmware, input, call)});
        }
        // The signature's array, the input's, the output's: the last one is the output's where there are several.
        const std::wstring noArray = Failed(Firmware, L"CreateSafeArray", L"SafeArrayCreateVector()", L"80004005");
        Fail(group, "SafeArrayCreateVector", {noArray}, 1);
        Fail(group, "SafeArrayCreateVector", {noArray}, -2);
        Fail(group, "SafeArrayCreateVector",
             {Failed(Firmware, L"GetOutputData", L"SafeArrayCreateVector(OutputDataSize)", L"80004005")}, -1);
        Fail(group, "SafeArrayPutElement", {Failed(Firmware, L"CreateSafeArray", L"SafeArrayPutElement()")});
        With(group, "SafeArrayGetElement", Effect::Other); // an element that cannot be fetched is skipped

        constexpr wchar_t path[] = L"GetBiosMethodObjectPath";
        Fail(group, "IWbemServices::CreateInstanceEnum",
             {Failed(Firmware, path, L"IWbemServices->CreateInstanceEnum(BiosWmiMethod)")});
        Fail(group, "IEnumWbemClassObject::Next", {Failed(Firmware, path, L"IEnumWbemClassObject->Next()")});
        FailAbout(group, "IWbemClassObject::Get", L"__PATH", {Failed(Firmware, path, L"IWbemClassObject->Get(path)")});
        Fail(group, "IWbemServices::ExecMethod",
             {Failed(Firmware, L"ExecuteCommand", L"IWbemServices->ExecMethod(BIOS method)")});

        constexpr wchar_t output[] = L"GetOutputData";
        FailAbout(group, "IWbemClassObject::Get", L"OutData",
                  {Failed(Firmware, output, L"OutputDataBlockInstance->Get(OutputDataBlock)")});
        Fail(group, "IWbemClassObject::QueryInterface",
             {Failed(Firmware, output, L"OutputDataBlock->QueryInterface(OutputDataObject)")});
        FailAbout(group, "IWbemClassObject::Get", L"rwReturnCode",
                  {Failed(Firmware, output, L"OutputDataObject->Get(ReturnCode)")});
        FailAbout(group, "IWbemClassObject::Get", L"Data",
                  {Failed(Firmware, output, L"OutputDataObject->Get(outputData)")});

        const std::wstring notDecoded =
            std::wstring{L"Warning "} + Request + L" - unable to 64 base decode binary, GetLastError = {error}";
        Fail(group, "CryptStringToBinaryW", {notDecoded}, 1);
        Add({.groups = group,
             .site = "CryptStringToBinaryW",
             .number = 2,
             .effect = Effect::Fails,
             .code = SizeMismatch,
             .lines = {notDecoded}});
        Fail(group, "CryptBinaryToStringW",
             {std::wstring{L"Warning "} + Response + L" - unable to 64 base encode binary"});
    }

    void AddPublic()
    {
        AddConnection(PublicCommands, Public, L"ConnectToWmi", {}, 0);
        Add({.groups = PublicCommands,
             .site = "IWbemLocator::ConnectServer",
             .only = Status(WBEM_E_INVALID_NAMESPACE),
             .effect = Effect::Fails,
             .code = NamespaceInvalid,
             .lines = {Failed(Public, L"ConnectToWmi", L"IWbemLocator->ConnectServer(WmiNamespace)")}});
        Fail(PropertyCommand | TextCommand, "IWbemServices::ExecQuery",
             {Failed(Public, L"EnumClassObject", L"IWbemServices->ExecQuery")});
    }

    // A failure that leaves the result code as it is: a general failure until something was found, then success.
    void AddOnceFound(unsigned int group, std::string_view site, const std::wstring& line)
    {
        Fail(group, site, {line}, 1);
        for (int number = 2; number <= 4; ++number)
        {
            With(group, site, Effect::Other, {line}, number);
        }
    }

    static constexpr std::string_view Next = "IEnumWbemClassObject::Next";

    void AddEnumeration(unsigned int group, const wchar_t* method)
    {
        const std::wstring line = Failed(Public, method, L"IEnumWbemClassObject->Next");
        AddOnceFound(group, "IEnumWbemClassObject::Next", line);
        for (const auto& [status, code] :
             {std::pair{Status(WBEM_E_INVALID_CLASS), ClassInvalid}, {Status(WBEM_E_INVALID_QUERY), QueryInvalid}})
        {
            Add({.groups = group,
                 .site = "IEnumWbemClassObject::Next",
                 .only = status,
                 .effect = Effect::Fails,
                 .code = code,
                 .lines = {line}});
        }
        // The end of the enumeration before its time.
        Add({.groups = group,
             .site = Next,
             .number = 1,
             .only = Status(WBEM_S_FALSE),
             .effect = Effect::Fails,
             .code = General});
        for (int number = 2; number <= 4; ++number)
        {
            Add({.groups = group,
                 .site = Next,
                 .number = number,
                 .only = Status(WBEM_S_FALSE),
                 .effect = Effect::Other});
        }
    }

    void AddProperties()
    {
        constexpr unsigned int group = PropertyCommand;
        constexpr wchar_t method[] = L"GetPropertyValue";
        AddJoin(group, Public, method);
        AddEnumeration(group, method);
        const std::wstring line = Failed(Public, method, L"IWbemClassObject->Get");
        AddOnceFound(group, "IWbemClassObject::Get", line);
        Add({.groups = group,
             .site = "IWbemClassObject::Get",
             .only = Status(WBEM_E_NOT_FOUND),
             .effect = Effect::Fails,
             .code = PropertyNotFound,
             .lines = {line}});
        constexpr wchar_t array[] = L"GetSafeArrayData";
        Fail(group, "SafeArrayAccessData", {Failed(Public, array, L"SafeArrayAccessData(VT_ARRAY | VT_UI1)")});
        Fail(group, "SafeArrayGetElement", {Failed(Public, array, L"SafeArrayGetElement")});
        Same(group, "SafeArrayUnaccessData", {Failed(Public, array, L"SafeArrayUnaccessData")});
    }

    void AddTexts()
    {
        constexpr unsigned int group = TextCommand;
        constexpr wchar_t method[] = L"GetClassObjectText";
        AddJoin(group, Public, method);
        AddEnumeration(group, method);
        AddOnceFound(group, "IWbemClassObject::GetObjectText",
                     Failed(Public, method, L"IWbemClassObject->GetObjectText"));
    }

    void AddSettings()
    {
        constexpr unsigned int group = SettingCommand;
        AddJoin(group, Public, SettingMethod);
        const auto fail = [this](std::string_view site, std::wstring_view about, const wchar_t* call) {
            FailAbout(group, site, about, {Failed(Public, SettingMethod, call)});
        };
        fail("IWbemServices::CreateInstanceEnum", {}, L"IWbemServices->CreateInstanceEnum");
        fail("IEnumWbemClassObject::Next", {}, L"IEnumWbemClassObject->Next");
        fail("IWbemClassObject::Get", L"__PATH", L"IWbemClassObject->Get(path)");
        fail("IWbemServices::GetObject", {}, L"IWbemService->GetObject");
        fail("IWbemClassObject::GetMethod", {}, L"IWbemClassObject->GetMethod");
        fail("IWbemClassObject::SpawnInstance", {}, L"IWbemClassObject->SpawnInstance");
        fail("IWbemClassObject::Put", L"Name", L"IWbemClassObject->Put(name)");
        fail("IWbemClassObject::Put", L"Value", L"IWbemClassObject->Put(value)");
        fail("IWbemClassObject::Put", L"Password", L"IWbemClassObject->Put(password)");
        fail("IWbemServices::ExecMethod", {}, L"IWbemServices->ExecMethod");
        fail("IWbemClassObject::Get", L"Return", L"IWbemClassObject->Get(Return)");
        Fail(group, "VariantChangeType", {}); // raised as a COM error
    }

    // What a registration does for its subscription, without the commands around it.
    void AddSubscription(unsigned int groups)
    {
        constexpr wchar_t method[] = L"SetupSink";
        AddJoin(groups, Event, method);
        AddConnection(groups, Event, method, {NoSink}, 0);
        const auto fail = [&](std::string_view site, const wchar_t* call, int number = 0,
                              const wchar_t* status = L"{hr}") {
            Fail(groups, site, {Failed(Event, method, call, status), NoSink}, number);
        };
        // Whether the apartment was made is not looked at: the stub that it cannot make is what is reported.
        constexpr wchar_t noPointer[] = L"80004003";
        fail("CoCreateInstance", L"CreateObjectStub", 2, noPointer);
        fail("CoCreateInstance(UnsecuredApartment)", L"CreateObjectStub", 0, noPointer);
        fail("IUnsecuredApartment::QueryInterface", L"CreateObjectStub", 0, noPointer);
        fail("IUnsecuredApartment::CreateObjectStub", L"CreateObjectStub");
        fail("IWbemObjectSink(stub)::QueryInterface", L"QueryInterface(IID_IWbemObjectSink)");
        fail("IWbemServices::ExecNotificationQueryAsync", L"ExecNotificationQueryAsync");
        Same(groups, "IWbemServices::CancelAsyncCall");
        for (const std::string_view text : {"SysAllocString", "SysAllocStringLen", "MultiByteToWideChar"})
        {
            Fail(groups, text, {NoSink});
        }
        const std::wstring noEvent =
            std::wstring{L"Error "} + Service + L"." + Register + L" - unable to create event, GetLastError = {error}";
        Fail(groups, "CreateEventW", {noEvent});
        for (const std::string_view memory : {"malloc", "calloc", "realloc"})
        {
            Fail(groups, memory, {NoSink});
        }
        Same(groups, "WaitForMultipleObjects"); // is waited for again
        Same(groups, "CloseHandle", {WindowsFailed(Service, Register, L"CloseHandle")});
    }

    void AddRegistrations()
    {
        constexpr unsigned int group = Registration;
        AddSubscription(group);
        for (const std::string_view memory : {"malloc", "calloc", "realloc"})
        {
            Fail(group, memory, {});
            Same(group, memory);
            // An event that cannot be written out is lost.
            With(group, memory, Effect::Less,
                 {std::wstring{L"Warning "} + Service + L"." + Register + L" - std::bad_alloc"});
        }
        With(group, "OpenEventW", Effect::Less, {WindowsFailed(Sink, L"Indicate", L"OpenEvent")});
        With(group, "SetEvent", Effect::Less, {WindowsFailed(Sink, L"Indicate", L"SetEvent")});
        Add({.groups = group,
             .site = "SetEvent",
             .number = -1,
             .effect = Effect::Fails,
             .code = General,
             .of = "unregister",
             .lines = {WindowsFailed(Service, L"UnregisterBiosWmiEventNotification", L"SetEvent")}});
        Same(group, "SetEvent", {}, -1); // at the session's end
        Same(group, "ResetEvent");
        Same(group, "CloseHandle", {WindowsFailed(Sink, L"~BiosWmiEventSink", L"CloseHandle")}, -1);
        Same(group, "RpcServerInqCallAttributesW");
        // Raised out of Indicate: the event is lost.
        With(group, "VariantChangeType", Effect::Less);
        // The event goes on with what the VARIANT holds, a number 0.
        Add({.groups = group,
             .site = "IWbemClassObject::Get",
             .about = L"EventID",
             .effect = Effect::Other,
             .lines = {Failed(Sink, L"Indicate", L"Get(EventID)")}});
        Add({.groups = group,
             .site = "IWbemClassObject::Get",
             .about = L"EventData",
             .effect = Effect::Other,
             .lines = {Failed(Sink, L"Indicate", L"Get(EventData)")}});
    }

    void AddLoad()
    {
        constexpr unsigned int group = Load;
        // Slots that cannot be had or filled are done without.
        for (const std::string_view site : {"TlsAlloc", "TlsSetValue", "TlsFree"})
        {
            Same(group, site);
        }
        // An API set that cannot be asked for counts as absent, which is of interest to the launcher only.
        Same(group, "GetModuleHandleW");
        Same(group, "GetProcAddress");
        Same(group, "UuidCreate");
        With(group, "UuidToStringW", Effect::Raises);
        for (const std::string_view memory : {"malloc", "calloc", "realloc"})
        {
            Same(group, memory);
            With(group, memory, Effect::Raises); // out of the factory or the start of the session
            Fail(group, memory, {});
            Fail(group, memory, {NoMemoryForResponse});
        }
        // The C run time cannot note what is to be done at the end, without memory from the first moment on.
        Add({.groups = group,
             .site = "calloc",
             .number = 1,
             .effect = Effect::Raises,
             .leaves = "a thread-local slot; "});
    }

    void AddSessions()
    {
        constexpr unsigned int group = SessionsAndService;
        for (const std::string_view memory : {"malloc", "UuidToStringW"})
        {
            With(group, memory, Effect::Raises);
        }
        Same(group | StartUp, "UuidCreate"); // a UUID that is unique here does
    }

    void AddStartUp()
    {
        constexpr unsigned int group = StartUp;
        const Lines noPlatform{NoPlatformId, NotSupported};
        // The platform check: command 16, of which only the response counts.
        const auto check = [&](std::string_view site, std::wstring_view about, Lines lines, int number = 0) {
            lines.insert(lines.end(), noPlatform.begin(), noPlatform.end());
            Add({.groups = group,
                 .site = site,
                 .about = about,
                 .number = number,
                 .effect = Effect::Other,
                 .lines = std::move(lines)});
        };
        constexpr wchar_t connect[] = L"ConnectToWmi";
        AddJoin(group, Public, L"GetPropertyValue");
        Same(group, "CoInitializeSecurity", {Failed(Public, connect, L"CoInitializeSecurity")});
        for (const std::string_view site :
             {"CoCreateInstance", "CoCreateInstance(WbemLocator)", "IWbemLocator::QueryInterface"})
        {
            check(site, {}, {Failed(Public, connect, L"CoCreateInstance")}, 1);
        }
        check("IWbemLocator::ConnectServer", L"ROOT\\CIMV2",
              {Failed(Public, connect, L"IWbemLocator->ConnectServer(WmiNamespace)")});
        for (const std::string_view site :
             {"CoSetProxyBlanket", "IWbemServices::QueryInterface", "IClientSecurity::SetBlanket"})
        {
            check(site, {}, {Failed(Public, connect, L"CoSetProxyBlanket")}, 1);
        }
        check("IWbemServices::ExecQuery", {}, {Failed(Public, L"EnumClassObject", L"IWbemServices->ExecQuery")});
        check("IEnumWbemClassObject::Next", {}, {Failed(Public, L"GetPropertyValue", L"IEnumWbemClassObject->Next")});
        Add({.groups = group,
             .site = Next,
             .number = 1,
             .only = Status(WBEM_S_FALSE),
             .effect = Effect::Other,
             .lines = noPlatform});
        Add({.groups = group, .site = Next, .number = 2, .only = Status(WBEM_S_FALSE)}); // it was the end
        check("IWbemClassObject::Get", {}, {Failed(Public, L"GetPropertyValue", L"IWbemClassObject->Get")});
        check("SysAllocString", {}, {});
        check("UuidToStringW", {}, {});

        // The listeners' subscriptions. Their threads end.
        constexpr wchar_t method[] = L"SetupSink";
        const auto listener = [&](std::string_view site, const wchar_t* call, const wchar_t* status = L"{hr}") {
            With(group, site, Effect::Other, {Failed(Event, method, call, status), NoSink});
        };
        AddJoin(group, Event, method);
        Same(group, "CoInitializeSecurity", {Failed(Event, method, L"CoInitializeSecurity")});
        Add({.groups = group, .site = "CoInitializeSecurity", .only = RPC_E_TOO_LATE});
        for (const std::string_view site :
             {"CoCreateInstance", "CoCreateInstance(WbemLocator)", "IWbemLocator::QueryInterface"})
        {
            listener(site, L"CoCreateInstance");
        }
        for (const std::string_view site :
             {"CoCreateInstance", "CoCreateInstance(UnsecuredApartment)", "IUnsecuredApartment::QueryInterface"})
        {
            listener(site, L"CreateObjectStub", L"80004003");
        }
        listener("IWbemLocator::ConnectServer", L"IWbemLocator->ConnectServer(WmiNamespace)");
        for (const std::string_view site :
             {"CoSetProxyBlanket", "IWbemServices::QueryInterface", "IClientSecurity::SetBlanket"})
        {
            listener(site, L"CoSetProxyBlanket");
        }
        listener("IUnsecuredApartment::CreateObjectStub", L"CreateObjectStub");
        listener("IWbemObjectSink(stub)::QueryInterface", L"QueryInterface(IID_IWbemObjectSink)");
        listener("IWbemServices::ExecNotificationQueryAsync", L"ExecNotificationQueryAsync");
        for (const std::string_view text : {"SysAllocString", "SysAllocStringLen", "MultiByteToWideChar"})
        {
            With(group, text, Effect::Other, {NoSink});
        }
        With(group, "CreateEventW", Effect::Other,
             {std::wstring{L"Error "} + Service + L"." + Register +
              L" - unable to create event, GetLastError = {error}"});
        Same(group, "WaitForMultipleObjects");
        Same(group, "CloseHandle"); // of a thread
        Same(group, "CloseHandle", {WindowsFailed(Service, Register, L"CloseHandle")});
        for (const std::string_view site : {"_beginthreadex", "GetModuleHandleExW", "UuidToStringW"})
        {
            With(group, site, Effect::Other, {NoListener});
        }
        Same(group, "GetModuleHandleExW"); // that pins: a reference is left

        for (const std::string_view memory : {"malloc", "calloc", "realloc"})
        {
            Same(group, memory);
            check(memory, {}, {});
            for (const wchar_t* const line : {NoSetup, NoListener, NoListenerThread})
            {
                With(group, memory, Effect::Other, {line});
            }
            With(group, memory, Effect::Other); // a listener's command fails without a word
            With(group, memory, Effect::Other, {NoSink});
            With(group, memory, Effect::Other, {NoMemoryForResponse});
            check(memory, {}, {NoMemoryForResponse});
            With(group, memory, Effect::Other, {CheckFailed, NotSupported});
            With(group, memory, Effect::Other, {NotReleased, NoSetup});
        }
    }

    void AddLauncher()
    {
        constexpr unsigned int group = LauncherCall;
        const auto with = [this](std::string_view site, Lines lines = {}) {
            With(group, site, Effect::Other, std::move(lines));
        };
        with("WTSGetActiveConsoleSessionId", {NoConsole});
        with("WTSQueryUserToken", {NoToken});
        with("DuplicateTokenEx", {NoDuplicate});
        with("ImpersonateLoggedOnUser");
        Same(group, "RevertToSelf", {NotReverted});
        with("ExpandEnvironmentStringsForUserW", {NotExpanded});
        with("FindPackagesByPackageFamily", {NoFamilySize});
        with("FindPackagesByPackageFamily", {NoFamily});
        with("GetPackagePathByFullName", {NoPathSize});
        with("GetPackagePathByFullName", {NoPath});
        with("CreateEnvironmentBlock");
        with("CreateProcessAsUserW", {NoProcess});
        with("HeapAlloc");
        with("InitializeProcThreadAttributeList");
        with("UpdateProcThreadAttribute");
        Same(group, "CloseHandle");
        // The package's origin and version: a runtime error.
        for (const std::string_view site :
             {"GetStagedPackageOrigin", "OpenPackageInfoByFullName", "GetPackageInfo", "WTSGetActiveConsoleSessionId",
              "WTSQueryUserToken", "DuplicateTokenEx", "ImpersonateLoggedOnUser", "FindPackagesByPackageFamily"})
        {
            With(group, site, Effect::Raises);
        }
        With(group, "WTSGetActiveConsoleSessionId", Effect::Raises, {NoConsole});
        With(group, "WTSQueryUserToken", Effect::Raises, {NoToken});
        With(group, "DuplicateTokenEx", Effect::Raises, {NoDuplicate});
        With(group, "FindPackagesByPackageFamily", Effect::Raises, {NoFamilySize});
        With(group, "FindPackagesByPackageFamily", Effect::Raises, {NoFamily});
        With(group, "malloc", Effect::Raises);
        Same(group, "malloc");
        with("malloc", {NoDuplicate});
        with("malloc", {NoNames});
        With(group, "malloc", Effect::Raises, {NoDuplicate});
        With(group, "malloc", Effect::Raises, {NoNames});
    }

    void AddHotkeys()
    {
        constexpr unsigned int group = Hotkey;
        // The first of each is of the look whether the app is installed; the others are of its launch.
        const auto fail = [this](std::string_view site, Lines installed, Lines launch, int ofInstalled = 1) {
            for (int number = 1; number <= ofInstalled; ++number)
            {
                With(group, site, Effect::Less, installed, number);
            }
            launch.emplace_back(RunFailed);
            for (int number = ofInstalled + 1; number <= 8; ++number)
            {
                With(group, site, Effect::Less, launch, number);
            }
        };
        fail("WTSGetActiveConsoleSessionId", {NoConsole}, {NoConsole});
        fail("WTSQueryUserToken", {NoToken}, {NoToken});
        fail("DuplicateTokenEx", {NoDuplicate}, {NoDuplicate});
        fail("ImpersonateLoggedOnUser", {}, {});
        Same(group, "RevertToSelf", {HandleNotReverted}, 1);
        for (int number = 2; number <= 4; ++number)
        {
            Same(group, "RevertToSelf", {NotReverted}, number);
        }
        fail("ExpandEnvironmentStringsForUserW", {}, {NotExpanded}, 0);
        With(group, "FindPackagesByPackageFamily", Effect::Less, {NoFamilySize, NotInstalled}, 1);
        With(group, "FindPackagesByPackageFamily", Effect::Less, {NoFamily, NotInstalled}, 2);
        With(group, "FindPackagesByPackageFamily", Effect::Less, {NoFamilySize, RunFailed}, 3);
        With(group, "FindPackagesByPackageFamily", Effect::Less, {NoFamily, RunFailed}, 4);
        With(group, "GetPackagePathByFullName", Effect::Less, {NoPathSize, RunFailed}, 1);
        With(group, "GetPackagePathByFullName", Effect::Less, {NoPath, RunFailed}, 2);
        fail("CreateEnvironmentBlock", {}, {}, 0);
        fail("CreateProcessAsUserW", {}, {NoProcess}, 0);
        Same(group, "CloseHandle");
        // The time of day.
        With(group, "_localtime64_s", Effect::Less, {CallbackFailed});
        With(group, "_time64", Effect::Other);
        With(group, "_time64", Effect::Less, {CallbackFailed});
        With(group, "wcsftime", Effect::Other);
        With(group, ThisBuild::Formatter, Effect::Other);

        for (const std::string_view memory : {"malloc", "calloc", "realloc"})
        {
            Same(group, memory);
            for (const wchar_t* const line : {CallbackFailed, LaunchRaised, NoDuplicate})
            {
                With(group, memory, Effect::Less, {line});
            }
            With(group, memory, Effect::Less, {NoDuplicate, RunFailed});
            With(group, memory, Effect::Less, {NoNames, NotInstalled});
            With(group, memory, Effect::Less, {NoNames, RunFailed});
            With(group, memory, Effect::Less, {CheckFailed});
            // By contract the thread then goes on as the user.
            Add({.groups = group,
                 .site = memory,
                 .effect = Effect::Less,
                 .lines = {CheckFailed},
                 .staysImpersonated = true});
        }
    }

    std::vector<Expectation> m_rows;
};

const std::vector<Expectation>& Rows()
{
    static const Table table;
    return table.Rows();
}

bool IsAbout(const Expectation& row, const MadeCall& call)
{
    // The last of several, but not the only one.
    const bool numbered = row.number == 0 || row.number == call.number ||
                          (row.number < 0 && call.number == call.last + 1 + row.number &&
                           (call.number != 1 || row.site != "SafeArrayCreateVector"));
    return row.site == call.name && numbered && (row.about.empty() || row.about == call.about);
}

} // namespace

std::vector<Expectation> ExpectationsOf(Group group, const MadeCall& call, HRESULT result)
{
    std::vector<Expectation> found;
    std::vector<Expectation> special;
    for (const Expectation& row : Rows())
    {
        if ((row.groups & group) != 0 && IsAbout(row, call))
        {
            if (!row.only)
            {
                found.push_back(row);
            }
            else if (*row.only == result)
            {
                special.push_back(row);
            }
        }
    }
    return special.empty() ? found : special;
}

std::vector<Expectation> ExpectationsOf(Group group, std::string_view site)
{
    std::vector<Expectation> found;
    std::ranges::copy_if(Rows(), std::back_inserter(found),
                         [&](const Expectation& row) { return (row.groups & group) != 0 && row.site == site; });
    return found;
}

std::wstring FillIn(std::wstring line, const Way& way)
{
    const auto fill = [&line](std::wstring_view name, const std::wstring& value) {
        if (const std::size_t at = line.find(name); at != std::wstring::npos)
        {
            line.replace(at, name.size(), value);
        }
    };
    fill(L"{hr}", Format(L"%x", static_cast<unsigned int>(way.result)));
    fill(L"{error}", std::to_wstring(way.error));
    return line;
}

} // namespace Zv::Testing
