#include "tests/fakes/fake_collections.h"

namespace fakes {

using namespace ZoEventLoggerFdxProxyLib;

void* FakeCauseRemedy::find(const GUID& iid) {
    return iid == IID_IUnknown || iid == IID_IDispatch ? static_cast<IZoCauseRemedy*>(this) : nullptr;
}

void* FakeDetail::find(const GUID& iid) {
    return iid == IID_IUnknown || iid == IID_IDispatch ? static_cast<IZoDetail*>(this) : nullptr;
}

} // namespace fakes
