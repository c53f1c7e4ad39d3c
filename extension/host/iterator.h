#pragma once

#include "extension/host/detail/value_layout.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

namespace ZoHmiSrv {

class Value;

/// Walks the members of a Map or Struct in byte-wise order of their names. An insertion or removal ends its validity.
/// All containers have the same end.
template <class T>
class Iterator {
    using Element = std::remove_const_t<T>;

public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Element;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    Iterator() noexcept = default;
    /// From the mutable form to the const one.
    operator Iterator<const T>() const noexcept requires(!std::is_const_v<T>) { return Iterator<const T>(run_, at_); }

    const char* name() const noexcept { return at_->name.c_str(); }
    T& operator*() const noexcept { return at_->value; }
    T* operator->() const noexcept { return &at_->value; }

    Iterator& operator++() noexcept {
        if (++at_ == stop_) *this = first_of(run_->next);
        return *this;
    }
    Iterator operator++(int) noexcept {
        Iterator before = *this;
        ++*this;
        return before;
    }

    friend bool operator==(const Iterator& left, const Iterator& right) noexcept { return left.at_ == right.at_; }

private:
    friend class Value;
    friend struct ValueAccess;
    template <class>
    friend class Iterator;

    Iterator(Layout::Block* run, Layout::Member<Element>* at) noexcept
        : run_(run), at_(at), stop_(run == nullptr ? nullptr : Layout::members_of<Element>(run) + run->size) {}
    /// Returns the first member of a run, or the end.
    static Iterator first_of(Layout::Block* run) noexcept {
        return run == nullptr || run->size == 0 ? Iterator() : Iterator(run, Layout::members_of<Element>(run));
    }

    Layout::Block* run_ = nullptr;
    Layout::Member<Element>* at_ = nullptr;
    Layout::Member<Element>* stop_ = nullptr;
};

template <class T>
using ConstIterator = Iterator<const T>;

/// Walks a vector. A change of the vector's size ends its validity.
template <class T>
class VectorIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = std::remove_const_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    VectorIterator() noexcept = default;
    explicit VectorIterator(T* at) noexcept : at_(at) {}
    /// From the mutable form to the const one.
    operator VectorIterator<const T>() const noexcept requires(!std::is_const_v<T>) {
        return VectorIterator<const T>(at_);
    }

    T& operator*() const noexcept { return *at_; }
    T* operator->() const noexcept { return at_; }

    VectorIterator& operator++() noexcept {
        ++at_;
        return *this;
    }
    VectorIterator operator++(int) noexcept { return VectorIterator(at_++); }
    friend bool operator==(const VectorIterator&, const VectorIterator&) noexcept = default;

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    T& operator[](std::ptrdiff_t by) const noexcept {
        return at_[by];
    }
    VectorIterator& operator--() noexcept {
        --at_;
        return *this;
    }
    VectorIterator operator--(int) noexcept {
        return VectorIterator(at_--);
    }
    VectorIterator& operator+=(std::ptrdiff_t by) noexcept {
        at_ += by;
        return *this;
    }
    VectorIterator& operator-=(std::ptrdiff_t by) noexcept {
        return *this += -by;
    }
    friend VectorIterator operator+(VectorIterator it, std::ptrdiff_t by) noexcept {
        return it += by;
    }
    friend VectorIterator operator+(std::ptrdiff_t by, VectorIterator it) noexcept {
        return it += by;
    }
    friend VectorIterator operator-(VectorIterator it, std::ptrdiff_t by) noexcept {
        return it -= by;
    }
    friend std::ptrdiff_t operator-(VectorIterator left, VectorIterator right) noexcept {
        return left.at_ - right.at_;
    }
    friend auto operator<=>(const VectorIterator&, const VectorIterator&) noexcept = default;
#endif

private:
    T* at_ = nullptr;
};

template <class T>
using ConstVectorIterator = VectorIterator<const T>;

} // namespace ZoHmiSrv
