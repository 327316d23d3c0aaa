#include "Tests/Simulator/BadDescriptions.h"
#include "Tests/Simulator/Client.h"

#include "Simulator/Description/DescriptionError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <system_error>

namespace Zv::Testing
{

using Simulator::Machine;

namespace
{

void Check(const BadDescription& bad)
{
    SCOPED_TRACE(bad.name);
    const std::size_t mark = bad.marked.find('$');
    ASSERT_NE(std::string::npos, mark);
    const std::string text = bad.Text();
    const std::string before = text.substr(0, mark);
    const auto line = static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1;
    const auto column =
        static_cast<int>(mark - (before.rfind('\n') == std::string::npos ? 0 : before.rfind('\n') + 1)) + 1;
    try
    {
        static_cast<void>(Machine::Parse(text));
        ADD_FAILURE() << "accepted: " << text;
    }
    catch (const Simulator::DescriptionError& error)
    {
        EXPECT_EQ(line, error.line) << error.what();
        EXPECT_EQ(column, error.column) << error.what();
        EXPECT_EQ(bad.expectation, error.message.substr(0, bad.expectation.size()));
    }
}

} // namespace

TEST(DescriptionTests, MalformedJsonIsReportedWhereItIs)
{
    Check(BadDescription{"Nothing", "$", "malformed JSON: The document is empty."});
    Check(BadDescription{"NoComma", "{\"version\": 1\n  $\"name\": 2}",
                         "malformed JSON: Missing a comma or '}' after an object member."});
    Check(BadDescription{"OpenText", "{\"version\": \"1$",
                         "malformed JSON: Missing a closing quotation mark in string."});
    Check(BadDescription{"TrailingText", "{\"version\": 1} $x",
                         "malformed JSON: The document root must not be followed by other values."});
    Check(BadDescription{"ZeroCharacter", std::string{"{\"version\": 1}$"} + '\0' + "x",
                         "malformed JSON: expected the end of the text"});
    Check(BadDescription{"Literal", "{\"version\": n$il}", "malformed JSON: Invalid value."});
    Check(BadDescription{"InvalidUtf8", "{\"version\": \"$\xff\"}", "malformed JSON: Invalid encoding in string."});
    Check(BadDescription{"Comment", "{\"version\": 1, $// first\n}",
                         "malformed JSON: Missing a name for object member. JSON has no comments: write a member "
                         "\"note\"."});
    Check(BadDescription{"SingleQuotes", "{$'version': 1}",
                         "malformed JSON: Missing a name for object member. Texts stand in double quotes."});
    Check(BadDescription{"TrailingComma", "{\"version\": 1,\n$}",
                         "malformed JSON: Missing a name for object member. Is the comma before it one too many?"});
    Check(BadDescription{"Utf16", std::string{"$\xff\xfe{\0", 5}, "malformed JSON: expected UTF-8, found UTF-16"});
    Check(BadDescription{"Depth", std::string(100, '[') + "$[", "expected at most 100 levels of nesting"});
    Check(BadDescription{"RepeatedKey", "{\"version\": 1, \"name\": \"a\",\n\t$\"name\": \"b\"}",
                         "expected each key once, found \"name\" again"});
}

TEST(DescriptionTests, EveryStructuralMistakeIsReportedWhereItIs)
{
    for (const BadDescription& bad : StructuralMistakes())
    {
        Check(bad);
    }
}

TEST(DescriptionTests, EveryMistakeOfMeaningIsReportedWhereItIs)
{
    const auto twoClasses = [](const std::string& second) {
        return "{\"version\": 1, \"name\": \"m\", \"namespaces\": [{\"path\": \"root/a\", \"classes\": [\n  {\"name\": "
               "\"C\"},\n  " +
               second + "]}]}";
    };
    Check(BadDescription{"VersionAsReal", "{\"version\": $1.0}", "expected version 1, found the number 1.0"});
    Check(BadDescription{"RepeatedClass", twoClasses("{\"name\": $\"c\"}"),
                         "expected a class name that this namespace does not have yet, found \"c\""});
    Check(BadDescription{
        "RepeatedNamespace",
        "{\"version\": 1, \"name\": \"m\", \"namespaces\": [{\"path\": \"root/a\", \"classes\": []},\n{\"path\": "
        "$\"ROOT\\\\A\", \"classes\": []}]}",
        "expected a namespace that this machine does not have yet"});
    Check(
        BadDescription{"NamespacePath",
                       "{\"version\": 1, \"name\": \"m\", \"namespaces\": [{\"path\": $\"root//a\", \"classes\": []}]}",
                       "expected a namespace path such as \"root\\\\wmi\", found \"root//a\""});
    Check(BadDescription{"RepeatedProperty", InClass("\"properties\": {\"A\": \"string\", $\"a\": \"string\"}"),
                         "expected each property once, found \"a\" again"});
    Check(BadDescription{"RepeatedMethod", InClass("\"methods\": {\"A\": {}, $\"a\": {}}"),
                         "expected each method once, found \"a\" again"});
    Check(BadDescription{"UnknownEmbeddedClass", InClass("\"properties\": {\"A\": $\"object:None\"}"),
                         "expected a type that names a class of this namespace, found \"object:None\""});
    Check(BadDescription{"UnknownParameterClass", InClass("\"methods\": {\"M\": {\"in\": {\"A\": $\"object:None\"}}}"),
                         "expected a type that names a class of this namespace, found \"object:None\""});
    Check(BadDescription{"UnknownProperty",
                         InClass("\"properties\": {\"A\": \"string\"}, \"instances\": [{$\"B\": 1}]"),
                         "expected a property of class \"C\", found \"B\""});
    Check(BadDescription{"WrongValueType", InClass("\"properties\": {\"A\": \"string\"}, \"instances\": [{\"A\": $1}]"),
                         "expected a value of type string for \"A\", found the number 1"});
    Check(BadDescription{
        "NumberTooLarge", InClass("\"properties\": {\"A\": \"uint8\"}, \"instances\": [{\"A\": $256}]"),
        "expected a value of type uint8 (a whole number from 0 to 255) for \"A\", found the number 256"});
    Check(BadDescription{"NumberTooLarge64",
                         InClass("\"properties\": {\"A\": \"sint64\"}, \"instances\": [{\"A\": $9223372036854775808}]"),
                         "expected a value of type sint64"});
    Check(BadDescription{"ScalarForArray",
                         InClass("\"properties\": {\"A\": \"sint32[]\"}, \"instances\": [{\"A\": $5}]"),
                         "expected a list of sint32 for \"A\", found the number 5"});
    Check(BadDescription{"ElementOfAnotherType",
                         InClass("\"properties\": {\"A\": \"boolean[]\"}, \"instances\": [{\"A\": [true, $0]}]"),
                         "expected a value of type boolean for \"A\", found the number 0"});
    Check(BadDescription{"OddHexadecimal",
                         InClass("\"properties\": {\"A\": \"uint8[]\"}, \"instances\": [{\"A\": $\"53 4\"}]"),
                         "expected bytes as pairs of hexadecimal digits, such as \"53 45\", found \"53 4\""});
    Check(
        BadDescription{"MissingKeyValue",
                       InClass("\"properties\": {\"A\": {\"type\": \"string\", \"key\": true}}, \"instances\": [${}]"),
                       "expected an instance with a value for the key property \"A\""});
    Check(BadDescription{"RepeatedInstance",
                         InClass("\"properties\": {\"A\": {\"type\": \"string\", \"key\": true}}, \"instances\": "
                                 "[{\"A\": \"x\"}, ${\"A\": \"x\"}]"),
                         "expected an instance whose key values no other instance has"});
    Check(BadDescription{"SizeOfText", InClass("\"properties\": {\"A\": {\"type\": \"string\", \"size\": $4}}"),
                         "expected no \"size\" unless the type is uint8[]"});
    Check(BadDescription{"UnknownMethod", InClass("\"rules\": [{\"methods\": [$\"M\"], \"answer\": {}}]"),
                         "expected a method of class \"C\", found \"M\""});
    Check(BadDescription{
        "UnknownParameter",
        InClass("\"methods\": {\"M\": {\"in\": {\"A\": \"string\"}}}, \"rules\": [{\"when\": {$\"B\": 1}, "
                "\"answer\": {}}]"),
        "expected a parameter of the method, found \"B\""});
    Check(BadDescription{"OutWithoutOut", InClass("\"methods\": {\"M\": {}}, \"otherwise\": {\"out\": ${}}"),
                         "expected no \"out\": a method that this answers has no out-parameters"});
    Check(BadDescription{
        "EchoOfAnotherType",
        InClass("\"methods\": {\"M\": {\"in\": {\"A\": \"string\"}, \"out\": {\"B\": \"uint8\"}}}, \"otherwise\": "
                "{\"out\": {\"B\": {\"echo\": $\"A\"}}}"),
        "expected an in-parameter of the same type, found \"A\""});
    Check(BadDescription{"DoesWithoutSettings", InClass("\"methods\": {\"M\": {\"does\": $\"setSetting\"}}"),
                         "expected a section \"settings\" for what the method does"});
    Check(BadDescription{"DoesUnknown", InClass("\"methods\": {\"M\": {\"does\": $\"fly\"}}"),
                         "expected \"setSetting\" or \"restoreDefaults\", found \"fly\""});
    Check(BadDescription{"FaultWithoutEffect", InRoot("\"faults\": [${\"at\": \"IWbemServices::ExecQuery\"}]"),
                         "expected a failing \"status\", a \"delayMs\" or \"hang\""});
    Check(BadDescription{
        "FaultCallAndFrom",
        InRoot("\"faults\": [{\"at\": \"IWbemServices::ExecQuery\", \"hang\": true, \"call\": 1, \"from\": $2}]"),
        "expected either \"call\" or \"from\""});
    Check(BadDescription{"EventsElsewhere", InRoot("\"events\": {\"namespace\": $\"root/none\", \"class\": \"C\"}"),
                         "expected a namespace of this machine, found \"root/none\""});
    Check(BadDescription{"EventsOtherId",
                         "{\"version\": 1, \"name\": \"m\", \"namespaces\": [{\"path\": \"root\", \"classes\": "
                         "[{\"name\": \"E\", \"event\": true}]}],\n\"events\": {\"namespace\": \"root\", \"class\": "
                         "\"E\", \"id\": $\"EvntID\"}}",
                         "expected a property of the event class, found \"EvntID\""});
    Check(BadDescription{"EventInstances", InClass("\"event\": true, \"instances\": [${}]"),
                         "expected no instances of an event class"});
    Check(BadDescription{"RuleForNoMethod", InClass("\"rules\": [${\"answer\": {}}]"),
                         "expected a rule for a method of class \"C\", found an object"});
    Check(BadDescription{"RuleForEmptyList",
                         InClass("\"methods\": {\"M\": {}}, \"rules\": [${\"methods\": [], \"answer\": {}}]"),
                         "expected a rule for a method of class \"C\", found an object"});
    Check(BadDescription{"ShorthandForNothing",
                         InClass("\"methods\": {\"M\": {}}, \"shorthand\": {\"x\": $\"InData.Sign\"}"),
                         "expected a parameter of a method, or a property in one, found \"InData.Sign\""});
    Check(BadDescription{"EchoOfNothing",
                         InClass("\"methods\": {\"M\": {\"in\": {\"A\": \"string\"}, \"out\": {\"B\": \"string\"}}}, "
                                 "\"otherwise\": {\"out\": {\"B\": {\"echo\": $\"C\"}}}"),
                         "expected a parameter of the method, found \"C\""});
    Check(BadDescription{"TooManyBytes",
                         InClass("\"properties\": {\"A\": {\"type\": \"uint8[]\", \"size\": 2}}, \"instances\": "
                                 "[{\"A\": $\"01 02 03\"}]"),
                         "expected at most 2 bytes for \"A\", or \"bytes\" and \"length\""});
    Check(BadDescription{"StatusMistyped",
                         InClass("\"methods\": {\"M\": {}}, \"otherwise\": {\"status\": $\"WBEM_E_ACESS_DENIED\"}"),
                         "expected a status such as \"WBEM_E_ACCESS_DENIED\" or \"0x80041001\", found "});
    Check(BadDescription{"StatusInLowerCase",
                         InClass("\"methods\": {\"M\": {}}, \"otherwise\": {\"status\": $\"wbem_e_failed\"}"),
                         "expected a status such as \"WBEM_E_FAILED\" or "});
    Check(BadDescription{"CallWithoutInterface", InRoot("\"faults\": [{\"at\": $\"ConnectServer\", \"hang\": true}]"),
                         "expected a call such as \"IWbemLocator::ConnectServer\""});
    Check(BadDescription{"ValueNotAllowed",
                         InRoot("\"settings\": {\"items\": [{\"name\": \"a\", \"value\": $\"On\", \"allowed\": "
                                "[\"Enable\"]}]}"),
                         "expected one of the values in \"allowed\", found \"On\""});
    Check(BadDescription{"DefaultNotAllowed",
                         InRoot("\"settings\": {\"items\": [{\"name\": \"a\", \"value\": \"On\", \"default\": $\"Of\", "
                                "\"allowed\": [\"On\", \"Off\"]}]}"),
                         "expected one of the values in \"allowed\", found \"Of\""});
    Check(BadDescription{"RepeatedVariable",
                         InRoot("\"session\": {\"signedIn\": true, \"environment\": {\"A\": \"\", $\"a\": \"\"}}"),
                         "expected each variable once, found \"a\" again"});
    Check(BadDescription{"RepeatedFamily",
                         InRoot("\"packages\": [{\"family\": \"f\", \"fullNames\": []}, ${\"family\": \"F\", "
                                "\"fullNames\": []}]"),
                         "expected a package whose family no other package has"});
    Check(BadDescription{"RepeatedSetting",
                         InRoot("\"settings\": {\"items\": [{\"name\": \"a\", \"value\": \"\"}, ${\"name\": \"A\", "
                                "\"value\": \"\"}]}"),
                         "expected a setting whose name no other setting has"});
}

TEST(DescriptionTests, ColumnsCountCharactersNotBytes)
{
    try
    {
        static_cast<void>(Machine::Parse("{\"version\": 1, \"name\": \"\xc3\xa9\xe2\x82\xac\", \"x\": 1}"));
        ADD_FAILURE();
    }
    catch (const Simulator::DescriptionError& error)
    {
        EXPECT_STREQ("line 1, column 30", std::string{error.what()}.substr(0, 17).c_str());
    }
}

TEST(DescriptionTests, AMarkAtTheBeginningAndNotesAnywhereAreFine)
{
    EXPECT_NO_THROW(static_cast<void>(Machine::Parse(
        "\xEF\xBB\xBF{\"version\": 1, \"note\": \"a\", \"note\": [\"b\"], \"name\": \"m\", \"namespaces\": [{\"note\": "
        "1, "
        "\"path\": \"a\", \"classes\": [{\"name\": \"C\", \"note\": {}, \"properties\": {\"note\": \"c\", \"Note\": "
        "\"string\"}}]}]}")));
}

TEST(DescriptionTests, TheSchemaMayBeNamedBeforeTheVersionOrAfterIt)
{
    EXPECT_NO_THROW(
        static_cast<void>(Machine::Parse(R"({"$schema": "s.json", "version": 1, "name": "m", "namespaces": []})")));
    EXPECT_NO_THROW(
        static_cast<void>(Machine::Parse(R"({"version": 1, "name": "m", "namespaces": [], "$schema": "s.json"})")));
    EXPECT_THROW(static_cast<void>(Machine::Parse(R"({"$schema": 1, "version": 1, "name": "m", "namespaces": []})")),
                 Simulator::DescriptionError);
    EXPECT_THROW(static_cast<void>(Machine::Parse(R"({"$schema": "s.json", "name": "m", "version": 1})")),
                 Simulator::DescriptionError);
}

TEST(DescriptionTests, AFileThatIsNotThereIsASystemError)
{
    EXPECT_THROW(static_cast<void>(Machine::Load(L"no-such-machine.json")), std::system_error);
}

TEST(DescriptionTests, SessionAndPackagesArePlainData)
{
    const Machine machine = LoadMachine("notebook.json");
    const Simulator::Description& description = machine.GetDescription();
    EXPECT_TRUE(description.session.signedIn);
    EXPECT_EQ(L"C:\\Users\\Robin", description.session.profile);
    ASSERT_EQ(2U, description.packages.size());
    const Simulator::Package& chimebox = description.packages[1];
    EXPECT_EQ(L"7B3E90C4.Chimeboxes_k2x7m4qp9wt1d", chimebox.family);
    ASSERT_EQ(2U, chimebox.fullNames.size());
    EXPECT_EQ(2U, chimebox.fullNames[0].properties);
    EXPECT_EQ(0U, chimebox.fullNames[1].properties);
    EXPECT_EQ(3, chimebox.fullNames[1].origin);
    EXPECT_EQ(0x0001002600020000U, chimebox.fullNames[1].version);
    EXPECT_EQ(L"ChimeboxUWP.exe", chimebox.alias);
}

} // namespace Zv::Testing
