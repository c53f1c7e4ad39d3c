// The store of a target's events, filled to its limit, beside a Boost.MultiIndex container of the same orders and a
// plain walk. The first load adds events at ascending times; each evicts the oldest one. The second is a mix of
// operations on stores in which a tenth of the events are live alarms. The third is an avalanche of alarms of one time.

#include "bench/plain_proxy.h"
#include "targets/conversion.h"
#include "targets/limited_event_container.h"
#include "tests/targets/reference_container.h"

#include <benchmark/benchmark.h>

#include <boost/multi_index/mem_fun.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

using ZoEventLoggerFdxProxyLib::IZoAlarm;
using ZoHmiSrv::Event;

namespace {

class ThisStore {
public:
    void set_limit(unsigned limit) { limit_ = limit; }
    void add(Event& event, IZoAlarm* alarm) { store_.add(event, alarm, true, limit_, 0, false); }
    void release(IZoAlarm* alarm) { store_.release_alarm(store_.find_pointer(alarm), limit_); }
    void erase(IZoAlarm* alarm) { store_.erase_alarm(store_.find_pointer(alarm)); }
    IZoAlarm* find(int id) const { return store_.find_alarm_by_id(id); }
    std::size_t size() const { return store_.counters().active_alarms + store_.counters().not_live; }

private:
    unsigned limit_ = 0;
    ZoHmiEventLogger::EventStore store_;
};

class WalkedStore {
public:
    WalkedStore() { store_.notify = false; }
    void set_limit(unsigned limit) { limit_ = limit; }
    void add(Event& event, IZoAlarm* alarm) { store_.add(event, alarm, limit_, 0, false); }
    void release(IZoAlarm* alarm) { store_.release_alarm(*find_pointer(alarm), limit_); }
    void erase(IZoAlarm* alarm) { store_.erase_alarm(*find_pointer(alarm)); }
    IZoAlarm* find(int id) const { return store_.find_alarm_by_id(id); }
    std::size_t size() const { return store_.counters.active_alarms + store_.counters.not_live; }

private:
    std::optional<ReferenceContainer::Position> find_pointer(IZoAlarm* alarm) const {
        return store_.find_if([alarm](const auto& entry) { return entry.pointer.get() == alarm; });
    }
    unsigned limit_ = 0;
    ReferenceContainer store_;
};

class MultiIndexStore {
    struct Entry {
        std::int64_t key;
        std::uint64_t sequence;
        mutable ZoAtlCom::CComPtr<IZoAlarm> pointer; // changed together with its index, see release
        mutable Event event;
        int id;

        std::pair<std::int64_t, std::uint64_t> rank() const { return {-key, sequence}; }
        IZoAlarm* alarm() const { return pointer.get(); }
    };
    struct ByAlarm {};
    struct ById {};
    using Entries = boost::multi_index_container<
        Entry,
        boost::multi_index::indexed_by<
            boost::multi_index::ordered_unique<
                boost::multi_index::const_mem_fun<Entry, std::pair<std::int64_t, std::uint64_t>, &Entry::rank>>,
            boost::multi_index::ordered_non_unique<boost::multi_index::tag<ByAlarm>,
                                                   boost::multi_index::const_mem_fun<Entry, IZoAlarm*, &Entry::alarm>>,
            boost::multi_index::ordered_non_unique<boost::multi_index::tag<ById>,
                                                   boost::multi_index::member<Entry, int, &Entry::id>>>>;

public:
    void set_limit(unsigned limit) { limit_ = limit; }
    void add(Event& event, IZoAlarm* alarm) {
        const int id = alarm ? std::as_const(event).payload().get_alarm().id() : 0;
        Entry entry{event.time_received().nanoseconds(), next_sequence_++, alarm, Event(), id};
        entry.event.swap(event);
        entries_.insert(std::move(entry));
        evict();
    }
    void release(IZoAlarm* alarm) {
        auto& index = entries_.get<ByAlarm>();
        index.modify(index.find(alarm), [](Entry& entry) {
            entry.pointer = {};
            entry.id = 0;
        });
        evict();
    }
    void erase(IZoAlarm* alarm) {
        auto& index = entries_.get<ByAlarm>();
        index.erase(index.find(alarm));
    }
    IZoAlarm* find(int id) const {
        const auto& index = entries_.get<ById>();
        const auto found = index.find(id);
        return found == index.end() ? nullptr : found->alarm();
    }
    std::size_t size() const { return entries_.size(); }

private:
    // Evicts the entries behind the limit that are not live.
    void evict() {
        auto behind = entries_.end();
        for (std::size_t count = entries_.size(); count > limit_; --count) {
            --behind;
            if (!behind->pointer) behind = entries_.erase(behind);
        }
    }

    unsigned limit_ = 0;
    std::uint64_t next_sequence_ = 0;
    Entries entries_;
};

/// Ascending in time, a second apart, as the import converts them; every third one is a message.
class EventSource {
public:
    Event next() {
        const std::int64_t time = ++count_ * 1'000'000'000;
        const plain::LoggedEventPtr item(
            new plain::PlainLoggedEvent({.raised = time,
                                         .cleared = time + 1,
                                         .unique_id = static_cast<std::uint32_t>(count_),
                                         .type = count_ % 3 ? ZoEventLoggerFdxProxyLib::EventTypeAlarm
                                                            : ZoEventLoggerFdxProxyLib::EventTypeMessage}));
        Event event;
        ZoHmiEventLogger::convert_logged_event(event, item.get(), "domain", "Filler", static_cast<int>(count_));
        return event;
    }
    struct Live {
        Event event;
        plain::AlarmPtr alarm;
        int id;
    };
    Live next_live() {
        const std::int64_t time = ++count_ * 1'000'000'000;
        Live live{{},
                  new plain::PlainAlarm({.raised = time, .unique_id = static_cast<std::uint32_t>(count_)}),
                  static_cast<int>(count_)};
        ZoHmiEventLogger::convert_alarm(live.event, live.alarm.get(), "domain", "Filler", live.id, false);
        return live;
    }

private:
    std::int64_t count_ = 0;
};

enum class Load { Adding, Mixed };

/// A full store, reused by all runs of one load. Another load would leave it partly empty.
template <class Store>
struct Filled {
    static Filled& of(std::int64_t capacity, Load load) {
        auto& filled = kept()[{capacity, load}];
        if (!filled) filled = std::make_unique<Filled>(capacity);
        return *filled;
    }
    static auto& kept() {
        static std::map<std::pair<std::int64_t, Load>, std::unique_ptr<Filled>> kept;
        return kept;
    }
    explicit Filled(std::int64_t capacity) {
        store.set_limit(~0U);
        for (std::int64_t i = 0; i < capacity; ++i) {
            Event event = source.next();
            store.add(event, nullptr);
        }
        store.set_limit(static_cast<unsigned>(capacity));
    }
    EventSource source;
    Store store;
};

constexpr std::size_t batch = 256;

/// Memory locality decides the time of the largest stores. All are filled before any is used, so that
/// each gets contiguous memory.
void fill_all() {
    for (const std::int64_t capacity : {1'000, 10'000, 100'000, 1'000'000}) {
        Filled<ThisStore>::of(capacity, Load::Adding);
        Filled<MultiIndexStore>::of(capacity, Load::Adding);
    }
}

template <class Store>
void add(benchmark::State& state) {
    [[maybe_unused]] static const bool all_filled = (fill_all(), true);
    auto& filled = Filled<Store>::of(state.range(0), Load::Adding);
    std::vector<Event> events(batch);
    for (auto _ : state) {
        state.PauseTiming();
        for (Event& event : events)
            event = filled.source.next();
        state.ResumeTiming();
        for (Event& event : events)
            filled.store.add(event, nullptr);
    }
    if (filled.store.size() != static_cast<std::size_t>(state.range(0))) state.SkipWithError("not one eviction each");
    state.SetItemsProcessed(state.iterations() * std::int64_t{batch});
}

// One third adds live alarms, one third releases them, one third finds them. Of ten released alarms nine become
// history; the tenth is erased.
template <class Store>
void mix(benchmark::State& state) {
    auto& filled = Filled<Store>::of(state.range(0), Load::Mixed);
    const auto target = static_cast<std::size_t>(state.range(0) / 10);
    std::mt19937 random(1);
    std::vector<std::pair<plain::AlarmPtr, int>> live;
    const auto add_live = [&](EventSource::Live& added) {
        filled.store.add(added.event, added.alarm.get());
        live.emplace_back(added.alarm, added.id);
    };
    while (live.size() < target) {
        auto added = filled.source.next_live();
        add_live(added);
    }
    std::vector<EventSource::Live> added(batch);
    for (auto _ : state) {
        state.PauseTiming();
        for (auto& one : added)
            one = filled.source.next_live();
        state.ResumeTiming();
        for (auto& one : added) {
            add_live(one);
            auto& chosen = live[random() % live.size()];
            if (filled.store.find(chosen.second) != chosen.first.get()) return state.SkipWithError("not found");
            if (chosen.second % 10)
                filled.store.release(chosen.first.get());
            else
                filled.store.erase(chosen.first.get());
            std::swap(chosen, live.back());
            live.pop_back();
        }
    }
    for (const auto& [alarm, id] : live)
        filled.store.erase(alarm.get());
    state.SetItemsProcessed(state.iterations() * std::int64_t{3 * batch});
}

// Alarms of one time, as after the failure of a bus: all are raised, then each is found by its key and released.
void avalanche(benchmark::State& state, bool reversed) {
    constexpr unsigned limit = ~0U;
    const auto count = static_cast<std::size_t>(state.range(0));
    std::vector<plain::AlarmPtr> alarms;
    for (std::uint32_t id = 1; id <= count; ++id)
        alarms.push_back(new plain::PlainAlarm({.raised = 1'000'000'000, .unique_id = id}));
    std::vector<Event> events(count);
    for (auto _ : state) {
        state.PauseTiming();
        auto store = std::make_unique<ZoHmiEventLogger::EventStore>();
        for (std::size_t i = 0; i < count; ++i)
            ZoHmiEventLogger::convert_alarm(events[i], alarms[i].get(), "domain", "Filler", static_cast<int>(i), false);
        state.ResumeTiming();
        for (std::size_t i = 0; i < count; ++i)
            store->add(events[i], alarms[i].get(), true, limit, 0, false);
        for (std::size_t i = 0; i < count; ++i) {
            IZoAlarm& alarm = *alarms[reversed ? count - 1 - i : i];
            store->release_alarm(store->find_alarm(ZoHmiEventLogger::AlarmKey::of(alarm)), limit);
        }
        state.PauseTiming();
        if (store->counters().active_alarms != 0) state.SkipWithError("not all found");
        store.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(add<ThisStore>)->Name("add/this")->RangeMultiplier(10)->Range(1'000, 1'000'000);
BENCHMARK(add<MultiIndexStore>)->Name("add/multi_index")->RangeMultiplier(10)->Range(1'000, 1'000'000);
BENCHMARK(add<WalkedStore>)->Name("add/walk")->Arg(1'000)->Arg(10'000);
BENCHMARK(mix<ThisStore>)->Name("mix/this")->Arg(10'000)->Arg(100'000);
BENCHMARK(mix<MultiIndexStore>)->Name("mix/multi_index")->Arg(10'000)->Arg(100'000);
BENCHMARK(mix<WalkedStore>)->Name("mix/walk")->Arg(10'000);
// Fewer alarms would fit into the processor's cache and distort the ratio.
BENCHMARK_CAPTURE(avalanche, this, false)->Name("avalanche/this")->Arg(10'000)->Arg(100'000);
BENCHMARK_CAPTURE(avalanche, reversed, true)->Name("avalanche/reversed")->Arg(10'000)->Arg(100'000);

} // namespace
