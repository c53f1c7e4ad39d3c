#pragma once

#include "device/request/index_groups.h"
#include "device/request/sub_request.h"
#include "tests/fakes/fake_device_client.h"

#include <cstring>
#include <functional>
#include <map>
#include <utility>

namespace fakes {

inline std::uint32_t number_at(const Bytes& bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

inline void append_number(Bytes& bytes, std::uint32_t number) {
    const auto* const start = reinterpret_cast<const unsigned char*>(&number);
    bytes.insert(bytes.end(), start, start + sizeof number);
}

// The records of a sum, then the data.
template <class Record>
Bytes wire(std::initializer_list<Record> records, const Bytes& data = {}) {
    Bytes bytes;
    for (const Record& record : records) {
        const auto* const start = reinterpret_cast<const unsigned char*>(&record);
        bytes.insert(bytes.end(), start, start + sizeof record);
    }
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

// A device that knows sums. A read of group and offset answers `length` bytes whose value is the offset's low byte,
// unless `codes` names another code for the offset. Writes append to `written`.
struct Device {
    bool has_sums = true;
    std::size_t max_items = SIZE_MAX;
    std::map<std::uint32_t, std::int32_t> codes;
    std::vector<std::pair<std::uint32_t, Bytes>> written; // group, bytes
    std::vector<std::size_t> sums;                        // sub-requests of each sum that was answered
    std::size_t singles = 0;

    DeviceAnswer operator()(const DeviceRequest& request) {
        using namespace ZoHmiFdx;
        const bool sum = request.group >= group_sum_read && request.group <= group_sum_read_write;
        if (!sum) {
            ++singles;
            return item(request.group, request.offset, request.length, request.written);
        }
        if (!has_sums) return with_code(0x701);
        if (request.offset > max_items) return with_code(0x70A);
        sums.push_back(request.offset);
        return answer_sum(request);
    }

private:
    static DeviceAnswer with_code(std::int32_t code) {
        DeviceAnswer answer;
        answer.code = code;
        return answer;
    }
    DeviceAnswer item(std::uint32_t group, std::uint32_t offset, std::uint32_t length, const Bytes& bytes) {
        DeviceAnswer answer;
        if (const auto code = codes.find(offset); code != codes.end()) answer.code = code->second;
        if (answer.code == 0) answer.data.assign(length, static_cast<unsigned char>(offset));
        if (!bytes.empty()) written.emplace_back(group, bytes);
        return answer;
    }
    DeviceAnswer answer_sum(const DeviceRequest& request) {
        using namespace ZoHmiFdx;
        const bool read_write = request.group == group_sum_read_write;
        const std::size_t record = read_write ? sizeof(FdxReqWrite) : sizeof(FdxReq);
        std::size_t data_at = request.offset * record;
        DeviceAnswer answer;
        Bytes data;
        for (std::size_t i = 0; i < request.offset; ++i) {
            const std::uint32_t group = number_at(request.written, i * record);
            const std::uint32_t offset = number_at(request.written, i * record + 4);
            const std::uint32_t length = number_at(request.written, i * record + 8);
            const std::uint32_t write_length = read_write ? number_at(request.written, i * record + 12)
                                               : request.group == group_sum_write ? length
                                                                                  : 0;
            const auto start = request.written.begin() + static_cast<std::ptrdiff_t>(data_at);
            const DeviceAnswer one = item(group, offset, request.group == group_sum_write ? 0 : length,
                                          Bytes(start, start + static_cast<std::ptrdiff_t>(write_length)));
            data_at += write_length;
            append_number(answer.data, static_cast<std::uint32_t>(one.code));
            if (read_write) append_number(answer.data, static_cast<std::uint32_t>(one.data.size()));
            data.insert(data.end(), one.data.begin(), one.data.end());
            if (request.group == group_sum_read && one.code != 0) data.resize(data.size() + length);
        }
        answer.data.insert(answer.data.end(), data.begin(), data.end());
        return answer;
    }
};

} // namespace fakes
