#pragma once

#include "extension/host/export.h"
#include "extension/host/iterator.h"

#include <cstddef>
#include <utility>

namespace ZoHmiSrv {

/// The Map or Struct in a Value, as `Value::get_map` returns it. Valid as long as the Value is.
template <class T>
class Map {
public:
    explicit Map(T& value) noexcept : value_(&value) {}

    /// As `operator[]` of the Value.
    T& get(const char* name) const { return (*value_)[name]; }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    Iterator<T> find(const char* name) const {
        return value_->find(name);
    }
    Iterator<T> begin() const {
        return value_->begin();
    }
    Iterator<T> end() const {
        return value_->end();
    }
    std::size_t size() const noexcept {
        return empty() ? 0 : value_->size();
    }
    bool empty() const noexcept {
        return std::as_const(*value_).begin() == std::as_const(*value_).end();
    }
#endif

private:
    T* value_;
};

} // namespace ZoHmiSrv
