#pragma once

#include "TalkledgerCore/Ports/AudioFiles.h"

#include <functional>
#include <memory>
#include <stdexcept>

namespace talkledger::testing {

/// Measures files as the test says, also in ways in which a healthy media library cannot be made to.
class FakeDurations final : public AudioFiles {
public:
    std::function<std::optional<double>(const std::filesystem::path&)> answer;

    std::unique_ptr<AudioFile> createFile(const std::filesystem::path&, const AudioFormat&, AudioChannel) override {
        throw std::logic_error("Nothing is recorded here.");
    }

    std::unique_ptr<AssetWriter> makeAssetWriter(const std::filesystem::path&, AssetFileType, AudioChannel) override {
        throw std::logic_error("Nothing is recorded here.");
    }

    Task<std::optional<double>> duration(const std::filesystem::path& path) override { co_return answer(path); }

    Task<void> mend(std::filesystem::path /*path*/) override { throw std::logic_error("Nothing is recorded here."); }
};

} // namespace talkledger::testing
