#include "device/runtime/state.h"
#include "extension/host/value.h"
#include "tests/device/runtime/plant.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using fakes::device_client;
using plant::member;
using plant::path;
using plant::structure;

namespace {

constexpr int changes = 100;
constexpr int askers = 32;

// Each change moves the hidden member and renames all others.
plant::Program program_of(unsigned revision) {
    const std::string number = std::to_string(revision % 7);
    plant::Program program;
    program.revision = revision;
    program.types = {structure("ST", {member("shown" + number, "INT", 0, 2),
                                      member("secret", "DINT", 4 + 4 * (revision % 3), 4, {{"ZoHmiSymbol.Hide", ""}})}),
                     plant::alias("T_ST", "ST", 16, 0x41)};
    program.symbols = {plant::symbol("M.plain", "T_ST", 16), plant::symbol("M.all", "ARRAY [0..3] OF T_ST", 64),
                       plant::symbol("M.hidden", "INT", 2, {{"ZoHmiSymbol.Hide", ""}})};
    for (int i = 0; i < 20; ++i)
        program.symbols.push_back(plant::symbol("N" + number + ".x" + std::to_string(i), "REAL", 4));
    return program;
}

TEST(StateThreads, HiddenPathStaysHiddenWhileProgramsChange) {
    device_client().reset();
    plant::Device device(program_of(1));
    device_client().answer_by(std::ref(device));
    State state;
    FdxRuntime runtime("plc", {{{5, 12, 82, 40, 1, 1}}, 851}, "");
    runtime.set_enabled(true);
    ASSERT_EQ(state.configure(runtime).code(), 0);
    ASSERT_EQ(state.refresh("plc").code(), 0);

    std::atomic<bool> stop = false;
    std::atomic<int> visible = 0;
    std::atomic<int> mixed = 0;
    std::atomic<int> asked = 0;
    const auto ask = [&](unsigned seed) {
        std::mt19937 random(seed);
        while (!stop) {
            const State::Runtime config = state.runtime_config("plc");
            const std::string number = std::to_string(config->upload_info().revision % 7);
            for (const char* text : {"M.hidden", "M.plain.secret", "M.all[2].secret"}) {
                const auto found = state.translate_path(config, path<UnqualifiedFdxPath>(text));
                visible += found->result.code() != 0 || !config->is_hidden_or_not_whitelisted(found->path.unique());
            }
            const auto shown = state.translate_path(config, path<UnqualifiedFdxPath>("M.plain.shown" + number));
            const auto other = state.translate_path(config, path<UnqualifiedFdxPath>("N" + number + ".X7"));
            mixed += shown->result.code() != 0 || other->result.code() != 0;
            switch (random() % 4) {
            case 0: {
                ZoHmiSrv::Value out;
                mixed += state.browse("plc", path<UnqualifiedFdxPath>("M.plain"), out).code() != 0 || out.size() != 1;
                break;
            }
            case 1: {
                HandleRequest request{path("M.plain"), false, {}, 0};
                state.fetch_handles(config, {&request, 1});
                const int code = request.result.code();
                mixed += code != 0 && code != 0x100047;
                break;
            }
            case 2:
                (void)state.datatype(config, {}, "ARRAY [0..1] OF T_ST", true, DatatypeStorage::Both);
                mixed += state.symbols_info("plc").symbols != 23u;
                break;
            default: {
                const int code = state.availability("plc").code();
                mixed += code != 0 && code != 0x100047;
                break;
            }
            }
            ++asked;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < askers; ++i)
        threads.emplace_back(ask, i);
    for (unsigned revision = 2; revision < 2 + changes; ++revision) {
        device.load(program_of(revision));
        // Two refreshes at once: one of them waits, and finds nothing to do.
        std::thread second([&] { (void)state.refresh("plc"); });
        EXPECT_EQ(state.refresh("plc").code(), 0);
        second.join();
        EXPECT_EQ(state.symbols_info("plc").revision, revision);
        if (revision % 10 == 0) {
            runtime.set_is_read_only(revision % 20 == 0);
            EXPECT_EQ(state.configure(runtime).code(), 0);
        }
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(visible, 0);
    EXPECT_EQ(mixed, 0);
    EXPECT_GT(asked, askers);
    device_client().reset();
}

} // namespace
