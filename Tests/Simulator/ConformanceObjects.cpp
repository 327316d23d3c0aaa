#include "Tests/Simulator/Conformance.h"

#include "Simulator/Cim/StatusNames.h"
#include "Tests/Support/FakeWmi.h"

#include <gtest/gtest.h>

namespace Zv::Testing
{

namespace
{

std::wstring Property(Bench& bench, const wchar_t* path, const wchar_t* property)
{
    ComPtr<IWbemClassObject> object;
    const HRESULT hr = bench.GetObject(path, object);
    return FAILED(hr) ? StatusText(hr) : Show(*object.Get(), property);
}

// The texts of an array, which it frees.
std::wstring Texts(HRESULT hr, SAFEARRAY* array)
{
    std::wstring text;
    for (LONG i = 0; array != nullptr && i < static_cast<LONG>(array->rgsabound[0].cElements); ++i)
    {
        text += (text.empty() ? L"" : L" ") + std::wstring{static_cast<BSTR*>(array->pvData)[i]};
    }
    SafeArrayDestroy(array);
    return FAILED(hr) ? StatusText(hr) : text;
}

std::wstring Names(Bench& bench, const wchar_t* qualifier, LONG flags)
{
    SAFEARRAY* names = nullptr;
    const HRESULT hr = bench.Object(L"Disk")->GetNames(qualifier, flags, nullptr, &names);
    return Texts(hr, names);
}

// A qualifier's value and flavour.
std::wstring Qualifier(IWbemQualifierSet& qualifiers, const wchar_t* name)
{
    Variant value;
    LONG flavor = -1;
    const HRESULT hr = qualifiers.Get(name, 0, value.Address(), &flavor);
    wchar_t flavorText[16];
    swprintf_s(flavorText, std::size(flavorText), L", 0x%lx", static_cast<unsigned long>(flavor));
    return FAILED(hr) ? StatusText(hr) : ShowVariant(value.Address()) + flavorText;
}

std::wstring OfProperty(Bench& bench, const wchar_t* path, const wchar_t* property, const wchar_t* name)
{
    ComPtr<IWbemQualifierSet> qualifiers;
    const HRESULT hr = bench.Object(path)->GetPropertyQualifierSet(property, qualifiers.Receive());
    return FAILED(hr) ? StatusText(hr) : Qualifier(*qualifiers.Get(), name);
}

// A parameter's qualifier in what came out of a call.
std::wstring OfResult(Bench& bench, const wchar_t* parameter, const wchar_t* name)
{
    const ComPtr<IWbemClassObject> in = bench.CheckParameters();
    ComPtr<IWbemClassObject> out;
    EXPECT_EQ(S_OK, bench.wmi->ExecMethod(Bstr{L"Disk.Id=26"}.Get(), Bstr{L"Check"}.Get(), 0, nullptr, in.Get(),
                                          out.Receive(), nullptr));
    ComPtr<IWbemQualifierSet> qualifiers;
    EXPECT_EQ(S_OK, out->GetPropertyQualifierSet(parameter, qualifiers.Receive()));
    return Qualifier(*qualifiers.Get(), name);
}

std::wstring OfMethod(Bench& bench, const wchar_t* method, const wchar_t* name)
{
    ComPtr<IWbemQualifierSet> qualifiers;
    const HRESULT hr = bench.Object(L"Disk")->GetMethodQualifierSet(method, qualifiers.Receive());
    return FAILED(hr) ? StatusText(hr) : Qualifier(*qualifiers.Get(), name);
}

ComPtr<IWbemQualifierSet> OfId(Bench& bench, const wchar_t* path)
{
    ComPtr<IWbemQualifierSet> qualifiers;
    EXPECT_EQ(S_OK, bench.Object(path)->GetPropertyQualifierSet(L"Id", qualifiers.Receive()));
    return qualifiers;
}

std::wstring QualifierNames(Bench& bench, const wchar_t* path, LONG flags)
{
    SAFEARRAY* names = nullptr;
    const HRESULT hr = OfId(bench, path)->GetNames(flags, &names);
    return Texts(hr, names);
}

constexpr const char* GetObject = "IWbemServices::GetObject";
constexpr const char* Get = "IWbemClassObject::Get";
constexpr const char* Put = "IWbemClassObject::Put";
constexpr const char* GetNames = "IWbemClassObject::GetNames";
constexpr const char* GetMethod = "IWbemClassObject::GetMethod";
constexpr const char* Qualifiers = "IWbemQualifierSet::Get";
constexpr const char* QualifierList = "IWbemQualifierSet: names and enumeration";
constexpr const char* ReadOnly = "Objects: not simulated";

constexpr const char* PathPage = "wmisdk/describing-the-location-of-a-wmi-object";
constexpr const char* SingletonPath = "ms-wmi/5c9b4c67-6ef7-4e07-9c6e-300a678bc8ec";
constexpr const char* Properties = "wmisdk/wmi-system-properties";
constexpr const char* GetNamesPage = "api/iwbemclassobject-getnames";
constexpr const char* Standard = "wmisdk/standard-qualifiers";
constexpr const char* Flavors = "wmisdk/qualifier-flavors";
constexpr const char* WineQueries = "wine/query.c";

constexpr ConformanceCase Cases[] = {
    {GetObject, "Disk.Id=26", "VT_I4 26", PathPage, [](Bench& b) { return Property(b, L"Disk.Id=26", L"Id"); }},
    {GetObject, "Disk.Id=0x1A, hexadecimal", "VT_I4 26", "wmisdk/wmi-object-path-requirements",
     [](Bench& b) { return Property(b, L"Disk.Id=0x1A", L"Id"); }},
    {GetObject, "Disk=26, the only key", "VT_I4 26", PathPage, [](Bench& b) { return Property(b, L"Disk=26", L"Id"); }},
    {GetObject, "Disk.Id=1, which is not there", "WBEM_E_NOT_FOUND", WineQueries,
     [](Bench& b) { return Property(b, L"Disk.Id=1", L"Id"); }},
    {GetObject, "None, which is no class", "WBEM_E_NOT_FOUND", "api/iwbemservices-getobject",
     [](Bench& b) { return Property(b, L"None", L"Id"); }},
    {GetObject, "Disk.", "WBEM_E_INVALID_OBJECT_PATH", "api/iwbemservices-getobject",
     [](Bench& b) { return Property(b, L"Disk.", L"Id"); }},
    {GetObject, "Options=@, a singleton", "VT_BOOL true", PathPage,
     [](Bench& b) { return Property(b, L"Options=@", L"On"); }},
    {Get, "__RELPATH of a singleton", R"(VT_BSTR "Options=@")", SingletonPath,
     [](Bench& b) { return b.Selected(L"SELECT * FROM Options", L"__RELPATH"); }},
    {Get, "__PATH of a singleton", R"(VT_BSTR "\\BENCH\root\cimv2:Options=@")", SingletonPath,
     [](Bench& b) { return b.Selected(L"SELECT * FROM Options", L"__PATH"); }},
    {Get, "__PATH of an instance", R"(VT_BSTR "\\BENCH\root\cimv2:Disk.Id=26")", Properties,
     [](Bench& b) { return Property(b, L"Disk=26", L"__PATH"); }},
    {Get, "__GENUS of a class", "VT_I4 1", Properties, [](Bench& b) { return Property(b, L"Disk", L"__GENUS"); }},
    {Get, "a uint32", "VT_I4 26", "wmisdk/numbers", [](Bench& b) { return Property(b, L"Disk=26", L"Id"); }},
    {Get, "a property that the class has not", "WBEM_E_NOT_FOUND", WineQueries,
     [](Bench& b) { return Property(b, L"Disk=26", L"Nothing"); }},
    {Put, "__CLASS of an empty class", R"(S_OK, VT_BSTR "MyClass")", WineQueries,
     [](Bench& b) {
         const ComPtr<IWbemClassObject> fresh = b.Object(L"");
         Variant name;
         V_VT(name.Address()) = VT_BSTR;
         V_BSTR(name.Address()) = SysAllocString(L"MyClass");
         const HRESULT hr = fresh->Put(L"__CLASS", 0, name.Address(), 0);
         return StatusText(hr) + L", " + Show(*fresh.Get(), L"__CLASS");
     }},
    {GetNames, "nowhere to put them", "WBEM_E_INVALID_PARAMETER", WineQueries,
     [](Bench& b) { return StatusText(b.Object(L"Disk")->GetNames(nullptr, 0, nullptr, nullptr)); }},
    {GetNames, "WBEM_FLAG_NONSYSTEM_ONLY", "Id Name Made Part Raw", GetNamesPage,
     [](Bench& b) { return Names(b, nullptr, WBEM_FLAG_NONSYSTEM_ONLY); }},
    {GetNames, "WBEM_FLAG_KEYS_ONLY", "Id", GetNamesPage,
     [](Bench& b) { return Names(b, nullptr, WBEM_FLAG_KEYS_ONLY); }},
    {GetNames, "the qualifier key, WBEM_FLAG_ONLY_IF_TRUE", "Id", GetNamesPage,
     [](Bench& b) { return Names(b, L"key", WBEM_FLAG_ONLY_IF_TRUE); }},
    {GetNames, "the qualifier key, WBEM_FLAG_ONLY_IF_FALSE and WBEM_FLAG_NONSYSTEM_ONLY", "Name Made Part Raw",
     GetNamesPage, [](Bench& b) { return Names(b, L"key", WBEM_FLAG_ONLY_IF_FALSE | WBEM_FLAG_NONSYSTEM_ONLY); }},
    {GetNames, "the qualifier Description, WBEM_FLAG_ONLY_IF_TRUE", "Name", GetNamesPage,
     [](Bench& b) { return Names(b, L"Description", WBEM_FLAG_ONLY_IF_TRUE); }},
    {GetMethod, "an unknown method: the status, and what becomes of the pointers", "WBEM_E_NOT_FOUND, null, null",
     WineQueries,
     [](Bench& b) {
         IWbemClassObject* in = reinterpret_cast<IWbemClassObject*>(1);
         IWbemClassObject* out = in;
         const HRESULT hr = b.Object(L"Disk")->GetMethod(L"Unknown", 0, &in, &out);
         return StatusText(hr) + (in == nullptr ? L", null" : L", left") + (out == nullptr ? L", null" : L", left");
     }},
    {GetMethod, "a method of an instance", "WBEM_E_ILLEGAL_OPERATION", "api/iwbemclassobject-getmethod",
     [](Bench& b) { return StatusText(b.Object(L"Disk=26")->GetMethod(L"Check", 0, nullptr, nullptr)); }},

    {Qualifiers, "key, of a class's property", "VT_BOOL true, 0x13", Standard,
     [](Bench& b) { return OfProperty(b, L"Disk", L"Id", L"KEY"); }},
    {Qualifiers, "key, of an instance's property", "VT_BOOL true, 0x33", Flavors,
     [](Bench& b) { return OfProperty(b, L"Disk=26", L"Id", L"key"); }},
    {Qualifiers, "key, where there is none", "WBEM_E_NOT_FOUND", "api/iwbemqualifierset-get",
     [](Bench& b) { return OfProperty(b, L"Disk", L"Name", L"key"); }},
    {Qualifiers, "CIMTYPE of a number", R"(VT_BSTR "uint32", 0x3)", Standard,
     [](Bench& b) { return OfProperty(b, L"Disk", L"Id", L"CIMTYPE"); }},
    {Qualifiers, "CIMTYPE of an embedded object", R"(VT_BSTR "object:Part", 0x3)", Standard,
     [](Bench& b) { return OfProperty(b, L"Disk", L"Part", L"CIMTYPE"); }},
    {Qualifiers, "MAX of bytes", "VT_I4 4, 0x3", Standard,
     [](Bench& b) { return OfProperty(b, L"Disk", L"Raw", L"MAX"); }},
    {Qualifiers, "Description of a property", R"(VT_BSTR "What people call it.", 0x82)", Standard,
     [](Bench& b) { return OfProperty(b, L"Disk", L"Name", L"Description"); }},
    {Qualifiers, "Description of a class", R"(VT_BSTR "Keeps what is put on it.", 0x82)", Standard,
     [](Bench& b) {
         ComPtr<IWbemQualifierSet> qualifiers;
         EXPECT_EQ(S_OK, b.Object(L"Disk")->GetQualifierSet(qualifiers.Receive()));
         return Qualifier(*qualifiers.Get(), L"Description");
     }},
    {Qualifiers, "singleton", "VT_BOOL true, 0x12", Standard,
     [](Bench& b) {
         ComPtr<IWbemQualifierSet> qualifiers;
         EXPECT_EQ(S_OK, b.Object(L"Options")->GetQualifierSet(qualifiers.Receive()));
         return Qualifier(*qualifiers.Get(), L"singleton");
     }},
    {Qualifiers, "static, of a method", "VT_BOOL true, 0x12", Standard,
     [](Bench& b) { return OfMethod(b, L"Count", L"static"); }},
    {Qualifiers, "Description of a method", R"(VT_BSTR "Looks it over.", 0x82)", Standard,
     [](Bench& b) { return OfMethod(b, L"Check", L"Description"); }},
    {Qualifiers, "ID, of a parameter that came out: after the one that went in", "VT_I4 1, 0x31", WineQueries,
     [](Bench& b) { return OfResult(b, L"Errors", L"ID"); }},
    {Qualifiers, "ID, of ReturnValue", "WBEM_E_NOT_FOUND", WineQueries,
     [](Bench& b) { return OfResult(b, L"ReturnValue", L"ID"); }},
    {Qualifiers, "of a system property", "WBEM_E_SYSTEM_PROPERTY", "api/iwbemclassobject-getpropertyqualifierset",
     [](Bench& b) { return OfProperty(b, L"Disk", L"__PATH", L"key"); }},
    {Qualifiers, "of a property that is not there", "WBEM_E_NOT_FOUND", "api/iwbemclassobject-getpropertyqualifierset",
     [](Bench& b) { return OfProperty(b, L"Disk", L"Nothing", L"key"); }},
    {QualifierList, "GetNames", "key CIMTYPE", "api/iwbemqualifierset-getnames",
     [](Bench& b) { return QualifierNames(b, L"Disk", 0); }},
    {QualifierList, "GetNames of an instance's property, WBEM_FLAG_LOCAL_ONLY", "", "api/iwbemqualifierset-getnames",
     [](Bench& b) { return QualifierNames(b, L"Disk=26", WBEM_FLAG_LOCAL_ONLY); }},
    {QualifierList, "GetNames of an instance's property, WBEM_FLAG_PROPAGATED_ONLY", "key CIMTYPE",
     "api/iwbemqualifierset-getnames",
     [](Bench& b) { return QualifierNames(b, L"Disk=26", WBEM_FLAG_PROPAGATED_ONLY); }},
    {QualifierList, "Next without BeginEnumeration", "WBEM_E_UNEXPECTED", "api/iwbemqualifierset-next",
     [](Bench& b) { return StatusText(OfId(b, L"Disk")->Next(0, nullptr, nullptr, nullptr)); }},
    {QualifierList, "an enumeration", "S_OK key CIMTYPE WBEM_S_NO_MORE_DATA S_OK", "api/iwbemqualifierset-next",
     [](Bench& b) {
         const ComPtr<IWbemQualifierSet> qualifiers = OfId(b, L"Disk");
         std::wstring text = StatusText(qualifiers->BeginEnumeration(0));
         HRESULT hr = S_OK;
         for (BSTR name = nullptr; (hr = qualifiers->Next(0, &name, nullptr, nullptr)) == S_OK; SysFreeString(name))
         {
             text += L" " + std::wstring{name};
         }
         return text + L" " + StatusText(hr) + L" " + StatusText(qualifiers->EndEnumeration());
     }},

    {ReadOnly, "IWbemQualifierSet::Put", "sets it", "api/iwbemqualifierset-put",
     [](Bench& b) { return StatusText(OfId(b, L"Disk")->Put(L"key", nullptr, 0)); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {ReadOnly, "IWbemQualifierSet::Delete", "deletes it", "api/iwbemqualifierset-delete",
     [](Bench& b) { return StatusText(OfId(b, L"Disk")->Delete(L"key")); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {ReadOnly, "IWbemClassObject::SpawnDerivedClass", "a derived class", "api/iwbemclassobject-spawnderivedclass",
     [](Bench& b) { return StatusText(b.Object(L"Disk")->SpawnDerivedClass(0, nullptr)); },
     "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {ReadOnly, "IWbemClassObject::PutMethod", "adds it", "api/iwbemclassobject-putmethod",
     [](Bench& b) { return StatusText(b.Object(L"Disk")->PutMethod(L"New", 0, nullptr, nullptr)); },
     "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {ReadOnly, "IWbemClassObject::DeleteMethod", "deletes it", "api/iwbemclassobject-deletemethod",
     [](Bench& b) { return StatusText(b.Object(L"Disk")->DeleteMethod(L"Check")); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {ReadOnly, "IWbemClassObject::Delete of a class's property", "deletes it", "api/iwbemclassobject-delete",
     [](Bench& b) { return StatusText(b.Object(L"Disk")->Delete(L"Name")); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
};

} // namespace

ConformanceCases ObjectCases()
{
    return Cases;
}

} // namespace Zv::Testing
