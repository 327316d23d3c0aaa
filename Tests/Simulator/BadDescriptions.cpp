#include "Tests/Simulator/BadDescriptions.h"

namespace Zv::Testing
{

std::string BadDescription::Text() const
{
    std::string text = marked;
    text.erase(text.find('$'), 1);
    return text;
}

std::string InClass(const std::string& members)
{
    return "{\"version\": 1, \"name\": \"m\",\n \"namespaces\": [{\"path\": \"root/a\",\n  \"classes\": [\n   "
           "{\"name\": "
           "\"C\", " +
           members + "}]}]}";
}

std::string InRoot(const std::string& members)
{
    return "{\"version\": 1, \"name\": \"m\", \"namespaces\": [],\n " + members + "}";
}

const std::vector<BadDescription>& StructuralMistakes()
{
    static const std::vector<BadDescription> mistakes = {
        {"NotAnObject", "$[]", "expected a machine description, an object, found a list"},
        {"NoVersion", "{$\"name\": \"m\"}", "expected \"version\": 1 as the first member"},
        {"VersionNotFirst", "{$\"name\": \"m\", \"version\": 1}", "expected \"version\": 1 as the first member"},
        {"NoMembers", "${}", "expected \"version\": 1 as the first member"},
        {"OtherVersion", "{\"version\": $2}", "expected version 1, found the number 2"},
        {"NameNoText", "{\"version\": 1, \"namespaces\": [], \"name\": $5}",
         "expected the machine's name as a text, found the number 5"},
        {"VersionAsText", "{\"version\": $\"1\"}", "expected version 1, found \"1\""},
        {"UnknownKey", InRoot("$\"nmae\": \"x\""), "expected one of the keys \"version\", \"name\""},
        {"MissingName", "${\"version\": 1, \"namespaces\": []}", "expected the key \"name\" in this object"},
        {"NamespacesNoList", "{\"version\": 1, \"name\": \"m\", \"namespaces\": ${}}",
         "expected a list of namespaces, found an object"},
        {"MissingPath", "{\"version\": 1, \"name\": \"m\", \"namespaces\": [${\"classes\": []}]}",
         "expected the key \"path\" in this object"},
        {"ClassWithoutName",
         "{\"version\": 1, \"name\": \"m\", \"namespaces\": [{\"path\": \"a\", \"classes\": [${}]}]}",
         "expected the key \"name\" in this object"},
        {"UnknownClassKey", InClass("$\"propertys\": {}"),
         "expected one of the keys \"name\", \"description\", \"event\""},
        {"EventNoFlag", InClass("\"event\": $1"),
         "expected whether the class is an event class (true or false), found the number 1"},
        {"UnknownType", InClass("\"properties\": {\"A\": \"uint32\",\n \"B\": $\"uint33\"}"),
         "expected a CIM type (string, boolean, sint8"},
        {"TypeNoText", InClass("\"properties\": {\"A\": {\"type\": $32}}"), "expected a CIM type (string"},
        {"PropertyWithoutType", InClass("\"properties\": {\"A\": ${\"key\": true}}"),
         "expected the key \"type\" in this object"},
        {"PropertyKeyNoFlag", InClass("\"properties\": {\"A\": {\"type\": \"string\", \"key\": $\"yes\"}}"),
         "expected whether the property is a key (true or false), found \"yes\""},
        {"UnknownRuleKey", InClass("\"rules\": [{\"answer\": {}, $\"if\": {}}]"),
         "expected one of the keys \"methods\", \"when\", \"answer\", \"times\", found \"if\""},
        {"RuleWithoutAnswer", InClass("\"methods\": {\"M\": {}}, \"rules\": [${}]"),
         "expected the key \"answer\" in this object"},
        {"TimesZero", InClass("\"rules\": [{\"answer\": {}, \"times\": $0}]"),
         "expected how many times (a whole number from 1 to 2147483647), found the number 0"},
        {"AnswerDelayNegative", InClass("\"methods\": {\"M\": {}}, \"otherwise\": {\"delayMs\": $-1}"),
         "expected a delay in milliseconds (a whole number from 0 to"},
        {"FaultWithoutPlace", InRoot("\"faults\": [${\"status\": \"WBEM_E_FAILED\"}]"),
         "expected the key \"at\" in this object"},
        {"FaultElsewhere", InRoot("\"faults\": [{\"at\": $\"IWbemServices::Fly\", \"hang\": true}]"),
         "expected a call such as \"IWbemServices::ExecQuery\" (the schema "},
        {"StatusNoStatus", InRoot("\"faults\": [{\"at\": \"IWbemServices::ExecQuery\", \"status\": $\"0x8004100g\"}]"),
         "expected a status such as \"WBEM_E_FAILED\" or \"0x80041001\", found \"0x8004100g\""},
        {"SecurityWithoutLevel", InRoot("\"security\": ${}"), "expected the key \"impersonation\" in this object"},
        {"UnknownImpersonation", InRoot("\"security\": {\"impersonation\": $\"none\"}"),
         "expected an impersonation level (anonymous, identify, impersonate, delegate), found \"none\""},
        {"SessionWithoutSignedIn", InRoot("\"session\": ${}"), "expected the key \"signedIn\" in this object"},
        {"PackageWithoutFamily", InRoot("\"packages\": [${\"fullNames\": []}]"),
         "expected the key \"family\" in this object"},
        {"VersionOfThreeParts",
         InRoot("\"packages\": [{\"family\": \"f\", \"fullNames\": [{\"name\": \"n\", \"version\": $\"1.2.3\"}]}]"),
         "expected a version such as \"2.1.0.0\", found \"1.2.3\""},
        {"SettingWithoutValue", InRoot("\"settings\": {\"items\": [${\"name\": \"a\"}]}"),
         "expected the key \"value\" in this object"},
        {"EventsWithoutClass", InRoot("\"events\": ${\"namespace\": \"root\"}"),
         "expected the key \"class\" in this object"},
    };
    return mistakes;
}

} // namespace Zv::Testing
