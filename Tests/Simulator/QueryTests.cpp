// What queries answer: the text after WHERE, and the rows or the status that come of it.
#include "Tests/Simulator/Client.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Wql/WqlFilter.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{

using Simulator::Machine;
using Simulator::Status;

namespace
{

constexpr const char* People = R"({
  "version": 1, "name": "m", "namespaces": [{"path": "root/cimv2", "classes": [{
    "name": "P",
    "properties": {
      "Name": {"type": "string", "key": true}, "Age": "uint8", "Debt": "sint32", "Bytes": "uint64", "Tall": "boolean",
      "Weight": "real64", "Born": "datetime", "Tags": "string[]", "Home": "object:H"},
    "instances": [
      {"Name": "Ann", "Age": 30, "Debt": -5, "Bytes": 18446744073709551615, "Tall": true, "Weight": 61.5,
       "Born": "19940305080112.500000+060", "Tags": ["a"], "Home": {"City": "Ulm"}},
      {"Name": "bob", "Age": 41, "Debt": 70000, "Bytes": 0, "Tall": false, "Weight": 80},
      {"Name": "C_%]", "Age": 200, "Debt": 0},
      {"Name": "Null"}]},
   {"name": "H", "properties": {"City": "string"}}]}]})";

struct Row
{
    const wchar_t* condition;
    const wchar_t* names; // of the rows, blank-separated; or the status
};

std::wstring NamesOf(IWbemServices& services, const std::wstring& query)
{
    std::wstring names;
    for (const std::wstring& cell : Column(services, query.c_str(), L"Name"))
    {
        const bool isText = cell.starts_with(L"VT_BSTR \"");
        names += (names.empty() ? L"" : L" ") + (isText ? cell.substr(9, cell.size() - 10) : cell);
    }
    return names;
}

} // namespace

class QueryTests : public testing::Test
{
protected:
    Machine m_machine = Machine::Parse(People);
    ComPtr<IWbemServices> m_services = Connected(m_machine, L"root/cimv2");
};

TEST_F(QueryTests, ConditionsChooseRows)
{
    constexpr Row rows[] = {
        {L"Name = 'Ann'", L"Ann"},
        {L"Name = \"ANN\"", L"Ann"},
        {L"NAME='ann'", L"Ann"},
        {L"'Ann' = Name", L"Ann"},
        {L"Name <> 'Ann'", L"bob C_%] Null"},
        {L"Name != 'Ann'", L"bob C_%] Null"},
        {L"Name < 'bob'", L"Ann"},
        {L"Name >= 'C'", L"C_%] Null"},
        {L"Age = 30", L"Ann"},
        {L"Age = '30'", L"Ann"},
        {L"Age > 30", L"bob C_%]"},
        {L"30 < Age", L"bob C_%]"},
        {L"Age >= 41 AND Age <= 200", L"bob C_%]"},
        {L"Age <> 30", L"bob C_%]"},
        {L"Age = 300", L""},
        {L"Age > -1", L"Ann bob C_%]"},
        {L"Debt = -5", L"Ann"},
        {L"Debt < 0", L"Ann"},
        {L"Bytes = 18446744073709551615", L"Ann"},
        {L"Bytes > 9223372036854775807", L"Ann"},
        {L"Bytes = '0'", L"bob"},
        {L"Tall = TRUE", L"Ann"},
        {L"Tall = false", L"bob"},
        {L"Tall <> TRUE", L"bob"},
        {L"Tall = 1", L"Ann"},
        {L"Tall = 'true'", L"Ann"},
        {L"Weight > 61.4 AND Weight < 80.5", L"Ann bob"},
        {L"Weight = 80", L"bob"},
        {L"Born > '19940101'", L"Ann"},
        {L"Age IS NULL", L"Null"},
        {L"Age = NULL", L"Null"},
        {L"Age IS NOT NULL", L"Ann bob C_%]"},
        {L"Age <> NULL", L"Ann bob C_%]"},
        {L"Tags IS NULL", L"bob C_%] Null"},
        {L"NOT Age = 30", L"bob C_%] Null"},
        {L"NOT (Age = 30 OR Age = 41)", L"C_%] Null"},
        {L"NOT NOT Age = 30", L"Ann"},
        {L"Age = 30 OR Age = 41 AND Name = 'nobody'", L"Ann"},
        {L"(Age = 30 OR Age = 41) AND Name = 'nobody'", L""},
        {L"not(age=30)and name<>'bob'", L"C_%] Null"},
        {L"Name LIKE 'a%'", L"Ann"},
        {L"Name LIKE '%n%'", L"Ann Null"},
        {L"Name LIKE '_o_'", L"bob"},
        {L"Name LIKE '[a-b]%'", L"Ann bob"},
        {L"Name LIKE '[^a-b]%'", L"C_%] Null"},
        {L"Name LIKE '%[_][%]%'", L"C_%]"},
        {L"Name LIKE 'ann'", L"Ann"},
        {L"Name LIKE ''", L""},
        {L"Name LIKE '%'", L"Ann bob C_%] Null"},
        {L"NOT Name LIKE '%n%'", L"bob C_%]"},
        {L"__CLASS = 'p'", L"Ann bob C_%] Null"},
        {L"__RELPATH = 'P.Name=\"Ann\"'", L"Ann"},
        {L"Home ISA 'H'", L"Ann"},
        {L"Home.City = 'ulm'", L"Ann"},
        {L"__this ISA 'P'", L"Ann bob C_%] Null"},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(row.names, NamesOf(*m_services.Get(), std::wstring{L"SELECT * FROM P WHERE "} + row.condition))
            << row.condition;
    }
}

TEST_F(QueryTests, ABadQueryIsReportedByNext)
{
    constexpr Row rows[] = {
        {L"SELECT * FROM None", L"WBEM_E_INVALID_CLASS"},
        {L"SELECT * FROM None WHERE a = 1", L"WBEM_E_INVALID_CLASS"},
        {L"SELECT * FROM", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT FROM P", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT *", L"WBEM_E_INVALID_QUERY"},
        {L"UPDATE P", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P.Q", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P, H", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name =", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name = Ann", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name = 'Ann", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE (Name = 'Ann'", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name = 'Ann')", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name == 'Ann'", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name = 'Ann' AND", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name = 'Ann' Age = 30", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name LIKE 5", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Age LIKE '3%'", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Tags = 'a'", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name = 5", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Age = 'thirty'", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Age = 3x", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Tall > FALSE", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name < NULL", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name IS 'Ann'", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Nobody = 1", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT Nobody FROM P", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WHERE Name = 'a' ; SELECT * FROM P", L"WBEM_E_INVALID_QUERY"},
        {L"SELECT * FROM P WITHIN 2", L"WBEM_E_INVALID_QUERY"},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(row.names, NamesOf(*m_services.Get(), row.condition)) << row.condition;
        ComPtr<IEnumWbemClassObject> enumerator;
        EXPECT_EQ(row.names, StatusText(Query(*m_services.Get(), row.condition, 0, enumerator)))
            << "a query that is waited for reports at once: " << row.condition;
        EXPECT_FALSE(enumerator) << row.condition;
    }
}

TEST_F(QueryTests, ABadCallIsReportedAtOnce)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    const auto query = [&](const wchar_t* language, const wchar_t* text, LONG flags) {
        const HRESULT hr =
            m_services->ExecQuery(language == nullptr ? nullptr : Bstr{language}.Get(),
                                  text == nullptr ? nullptr : Bstr{text}.Get(), flags, nullptr, enumerator.Receive());
        EXPECT_FALSE(enumerator);
        return StatusText(hr);
    };
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", query(L"WQL", nullptr, 0x30));
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", query(L"WQL", L"", 0x30));
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", query(L"SQL", L"", 0x30)) << "before the language is looked at";
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", query(nullptr, L"SELECT * FROM P", 0x30));
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", query(L"WQL", L"SELECT * FROM P", 0x8));
    EXPECT_EQ(L"WBEM_E_INVALID_QUERY_TYPE", query(L"SQL", L"SELECT * FROM P", 0x30));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER),
              m_services->ExecQuery(Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM P"}.Get(), 0, nullptr, nullptr));
}

TEST_F(QueryTests, OnlyTheChosenPropertiesArrive)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, Query(*m_services.Get(), L"select age, NAME from p where Age = 30", SemiSynchronous, enumerator));
    ComPtr<IWbemClassObject> object;
    ASSERT_EQ(S_OK, Next(*enumerator.Get(), object));
    EXPECT_EQ(L"VT_UI1 30", Show(*object.Get(), L"Age"));
    EXPECT_EQ(L"WBEM_E_NOT_FOUND", Show(*object.Get(), L"Debt"));
    EXPECT_EQ(L"VT_I4 2", Show(*object.Get(), L"__PROPERTY_COUNT"));
    EXPECT_EQ(L"VT_BSTR \"P.Name=\"Ann\"\"", Show(*object.Get(), L"__RELPATH")) << "its key was chosen";
    EXPECT_EQ(L"VT_NULL", Show(*object.Get(), L"__PATH"));

    enumerator.Reset();
    object.Reset();
    ASSERT_EQ(S_OK, Query(*m_services.Get(), L"SELECT Age, __CLASS FROM P", SemiSynchronous, enumerator));
    ASSERT_EQ(S_OK, Next(*enumerator.Get(), object));
    EXPECT_EQ(L"VT_NULL", Show(*object.Get(), L"__PATH")) << "without its key an instance has no path";
}

TEST_F(QueryTests, AnEnumeratorFetchesSkipsAndStartsAgain)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, Query(*m_services.Get(), L"SELECT * FROM P", 0, enumerator));
    ComPtr<IWbemClassObject> first;
    ComPtr<IWbemClassObject> second;
    IWbemClassObject* objects[3] = {};
    ULONG returned = 0;
    EXPECT_EQ(S_OK, enumerator->Skip(0, 2));
    EXPECT_EQ(Status(WBEM_S_FALSE), enumerator->Next(0, 3, objects, &returned)) << "fewer than asked for";
    ASSERT_EQ(2U, returned);
    EXPECT_EQ(nullptr, objects[2]);
    first = ComPtr<IWbemClassObject>{objects[0]};
    second = ComPtr<IWbemClassObject>{objects[1]};
    EXPECT_EQ(L"VT_BSTR \"Null\"", Show(*second.Get(), L"Name"));
    EXPECT_EQ(Status(WBEM_S_FALSE), enumerator->Skip(0, 1));
    ComPtr<IEnumWbemClassObject> copy;
    EXPECT_EQ(S_OK, enumerator->Clone(copy.Receive()));
    EXPECT_EQ(S_OK, enumerator->Reset());
    EXPECT_EQ(S_OK, enumerator->Skip(0, 4));
    EXPECT_EQ(Status(WBEM_S_FALSE), enumerator->Next(-1, 1, objects, &returned));
    EXPECT_EQ(Status(WBEM_S_FALSE), copy->Next(-1, 1, objects, &returned)) << "the copy stands where it was made";
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), enumerator->Next(-1, 1, nullptr, &returned));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), enumerator->Next(-1, 1, objects, nullptr));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), enumerator->Next(-2, 1, objects, &returned));
}

TEST_F(QueryTests, AForwardOnlyEnumeratorOnlyGoesForward)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, Query(*m_services.Get(), L"SELECT * FROM P", SemiSynchronous, enumerator));
    ComPtr<IEnumWbemClassObject> copy;
    EXPECT_EQ(Status(WBEM_E_INVALID_OPERATION), enumerator->Reset());
    EXPECT_EQ(Status(WBEM_E_INVALID_OPERATION), enumerator->Clone(copy.Receive()));
}

TEST_F(QueryTests, InstancesAreEnumeratedByClass)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, m_services->CreateInstanceEnum(Bstr{L"p"}.Get(), SemiSynchronous, nullptr, enumerator.Receive()));
    ComPtr<IWbemClassObject> object;
    EXPECT_EQ(S_OK, Next(*enumerator.Get(), object));
    enumerator.Reset();
    object.Reset();
    EXPECT_EQ(S_OK,
              m_services->CreateInstanceEnum(Bstr{L"none"}.Get(), SemiSynchronous, nullptr, enumerator.Receive()));
    EXPECT_EQ(Status(WBEM_E_INVALID_CLASS), Next(*enumerator.Get(), object));
    enumerator.Reset();
    EXPECT_EQ(Status(WBEM_E_INVALID_CLASS),
              m_services->CreateInstanceEnum(Bstr{L"none"}.Get(), 0, nullptr, enumerator.Receive()));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER),
              m_services->CreateInstanceEnum(Bstr{L""}.Get(), 0, nullptr, enumerator.Receive()));
}

TEST_F(QueryTests, ClassesAndNamespacesAreEnumeratedToo)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, m_services->CreateClassEnum(nullptr, SemiSynchronous, nullptr, enumerator.Receive()));
    std::vector<std::wstring> names;
    for (;;)
    {
        ComPtr<IWbemClassObject> object;
        if (Next(*enumerator.Get(), object) != S_OK)
        {
            break;
        }
        names.push_back(Show(*object.Get(), L"__CLASS"));
        EXPECT_EQ(L"VT_I4 1", Show(*object.Get(), L"__GENUS"));
    }
    EXPECT_EQ((std::vector<std::wstring>{L"VT_BSTR \"__NAMESPACE\"", L"VT_BSTR \"P\"", L"VT_BSTR \"H\""}), names);
    const ComPtr<IWbemServices> root = Connected(m_machine, L"root");
    EXPECT_EQ(L"cimv2", NamesOf(*root.Get(), L"SELECT * FROM __NAMESPACE"));
}

TEST_F(QueryTests, DeepQueriesAreRefusedAndLongOnesAreNot)
{
    const std::wstring many(100000, L'(');
    EXPECT_EQ(L"WBEM_E_INVALID_QUERY", NamesOf(*m_services.Get(), L"SELECT * FROM P WHERE " + many));
    std::wstring nots;
    std::wstring ands = L"Age = 30";
    for (int i = 0; i < 20000; ++i)
    {
        nots += L"NOT ";
        ands += L" AND Age = 30";
    }
    EXPECT_EQ(L"WBEM_E_INVALID_QUERY", NamesOf(*m_services.Get(), L"SELECT * FROM P WHERE " + nots + L"Age = 30"));
    EXPECT_EQ(L"Ann", NamesOf(*m_services.Get(), L"SELECT * FROM P WHERE " + ands)) << "long, but not deep";
}

TEST(LikeTests, PatternsMatchAsInWql)
{
    using Simulator::MatchesLike;
    EXPECT_TRUE(MatchesLike(L"", L""));
    EXPECT_TRUE(MatchesLike(L"", L"%"));
    EXPECT_FALSE(MatchesLike(L"", L"_"));
    EXPECT_TRUE(MatchesLike(L"abc", L"a%c"));
    EXPECT_TRUE(MatchesLike(L"abcbc", L"a%bc"));
    EXPECT_FALSE(MatchesLike(L"abcb", L"a%bc"));
    EXPECT_TRUE(MatchesLike(L"abc", L"%%%"));
    EXPECT_TRUE(MatchesLike(L"a]c", L"a]c"));
    EXPECT_TRUE(MatchesLike(L"a[c", L"a[c")) << "a set that never closes is a plain character";
    EXPECT_TRUE(MatchesLike(L"\x00C4", L"\x00E4")) << "without case, beyond ASCII too";
    EXPECT_TRUE(MatchesLike(std::wstring(2000, L'a') + L"b", L"%a%a%a%b"));
}

} // namespace Zv::Testing
