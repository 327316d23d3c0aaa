// The published schema against what the simulator itself accepts.
#include "Tests/Simulator/BadDescriptions.h"

#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Description/Site.h"
#include "Simulator/Machine.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <rapidjson/schema.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace Zv::Testing
{

namespace
{

rapidjson::Document Parse(const std::string& text)
{
    rapidjson::Document document;
    document.Parse(text.c_str());
    EXPECT_FALSE(document.HasParseError());
    return document;
}

std::string Read(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>{stream}, {}};
}

// How many objects of the schema have a fixed set of keys.
int CountFixedObjects(const rapidjson::Value& schema)
{
    int count = 0;
    if (schema.IsArray())
    {
        for (const rapidjson::Value& item : schema.GetArray())
        {
            count += CountFixedObjects(item);
        }
    }
    if (schema.IsObject())
    {
        const auto additional = schema.FindMember("additionalProperties");
        count += additional != schema.MemberEnd() && additional->value.IsFalse() ? 1 : 0;
        for (auto member = schema.MemberBegin(); member != schema.MemberEnd(); ++member)
        {
            count += CountFixedObjects(member->value);
        }
    }
    return count;
}

// The keys in what the simulator says about an unknown one: expected one of the keys "a", "b", found "unknown".
std::set<std::string> KnownKeys(const std::string& message)
{
    std::set<std::string> keys;
    const std::size_t end = message.rfind(", found ");
    for (std::size_t quote = message.find('"'); quote < end; quote = message.find('"', quote + 1))
    {
        const std::size_t close = message.find('"', quote + 1);
        keys.insert(message.substr(quote + 1, close - quote - 1));
        quote = close;
    }
    return keys;
}

class SchemaTests : public testing::Test
{
protected:
    [[nodiscard]] bool Accepts(const std::string& text) const
    {
        rapidjson::SchemaValidator validator{m_schema};
        return Parse(text).Accept(validator);
    }

    const rapidjson::Document m_text = Parse(Read(ZV_SCHEMA));
    const rapidjson::SchemaDocument m_schema{m_text};
};

} // namespace

TEST_F(SchemaTests, TheShippedMachinesFitTheSchemaAndLoad)
{
    for (const auto& entry : std::filesystem::directory_iterator{ZV_MACHINES})
    {
        const std::string text = Read(entry.path());
        EXPECT_TRUE(Accepts(text)) << entry.path();
        EXPECT_NO_THROW(static_cast<void>(Simulator::Machine::Parse(text))) << entry.path();
    }
}

TEST_F(SchemaTests, TheExamplesOfTheGuideLoadAndFitTheSchema)
{
    const std::string guide = Read(ZV_GUIDE);
    const std::regex block{"```json (machine|in faults)[^\n]*\n([^`]*)```"};
    int examples = 0;
    for (std::sregex_iterator found{guide.begin(), guide.end(), block}; found != std::sregex_iterator{}; ++found)
    {
        const std::string text = (*found)[2];
        const std::string description = (*found)[1] == "machine" ? text : InRoot("\"faults\": [" + text + "]");
        EXPECT_TRUE(Accepts(description)) << description;
        EXPECT_NO_THROW(static_cast<void>(Simulator::Machine::Parse(description))) << description;
        ++examples;
    }
    EXPECT_GT(examples, 2);
}

TEST_F(SchemaTests, TheSchemaRefusesEveryStructuralMistakeToo)
{
    for (const BadDescription& bad : StructuralMistakes())
    {
        // The order of members and what makes a CIM value cannot be said in a schema.
        if (bad.name != "VersionNotFirst")
        {
            EXPECT_FALSE(Accepts(bad.Text())) << bad.name;
        }
    }
}

TEST_F(SchemaTests, TheSchemaAndTheSimulatorKnowTheSameKeysOfEveryObject)
{
    const std::string unknown = "{\"unknown\": 0}";
    const std::string methods = R"("methods": {"M": {"in": {"A": "uint8"}, "out": {"B": "uint8"}}}, )";
    const std::string events = R"({"version": 1, "name": "m", "namespaces": [{"path": "root", "classes": [{"name": "E",
        "event": true, "properties": {"EventID": "uint32", "EventData": "uint32"}}]}],
        "events": {"namespace": "root", "class": "E", "schedule": [)";
    const struct
    {
        const char* object;
        std::string description;
    } places[] = {
        {"", InRoot("\"unknown\": 0")},
        {"/definitions/namespace", R"({"version": 1, "name": "m", "namespaces": [)" + unknown + "]}"},
        {"/definitions/class", InClass("\"unknown\": 0")},
        {"/definitions/property/anyOf/1", InClass("\"properties\": {\"A\": " + unknown + "}")},
        {"/definitions/method", InClass("\"methods\": {\"M\": " + unknown + "}")},
        {"/definitions/rule", InClass(methods + "\"rules\": [" + unknown + "]")},
        {"/definitions/answer", InClass(methods + "\"otherwise\": " + unknown)},
        {"/definitions/settings", InRoot("\"settings\": " + unknown)},
        {"/definitions/settings/properties/codes", InRoot("\"settings\": {\"items\": [], \"codes\": " + unknown + "}")},
        {"/definitions/settings/properties/shownAs",
         InRoot("\"settings\": {\"items\": [], \"shownAs\": " + unknown + "}")},
        {"/definitions/settings/properties/items/items", InRoot("\"settings\": {\"items\": [" + unknown + "]}")},
        {"/definitions/events", InRoot("\"events\": " + unknown)},
        {"/definitions/events/properties/schedule/items", events + unknown + "]}}"},
        {"/definitions/fault", InRoot("\"faults\": [" + unknown + "]")},
        {"/definitions/security", InRoot("\"security\": " + unknown)},
        {"/definitions/session", InRoot("\"session\": " + unknown)},
        {"/definitions/package", InRoot("\"packages\": [" + unknown + "]")},
        {"/definitions/package/properties/fullNames/items",
         InRoot("\"packages\": [{\"family\": \"f\", \"fullNames\": [" + unknown + "]}]")},
    };
    EXPECT_EQ(static_cast<int>(std::size(places)), CountFixedObjects(m_text));
    for (const auto& [object, description] : places)
    {
        SCOPED_TRACE(object);
        const rapidjson::Value* const schema = rapidjson::Pointer{object}.Get(m_text);
        ASSERT_NE(nullptr, schema);
        std::set<std::string> keys;
        const rapidjson::Value& properties = (*schema)["properties"];
        for (auto property = properties.MemberBegin(); property != properties.MemberEnd(); ++property)
        {
            keys.insert(property->name.GetString());
        }
        EXPECT_EQ(1U, keys.erase("note")); // which every object may have
        try
        {
            static_cast<void>(Simulator::Machine::Parse(description));
            ADD_FAILURE() << "accepted: " << description;
        }
        catch (const Simulator::DescriptionError& error)
        {
            EXPECT_EQ(keys, KnownKeys(error.message)) << error.message;
        }
        EXPECT_FALSE(Accepts(description));
    }
}

TEST_F(SchemaTests, TheSchemaNamesEveryCallAndEveryCimType)
{
    const rapidjson::Value& calls = m_text["definitions"]["fault"]["properties"]["at"]["enum"];
    ASSERT_EQ(Simulator::SiteCount, calls.Size());
    for (rapidjson::SizeType i = 0; i < calls.Size(); ++i)
    {
        EXPECT_EQ(Simulator::SiteName(static_cast<Simulator::Site>(i)), calls[i].GetString());
    }
    std::string types = Simulator::CimTypeList();
    for (std::size_t comma = types.find(", "); comma != std::string::npos; comma = types.find(", "))
    {
        types.replace(comma, 2, "|");
    }
    const std::string pattern = m_text["definitions"]["type"]["pattern"].GetString();
    EXPECT_NE(std::string::npos, pattern.find("(" + types + ")")) << pattern;
}

} // namespace Zv::Testing
