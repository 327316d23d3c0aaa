// IWbemClassObject: values of every CIM type, putting, names, texts.
#include "Platform/Windows/Utf8.h"
#include "Tests/Simulator/Client.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Description/NodeReader.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace Zv::Testing
{

using Simulator::Machine;
using Simulator::Status;

namespace
{

std::wstring ArrayText(IWbemClassObject& object, const wchar_t* property)
{
    Variant value;
    EXPECT_EQ(S_OK, object.Get(property, 0, value.Address(), nullptr, nullptr));
    if ((value.Type() & VT_ARRAY) == 0)
    {
        return L"no array";
    }
    SAFEARRAY* const array = V_ARRAY(value.Address());
    std::wstring text = std::to_wstring(value.Type() & VT_TYPEMASK) + L":";
    const ULONG count = array->rgsabound[0].cElements;
    for (LONG i = 0; i < static_cast<LONG>(count); ++i)
    {
        Variant element;
        Variant asText;
        V_VT(element.Address()) = static_cast<VARTYPE>(value.Type() & VT_TYPEMASK);
        EXPECT_EQ(S_OK, SafeArrayGetElement(array, &i, &V_I1(element.Address())));
        if (element.Type() == VT_UNKNOWN)
        {
            text += L" object";
            continue;
        }
        EXPECT_EQ(S_OK, VariantChangeType(asText.Address(), element.Address(), 0, VT_BSTR));
        text += std::wstring{L" "} + V_BSTR(asText.Address());
    }
    return text;
}

} // namespace

class ObjectTests : public testing::Test
{
protected:
    ComPtr<IWbemClassObject> Object(const wchar_t* path)
    {
        ComPtr<IWbemClassObject> object;
        if (FAILED(m_services->GetObject(Bstr{path}.Get(), 0, nullptr, object.Receive(), nullptr)))
        {
            throw std::runtime_error{"no such object: " + Zv::ToUtf8(path)};
        }
        return object;
    }

    // Puts a VARIANT that `make` fills; the status and what the property then holds.
    std::wstring Put(const wchar_t* property, const std::function<void(VARIANT&)>& make, CIMTYPE type = 0)
    {
        const ComPtr<IWbemClassObject> definition = Object(L"Zv_Types");
        ComPtr<IWbemClassObject> instance;
        EXPECT_EQ(S_OK, definition->SpawnInstance(0, instance.Receive()));
        Variant value;
        make(*value.Address());
        const HRESULT hr = instance->Put(property, 0, value.Address(), type);
        return FAILED(hr) ? StatusText(hr) : Show(*instance.Get(), property);
    }
    std::wstring PutLong(const wchar_t* property, LONG number, CIMTYPE type = 0)
    {
        return Put(
            property,
            [=](VARIANT& v) {
                V_VT(&v) = VT_I4;
                V_I4(&v) = number;
            },
            type);
    }
    std::wstring PutText(const wchar_t* property, const wchar_t* text, CIMTYPE type = 0)
    {
        return Put(
            property,
            [=](VARIANT& v) {
                V_VT(&v) = VT_BSTR;
                V_BSTR(&v) = text == nullptr ? nullptr : SysAllocString(text);
            },
            type);
    }

    Machine m_machine = LoadMachine("misbehaving.json");
    ComPtr<IWbemServices> m_services = Connected(m_machine, L"root/cimv2");
};

TEST_F(ObjectTests, EveryCimTypeArrivesAsWmiDeliversIt)
{
    const ComPtr<IWbemClassObject> least = Object(L"Zv_Types.Id=\"least\"");
    const ComPtr<IWbemClassObject> greatest = Object(L"Zv_Types.Id='greatest'");
    const ComPtr<IWbemClassObject> null = Object(L"Zv_Types=\"null\"");
    struct Row
    {
        const wchar_t* property;
        CIMTYPE type;
        const wchar_t* least;
        const wchar_t* greatest;
    };
    constexpr Row rows[] = {
        {L"S8", CIM_SINT8, L"VT_I2 -128", L"VT_I2 127"},
        {L"U8", CIM_UINT8, L"VT_UI1 0", L"VT_UI1 255"},
        {L"S16", CIM_SINT16, L"VT_I2 -32768", L"VT_I2 32767"},
        {L"U16", CIM_UINT16, L"VT_I4 0", L"VT_I4 65535"},
        {L"S32", CIM_SINT32, L"VT_I4 -2147483648", L"VT_I4 2147483647"},
        {L"U32", CIM_UINT32, L"VT_I4 0", L"VT_I4 -1"},
        {L"S64", CIM_SINT64, L"VT_BSTR \"-9223372036854775808\"", L"VT_BSTR \"9223372036854775807\""},
        {L"U64", CIM_UINT64, L"VT_BSTR \"0\"", L"VT_BSTR \"18446744073709551615\""},
        {L"R32", CIM_REAL32, L"VT_R4 -0.500000", L"VT_R4 0.500000"},
        {L"B", CIM_BOOLEAN, L"VT_BOOL false", L"VT_BOOL true"},
        {L"D", CIM_DATETIME, L"VT_BSTR \"20240305080112.500000+060\"", L"VT_BSTR \"99991231235959.999999+720\""},
        {L"Ref", CIM_REFERENCE, L"VT_BSTR \"Zv_Slow.Name=\"a\"\"", L"VT_BSTR \"Zv_Slow.Name=\"b\"\""},
        {L"C", CIM_CHAR16, L"VT_I2 65", L"VT_I2 -1"},
    };
    for (const Row& row : rows)
    {
        CIMTYPE type = 0;
        LONG flavor = 0;
        EXPECT_EQ(S_OK, least->Get(row.property, 0, nullptr, &type, &flavor));
        EXPECT_EQ(row.type, type) << row.property;
        EXPECT_EQ(WBEM_FLAVOR_ORIGIN_LOCAL, flavor);
        EXPECT_EQ(row.least, Show(*least.Get(), row.property)) << row.property;
        EXPECT_EQ(row.greatest, Show(*greatest.Get(), row.property)) << row.property;
        EXPECT_EQ(L"VT_NULL", Show(*null.Get(), row.property)) << row.property;
    }
}

TEST_F(ObjectTests, EveryArrayTypeArrivesAsWmiDeliversIt)
{
    const ComPtr<IWbemClassObject> object = Object(L"Zv_Types.Id=\"greatest\"");
    EXPECT_EQ(L"2: 127 -1", ArrayText(*object.Get(), L"AS8"));
    EXPECT_EQ(L"17: 255 0", ArrayText(*object.Get(), L"AU8"));
    EXPECT_EQ(L"2: 32767 -1", ArrayText(*object.Get(), L"AS16"));
    EXPECT_EQ(L"3: 65535 1", ArrayText(*object.Get(), L"AU16"));
    EXPECT_EQ(L"3: 2147483647 -1", ArrayText(*object.Get(), L"AS32"));
    EXPECT_EQ(L"3: -1 1", ArrayText(*object.Get(), L"AU32"));
    EXPECT_EQ(L"8: 9223372036854775807 -1", ArrayText(*object.Get(), L"AS64"));
    EXPECT_EQ(L"8: 18446744073709551615 1", ArrayText(*object.Get(), L"AU64"));
    EXPECT_EQ(L"4: 0.5 1", ArrayText(*object.Get(), L"AR32"));
    EXPECT_EQ(L"11: -1 0", ArrayText(*object.Get(), L"AB"));
    EXPECT_EQ(L"8: text \"quoted\" back\\slash", ArrayText(*object.Get(), L"AS"));
    EXPECT_EQ(L"8:", ArrayText(*object.Get(), L"AD"));
    EXPECT_EQ(L"2: -1 122", ArrayText(*object.Get(), L"AC"));
    EXPECT_EQ(L"13: object object", ArrayText(*object.Get(), L"AO"));
    EXPECT_EQ(L"no array", ArrayText(*Object(L"Zv_Types.Id=\"null\"").Get(), L"AU8"));
}

TEST_F(ObjectTests, AnEmbeddedObjectIsAnObjectOfItsOwn)
{
    const ComPtr<IWbemClassObject> object = Object(L"Zv_Types.Id=\"least\"");
    Variant value;
    ASSERT_EQ(S_OK, object->Get(L"O", 0, value.Address(), nullptr, nullptr));
    ASSERT_EQ(VT_UNKNOWN, value.Type());
    ComPtr<IWbemClassObject> embedded;
    ASSERT_EQ(S_OK, V_UNKNOWN(value.Address())->QueryInterface(IID_IWbemClassObject, embedded.ReceiveVoid()));
    EXPECT_EQ(L"VT_BSTR \"x\"", Show(*embedded.Get(), L"Name"));
    EXPECT_EQ(L"VT_BSTR \"Zv_Slow\"", Show(*embedded.Get(), L"__CLASS"));
    ComPtr<IWbemServices> wrong;
    EXPECT_EQ(E_NOINTERFACE, embedded->QueryInterface(IID_IWbemServices, wrong.ReceiveVoid()));
}

TEST_F(ObjectTests, SystemPropertiesTellWhatAnObjectIs)
{
    const ComPtr<IWbemClassObject> instance = Object(L"Zv_Slow.Name=\"a\"");
    const ComPtr<IWbemClassObject> definition = Object(L"ZV_SLOW");
    struct Row
    {
        const wchar_t* property;
        const wchar_t* instance;
        const wchar_t* definition;
    };
    constexpr Row rows[] = {
        {L"__GENUS", L"VT_I4 2", L"VT_I4 1"},
        {L"__CLASS", L"VT_BSTR \"Zv_Slow\"", L"VT_BSTR \"Zv_Slow\""},
        {L"__SUPERCLASS", L"VT_NULL", L"VT_NULL"},
        {L"__DYNASTY", L"VT_BSTR \"Zv_Slow\"", L"VT_BSTR \"Zv_Slow\""},
        {L"__RELPATH", L"VT_BSTR \"Zv_Slow.Name=\"a\"\"", L"VT_BSTR \"Zv_Slow\""},
        {L"__PROPERTY_COUNT", L"VT_I4 1", L"VT_I4 1"},
        {L"__SERVER", L"VT_BSTR \"TROUBLE\"", L"VT_BSTR \"TROUBLE\""},
        {L"__namespace", L"VT_BSTR \"root\\CIMV2\"", L"VT_BSTR \"root\\CIMV2\""},
        {L"__PATH", L"VT_BSTR \"\\\\TROUBLE\\root\\CIMV2:Zv_Slow.Name=\"a\"\"",
         L"VT_BSTR \"\\\\TROUBLE\\root\\CIMV2:Zv_Slow\""},
        {L"__NONE", L"WBEM_E_NOT_FOUND", L"WBEM_E_NOT_FOUND"},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(row.instance, Show(*instance.Get(), row.property)) << row.property;
        EXPECT_EQ(row.definition, Show(*definition.Get(), row.property)) << row.property;
    }
    EXPECT_EQ(L"8:", ArrayText(*instance.Get(), L"__DERIVATION"));
}

TEST_F(ObjectTests, AnEventClassIsDerivedFromThoseOfAllEvents)
{
    const ComPtr<IWbemServices> services = Connected(m_machine, L"root\\wmi");
    ComPtr<IWbemClassObject> event;
    ASSERT_EQ(S_OK, services->GetObject(Bstr{L"zvqBEvnt"}.Get(), 0, nullptr, event.Receive(), nullptr));
    EXPECT_EQ(L"8: WMIEvent __ExtrinsicEvent __Event __IndicationRelated __SystemClass",
              ArrayText(*event.Get(), L"__DERIVATION"));
    EXPECT_EQ(L"VT_BSTR \"WMIEvent\"", Show(*event.Get(), L"__SUPERCLASS"));
    EXPECT_EQ(L"VT_BSTR \"__SystemClass\"", Show(*event.Get(), L"__DYNASTY"));
}

TEST_F(ObjectTests, ObjectsAreFoundByEverySpellingOfTheirPath)
{
    for (const wchar_t* path :
         {L"Zv_Slow.Name=\"a\"", L"zv_slow.NAME='A'", L"Zv_Slow=\"a\"", L"\\\\TROUBLE\\root\\CIMV2:Zv_Slow.Name=\"a\"",
          L"\\\\.\\root\\cimv2:Zv_Slow.Name=\"a\"", L"root\\cimv2:Zv_Slow=\"a\"", L"//./root/cimv2:Zv_Slow.Name=\"a\""})
    {
        EXPECT_EQ(L"VT_BSTR \"a\"", Show(*Object(path).Get(), L"Name")) << path;
    }
    struct Row
    {
        const wchar_t* path;
        const wchar_t* status;
    };
    for (const Row& row :
         {Row{L"Zv_Slow.Name=\"z\"", L"WBEM_E_NOT_FOUND"}, Row{L"None", L"WBEM_E_NOT_FOUND"},
          Row{L"Zv_Slow.Name=\"a\",Other=\"b\"", L"WBEM_E_NOT_FOUND"}, Row{L"Zv_Slow=@", L"WBEM_E_NOT_FOUND"},
          Row{L"None.Name=\"a\"", L"WBEM_E_INVALID_CLASS"}, Row{L"Zv_Slow.Name=\"a", L"WBEM_E_INVALID_OBJECT_PATH"},
          Row{L"Zv_Slow.", L"WBEM_E_INVALID_OBJECT_PATH"}, Row{L"=", L"WBEM_E_INVALID_OBJECT_PATH"},
          Row{L"Zv Slow", L"WBEM_E_INVALID_OBJECT_PATH"},
          Row{L"root\\other:Zv_Slow=\"a\"", L"WBEM_E_INVALID_NAMESPACE"}})
    {
        ComPtr<IWbemClassObject> object;
        EXPECT_EQ(row.status,
                  StatusText(m_services->GetObject(Bstr{row.path}.Get(), 0, nullptr, object.Receive(), nullptr)))
            << row.path;
        EXPECT_FALSE(object);
    }
    ComPtr<IWbemClassObject> empty;
    EXPECT_EQ(S_OK, m_services->GetObject(nullptr, 0, nullptr, empty.Receive(), nullptr)) << "an empty class";
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER),
              m_services->GetObject(Bstr{L"Zv_Slow"}.Get(), 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER),
              m_services->GetObject(Bstr{L"Zv_Slow"}.Get(), WBEM_FLAG_FORWARD_ONLY, nullptr, empty.Receive(), nullptr));
}

TEST_F(ObjectTests, PutConvertsToTheTypeOfTheProperty)
{
    EXPECT_EQ(L"VT_I4 -1", PutLong(L"U32", -1)) << "a VT_I4 carries the bits of a uint32";
    EXPECT_EQ(L"VT_I4 7", PutLong(L"u32", 7));
    EXPECT_EQ(L"VT_I4 65535", PutLong(L"U16", 65535));
    EXPECT_EQ(L"VT_UI1 255", PutLong(L"U8", 255));
    EXPECT_EQ(L"VT_I2 -1", Put(L"C",
                               [](VARIANT& v) {
                                   V_VT(&v) = VT_I2;
                                   V_I2(&v) = -1;
                               }))
        << "a VT_I2 carries the bits of a char16";
    EXPECT_EQ(L"VT_BSTR \"-5\"", PutLong(L"S64", -5));
    EXPECT_EQ(L"VT_BSTR \"18446744073709551615\"", PutText(L"U64", L"18446744073709551615"));
    EXPECT_EQ(L"VT_I4 12", PutText(L"S32", L"12"));
    EXPECT_EQ(L"VT_BSTR \"12\"", PutLong(L"Id", 12));
    EXPECT_EQ(L"VT_BSTR \"\"", PutText(L"Id", L"", CIM_STRING));
    EXPECT_EQ(L"VT_BSTR \"\"", PutText(L"Id", nullptr, CIM_STRING)) << "a null BSTR is an empty text";
    EXPECT_EQ(L"VT_BOOL true", PutLong(L"B", 1));
    EXPECT_EQ(L"VT_R8 2.000000", PutLong(L"R64", 2));
    EXPECT_EQ(L"VT_NULL", Put(L"S32", [](VARIANT& v) { V_VT(&v) = VT_NULL; }));
}

TEST_F(ObjectTests, PutRefusesWhatCannotBeConverted)
{
    const std::wstring mismatch = L"WBEM_E_TYPE_MISMATCH";
    EXPECT_EQ(mismatch, PutLong(L"U8", 256));
    EXPECT_EQ(mismatch, PutLong(L"U16", -1));
    EXPECT_EQ(mismatch, PutLong(L"S8", 128));
    EXPECT_EQ(mismatch, PutText(L"S32", L"twelve"));
    EXPECT_EQ(mismatch, PutText(L"U64", L"-1"));
    EXPECT_EQ(mismatch, PutText(L"B", L"perhaps"));
    EXPECT_EQ(mismatch, PutLong(L"AU8", 1));
    EXPECT_EQ(mismatch, PutLong(L"O", 1));
    EXPECT_EQ(mismatch, PutLong(L"U32", 1, CIM_SINT32)) << "another type than the class's";
    EXPECT_EQ(mismatch, Put(L"S32", [](VARIANT& v) { V_VT(&v) = VT_EMPTY; }));
    EXPECT_EQ(mismatch, Put(L"O", [](VARIANT& v) {
                  V_VT(&v) = VT_UNKNOWN;
                  V_UNKNOWN(&v) = nullptr;
              }));
    EXPECT_EQ(L"WBEM_E_NOT_FOUND", PutLong(L"None", 1));
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", PutLong(L"__CLASS", 1));
    const ComPtr<IWbemClassObject> object = Object(L"Zv_Slow");
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), object->Put(nullptr, 0, nullptr, 0));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), object->Put(L"Name", 1, nullptr, 0));
}

TEST_F(ObjectTests, PutTakesArraysAndEmbeddedObjects)
{
    const auto bytes = [](VARIANT& v) {
        V_VT(&v) = VT_ARRAY | VT_UI1;
        V_ARRAY(&v) = SafeArrayCreateVector(VT_UI1, 0, 3);
        static_cast<BYTE*>(V_ARRAY(&v)->pvData)[0] = 0xAB;
    };
    EXPECT_EQ(L"VT_ARRAY|VT_UI1 [ab 00 00]", Put(L"AU8", bytes));
    EXPECT_EQ(L"WBEM_E_TYPE_MISMATCH", Put(L"S32", bytes));
    EXPECT_EQ(L"VT_NULL", Put(L"AU8",
                              [](VARIANT& v) {
                                  V_VT(&v) = VT_ARRAY | VT_UI1;
                                  V_ARRAY(&v) = nullptr;
                              }))
        << "an array VARIANT without an array is NULL";

    const ComPtr<IWbemClassObject> slow = Object(L"Zv_Slow.Name=\"a\"");
    const ComPtr<IWbemClassObject> other = Object(L"Zv_Broken");
    const auto embed = [](IWbemClassObject* object) {
        return [object](VARIANT& v) {
            V_VT(&v) = VT_UNKNOWN;
            V_UNKNOWN(&v) = object;
            object->AddRef();
        };
    };
    EXPECT_TRUE(Put(L"O", embed(slow.Get())).starts_with(L"VT_UNKNOWN"));
    EXPECT_EQ(L"WBEM_E_TYPE_MISMATCH", Put(L"O", embed(other.Get()))) << "the property holds another class";
}

TEST_F(ObjectTests, AnEmbeddedObjectIsCopiedWhenItIsPut)
{
    ComPtr<IWbemClassObject> holder;
    ASSERT_EQ(S_OK, Object(L"Zv_Types")->SpawnInstance(0, holder.Receive()));
    ComPtr<IWbemClassObject> embedded;
    ASSERT_EQ(S_OK, Object(L"Zv_Slow")->SpawnInstance(0, embedded.Receive()));
    const auto name = [](IWbemClassObject& object, const wchar_t* text) {
        Variant value;
        V_VT(value.Address()) = VT_BSTR;
        V_BSTR(value.Address()) = SysAllocString(text);
        EXPECT_EQ(S_OK, object.Put(L"Name", 0, value.Address(), 0));
    };
    name(*embedded.Get(), L"before");
    {
        Variant value;
        V_VT(value.Address()) = VT_UNKNOWN;
        V_UNKNOWN(value.Address()) = embedded.Get();
        embedded->AddRef();
        ASSERT_EQ(S_OK, holder->Put(L"O", 0, value.Address(), 0));
    }
    name(*embedded.Get(), L"after");
    Variant value;
    ASSERT_EQ(S_OK, holder->Get(L"O", 0, value.Address(), nullptr, nullptr));
    ComPtr<IWbemClassObject> copy;
    ASSERT_EQ(S_OK, V_UNKNOWN(value.Address())->QueryInterface(IID_IWbemClassObject, copy.ReceiveVoid()));
    EXPECT_EQ(L"VT_BSTR \"before\"", Show(*copy.Get(), L"Name"));
}

TEST_F(ObjectTests, ChangingAnInstanceChangesNoOther)
{
    const ComPtr<IWbemClassObject> object = Object(L"Zv_Slow.Name=\"a\"");
    ComPtr<IWbemClassObject> copy;
    ASSERT_EQ(S_OK, object->Clone(copy.Receive()));
    EXPECT_EQ(S_OK, object->CompareTo(0, copy.Get()));
    Variant value;
    V_VT(value.Address()) = VT_BSTR;
    V_BSTR(value.Address()) = SysAllocString(L"changed");
    ASSERT_EQ(S_OK, copy->Put(L"Name", 0, value.Address(), 0));
    EXPECT_EQ(Status(WBEM_S_DIFFERENT), object->CompareTo(0, copy.Get()));
    EXPECT_EQ(L"VT_BSTR \"a\"", Show(*object.Get(), L"Name"));
    EXPECT_EQ(L"VT_BSTR \"a\"", Show(*Object(L"Zv_Slow.Name=\"a\"").Get(), L"Name"));
    EXPECT_EQ(Status(WBEM_S_RESET_TO_DEFAULT), copy->Delete(L"Name"));
    EXPECT_EQ(L"VT_NULL", Show(*copy.Get(), L"Name"));
}

TEST_F(ObjectTests, OnlyAClassSpawnsAndHasMethods)
{
    const ComPtr<IWbemServices> wmi = Connected(m_machine, L"root/wmi");
    ComPtr<IWbemClassObject> definition;
    ASSERT_EQ(S_OK, wmi->GetObject(Bstr{L"zvqBIntM"}.Get(), 0, nullptr, definition.Receive(), nullptr));
    ComPtr<IWbemClassObject> in;
    ComPtr<IWbemClassObject> out;
    EXPECT_EQ(S_OK, definition->GetMethod(L"ZVQBIOSINT4", 0, in.Receive(), out.Receive()));
    EXPECT_EQ(L"VT_BSTR \"__PARAMETERS\"", Show(*in.Get(), L"__CLASS"));
    EXPECT_EQ(L"VT_NULL", Show(*in.Get(), L"InData"));
    EXPECT_EQ(L"VT_NULL", Show(*out.Get(), L"OutData"));
    EXPECT_EQ(Status(WBEM_E_NOT_FOUND), definition->GetMethod(L"zvqBIOSInt5", 0, nullptr, nullptr));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), definition->GetMethod(nullptr, 0, nullptr, nullptr));

    ComPtr<IWbemClassObject> instance;
    ASSERT_EQ(S_OK, definition->SpawnInstance(0, instance.Receive()));
    ComPtr<IWbemClassObject> none;
    EXPECT_EQ(Status(WBEM_E_INVALID_OPERATION), instance->SpawnInstance(0, none.Receive()));
    EXPECT_EQ(Status(WBEM_E_ILLEGAL_OPERATION), instance->GetMethod(L"zvqBIOSInt4", 0, none.Receive(), nullptr));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), definition->SpawnInstance(1, none.Receive()));

    ASSERT_EQ(S_OK, definition->BeginMethodEnumeration(0));
    int methods = 0;
    for (BSTR name = nullptr; definition->NextMethod(0, &name, nullptr, nullptr) == S_OK; ++methods)
    {
        SysFreeString(name);
    }
    EXPECT_EQ(5, methods);
    EXPECT_EQ(S_OK, definition->EndMethodEnumeration());
    EXPECT_EQ(Status(WBEM_E_UNEXPECTED), definition->NextMethod(0, nullptr, nullptr, nullptr));
}

TEST_F(ObjectTests, NamesAreListedAndEnumerated)
{
    const ComPtr<IWbemServices> wmi = Connected(m_machine, L"root/wmi");
    ComPtr<IWbemClassObject> object;
    ASSERT_EQ(S_OK, wmi->GetObject(Bstr{L"zvqBIntM"}.Get(), 0, nullptr, object.Receive(), nullptr));
    const auto count = [&](LONG flags) {
        SAFEARRAY* names = nullptr;
        EXPECT_EQ(S_OK, object->GetNames(nullptr, flags, nullptr, &names));
        const ULONG result = names->rgsabound[0].cElements;
        SafeArrayDestroy(names);
        return result;
    };
    EXPECT_EQ(12U, count(WBEM_FLAG_ALWAYS));
    EXPECT_EQ(2U, count(WBEM_FLAG_NONSYSTEM_ONLY));
    EXPECT_EQ(10U, count(WBEM_FLAG_SYSTEM_ONLY));
    EXPECT_EQ(2U, count(WBEM_FLAG_LOCAL_ONLY));
    EXPECT_EQ(0U, count(WBEM_FLAG_PROPAGATED_ONLY));
    EXPECT_EQ(1U, count(WBEM_FLAG_KEYS_ONLY));

    ASSERT_EQ(S_OK, object->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY));
    std::wstring seen;
    for (;;)
    {
        BSTR name = nullptr;
        Variant value;
        CIMTYPE type = 0;
        const HRESULT hr = object->Next(0, &name, value.Address(), &type, nullptr);
        if (hr != S_OK)
        {
            EXPECT_EQ(Status(WBEM_S_NO_MORE_DATA), hr);
            break;
        }
        seen += std::wstring{name} + L":" + std::to_wstring(type) + L" ";
        SysFreeString(name);
    }
    EXPECT_EQ(L"InstanceName:8 Active:11 ", seen);
    EXPECT_EQ(S_OK, object->EndEnumeration());
    EXPECT_EQ(Status(WBEM_E_UNEXPECTED), object->Next(0, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(ObjectTests, TheTextOfAnInstanceIsMofWithoutItsNulls)
{
    const auto text = [](IWbemClassObject& object) {
        BSTR result = nullptr;
        EXPECT_EQ(S_OK, object.GetObjectText(0, &result));
        const std::wstring copy = result;
        SysFreeString(result);
        return copy;
    };
    EXPECT_EQ(L"\ninstance of Zv_Types\n{\n\tId = \"null\";\n};\n", text(*Object(L"Zv_Types=\"null\"").Get()));
    const std::wstring greatest = text(*Object(L"Zv_Types=\"greatest\"").Get());
    for (const wchar_t* line : {L"\tU32 = 4294967295;\n", L"\tU64 = \"18446744073709551615\";\n", L"\tR32 = 0.5;\n",
                                L"\tB = TRUE;\n", L"\tRef = \"Zv_Slow.Name=\\\"b\\\"\";\n", L"\tAU8 = {255, 0};\n",
                                L"\tAS = {\"text \\\"quoted\\\"\", \"back\\\\slash\"};\n", L"\tAD = {};\n",
                                L"\tAB = {TRUE, FALSE};\n", L"\tO = \ninstance of Zv_Slow\n{\n\tName = \"y\";\n};\n"})
    {
        EXPECT_NE(std::wstring::npos, greatest.find(line)) << line << greatest;
    }
    const ComPtr<IWbemServices> settings = Connected(m_machine, L"root/ZV/InstrumentedBIOS");
    ComPtr<IWbemClassObject> definition;
    ASSERT_EQ(S_OK, settings->GetObject(Bstr{L"ZVBIOS_BIOSSettingInterface"}.Get(), 0, nullptr, definition.Receive(),
                                        nullptr));
    EXPECT_EQ(
        L"\nclass ZVBIOS_BIOSSettingInterface\n{\n\t[key] string InstanceName;\n\tvoid SetBIOSSetting([in] string "
        L"Name, [in] string Value, [in] string Password, [out] string Return);\n\tvoid SetSystemDefaults([in] string "
        L"Password, [out] sint32 Return);\n};\n",
        text(*definition.Get()));
    BSTR none = nullptr;
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), definition->GetObjectText(2, &none));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), definition->GetObjectText(0, nullptr));
}

TEST_F(ObjectTests, GetLooksAtItsArguments)
{
    const ComPtr<IWbemClassObject> object = Object(L"Zv_Slow");
    Variant value;
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), object->Get(nullptr, 0, value.Address(), nullptr, nullptr));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), object->Get(L"Name", 1, value.Address(), nullptr, nullptr));
    EXPECT_EQ(Status(WBEM_E_NOT_FOUND), object->Get(L"Nobody", 0, value.Address(), nullptr, nullptr));
    EXPECT_EQ(S_OK, object->Get(L"Name", 0, nullptr, nullptr, nullptr)) << "nobody needs the value";
    EXPECT_EQ(S_OK, object->InheritsFrom(L"zv_slow"));
    EXPECT_EQ(Status(WBEM_S_FALSE), object->InheritsFrom(L"Zv_Types"));
}

} // namespace Zv::Testing
