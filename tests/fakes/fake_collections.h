#pragma once

#include "binding/atl_com.h"
#include "binding/event_logger_proxy.h"
#include "tests/fakes/call_plan.h"
#include "tests/fakes/com_object.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fakes {

// A snapshot of items, of which some may be null. Calls are named "Alarms.GetItem", "LoggedEvents.GetCount" and so on.
template <class Interface, class Item>
class FakeCollection final : public ComObject<Dispatch<Interface>> {
public:
    FakeCollection(const char* kind, std::vector<ZoAtlCom::CComPtr<Item>> items, std::shared_ptr<CallPlan> plan,
                   std::optional<std::int32_t> reported_count = {}, const GUID* iid = nullptr)
        : kind_(kind), items_(std::move(items)), plan_(std::move(plan)), reported_count_(reported_count), iid_(iid) {}

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

protected:
    void* find(const GUID& iid) override {
        using namespace ZoEventLoggerFdxProxyLib;
        const bool known = iid == IID_IUnknown || iid == IID_IDispatch || (iid_ && iid == *iid_);
        return known ? static_cast<Interface*>(this) : nullptr;
    }

private:
    const std::string kind_;
    const std::vector<ZoAtlCom::CComPtr<Item>> items_;
    const std::shared_ptr<CallPlan> plan_;
    const std::optional<std::int32_t> reported_count_;
    const GUID* const iid_;
};

// Three texts: id, cause and remedy, or id, text and comment.
struct ThreeTexts {
    std::string id, first, second;
};

template <class Interface>
class FakeTexts : public ComObject<Dispatch<Interface>> {
public:
    explicit FakeTexts(ThreeTexts texts) : texts_(std::move(texts)) {}
    HRESULT GetId(char** out) override { return hand_out(texts_.id, out); }

protected:
    void* find(const GUID& iid) override {
        using namespace ZoEventLoggerFdxProxyLib;
        return iid == IID_IUnknown || iid == IID_IDispatch ? static_cast<Interface*>(this) : nullptr;
    }
    const ThreeTexts texts_;
};

class FakeCauseRemedy final : public FakeTexts<ZoEventLoggerFdxProxyLib::IZoCauseRemedy> {
public:
    using FakeTexts::FakeTexts;
    HRESULT GetCause(char** out) override { return hand_out(texts_.first, out); }
    HRESULT GetRemedy(char** out) override { return hand_out(texts_.second, out); }
};

class FakeDetail final : public FakeTexts<ZoEventLoggerFdxProxyLib::IZoDetail> {
public:
    using FakeTexts::FakeTexts;
    HRESULT GetText(char** out) override { return hand_out(texts_.first, out); }
    HRESULT GetComment(char** out) override { return hand_out(texts_.second, out); }
};

} // namespace fakes
