#pragma once

#include "binding/atl_com.h"
#include "binding/event_logger_proxy.h"
#include "tests/fakes/call_plan.h"
#include "tests/fakes/com_object.h"

namespace fakes {

using namespace ZoEventLoggerFdxProxyLib;

/// A snapshot of items, of which some may be null. Calls are named "Alarms.GetItem", "LoggedEvents.GetCount" and so on.
template <class Interface, class Item>
class FakeCollection final : public ComObject<Interface> {
public:
    FakeCollection(const char* kind, std::vector<ZoAtlCom::CComPtr<Item>> items, std::shared_ptr<CallPlan> plan,
                   std::optional<std::int32_t> reported_count = {})
        : kind_(kind), items_(std::move(items)), plan_(std::move(plan)), reported_count_(reported_count) {}

    HRESULT GetItem(std::int32_t index, Item** out) override {
        *out = nullptr;
        if (const auto planned = plan_->enter(kind_ + ".GetItem", true)) return *planned;
        if (index < 0 || static_cast<std::size_t>(index) >= items_.size()) return E_INVALIDARG;
        *out = ZoAtlCom::CComPtr<Item>(items_[static_cast<std::size_t>(index)]).detach();
        return S_OK;
    }
    HRESULT GetCount(std::int32_t* out) override {
        *out = 0;
        if (const auto planned = plan_->enter(kind_ + ".GetCount", true)) return *planned;
        *out = reported_count_.value_or(static_cast<std::int32_t>(items_.size()));
        return S_OK;
    }

private:
    void* find_interface(const GUID& iid) override {
        return answers_to<Interface>(iid) ? static_cast<Interface*>(this) : nullptr;
    }

    const std::string kind_;
    const std::vector<ZoAtlCom::CComPtr<Item>> items_;
    const std::shared_ptr<CallPlan> plan_;
    const std::optional<std::int32_t> reported_count_;
};

} // namespace fakes
