#include "nettools.h"

#include <vorlan/net/sendqueue.h>

namespace vorlan::net::test_netframe {

UID const k_Type = UID::FromName("a type");

std::string FrameOf(std::string_view body) {
    std::string bytes;
    AppendFrameHeader(bytes, k_Type, body.size());
    return bytes.append(body);
}

using Bodies = std::vector<std::string>;

void Feed(FrameReader& reader, std::string_view bytes, UID const& type, Bodies& got) {
    while (!bytes.empty()) {
        std::span<char> const room = reader.Room();
        size_t const size = std::min(room.size(), bytes.size());
        std::copy_n(bytes.data(), size, room.data());
        reader.Filled(size);
        bytes.remove_prefix(size);
        for (Frame frame; reader.Next(frame);) {
            EXPECT_EQ(frame.type, type);
            got.emplace_back(frame.body);
        }
    }
}

TEST(FrameReader, CutsAnyPiecesIntoTheSameFrames) {
    Bodies const bodies = {"", "a", Noise(100), Noise(40'000), "", Noise(300'000), "end"};
    std::string stream;
    for (std::string const& body : bodies)
        stream += FrameOf(body);
    for (size_t const step : {size_t{1}, size_t{7}, size_t{19}, size_t{20}, size_t{4096}, stream.size()}) {
        FrameReader reader(1u << 20);
        Bodies got;
        for (size_t at = 0; at < stream.size(); at += step)
            Feed(reader, std::string_view(stream).substr(at, step), k_Type, got);
        EXPECT_EQ(got, bodies) << "in steps of " << step;
        EXPECT_FALSE(reader.InFrame());
    }
}

TEST(Parts, WhatIsNoRightPartIsRefused) {
    constexpr size_t k_Frame = 2000;
    constexpr size_t k_Limit = 100'000;
    auto const partsOf = [](std::string const& body) {
        std::string stream;
        AppendParts(stream, k_Type, body, k_Frame, k_Limit);
        FrameReader reader(k_Frame);
        Bodies parts;
        Feed(reader, stream, k_PartType, parts);
        return parts;
    };
    std::string over;
    EXPECT_THROW(AppendParts(over, k_Type, std::string(k_Limit + 1, 'a'), k_Frame, k_Limit), ArgumentException);
    Bodies const good = partsOf(Noise(9000));
    ASSERT_GT(good.size(), 3u);
    auto const with = [&](size_t part, size_t offset, char value) {
        Bodies parts = good;
        parts[part][offset] = value;
        return parts;
    };
    Bodies const late(good.begin() + 1, good.end());
    Bodies gap = good;
    gap.erase(gap.begin() + 1);
    Bodies twice = good;
    twice.insert(twice.begin() + 1, good[1]);
    Bodies more = good;
    more.back() += "more";
    // A small message under the announcement of a smaller one.
    Bodies bomb = partsOf(std::string(90'000, 'a'));
    bomb[0].replace(UID::k_Size, 8, std::string("\0\0\0\0\0\0\0\x10", 8));
    Rows<char const*, Bodies> const cases = {
        {"shorter than its header", {good[0].substr(0, k_PartHeader - 1)}},
        {"begins in the midst", late},
        {"one is missing", gap},
        {"one comes twice", twice},
        {"another type", with(1, 0, static_cast<char>(good[1][0] ^ 1))},
        {"another length", with(1, UID::k_Size + 7, static_cast<char>(good[1][UID::k_Size + 7] ^ 1))},
        {"over the limit", with(0, UID::k_Size, '\x7f')},
        {"announced too short", bomb},
        {"no compressed data", with(0, k_PartHeader, '\0')},
        {"bytes behind the end", more},
    };
    for (auto const& [name, sent] : cases) {
        PartAssembler parts(k_Limit);
        bool complete = false;
        auto const takeAll = [&](std::vector<std::string> const& all) {
            for (std::string const& part : all)
                complete = parts.TakePart(part);
        };
        EXPECT_THROW(takeAll(sent), NetException) << name;
        EXPECT_FALSE(complete) << name;
    }
}

TEST(SendQueue, KeepsTheOrderAndCountsEachKind) {
    SendQueue queue;
    std::string expected;
    size_t live = 0;
    size_t load = 0;
    std::string const noise = Noise(80'000);
    for (size_t i = 0; i < 3000; ++i) {
        Traffic const traffic = i % 3 == 0 ? Traffic::Load : Traffic::Live;
        std::string const body = noise.substr(i, i % 50 == 0 ? 70'000 : i % 97);
        std::string const frame = FrameOf(body);
        if (i % 5 == 0)
            queue.Push(boost::make_shared<EncodedMessage const>(String(frame)), traffic);
        else
            queue.Push(k_Type, body, traffic);
        (traffic == Traffic::Live ? live : load) += frame.size();
        expected += frame;
    }
    EXPECT_EQ(queue.LiveBytes(), live);
    EXPECT_EQ(queue.Bytes(), live + load);
    std::string got;
    size_t pieces = 0;
    for (SendQueue::Piece piece; queue.TakePiece(piece); ++pieces) {
        EXPECT_EQ(piece.live + piece.load, piece.Bytes().size());
        got += piece.Bytes();
        queue.Written(piece);
    }
    EXPECT_TRUE(got == expected);
    EXPECT_EQ(queue.Bytes(), 0u);
    // Small messages travel together.
    EXPECT_LT(pieces, 300u);
}

} // namespace vorlan::net::test_netframe
