#include "binding/event_sink.h"

#include <utility>

namespace ZoAtlCom::detail {

using namespace ZoEventLoggerFdxProxyLib;

HRESULT query_sink(IDispatch* sink, const GUID& events, const GUID& asked, void** out) {
    if (!out) return E_POINTER;
    const bool known = asked == IID_IUnknown || asked == IID_IDispatch || asked == events;
    *out = known ? sink : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

namespace {

HRESULT find_connection_point(IUnknown* source, const GUID& events, CComPtr<IConnectionPoint>& point) {
    CComQIPtr<IConnectionPointContainer> container;
    const HRESULT queried = container.query(source);
    if (failed(queried)) return queried;
    if (!container) return E_POINTER;
    const HRESULT found = container->FindConnectionPoint(events, point.put());
    return failed(found) || point ? found : E_POINTER;
}

} // namespace

HRESULT advise(IUnknown* source, const GUID& events, IUnknown* sink, std::uint32_t* cookie) {
    CComPtr<IConnectionPoint> point;
    const HRESULT found = find_connection_point(source, events, point);
    if (failed(found)) return found;
    std::uint32_t given = not_advised;
    const HRESULT advised = point->Advise(sink, &given);
    if (succeeded(advised)) *cookie = given;
    return advised;
}

HRESULT unadvise(IUnknown* source, const GUID& events, std::uint32_t* cookie) {
    const std::uint32_t old = std::exchange(*cookie, not_advised);
    CComPtr<IConnectionPoint> point;
    const HRESULT found = find_connection_point(source, events, point);
    return failed(found) ? found : point->Unadvise(old);
}

HRESULT object_argument(const VARIANT& argument, const GUID& iid, void** out) {
    // Keeps a reference during the query, even when the caller's variant changes meanwhile.
    struct Copy : VARIANT {
        Copy() : VARIANT{} {}
        ~Copy() { VariantClear(this); }
    } copy;
    throw_if_failed(VariantCopy(&copy, &argument));
    if (copy.vt != VT_UNKNOWN && copy.vt != VT_DISPATCH) return E_NOINTERFACE;
    if (!copy.punkVal) return E_POINTER;
    const HRESULT code = copy.punkVal->QueryInterface(iid, out);
    if (failed(code)) *out = nullptr;
    return failed(code) || *out ? code : E_POINTER;
}

HRESULT code_of_current_exception() noexcept {
    try {
        throw;
    } catch (const CAtlException& exception) {
        return exception.code();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

GateVisit::GateVisit(std::shared_ptr<CallGate> gate) : gate_(std::move(gate)) {
    gate_->enter();
}

GateVisit::~GateVisit() {
    gate_->leave();
}

} // namespace ZoAtlCom::detail
