#include "targets/target_system.h"

#include "extension/host/result.h"
#include "extension/host/value.h"
#include "targets/event_reference.h"
#include "targets/getters.h"
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

// Takes an answer that differs from the one in the event.
auto unless_present(const Value& present, Value& answer) {
    return [&present, &answer](const Value& given) {
        if (given != present) answer = given;
    };
}

// One record of a list: its id, and a Struct of its two texts.
struct Record {
    CountedString id;
    Value texts;
};

template <class Item>
Record record_of(Item& item, HRESULT (Item::*first)(char**), const char* first_name, HRESULT (Item::*second)(char**),
                 const char* second_name) {
    Record record{get_text(item, &Item::GetId), Value()};
    record.texts.set_type(ValueType::Struct);
    record.texts.insert(first_name, get_text(item, first).get());
    record.texts.insert(second_name, get_text(item, second).get());
    return record;
}

template <class Item, class Take>
void for_each_item(IZoCollection<Item>* collection, Take&& take) {
    if (!collection) throw ZoAtlCom::CAtlException(E_POINTER);
    const auto count = get(*collection, &IZoCollection<Item>::GetCount);
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

// Of records with one id the last one wins.
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

// The common part of the five operations. A cached answer is used even while the target is away. `question` returns
// Null when the logger has no such interface: that is a success, and is not cached. No mutex is locked during a
// question, so two threads that miss the cache both ask.
template <class Cache, class Key, class Take, class Question, class Keep>
ErrorValue TargetSystem::localize(Cache& cache, const Key& key, Take&& take, Question&& question, Keep&& keep) {
    if (cache.find(key, take)) return ZoHmiSrv::HMI_SUCCESS;
    const auto clears = cache.clears();
    Value answer;
    const ZoHmiSrv::ResultPair asked = call_connected([&] { answer = question(); });
    if (asked.result() != ZoHmiSrv::HMI_SUCCESS) return asked.result();
    if (!answer.isset()) return ZoHmiSrv::HMI_SUCCESS;
    if (keep()) cache.store(key, answer, clears);
    take(answer);
    return ZoHmiSrv::HMI_SUCCESS;
}

template <class Question>
ZoHmiSrv::ResultPair TargetSystem::call_connected(Question&& question) {
    try {
        auto reachable = connection_.check();
        if (reachable.result() == ZoHmiSrv::HMI_SUCCESS) question();
        return reachable;
    } catch (const std::exception& exception) {
        listener_->log_exception(name_, exception);
    } catch (...) {
        listener_->log_unknown_exception(name_);
    }
    return {ZoHmiSrv::HMI_E_UNEXPECTED, "An exception was raised."};
}

ErrorValue TargetSystem::localize_text(const EventReference& event, ZoHmiSrv::String& text) {
    if (!event.text) return ZoHmiSrv::HMI_SUCCESS;
    return localize(
        texts_, *event.text, [&](const Value& answer) { text.set_name(answer.get_string()); },
        [&] {
            const TextQuestion& key = *event.text;
            const std::string block = event.argument_block();
            CountedString answer;
            throw_if_failed(connection_.proxy()->GetText(key.event_class, key.event_id, key.language, &event.arguments,
                                                         reinterpret_cast<const std::uint8_t*>(block.data()),
                                                         answer.put()));
            return Value(answer.get());
        },
        // With preloaded translations the logger answers from memory.
        [&] { return !listener_->preload_translations(); });
}

ErrorValue TargetSystem::localize_class_name(const EventReference& event, const Value& present, Value& name) {
    if (!event.class_name) {
        name = "";
        return ZoHmiSrv::HMI_SUCCESS;
    }
    bool asked = true;
    return localize(
        class_names_, *event.class_name, unless_present(present, name),
        [&]() -> Value {
            const auto logger = query<IZoEventLoggerClassName>(*connection_.proxy());
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
    return localize(
        source_names_, *event.source_name, unless_present(present, name),
        [&]() -> Value {
            const auto logger = query<IZoEventLoggerSourceName>(*connection_.proxy());
            if (!logger) return {};
            const SourceNameQuestion& key = *event.source_name; // a zero-terminated view
            CountedString answer;
            throw_if_failed(
                logger->GetSourceNameText(key.language, key.event_class, key.source_name.data(), answer.put()));
            return Value(answer.get());
        },
        always);
}

// Causes with remedies, and details: a list for a kind of event. Both query the newest interface, although an older one
// already has `GetCausesAndRemedies`.
template <class Logger, class Collection>
ErrorValue TargetSystem::list_for(const EventReference& event, LocalizationCache<EventKindKey>& cache,
                                  HRESULT (Logger::*get)(const GUID&, std::uint32_t, std::int32_t, Collection**),
                                  Value (*read)(Collection*), const Value& present, Value& list) {
    if (!event.kind) return ZoHmiSrv::HMI_SUCCESS;
    return localize(
        cache, *event.kind, unless_present(present, list),
        [&]() -> Value {
            const auto logger = query<IZoEventLogger5>(*connection_.proxy());
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
