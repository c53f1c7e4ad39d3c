#include "targets/target_system.h"

#include "extension/host/result.h"
#include "extension/host/value.h"
#include "targets/ask.h"
#include "targets/event_reference.h"
#include "targets/logging_functions.h"

#include <mutex>
#include <utility>

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CComPtr;
using ZoAtlCom::CountedString;
using ZoAtlCom::throw_if_failed;
using ZoHmiSrv::ErrorValue;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

constexpr auto always = [] { return true; };

// Takes an answer that the event does not hold yet.
auto unless_present(const Value& present, Value& answer) {
    return [&present, &answer](const Value& given) {
        if (given != present) answer = given;
    };
}

// One record of a list: its id, and a Struct of the two texts that it has besides.
struct Record {
    CountedString id;
    Value texts;
};

template <class Item>
Record record_of(Item& item, HRESULT (Item::*first)(char**), const char* first_name, HRESULT (Item::*second)(char**),
                 const char* second_name) {
    Record record{ask_text(item, &Item::GetId), Value()};
    record.texts.set_type(ValueType::Struct);
    record.texts.insert(first_name, ask_text(item, first).get());
    record.texts.insert(second_name, ask_text(item, second).get());
    return record;
}

template <class Item, class Take>
void for_each_item(IZoCollection<Item>* collection, Take&& take) {
    if (!collection) throw ZoAtlCom::CAtlException(E_POINTER);
    const auto count = ask(*collection, &IZoCollection<Item>::GetCount);
    for (std::int32_t index = 0; index < count; ++index) {
        const auto item = item_at<Item>(*collection, index);
        if (!item) throw ZoAtlCom::CAtlException(E_POINTER);
        take(*item);
    }
}

Value causes_and_remedies_of(IZoCauseRemedyCollection* collection) {
    Value list;
    list.set_type(ValueType::Vector);
    for_each_item<IZoCauseRemedy>(collection, [&list](IZoCauseRemedy& item) {
        Record record = record_of(item, &IZoCauseRemedy::GetCause, "cause", &IZoCauseRemedy::GetRemedy, "remedy");
        record.texts.insert("id", record.id.get());
        list << std::move(record.texts);
    });
    return list;
}

// An id that comes twice: the last one wins.
Value details_of(IZoDetailCollection* collection) {
    Value list;
    list.set_type(ValueType::Struct);
    for_each_item<IZoDetail>(collection, [&list](IZoDetail& item) {
        Record record = record_of(item, &IZoDetail::GetText, "text", &IZoDetail::GetComment, "comment");
        list.insert_or_update(record.id.get(), std::move(record.texts));
    });
    return list;
}

/// Lets copies of the list share its content, where the server's Value can do so.
template <class List>
List share_content(List list) {
    if constexpr (requires { list.share(); }) list.share();
    return list;
}

} // namespace

// The frame of the five questions. An answer in the cache is given even while the target is away. `question` gives Null
// when the logger lacks the interface, which is a success and not kept. No lock is held across a question, so two
// threads that miss both ask.
template <class Cache, class Key, class Take, class Question, class Keep>
ErrorValue TargetSystem::ask_logger(Cache& cache, const Key& key, Take&& take, Question&& question, Keep&& keep) {
    if (cache.find(key, take)) return ZoHmiSrv::HMI_SUCCESS;
    const auto clears = cache.clears();
    Value answer;
    const ZoHmiSrv::ResultPair asked = ask_connected([&] { answer = question(); });
    if (asked.result() != ZoHmiSrv::HMI_SUCCESS) return asked.result();
    if (!answer.isset()) return ZoHmiSrv::HMI_SUCCESS;
    if (keep()) cache.store(key, answer, clears);
    take(answer);
    return ZoHmiSrv::HMI_SUCCESS;
}

template <class Question>
ZoHmiSrv::ResultPair TargetSystem::ask_connected(Question&& question) {
    try {
        {
            const std::lock_guard lock(connection_mutex_);
            if (disabled_) return {ZoHmiSrv::HMI_E_CONNECT, "Connection disabled."};
            if (!query_state().connected) return {ZoHmiSrv::HMI_E_CONNECT, "Not connected."};
        }
        question();
        return {};
    } catch (const std::exception& exception) {
        listener_->log_exception(name_, exception);
    } catch (...) {
        listener_->log_unknown_exception(name_);
    }
    return {ZoHmiSrv::HMI_E_UNEXPECTED, "An exception was raised."};
}

ErrorValue TargetSystem::localize_text(const EventReference& event, ZoHmiSrv::String& text) {
    if (!event.text) return ZoHmiSrv::HMI_SUCCESS;
    return ask_logger(
        texts_, *event.text, [&](const Value& answer) { text.set_name(answer.get_string()); },
        [&] {
            const TextQuestion& key = *event.text;
            const std::string block = event.argument_block();
            CountedString answer;
            throw_if_failed(proxy_->GetText(key.event_class, key.event_id, key.language, &event.arguments,
                                            reinterpret_cast<const std::uint8_t*>(block.data()), answer.put()));
            return Value(answer.get());
        },
        // With preloaded translations the logger answers from its own memory.
        [&] { return !listener_->preload_translations(); });
}

ErrorValue TargetSystem::localize_class_name(const EventReference& event, const Value& present, Value& name) {
    if (!event.class_name) {
        name = "";
        return ZoHmiSrv::HMI_SUCCESS;
    }
    bool asked = true;
    return ask_logger(
        class_names_, *event.class_name, unless_present(present, name),
        [&]() -> Value {
            const auto logger = query<IZoEventLoggerClassName>(*proxy_);
            asked = logger != nullptr;
            if (!asked) return "";
            CountedString answer;
            throw_if_failed(
                logger->GetEventClassName(event.class_name->event_class, event.class_name->language, answer.put()));
            return Value(answer.get());
        },
        [&] { return asked; });
}

ErrorValue TargetSystem::localize_source_name(const EventReference& event, const Value& present, Value& name) {
    if (!event.source_name) return ZoHmiSrv::HMI_SUCCESS;
    return ask_logger(
        source_names_, *event.source_name, unless_present(present, name),
        [&]() -> Value {
            const auto logger = query<IZoEventLoggerSourceName>(*proxy_);
            if (!logger) return {};
            const SourceNameQuestion& key = *event.source_name; // a zero-terminated view
            CountedString answer;
            throw_if_failed(
                logger->GetSourceNameText(key.language, key.event_class, key.source_name.data(), answer.put()));
            return Value(answer.get());
        },
        always);
}

// Causes with remedies, and details: a list for a kind of event. Both are asked of the newest interface, although a
// logger might offer an older one that has one of them.
template <class Logger, class Collection>
ErrorValue TargetSystem::list_for(const EventReference& event, LocalizationCache<EventKindKey>& cache,
                                  HRESULT (Logger::*get)(const GUID&, std::uint32_t, std::int32_t, Collection**),
                                  Value (*read)(Collection*), const Value& present, Value& list) {
    if (!event.kind) return ZoHmiSrv::HMI_SUCCESS;
    return ask_logger(
        cache, *event.kind, unless_present(present, list),
        [&]() -> Value {
            const auto logger = query<IZoEventLogger5>(*proxy_);
            if (!logger) return {};
            const EventKindKey& key = *event.kind;
            CComPtr<Collection> collection;
            throw_if_failed((logger.get()->*get)(key.event_class, key.event_id, key.language, collection.put()));
            return share_content(read(collection.get()));
        },
        always);
}

ErrorValue TargetSystem::list_causes_and_remedies(const EventReference& event, const Value& present, Value& list) {
    return list_for(event, cause_remedies_, &IZoEventLogger4::GetCausesAndRemedies, &causes_and_remedies_of, present,
                    list);
}

ErrorValue TargetSystem::list_details(const EventReference& event, const Value& present, Value& list) {
    return list_for(event, details_, &IZoEventLogger5::GetDetails, &details_of, present, list);
}

} // namespace ZoHmiEventLogger
