#include "device/runtime/state.h"
#include "extension/host/value.h"
#include "tests/device/runtime/plant.h"
#include "tests/server_api/values.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using fakes::device_client;
using plant::Device;
using plant::path;
using plant::structure;
using ZoHmiSrv::ExtensionResult;

namespace {

constexpr NrxAddr plc{{{5, 12, 82, 40, 1, 1}}, 851};

FdxRuntime runtime(bool enabled = true) {
    FdxRuntime made("plc", plc, "");
    made.set_enabled(enabled);
    return made;
}

plant::Program changed() {
    plant::Program program = plant::bottling();
    program.revision = 2;
    program.symbols.pop_back();
    return program;
}

class StateOfDevice : public testing::Test {
protected:
    void SetUp() override {
        device_client().reset();
        device_client().answer_by(std::ref(device));
    }
    void TearDown() override { device_client().reset(); }
    void upload() {
        ASSERT_EQ(state.configure(runtime()), ExtensionResult());
        ASSERT_EQ(state.refresh("plc"), ExtensionResult());
    }
    bool knows(const char* text) {
        return state.translate_path(state.runtime_config("plc"), path<UnqualifiedFdxPath>(text))->result.code() == 0;
    }

    Device device{plant::bottling()};
    State state{[] {
        StateOptions options;
        options.limits.response_size_limit = 1000;
        options.timeout_ms = 700;
        options.max_paths = 3;
        return options;
    }()};
};

TEST_F(StateOfDevice, PhasesFollowEachOther) {
    const std::string initial = "Initial refresh of symbol information hasn't finished, yet. [plc]";
    EXPECT_EQ(state.availability("plc"), ExtensionResult(0x100033, "Runtime is not configured. [plc]"));
    EXPECT_EQ(state.refresh("plc").code(), 0x100033);
    EXPECT_FALSE(state.refresh_due("plc"));
    EXPECT_EQ(state.configure(runtime(false)).code(), 0);
    EXPECT_EQ(state.availability("plc"), ExtensionResult(0x10003A, "Runtime is disabled. [plc]"));
    EXPECT_EQ(state.refresh("plc").code(), 0x10003A);
    EXPECT_TRUE(device_client().open_ports().empty());

    EXPECT_EQ(state.configure(runtime()).code(), 0);
    EXPECT_EQ(state.availability("plc"), ExtensionResult(0x100031, initial));
    EXPECT_TRUE(state.refresh_due("plc"));
    EXPECT_EQ(device_client().with_state([](auto& client) { return client.timeout; }), 700);
    EXPECT_EQ(state.refresh("plc"), ExtensionResult());
    EXPECT_EQ(state.availability("plc"), ExtensionResult());
    EXPECT_FALSE(state.refresh_due("plc"));
    const auto config = state.runtime_config("plc");
    EXPECT_EQ(config->unique_config_revision(),
              "plc:1:" + std::to_string(config->symbols().size()) + ":" + std::to_string(config->datatypes().size()));
    EXPECT_TRUE(config->runtime_revision().initialized());
    EXPECT_EQ(std::tuple(state.symbols_info("plc").revision, state.symbols_info("plc").symbols), std::tuple(1u, 13u));
    EXPECT_LE(device.largest_read, 1000u);

    device.requests.clear();
    EXPECT_EQ(state.refresh("plc"), ExtensionResult());
    EXPECT_EQ(device.requests, (std::map<std::uint32_t, int>{{group_upload_info, 1}})) << "nothing has changed";
    EXPECT_EQ(state.runtime_config("plc"), config);

    device.fail(group_upload_info, 0x745);
    EXPECT_EQ(state.refresh("plc").code(), 0x745);
    EXPECT_EQ(state.availability("plc").code(), 0x100015);
    EXPECT_TRUE(state.refresh_due("plc") && knows("MAIN.filler"));
    device.fail(group_upload_info, 0x7);
    EXPECT_EQ(state.refresh("plc"), ExtensionResult(0x7, "ERR_TARGETMACHINENOTFOUND (0x07). [plc]"));
    EXPECT_EQ(state.availability("plc").code(), 0x100015) << "the phase stays";
    EXPECT_EQ(state.symbols_info("plc").last_refresh.code(), 0x7);
    device.heal();
    EXPECT_EQ(state.refresh("plc"), ExtensionResult());
    EXPECT_EQ(state.availability("plc"), ExtensionResult());

    state.clear_runtime("plc");
    EXPECT_EQ(state.availability("plc"), ExtensionResult(0x100031, initial));
    EXPECT_FALSE(knows("MAIN.filler"));
    EXPECT_EQ(state.refresh("plc"), ExtensionResult());
    EXPECT_TRUE(knows("MAIN.filler"));
}

TEST_F(StateOfDevice, OnlineChangeReplacesTheConfig) {
    upload();
    const auto old = state.runtime_config("plc");
    device.load(changed());
    bool old_names = false;
    int refused = 0;
    device.before(group_symbol_upload, [&] {
        refused = state.availability("plc").code();
        old_names = knows("MAIN.grid");
    });
    EXPECT_EQ(state.refresh("plc"), ExtensionResult());
    EXPECT_EQ(std::pair(refused, old_names), std::pair(0x100047, true)) << "in the middle of the upload";
    EXPECT_FALSE(knows("MAIN.grid"));
    EXPECT_EQ(state.translate_path(old, path<UnqualifiedFdxPath>("MAIN.grid"))->result.code(), 0) << "for its holders";
    EXPECT_EQ(state.symbols_info("plc").revision, 2u);
}

TEST_F(StateOfDevice, ChangeInTheMiddleOfAnUploadIsUploadedAgain) {
    ASSERT_EQ(state.configure(runtime()).code(), 0);
    bool done = false;
    device.before(group_symbol_upload, [&] {
        if (!std::exchange(done, true)) device.load(changed());
    });
    EXPECT_EQ(state.refresh("plc"), ExtensionResult());
    EXPECT_EQ(state.symbols_info("plc").revision, 2u);
    EXPECT_FALSE(knows("MAIN.grid"));

    plant::Program program = changed();
    device.before(group_datatype_upload, [&] {
        ++program.revision;
        device.load(program);
    });
    ++program.revision;
    device.load(program);
    const auto config = state.runtime_config("plc");
    const ExtensionResult expected(0x100047, "Symbol information changed during each of 3 uploads. [plc]");
    EXPECT_EQ(state.refresh("plc"), expected);
    EXPECT_EQ(state.runtime_config("plc"), config);
    EXPECT_EQ(state.availability("plc").code(), 0x100047);
    EXPECT_TRUE(state.refresh_due("plc"));
}

TEST_F(StateOfDevice, BrokenUploadIsRefusedAsAWhole) {
    upload();
    const auto config = state.runtime_config("plc");
    const plant::Program program = changed();
    const zo_sim::UploadBytes symbols = program.symbol_block();
    const zo_sim::UploadBytes info = program.info();
    const auto with = [](zo_sim::UploadBytes bytes, std::size_t at, std::uint32_t add) {
        const std::uint32_t number = fakes::number_at(bytes, at) + add;
        std::memcpy(bytes.data() + at, &number, sizeof number);
        return bytes;
    };
    zo_sim::UploadBytes broken = symbols;
    broken[fakes::number_at(symbols, 0)] = 3; // the length of the second entry
    const std::tuple<std::uint32_t, zo_sim::UploadBytes, int, const char*> rows[] = {
        {group_upload_info, {info.begin(), info.begin() + 23}, 0x100031, "Upload info is too short. [plc]"},
        {group_symbol_upload, {symbols.begin(), symbols.end() - 1}, 0x100031, "Upload of symbols ended early. [plc]"},
        {group_datatype_upload, {}, 0x100031, "Upload of datatypes ended early. [plc]"},
        {group_symbol_upload, broken, 0x100031, "Symbol entry 1 is malformed. [plc]"},
        {group_upload_info, with(info, 8, 1), 0x100031, "Upload announced 13 symbols but has 12. [plc]"},
        {group_upload_info, with(info, 12, 0xFFFFFFFF), 0x100031, "Upload announced 15 datatypes but has 16. [plc]"},
        {group_upload_info, with(info, 0, 0x80000000), 0x10004C, nullptr},
    };
    for (const auto& [group, block, code, text] : rows) {
        device.load(program);
        device.replace_block(group, block);
        const ExtensionResult result = state.refresh("plc");
        EXPECT_EQ(result.code(), code);
        EXPECT_TRUE(!text || result.text() == text) << result.text();
        EXPECT_EQ(state.runtime_config("plc"), config);
        EXPECT_TRUE(knows("MAIN.grid"));
        EXPECT_EQ(state.symbols_info("plc").last_refresh, result);
    }
    EXPECT_EQ(state.availability("plc").code(), 0x10004C) << "an upload is due";
}

// Cuts each block byte by byte, with and without a matching announcement.
TEST_F(StateOfDevice, EveryTruncationKeepsTheOldAnswers) {
    upload();
    const auto config = state.runtime_config("plc");
    plant::Program program;
    program.revision = 2;
    program.types = {plant::bottling().types[0], plant::bottling().types[4]};
    program.symbols = {plant::symbol("N.new", "ST_Valve", 24, {{"unit", "m"}}), plant::symbol("N.last", "INT", 2)};
    for (const std::uint32_t group : {group_symbol_upload, group_datatype_upload}) {
        const auto block = group == group_symbol_upload ? program.symbol_block() : program.datatype_block();
        for (std::size_t length = 0; length < block.size(); ++length)
            for (const bool announced : {false, true}) {
                device.load(program);
                device.replace_block(group, {block.begin(), block.begin() + static_cast<std::ptrdiff_t>(length)});
                zo_sim::UploadBytes info = program.info();
                const auto size = static_cast<std::uint32_t>(length);
                if (announced) std::memcpy(info.data() + (group == group_symbol_upload ? 0 : 4), &size, sizeof size);
                device.replace_block(group_upload_info, info);
                ASSERT_EQ(state.refresh("plc").code(), 0x100031) << group << ' ' << length;
                ASSERT_EQ(state.runtime_config("plc"), config);
            }
    }
    device.load(program);
    EXPECT_EQ(state.refresh("plc"), ExtensionResult());
    EXPECT_TRUE(knows("N.new.open"));
}

TEST_F(StateOfDevice, ProgressCountsBothBlocks) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> seen;
    StateOptions options;
    options.limits.response_size_limit = 500;
    options.progress = [&](std::uint64_t done, std::uint64_t total) { seen.emplace_back(done, total); };
    State watched(options);
    ASSERT_EQ(watched.configure(runtime()).code(), 0);
    ASSERT_EQ(watched.refresh("plc").code(), 0);
    const std::size_t total = plant::bottling().symbol_block().size() + plant::bottling().datatype_block().size();
    EXPECT_EQ(seen.back(), std::pair(std::uint64_t{total}, std::uint64_t{total}));
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_GE(seen.size(), total / 500);
}

TEST_F(StateOfDevice, AddressChangeConnectsAgain) {
    upload();
    const auto old_ports = device_client().open_ports();
    FdxRuntime flags = runtime();
    flags.set_is_read_only(true);
    EXPECT_EQ(state.configure(flags).code(), 0);
    EXPECT_EQ(device_client().open_ports(), old_ports);
    EXPECT_EQ(state.availability("plc").code(), 0);
    EXPECT_TRUE(state.runtime_config("plc")->is_readonly(path("MAIN.filler"))) << "flags take effect at once";

    NrxAddr other = plc;
    other.net_id.bytes[3] = 41; // not seen by the comparison of runtimes
    FdxRuntime moved("plc", other, "");
    moved.set_enabled(true);
    EXPECT_TRUE(moved == runtime());
    EXPECT_EQ(state.configure(moved).code(), 0);
    EXPECT_EQ(state.availability("plc").code(), 0x100031);
    EXPECT_NE(device_client().open_ports(), old_ports);
    EXPECT_EQ(device_client().open_ports().size(), 1u);
    device_client().refuse_ports(true);
    EXPECT_EQ(state.configure(runtime()).code(), 0x748);
}

TEST_F(StateOfDevice, RefreshOfAReplacedAddressIsVoid) {
    ASSERT_EQ(state.configure(runtime()).code(), 0);
    device.before(group_symbol_upload, [&] { state.clear_runtime("plc"); });
    EXPECT_EQ(state.refresh("plc").code(), 0x10003E);
    EXPECT_EQ(state.runtime_config("plc")->symbols().size(), 0u);
    EXPECT_EQ(state.availability("plc").code(), 0x100031);
}

TEST_F(StateOfDevice, ConnectionStateTellsMissingSymbols) {
    EXPECT_EQ(state.connection_state("plc").text, "HMI_FDX_E_INVALID_RUNTIME (0x100033)");
    ASSERT_EQ(state.configure(runtime()).code(), 0);
    EXPECT_EQ(state.connection_state("plc").text, "Run") << "needs no symbols";
    upload();
    EXPECT_EQ(state.connection_state("plc").text, "Run");
    device.fail(0, 0x7);
    EXPECT_EQ(state.connection_state("plc").text, "Target Machine Not Found (0x07)");
    device.heal();
    device.load(changed());
    device.replace_block(group_symbol_upload, {});
    (void)state.refresh("plc");
    EXPECT_EQ(state.connection_state("plc").text, "No Symbol Information (Upload of symbols ended early. [plc])");
    EXPECT_TRUE(state.connection_state("plc").available);
    ASSERT_EQ(state.configure(runtime(false)).code(), 0);
    EXPECT_EQ(state.connection_state("plc").text, "HMI_FDX_E_DISABLED (0x10003a)");
}

TEST_F(StateOfDevice, BrowseListsLayers) {
    upload();
    ZoHmiSrv::Value out;
    const auto names = [&](const char* parent, bool with_hidden = false) {
        std::string list;
        if (const auto result = state.browse("plc", path<UnqualifiedFdxPath>(parent), out, with_hidden); result.code())
            return result.text();
        for (unsigned i = 0; i < out.size(); ++i)
            list += std::string(i ? " " : "") + out[static_cast<int>(i)]["name"].get_string();
        return list;
    };
    EXPECT_EQ(names(""), ".total MAIN.capper MAIN.doors MAIN.filler MAIN.flags MAIN.grid MAIN.inlet MAIN.mode "
                         "MAIN.spare MAIN.state Recipes.current Recipes.image");
    EXPECT_NE(names("", true).find("Service.secret"), std::string::npos);
    EXPECT_EQ(names("MAIN.inlet"), "open fault position name") << "of its target";
    EXPECT_EQ(names("MAIN.filler.valves[1]", true), "open fault position serviceKey name");
    EXPECT_EQ(names("Service.secret"), "Symbol not found. [Service.secret]");
    EXPECT_EQ(names("MAIN.nothing"), "Symbol not found. [MAIN.nothing]");
    EXPECT_EQ(names("MAIN.capper"), "speed next Load");
    EXPECT_EQ(values::show(out[1]),
              "struct {hasChildren: Bool(true), hidden: Bool(false), name: 'next', path: 'MAIN.capper.next', "
              "readOnly: Bool(false), size: Int64(8), type: 'POINTER TO FB_Motor'}");
}

class Handles : public StateOfDevice {
protected:
    std::vector<std::pair<int, std::uint32_t>> fetch(std::initializer_list<const char*> paths, bool as_target = false) {
        requests.clear();
        for (const char* text : paths)
            requests.push_back({path(text), as_target, {}, 0});
        state.fetch_handles(state.runtime_config("plc"), requests);
        std::vector<std::pair<int, std::uint32_t>> answers;
        for (const HandleRequest& request : requests)
            answers.emplace_back(request.result.code(), request.handle);
        return answers;
    }
    using Answers = std::vector<std::pair<int, std::uint32_t>>;
    std::vector<HandleRequest> requests;
};

TEST_F(Handles, UnknownOnesAreFetchedInOneSum) {
    upload();
    device.requests.clear();
    device.forget("MAIN.gone");
    device.answer_handle("MAIN.null", 0);
    EXPECT_EQ(fetch({"MAIN.filler", "MAIN.inlet`.open", "MAIN.gone", "MAIN.null", "MAIN.filler"}),
              (Answers{{0, 100}, {0, 101}, {0x710, 0}, {0x10003D, 0}, {0, 100}}));
    EXPECT_EQ(device.names_asked,
              (std::vector<std::string>{"MAIN.filler", "MAIN.inlet.open", "MAIN.gone", "MAIN.null"}));
    EXPECT_EQ(device.requests[group_sum_read_write], 1);
    const auto config = state.runtime_config("plc");
    EXPECT_EQ(config->symbols().get(path("MAIN.gone"))->handle_state, 3);
    device.requests.clear();
    device.names_asked.clear();
    EXPECT_EQ(fetch({"MAIN.filler", "MAIN.gone"}), (Answers{{0, 100}, {0x710, 0}}));
    EXPECT_TRUE(device.requests.empty()) << "both answers are known";
    EXPECT_EQ(fetch({"MAIN.gone"}, true), (Answers{{0x710, 0}})) << "asked as a target it is worth another try";
    EXPECT_EQ(config->symbols().get(path("MAIN.gone"))->handle_state, 4);
    EXPECT_EQ(fetch({"MAIN.null"}), (Answers{{0x10003D, 0}}));
    EXPECT_EQ(device.names_asked, (std::vector<std::string>{"MAIN.gone", "MAIN.null"}));
}

TEST_F(Handles, OldestAreReleased) {
    upload();
    for (const char* text : {"MAIN.filler", "MAIN.capper", "MAIN.flags", "MAIN.doors", "MAIN.capper.speed"})
        (void)fetch({text});
    EXPECT_EQ(device.handles_released, (std::vector<std::uint32_t>{100, 101}));
    EXPECT_EQ(fetch({"MAIN.filler"}), (Answers{{0, 105}}));
    device.load(changed());
    device.handles_released.clear();
    EXPECT_EQ(state.refresh("plc").code(), 0);
    EXPECT_EQ(device.handles_released.size(), 3u) << "an online change releases all";
    EXPECT_EQ(fetch({"MAIN.doors"}), (Answers{{0, 106}}));
}

TEST_F(Handles, OtherRevisionMakesAllStale) {
    upload();
    EXPECT_EQ(fetch({"MAIN.doors"}), (Answers{{0, 100}}));
    device.load(changed());
    EXPECT_EQ(fetch({"MAIN.doors", "MAIN.filler"}), (Answers{{0x100047, 0}, {0x100047, 0}}));
    EXPECT_EQ(device.handles_released, (std::vector<std::uint32_t>{101}));
    EXPECT_TRUE(state.refresh_due("plc"));
    EXPECT_EQ(fetch({"MAIN.doors"}), (Answers{{0x100047, 0}})) << "values wait for the refresh";
    EXPECT_EQ(state.refresh("plc").code(), 0);
    EXPECT_EQ(fetch({"MAIN.doors"}), (Answers{{0, 102}}));
}

TEST_F(Handles, ForgottenHandleMakesARefreshDue) {
    upload();
    (void)fetch({"MAIN.doors", "MAIN.filler"});
    const auto config = state.runtime_config("plc");
    EXPECT_EQ(state.value_failure(config, requests[0], 0x705).code(), 0x705);
    EXPECT_FALSE(state.refresh_due("plc"));
    EXPECT_EQ(state.value_failure(config, requests[0], 0x711).code(), 0x100047);
    EXPECT_TRUE(state.refresh_due("plc"));
    EXPECT_FALSE(config->handle_already_fetched(path("MAIN.doors")));
    EXPECT_EQ(state.refresh("plc").code(), 0) << "the same upload";
    EXPECT_EQ(state.availability("plc").code(), 0);
    EXPECT_EQ(fetch({"MAIN.doors", "MAIN.filler"}), (Answers{{0, 102}, {0, 101}}));

    device.load(changed());
    EXPECT_EQ(state.refresh("plc").code(), 0);
    EXPECT_EQ(state.value_failure(config, requests[0], 0x710).code(), 0x100047);
    EXPECT_FALSE(state.refresh_due("plc")) << "the handle was of the config before";
}

TEST_F(Handles, FailedRequestAnswersAll) {
    upload();
    device.fail(group_upload_info, 0x719);
    EXPECT_EQ(fetch({"MAIN.doors"}), (Answers{{0x719, 0}}));
    EXPECT_EQ(device.handles_released, (std::vector<std::uint32_t>{100}));
    EXPECT_FALSE(state.runtime_config("plc")->handle_already_fetched(path("MAIN.doors")));
    EXPECT_EQ(state.availability("plc").code(), 0);
}

TEST(StateAttributes, KeysThatTheLibraryActsOnAreIgnored) {
    const State state;
    for (const char* key : {"ZoHmiSymbol.Show", "LowerBorder", "ZoEncoding", "ZoHmiSymbol.AddSymbol.Hidden"})
        EXPECT_TRUE(state.is_plc_attribute_ignored(key)) << key;
    for (const char* key : {"", "unit", "zoencoding"})
        EXPECT_FALSE(state.is_plc_attribute_ignored(key)) << key;
}

} // namespace
