#pragma once

#include "binding/collections.h"
#include "binding/com_ptr.h"
#include "binding/identifiers.h"
#include "platform/logger_proxy/com_object.h"
#include "platform/logger_proxy/out_values.h"

#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace zo_logger_proxy {

/// A list that never changes. `Interface` is the interface of the collection, `Item` that of its items. [any thread]
template <class Interface, class Item>
class Collection final : public CountedObject<Collection<Interface, Item>, Interface> {
public:
    using Items = std::vector<ZoAtlCom::CComPtr<Item>>;

    explicit Collection(Items items) : items_(std::move(items)) {}

    HRESULT GetItem(std::int32_t index, Item** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        if (index < 0 || static_cast<std::size_t>(index) >= items_.size()) return E_INVALIDARG;
        *out = items_[static_cast<std::size_t>(index)].get();
        (*out)->AddRef();
        return S_OK;
    }
    HRESULT GetCount(std::int32_t* out) override { return put(out, static_cast<std::int32_t>(items_.size())); }

    void* find_interface(const GUID& iid) {
        return answers_to<Interface>(iid) ? static_cast<Interface*>(this) : nullptr;
    }

private:
    friend CountedObject<Collection, Interface>;
    ~Collection() = default;

    const Items items_;
};

using ThreeTexts = std::array<std::string, 3>;

/// An id with two texts: a cause and its remedy. [any thread]
class CauseRemedy final : public CountedObject<CauseRemedy, ZoEventLoggerFdxProxyLib::IZoCauseRemedy> {
public:
    explicit CauseRemedy(ThreeTexts texts) : texts_(std::move(texts)) {}

    HRESULT GetId(char** out) override { return put_text(out, texts_[0]); }
    HRESULT GetCause(char** out) override { return put_text(out, texts_[1]); }
    HRESULT GetRemedy(char** out) override { return put_text(out, texts_[2]); }

    void* find_interface(const GUID& iid) {
        using ZoEventLoggerFdxProxyLib::IZoCauseRemedy;
        return answers_to<IZoCauseRemedy>(iid) ? static_cast<IZoCauseRemedy*>(this) : nullptr;
    }

private:
    friend CountedObject;
    ~CauseRemedy() = default;

    const ThreeTexts texts_;
};

/// An id with two texts: a detail and a comment. [any thread]
class Detail final : public CountedObject<Detail, ZoEventLoggerFdxProxyLib::IZoDetail> {
public:
    explicit Detail(ThreeTexts texts) : texts_(std::move(texts)) {}

    HRESULT GetId(char** out) override { return put_text(out, texts_[0]); }
    HRESULT GetText(char** out) override { return put_text(out, texts_[1]); }
    HRESULT GetComment(char** out) override { return put_text(out, texts_[2]); }

    void* find_interface(const GUID& iid) {
        using ZoEventLoggerFdxProxyLib::IZoDetail;
        return answers_to<IZoDetail>(iid) ? static_cast<IZoDetail*>(this) : nullptr;
    }

private:
    friend CountedObject;
    ~Detail() = default;

    const ThreeTexts texts_;
};

} // namespace zo_logger_proxy
