#include <vorlan/messagefactory.h>

#include "messagecodec.h"

#include <corekit/exception.h>

#include <algorithm>
#include <unordered_map>

namespace vorlan {

namespace {

struct Registry {
    MessageKinds kinds;
    std::unordered_map<UID, size_t> byType;

    Registry() {
        AddJobMessages(kinds);
        AddEngineMessages(kinds);
        AddMasterMessages(kinds);
        AddRequestMessages(kinds);
        AddFarmMessages(kinds);
        AddOutputMessages(kinds);
        for (size_t i = 0; i < kinds.size(); ++i)
            byType.emplace(kinds[i].type, i);
    }

    MessageKind const* Find(UID const& type) const {
        auto const found = byType.find(type);
        return found != byType.end() ? &kinds[found->second] : nullptr;
    }
};

Registry const& Kinds() {
    static Registry const s_registry;
    return s_registry;
}

template <class Write>
String Encoded(Write write) {
    ScratchWriter const writer;
    write(*writer);
    return String(writer->Bytes());
}

void CheckEnd(MessageReader const& reader) {
    if (!reader.AtEnd())
        reader.Fail("goes on after its end");
}

} // namespace

boost::shared_ptr<Message> MessageFactory::CreateMessage(UID const& type) {
    MessageKind const* const kind = Kinds().Find(type);
    return kind ? kind->make() : nullptr;
}

char const* MessageFactory::TypeName(UID const& type) {
    MessageKind const* const kind = Kinds().Find(type);
    return kind ? kind->name : k_Empty;
}

std::vector<UID> MessageFactory::Types() {
    std::vector<MessageKind const*> kinds;
    for (MessageKind const& kind : Kinds().kinds)
        kinds.push_back(&kind);
    std::sort(kinds.begin(), kinds.end(), [](MessageKind const* a, MessageKind const* b) {
        return std::string_view(a->name) < std::string_view(b->name);
    });
    std::vector<UID> types;
    for (MessageKind const* const kind : kinds)
        types.push_back(kind->type);
    return types;
}

std::vector<MessageDescription> MessageFactory::Describe() {
    std::vector<MessageDescription> all;
    std::vector<MessageDescription> records;
    for (MessageKind const& kind : Kinds().kinds) {
        all.push_back(kind.describe(records));
        all.back().type = kind.type;
        all.back().about = kind.about;
        all.back().ways = kind.ways;
        all.back().since = kind.since;
    }
    all.insert(all.end(), records.begin(), records.end());
    return all;
}

String EncodeMessage(Message const& message) {
    return Encoded([&](MessageWriter& writer) { message.Encode(writer); });
}

boost::shared_ptr<Message> DecodeMessage(UID const& type, std::string_view body) {
    boost::shared_ptr<Message> message = MessageFactory::CreateMessage(type);
    if (!message)
        return nullptr;
    MessageReader reader(body, message->TypeName());
    message->Decode(reader);
    CheckEnd(reader);
    return message;
}

String EncodeJob(Job const& job) {
    return Encoded([&](MessageWriter& writer) { WriteJob(writer, job); });
}

boost::shared_ptr<Job> DecodeJob(std::string_view body) {
    MessageReader reader(body, "Job");
    boost::shared_ptr<Job> job = ReadJob(reader);
    CheckEnd(reader);
    return job;
}

String EncodeEngine(Engine const& engine) {
    return Encoded([&](MessageWriter& writer) { WriteEngine(writer, engine); });
}

void DecodeEngine(std::string_view body, Engine& engine) {
    MessageReader reader(body, "Engine");
    ReadEngine(reader, engine);
    CheckEnd(reader);
}

String EncodeHistoryElement(WorkHistoryElement const& element) {
    return Encoded([&](MessageWriter& writer) { WriteRecord(writer, element); });
}

WorkHistoryElement DecodeHistoryElement(std::string_view body) {
    MessageReader reader(body, WorkHistoryElement::k_Name);
    WorkHistoryElement element;
    ReadRecord(reader, element);
    CheckEnd(reader);
    return element;
}

} // namespace vorlan
