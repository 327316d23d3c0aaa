// The part of IWbemClassObject that is about methods.
#include "Simulator/Com/ClassObject.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Com/VariantConversion.h"

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;

namespace
{

// A signature is a class; a side without parameters has none.
void PresentSignature(const CorePtr& core, const ClassPtr& signature, IWbemClassObject** result)
{
    if (result != nullptr)
    {
        *result = signature == nullptr ? nullptr : Present(core, MakeClassObject(signature)).Detach();
    }
}

} // namespace

HRESULT ClassObject::GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in, IWbemClassObject** out)
{
    return Gate().Call(Site::ObjectGetMethod, name == nullptr ? L"" : name, [&]() -> HRESULT {
        if (name == nullptr || flags != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        const ObjectPtr object = Content();
        if (object->isInstance)
        {
            return Status(WBEM_E_ILLEGAL_OPERATION);
        }
        const Method* const method = object->definition->FindMethod(name);
        if (method == nullptr)
        {
            PresentSignature(SharedCore(), nullptr, in);
            PresentSignature(SharedCore(), nullptr, out);
            return Status(WBEM_E_NOT_FOUND);
        }
        PresentSignature(SharedCore(), method->in, in);
        PresentSignature(SharedCore(), method->out, out);
        return S_OK;
    });
}

HRESULT ClassObject::PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT ClassObject::DeleteMethod(LPCWSTR)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT ClassObject::BeginMethodEnumeration(LONG)
{
    return Gate().Call(Site::ObjectBeginMethodEnumeration, {}, [&]() -> HRESULT {
        const LockGuard guard{m_lock};
        if (m_object->isInstance)
        {
            return Status(WBEM_E_ILLEGAL_OPERATION);
        }
        m_nextMethod = 0;
        return S_OK;
    });
}

HRESULT ClassObject::NextMethod(LONG, BSTR* name, IWbemClassObject** in, IWbemClassObject** out)
{
    return Gate().Call(Site::ObjectNextMethod, {}, [&]() -> HRESULT {
        ObjectPtr object;
        std::size_t index = 0;
        {
            const LockGuard guard{m_lock};
            if (!m_nextMethod)
            {
                return Status(WBEM_E_UNEXPECTED);
            }
            if (*m_nextMethod == m_object->definition->methods.size())
            {
                return Status(WBEM_S_NO_MORE_DATA);
            }
            object = m_object;
            index = (*m_nextMethod)++;
        }
        const Method& method = object->definition->methods[index];
        if (name != nullptr)
        {
            *name = MakeString(GetCore(), method.name);
        }
        PresentSignature(SharedCore(), method.in, in);
        PresentSignature(SharedCore(), method.out, out);
        return S_OK;
    });
}

HRESULT ClassObject::EndMethodEnumeration()
{
    return Gate().Call(Site::ObjectEndMethodEnumeration, {}, [&]() -> HRESULT {
        const LockGuard guard{m_lock};
        m_nextMethod.reset();
        return S_OK;
    });
}

HRESULT ClassObject::GetMethodOrigin(LPCWSTR method, BSTR* className)
{
    return CallGate::Protect([&]() -> HRESULT {
        if (method == nullptr || className == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        const ObjectPtr object = Content();
        if (object->definition->FindMethod(method) == nullptr)
        {
            return Status(WBEM_E_NOT_FOUND);
        }
        *className = MakeString(GetCore(), object->definition->name);
        return S_OK;
    });
}

} // namespace Zv::Simulator
