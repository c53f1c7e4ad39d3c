#include "extension/host/command.h"

#include <utility>

namespace ZoHmiSrv {

Command::Command(const char* name) : name_(name), mapping_(name) {
}
Command::Command(const Command&) = default;
Command::Command(Command&&) noexcept = default;
Command& Command::operator=(const Command&) = default;
Command& Command::operator=(Command&&) noexcept = default;
Command::~Command() = default;

void Command::set_result_string(const char* text) {
    result_string_.set_name(text);
}
void Command::set_mapping(const char* mapping) {
    mapping_.set_name(mapping);
}
void Command::set_mapper(const char* mapper) {
    mapper_.set_name(mapper);
}

CommandGroup::CommandGroup() noexcept = default;
CommandGroup::CommandGroup(const CommandGroup&) = default;
CommandGroup::CommandGroup(CommandGroup&&) noexcept = default;
CommandGroup& CommandGroup::operator=(const CommandGroup&) = default;
CommandGroup& CommandGroup::operator=(CommandGroup&&) noexcept = default;
CommandGroup::~CommandGroup() = default;

VectorIterator<Command> CommandGroup::begin_vector() noexcept {
    return VectorIterator<Command>(commands_.data());
}

VectorIterator<Command> CommandGroup::end_vector() noexcept {
    return VectorIterator<Command>(commands_.data() + commands_.size());
}

Command& CommandGroup::operator[](unsigned long index) {
    return commands_.at(index);
}

Command& CommandGroup::add(Command command) {
    return commands_.emplace_back(std::move(command));
}

} // namespace ZoHmiSrv
