#include <vorlan/net/handshake.h>

#include <vorlan/fwd.h>

#include <gtest/gtest.h>

namespace vorlan::net {

namespace {

PeerInfo Info(char const* machine, char const* program, PeerKind kind) {
    PeerInfo info;
    info.kind = kind;
    info.machine = UID::FromName(machine);
    info.instance = UID::FromName(program);
    info.machineName = machine;
    info.version = 30100;
    info.program = program;
    info.user = "ann";
    return info;
}

// Both ends and what goes to and fro.
struct Talk {
    Talk(FarmKey const& callersKey, FarmKey const& listenersKey, std::string const& callersChannel = "channel",
         std::string const& listenersChannel = "channel", unsigned callersProtocol = k_ProtocolVersion)
        : caller(Handshake::Role::Caller, callersKey, WithProtocol(callersProtocol), callersChannel),
          listener(Handshake::Role::Listener, listenersKey, Info("master01", "VorlanMaster", PeerKind::Master),
                   listenersChannel) {}

    static PeerInfo WithProtocol(unsigned protocol) {
        PeerInfo info = Info("render07", "VorlanEngine", PeerKind::Engine);
        info.protocol = protocol;
        return info;
    }

    // `change` may spoil the bytes of each frame, numbered from 0.
    void Run(std::function<void(int, std::string&)> const& change = {}) {
        std::string bytes;
        caller.Begin(bytes);
        for (int number = 0; !bytes.empty(); ++number) {
            if (change)
                change(number, bytes);
            bool const toListener = number % 2 == 0;
            UID const type = UID::FromBytes({reinterpret_cast<uint8_t const*>(bytes.data()) + 4, UID::k_Size});
            std::string answer;
            std::string const body = bytes.substr(k_FrameHeader);
            (toListener ? listened : called) = (toListener ? listener : caller).Take({type, body}, answer);
            bytes = answer;
        }
    }

    Handshake caller;
    Handshake listener;
    Handshake::Step called = Handshake::Step::More;
    Handshake::Step listened = Handshake::Step::More;
};

} // namespace

TEST(Handshake, BothLearnWhoTheOtherIs) {
    FarmKey const key = FarmKey::Fresh();
    Talk talk(key, key);
    talk.Run();
    ASSERT_EQ(talk.called, Handshake::Step::Done);
    ASSERT_EQ(talk.listened, Handshake::Step::Done);
    EXPECT_EQ(talk.listener.Peer().program, "VorlanEngine");
    EXPECT_EQ(talk.listener.Peer().kind, PeerKind::Engine);
    EXPECT_EQ(talk.listener.Peer().machine, UID::FromName("render07"));
    EXPECT_EQ(talk.listener.Peer().version, 30100u);
    EXPECT_EQ(talk.listener.Peer().user, "ann");
    EXPECT_EQ(talk.caller.Peer().machineName, "master01");
    EXPECT_EQ(talk.caller.Peer().instance, UID::FromName("VorlanMaster"));
    EXPECT_EQ(talk.caller.Peer().protocol, k_ProtocolVersion);
}

TEST(Handshake, FailuresTellBothWhatToDo) {
    FarmKey const key = FarmKey::Fresh();
    FarmKey const other = FarmKey::Fresh();
    struct Case {
        char const* name;
        Talk talk;
        Handshake::Failure failure;
        char const* here;
        char const* there;
    } cases[] = {
        {"another key", Talk(key, other), Handshake::Failure::WrongKey,
         "Run `vorlan key show` on master01 and `vorlan key join master01 <line>` here.",
         "Run `vorlan key show` on master01 and `vorlan key join master01 <line>` there."},
        {"the caller has no key", Talk({}, key), Handshake::Failure::WrongKey, "does not have this farm's key",
         "there."},
        // Somebody between two channels passes everything on.
        {"a man in the middle", Talk(key, key, "one", "two"), Handshake::Failure::WrongKey,
         "does not have this farm's key", "does not have this farm's key"},
        {"a newer protocol", Talk(key, key, "channel", "channel", 7), Handshake::Failure::Protocol,
         "speaks protocol 1, this program 7", "speaks protocol 7, this program 1"},
    };
    for (Case& test : cases) {
        test.talk.Run();
        EXPECT_EQ(test.talk.called, Handshake::Step::Failed) << test.name;
        EXPECT_EQ(test.talk.listened, Handshake::Step::Failed) << test.name;
        EXPECT_EQ(test.talk.caller.Why(), test.failure) << test.name;
        EXPECT_EQ(test.talk.listener.Why(), test.failure) << test.name;
        String const here = test.talk.caller.FailureText("10.0.0.1:7466", "master01");
        String const there = test.talk.listener.FailureText("10.0.0.7:40000", {});
        EXPECT_TRUE(here.StartsWith("10.0.0.1:7466 ") && here.Contains(test.here)) << test.name << ": " << here;
        EXPECT_TRUE(there.StartsWith("10.0.0.7:40000 ") && there.Contains(test.there)) << test.name << ": " << there;
    }
}

// Whatever byte of the talk is changed on its way, nobody takes the other for
// somebody else.
TEST(Handshake, NoChangedByteGoesThrough) {
    FarmKey const key = FarmKey::Fresh();
    for (int spoiled = 0; spoiled < 4; ++spoiled) {
        for (size_t at = 4; at < 400; ++at) {
            Talk talk(key, key);
            bool changed = false;
            talk.Run([&](int number, std::string& bytes) {
                if (number == spoiled && at < bytes.size()) {
                    bytes[at] = static_cast<char>(bytes[at] ^ 0x10);
                    changed = true;
                }
            });
            if (!changed)
                break;
            // The listener is through before its last word is spoiled.
            EXPECT_FALSE(talk.called == Handshake::Step::Done) << "frame " << spoiled << ", byte " << at;
            if (spoiled < 3) {
                EXPECT_FALSE(talk.listened == Handshake::Step::Done) << "frame " << spoiled << ", byte " << at;
            }
        }
    }
}

TEST(Handshake, WhatIsCutOffOrOutOfTurnIsRefused) {
    FarmKey const key = FarmKey::Fresh();
    for (int spoiled = 0; spoiled < 4; ++spoiled) {
        for (size_t const kept : {size_t{0}, size_t{1}, size_t{2}, size_t{31}, size_t{33}, size_t{65}}) {
            Talk talk(key, key);
            bool cut = false;
            talk.Run([&](int number, std::string& bytes) {
                if (number == spoiled && bytes.size() > k_FrameHeader + kept) {
                    bytes.resize(k_FrameHeader + kept);
                    cut = true;
                }
            });
            EXPECT_EQ(talk.called, cut ? Handshake::Step::Failed : Handshake::Step::Done) << spoiled << " " << kept;
        }
    }
    // The caller's proof before its greeting.
    Handshake listener(Handshake::Role::Listener, key, Info("m", "M", PeerKind::Master), "channel");
    std::string answer;
    std::string const proof(64, 'x');
    EXPECT_EQ(listener.Take({UID::FromName("vorlan handshake Proof"), proof}, answer), Handshake::Step::Failed);
    EXPECT_EQ(listener.Why(), Handshake::Failure::Malformed);
}

} // namespace vorlan::net
