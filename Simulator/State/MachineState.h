// What changes while a machine runs: instances, settings and how often rules have answered.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Simulator/Description/Description.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Zv::Simulator
{

// One call of a method, for tests to look at.
struct MethodCall
{
    std::wstring nameSpace;
    std::wstring path; // of the object it was called on, as the caller gave it
    std::wstring method;
    ObjectPtr in; // null when the caller gave no in-parameters
    HRESULT status = S_OK;
    bool matched = false; // by a rule or a built-in action
};

// Safe on several threads.
class MachineState
{
public:
    explicit MachineState(const Description& description);

    // The instances of a class as they are now.
    [[nodiscard]] std::vector<ObjectPtr> Instances(const Class& definition) const;

    // Answers a method call; waiting out the answer's delay is the caller's.
    [[nodiscard]] Answer Invoke(const Namespace& nameSpace, std::wstring_view path, const Method& method, ObjectPtr in);

    // The last thousand.
    [[nodiscard]] std::vector<MethodCall> MethodCalls() const;
    [[nodiscard]] std::size_t UnmatchedCalls() const;
    // Empty when there is no such setting.
    [[nodiscard]] std::optional<std::wstring> SettingValue(std::wstring_view name) const;

private:
    [[nodiscard]] std::optional<Answer> AnswerByRule(const Method& method, const Object* in);
    [[nodiscard]] Answer AnswerByAction(const Method& method, const Object* in);
    [[nodiscard]] std::int64_t SetSetting(const Object* in);
    [[nodiscard]] std::int64_t RestoreDefaults(const Object* in);
    [[nodiscard]] bool PasswordFits(const Object* in) const;
    void Show(std::size_t index);

    const Description& m_description;
    mutable Tessel::Server::Shared::Lock m_lock;
    // All guarded by m_lock.
    std::unordered_map<const Class*, std::vector<ObjectPtr>> m_instances;
    std::vector<std::wstring> m_settings; // current values, in the order of the description
    std::size_t m_firstShown = 0;         // where the settings' instances begin among those of their class
    std::vector<unsigned> m_ruleUses;
    std::deque<MethodCall> m_calls; // the last ones
    std::size_t m_unmatched = 0;
};

} // namespace Zv::Simulator
