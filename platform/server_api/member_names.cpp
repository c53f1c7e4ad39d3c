#include "platform/server_api/member_names.h"

#include <atomic>
#include <cstring>
#include <new>

namespace ZoHmiSrv::Layout {

namespace {

/// Heads the text of a long name. The text never changes: copies of a member share it.
struct SharedName {
    std::atomic<std::size_t> references;
};

SharedName* head_of(const char* text) noexcept {
    return reinterpret_cast<SharedName*>(const_cast<char*>(text)) - 1;
}

} // namespace

MemberName MemberNames::make(const NameKey& key) {
    MemberName name{};
    if (!key.is_long()) {
        // Copied from the words: the Value that contained the text may have moved.
        std::memcpy(name.bytes_, key.words, sizeof name.bytes_);
        return name;
    }
    void* memory = ::operator new(sizeof(SharedName) + key.length + 1);
    auto* text = reinterpret_cast<char*>(new (memory) SharedName{1} + 1);
    std::memcpy(text, key.text, key.length + 1);
    std::memcpy(name.bytes_, key.text, 8);
    std::memcpy(name.bytes_ + 8, &text, sizeof text);
    name.bytes_[MemberName::inline_limit] = 1;
    return name;
}

void MemberNames::share(const MemberName& name) noexcept {
    if (name.is_shared()) head_of(name.c_str())->references.fetch_add(1, std::memory_order_relaxed);
}

void MemberNames::release(const MemberName& name) noexcept {
    if (!name.is_shared()) return;
    SharedName* head = head_of(name.c_str());
    if (head->references.fetch_sub(1, std::memory_order_acq_rel) == 1) ::operator delete(head);
}

int MemberNames::compare_texts(const MemberName& name, const NameKey& key) noexcept {
    return std::strcmp(name.c_str(), key.text);
}

} // namespace ZoHmiSrv::Layout
