#include "TalkledgerWorkers/Protocol/Frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace talkledger {
namespace {

using ::testing::ElementsAreArray;

std::vector<std::byte> randomBytes(std::mt19937& random, std::size_t longest) {
    std::vector<std::byte> bytes(std::uniform_int_distribution<std::size_t>(0, longest)(random));
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::byte>(random()); });
    return bytes;
}

Frame randomFrame(std::mt19937& random) {
    const std::vector<std::byte> head = randomBytes(random, 300);
    Frame frame{.head = {}, .payload = randomBytes(random, 5000)};
    std::transform(head.begin(), head.end(), std::back_inserter(frame.head),
                   [](std::byte byte) { return std::to_integer<char>(byte); });
    return frame;
}

std::vector<Frame> decodeInPieces(std::span<const std::byte> bytes, std::mt19937& random, std::size_t longestPiece) {
    FrameDecoder decoder;
    std::vector<Frame> frames;
    while (!bytes.empty()) {
        const std::size_t length =
            std::min(bytes.size(), std::uniform_int_distribution<std::size_t>(1, longestPiece)(random));
        decoder.append(bytes.first(length));
        bytes = bytes.subspan(length);
        while (std::optional<Frame> frame = decoder.next()) {
            frames.push_back(*std::move(frame));
        }
    }
    return frames;
}

TEST(FrameDecoder, FindsTheFramesHoweverTheirBytesAreSplit) {
    std::mt19937 random(7);
    for (const std::size_t longestPiece : {1U, 3U, 50U, 4000U, 1000000U}) {
        std::vector<Frame> sent{Frame{}};
        std::vector<std::byte> bytes = encodeFrame(Frame{});
        for (int count = 0; count < 20; ++count) {
            sent.push_back(randomFrame(random));
            const std::vector<std::byte> encoded = encodeFrame(sent.back());
            bytes.insert(bytes.end(), encoded.begin(), encoded.end());
        }
        EXPECT_THAT(decodeInPieces(bytes, random, longestPiece), ElementsAreArray(sent));
    }
}

TEST(FrameDecoder, RefusesLengthsBeyondTheBoundsAtOnce) {
    const Frame largest{.head = std::string(Frame::maximumHeadLength, 'x'),
                        .payload = std::vector<std::byte>(Frame::maximumPayloadLength)};
    FrameDecoder decoder;
    decoder.append(encodeFrame(largest));
    EXPECT_EQ(decoder.next(), largest);

    EXPECT_THROW(encodeFrame({.head = std::string(Frame::maximumHeadLength + 1, 'x'), .payload = {}}), ProtocolError);
    EXPECT_THROW(encodeFrame({.head = {}, .payload = std::vector<std::byte>(Frame::maximumPayloadLength + 1)}),
                 ProtocolError);

    for (std::size_t position = 0; position < 8; ++position) {
        std::vector<std::byte> prefix(8, std::byte{0});
        prefix[position] = std::byte{0xFF};
        FrameDecoder hostile;
        hostile.append(prefix);
        const bool isBeyondBounds = position % 4 >= 2; // 0xFF0000 and more
        if (isBeyondBounds) {
            EXPECT_THROW(hostile.next(), ProtocolError);
            EXPECT_THROW(hostile.next(), ProtocolError);
        } else {
            EXPECT_EQ(hostile.next(), std::nullopt);
        }
    }
}

} // namespace
} // namespace talkledger
