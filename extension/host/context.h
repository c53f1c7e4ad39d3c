#pragma once

#include "extension/host/export.h"
#include "extension/host/string_holder.h"

namespace ZoHmiSrv {

/// The client session on whose behalf something happens.
class ZOHMISRV_API Session {
public:
    Session() noexcept; ///< no session: the id is ""
    explicit Session(const char* id);
    Session(const Session&);
    Session(Session&&) noexcept;
    Session& operator=(const Session&);
    Session& operator=(Session&&) noexcept;
    ~Session();

    const char* id() const noexcept { return id_.name(); }

    friend bool operator==(const Session&, const Session&) noexcept = default;

private:
    String id_;
};

/// Says on whose behalf a call runs. The context given to `init` carries the extension's domain.
class ZOHMISRV_API Context {
public:
    Context() noexcept;
    Context(const Context&);
    Context(Context&&) noexcept;
    Context& operator=(const Context&);
    Context& operator=(Context&&) noexcept;
    ~Context();

    const char* domain() const noexcept { return domain_.name(); }
    void set_domain(const char* domain);
    const Session& session() const noexcept { return session_; }
    void set_session(const Session& session);

private:
    String domain_;
    Session session_;
};

} // namespace ZoHmiSrv
