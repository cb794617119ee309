// Bodies of messages: the 16 bytes of the type as in a frame, then the body. A type
// that is not known stands for any other, so that all of them are tried.

#include <vorlan/messagefactory.h>

#include <corekit/exception.h>

#include <cstdint>
#include <cstdlib>

using namespace vorlan;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    static std::vector<UID> const s_types = MessageFactory::Types();
    if (size < UID::k_Size)
        return 0;
    UID type = UID::FromBytes({data, UID::k_Size});
    if (!MessageFactory::CreateMessage(type))
        type = s_types[data[0] % s_types.size()];
    try {
        boost::shared_ptr<Message> const message =
            DecodeMessage(type, {reinterpret_cast<char const*>(data + UID::k_Size), size - UID::k_Size});
        if (message->Text().size() > Message::k_MaxTextLength + 10)
            std::abort();
        // What was taken can be sent on, and the next program reads the same.
        String const sent = EncodeMessage(*message);
        if (EncodeMessage(*DecodeMessage(type, sent)) != sent)
            std::abort();
    } catch (ParseException const& exception) {
        if (!exception.Message().StartsWith(MessageFactory::TypeName(type)))
            std::abort();
    }
    return 0;
}
