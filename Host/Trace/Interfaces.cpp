#include "Host/Trace/Interfaces.h"

#include "Host/Trace/NumberNames.h"
#include "Host/Trace/Traced.h"

#include <wbemcli.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <iterator>
#include <vector>

namespace Zv::Host::Tracing
{

namespace
{

// An interface's function as its proxies have it: a plain function that is given the object first, as in COM's own
// tables.
template <auto Member>
struct Method;

template <class Object, class... Arguments, HRESULT (STDMETHODCALLTYPE Object::*Member)(Arguments...)>
struct Method<Member>
{
    static inline std::array<Argument, sizeof...(Arguments) + 1> arguments;
    static inline Function function{"", ResultKind::Status};

    static HRESULT STDMETHODCALLTYPE Call(Proxy* self, Arguments... given)
    {
        const auto original = [self](Arguments... passed) {
            return (static_cast<Object*>(self->real)->*Member)(passed...);
        };
        return Traced<HRESULT>(function, (Label(*self) + "->").c_str(), original, given...);
    }
};

template <auto Member>
const void* Row(const char* name, std::initializer_list<Argument> arguments = {}, bool firstNamesProperty = false)
{
    using Entry = Method<Member>;
    std::copy_n(arguments.begin(), std::min(arguments.size(), Entry::arguments.size()), Entry::arguments.begin());
    Entry::function = {name, ResultKind::Status, Entry::arguments.data(), firstNamesProperty};
    return reinterpret_cast<const void*>(&Entry::Call);
}

using Table = std::vector<const void*>;

// The operations of IUnknown, and those of the interface behind them in their order.
Table WithUnknown(std::initializer_list<const void*> functions)
{
    Table table{reinterpret_cast<const void*>(&QueryProxy), reinterpret_cast<const void*>(&AddRefProxy),
                reinterpret_cast<const void*>(&ReleaseProxy)};
    table.insert(table.end(), functions);
    return table;
}

const Table& Unknown()
{
    static const Table table = WithUnknown({});
    return table;
}

const Table& Locator()
{
    static const Table table = WithUnknown(
        {Row<&IWbemLocator::ConnectServer>("ConnectServer", {In("namespace"), In("user"), NotShown, NotShown,
                                                             In("flags"), NotShown, NotShown, Out("services")})});
    return table;
}

const Table& Services()
{
    static const Table table = WithUnknown({
        Row<&IWbemServices::OpenNamespace>("OpenNamespace", {In("namespace")}),
        Row<&IWbemServices::CancelAsyncCall>("CancelAsyncCall", {In("sink")}),
        Row<&IWbemServices::QueryObjectSink>("QueryObjectSink"),
        Row<&IWbemServices::GetObject>("GetObject",
                                       {In("path"), In("flags", &FlagsOf<WbemFlags>), NotShown, Out("object")}),
        Row<&IWbemServices::GetObjectAsync>("GetObjectAsync"),
        Row<&IWbemServices::PutClass>("PutClass"),
        Row<&IWbemServices::PutClassAsync>("PutClassAsync"),
        Row<&IWbemServices::DeleteClass>("DeleteClass"),
        Row<&IWbemServices::DeleteClassAsync>("DeleteClassAsync"),
        Row<&IWbemServices::CreateClassEnum>("CreateClassEnum"),
        Row<&IWbemServices::CreateClassEnumAsync>("CreateClassEnumAsync"),
        Row<&IWbemServices::PutInstance>("PutInstance"),
        Row<&IWbemServices::PutInstanceAsync>("PutInstanceAsync"),
        Row<&IWbemServices::DeleteInstance>("DeleteInstance"),
        Row<&IWbemServices::DeleteInstanceAsync>("DeleteInstanceAsync"),
        Row<&IWbemServices::CreateInstanceEnum>(
            "CreateInstanceEnum", {In("class"), In("flags", &FlagsOf<WbemFlags>), NotShown, Out("enumerator")}),
        Row<&IWbemServices::CreateInstanceEnumAsync>("CreateInstanceEnumAsync"),
        Row<&IWbemServices::ExecQuery>(
            "ExecQuery", {In("language"), In("query"), In("flags", &FlagsOf<WbemFlags>), NotShown, Out("enumerator")}),
        Row<&IWbemServices::ExecQueryAsync>("ExecQueryAsync"),
        Row<&IWbemServices::ExecNotificationQuery>("ExecNotificationQuery"),
        Row<&IWbemServices::ExecNotificationQueryAsync>(
            "ExecNotificationQueryAsync",
            {In("language"), In("query"), In("flags", &FlagsOf<WbemFlags>), NotShown, In("sink")}),
        Row<&IWbemServices::ExecMethod>("ExecMethod", {In("path"), In("method"), In("flags", &FlagsOf<WbemFlags>),
                                                       NotShown, In("inParams"), Out("outParams")}),
        Row<&IWbemServices::ExecMethodAsync>("ExecMethodAsync"),
    });
    return table;
}

const Table& ClassObject()
{
    static const Table table = WithUnknown({
        Row<&IWbemClassObject::GetQualifierSet>("GetQualifierSet"),
        Row<&IWbemClassObject::Get>("Get", {In("name"), NotShown, Out("value")}, true),
        Row<&IWbemClassObject::Put>("Put", {In("name"), NotShown, In("value"), In("type")}, true),
        Row<&IWbemClassObject::Delete>("Delete", {In("name")}),
        Row<&IWbemClassObject::GetNames>("GetNames"),
        Row<&IWbemClassObject::BeginEnumeration>("BeginEnumeration"),
        Row<&IWbemClassObject::Next>("Next"),
        Row<&IWbemClassObject::EndEnumeration>("EndEnumeration"),
        Row<&IWbemClassObject::GetPropertyQualifierSet>("GetPropertyQualifierSet"),
        Row<&IWbemClassObject::Clone>("Clone"),
        // Its text holds all properties of the object, which tell about the machine's owner.
        Row<&IWbemClassObject::GetObjectText>("GetObjectText", {In("flags")}),
        Row<&IWbemClassObject::SpawnDerivedClass>("SpawnDerivedClass"),
        Row<&IWbemClassObject::SpawnInstance>("SpawnInstance", {In("flags"), Out("instance")}),
        Row<&IWbemClassObject::CompareTo>("CompareTo"),
        Row<&IWbemClassObject::GetPropertyOrigin>("GetPropertyOrigin"),
        Row<&IWbemClassObject::InheritsFrom>("InheritsFrom"),
        Row<&IWbemClassObject::GetMethod>("GetMethod",
                                          {In("name"), In("flags"), Out("inSignature"), Out("outSignature")}),
        Row<&IWbemClassObject::PutMethod>("PutMethod"),
        Row<&IWbemClassObject::DeleteMethod>("DeleteMethod"),
        Row<&IWbemClassObject::BeginMethodEnumeration>("BeginMethodEnumeration"),
        Row<&IWbemClassObject::NextMethod>("NextMethod"),
        Row<&IWbemClassObject::EndMethodEnumeration>("EndMethodEnumeration"),
        Row<&IWbemClassObject::GetMethodQualifierSet>("GetMethodQualifierSet"),
        Row<&IWbemClassObject::GetMethodOrigin>("GetMethodOrigin"),
    });
    return table;
}

const Table& Enumerator()
{
    static const Table table = WithUnknown({
        Row<&IEnumWbemClassObject::Reset>("Reset"),
        Row<&IEnumWbemClassObject::Next>(
            "Next", {In("timeout", &OneOf<Timeouts>), In("count"), Out("object"), Out("returned")}),
        Row<&IEnumWbemClassObject::NextAsync>("NextAsync"),
        Row<&IEnumWbemClassObject::Clone>("Clone"),
        Row<&IEnumWbemClassObject::Skip>("Skip"),
    });
    return table;
}

// The sink that is handed out is a plain object to the interface's function: the module's is shown to the platform as a
// sink.
HRESULT STDMETHODCALLTYPE CreateObjectStub(Proxy* self, IUnknown* object, IUnknown** stub)
{
    static constexpr Argument arguments[] = {In("sink"), Out("stub")};
    static constexpr Function function{"CreateObjectStub", ResultKind::Status, arguments};
    const auto original = [self](IUnknown* sink, IUnknown** result) {
        void* asSink = nullptr;
        if (sink == nullptr || FAILED(sink->QueryInterface(IID_IWbemObjectSink, &asSink)))
        {
            return static_cast<IUnsecuredApartment*>(self->real)->CreateObjectStub(sink, result);
        }
        Passed<IWbemObjectSink*> shown{function.arguments[0], static_cast<IWbemObjectSink*>(asSink)};
        static_cast<IUnknown*>(asSink)->Release();
        return static_cast<IUnsecuredApartment*>(self->real)->CreateObjectStub(shown.Get(), result);
    };
    return Traced<HRESULT>(function, (Label(*self) + "->").c_str(), original, object, stub);
}

const Table& Apartment()
{
    static const Table table = WithUnknown({reinterpret_cast<const void*>(&CreateObjectStub)});
    return table;
}

// The platform's sink; the module gives it to the platform and does not call it.
const Table& Sink()
{
    static const Table table = WithUnknown({
        Row<&IWbemObjectSink::Indicate>("Indicate", {In("count")}),
        Row<&IWbemObjectSink::SetStatus>("SetStatus", {In("flags"), In("result")}),
    });
    return table;
}

// Objects on their way into the module, as proxies for the time of the call.
class GivenObjects
{
public:
    GivenObjects(LONG count, IWbemClassObject** objects) : m_objects(static_cast<std::size_t>(count))
    {
        for (std::size_t i = 0; i < m_objects.size(); ++i)
        {
            m_objects[i] = objects[i];
            if (m_objects[i] != nullptr)
            {
                m_objects[i]->AddRef();
                Wrap(IID_IWbemClassObject, reinterpret_cast<void**>(&m_objects[i]));
            }
        }
    }
    GivenObjects(const GivenObjects&) = delete;
    GivenObjects& operator=(const GivenObjects&) = delete;
    ~GivenObjects()
    {
        for (IWbemClassObject* const object : m_objects)
        {
            if (object != nullptr)
            {
                object->Release();
            }
        }
    }
    [[nodiscard]] IWbemClassObject** Get() noexcept { return m_objects.data(); }

private:
    std::vector<IWbemClassObject*> m_objects;
};

HRESULT STDMETHODCALLTYPE Indicate(Proxy* self, LONG count, IWbemClassObject** objects)
{
    static constexpr Argument arguments[] = {In("count"), NotShown};
    static constexpr Function function{"Indicate", ResultKind::Status, arguments};
    const auto original = [self](LONG number, IWbemClassObject** real) {
        auto* const sink = static_cast<IWbemObjectSink*>(self->real);
        if (real == nullptr || number < 0 || number > 1000)
        {
            return sink->Indicate(number, real); // the module's to judge
        }
        GivenObjects given{number, real};
        return sink->Indicate(number, given.Get());
    };
    return Traced<HRESULT>(function, (Label(*self) + "->").c_str(), original, count, objects);
}

HRESULT STDMETHODCALLTYPE SetStatus(Proxy* self, LONG flags, HRESULT result, BSTR text, IWbemClassObject* object)
{
    static constexpr Argument arguments[] = {In("flags"), In("status"), NotShown, NotShown};
    static constexpr Function function{"SetStatus", ResultKind::Status, arguments};
    const auto original = [self](LONG f, HRESULT r, BSTR t, IWbemClassObject* o) {
        return static_cast<IWbemObjectSink*>(self->real)->SetStatus(f, r, t, o);
    };
    return Traced<HRESULT>(function, (Label(*self) + "->").c_str(), original, flags, result, text, object);
}

const Table& ModulesSink()
{
    static const Table table =
        WithUnknown({reinterpret_cast<const void*>(&Indicate), reinterpret_cast<const void*>(&SetStatus)});
    return table;
}

} // namespace

const Interface* FindInterface(REFIID iid) noexcept
{
    static const Interface interfaces[] = {
        {&IID_IUnknown, "IUnknown", Unknown().data()},
        {&IID_IWbemLocator, "IWbemLocator", Locator().data()},
        {&IID_IWbemServices, "IWbemServices", Services().data()},
        {&IID_IWbemClassObject, "IWbemClassObject", ClassObject().data()},
        {&IID_IEnumWbemClassObject, "IEnumWbemClassObject", Enumerator().data()},
        {&IID_IUnsecuredApartment, "IUnsecuredApartment", Apartment().data()},
        {&IID_IWbemObjectSink, "IWbemObjectSink", Sink().data()},
    };
    const auto* const found =
        std::ranges::find_if(interfaces, [&iid](const Interface& entry) { return IsEqualIID(*entry.id, iid); });
    return found != std::end(interfaces) ? found : nullptr;
}

const Interface& InboundSink() noexcept
{
    static const Interface sink{&IID_IWbemObjectSink, "IWbemObjectSink", ModulesSink().data()};
    return sink;
}

} // namespace Zv::Host::Tracing
