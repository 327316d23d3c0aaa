// The request records of functions 16, 32, 64, 128 and 256: texts in their order.

#include "Tests/Records/RecordTest.h"
#include "Tests/Support/ScriptedSettings.h"

#include <optional>

namespace
{

using namespace Zv::Testing;

struct RequiredKey
{
    unsigned int function;
    const char* record;
    const wchar_t* key;
    const char* logName;
    int code;
    // The request around the key's member, as "before" + member + "after".
    const wchar_t* before;
    const wchar_t* after;
};

constexpr char Property[] = "ReadGetWmiPropertyValueParamsJason";
constexpr char Setting[] = "ReadSetBiosSettingParamsJason";
constexpr char Defaults[] = "ReadSetBiosSystemDefaultsParamsJason";
constexpr char ClassText[] = "ReadGetWmiClassObjectTextParamsJason";

constexpr wchar_t OfProperty[] = LR"("property":"P")";
constexpr wchar_t WithClass[] = LR"("property":"P","filter":"F","wmiClass":"C")";

// The keys that stand before the one under test are usable, those after it as well.
constexpr RequiredKey Keys[] = {
    {16, Property, L"property", "property", 0x2000000c, L"", LR"("wmiClass":"C","filter":"F","wmiNamespace":"N")"},
    {32, Property, L"property", "property", 0x2000000c, L"", LR"("wmiClass":"C","filter":"F","wmiNamespace":"N")"},
    {16, Property, L"wmiClass", "wmiClassName", 0x2000000e, OfProperty, LR"("filter":"F","wmiNamespace":"N")"},
    {32, Property, L"wmiClass", "wmiClassName", 0x2000000e, OfProperty, LR"("filter":"F","wmiNamespace":"N")"},
    {16, Property, L"wmiNamespace", "wmiNamespace", 0x20000011, WithClass, L""},
    {32, Property, L"wmiNamespace", "wmiNamespace", 0x20000011, WithClass, L""},
    {64, Setting, L"name", "name", 0x20000014, L"", LR"("value":"V","password":"W")"},
    {64, Setting, L"value", "value", 0x20000015, LR"("name":"N")", LR"("password":"W")"},
    {256, ClassText, L"wmiClass", "wmiClassName", 0x2000000e, L"", LR"("filter":"F","wmiNamespace":"N")"},
    {256, ClassText, L"wmiNamespace", "wmiNamespace", 0x20000011, LR"("filter":"F","wmiClass":"C")", L""},
};

void PrintTo(const RequiredKey& key, std::ostream* stream)
{
    *stream << key.record << " " << Narrow(key.key) << " of " << key.function;
}

class RequiredText : public RecordTest, public ::testing::WithParamInterface<RequiredKey>
{
protected:
    // Runs the command with the member given as the key's value; an empty one leaves it out.
    Reply RunWith(const std::wstring& value)
    {
        const RequiredKey& key = GetParam();
        std::wstring request{key.before};
        const auto add = [&request](const std::wstring& member) {
            if (!member.empty())
            {
                request += (request.empty() ? L"" : L",") + member;
            }
        };
        add(value.empty() ? L"" : L"\"" + std::wstring{key.key} + L"\":" + value);
        add(key.after);
        transcript.Clear();
        return Run(key.function, (L"{" + request + L"}").c_str());
    }

    static LogLine Refusal() { return Refused(GetParam().record, GetParam().logName); }
};

TEST_P(RequiredText, IsMissed)
{
    const Reply reply = RunWith(L"");

    EXPECT_EQ(reply.code, GetParam().code);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), (std::vector{MissingKey(GetParam().key), Refusal()}));
}

TEST_P(RequiredText, MustNotBeNull)
{
    EXPECT_EQ(RunWith(L"null").code, GetParam().code);

    EXPECT_EQ(Log(), (std::vector{NullValue(GetParam().key), Refusal()}));
}

TEST_P(RequiredText, MustBeAString)
{
    EXPECT_EQ(RunWith(L"5").code, GetParam().code);

    EXPECT_EQ(Log(), (std::vector{WrongType(GetParam().key, 5, 6), Refusal()}));
}

TEST_P(RequiredText, MustNotBeEmpty)
{
    EXPECT_EQ(RunWith(L"\"\"").code, GetParam().code);

    EXPECT_EQ(Log(), std::vector{Refusal()});
}

TEST_P(RequiredText, EndsTheReadingWhenItIsRefused)
{
    RunWith(L"[]");

    EXPECT_EQ(Log().size(), 2u) << "no line about a later key";
    EXPECT_TRUE(transcript.Calls().empty()) << "no call of the platform";
}

TEST_P(RequiredText, MayBeLong)
{
    EXPECT_NE(RunWith(L"\"" + std::wstring(5000, L'x') + L"\"").code, GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(EachKey, RequiredText, ::testing::ValuesIn(Keys));

class OptionalText : public RecordTest
{
protected:
    OptionalText()
    {
        wmi->script[L"N"].instances[L"C"] = {{Instance(L"C", {{L"P", Value::Int(1)}}, L"text")}};
        settings.emplace(wmi->script);
    }

    std::vector<std::wstring> Query(unsigned int function, const wchar_t* filter)
    {
        transcript.Clear();
        const std::wstring request =
            LR"({"property":"P","wmiClass":"C","wmiNamespace":"N")" + std::wstring{filter} + L"}";
        Run(function, request.c_str());
        return transcript.Of({L"IWbemServices::ExecQuery"});
    }

    static std::vector<std::wstring> Executed(const wchar_t* query)
    {
        return {L"IWbemServices::ExecQuery(\"WQL\", \"" + std::wstring{query} + L"\", 48, null) = 0x00000000"};
    }

    std::vector<std::wstring> PutPassword(unsigned int function, const wchar_t* password)
    {
        transcript.Clear();
        const std::wstring request = LR"({"name":"N","value":"V")" + std::wstring{password} + L"}";
        EXPECT_EQ(Run(function, request.c_str()).code, 0);
        return transcript.Of({Input(function) + L"::Put(\"Password\""});
    }

    static std::vector<std::wstring> Put(unsigned int function, const wchar_t* value)
    {
        return {Input(function) + L"::Put(\"Password\", 0, VT_BSTR " + value + L", 8) = 0x00000000"};
    }

private:
    // The method's input parameters, as the transcript names them.
    static std::wstring Input(unsigned int function)
    {
        return function == 64 ? L"new SetBIOSSetting" : L"new SetSystemDefaults";
    }

    std::optional<ScriptedSettings> settings;
};

TEST_F(OptionalText, FilterThatIsGivenBecomesTheWhereClause)
{
    for (const unsigned int function : {16u, 32u, 256u})
    {
        EXPECT_EQ(Query(function, LR"(,"filter":"A = 1")"), Executed(L"SELECT * FROM C WHERE A = 1"));
        EXPECT_EQ(Log().size(), 1u) << "the enumeration's, of a query that is not scripted";
    }
}

TEST_F(OptionalText, FilterThatIsMissingIsNoneAndNamed)
{
    for (const unsigned int function : {16u, 32u, 256u})
    {
        EXPECT_EQ(Query(function, L""), Executed(L"SELECT * FROM C"));
        EXPECT_EQ(Log(), std::vector{MissingKey(L"filter")});
    }
}

TEST_F(OptionalText, FilterThatIsNullIsNoneAndNamed)
{
    EXPECT_EQ(Query(16, LR"(,"filter":null)"), Executed(L"SELECT * FROM C"));
    EXPECT_EQ(Log(), std::vector{NullValue(L"filter")});
}

TEST_F(OptionalText, FilterThatIsNoStringIsNoneAndNamed)
{
    EXPECT_EQ(Query(16, LR"(,"filter":7)"), Executed(L"SELECT * FROM C"));
    EXPECT_EQ(Log(), std::vector{WrongType(L"filter", 5, 6)});
}

TEST_F(OptionalText, FilterThatIsEmptyIsNoneWithoutALine)
{
    EXPECT_EQ(Query(16, LR"(,"filter":"")"), Executed(L"SELECT * FROM C"));
    EXPECT_TRUE(Log().empty());
}

TEST_F(OptionalText, FilterIsReadBetweenClassAndNamespace)
{
    Run(16, LR"({"property":"P","wmiClass":"C"})");

    EXPECT_EQ(Log(),
              (std::vector{MissingKey(L"filter"), MissingKey(L"wmiNamespace"), Refused(Property, "wmiNamespace")}));
}

TEST_F(OptionalText, PasswordThatIsGivenIsPutAndNotLogged)
{
    for (const unsigned int function : {64u, 128u})
    {
        EXPECT_EQ(PutPassword(function, LR"(,"password":"secret")"), Put(function, L"\"secret\""));
        EXPECT_TRUE(Log().empty());
    }
}

TEST_F(OptionalText, PasswordThatIsMissingIsNullAndNamedTwice)
{
    EXPECT_EQ(PutPassword(64, L""), Put(64, L"null"));
    EXPECT_EQ(Log(), (std::vector{MissingKey(L"password"), Refused(Setting, "password")}));

    EXPECT_EQ(PutPassword(128, L""), Put(128, L"null"));
    EXPECT_EQ(Log(), (std::vector{MissingKey(L"password"), Refused(Defaults, "password")}));
}

TEST_F(OptionalText, PasswordThatIsNullIsNullAndNamedTwice)
{
    EXPECT_EQ(PutPassword(64, LR"(,"password":null)"), Put(64, L"null"));
    EXPECT_EQ(Log(), (std::vector{NullValue(L"password"), Refused(Setting, "password")}));
}

TEST_F(OptionalText, PasswordThatIsNoStringIsTreatedAsMissing)
{
    EXPECT_EQ(PutPassword(128, LR"(,"password":123)"), Put(128, L"null"));
    EXPECT_EQ(Log(), (std::vector{WrongType(L"password", 5, 6), Refused(Defaults, "password")}));
}

TEST_F(OptionalText, PasswordThatIsEmptyStaysEmpty)
{
    EXPECT_EQ(PutPassword(64, LR"(,"password":"")"), Put(64, L"\"\""));
    EXPECT_TRUE(Log().empty());
}

} // namespace
