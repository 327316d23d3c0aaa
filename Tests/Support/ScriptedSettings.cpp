#include "Tests/Support/ScriptedSettings.h"

namespace Zv::Testing
{

ScriptedSettings::ScriptedSettings(WmiScript& script)
{
    NamespaceScript& settings = script[SettingsNamespace];
    const ObjectScriptPtr methods = Instance(SettingsClass, {});
    for (const wchar_t* const name : {L"SetBIOSSetting", L"SetSystemDefaults"})
    {
        methods->signatures[name] = Instance(name, {});
    }
    settings.classes[SettingsClass] = methods;
    settings.instances[SettingsClass] = {{Instance(L"the settings", {{L"__PATH", Value::Text(L"their path")}})}};
    settings.execute = [this](const MethodCall&, ObjectScriptPtr& output) {
        output = Instance(L"output", {{L"Return", verdict}});
        return S_OK;
    };
}

} // namespace Zv::Testing
