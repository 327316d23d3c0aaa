// IEnumWbemClassObject over a query's result.
#pragma once

#include "Simulator/Com/ClientSecurity.h"
#include "Simulator/Com/ComObject.h"

#include <wbemcli.h>

#include <memory>
#include <string>
#include <vector>

namespace Zv::Simulator
{

// What a query found. A query that was not waited for keeps its failure for whoever fetches.
struct ResultSet
{
    std::wstring className;
    HRESULT status = S_OK;
    std::vector<ObjectPtr> objects;
};
using ResultSetPtr = std::shared_ptr<const ResultSet>;

// Safe on several threads.
class Enumerator final : public ComObject<IEnumWbemClassObject, ObjectKind::Enumerator>
{
public:
    Enumerator(CorePtr core, ResultSetPtr results, bool forwardOnly, std::size_t position = 0);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned) override;
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG count, IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** copy) override;
    HRESULT STDMETHODCALLTYPE Skip(LONG timeout, ULONG count) override;

private:
    // Takes up to so many objects from the position on; returns how many.
    std::size_t Advance(std::size_t count, std::size_t& first);
    // Whether the client may, and whether the query could be run.
    [[nodiscard]] HRESULT CheckState() const;
    HRESULT Fetch(ULONG count, IWbemClassObject** objects, ULONG& returned);

    const ResultSetPtr m_results;
    const bool m_forwardOnly;
    const std::shared_ptr<Blanket> m_blanket = std::make_shared<Blanket>(GetCore().description.security);
    Tessel::Server::Shared::Lock m_lock;
    std::size_t m_position; // guarded by m_lock
};

} // namespace Zv::Simulator
