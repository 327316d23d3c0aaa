#include "Platform/Windows/Utf8.h"
#include "Tests/Simulator/Conformance.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Description/NodeReader.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace Zv::Testing
{

using Simulator::Machine;
using Zv::ToUtf8;

namespace
{

constexpr const char* Machines = R"({
  "version": 1, "name": "Bench", "server": "BENCH", "namespaces": [{"path": "root\\cimv2", "classes": [
    {"name": "Disk", "description": "Keeps what is put on it.",
     "properties": {
       "Id": {"type": "uint32", "key": true}, "Name": {"type": "string", "description": "What people call it."},
       "Made": "datetime", "Part": "object:Part", "Raw": {"type": "uint8[]", "size": 4}},
     "methods": {
       "Check": {"description": "Looks it over.", "in": {"Depth": "uint32"},
                 "out": {"Errors": "uint32", "ReturnValue": "uint32"}},
       "Count": {"static": true, "out": {"ReturnValue": "uint32"}}, "Spin": {}},
     "rules": [{"methods": ["Count", "Check"], "answer": {"out": {"ReturnValue": 2}}},
               {"methods": ["Spin"], "answer": {"hang": true}}],
     "instances": [
       {"Id": 26, "Name": "PCI\\A", "Made": "20240305120000.000000+060"},
       {"Id": 27, "Name": "USB", "Made": "20240305113000.000000+000", "Part": {"Number": 5}}]},
    {"name": "Part", "properties": {"Number": "uint32"}},
    {"name": "Options", "properties": {"On": "boolean"}, "instances": [{"On": true}]},
    {"name": "Pressed", "event": true, "properties": {"EventID": "uint32", "EventData": "uint32"}}]}],
  "events": {"namespace": "root\\cimv2", "class": "Pressed"}})";

// "api/X" is a page of wbemcli.h, "wmisdk/X" one of the WMI guide, "ms-wmi/X" a section of the protocol, "wine/X" tests
// that pass on Windows.
std::string SourceAddress(const std::string& source)
{
    constexpr std::pair<std::string_view, std::string_view> places[] = {
        {"api/", "https://learn.microsoft.com/windows/win32/api/wbemcli/nf-wbemcli-"},
        {"wmisdk/", "https://learn.microsoft.com/windows/win32/wmisdk/"},
        {"ms-wmi/", "https://learn.microsoft.com/openspecs/windows_protocols/ms-wmi/"},
        {"wine/", "https://github.com/wine-mirror/wine/blob/master/dlls/wbemprox/tests/"}};
    for (const auto& [prefix, address] : places)
    {
        if (source.starts_with(prefix))
        {
            return std::string{address} + source.substr(prefix.size());
        }
    }
    return source;
}

std::string Cell(std::string text)
{
    for (std::size_t at = 0; (at = text.find_first_of("|_*<>\\", at)) != std::string::npos; at += 2)
    {
        text.insert(at, "\\");
    }
    return text;
}

ConformanceCases AllCases()
{
    static const std::vector<ConformanceCase> all = [] {
        std::vector<ConformanceCase> cases;
        for (const ConformanceCases part : {ConnectionCases(), QueryCases(), ObjectCases(), AsyncCases()})
        {
            cases.insert(cases.end(), part.begin(), part.end());
        }
        return cases;
    }();
    return all;
}

std::string Page()
{
    std::string page =
        "# Conformance\n\n"
        "What WMI on Windows answers by its documents, and what a [simulated machine](machines.md) answers. Each row "
        "is "
        "a case of\n`Tests/Simulator/Conformance*.cpp`, which puts the question to a machine; the page is written from "
        "them\n(`ZV_WRITE_DOCS=1 ctest --preset linux-mingw -R Conformance`). A status that a document only lists "
        "among others, or a\nflavor of a qualifier, is as the document leads to expect; the tests that are linked to "
        "pass on Windows.\n";
    std::string call;
    for (const ConformanceCase& one : AllCases())
    {
        if (call != one.call)
        {
            call = one.call;
            page += "\n## " + call + "\n\n| case | Windows | simulated | document |\n| --- | --- | --- | --- |\n";
        }
        const std::string source = SourceAddress(one.source);
        page += "| " + Cell(one.when) + " | " + Cell(one.documented) + " | " +
                (one.simulated == nullptr ? "same" : Cell(one.simulated)) + " | [" +
                source.substr(source.find_last_of('/') + 1) + "](" + source + ") |\n";
    }
    return page;
}

} // namespace

HRESULT Bench::GetObject(const wchar_t* path, ComPtr<IWbemClassObject>& object) const
{
    return wmi->GetObject(Bstr{path}.Get(), 0, nullptr, object.Receive(), nullptr);
}

ComPtr<IWbemClassObject> Bench::Object(const wchar_t* path) const
{
    ComPtr<IWbemClassObject> object;
    EXPECT_EQ(S_OK, GetObject(path, object)) << path;
    return object;
}

HRESULT Bench::First(const wchar_t* query, ComPtr<IWbemClassObject>& object, LONG flags) const
{
    ComPtr<IEnumWbemClassObject> enumerator;
    const HRESULT hr = Query(*wmi.Get(), query, flags, enumerator);
    return FAILED(hr) ? hr : Next(*enumerator.Get(), object);
}

std::wstring Bench::Disks(const wchar_t* condition) const
{
    std::wstring ids;
    for (const std::wstring& cell :
         Column(*wmi.Get(), (L"SELECT * FROM Disk WHERE " + std::wstring{condition}).c_str(), L"Id"))
    {
        ids += (ids.empty() ? L"" : L" ") + (cell.starts_with(L"VT_I4 ") ? cell.substr(6) : cell);
    }
    return ids.empty() ? L"none" : ids;
}

std::wstring Bench::Selected(const wchar_t* query, const wchar_t* property, LONG flags) const
{
    ComPtr<IWbemClassObject> object;
    const HRESULT hr = First(query, object, flags);
    return hr == S_OK ? Show(*object.Get(), property) : StatusText(hr);
}

ComPtr<IWbemClassObject> Bench::CheckParameters() const
{
    ComPtr<IWbemClassObject> signature;
    ComPtr<IWbemClassObject> parameters;
    EXPECT_EQ(S_OK, Object(L"Disk")->GetMethod(L"Check", 0, signature.Receive(), nullptr));
    EXPECT_EQ(S_OK, signature->SpawnInstance(0, parameters.Receive()));
    return parameters;
}

TEST(ConformanceTests, ASimulatedMachineAnswersAsThePageSays)
{
    const ComMember com;
    for (const ConformanceCase& one : AllCases())
    {
        const Watchdog watchdog{std::string{one.call} + ": " + one.when};
        Bench bench{Machine::Parse(Machines), {}};
        bench.wmi = Connected(bench.machine, L"root\\cimv2");
        const char* const expected = one.simulated == nullptr ? one.documented : one.simulated;
        EXPECT_EQ(expected, ToUtf8(one.ask(bench)))
            << one.call << ": " << one.when << "; " << SourceAddress(one.source);
        bench.machine.ReleaseHangs();
        bench.wmi.Reset();
        EXPECT_EQ("nothing", bench.machine.Outstanding().Describe()) << one.call << ": " << one.when;
    }
}

TEST(ConformanceTests, ThePageIsWrittenFromTheCases)
{
    if (GetEnvironmentVariableW(L"ZV_WRITE_DOCS", nullptr, 0) != 0)
    {
        std::ofstream{std::filesystem::path{ZV_CONFORMANCE}, std::ios::binary} << Page();
    }
    std::ifstream file{std::filesystem::path{ZV_CONFORMANCE}, std::ios::binary};
    const std::string written{std::istreambuf_iterator<char>{file}, {}};
    EXPECT_EQ(written, Page()) << "ZV_WRITE_DOCS=1 ctest --preset linux-mingw -R Conformance writes the page anew";
}

} // namespace Zv::Testing
