#include "Host/Recording/DescriptionContents.h"

namespace Zv::Host
{

std::string DescriptionContents::Text() const
{
    return "classes: " + std::to_string(classes) + ", instances: " + std::to_string(instances) +
           ", settings: " + std::to_string(settings) + ", packages: " + std::to_string(packages);
}

JsonObject DescriptionContents::Json() const
{
    JsonObject object;
    object.AddJson("classes", std::to_string(classes))
        .AddJson("instances", std::to_string(instances))
        .AddJson("settings", std::to_string(settings))
        .AddJson("packages", std::to_string(packages));
    return object;
}

DescriptionContents Count(const Simulator::Description& description)
{
    DescriptionContents contents;
    for (const Simulator::Namespace& nameSpace : description.namespaces)
    {
        for (const Simulator::ClassEntry& entry : nameSpace.classes)
        {
            if (entry.definition->name != L"__NAMESPACE") // which comes by itself
            {
                ++contents.classes;
                contents.instances += entry.instances.size();
            }
        }
    }
    contents.settings = description.settings ? description.settings->items.size() : 0;
    contents.packages = description.packages.size();
    return contents;
}

} // namespace Zv::Host
