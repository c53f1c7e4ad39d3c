#include "device/request/detail/pack_reads.h"

#include <algorithm>
#include <numeric>

namespace ZoHmiFdx {

namespace {

/// The remaining items in ascending order of size. A search returns the largest item that fits.
class Stock {
public:
    explicit Stock(std::span<const std::uint64_t> sizes) : order_(sizes.size()), below_(sizes.size() + 1) {
        std::iota(order_.begin(), order_.end(), std::size_t{0});
        std::ranges::stable_sort(order_, {}, [&](std::size_t number) { return sizes[number]; });
        sizes_.reserve(sizes.size());
        for (const std::size_t number : order_)
            sizes_.push_back(sizes[number]);
        std::iota(below_.begin(), below_.end(), std::size_t{0});
    }

    /// Returns the place behind the largest remaining item of at most `size` bytes; 0 if there is none.
    std::size_t find(std::uint64_t size) {
        const auto end = std::ranges::upper_bound(sizes_, size);
        return left_at_or_below(static_cast<std::size_t>(end - sizes_.begin()));
    }
    std::size_t find_largest() { return left_at_or_below(sizes_.size()); }
    std::uint64_t size_of(std::size_t place) const { return sizes_[place - 1]; }

    std::size_t take(std::size_t place) {
        below_[place] = place - 1;
        return order_[place - 1];
    }

private:
    /// Skips the places that were taken, and shortens the path for the next search.
    std::size_t left_at_or_below(std::size_t place) {
        while (below_[place] != place) {
            below_[place] = below_[below_[place]];
            place = below_[place];
        }
        return place;
    }

    std::vector<std::size_t> order_;
    std::vector<std::uint64_t> sizes_;
    std::vector<std::size_t> below_; // by place: the place itself, or a lower place once its item was taken
};

/// Fills one request after the other. By default each request takes the largest item that fits. With `even` a request
/// first takes items near the average size that still fits, so that large and small items share requests.
Packing pack(std::span<const std::uint64_t> sizes, std::uint64_t max_items, std::uint64_t max_bytes, bool even) {
    Stock stock(sizes);
    Packing packing;
    packing.numbers.reserve(sizes.size());
    while (std::size_t place = stock.find_largest()) {
        std::uint64_t room = max_bytes;
        std::uint64_t items = max_items;
        while (place != 0) {
            room -= stock.size_of(place);
            packing.numbers.push_back(stock.take(place));
            if (--items == 0) break;
            place = even ? stock.find(room / items) : 0;
            if (place == 0) place = stock.find(room);
        }
        packing.ends.push_back(packing.numbers.size());
    }
    return packing;
}

} // namespace

Packing pack_reads(std::span<const std::uint64_t> sizes, std::uint64_t max_items, std::uint64_t max_bytes) {
    Packing largest_first = pack(sizes, max_items, max_bytes, false);
    const std::uint64_t total = std::accumulate(sizes.begin(), sizes.end(), std::uint64_t{0});
    const auto at_least = [](std::uint64_t amount, std::uint64_t limit) {
        return amount / limit + (amount % limit != 0);
    };
    if (largest_first.ends.size() <= std::max(at_least(sizes.size(), max_items), at_least(total, max_bytes)))
        return largest_first;
    Packing even = pack(sizes, max_items, max_bytes, true);
    return even.ends.size() < largest_first.ends.size() ? even : largest_first;
}

} // namespace ZoHmiFdx
