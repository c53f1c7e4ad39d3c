#pragma once

#include "platform/link/frame.h"
#include "platform/link/link_server.h"

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <nlohmann/json.hpp>

namespace zo_link {

/// The implementation of LinkSession: one socket on the server's thread. Inside platform/link only.
class Session final : public LinkSession, public std::enable_shared_from_this<Session> {
public:
    using Bytes = std::shared_ptr<const std::vector<std::uint8_t>>;
    using Request = decltype(ServerEvents::request);
    using Ended = std::function<void(const std::shared_ptr<Session>&)>;

    Session(std::shared_ptr<boost::asio::io_context> io, boost::asio::ip::tcp::socket socket, std::uint64_t number,
            Request request, Ended ended, std::chrono::milliseconds longest_silence);

    /// Encodes a notification; null if it is too large to be sent. [any thread]
    static Bytes encode_notification(const char* kind, const nlohmann::json& fields);

    /// Starts to read. [server thread]
    void start();
    /// Closes the socket and calls `ended`, once. [server thread]
    void end();
    /// Returns the time of the client's last frame. Empty before the hello and during a stall. [server thread]
    std::optional<std::chrono::steady_clock::time_point> last_heard();
    /// [any thread]
    void notify(const Bytes& frame);

    std::uint64_t number() const override { return number_; }
    const nlohmann::json& hello() const override { return hello_; }
    void reply(std::uint32_t id, std::uint32_t result, const nlohmann::json& fields) override;
    void reply(std::uint32_t id, std::uint32_t result) override;
    void reply_list(std::uint32_t id, std::vector<nlohmann::json> items) override;
    void accept(std::uint32_t id, std::uint64_t instance) override;
    void notify(const char* kind, const nlohmann::json& fields) override;
    void drop() override;
    void stall(bool on) override;
    void truncate_next_reply() override;
    void send_raw(std::vector<std::uint8_t> bytes) override;

private:
    struct Unsent {
        Bytes bytes;
        bool last = false; // the connection ends after this frame
    };

    // [server thread]
    void read();
    void process();
    void handle(const nlohmann::json& map);
    bool expect(std::uint32_t id, bool is_hello);
    void write();

    // [mutex held]
    void push_locked(std::vector<std::uint8_t> frame, bool last = false);
    void push_locked(Bytes frame, bool last);
    void answer_locked(std::uint32_t id, std::vector<std::vector<std::uint8_t>> frames, bool last);

    const std::shared_ptr<boost::asio::io_context> io_;
    boost::asio::ip::tcp::socket socket_;
    const std::uint64_t number_;

    const std::chrono::milliseconds longest_silence_;

    // Used only by the server thread.
    Request request_;
    Ended ended_;
    FrameReader frames_;
    std::array<std::uint8_t, std::size_t{64} << 10> chunk_{};
    nlohmann::json hello_;
    boost::asio::steady_timer greeting_; // runs until the hello comes
    std::chrono::steady_clock::time_point last_heard_;
    bool reading_ = false;

    std::mutex mutex_; // guards the members below
    std::deque<Unsent> unsent_;
    std::size_t unsent_bytes_ = 0;
    std::set<std::uint32_t> unanswered_;
    std::uint32_t hello_id_ = 0;
    bool writing_ = false;
    bool accepted_ = false;
    bool notified_ = false; // receives notifications
    bool stalled_ = false;
    bool truncate_ = false;
    bool closed_ = false;
};

} // namespace zo_link
