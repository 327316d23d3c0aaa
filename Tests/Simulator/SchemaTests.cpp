// The published schema against what the simulator itself accepts.
#include "Tests/Simulator/BadDescriptions.h"

#include "Simulator/CimTypes.h"
#include "Simulator/Machine.h"
#include "Simulator/Site.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <rapidjson/schema.h>

#include <filesystem>
#include <fstream>
#include <iterator>
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
    for (const char* file : {"notebook.json", "desktop.json", "misbehaving.json"})
    {
        const std::string text = Read(std::filesystem::path{ZV_MACHINES} / file);
        EXPECT_TRUE(Accepts(text)) << file;
        EXPECT_NO_THROW(static_cast<void>(Simulator::Machine::Parse(text))) << file;
    }
}

TEST_F(SchemaTests, TheExamplesOfTheGuideLoadAndFitTheSchema)
{
    const std::string guide = Read(ZV_GUIDE);
    std::vector<std::string> examples;
    for (std::size_t begin = guide.find("```json\n"); begin != std::string::npos;
         begin = guide.find("```json\n", begin))
    {
        begin += 8;
        const std::size_t end = guide.find("```", begin);
        ASSERT_NE(std::string::npos, end);
        examples.push_back(guide.substr(begin, end - begin));
        begin = end + 3;
    }
    ASSERT_EQ(3U, examples.size());
    const std::string begin = R"({"version": 1, "name": "m", "namespaces": [{"path": "root/a", "classes": [)";
    const std::string block =
        R"({"name": "Block", "properties": {"Command": "uint32", "Data": {"type": "uint8[]", "size": 4}}}, )";
    const std::string descriptions[] = {examples[0], begin + block + examples[1] + "]}]}",
                                        begin + "]}], \"faults\": [" + examples[2] + "]}"};
    for (const std::string& description : descriptions)
    {
        EXPECT_TRUE(Accepts(description)) << description;
        EXPECT_NO_THROW(static_cast<void>(Simulator::Machine::Parse(description))) << description;
    }
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
