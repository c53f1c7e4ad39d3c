#include "binding/error.h"
#include "tests/fakes/fake_events.h"
#include "tests/targets/reference_container.h"

namespace {

using namespace ZoHmiSrv;
using fakes::file_time;
using ZoHmiEventLogger::AlarmKey;
using ZoHmiEventLogger::EventStore;

using Evictions = std::vector<std::pair<long, std::string>>; // key and name of each evicted event

// Takes random steps on the reference and on the store, which is listed only as one of the steps: that sets counters.
class Walk {
public:
    Walk(unsigned seed, unsigned limit, int times) : random_(seed), limit_(limit), times_(times) {
        reference_.removal_callback = recorder(expected_);
        store_.set_removal_callback(recorder(evicted_));
        for (int i = 0; i < 12; ++i) {
            fakes::EventFields fields{.raised = file_time(any(times_))};
            if (i % 3) fields.unique_id = static_cast<std::uint32_t>(i % 5);
            plans_.push_back(std::make_shared<fakes::CallPlan>());
            pool_.push_back(new fakes::FakeAlarm(fields, plans_.back()));
        }
    }

    void step() {
        const unsigned limit = any(40) ? limit_ : any_limit();
        if (!any(200)) limit_ = any_limit();
        const int kind = any(16);
        if (kind < 3) return add_message(limit);
        if (kind < 8) return add(limit);
        if (kind < 10) return release(limit);
        if (kind == 10) return raise_again(limit);
        if (kind == 11) return find_by_id();
        if (kind == 12) {
            reference_.prune(limit);
            store_.prune(limit);
        } else if (kind == 13) {
            reference_.notify = any(4) != 0;
            store_.set_notify(reference_.notify);
        } else if (kind == 14) {
            list();
        } else if (any(40)) {
            change_alarm();
        } else {
            reference_.clear();
            store_.clear();
        }
    }

    void compare() {
        ASSERT_EQ(evicted_, expected_);
        expected_.clear();
        evicted_.clear();
        ASSERT_EQ(store_.counters(), reference_.counters);
        std::vector<std::string> live, expected_live;
        store_.for_each_live([&](const Event& event, auto*) { live.emplace_back(event.name()); });
        for (const auto& [key, entries] : reference_.buckets)
            for (const auto& entry : entries)
                if (entry.pointer) expected_live.emplace_back(entry.event.name());
        ASSERT_EQ(live, expected_live);
        // The pool holds an alarm, and both stores do for each entry of it.
        for (const auto& alarm : pool_) {
            std::uint32_t held_by = 1;
            for (const auto& [key, entries] : reference_.buckets)
                held_by += 2 * std::uint32_t(
                                   std::ranges::count(entries, alarm.get(), [](auto& e) { return e.pointer.get(); }));
            ASSERT_EQ(alarm->references(), held_by);
        }
    }

    int finds_failed = 0;

private:
    static std::function<void(long, const Event&)> recorder(Evictions& evictions) {
        return [&evictions](long key, const Event& event) { evictions.emplace_back(key, event.name()); };
    }
    int any(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
    std::size_t any_index(std::size_t size) { return random_() % size; }
    unsigned any_limit() { return std::vector<unsigned>{0, 1, 2, 3, 10, 100, 0xFFFFFFFF}[any_index(7)]; }
    std::int64_t any_file_time() { return file_time(any(times_)); }

    // Another raised time or id, or its calls begin or cease to fail.
    void change_alarm() {
        const std::size_t index = any_index(pool_.size());
        if (fails_[index] || !any(4)) {
            fails_[index] = !fails_[index];
            plans_[index]->clear();
            if (fails_[index]) plans_[index]->answer("Alarm.GetTimeRaised", E_FAIL);
            return;
        }
        pool_[index]->update([&](auto& fields) {
            if (any(4))
                fields.raised = any_file_time();
            else
                fields.unique_id = static_cast<std::uint32_t>(any(5));
        });
    }

    void add_message(unsigned limit) {
        Message message;
        message.set_name(next_name().c_str());
        message.set_domain("domain");
        message.set_time_raised(Timestamp::from_file_time(any_file_time()));
        Event event;
        event.payload().set(message);
        event.set_name(message.name());
        event.set_domain(message.domain());
        event.set_time_received(message.time_raised());
        reference_.add(event, nullptr, limit, 0, false);
        store_.add_message(message, limit, 0, false);
    }

    Event any_event(const Timestamp& time) {
        Event event;
        event.set_name(next_name().c_str());
        event.set_time_received(time);
        if (!any(6)) return event; // of neither kind
        Alarm alarm;
        alarm.set_id(1 + any(20));
        if (!any(3)) alarm.set_alarm_state(AlarmState::Invalid);
        event.payload().set(alarm);
        return event;
    }

    void add(unsigned limit) {
        const std::size_t index = any_index(pool_.size());
        fakes::FakeAlarm* const alarm = any(2) ? pool_[index].get() : nullptr;
        const auto time = any(8) && alarm ? alarm->fields().raised : any_file_time();
        Event event = any_event(Timestamp::from_file_time(time)), copy = event;
        const bool has_pointer = any(4) != 0, use_key = !any(10);
        const long key = any(times_);
        if (alarm && has_pointer && fails_[index]) {
            ASSERT_THROW(store_.add(event, alarm, true, limit, key, use_key), ZoAtlCom::CAtlException);
            ASSERT_TRUE(event == copy);
            return;
        }
        reference_.add(copy, has_pointer ? alarm : nullptr, limit, key, use_key);
        store_.add(event, alarm, has_pointer, limit, key, use_key);
        ASSERT_TRUE(event == Event());
    }

    // How often alarms were asked for their raised time.
    std::size_t asked() const {
        std::size_t asked = 0;
        for (const auto& plan : plans_)
            asked += plan->count("Alarm.GetTimeRaised");
        return asked;
    }

    // As for a removed alarm: found by its key, so that the answer of the proxy decides. Other alarms are not asked.
    void release(unsigned limit) {
        const std::size_t index = any_index(pool_.size());
        if (fails_[index]) return;
        const AlarmKey key = AlarmKey::of(*pool_[index]);
        std::optional<ReferenceContainer::Position> expected;
        EventStore::Position found;
        const auto fails = [&key](auto& store, auto& position) {
            try {
                position = store.find_alarm(key);
                return false;
            } catch (const ZoAtlCom::CAtlException&) {
                return true;
            }
        };
        const std::size_t before = asked();
        const bool expected_to_fail = fails(reference_, expected);
        const std::size_t between = asked();
        const bool failed = fails(store_, found);
        ASSERT_EQ(failed, expected_to_fail);
        ASSERT_EQ(asked() - between, between - before);
        finds_failed += failed;
        ASSERT_EQ(static_cast<bool>(found), expected.has_value());
        if (!found) return;
        ASSERT_STREQ(found.event().name(), reference_.at(*expected).event.name());
        store_.release_alarm(found, limit);
        reference_.release_alarm(*expected, limit);
    }

    // As for an alarm that is raised again: found by its object and mostly replaced.
    void raise_again(unsigned limit) {
        const std::size_t index = any_index(pool_.size());
        fakes::FakeAlarm* const alarm = pool_[index].get();
        const auto expected = reference_.find_if([&](const auto& entry) { return entry.pointer.get() == alarm; });
        const auto found = store_.find_pointer(alarm);
        ASSERT_EQ(static_cast<bool>(found), expected.has_value());
        if (!found) return;
        ASSERT_STREQ(found.event().name(), reference_.at(*expected).event.name());
        Event event = found.event();
        if (event.payload().type() != ValueType::Alarm || !any(4)) {
            reference_.erase_alarm(*expected);
            return store_.erase_alarm(found);
        }
        event.set_time_received(Timestamp::from_file_time(any_file_time()));
        Event copy = event;
        if (fails_[index]) {
            ASSERT_THROW(store_.replace_alarm(found, event, alarm, limit), ZoAtlCom::CAtlException);
            ASSERT_TRUE(event == copy);
            return;
        }
        reference_.erase_alarm(*expected);
        reference_.add(copy, alarm, limit, 0, false);
        store_.replace_alarm(found, event, alarm, limit);
        ASSERT_TRUE(event == Event());
    }

    void find_by_id() {
        const int id = 1 + any(20);
        ASSERT_EQ(store_.find_alarm_by_id(id), reference_.find_alarm_by_id(id));
    }

    void list() {
        Value listed;
        store_.list(listed);
        const auto expected = reference_.list();
        ASSERT_EQ(listed.type(), ValueType::Vector);
        ASSERT_EQ(listed.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            ASSERT_TRUE(listed[i].get_event() == *expected[i]) << i << ": " << expected[i]->name();
    }

    std::string next_name() { return "event " + std::to_string(++names_); }

    std::mt19937 random_;
    unsigned limit_;
    int times_; // few of them make many events of the same time
    int names_ = 0;
    std::vector<fakes::AlarmPtr> pool_;
    std::vector<std::shared_ptr<fakes::CallPlan>> plans_; // of the alarms
    std::vector<bool> fails_ = std::vector<bool>(12);     // their calls
    ReferenceContainer reference_;
    EventStore store_;
    Evictions expected_, evicted_;
};

TEST(ContainerProperty, EqualsTheWalkAfterEveryStep) {
    int steps = 0, finds_failed = 0;
    for (const unsigned limit : {0U, 1U, 2U, 3U, 10U, 100U}) {
        for (const int times : {1, 3, 8, 1000}) {
            const unsigned seed = limit * 10'000 + static_cast<unsigned>(times);
            Walk walk(seed, limit, times);
            for (int step = 0; step < 4500; ++step, ++steps) {
                walk.step();
                walk.compare();
                ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
            }
            finds_failed += walk.finds_failed;
        }
    }
    EXPECT_GE(steps, 100'000);
    EXPECT_GE(finds_failed, 100);
}

} // namespace
