#include "server/configuration.h"

#include "server/read_file.h"
#include "tests/server_api/values.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <thread>

using namespace server;
using zo_test::TemporaryFile;
using zo_test::TemporaryFolder;
using ZoHmiSrv::Value;

namespace {

TEST(Configuration, KeysHaveTheTypesOfTheExtension) {
    const Value root = parse_configuration(R"({
        "TIMEOUT": 3000, "LIMIT_EVENT_COUNT": 1000, "PRELOAD_TRANSLATIONS": true, "NULL": null,
        "TARGET_SYSTEMS": {"a": {"ADDRESS": "1.2.3.4.1.1", "ENABLED": true, "TIMEOUT": 7}},
        "LIST": [1, 5000000000, 18446744073709551615, 1.5, "ü"]})");
    EXPECT_EQ(values::show(root),
              "struct {LIMIT_EVENT_COUNT: Double(1000), "
              "LIST: [Int(1), Int64(5000000000), UInt64(18446744073709551615), Double(1.5), 'ü'], NULL: Null(), "
              "PRELOAD_TRANSLATIONS: Bool(true), TARGET_SYSTEMS: {a: struct "
              "{ADDRESS: '1.2.3.4.1.1', ENABLED: Bool(true), TIMEOUT: Int(7)}}, TIMEOUT: TimeSpan(3000000000)}")
        << "keys are special at the top only";
    EXPECT_EQ(parse_configuration(R"({"TIMEOUT": 1e300})")["TIMEOUT"].get_timespan().nanoseconds(),
              std::numeric_limits<long>::max());
}

TEST(Configuration, TextThatNoPathCanNameThrows) {
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    const std::string cases[]{
        "", "{", "[]", "3", R"({"a::b": 1})", R"({"T": {"a\u0000b": 1}})", R"({"a": )" + deep + "}"};
    for (const std::string& text : cases) {
        EXPECT_THROW(static_cast<void>(parse_configuration(text)), std::runtime_error) << text.substr(0, 40);
    }
}

TEST(Configuration, UnknownAndWrongKeysAreProblems) {
    const auto problems = [](const char* text) {
        std::string all;
        for (const ConfigProblem& problem : configuration_problems(parse_configuration(text)))
            all += problem.text + (problem.fatal ? " FATAL\n" : "\n");
        return all;
    };
    EXPECT_EQ(problems(R"({"TIMEOUT": "1", "timeout": 1, "LIMIT_EVENT_COUNT": 2, "PRELOAD_TRANSLATIONS": false,
            "TARGET_SYSTEMS": {"a": {"ADDRESS": 1, "ENABLE": true}, "b": 1, "c": {"ADDRESS": "", "ENABLED": true}}})"),
              "TIMEOUT has the wrong type; it must be a number of milliseconds, such as 3000 FATAL\n"
              "unknown key timeout\n"
              "TARGET_SYSTEMS::a::ADDRESS has the wrong type; it must be a net id, such as \"5.12.82.40.1.1\"\n"
              "TARGET_SYSTEMS::a::ENABLED is missing; it must be true or false\n"
              "unknown key TARGET_SYSTEMS::a::ENABLE\n"
              "TARGET_SYSTEMS::b has the wrong type; it must be an object with ADDRESS and ENABLED\n");
}

TEST(ReadFile, OnlyFilesOfBoundedSize) {
    const TemporaryFolder folder;
    const std::filesystem::path pipe = folder / "pipe", file = folder / "file";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto failure = [](const std::filesystem::path& path, FileKind kind) -> std::string {
        try {
            return "read: " + read_file(path, 1024, kind);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    EXPECT_EQ(failure(pipe, FileKind::regular), pipe.string() + " is not a regular file") << "does not block";
    EXPECT_EQ(failure("/dev/zero", FileKind::regular), "/dev/zero is not a regular file");
    EXPECT_EQ(failure("/dev/zero", FileKind::regular_or_stream), "/dev/zero is not a regular file or a pipe");
    zo_test::write_file(file, std::string(1024, 'x'));
    EXPECT_EQ(failure(file, FileKind::regular).size(), 1030u);
    zo_test::write_file(file, std::string(1025, 'x'));
    EXPECT_EQ(failure(file, FileKind::regular), file.string() + " is larger than 1 KiB");
    std::thread writer([&] { zo_test::write_file(pipe, "help"); });
    EXPECT_EQ(failure(pipe, FileKind::regular_or_stream), "read: help");
    writer.join();
}

TEST(Configuration, ChangesAreNewEntriesThenDeleted) {
    const auto changes = [](const std::string& before, const std::string& after) {
        const auto parse = [](const std::string& targets) {
            return parse_configuration(R"({"TARGET_SYSTEMS": {)" + targets + "}}");
        };
        std::string all;
        for (const ConfigChange& change : target_changes(parse(before), parse(after)))
            all += change.path.substr(change.path.find("::")) + (change.deleted ? " deleted " : " ");
        return all;
    };
    EXPECT_EQ(changes(R"("a": {"x": 1, "y": 2}, "b": {})", R"("b": {}, "a": {"y": 2, "x": 1})"), "");
    EXPECT_EQ(changes(R"("a": 1, "b": 2, "c": 3)", R"("b": 2, "c": 4, "d": 5)"), "::c ::d ::a deleted ");
    EXPECT_EQ(changes(R"("a": 1)", R"("a": null)"), "::a ") << "null is not missing";
    EXPECT_EQ(changes(R"("a": 1)", ""), "::a deleted ");
}

TEST(Configuration, BrokenFileLeavesItUnchanged) {
    const TemporaryFile file(R"({"TIMEOUT": 10, "TARGET_SYSTEMS": {"a": {"ENABLED": true}}})");
    Configuration configuration(file.path());
    for (const char* path : {"TARGET_SYSTEMS::b", "TIMEOUT::a", "target_systems", "TARGET_SYSTEMS::a::", "::"}) {
        EXPECT_FALSE(configuration.get(path).isset()) << path;
    }

    file.write("{ broken");
    EXPECT_THROW(configuration.reload(), std::runtime_error);
    EXPECT_TRUE(configuration.get("TARGET_SYSTEMS::a::ENABLED").get_bool());

    file.write(R"({"TIMEOUT": 20, "TARGET_SYSTEMS": {"a": {"ENABLED": false}}})");
    EXPECT_EQ(configuration.reload(), (std::vector<ConfigChange>{{"TARGET_SYSTEMS::a", false}}));
    EXPECT_FALSE(configuration.get("TARGET_SYSTEMS::a::ENABLED").get_bool());
    EXPECT_EQ(configuration.get("TIMEOUT").get_timespan().milliseconds(), 20);
}

} // namespace
