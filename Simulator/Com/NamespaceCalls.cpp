#include "Simulator/Com/NamespaceCalls.h"

#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Com/ClassObject.h"
#include "Simulator/Com/QueryRunner.h"

namespace Zv::Simulator
{

HRESULT FindObject(const Core& core, const Namespace& nameSpace, std::wstring_view text, ObjectPtr& object)
{
    if (text.empty())
    {
        object = MakeClassObject(std::make_shared<Class>());
        return S_OK;
    }
    const std::optional<ObjectPath> path = ParseObjectPath(text);
    if (!path)
    {
        return Status(WBEM_E_INVALID_OBJECT_PATH);
    }
    if (!path->nameSpace.empty())
    {
        const std::optional<NamespaceName> name = ParseNamespace(path->nameSpace);
        const bool here = name && EqualNoCase(name->path, nameSpace.path) &&
                          (name->server.empty() || EqualNoCase(name->server, core.description.server));
        if (!here)
        {
            return Status(WBEM_E_INVALID_NAMESPACE);
        }
    }
    const ClassEntry* const entry = FindClass(nameSpace, path->className);
    if (entry == nullptr)
    {
        return Status(path->isInstance ? WBEM_E_INVALID_CLASS : WBEM_E_NOT_FOUND);
    }
    if (!path->isInstance)
    {
        object = MakeClassObject(entry->definition);
        return S_OK;
    }
    for (const ObjectPtr& instance : core.state.Instances(*entry->definition))
    {
        if (Names(*path, *instance))
        {
            object = instance;
            return S_OK;
        }
    }
    return Status(WBEM_E_NOT_FOUND);
}

Parameters::Parameters(IUnknown* in) : object{in == nullptr ? nullptr : Snapshot(*in)}, given{in != nullptr} {}

HRESULT InvokeMethod(Core& core, const Namespace& nameSpace, std::wstring_view path, std::wstring_view name,
                     const Parameters& in, ObjectPtr& out)
{
    ObjectPtr target;
    if (const HRESULT hr = FindObject(core, nameSpace, path, target); FAILED(hr))
    {
        return hr;
    }
    const Method* const method = target->definition->FindMethod(name);
    if (method == nullptr)
    {
        return Status(WBEM_E_INVALID_METHOD);
    }
    const bool fits = in.object == nullptr ? method->in == nullptr && !in.given
                                           : in.object->isInstance && in.object->definition == method->in;
    if (!fits || (!target->isInstance && !method->isStatic)) // what is done to an instance needs one
    {
        return Status(WBEM_E_INVALID_METHOD_PARAMETERS);
    }
    const Answer answer = core.state.Invoke(nameSpace, path, *method, in.object);
    static_cast<void>(core.gate.Wait(answer.delay, answer.hang, INFINITE));
    if (SUCCEEDED(answer.status))
    {
        out = answer.out;
    }
    return answer.status;
}

} // namespace Zv::Simulator
