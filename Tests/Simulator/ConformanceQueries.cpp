#include "Tests/Simulator/Conformance.h"

#include "Simulator/Cim/StatusNames.h"

#include <gtest/gtest.h>

namespace Zv::Testing
{

namespace
{

std::wstring QueryStatus(Bench& bench, const wchar_t* query)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    return StatusText(Query(*bench.wmi.Get(), query, 0, enumerator));
}

// A call of Next on a query that is not waited for: its status, the count it left, and whether it left the pointer.
std::wstring NextStatus(Bench& bench, const wchar_t* query, LONG timeout, ULONG count, bool hasObjects = true)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(S_OK, Query(*bench.wmi.Get(), query, SemiSynchronous, enumerator));
    IWbemClassObject* const untouched = reinterpret_cast<IWbemClassObject*>(1);
    IWbemClassObject* objects[3] = {untouched, untouched, untouched};
    ULONG returned = 77;
    const HRESULT hr = enumerator->Next(timeout, count, hasObjects ? objects : nullptr, &returned);
    std::wstring text = StatusText(hr) + L", count " + std::to_wstring(returned) + L", pointers";
    for (IWbemClassObject* const object : objects)
    {
        text += object == untouched ? L" left" : L" set";
        const ComPtr<IWbemClassObject> owner{object == untouched ? nullptr : object};
    }
    return text;
}

constexpr const char* Next = "IEnumWbemClassObject::Next";
constexpr const char* ExecQuery = "IWbemServices::ExecQuery";
constexpr const char* Where = "WQL: WHERE";
constexpr const char* Select = "WQL: SELECT with a list";
constexpr const char* Beyond = "WQL: not simulated";

constexpr const char* NextPage = "api/ienumwbemclassobject-next";
constexpr const char* WineQueries = "wine/query.c";
constexpr const char* WherePage = "wmisdk/where-clause";
constexpr const char* Operators = "wmisdk/wql-operators";
constexpr const char* DateTimes = "wmisdk/cim-datetime";
constexpr const char* SelectPage = "wmisdk/select-statement-for-data-queries";

constexpr ConformanceCase Cases[] = {
    {ExecQuery, "waited for, of a class that is not there", "WBEM_E_INVALID_CLASS", WineQueries,
     [](Bench& b) { return QueryStatus(b, L"SELECT * FROM None"); }},
    {ExecQuery, "not waited for, of a class that is not there", "S_OK", WineQueries,
     [](Bench& b) {
         ComPtr<IEnumWbemClassObject> enumerator;
         return StatusText(Query(*b.wmi.Get(), L"SELECT * FROM None", SemiSynchronous, enumerator));
     }},
    {ExecQuery, "no query", "WBEM_E_INVALID_PARAMETER", WineQueries, [](Bench& b) { return QueryStatus(b, L""); }},
    {ExecQuery, "another language than WQL", "WBEM_E_INVALID_QUERY_TYPE", WineQueries,
     [](Bench& b) {
         ComPtr<IEnumWbemClassObject> enumerator;
         return StatusText(
             b.wmi->ExecQuery(Bstr{L"SQL"}.Get(), Bstr{L"SELECT * FROM Disk"}.Get(), 0, nullptr, enumerator.Receive()));
     }},
    {Next, "the query turns out to be wrong", "WBEM_E_INVALID_CLASS, count 0, pointers left left left", WineQueries,
     [](Bench& b) { return NextStatus(b, L"SELECT * FROM None", -1, 1); }},
    {Next, "no array", "WBEM_E_INVALID_PARAMETER, count 77, pointers left left left", WineQueries,
     [](Bench& b) { return NextStatus(b, L"SELECT * FROM Disk", 10000, 1, false); }},
    {Next, "no object wanted", "S_OK, count 0, pointers left left left", WineQueries,
     [](Bench& b) { return NextStatus(b, L"SELECT * FROM Disk", 10000, 0); }},
    {Next, "fewer than wanted", "S_FALSE, count 2, pointers set set left", NextPage,
     [](Bench& b) { return NextStatus(b, L"SELECT * FROM Disk", -1, 3); }},
    {Next, "as many as there are", "S_OK, count 2, pointers set set left", WineQueries,
     [](Bench& b) { return NextStatus(b, L"SELECT * FROM Disk", -1, 2); }},
    {Next, "at the end", "S_FALSE, count 0, pointers left left left", NextPage,
     [](Bench& b) { return NextStatus(b, L"SELECT * FROM Disk WHERE Id = 0", -1, 1); }},
    {Next, "out of time", "WBEM_S_TIMEDOUT, count 0, pointers left left left", NextPage,
     [](Bench& b) {
         b.machine.AddFault({Simulator::Site::EnumeratorNext, L"", 1, 1, S_OK, 60000});
         return NextStatus(b, L"SELECT * FROM Disk", 1, 1);
     }},

    {Where, R"(Name = 'PCI\\A')", "26", WherePage, [](Bench& b) { return b.Disks(L"Name = 'PCI\\\\A'"); }},
    {Where, R"(Name = 'PCI\A', a lone backslash)", "WBEM_E_INVALID_QUERY", WherePage,
     [](Bench& b) { return b.Disks(L"Name = 'PCI\\A'"); }},
    {Where, R"(Name LIKE "PCI\\%")", "26", WineQueries, [](Bench& b) { return b.Disks(L"Name LIKE \"PCI\\\\%\""); }},
    {Where, R"(Name LIKE "PCI\%")", "WBEM_E_INVALID_QUERY", WineQueries,
     [](Bench& b) { return b.Disks(L"Name LIKE \"PCI\\%\""); }},
    {Where, R"(Name <> 'it\'s')", "26 27", WherePage, [](Bench& b) { return b.Disks(L"Name <> 'it\\'s'"); }},
    {Where, "'PCI' = Name, the constant first", "none", WherePage, [](Bench& b) { return b.Disks(L"'PCI' = Name"); }},
    {Where, "Id = '26', a number as text", "26", WineQueries, [](Bench& b) { return b.Disks(L"Id = '26'"); }},
    {Where, "NOT Name LIKE '%S%'", "26", Operators, [](Bench& b) { return b.Disks(L"NOT Name LIKE '%S%'"); }},
    {Where, "Name NOT LIKE '%S%'", "WBEM_E_INVALID_QUERY", Operators,
     [](Bench& b) { return b.Disks(L"Name NOT LIKE '%S%'"); }},
    {Where, "Name IS NULL", "none", Operators, [](Bench& b) { return b.Disks(L"Name IS NULL"); }},
    {Where, "Name IS 'USB'", "WBEM_E_INVALID_QUERY", Operators, [](Bench& b) { return b.Disks(L"Name IS 'USB'"); }},
    {Where, "Name != 'USB'", "26", Operators, [](Bench& b) { return b.Disks(L"Name != 'USB'"); }},
    {Where, "Name == 'USB'", "WBEM_E_INVALID_QUERY", Operators, [](Bench& b) { return b.Disks(L"Name == 'USB'"); }},
    {Where, "Id BETWEEN 1 AND 5", "WBEM_E_INVALID_QUERY", Operators,
     [](Bench& b) { return b.Disks(L"Id BETWEEN 1 AND 5"); }},
    {Where, "Id IN (26)", "WBEM_E_INVALID_QUERY", Operators, [](Bench& b) { return b.Disks(L"Id IN (26)"); }},
    {Where, "Id = (20 + 6)", "WBEM_E_INVALID_QUERY", WherePage, [](Bench& b) { return b.Disks(L"Id = (20 + 6)"); }},
    {Where, "Id = Id, a property on each side", "WBEM_E_INVALID_QUERY", WherePage,
     [](Bench& b) { return b.Disks(L"Id = Id"); }},
    {Where, "Made < '20240305120000.000000+060': 12:00 at +60 minutes is before 11:30 at +0", "none", DateTimes,
     [](Bench& b) { return b.Disks(L"Made < '20240305120000.000000+060'"); }},
    {Where, "Made = '20240305110000.000000+000', another spelling of the moment", "26", DateTimes,
     [](Bench& b) { return b.Disks(L"Made = '20240305110000.000000+000'"); }},
    {Where, "Made > '20240305110000.000000+000'", "27", DateTimes,
     [](Bench& b) { return b.Disks(L"Made > '20240305110000.000000+000'"); }},
    {Where, "Made > '03/01/2024', another form of dates", "26 27", "wmisdk/wql-supported-date-formats",
     [](Bench& b) { return b.Disks(L"Made > '03/01/2024'"); }, "WBEM_E_INVALID_QUERY"},

    {Select, "a property that was chosen", R"(VT_BSTR "PCI\A")", SelectPage,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"Name"); }},
    {Select, "a property that was not", "WBEM_E_NOT_FOUND", SelectPage,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"Id"); }},
    {Select, "__CLASS", R"(VT_BSTR "Disk")", WineQueries,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"__CLASS"); }},
    {Select, "__PROPERTY_COUNT", "VT_I4 1", WineQueries,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"__PROPERTY_COUNT"); }},
    {Select, "__SERVER", "VT_NULL", WineQueries,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"__SERVER"); }},
    {Select, "__NAMESPACE", "VT_NULL", WineQueries,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"__NAMESPACE"); }},
    {Select, "__PATH", "VT_NULL", WineQueries,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"__PATH"); }},
    {Select, "__RELPATH", "VT_NULL", WineQueries,
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"__RELPATH"); }},
    {Select, "__PATH, with WBEM_FLAG_ENSURE_LOCATABLE", R"(VT_BSTR "\\BENCH\root\cimv2:Disk.Id=26")",
     "api/iwbemservices-execquery",
     [](Bench& b) { return b.Selected(L"SELECT Name FROM Disk", L"__PATH", WBEM_FLAG_ENSURE_LOCATABLE); }},
    {Select, "__PATH, which was chosen", R"(VT_BSTR "\\BENCH\root\cimv2:Disk.Id=26")", SelectPage,
     [](Bench& b) { return b.Selected(L"SELECT __PATH FROM Disk", L"__PATH"); }},

    {Beyond, "ASSOCIATORS OF {Disk.Id=26}", "the associated objects", "wmisdk/associators-of-statement",
     [](Bench& b) { return QueryStatus(b, L"ASSOCIATORS OF {Disk.Id=26}"); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {Beyond, "REFERENCES OF{Disk.Id=26}", "the associations", "wmisdk/references-of-statement",
     [](Bench& b) { return QueryStatus(b, L"REFERENCES OF{Disk.Id=26}"); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {Beyond, "SELECT * FROM meta_class", "the classes", "wmisdk/select-statement-for-schema-queries",
     [](Bench& b) { return QueryStatus(b, L"SELECT * FROM meta_class"); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
};

} // namespace

ConformanceCases QueryCases()
{
    return Cases;
}

} // namespace Zv::Testing
