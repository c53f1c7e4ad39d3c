// zo-fdx against the real target: what a person types, and what comes back.
#include "tests/system/programs.h"

#include <gmock/gmock.h>

#include <map>

using namespace programs;
using testing::HasSubstr;

namespace {

class FdxTest : public testing::Test {
protected:
    FdxTest() {
        write_routes(folder / "routes.json", {{"5.12.82.40.1.1", target.address()}, {"5.9.9.9.1.1", "127.0.0.1:1"}});
        ::setenv("ZO_ROUTES", (folder / "routes.json").c_str(), 1);
        ::setenv("ZO_FDX_TARGET", "5.12.82.40", 1);
    }
    ~FdxTest() override {
        ::unsetenv("ZO_ROUTES");
        ::unsetenv("ZO_FDX_TARGET");
    }

    /// Runs zo-fdx to its end; `script` is its standard input.
    int run(std::vector<std::string> words, const std::string& script = {}) {
        words.insert(words.begin(), ZO_FDX);
        Process process(words, folder / "out", folder / "err");
        process.write(script);
        process.end_input();
        const int status = process.wait();
        out = read_file(folder / "out");
        err = read_file(folder / "err");
        return status;
    }
    /// The rows of a command as JSON.
    std::vector<json> rows(std::vector<std::string> words) {
        words.insert(words.begin(), "--json");
        EXPECT_EQ(run(words), 0) << err;
        std::vector<json> found;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);)
            found.push_back(json::parse(line));
        return found;
    }
    static json row(const std::vector<json>& rows, const char* key, const char* value) {
        for (const json& row : rows)
            if (row[key] == value) return row;
        return {};
    }

    const TemporaryFolder folder;
    Target target{folder, "target", quiet("bottling.json"), false};
    std::string out, err;
};

TEST_F(FdxTest, EachCommandShowsThePlant) {
    const auto routes = rows({"routes"});
    EXPECT_EQ(routes.size(), 5u);
    EXPECT_EQ(row(routes, "name", "Packaging")["net_id"], "5.12.82.41.1.1");
    EXPECT_EQ(row(routes, "name", "Palettierer Süd")["from"], "service");
    EXPECT_EQ(rows({"state"}), json::parse(R"([{"state":"Run","number":5,"device_state":0,"available":true}])"));
    const auto info = rows({"info"});
    EXPECT_EQ(row(info, "field", "device")["value"], "Bottling");
    EXPECT_EQ(row(info, "field", "product")["value"], "3.1.4024.53");
    EXPECT_EQ(row(info, "field", "system_id")["value"], "7C1D2F30-58A4-4F0E-9D61-2B7A90C4E001");
    EXPECT_EQ(row(info, "field", "symbols")["value"], 12);

    const auto symbols = rows({"symbols"});
    EXPECT_EQ(symbols.size(), 11u) << "one is hidden";
    EXPECT_EQ(row(symbols, "path", "MAIN.state")["read_only"], true);
    EXPECT_EQ(rows({"symbols", "--hidden"}).size(), 12u);
    const auto valve = rows({"symbols", "--hidden", "--under", "MAIN.filler.valves[1]"});
    EXPECT_EQ(row(valve, "path", "MAIN.filler.valves[1].serviceKey")["hidden"], true);

    const auto path = rows({"path", "main.INLET.Fault"});
    ASSERT_EQ(path.size(), 1u);
    EXPECT_EQ(path[0]["unique"], "MAIN.inlet`.fault");
    EXPECT_EQ(path[0]["native"], "MAIN.inlet.fault");
    EXPECT_EQ(path[0]["type"], "BOOL");
    EXPECT_EQ(rows({"entry", "MAIN.capper"})[0]["comment"], "Verschließer");
    EXPECT_EQ(rows({"find", "*.VALVES*"}).size(), 0u);
    EXPECT_EQ(rows({"find", "recipes.*"}).size(), 3u);
    const auto mode = rows({"type", "ST_Mode"});
    EXPECT_EQ(row(mode, "name", "step")["offset"], "0.2");
    EXPECT_EQ(row(mode, "name", "speed")["offset"], "2");
    EXPECT_EQ(rows({"raw", "read", "0x4020", "162", "4"})[0]["bytes"], "02003c00");
    EXPECT_EQ(rows({"raw", "readwrite", "0xF004", "0", "2", "text:MAIN.state"})[0]["bytes"], "0200");
    EXPECT_EQ(run({"--csv", "raw", "write", "0x4020", "164", "0700"}), 0);
    EXPECT_EQ(run({"--csv", "symbols", "--under", "MAIN.mode"}), 0);
    EXPECT_THAT(out, HasSubstr("path,type,size,read_only,hidden,members\n"));
    EXPECT_EQ(run({"raw", "read", "0x4020", "164", "2"}), 0);
    EXPECT_EQ(out, "0700\t2\n");
}

TEST_F(FdxTest, FailureIsOneLineWithItsStatus) {
    struct Case {
        std::vector<std::string> words;
        int status;
        const char* line;
    };
    const Case cases[] = {
        {{"path", "MAIN.nothing"}, 1, "MAIN.nothing"},
        {{"entry", "MAIN.nothing"}, 1, "FDXERR_DEVICE_SYMBOLNOTFOUND"},
        {{"raw", "read", "0x4020", "9999", "1"}, 1, "0x703"},
        {{"raw", "read", "0x4020", "x", "1"}, 2, "are numbers"},
        {{"raw", "write", "0x4020", "0", "abc"}, 2, "hexadecimal"},
        {{"nonsense"}, 2, "nonsense"},
        {{"-t", "5.12.82", "state"}, 2, "NETID[:PORT]"},
        {{"-t", "5.12.82.40.1.1:852", "state"}, 1, "0x06"},
        {{"-t", "5.9.9.9", "state"}, 3, "0x1f"},
        {{"-t", "5.7.7.7", "symbols"}, 3, "0x07"},
        {{"--timeout", "100", "state"}, 4, "0x745"},
    };
    target.run("slow device_state 1000 always");
    for (const Case& row : cases) {
        EXPECT_EQ(run(row.words), row.status) << row.line;
        EXPECT_THAT(err, HasSubstr(row.line));
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
        EXPECT_EQ(out, "");
    }
    EXPECT_EQ(run({"-q", "path", "MAIN.nothing"}), 1);
    EXPECT_EQ(err, "");
    // A failed line of a script hides no other.
    EXPECT_EQ(run({}, "path MAIN.nothing\n# a comment\n\nnonsense\nraw read 0x4020 160 2\n"), 1);
    EXPECT_EQ(out, "0200\t2\n");
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 2) << err;
}

// An online change between or inside of the uploads gives the old symbols or the new ones, never a mixture.
TEST_F(FdxTest, OnlineChangeIsSeenWhole) {
    const auto summary = [&] {
        std::map<std::string, bool> has;
        for (const char* text : {"MAIN.shift", "MAIN.mode\t", "MAIN.inlet`.opened", "MAIN.inlet`.serviceKey"})
            has[text] = out.find(text) != std::string::npos;
        return has;
    };
    const std::string script = "symbols --hidden\nsymbols --hidden --under MAIN.inlet\n";
    ASSERT_EQ(run({}, script), 0) << err;
    const auto old = summary();
    EXPECT_EQ(old, (std::map<std::string, bool>{{"MAIN.shift", false},
                                                {"MAIN.mode\t", true},
                                                {"MAIN.inlet`.opened", false},
                                                {"MAIN.inlet`.serviceKey", true}}));
    target.run("during read@0xF00B online-change 851");
    ASSERT_EQ(run({}, script), 0) << err;
    for (const auto& [text, had] : old)
        EXPECT_EQ(summary()[text], !had) << text;

    // A script that runs on meanwhile: its second half sees the new symbols.
    const TemporaryFolder own;
    Process process({ZO_FDX}, own / "out", own / "err");
    process.send("raw read 0xF00F 16 0");
    process.send("find MAIN.*");
    ASSERT_TRUE(eventually([&] { return read_file(own / "out").find("MAIN.state") != std::string::npos; }));
    target.run("poke 851 MAIN.shift 3");
    target.run("online-change 851");
    process.send("raw readwrite 0xF004 0 1 text:MAIN.shift");
    process.send("path MAIN.shift");
    process.end_input();
    EXPECT_EQ(process.wait(), 0) << read_file(own / "err");
    EXPECT_THAT(read_file(own / "out"), HasSubstr("03\t1\nMAIN.shift\t"));
}

} // namespace
