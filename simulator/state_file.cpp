#include "simulator/state_file.h"

#include "platform/link/regular_file.h"
#include "simulator/record_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <string_view>
#include <tuple>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace zo_sim {

namespace {

using nlohmann::json;

constexpr char format_key[] = "zo-target state";
constexpr int format_version = 1;
constexpr std::size_t largest_file = std::size_t{1} << 30;
// Both leave room for higher numbers and times.
constexpr std::uint64_t max_number = std::uint64_t{1} << 62;
constexpr FileTime max_time = FileTime{1} << 62;

std::string line_of(const json& object) {
    return object.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
}

std::string put_line(const Occurrence& occurrence) {
    return line_of({{"put", occurrence.number},
                    {"listed", occurrence.listed},
                    {"record", record_to_text_json(occurrence.record)}});
}

class Loader {
public:
    /// Returns false for a line that is no part of a state.
    bool take(std::string_view line) {
        const json object = json::parse(line, nullptr, false);
        if (!object.is_object()) return false;
        if (!headed_) return headed_ = take_head(object);
        return object.contains("put") ? take_put(object) : take_erase(object);
    }
    bool headed() const { return headed_; }

    State finish() {
        for (auto& [number, occurrence] : occurrences_)
            state_.occurrences.push_back(std::move(occurrence));
        std::stable_sort(state_.occurrences.begin(), state_.occurrences.end(),
                         [](const Occurrence& a, const Occurrence& b) { return a.record.raised < b.record.raised; });
        return std::move(state_);
    }

private:
    bool take_head(const json& object) {
        std::int32_t version = 0;
        return zo_link::read_field(object, format_key, version) && version == format_version &&
               zo_link::read_field(object, "instance", state_.instance) &&
               zo_link::read_field(object, "next", state_.next_number) && state_.next_number <= max_number;
    }

    bool take_put(const json& object) {
        Occurrence occurrence;
        const auto listed = object.find("listed");
        const auto record = object.find("record");
        if (!zo_link::read_field(object, "put", occurrence.number) || listed == object.end() || !listed->is_boolean() ||
            record == object.end() || !record_from_text_json(*record, occurrence.record))
            return false;
        occurrence.listed = listed->get<bool>();
        // An alarm in the list is found by its handle, which is its number.
        const std::uint64_t handle = occurrence.record.handle;
        if (occurrence.number == 0 || occurrence.number > max_number || (handle != 0 && handle != occurrence.number))
            return false;
        if (occurrence.listed && handle == 0) return false;
        const auto& [raised, cleared, confirmed] =
            std::tie(occurrence.record.raised, occurrence.record.cleared, occurrence.record.confirmed);
        if (std::min({raised, cleared, confirmed}) < 0 || std::max({raised, cleared, confirmed}) > max_time)
            return false;
        state_.next_number = std::max(state_.next_number, occurrence.number + 1);
        occurrences_[occurrence.number] = std::move(occurrence);
        return true;
    }

    bool take_erase(const json& object) {
        const auto numbers = object.find("erase");
        if (numbers == object.end() || !numbers->is_array()) return false;
        for (const json& number : *numbers) {
            if (!number.is_number_unsigned()) return false;
            occurrences_.erase(number.get<std::uint64_t>());
        }
        return true;
    }

    bool headed_ = false;
    State state_;
    std::map<std::uint64_t, Occurrence> occurrences_;
};

int open_for_writing(const std::string& path, int flags) {
    try {
        return zo_link::open_regular_file(path, flags);
    } catch (const zo_link::FileError& error) {
        throw StateError("cannot write state file '" + path + "': " + error.what());
    }
}

void write_all(int file, std::string_view text, const std::string& path) {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) throw StateError("cannot write state file '" + path + "': " + std::strerror(errno));
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace

std::optional<State> load_state(const std::string& path) {
    std::string content;
    try {
        content = zo_link::read_regular_file(path, largest_file);
    } catch (const zo_link::FileError& error) {
        if (error.error == ENOENT) return std::nullopt;
        throw StateError("cannot read state file '" + path + "': " + error.what());
    }
    Loader loader;
    std::size_t number = 1;
    for (std::string_view rest = content; !rest.empty(); ++number) {
        const std::size_t end = rest.find('\n');
        // A last line without line feed was cut off while it was written. A head is never cut: it comes by rename.
        if (end == rest.npos && loader.headed()) break;
        if (!loader.take(rest.substr(0, end)))
            throw StateError("state file '" + path + "' is damaged in line " + std::to_string(number));
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
    }
    if (!loader.headed()) throw StateError("state file '" + path + "' is damaged: it is empty");
    return loader.finish();
}

StateFile::StateFile(std::string path) : path_(std::move(path)) {
    // A file of its own: the state file is replaced by rename, and its lock would go with the old one.
    const std::string beside = path_ + ".lock";
    lock_ = open_for_writing(beside, O_RDWR | O_CREAT);
    if (::flock(lock_, LOCK_EX | LOCK_NB) == 0) return;
    const int error = errno;
    ::close(lock_);
    if (error != EWOULDBLOCK) throw StateError("cannot lock '" + beside + "': " + std::strerror(error));
    throw StateError("state file '" + path_ + "' is in use by another process; end it or choose another file");
}

StateFile::~StateFile() {
    if (file_ >= 0) ::close(file_);
    ::close(lock_);
}

void StateFile::rewrite(std::uint64_t instance, const EventLog& log) {
    const std::string beside = path_ + ".new";
    const int file = open_for_writing(beside, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND);
    if (file_ >= 0) ::close(file_);
    file_ = file;
    std::string text = line_of({{format_key, format_version}, {"instance", instance}, {"next", log.next_number()}});
    for (const Occurrence& occurrence : log.occurrences())
        text += put_line(occurrence);
    write_all(file_, text, beside);
    if (::rename(beside.c_str(), path_.c_str()) != 0)
        throw StateError("cannot write state file '" + path_ + "': " + std::strerror(errno));
    appended_ = 0;
}

void StateFile::append(const std::vector<Change>& changes) {
    std::string text;
    for (const Change& change : changes) {
        if (change.kind == ChangeKind::database)
            text += line_of({{"erase", change.erased}});
        else
            text += put_line(change.occurrence);
    }
    write_all(file_, text, path_);
    appended_ += changes.size();
}

} // namespace zo_sim
