#pragma once

#include "extension/host/export.h"
#include "extension/host/iterator.h"
#include "extension/host/value_type.h"

#include <cstddef>

namespace ZoHmiSrv {

/// The Vector in a Value, as `Value::get_vector` returns it. Valid as long as the Value is.
template <class T>
class Vector {
public:
    explicit Vector(T& value) noexcept : value_(&value) {}

    /// As `operator[]` of the Value.
    T& get(unsigned long index) const { return (*value_)[index]; }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    VectorIterator<T> begin() const {
        return value_->begin_vector();
    }
    VectorIterator<T> end() const {
        return value_->end_vector();
    }
    std::size_t size() const noexcept {
        return value_->type() == ValueType::Vector ? value_->size() : 0;
    }
    bool empty() const noexcept {
        return size() == 0;
    }
#endif

private:
    T* value_;
};

} // namespace ZoHmiSrv
