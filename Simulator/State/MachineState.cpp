#include "Simulator/State/MachineState.h"

#include "Simulator/Cim/ValueCompare.h"

#include <algorithm>

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;

namespace
{

// A machine that answers millions of calls must not grow by them.
constexpr std::size_t KeptCalls = 1000;

std::wstring TextAt(const Object* object, const wchar_t* name)
{
    const Value* const value = object == nullptr ? nullptr : FindValue(*object, {name});
    const std::wstring* const text = value == nullptr ? nullptr : value->As<std::wstring>();
    return text == nullptr ? std::wstring{} : *text;
}

bool Fits(const Condition& condition, const Object* in)
{
    static const Value null;
    const Value* value = in == nullptr ? nullptr : FindValue(*in, condition.path);
    value = value == nullptr ? &null : value;
    if (!condition.startsWith)
    {
        return SameValue(*value, condition.value);
    }
    const Bytes* const given = value->As<Bytes>();
    const Bytes& wanted = *condition.value.As<Bytes>();
    return given != nullptr && given->size() >= wanted.size() &&
           std::equal(wanted.begin(), wanted.end(), given->begin());
}

// Copies in-parameters to out-parameters; bytes keep the length that the answer had for them.
void Apply(const std::vector<Answer::Echo>& echoes, const Object* in, Answer& answer)
{
    if (echoes.empty() || in == nullptr || answer.out == nullptr)
    {
        return;
    }
    auto out = std::make_shared<Object>(*answer.out);
    for (const Answer::Echo& echo : echoes)
    {
        const Value* const source = FindValue(*in, echo.from);
        Value value = source == nullptr ? Value{} : *source;
        const Value* const before = FindValue(*out, echo.to);
        if (Bytes* const bytes = std::get_if<Bytes>(&value); bytes != nullptr && before != nullptr)
        {
            if (const Bytes* const old = before->As<Bytes>())
            {
                bytes->resize(old->size());
            }
        }
        static_cast<void>(SetValue(*out, echo.to, std::move(value)));
    }
    answer.out = std::move(out);
}

} // namespace

MachineState::MachineState(const Description& description)
    : m_description{description},
      m_ruleUses(description.ruleLimits.size())
{
    for (const Namespace& nameSpace : description.namespaces)
    {
        for (const ClassEntry& entry : nameSpace.classes)
        {
            m_instances[entry.definition.get()] = entry.instances;
        }
    }
    if (!description.settings)
    {
        return;
    }
    for (const Setting& setting : description.settings->items)
    {
        m_settings.push_back(setting.value);
    }
    if (description.settings->shownAs != nullptr)
    {
        std::vector<ObjectPtr>& shown = m_instances[description.settings->shownAs.get()];
        m_firstShown = shown.size();
        shown.resize(shown.size() + m_settings.size());
        for (std::size_t i = 0; i < m_settings.size(); ++i)
        {
            Show(i);
        }
    }
}

std::vector<ObjectPtr> MachineState::Instances(const Class& definition) const
{
    const LockGuard guard{m_lock};
    const auto found = m_instances.find(&definition);
    return found == m_instances.end() ? std::vector<ObjectPtr>{} : found->second;
}

Answer MachineState::Invoke(const Namespace& nameSpace, std::wstring_view path, const Method& method, ObjectPtr in)
{
    const LockGuard guard{m_lock};
    std::optional<Answer> answer = AnswerByRule(method, in.get());
    const bool matched = answer.has_value() || method.act != Method::Act::Scripted;
    if (!answer)
    {
        answer = matched ? AnswerByAction(method, in.get()) : method.otherwise;
    }
    Apply(answer->echoes, in.get(), *answer);
    m_unmatched += matched ? 0 : 1;
    if (m_calls.size() == KeptCalls)
    {
        m_calls.pop_front();
    }
    m_calls.push_back({nameSpace.path, std::wstring{path}, method.name, std::move(in), answer->status, matched});
    return std::move(*answer);
}

std::vector<MethodCall> MachineState::MethodCalls() const
{
    const LockGuard guard{m_lock};
    return {m_calls.begin(), m_calls.end()};
}

std::size_t MachineState::UnmatchedCalls() const
{
    const LockGuard guard{m_lock};
    return m_unmatched;
}

std::optional<std::wstring> MachineState::SettingValue(std::wstring_view name) const
{
    const LockGuard guard{m_lock};
    for (std::size_t i = 0; i < m_settings.size(); ++i)
    {
        if (EqualNoCase(m_description.settings->items[i].name, name))
        {
            return m_settings[i];
        }
    }
    return std::nullopt;
}

std::optional<Answer> MachineState::AnswerByRule(const Method& method, const Object* in)
{
    for (const Rule& rule : method.rules)
    {
        const unsigned limit = m_description.ruleLimits[rule.id];
        if ((limit == 0 || m_ruleUses[rule.id] < limit) &&
            std::ranges::all_of(rule.when, [&](const Condition& c) { return Fits(c, in); }))
        {
            ++m_ruleUses[rule.id];
            return rule.answer;
        }
    }
    return std::nullopt;
}

Answer MachineState::AnswerByAction(const Method& method, const Object* in)
{
    const std::int64_t code = method.act == Method::Act::SetSetting ? SetSetting(in) : RestoreDefaults(in);
    Answer answer;
    if (method.out != nullptr)
    {
        auto out = MakeInstance(method.out);
        static_cast<void>(SetValue(*out, {L"Return"}, code));
        answer.out = std::move(out);
    }
    return answer;
}

std::int64_t MachineState::SetSetting(const Object* in)
{
    const Settings& settings = *m_description.settings;
    if (!PasswordFits(in))
    {
        return settings.wrongPassword;
    }
    const std::wstring name = TextAt(in, L"Name");
    const std::wstring value = TextAt(in, L"Value");
    for (std::size_t i = 0; i < settings.items.size(); ++i)
    {
        const Setting& setting = settings.items[i];
        if (!EqualNoCase(setting.name, name))
        {
            continue;
        }
        const bool allowed =
            setting.allowed.empty() || std::ranges::find(setting.allowed, value) != setting.allowed.end();
        if (setting.readOnly || !allowed)
        {
            return settings.invalidValue;
        }
        m_settings[i] = value;
        Show(i);
        return settings.success;
    }
    return settings.unknownName;
}

std::int64_t MachineState::RestoreDefaults(const Object* in)
{
    const Settings& settings = *m_description.settings;
    if (!PasswordFits(in))
    {
        return settings.wrongPassword;
    }
    for (std::size_t i = 0; i < settings.items.size(); ++i)
    {
        m_settings[i] = settings.items[i].initial;
        Show(i);
    }
    return settings.success;
}

bool MachineState::PasswordFits(const Object* in) const
{
    const std::wstring& wanted = m_description.settings->password;
    return wanted.empty() || TextAt(in, L"Password") == wanted;
}

void MachineState::Show(std::size_t index)
{
    const Settings& settings = *m_description.settings;
    if (settings.shownAs == nullptr)
    {
        return;
    }
    const Setting& setting = settings.items[index];
    auto instance = MakeInstance(settings.shownAs);
    List allowed;
    for (const std::wstring& value : setting.allowed)
    {
        allowed.emplace_back(value);
    }
    // Properties that the class does not have are left out.
    static_cast<void>(SetValue(*instance, {L"Name"}, setting.name));
    static_cast<void>(SetValue(*instance, {L"Value"}, m_settings[index]));
    static_cast<void>(SetValue(*instance, {L"PossibleValues"}, std::move(allowed)));
    static_cast<void>(SetValue(*instance, {L"IsReadOnly"}, setting.readOnly));
    m_instances[settings.shownAs.get()][m_firstShown + index] = std::move(instance);
}

} // namespace Zv::Simulator
