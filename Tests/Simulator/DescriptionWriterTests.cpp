#include "Simulator/Description/DescriptionWriter.h"

#include "Simulator/Cim/MofText.h"
#include "Simulator/Machine.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

using Simulator::Description;
using Simulator::Machine;
using Simulator::ReadDescription;
using Simulator::WriteDescription;

// Every class and instance as WMI's text.
std::wstring TextOf(const Description& description)
{
    std::wstring text;
    for (const Simulator::Namespace& nameSpace : description.namespaces)
    {
        text += nameSpace.path + L'\n';
        for (const Simulator::ClassEntry& entry : nameSpace.classes)
        {
            text += entry.definition->event ? L"[event] " : L"";
            text += MofText(*MakeClassObject(entry.definition));
            for (const Simulator::ObjectPtr& instance : entry.instances)
            {
                text += MofText(*instance);
            }
        }
    }
    return text;
}

// Without what ReadDescription adds by itself.
Description WithoutSystemClasses(Description description)
{
    std::erase_if(description.namespaces, [](Simulator::Namespace& nameSpace) {
        std::erase_if(nameSpace.classes, [](const auto& entry) { return entry.definition->name.starts_with(L"__"); });
        return nameSpace.classes.empty();
    });
    return description;
}

class DescriptionWritten : public testing::TestWithParam<const char*>
{
};

TEST_P(DescriptionWritten, IsReadAsItWas)
{
    const Machine machine = Machine::Load(std::filesystem::path{ZV_MACHINES} / (GetParam() + std::string{".json"}));
    const Description& description = machine.GetDescription();

    const std::string written = WriteDescription(WithoutSystemClasses(description), "a note");

    const Description read = ReadDescription(written);
    EXPECT_EQ(TextOf(read), TextOf(description));
    EXPECT_EQ(read.name, description.name);
    EXPECT_EQ(read.server, description.server);
}

INSTANTIATE_TEST_SUITE_P(Machines, DescriptionWritten, testing::Values("notebook", "desktop", "misbehaving"),
                         [](const auto& instance) { return std::string{instance.param}; });

TEST(DescriptionWriter, SaysANullOnlyWhereTheClassHasAnotherValue)
{
    const std::string written =
        WriteDescription(WithoutSystemClasses(ReadDescription(R"({"version":1,"name":"m","server":"S","namespaces":[
            {"path":"root","classes":[{"name":"A","properties":{"P":{"type":"string","value":"x"},"Q":"string"},
             "instances":[{"P":null,"Q":null}]}]}]})")),
                         "note \"quoted\"");
    EXPECT_EQ(written, R"({
  "version": 1,
  "note": "note \"quoted\"",
  "name": "m",
  "server": "S",
  "namespaces": [
    {
      "path": "root",
      "classes": [
        {
          "name": "A",
          "properties": {
            "P": {
              "type": "string",
              "value": "x"
            },
            "Q": "string"
          },
          "instances": [
            {
              "P": null
            }
          ]
        }
      ]
    }
  ]
}
)");
}

} // namespace
} // namespace Zv::Testing
