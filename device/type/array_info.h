#pragma once

#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

/// The shape of an array, the outermost dimension first. A type that is no array has no dimensions. The numbers come
/// from the device: check them before an allocation. A plain value. [any thread]
class ZO_EXPORT ArrayInfo {
public:
    struct Dimension {
        std::int32_t lower_bound = 0;
        std::uint64_t nr_of_elements = 0;
    };

    ArrayInfo() = default;
    /// Calculates the total.
    ArrayInfo(std::vector<Dimension> dimensions, std::string element_type_name);

    [[nodiscard]] std::size_t dimensions() const noexcept { return dimensions_.size(); }
    /// Throws `std::out_of_range`.
    [[nodiscard]] const Dimension& dimension(std::size_t i) const { return dimensions_.at(i); }
    /// One below the lower bound for a dimension without elements. Saturates. Throws `std::out_of_range`.
    [[nodiscard]] std::int64_t max_index(std::size_t i) const;
    /// The total stays unchanged until the next calculation.
    void add_dimension(std::int32_t lower_bound, std::uint64_t nr_of_elements) {
        dimensions_.push_back({lower_bound, nr_of_elements});
    }

    /// Empty if the type of the elements has no name.
    [[nodiscard]] const std::string& element_type_name() const noexcept { return element_type_name_; }
    void set_element_type_name(std::string name) { element_type_name_ = std::move(name); }

    [[nodiscard]] std::uint64_t total_nr_of_elements() const noexcept { return total_nr_of_elements_; }
    /// The product of all dimensions, 0 without dimensions. Saturates.
    [[nodiscard]] std::uint64_t calculate_total_nr_of_elements() const noexcept;
    void recalculate_total_nr_of_elements() noexcept { total_nr_of_elements_ = calculate_total_nr_of_elements(); }

private:
    std::vector<Dimension> dimensions_;
    std::string element_type_name_;
    std::uint64_t total_nr_of_elements_ = 0;
};

} // namespace ZoHmiFdx
