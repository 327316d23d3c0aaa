// Reads classes of a namespace into what a machine description says of them.
#pragma once

#include "Host/Recording/WmiClient.h"

#include "Simulator/Description/Description.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Zv::Host
{

// How much is recorded of a class, and who hears of it.
struct RecordingOptions
{
    std::size_t limit = 0; // instances at most; 0: all
    bool schemaOnly = false;
    std::function<void()> onInstance; // may be empty
};

// Also reads the classes whose objects are embedded in what it reads, without their instances.
class ClassRecorder
{
public:
    // Null: this machine. Throws Failure(CommandFailed).
    ClassRecorder(Simulator::Machine* machine, const std::wstring& nameSpace, RecordingOptions options)
        : m_wmi{machine, nameSpace},
          m_nameSpace{nameSpace},
          m_options{std::move(options)}
    {
    }

    // False when there is no such class. Throws Failure(CommandFailed).
    [[nodiscard]] bool Record(const std::wstring& name);

    [[nodiscard]] std::vector<Simulator::ClassEntry> Take();

    // As the machine spells them; before it has shown a class, as they were given, and empty.
    [[nodiscard]] const std::wstring& NameSpace() const noexcept { return m_nameSpace; }
    [[nodiscard]] const std::wstring& Server() const noexcept { return m_server; }

    // What could not be kept, one line each.
    [[nodiscard]] const std::vector<std::string>& Losses() const noexcept { return m_losses; }

private:
    struct Entry
    {
        std::shared_ptr<Simulator::Class> definition;
        std::vector<std::shared_ptr<Simulator::Object>> instances;
        bool hasInstances = false; // they have been read
    };

    [[nodiscard]] std::shared_ptr<Entry> Find(const std::wstring& name) const;
    [[nodiscard]] std::shared_ptr<Entry> Define(IWbemClassObject& object);
    [[nodiscard]] std::shared_ptr<Entry> DefineEmbedded(const std::wstring& name);
    void ReadInstances(Entry& entry);
    // Whether no other instance has its path; one that cannot have one is named as lost.
    [[nodiscard]] bool IsDistinct(const Simulator::Object& instance, std::set<std::wstring>& keys);
    void ReadProperties(IWbemClassObject& object, Simulator::Class& definition);
    void ReadMethods(IWbemClassObject& object, Simulator::Class& definition);
    [[nodiscard]] Simulator::ClassPtr ReadParameters(IWbemClassObject* object);
    [[nodiscard]] std::shared_ptr<Simulator::Object> ReadObject(IWbemClassObject& object,
                                                                const std::shared_ptr<Simulator::Class>& definition);
    [[nodiscard]] Simulator::Value ReadValue(const VARIANT& value, Simulator::Property& property,
                                             const std::wstring& className);
    [[nodiscard]] Simulator::Value ReadEmbedded(IUnknown* object, Simulator::Property& property);
    void Lose(const std::wstring& className, const std::wstring& property, const std::string& why);

    WmiClient m_wmi;
    std::vector<std::shared_ptr<Entry>> m_entries;
    std::wstring m_nameSpace;
    const RecordingOptions m_options;
    std::wstring m_server;
    std::vector<std::string> m_losses;
};

} // namespace Zv::Host
