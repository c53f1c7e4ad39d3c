#pragma once

#include "extension/host/binary.h"
#include "extension/host/timestamp.h"

#include <concepts>
#include <type_traits>

/// The types of the templates of a `Value`. Types that convert to one of them are refused.
namespace ZoHmiSrv::Layout {

template <class T, class... Allowed>
concept OneOf = (std::same_as<T, Allowed> || ...);

template <class T>
concept NotText = !std::same_as<std::remove_cv_t<T>, char>;

#ifdef ZOHMISRV_WITHOUT_EXTRAS
template <class T>
concept MemberScalar = OneOf<T, bool, int, long, double, Timestamp, Binary>;
template <class T>
concept UpdateScalar = OneOf<T, bool, int>;
template <class T>
concept ElementScalar = OneOf<T, int, long>;
#else
template <class T>
concept MemberScalar = OneOf<T, bool, int, long, unsigned long, double, Timestamp, Timespan, Binary>;
template <class T>
concept UpdateScalar = MemberScalar<T>;
template <class T>
concept ElementScalar = MemberScalar<T>;
template <class T>
concept AppendScalar = OneOf<T, bool, int, double, Timestamp>;
template <class T>
concept Index = std::integral<T> && !OneOf<T, bool, unsigned long>;
#endif

} // namespace ZoHmiSrv::Layout
