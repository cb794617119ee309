#pragma once

#include <vorlan/fwd.h>

#include <corekit/signal.h>
#include <corekit/string.h>
#include <corekit/uid.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <string_view>
#include <tuple>
#include <utility>

namespace vorlan {

struct WorkHistoryElement;
class MessageReader;
class MessageWriter;

// What two programs of the farm say to each other: a plain record of fields.
// Travels as a shared pointer and belongs to all who hold it.
// Works with MessageFactory, which makes one from its type, and with the
// connection, which carries it. Constant once it is sent or received, so that
// any thread may read it.
class Message {
public:
    virtual ~Message() = default;

    // The kind, the same on every machine.
    virtual UID const& Type() const = 0;
    virtual char const* TypeName() const = 0;

    // The fields as one map of name and value.
    virtual void Encode(MessageWriter& writer) const = 0;
    // Takes the fields that are there, keeps the others as they are and passes
    // over those it does not know. Throws ParseException; the message is then of
    // no use.
    virtual void Decode(MessageReader& reader) = 0;

    // Calls the listeners of this kind. `self` is the pointer that holds this.
    virtual void Emit(boost::shared_ptr<Message> const& self) const = 0;
    // False when nobody listens to this kind.
    virtual bool HasListeners() const = 0;

    // One line for the log, never longer than k_MaxTextLength bytes or so.
    // Passwords are masked.
    virtual String Text() const = 0;
    static constexpr size_t k_MaxTextLength = 2000;

protected:
    Message() = default;
    Message(Message const&) = default;
    Message& operator=(Message const&) = default;
};

// The fields of a kind of message; messagetable.h writes one for each row.
template <class T>
struct FieldsOf;

// The base of each kind of message, beside its fields.
// The bodies of the virtuals stand in messages/messagecodec.h and are built once,
// in the file that registers the kind's table.
template <class T>
class MessageOf : public Message, public FieldsOf<T> {
public:
    inline static UID const s_Type = UID::FromName(FieldsOf<T>::k_Name);
    // Emitted for each received message of this kind, on the message thread.
    inline static Signal1<boost::shared_ptr<T> const&, ThreadPolicy::LocalThreaded> s_Signal;

    static boost::shared_ptr<T> New() { return boost::make_shared<T>(); }
    // With its first fields filled, in the order of the table.
    template <class... Values>
    static boost::shared_ptr<T> Create(Values const&... values) {
        auto message = New();
        Fill(*message, std::index_sequence_for<Values...>(), values...);
        return message;
    }

    UID const& Type() const final { return s_Type; }
    char const* TypeName() const final { return FieldsOf<T>::k_Name; }
    void Encode(MessageWriter& writer) const final;
    void Decode(MessageReader& reader) final;
    void Emit(boost::shared_ptr<Message> const& self) const final;
    bool HasListeners() const final;
    String Text() const final;

protected:
    MessageOf() = default;

private:
    template <size_t... Index, class... Values>
    static void Fill(T& message, std::index_sequence<Index...>, Values const&... values) {
        constexpr auto fields = FieldsOf<T>::Fields();
        ((message.*(std::get<Index>(fields).member) = values), ...);
    }
};

// The body as it goes over the wire.
String EncodeMessage(Message const& message);
// Null for a type that is not known here. Throws ParseException for a bad body.
boost::shared_ptr<Message> DecodeMessage(UID const& type, std::string_view body);

// The same for an object alone, as a store keeps it. The decoding forms throw
// ParseException.
String EncodeJob(Job const& job);
boost::shared_ptr<Job> DecodeJob(std::string_view body);
String EncodeEngine(Engine const& engine);
void DecodeEngine(std::string_view body, Engine& engine);
String EncodeHistoryElement(WorkHistoryElement const& element);
WorkHistoryElement DecodeHistoryElement(std::string_view body);

} // namespace vorlan
