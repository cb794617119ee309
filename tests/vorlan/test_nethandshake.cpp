#include "nettools.h"

namespace vorlan::net::test_nethandshake {

// Both ends and what goes to and fro.
struct Talk {
    Talk(FarmKey const& callersKey, FarmKey const& listenersKey, std::string const& callersChannel = "channel",
         std::string const& listenersChannel = "channel", unsigned callersProtocol = k_ProtocolVersion)
        : caller(Handshake::Role::Caller, callersKey, WithProtocol(callersProtocol), callersChannel),
          listener(Handshake::Role::Listener, listenersKey, Someone(PeerKind::Master, "VorlanMaster", "master01"),
                   listenersChannel) {}

    static PeerInfo WithProtocol(unsigned protocol) {
        PeerInfo info = Someone(PeerKind::Engine, "VorlanEngine");
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
            (toListener ? listened : called) = (toListener ? listener : caller).TakeFrame({type, body}, answer);
            bytes = answer;
        }
    }

    Handshake caller;
    Handshake listener;
    Handshake::Step called = Handshake::Step::More;
    Handshake::Step listened = Handshake::Step::More;
};

TEST(Handshake, BothLearnWhoTheOtherIs) {
    FarmKey const key = FarmKey::Fresh();
    Talk talk(key, key);
    talk.Run();
    ASSERT_TRUE(talk.called == Handshake::Step::Done && talk.listened == Handshake::Step::Done);
    PeerInfo const& engine = talk.listener.Peer();
    EXPECT_EQ(std::tuple(engine.program, engine.user, engine.kind, engine.machine, engine.version),
              std::tuple("VorlanEngine", "ann", PeerKind::Engine, UID::FromName("render07"), 30100u));
    EXPECT_FALSE(engine.instance.IsNull());
    PeerInfo const& master = talk.caller.Peer();
    EXPECT_EQ(std::tuple(master.machineName, master.protocol), std::tuple("master01", k_ProtocolVersion));
}

TEST(Handshake, FailuresTellBothWhatToDo) {
    FarmKey const key = FarmKey::Fresh();
    FarmKey const other = FarmKey::Fresh();
    using Failure = Handshake::Failure;
    Rows<Talk, Failure, char const*, char const*> cases = {
        {Talk(key, other), Failure::WrongKey,
         "Run `vorlan key show` on master01 and `vorlan key join master01 <line>` here.",
         "Run `vorlan key show` on master01 and `vorlan key join master01 <line>` there."},
        {Talk({}, key), Failure::WrongKey, "does not have this farm's key", "there."},
        // Somebody between two channels passes everything on.
        {Talk(key, key, "one", "two"), Failure::WrongKey, "does not have this farm's key",
         "does not have this farm's key"},
        {Talk(key, key, "channel", "channel", 7), Failure::Protocol, "speaks protocol 1, this program 7",
         "speaks protocol 7, this program 1"},
    };
    for (auto& [talk, failure, saidHere, saidThere] : cases) {
        talk.Run();
        for (auto const& [step, why] :
             {std::pair(talk.called, talk.caller.Why()), std::pair(talk.listened, talk.listener.Why())})
            EXPECT_TRUE(step == Handshake::Step::Failed && why == failure) << saidHere;
        String const here = talk.caller.FailureText("10.0.0.1:7466", "master01");
        String const there = talk.listener.FailureText("10.0.0.7:40000", {});
        EXPECT_TRUE(here.StartsWith("10.0.0.1:7466 ") && here.Contains(saidHere)) << here;
        EXPECT_TRUE(there.StartsWith("10.0.0.7:40000 ") && there.Contains(saidThere)) << there;
    }
}

// Whatever byte of the talk is changed on its way or cut off, nobody takes the other
// for somebody else.
TEST(Handshake, NothingChangedGoesThrough) {
    FarmKey const key = FarmKey::Fresh();
    // Whether there was something to change in that frame.
    using Change = std::function<bool(std::string&)>;
    auto const spoil = [&](int frame, Change const& change, char const* what, size_t at) {
        Talk talk(key, key);
        bool changed = false;
        talk.Run([&](int number, std::string& bytes) { changed |= number == frame && change(bytes); });
        EXPECT_NE(talk.called == Handshake::Step::Done, changed) << "frame " << frame << what << at;
        // The listener is through before its last word is spoiled.
        EXPECT_TRUE(!changed || frame == 3 || talk.listened != Handshake::Step::Done)
            << "frame " << frame << what << at;
        return changed;
    };
    for (int frame = 0; frame < 4; ++frame) {
        auto const flip = [](size_t at) {
            return [at](std::string& bytes) {
                if (at < bytes.size())
                    bytes[at] = static_cast<char>(bytes[at] ^ 0x10);
                return at < bytes.size();
            };
        };
        for (size_t at = 4; spoil(frame, flip(at), ", byte ", at); ++at)
            ASSERT_LT(at, 400u);
        for (size_t const kept : {size_t{0}, size_t{1}, size_t{2}, size_t{31}, size_t{33}, size_t{65}}) {
            auto const cut = [kept](std::string& bytes) {
                bool const longer = bytes.size() > k_FrameHeader + kept;
                bytes.resize(std::min(bytes.size(), k_FrameHeader + kept));
                return longer;
            };
            spoil(frame, cut, ", cut to ", kept);
        }
    }
    // The caller's proof before its greeting.
    Handshake listener(Handshake::Role::Listener, key, Someone(PeerKind::Master, "M"), "channel");
    std::string answer;
    std::string const proof(64, 'x');
    EXPECT_EQ(listener.TakeFrame({UID::FromName("vorlan handshake Proof"), proof}, answer), Handshake::Step::Failed);
    EXPECT_EQ(listener.Why(), Handshake::Failure::Malformed);
}

} // namespace vorlan::net::test_nethandshake
