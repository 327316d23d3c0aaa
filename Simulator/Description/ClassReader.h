// Reads the classes of one namespace of a description.
#pragma once

#include "Simulator/Description/Description.h"
#include "Simulator/Description/JsonNode.h"
#include "Simulator/Description/NodeReader.h"
#include "Simulator/Description/ValueReader.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Simulator
{

// Classes may use each other in any order, so that the reading takes three rounds: properties, methods, instances.
class ClassReader
{
public:
    // hasSettings: whether the description has a section "settings" for methods to work on.
    ClassReader(std::wstring server, std::wstring nameSpace, bool hasSettings, std::vector<unsigned>& ruleLimits);

    [[nodiscard]] std::vector<ClassEntry> Read(const JsonNode& classes);

private:
    struct Pending
    {
        Members members;
        std::shared_ptr<Class> definition;
    };
    using Shorthand = std::vector<std::pair<std::string, std::wstring>>;

    void Declare(const JsonNode& node);
    std::vector<Property> ReadProperties(const JsonNode& node);
    Property ReadProperty(const JsonMember& member);
    void ReadType(const JsonNode& node, Property& property);
    void ReadMethods(const Pending& pending);
    Method ReadMethod(const JsonMember& member);
    [[nodiscard]] Method::Act ReadAct(const JsonNode& node, const Method& method) const;
    // `count` is how many parameters the method has so far.
    ClassPtr ReadParameters(const JsonNode* node, const wchar_t* direction, std::int64_t& count);
    void ReadRules(const Pending& pending, const Shorthand& shorthand);
    void ReadRule(const JsonNode& node, Class& definition, const Shorthand& shorthand);
    Condition ReadCondition(const JsonMember& member, const Method& method, const Shorthand& shorthand);
    Answer ReadAnswer(const JsonNode& node, const Method& method, const Shorthand& shorthand);
    void ReadOut(const JsonMember& member, const Method& method, const Shorthand& shorthand, Object& out,
                 Answer& answer);
    std::vector<ObjectPtr> ReadInstances(const Pending& pending);
    const Property& FindParameter(Position where, const std::string& written, const ClassPtr& parameters,
                                  const PropertyPath& path, Object* fill);

    [[nodiscard]] ClassPtr Find(std::wstring_view name) const;
    [[nodiscard]] ClassFinder Finder() const;

    std::wstring m_server;
    std::wstring m_nameSpace;
    bool m_hasSettings;
    std::vector<unsigned>& m_ruleLimits;
    std::vector<Pending> m_classes;
    std::vector<std::pair<const JsonNode*, std::wstring>> m_usedClasses; // to be found once all are declared
};

} // namespace Zv::Simulator
