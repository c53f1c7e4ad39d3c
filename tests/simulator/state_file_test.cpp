#include "simulator/state_file.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace zo_sim {
namespace {

class StateFileTest : public testing::Test {
protected:
    std::string content() const { return zo_test::read_file(path_); }
    void write(const std::string& text) const { zo_test::write_file(path_, text); }

    const zo_test::TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_ / "state";
};

zo_link::EventRecord rich_event(std::uint32_t id) {
    zo_link::EventRecord record;
    record.event_class.data1 = 0xdeadbeef;
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

// A log and a file that were kept in step through every kind of change.
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

TEST_F(StateFileTest, RestoresWhatWasAppended) {
    EventLog log(100);
    StateFile file(path_);
    EXPECT_FALSE(file.load()) << "there is none yet";
    live(log, file);
    for (const bool rewritten : {false, true}) {
        if (rewritten) file.rewrite(0xfedcba9876543210, log);
        const std::optional<State> state = StateFile(path_).load();
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
    EXPECT_EQ(StateFile(path_).load()->occurrences.size(), 1u);
}

TEST_F(StateFileTest, HalfALineAtTheEndIsForgotten) {
    EventLog log(100);
    StateFile file(path_);
    live(log, file);
    const std::string whole = content();
    const std::size_t last_line = whole.rfind('\n', whole.size() - 2) + 1;
    for (std::size_t size = last_line; size < whole.size(); size += 17) {
        write(whole.substr(0, size));
        EXPECT_EQ(StateFile(path_).load()->occurrences.size(), 2u) << size;
    }
}

TEST_F(StateFileTest, OtherDamageIsRefused) {
    const std::string head = R"({"zo-target state":1,"instance":5,"next":2})"
                             "\n";
    const std::string cls = R"("class":"00000000-0000-0000-0000-000000000000","id":1)";
    write(head + R"({"put":1,"listed":true,"record":{"handle":1,)" + cls + "}}\n");
    ASSERT_NO_THROW(EXPECT_EQ(StateFile(path_).load()->occurrences.size(), 1u));
    const std::string cases[] = {
        head + "{}\n",
        head + R"({"put":1,"listed":true,"record":{)" + cls + "}}\n",
        head + R"({"put":18446744073709551615,"listed":false,"record":{)" + cls + "}}\n",
        head + R"({"put":1,"listed":false,"record":{"raised":9223372036854775807,)" + cls + "}}\n",
    };
    for (const std::string& text : cases) {
        write(text);
        EXPECT_THROW((void)StateFile(path_).load(), StateError) << text;
    }
}

} // namespace
} // namespace zo_sim
