#pragma once

#include "extension/host/error_value.h"
#include "extension/host/export.h"
#include "extension/host/iterator.h"
#include "extension/host/string_holder.h"
#include "extension/host/value.h"

#include <cstddef>
#include <vector>

namespace ZoHmiSrv {

/// One command of a client. The names are from the client's side: an extension reads `write_value` and writes
/// `read_value`.
class ZOHMISRV_API Command {
public:
    explicit Command(const char* name);
    Command(const Command&);
    Command(Command&&) noexcept;
    Command& operator=(const Command&);
    Command& operator=(Command&&) noexcept;
    ~Command();

    const char* name() const noexcept { return name_.name(); }
    /// The operation that the extension runs; by default the name.
    const char* mapping() const noexcept { return mapping_.name(); }
    /// The domain of the extension that maps the command.
    const char* mapper() const noexcept { return mapper_.name(); }

    Value& write_value() noexcept { return write_value_; }
    const Value& write_value() const noexcept { return write_value_; }
    Value& read_value() noexcept { return read_value_; }
    const Value& read_value() const noexcept { return read_value_; }

    unsigned extension_result() const noexcept { return extension_result_; }
    void set_extension_result(unsigned result) noexcept { extension_result_ = result; }
    /// The server's own result of the command.
    ErrorValue result() const noexcept { return result_; }
    void set_result_string(const char* text);

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    /// @name For a server, which makes commands and reads their outcome
    /// @{
    void set_mapping(const char* mapping);
    void set_mapper(const char* mapper);
    void set_result(ErrorValue result) noexcept {
        result_ = result;
    }
    const char* result_string() const noexcept {
        return result_string_.name();
    }
    /// @}
#endif

private:
    String name_;
    String mapping_;
    String mapper_;
    Value write_value_;
    Value read_value_;
    unsigned extension_result_ = 0;
    ErrorValue result_ = HMI_SUCCESS;
    String result_string_;
};

/// Commands that reach an extension together.
class ZOHMISRV_API CommandGroup {
public:
    CommandGroup() noexcept;
    CommandGroup(const CommandGroup&);
    CommandGroup(CommandGroup&&) noexcept;
    CommandGroup& operator=(const CommandGroup&);
    CommandGroup& operator=(CommandGroup&&) noexcept;
    ~CommandGroup();

    VectorIterator<Command> begin_vector() noexcept;
    VectorIterator<Command> end_vector() noexcept;
    std::size_t size() const noexcept { return commands_.size(); }
    bool empty() const noexcept { return commands_.empty(); }
    /// Throws `std::out_of_range` for an index that is too large.
    Command& operator[](unsigned long index);

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    /// For a server, which makes the group. Ends the validity of its iterators.
    Command& add(Command command);
#endif

private:
    std::vector<Command> commands_;
};

} // namespace ZoHmiSrv
