#include "device/type/array_info.h"

#include <limits>

namespace ZoHmiFdx {

ArrayInfo::ArrayInfo(std::vector<Dimension> dimensions, std::string element_type_name)
    : dimensions_(std::move(dimensions)), element_type_name_(std::move(element_type_name)) {
    recalculate_total_nr_of_elements();
}

std::int64_t ArrayInfo::max_index(std::size_t i) const {
    const auto [lower_bound, nr_of_elements] = dimensions_.at(i);
    const std::int64_t lower = lower_bound;
    if (nr_of_elements == 0) return lower - 1;
    // Unsigned: the distance from a negative bound to the maximum fits too.
    constexpr std::int64_t max = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t room = static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(lower);
    const std::uint64_t steps = nr_of_elements - 1;
    return steps > room ? max : static_cast<std::int64_t>(static_cast<std::uint64_t>(lower) + steps);
}

std::uint64_t ArrayInfo::calculate_total_nr_of_elements() const noexcept {
    if (dimensions_.empty()) return 0;
    constexpr std::uint64_t max = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t total = 1;
    for (const Dimension& dimension : dimensions_) {
        // A total that wraps to 0 would mean "no array".
        const std::uint64_t count = dimension.nr_of_elements;
        total = count != 0 && total > max / count ? max : total * count;
    }
    return total;
}

} // namespace ZoHmiFdx
