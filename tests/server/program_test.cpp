// The program with a small extension: its life, its signals, its output.
#include "tests/support/eventually.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <optional>
#include <sstream>
#include <vector>

namespace {

using zo_test::eventually;
using zo_test::TemporaryFile;

/// Returns the lines of a text; each must be JSON.
std::vector<std::string> json_lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line); lines.push_back(line))
        EXPECT_TRUE(nlohmann::json::accept(line)) << line;
    return lines;
}

/// One run of the server.
class Server {
public:
    explicit Server(const std::string& config, const std::vector<std::string>& options = {},
                    const std::string& extension = ZO_TEST_EXTENSION, const std::string& trace = {},
                    const std::string& input = {})
        : config_(config) {
        std::vector<std::string> words{
            ZO_SERVER,      "--extension", extension, "--config",
            config_.path(), "--plain",     "--trace", trace.empty() ? trace_.path().string() : trace};
        words.insert(words.end(), options.begin(), options.end());
        process_.emplace(words, out_.path(), error_.path());
        process_->write(input);
        process_->end_input();
    }

    int wait() { return process_->wait(); }
    void signal(int number) const { process_->signal(number); }
    /// Returns the diagnostic messages of the trace, each with its parameter.
    [[nodiscard]] std::vector<std::string> logged() const {
        std::vector<std::string> names;
        for (const std::string& line : json_lines(trace_.read())) {
            const auto json = nlohmann::json::parse(line);
            if (json["call"] == "send_message")
                names.push_back(json["name"].get<std::string>() + " " + json["parameters"]["0"].get<std::string>());
        }
        return names;
    }
    [[nodiscard]] std::string out() const { return out_.read(); }
    [[nodiscard]] std::string error() const { return error_.read(); }

private:
    TemporaryFile config_, trace_, out_, error_;
    std::optional<zo_test::Process> process_;
};

using Names = std::vector<std::string>;

TEST(Program, EndsAndUnloadsTheExtension) {
    const TemporaryFile dump;
    Server server("{}", {"--seconds", "0.2", "--dump", dump.path()});
    EXPECT_EQ(server.wait(), 0) << server.error();
    EXPECT_EQ(server.logged(), (Names{"READY ZoHmiEventLogger", "SHUTDOWN ", "DELETED "}));
    EXPECT_NE(server.out().find("interface version 22.0\n"), std::string::npos) << server.out();
    EXPECT_NE(server.out().find("raised 5 "), std::string::npos) << server.out();
    const auto json = nlohmann::json::parse(dump.read());
    ASSERT_EQ(json["rows"].size(), 2u) << "raised in init, and listed";
    EXPECT_EQ(json["rows"][0]["number"], "5");
    EXPECT_EQ(json["rows"][1]["number"], "6");
    EXPECT_EQ(json["listing"].size(), 2u);
}

TEST(Program, FailureIsOneSentenceWithStatusOne) {
    const std::tuple<const char*, const char*, const char*> cases[]{
        {R"({"MODE": "fail"})", ZO_TEST_EXTENSION,
         "init answered HMI_E_INIT (0x105): configured to fail; "
         "configuration: TIMEOUT is missing; it must be a number of milliseconds, such as 3000\n"},
        {R"({"MODE": "throw"})", ZO_TEST_EXTENSION, "init threw an exception\n"},
        {R"({"ENTRY": "nothing"})", ZO_TEST_EXTENSION, "created no extension"},
        {R"({"ENTRY": "old"})", ZO_TEST_EXTENSION, "interface version 21"},
        {"{}", "/nonexistent/extension.so", "cannot load the extension"},
        {"{ broken", ZO_TEST_EXTENSION, "invalid literal\n"},
    };
    for (const auto& [config, extension, sentence] : cases) {
        Server server(config, {"--seconds", "5"}, extension);
        EXPECT_EQ(server.wait(), 1) << sentence;
        EXPECT_NE(server.error().find(sentence), std::string::npos) << server.error();
    }
}

TEST(Program, WrongCommandLineIsOneLine) {
    const TemporaryFile error;
    EXPECT_EQ(zo_test::Process({ZO_SERVER, "--config", "x"}, "/dev/null", error.path()).wait(), 2);
    EXPECT_EQ(error.read(), "zo-hmi-server: --extension is required; see --help\n");
}

TEST(Program, StartReportsWarnings) {
    const TemporaryFile broken("[]");
    for (const auto& [routes, warning] : {std::pair("/nonexistent", "cannot read /nonexistent: No such file"),
                                          {broken.path().c_str(), " is not a JSON object"}}) {
        setenv("ZO_ROUTES", routes, 1);
        Server server(R"({"MODE": "incomplete", "Odd\u001b": 1})", {"--seconds", "0", "--no-retry"});
        unsetenv("ZO_ROUTES");
        EXPECT_EQ(server.wait(), 0) << server.error();
        for (const char* line :
             {warning, "warning: configuration: unknown key Odd\uFFFD\n", "\nPlant: import failed, list incomplete\n"})
            EXPECT_NE(server.out().find(line), std::string::npos) << line << " not in " << server.out();
    }
}

TEST(Program, SignalEndsAnInitThatTriesTargets) {
    Server server(R"({"MODE": "silent targets"})");
    ASSERT_TRUE(eventually([&] { return server.out().find("log READY") != std::string::npos; }));
    server.signal(SIGHUP);
    server.signal(SIGTERM);
    EXPECT_EQ(server.wait(), 0) << server.error();
    EXPECT_EQ(server.logged(), (Names{"READY ZoHmiEventLogger", "SHUTDOWN ", "DELETED "}));
}

TEST(Program, FullOrUnreadOutputIsReported) {
    Server server("{}", {"--seconds", "0"}, ZO_TEST_EXTENSION, "/dev/full");
    EXPECT_EQ(server.wait(), 1);
    EXPECT_NE(server.error().find("cannot write the trace: No space left"), std::string::npos) << server.error();

    const TemporaryFile config("{}"), error;
    std::vector<std::string> words{ZO_SERVER,     "--extension", ZO_TEST_EXTENSION, "--config",
                                   config.path(), "--plain",     "--seconds",       "0"};
    zo_test::Process full(words, "/dev/full", error.path());
    EXPECT_EQ(full.wait(), 1);
    EXPECT_NE(error.read().find("cannot write the output: No space left"), std::string::npos) << error.read();

    words.resize(6);
    const zo_test::UnreadOutput output;
    zo_test::Process unread(words, output.path(), error.path());
    for (int i = 0; i < 100; ++i)
        unread.send("help");
    ASSERT_TRUE(eventually([&] { return output.full(); }));
    unread.signal(SIGTERM);
    ASSERT_TRUE(eventually([&] { return !unread.runs(); }));
    EXPECT_EQ(unread.wait(), 1);
    EXPECT_NE(error.read().find("no reader of its output"), std::string::npos) << error.read();
}

TEST(Program, RunsItsCommandsAndEnds) {
    const TemporaryFile script("; a comment\n\nwait READY\nshow 5\n");
    using Words = std::vector<std::string>;
    const std::tuple<Words, const char*, int, Words> cases[]{
        // options, input, status, parts of the answers
        {{"--script", script.path(), "--command", "show 6"}, "nonsense\n", 0, {"\"id\":5,", "\"id\":6,"}},
        {{"--command", "confirm 5", "--command", "events"}, "", 1, {"\"error\":\"alarm 5 not", "\"events\":[{"}},
        {{}, "nonsense\nshow 6", 1, {"\"error\":\"unknown command", "\"id\":6,"}},
    };
    for (auto [options, input, status, answers] : cases) {
        options.emplace_back("--json");
        Server server("{}", options, ZO_TEST_EXTENSION, {}, input);
        EXPECT_EQ(server.wait(), status) << server.error();
        std::vector<std::string> lines = json_lines(server.out());
        std::erase_if(lines, [](const std::string& line) { return line.find("\"command\":\"wait") != line.npos; });
        ASSERT_EQ(lines.size(), answers.size()) << server.out();
        for (std::size_t i = 0; i < lines.size(); ++i)
            EXPECT_NE(lines[i].find(answers[i]), std::string::npos) << lines[i];
        EXPECT_NE(server.error().find("log SHUTDOWN"), std::string::npos);
        EXPECT_EQ(server.logged().back(), "DELETED ");
    }
}

TEST(Program, TraceMayUseStandardOutput) {
    Server server("{}", {"--seconds", "0"}, ZO_TEST_EXTENSION, "-");
    EXPECT_EQ(server.wait(), 0);
    EXPECT_GT(json_lines(server.out()).size(), 5u);
    EXPECT_NE(server.error().find("log SHUTDOWN"), std::string::npos);
}

TEST(Program, EndDoesNotWaitForScript) {
    Server server("{}", {"--seconds", "0.1", "--command", "wait NEVER 1000", "--command", "help"});
    EXPECT_EQ(server.wait(), 1);
    EXPECT_NE(server.error().find("stopped before the last command"), std::string::npos) << server.error();
    EXPECT_EQ(server.out().find("> help"), std::string::npos);
    EXPECT_EQ(server.logged().back(), "DELETED ");
}

} // namespace
