#include "device/request/routes.h"

#include "device/request/server_id.h"
#include "extension/host/value.h"
#include "support/file.h"
#include "tests/device/request/device_memory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace std::string_literals;
using namespace ZoHmiFdx;
using fakes::Bytes;
using fakes::device_client;
using fakes::DeviceAnswer;
using fakes::DeviceRequest;
using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::Value;
using Names = std::vector<std::string>;

namespace {

constexpr NrxNetId target{{5, 12, 82, 40, 1, 1}};

Bytes net_id(std::uint8_t last) {
    return {5, 1, 1, 1, 1, last};
}

void append(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

// A record of the system service. The lengths are said, the texts are sent.
Bytes sys_record(const std::string& skipped, const std::string& name, std::uint32_t name_length,
                 std::uint32_t additional) {
    Bytes record = net_id(1);
    record.resize(32);
    for (const std::size_t number : {skipped.size(), std::size_t{name_length}, std::size_t{additional}})
        fakes::append_number(record, static_cast<std::uint32_t>(number));
    append(record, skipped + name);
    return record;
}

void add_entry(Bytes& record, std::uint8_t last, const std::string& name, std::uint32_t name_length) {
    const Bytes id = net_id(last);
    record.insert(record.end(), id.begin(), id.end());
    record.resize(record.size() + 14);
    fakes::append_number(record, name_length);
    append(record, name);
}

class RoutesTest : public testing::Test {
protected:
    void SetUp() override { device_client().reset(); }
    // Answers the records one after the other, then 0x716.
    static void answer_records(std::vector<Bytes> records) {
        device_client().answer_by([records = std::move(records)](const DeviceRequest& request) {
            DeviceAnswer answer;
            if (request.offset < records.size())
                answer.data = records[request.offset];
            else
                answer.code = 0x716;
            return answer;
        });
    }
    static Names labels(const Value& routes) {
        Names names;
        for (const Value& route : routes.get_vector())
            names.emplace_back(route["label"].get_string());
        return names;
    }
    Names sys_labels() {
        Value out;
        EXPECT_EQ(Routes::fetch_routes_from_sys_service(3, target, out), ExtensionResult());
        return labels(out);
    }
};

TEST_F(RoutesTest, SystemServiceRecords) {
    Bytes full = sys_record("skip", "Packaging\0"s, 10, 2);
    add_entry(full, 2,
              "S\xFC"
              "d\0"s,
              4); // Windows-1252
    add_entry(full, 3, "", 1);
    Bytes utf8 = sys_record("",
                            "S\xC3\xBC"
                            "d\0x\0"s,
                            6, 0);
    answer_records({full, utf8, sys_record("", "", 0, 0)});
    Value out;
    out << Value("kept");
    EXPECT_EQ(Routes::fetch_routes_from_sys_service(3, target, out), ExtensionResult());
    EXPECT_EQ(labels(out), (Names{"", "Packaging (5.1.1.1.1.1)", "Süd (5.1.1.1.1.2)", "? (5.1.1.1.1.3)",
                                  "Süd (5.1.1.1.1.1)", "? (5.1.1.1.1.1)"}));
    EXPECT_EQ(out[1]["name"].get_string(), "Packaging"s);
    EXPECT_EQ(out[1]["value"].get_string(), "5.1.1.1.1.1"s);
    const auto requests = device_client().take_requests();
    ASSERT_EQ(requests.size(), 4u);
    EXPECT_EQ(requests[0].address, (NrxAddr{target, 10000}));
    EXPECT_EQ(requests[0].group, 0x323u);
    EXPECT_EQ(requests[3].offset, 3u);
    EXPECT_EQ(requests[0].length, 0x600u);
}

TEST_F(RoutesTest, SystemServiceRecordsCutShort) {
    answer_records({sys_record("", "Packaging\0"s, 11, 5), sys_record("", "n\0"s, 0xFFFFFFFF, 0xFFFFFFFF), Bytes(43),
                    sys_record("", "not reached\0"s, 12, 0)});
    EXPECT_EQ(sys_labels(), (Names{"? (5.1.1.1.1.1)", "? (5.1.1.1.1.1)"}));

    Bytes record = sys_record("s", "P\0"s, 2, 3);
    add_entry(record, 2, "Q\0"s, 2);
    add_entry(record, 3, "R\0"s, 9); // its name does not fit
    answer_records({record});
    EXPECT_EQ(sys_labels(), (Names{"P (5.1.1.1.1.1)", "Q (5.1.1.1.1.2)", "? (5.1.1.1.1.3)"}));
    for (std::size_t size = 44; size < record.size(); ++size) { // cut anywhere: nothing is read outside
        answer_records({Bytes(record.begin(), record.begin() + static_cast<std::ptrdiff_t>(size))});
        EXPECT_GE(sys_labels().size(), 1u);
    }
}

TEST_F(RoutesTest, SystemServiceFails) {
    device_client().answer_by([](const DeviceRequest& request) {
        DeviceAnswer answer;
        answer.data = sys_record("", "P\0"s, 2, 0);
        answer.code = request.offset == 2 ? 0x745 : 0;
        return answer;
    });
    Value out;
    EXPECT_EQ(
        Routes::fetch_routes_from_sys_service(3, target, out),
        ExtensionResult(0x745, "FdxSyncReadReqEx2 failed for index-group SYSTEMSERVICE_ENUMREMOTE at index '2'."));
    EXPECT_EQ(out.size(), 2u) << "what came before stays";
}

TEST_F(RoutesTest, SystemServiceWithoutEnd) {
    device_client().answer_by([](const DeviceRequest&) {
        DeviceAnswer answer;
        answer.data = sys_record("", "P\0"s, 2, 0);
        return answer;
    });
    EXPECT_EQ(sys_labels().size(), 65'536u);
}

TEST_F(RoutesTest, RouterRecords) {
    std::uint32_t count = 3;
    Bytes records(3 * 58 - 1); // the third does not fit
    std::ranges::copy("Packaging"s, records.begin() + 16);
    std::ranges::copy(net_id(1), records.begin() + 52);
    std::ranges::fill_n(records.begin() + 58 + 16, 32, static_cast<unsigned char>(0xFC)); // no terminator
    std::ranges::copy(net_id(2), records.begin() + 58 + 52);
    std::int32_t count_code = 0;
    std::int32_t records_code = 0;
    device_client().answer_by([&](const DeviceRequest& request) {
        DeviceAnswer answer;
        EXPECT_EQ(request.group, 3u);
        EXPECT_EQ(request.address.port, 1);
        if (request.offset == 2) {
            fakes::append_number(answer.data, count);
            answer.code = count_code;
        } else {
            EXPECT_EQ(request.offset, 1u);
            EXPECT_EQ(request.length, 58 * count);
            answer.data = records;
            answer.code = records_code;
        }
        return answer;
    });
    const auto fetch = [](Value& out) { return Routes::fetch_routes_from_router(3, target, out); };
    Value out;
    EXPECT_EQ(fetch(out), ExtensionResult());
    std::string umlauts;
    for (int i = 0; i < 32; ++i)
        umlauts += "ü";
    EXPECT_EQ(labels(out), (Names{"Packaging (5.1.1.1.1.1)", umlauts + " (5.1.1.1.1.2)"}));

    const std::string all_failed = "Unable to get 100001 routes from the FDX router. FdxSyncReadReqEx2 failed for "
                                   "index-group ROUTERFDXGRP_REMOTES and index-offset ROUTERFDXOFFS_REMOTES_ALL.";
    count = 100'001;
    static_cast<void>(device_client().take_requests());
    EXPECT_EQ(fetch(out), ExtensionResult(0x10004C, all_failed));
    EXPECT_EQ(device_client().take_requests().size(), 1u);
    count = 2;
    records_code = 0x701;
    EXPECT_EQ(fetch(out).code(), 0x701);
    count = 0;
    EXPECT_EQ(fetch(out), ExtensionResult());
    count_code = 0x6;
    EXPECT_EQ(fetch(out),
              ExtensionResult(0x6, "Unable to get the number of routes from the FDX router. FdxSyncReadReqEx2 failed "
                                   "for index-group ROUTERFDXGRP_REMOTES and index-offset "
                                   "ROUTERFDXOFFS_REMOTES_CNT."));
}

TEST_F(RoutesTest, ServerIdNamesDirectoryAndSystem) {
    const std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(ZoHmiSrv::File::current_directory(), here);
    EXPECT_EQ(server_id(), here) << "nothing answers";
    device_client().answer_by([](const DeviceRequest& request) {
        EXPECT_EQ(to_string(request.address.net_id), "127.0.0.1.1.1");
        EXPECT_EQ(request.address.port, 30);
        DeviceAnswer answer;
        answer.data = Bytes(16, 0xAB);
        return answer;
    });
    EXPECT_EQ(server_id(), here + "ABABABAB-ABAB-ABAB-ABAB-ABABABABABAB");
    static_cast<void>(device_client().take_requests());
    device_client().refuse_ports(true);
    EXPECT_EQ(server_id(), here);
    EXPECT_TRUE(device_client().take_requests().empty());
}

} // namespace
