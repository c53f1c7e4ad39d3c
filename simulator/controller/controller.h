#pragma once

#include "simulator/controller/plant.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace zo_sim {

/// The answer to one request: a device code, and the data if the code is 0.
struct DeviceReply {
    std::uint32_t code = 0;
    Bytes data;
};

/// The maximum numbers of requests and handles.
struct ControllerLimits {
    std::uint64_t items = UINT64_MAX; ///< sub-requests of a sum
    std::uint64_t bytes = UINT64_MAX; ///< read by one request
    std::uint64_t handles = 100000;   ///< open at the same time
};

/// A controller's device protocol over its plant: memory, handles, names, upload and sums. Runs on the thread of its
/// target.
class Controller {
public:
    using View = std::span<const std::uint8_t>;

    /// `description` is the controller of a scenario. Throws ScenarioError.
    explicit Controller(const Node& description);

    DeviceReply read(std::uint32_t group, std::uint32_t offset, std::uint32_t length);
    DeviceReply write(std::uint32_t group, std::uint32_t offset, View data);
    DeviceReply read_write(std::uint32_t group, std::uint32_t offset, std::uint32_t length, View data);

    const std::string& name() const { return name_; }
    std::uint16_t state() const { return state_; }
    void set_state(std::uint16_t state) { state_ = state; }
    Plant& plant() { return *plant_; }

    ControllerLimits& limits() { return limits_; }
    /// A group that is off answers 0x701.
    void switch_group(std::uint32_t group, bool on);
    /// Sets the code of requests and sub-requests for this path: `count` times, or without end if `count` is 0.
    void answer_item(const std::string& path, std::uint32_t code, std::uint64_t count);
    /// Adds `delta` to a number; changes direction at `low` and `high`. Throws ScenarioError.
    void step(const std::string& path, double delta, double low, double high);
    /// Applies the scenario's next change. After the last one only the revision and the handles change.
    void online_change();
    /// Returns the number of sub-requests by group; 0 stands for all unknown groups.
    const std::map<std::uint32_t, std::uint64_t>& sub_requests() const { return sub_requests_; }

private:
    struct Handle {
        Place place;
        std::string path; // in lower case
    };
    struct ItemFault {
        std::uint32_t code;
        std::uint64_t left; // 0: no end
    };

    /// One request, or one item of a sum. A read-write of a value writes first.
    struct Request {
        std::uint32_t group;
        std::uint32_t offset;
        std::uint32_t length; // bytes to read
        View data;
        bool writes;
    };

    static void apply_change(nlohmann::json& description, const Node& change);
    void build(const Node& description);
    DeviceReply item(const Request& request);
    DeviceReply by_name(const Request& request);
    DeviceReply memory(const Request& request);
    DeviceReply value(const Place& place, const Request& request);
    DeviceReply masked(const Place& place, View data);
    DeviceReply create_handle(std::uint32_t length, View name);
    DeviceReply upload_info(std::uint32_t length) const;
    static DeviceReply chunk(const Bytes& block, const Request& request);
    DeviceReply sum(std::uint32_t group, std::uint32_t count, std::uint32_t length, View data);
    /// Reads the items of a sum. Returns false if they do not fit the data, or if their answer does not fit the length.
    static bool read_sum(std::uint32_t group, std::uint32_t count, std::uint32_t length, View data,
                         std::vector<Request>& items);
    std::uint32_t find(View name, Place& place, std::string& path);
    std::uint32_t fault_of(const std::string& path);

    std::string name_;
    std::uint16_t state_ = 5;
    std::string place_; // in the scenario, for error texts
    nlohmann::json description_;
    std::unique_ptr<Plant> plant_;
    Bytes symbol_block_;
    Bytes datatype_block_;
    std::uint32_t revision_ = 1;
    std::size_t next_change_ = 0;
    ControllerLimits limits_;
    std::set<std::uint32_t> unsupported_;
    std::map<std::uint32_t, Handle> handles_;
    std::uint32_t last_handle_ = 0;
    std::map<std::string, ItemFault> faults_; // by path in lower case
    std::set<std::string> falling_;           // paths of steps that have turned at the upper end
    std::map<std::uint32_t, std::uint64_t> sub_requests_;
};

} // namespace zo_sim
