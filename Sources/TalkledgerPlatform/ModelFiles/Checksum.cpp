#include "TalkledgerPlatform/ModelFiles/Checksum.h"

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/sha.h>
}

#include <array>
#include <cstdint>
#include <fstream>
#include <memory>
#include <span>
#include <vector>

namespace talkledger {
namespace {

constexpr std::size_t pieceBytes = 1 << 20;

std::string hexadecimal(std::span<const std::uint8_t> bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

} // namespace

std::string checksum(const std::filesystem::path& file, ChecksumKind kind, const std::function<bool()>& isWanted) {
    const int bits = kind == ChecksumKind::sha1 ? 160 : 256;
    const std::unique_ptr<AVSHA, void (*)(void*)> sum(av_sha_alloc(), av_free);
    if (!sum || av_sha_init(sum.get(), bits) != 0) {
        return {};
    }
    std::ifstream stream(file, std::ios::binary);
    std::vector<char> piece(pieceBytes);
    while (stream) {
        if (!isWanted()) {
            return {};
        }
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        const auto count = static_cast<std::size_t>(stream.gcount());
        av_sha_update(sum.get(), reinterpret_cast<const std::uint8_t*>(piece.data()), count);
    }
    if (!stream.eof()) {
        return {};
    }
    std::array<std::uint8_t, 32> digest{};
    av_sha_final(sum.get(), digest.data());
    return hexadecimal(std::span(digest).first(static_cast<std::size_t>(bits) / 8));
}

} // namespace talkledger
