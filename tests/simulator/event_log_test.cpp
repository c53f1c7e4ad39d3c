#include "simulator/event_log.h"

#include "simulator/state_file.h"
#include "tests/support/files.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace zo_sim {
namespace {

zo_link::EventRecord event(std::uint32_t id, bool with_confirmation = false) {
    zo_link::EventRecord record;
    record.event_id = id;
    record.with_confirmation = with_confirmation ? -1 : 0;
    return record;
}

std::string changes_of(EventLog& log) {
    std::string text;
    for (const Change& change : log.take_changes()) {
        const zo_link::EventRecord& record = change.occurrence.record;
        if (change.kind == ChangeKind::database) {
            text += "database " + std::to_string(change.reason) + ":" + std::to_string(change.erased.size()) + "; ";
            continue;
        }
        text += change.kind == ChangeKind::message   ? "message"
                : change.kind == ChangeKind::raised  ? "raised"
                : change.kind == ChangeKind::cleared ? "cleared"
                                                     : "confirmed";
        text += std::string(change.occurrence.listed ? " listed" : " gone") + (record.active != 0 ? " active" : "") +
                " state " + std::to_string(record.confirmation) + "; ";
    }
    return text;
}

/// r raise, l clear, f confirm, x reset, all of one alarm; a capital letter must be refused.
struct Life {
    bool with_confirmation;
    const char* steps;
    const char* changes;
};

TEST(EventLog, LifeOfAnAlarm) {
    const Life lives[] = {
        {false, "rRl", "raised listed active state 0; cleared gone state 0; "},
        {false, "rFlLF", "raised listed active state 0; cleared gone state 0; "},
        {true, "rRlLfLF", "raised listed active state 2; cleared listed state 2; confirmed gone state 3; "},
        {true, "rfFlL", "raised listed active state 2; confirmed listed active state 3; cleared gone state 3; "},
        {true, "rxX", "raised listed active state 2; cleared gone state 4; "},
        {true, "rlxF", "raised listed active state 2; cleared listed state 2; cleared gone state 4; "},
        {true, "rfx", "raised listed active state 2; confirmed listed active state 3; cleared gone state 3; "},
        {true, "rlrf",
         "raised listed active state 2; cleared listed state 2; raised listed active state 2; "
         "confirmed listed active state 3; "},
    };
    for (const Life& life : lives) {
        EventLog log(100);
        const zo_link::EventRecord alarm = event(1, life.with_confirmation);
        for (const char* step = life.steps; *step != 0; ++step) {
            const std::uint64_t handle = log.find_active(alarm);
            const bool refused = *step >= 'A' && *step <= 'Z';
            const int action = *step | 0x20;
            const Outcome outcome = action == 'r'   ? log.raise(alarm, 1000)
                                    : action == 'l' ? log.clear(handle, 1000)
                                    : action == 'f' ? log.confirm(handle, 1000)
                                                    : log.reset(handle, 1000);
            EXPECT_EQ(outcome != Outcome::done, refused) << life.steps << " at " << *step;
        }
        EXPECT_EQ(changes_of(log), life.changes) << life.steps;
        EXPECT_EQ(log.size(), 1u) << life.steps;
    }
}

TEST(EventLog, TimesAndNumbersAreUnique) {
    EventLog log(100);
    log.send(event(1), 5000);
    log.raise(event(2, true), 4000); // the clock was set back
    const std::uint64_t handle = log.find_active(event(2));
    log.clear(handle, 4000);
    log.confirm(handle, 4000);
    log.send(event(3), 5000);
    std::vector<std::int64_t> times;
    for (const zo_link::EventRecord& record : log.logged(10))
        times.insert(times.end(), {record.uid.value_or(0), record.raised, record.cleared, record.confirmed});
    EXPECT_EQ(times, (std::vector<std::int64_t>{1, 5000, 0, 0, 2, 5001, 5002, 5003, 3, 5004, 0, 0}));
}

TEST(EventLog, BoundAndClearingSpareActiveAlarms) {
    EventLog log(8);
    log.raise(event(1), 10);
    for (int i = 0; i < 8; ++i)
        log.send(event(2), 20);
    (void)log.take_changes();
    log.send(event(3), 30);
    EXPECT_EQ(changes_of(log), "message gone state 0; database 2:2; ");
    const auto logged = log.logged(100);
    ASSERT_EQ(logged.size(), 8u);
    EXPECT_EQ(logged[0].event_id, 1u) << "the oldest, but active";
    EXPECT_EQ(logged[1].uid, 4u);

    log.clear_log(1);
    EXPECT_EQ(changes_of(log), "database 1:7; ");
    EXPECT_EQ(log.size(), 1u);
    EXPECT_EQ(log.active_alarms().size(), 1u);
    log.send(event(2), 40);
    EXPECT_EQ(log.logged(1)[0].uid, 11u) << "numbers go on";
}

class StateFileTest : public testing::Test {
protected:
    std::string content() const { return zo_test::read_file(path_); }
    void write(const std::string& text) const { zo_test::write_file(path_, text); }

    const zo_test::TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_ / "state";
};

zo_link::EventRecord rich_event(std::uint32_t id) {
    zo_link::EventRecord record;
    record.event_class.Data1 = 0xdeadbeef;
    record.event_id = id;
    record.severity = 3;
    record.with_confirmation = -1;
    record.source_id = 4;
    record.source_name = "Källa";
    record.args = {1, 4, 1, 0, 4};
    record.block = {0, 1, 0xff, 0x80, 1};
    record.json = R"({"a":"b"})";
    return record;
}

/// Puts every kind of change into a log and its file.
void live(EventLog& log, StateFile& file) {
    file.rewrite(0xfedcba9876543210, log);
    log.raise(rich_event(1), 1000);
    log.raise(rich_event(2), 1001);
    log.clear(1, 1002);
    file.append(log.take_changes());
    log.raise(rich_event(1), 1003); // again: moves in the log
    log.confirm(2, 1004);
    log.clear(2, 1005);
    log.send(rich_event(3), 1006);
    file.append(log.take_changes());
}

TEST_F(StateFileTest, RestoresAppendedChanges) {
    EventLog log(100);
    StateFile file(path_);
    EXPECT_FALSE(load_state(path_)) << "there is no file yet";
    live(log, file);
    for (const bool rewritten : {false, true}) {
        if (rewritten) file.rewrite(0xfedcba9876543210, log);
        const std::optional<State> state = load_state(path_);
        ASSERT_TRUE(state);
        EXPECT_EQ(state->instance, 0xfedcba9876543210);
        EventLog copy(100);
        copy.restore(state->occurrences, state->next_number);
        EXPECT_EQ(copy.logged(100), log.logged(100));
        EXPECT_EQ(copy.active_alarms(), log.active_alarms());
        EXPECT_EQ(copy.next_number(), log.next_number());
    }
    log.clear_log(1);
    file.append(log.take_changes());
    EXPECT_EQ(load_state(path_)->occurrences.size(), 1u);
}

TEST_F(StateFileTest, HalfALineAtTheEndIsIgnored) {
    EventLog log(100);
    StateFile file(path_);
    live(log, file);
    const std::string whole = content();
    const std::size_t last_line = whole.rfind('\n', whole.size() - 2) + 1;
    for (std::size_t size = last_line; size < whole.size(); size += 17) {
        write(whole.substr(0, size));
        EXPECT_EQ(load_state(path_)->occurrences.size(), 2u) << size;
    }
}

TEST_F(StateFileTest, OtherDamageIsRefused) {
    const std::string head = R"({"zo-target state":1,"instance":5,"next":2})"
                             "\n";
    const std::string cls = R"("class":"00000000-0000-0000-0000-000000000000","id":1)";
    write(head + R"({"put":1,"listed":true,"record":{"handle":1,)" + cls + "}}\n");
    ASSERT_NO_THROW(EXPECT_EQ(load_state(path_)->occurrences.size(), 1u));
    const std::string cases[] = {
        head + "{}\n",
        head + R"({"put":1,"listed":true,"record":{)" + cls + "}}\n",
        head + R"({"put":18446744073709551615,"listed":false,"record":{)" + cls + "}}\n",
        head + R"({"put":1,"listed":false,"record":{"raised":9223372036854775807,)" + cls + "}}\n",
    };
    for (const std::string& text : cases) {
        write(text);
        EXPECT_THROW((void)load_state(path_), StateError) << text;
    }
}

} // namespace
} // namespace zo_sim
