#pragma once

#include "device/path/symbol_path.h"
#include "device/runtime/state.h"
#include "simulator/upload_blocks.h"
#include "tests/device/request/device_memory.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// A bottling plant's controller: its upload, and the device behind it.
namespace plant {

template <class Path = ZoHmiFdx::UniqueFdxPath>
Path path(std::string text) {
    Path made;
    made.str() = std::move(text);
    return made;
}

struct Program {
    std::vector<zo_sim::UploadEntry> types;
    std::vector<zo_sim::UploadSymbol> symbols;
    std::uint32_t revision = 1;
    std::uint32_t code_page = 0;

    [[nodiscard]] zo_sim::UploadBytes symbol_block() const;
    [[nodiscard]] zo_sim::UploadBytes datatype_block() const;
    [[nodiscard]] zo_sim::UploadBytes info() const;
};

Program bottling();

// "NAME : TYPE" as a member of so many bytes.
zo_sim::UploadEntry member(const std::string& name, const std::string& type, std::uint32_t offset, std::uint32_t size,
                           zo_sim::UploadAttributes attributes = {});
zo_sim::UploadEntry structure(const std::string& name, std::vector<zo_sim::UploadEntry> members);
zo_sim::UploadEntry alias(const std::string& name, const std::string& type, std::uint32_t size, std::uint32_t code);
zo_sim::UploadSymbol symbol(const std::string& name, const std::string& type, std::uint32_t size = 0,
                            zo_sim::UploadAttributes attributes = {});

// A config that went through an upload's analysis. Throws for a program that is refused.
std::shared_ptr<ZoHmiFdx::RuntimeConfig> analyzed(ZoHmiFdx::State& state, const Program& program);

// Serves a program to the fake client. A handle is a number counted from 100. [any thread]
class Device {
public:
    explicit Device(Program program) { load(std::move(program)); }

    // The next requests are answered from this program.
    void load(Program program);
    fakes::DeviceAnswer operator()(const fakes::DeviceRequest& request);

    // By group: the code of each answer.
    void fail(std::uint32_t group, std::int32_t code) {
        locked([&] { codes_[group] = code; });
    }
    void heal() {
        locked([&] { codes_.clear(); });
    }
    // Replaces a block without telling in the info.
    void replace_block(std::uint32_t group, zo_sim::UploadBytes block) {
        locked([&] { blocks_[group] = block; });
    }
    // Paths that the device does not know.
    void forget(const std::string& name) {
        locked([&] { unknown_[name] = 0x710; });
    }
    void answer_handle(const std::string& name, std::int32_t code) {
        locked([&] { unknown_[name] = code; });
    }
    // Runs before a request of the group is answered, without a lock.
    void before(std::uint32_t group, std::function<void()> hook) {
        locked([&] { hooks_[group] = std::move(hook); });
    }

    std::vector<std::string> names_asked;        // for handles
    std::vector<std::uint32_t> handles_released; // of all sums
    std::map<std::uint32_t, int> requests;       // by group, sums as one
    std::size_t largest_read = 0;                // bytes

private:
    template <class Use>
    void locked(Use use) {
        const std::lock_guard lock(mutex_);
        use();
    }
    fakes::DeviceAnswer item(std::uint32_t group, std::uint32_t offset, std::uint32_t length,
                             const fakes::Bytes& written);
    fakes::DeviceAnswer sum(const fakes::DeviceRequest& request);

    std::mutex mutex_;
    std::map<std::uint32_t, zo_sim::UploadBytes> blocks_; // by group
    std::map<std::uint32_t, std::int32_t> codes_;
    std::map<std::string, std::int32_t> unknown_;
    std::map<std::uint32_t, std::function<void()>> hooks_;
    std::uint32_t last_handle_ = 99;
};

} // namespace plant
