#include "extension/host/context.h"

namespace ZoHmiSrv {

Session::Session() noexcept = default;
Session::Session(const char* id) : id_(id) {
}
Session::Session(const Session&) = default;
Session::Session(Session&&) noexcept = default;
Session& Session::operator=(const Session&) = default;
Session& Session::operator=(Session&&) noexcept = default;
Session::~Session() = default;

Context::Context() noexcept = default;
Context::Context(const Context&) = default;
Context::Context(Context&&) noexcept = default;
Context& Context::operator=(const Context&) = default;
Context& Context::operator=(Context&&) noexcept = default;
Context::~Context() = default;

void Context::set_domain(const char* domain) {
    domain_.set_name(domain);
}

void Context::set_session(const Session& session) {
    session_ = session;
}

} // namespace ZoHmiSrv
