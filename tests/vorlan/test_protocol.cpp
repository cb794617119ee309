#include "domain.h"

#include <vorlan/messagefactory.h>

namespace vorlan::test_protocol {

constexpr char k_Begin[] = "<!-- messages: begin -->\n";
constexpr char k_End[] = "<!-- messages: end -->";

// "Clients to Master, Master to Engines."
String WaysOf(unsigned ways) {
    constexpr std::pair<unsigned, char const*> k_Texts[] = {{FromClients, "clients to Master"},
                                                            {FromEngines, "Engines to Master"},
                                                            {ToClients, "Master to clients"},
                                                            {ToEngines, "Master to Engines"}};
    String text;
    for (auto const& [way, name] : k_Texts) {
        if ((ways & way) != 0)
            text += (text.Empty() ? "" : ", ") + String(name);
    }
    return text.Mid(0, 1).Upper() + text.Mid(1) + ".";
}

String SinceText(unsigned version) { return version == k_V300 ? String() : " (since " + String::From(version) + ")"; }

String TableOf(MessageDescription const& message) {
    String text = "\n### " + message.name + "\n\n";
    if (!message.type.IsNull())
        text += "*" + WaysOf(message.ways) + "* " + message.about + SinceText(message.since) + " `" +
                message.type.ToString() + "`\n";
    else
        text += "A record inside messages.\n";
    if (message.fields.empty())
        return text + (message.type.IsNull() ? "" : "\nNo fields.\n");
    text += "\n| Field | Type | Meaning |\n|---|---|---|\n";
    for (FieldDescription const& field : message.fields)
        text += "| `" + field.name + "` | " + field.type + " | " + field.help + SinceText(field.since) + " |\n";
    return text;
}

TEST(Protocol, TheDocumentedMessagesAreTheDeclaredOnes) {
    String tables;
    for (MessageDescription const& message : MessageFactory::Describe())
        tables += TableOf(message);

    Path const file(String(vorlan::k_SourceDir) + "/docs/protocol.md");
    String const page = File::Read(file);
    size_t const begin = page.Find(k_Begin);
    size_t const end = page.Find(k_End);
    ASSERT_NE(begin, String::npos);
    ASSERT_NE(end, String::npos);
    size_t const from = begin + std::string_view(k_Begin).size();
    if (std::getenv("VORLAN_REWRITE_DOCS"))
        File::WriteWhole(file, page.Mid(0, from) + tables + "\n" + page.Mid(end));
    else
        EXPECT_EQ(page.Mid(from, end - from), tables + "\n")
            << "docs/protocol.md is behind the declarations. Run this test with VORLAN_REWRITE_DOCS=1.";
}

// Two names that clash, and a field that an older program would read as another
// one, both break running farms.
TEST(Protocol, NamesAreUniqueAndTypesFollowFromThem) {
    std::set<UID> types;
    for (MessageDescription const& message : MessageFactory::Describe()) {
        std::set<String> fields;
        for (FieldDescription const& field : message.fields) {
            EXPECT_TRUE(fields.insert(field.name).second) << message.name << " " << field.name;
            EXPECT_FALSE(field.help.Empty()) << message.name << " " << field.name;
            EXPECT_TRUE(field.since >= message.since && field.since <= k_VorlanVersion)
                << message.name << " " << field.name;
        }
        if (message.type.IsNull())
            continue;
        EXPECT_NE(message.ways, 0U) << message.name << ": nobody sends it";
        EXPECT_EQ(message.type, UID::FromName(message.name));
        EXPECT_TRUE(types.insert(message.type).second) << message.name;
        boost::shared_ptr<Message> const made = MessageFactory::CreateMessage(message.type);
        ASSERT_TRUE(made) << message.name;
        EXPECT_EQ(message.name, made->TypeName());
        EXPECT_EQ(message.type, made->Type());
    }
    EXPECT_EQ(types.size(), MessageFactory::Types().size());
    EXPECT_FALSE(MessageFactory::CreateMessage(UID::FromName("NoSuchMsg")));
}

} // namespace vorlan::test_protocol
