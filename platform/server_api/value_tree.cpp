// Copy and destruction of whole trees of Values, of any depth.
#include "platform/server_api/value_access.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace ZoHmiSrv {

using Layout::MemberNames;

namespace {

/// The maximum depth of recursion in a copy. Deeper Values wait on a list.
constexpr int recursion_limit = 64;

/// The maximum of free places in the copy of a run: most copies get few new members.
constexpr std::size_t spare_room = 4;

struct CopyJob {
    const Value* from;
    Value* to;
};

class TreeCopy {
public:
    /// A Value that is not copied yet is a Null, and a block is attached before it is filled. So the incomplete copy
    /// can be destroyed at any time.
    void run(const Value& from, Value& to) {
        tree(from, to, 0);
        while (!later_.empty()) {
            const CopyJob job = later_.back();
            later_.pop_back();
            tree(*job.from, *job.to, 0);
        }
    }

private:
    void child(const Value& from, Value& to, int depth) {
        if (depth < recursion_limit)
            tree(from, to, depth + 1);
        else
            later_.push_back({&from, &to});
    }

    /// Copies a Value that needs no block. Returns false for others, with a Null that `tree` fills.
    static bool shallow(const Value& from, void* to) noexcept {
        if (ValueAccess::copy_plain(from, to)) return true;
        new (to) Value();
        return false;
    }

    void tree(const Value& from, Value& to, int depth) {
        Block* block = ValueAccess::block(from);
        switch (block->kind) {
        case Layout::Bytes: // their count of owners is full
            to = ValueAccess::make_bytes(from.type(), Layout::bytes_of(block), block->size);
            break;
        case Layout::Elements:
            elements(from, to, depth);
            break;
        case Layout::Members:
            members(from, to, depth);
            break;
        default:
            Block* shell = ValueAccess::copy_shell(block);
            ValueAccess::attach(to, from.type(), shell);
            if (const Value& inner = ValueAccess::inner(block); !shallow(inner, &ValueAccess::inner(shell)))
                child(inner, ValueAccess::inner(shell), depth);
            break;
        }
    }

    void elements(const Value& from, Value& to, int depth) {
        Block* source = ValueAccess::block(from);
        Block* block = Layout::allocate(Layout::Elements, source->size, sizeof(Value));
        ValueAccess::attach(to, from.type(), block);
        for (std::size_t i = 0; i < source->size; ++i) {
            const Value& element = elements_of(source)[i];
            Value* slot = elements_of(block) + i;
            const bool done = shallow(element, slot);
            ++block->size;
            if (!done) child(element, *slot, depth);
        }
    }

    void members(const Value& from, Value& to, int depth) {
        std::unique_ptr<MemberIndex> index;
        if (const MemberIndex* source = ValueAccess::index(from)) {
            index = std::make_unique<MemberIndex>();
            index->total = source->total;
            index->runs.reserve(source->runs.size());
        }
        Block* last = nullptr;
        for (Block* source = ValueAccess::block(from); source != nullptr; source = source->next) {
            Block* run = ValueAccess::allocate_run(std::min(source->capacity, source->size + spare_room));
            if (last == nullptr)
                ValueAccess::attach(to, from.type(), run, index.release());
            else
                last->next = run;
            last = run;
            if (MemberIndex* copied = ValueAccess::index(to)) copied->runs.push_back(run);
            std::memcpy(tags_of(run), tags_of(source), source->size);
            // Copies all bytes at once. Shared names and heap content are corrected before the run owns the member.
            std::memcpy(static_cast<void*>(members_of(run)), members_of(source), source->size * sizeof(MapMember));
            for (std::size_t i = 0; i < source->size; ++i) {
                const MapMember& member = members_of(source)[i];
                MemberNames::share(member.name);
                if (ValueAccess::on_heap(member.value)) {
                    Value* slot = &members_of(run)[i].value;
                    const bool done = shallow(member.value, slot);
                    run->size = i + 1;
                    if (!done) child(member.value, *slot, depth);
                }
            }
            run->size = source->size;
        }
    }

    std::vector<CopyJob> later_;
};

/// Puts the blocks of a Value on the list of blocks to destroy. The heads link the list, so destruction needs no
/// memory.
void push(Value& value, Block*& list) noexcept {
    Block* block = ValueAccess::block(value);
    const bool is_bytes = block->kind == Layout::Bytes;
    if ((is_bytes || ValueAccess::is_shared(value)) && !Layout::release(block)) return ValueAccess::detach(value);
    if (is_bytes) {
        ValueAccess::detach(value);
        return Layout::deallocate(block);
    }
    delete ValueAccess::index(value);
    ValueAccess::detach(value);
    while (block != nullptr) {
        Block* next = block->next;
        block->next = list;
        list = block;
        block = next;
    }
}

} // namespace

void ValueAccess::copy(const Value& from, Value& to) {
    try {
        TreeCopy().run(from, to);
    } catch (...) {
        if (to.on_heap()) release(to);
        throw;
    }
}

void ValueAccess::release(Value& value) noexcept {
    Block* list = nullptr;
    push(value, list);
    while (list != nullptr) {
        Block* block = list;
        list = block->next;
        switch (block->kind) {
        case Layout::Elements:
            for (std::size_t i = 0; i < block->size; ++i)
                if (Value& element = elements_of(block)[i]; element.on_heap()) push(element, list);
            break;
        case Layout::Members:
            for (std::size_t i = 0; i < block->size; ++i) {
                MapMember& member = members_of(block)[i];
                MemberNames::release(member.name);
                if (member.value.on_heap()) push(member.value, list);
            }
            break;
        default:
            if (inner(block).on_heap()) push(inner(block), list);
            destroy_shell(block);
            break;
        }
        Layout::deallocate(block);
    }
}

Value& Value::share() noexcept {
    if (storage_ == Storage::Heap && (element_count() > 0 || ValueAccess::is_map(*this))) {
        payload_.heap.block->owners = 1;
        storage_ = Storage::Shared;
    }
    return *this;
}

void Value::unshare() {
    if (Layout::is_sole_owner(payload_.heap.block)) {
        storage_ = Storage::Heap;
        return;
    }
    Value copy;
    ValueAccess::copy(*this, copy);
    swap(copy);
}

} // namespace ZoHmiSrv
