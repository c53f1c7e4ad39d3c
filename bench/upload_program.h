#pragma once

#include "device/runtime/runtime_config.h"
#include "device/runtime/state.h"
#include "simulator/upload_blocks.h"

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// The program of a large controller: 200 structures in five levels, and symbols of two to four parts.
struct UploadProgram {
    zo_sim::UploadBytes symbols;
    zo_sim::UploadBytes datatypes;
    std::size_t symbol_count;
    std::size_t datatype_count = 0;

    explicit UploadProgram(std::size_t count) : symbol_count(count) {
        std::mt19937 random(1000);
        for (int level = 0; level < levels; ++level)
            for (int i = 0; i < structures; ++i)
                append_datatype(datatypes, structure(random, level, i));
        for (std::size_t i = 0; i < count; ++i)
            append_symbol(symbols, symbol(random, i));
    }

    [[nodiscard]] zo_sim::UploadBytes info() const {
        return zo_sim::upload_info(symbols, symbol_count, datatypes, datatype_count, 1);
    }
    [[nodiscard]] std::shared_ptr<ZoHmiFdx::RuntimeConfig> config(ZoHmiFdx::State& state) const {
        auto made = std::make_shared<ZoHmiFdx::RuntimeConfig>("plc");
        (void)state.add_datatypes(made, datatypes);
        (void)state.add_symbols(made, symbols);
        state.preprocess_upload_info(made);
        state.postprocess_upload_info(made);
        return made;
    }

    static std::string name_of(std::size_t i) {
        std::string name = "Area" + std::to_string(i % 40) + ".fbUnit" + std::to_string(i / 40 % 25);
        if (i % 3 != 0) name += ".stGroup" + std::to_string(i / 1000 % 10);
        return name + ".val" + std::to_string(i);
    }
    static std::string type_of(int level, int i) {
        return level < 0 ? "LREAL" : "ST_Level" + std::to_string(level) + "_" + std::to_string(i);
    }
    static const char* member_of(unsigned i) {
        static constexpr const char* names[] = {"axis", "fbDrive", "stStatus", "nState", "aSteps", "lastErrorText"};
        return names[i % std::size(names)];
    }

    static constexpr int levels = 5;
    static constexpr int structures = 40;

private:
    zo_sim::UploadEntry structure(std::mt19937& random, int level, int i) {
        ++datatype_count;
        zo_sim::UploadEntry type;
        type.name = type_of(level, i);
        type.size = 6 * 8;
        for (unsigned m = 0; m < 6; ++m) {
            zo_sim::UploadEntry member;
            member.name = member_of(m);
            member.type = type_of(level - 1, int(random() % structures));
            if (m == 4) member.type = "ARRAY [0..9] OF " + member.type;
            member.offset = 8 * m;
            member.size = 8;
            mark(random, member.attributes);
            type.members.push_back(std::move(member));
        }
        return type;
    }
    static zo_sim::UploadSymbol symbol(std::mt19937& random, std::size_t i) {
        zo_sim::UploadSymbol made;
        made.name = name_of(i);
        made.type = type_of(int(random() % (levels + 1)) - 1, int(random() % structures));
        made.size = 48;
        made.offset = unsigned(i) * 48;
        mark(random, made.attributes);
        return made;
    }
    static void mark(std::mt19937& random, zo_sim::UploadAttributes& attributes) {
        switch (random() % 50) {
        case 0:
            attributes.emplace_back("ZoHmiSymbol.Hide", "");
            break;
        case 1:
            attributes.emplace_back("ZoHmiSymbol.ReadOnly", "");
            break;
        case 2:
            attributes.emplace_back("unit", "mm");
            break;
        default:
            break;
        }
    }
};
