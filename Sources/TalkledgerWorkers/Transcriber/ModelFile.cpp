#include "TalkledgerWorkers/Transcriber/ModelFile.h"

#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <ggml.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

namespace talkledger {

namespace {

/// A head begins with the letters "ggml", lowest byte first.
constexpr std::int32_t magic = 0x67676d6c;

/// Bounds that no real model comes near to.
constexpr std::int32_t longestName = 256;
constexpr std::int32_t mostLayers = 64;
constexpr std::int32_t widestLayer = 8192;
constexpr std::int32_t mostTokens = 60000;

class ModelReader {
public:
    explicit ModelReader(const std::filesystem::path& path) : path_(path) {
        std::error_code unreadable;
        // A pipe or a device could keep the reader waiting for ever.
        if (!std::filesystem::is_regular_file(path, unreadable)) {
            throw refusal("cannot be read");
        }
        remaining_ = std::filesystem::file_size(path, unreadable);
        file_.open(path, std::ios::binary);
    }

    ModelKind read() {
        if (number() != magic) {
            throw refusal("is no speech model");
        }
        const std::int32_t first = number();
        const bool isVoice = first <= longestName; // the length of a name, not of a vocabulary
        isVoice ? passVoiceHead(first) : passSpeechHead(first);
        std::size_t tensors = 0;
        for (; remaining_ > 0; ++tensors) {
            passTensor();
        }
        if (tensors == 0) {
            throw refusal("is not whole");
        }
        return isVoice ? ModelKind::voice : ModelKind::speech;
    }

private:
    SpeechEngineError refusal(const std::string& what) const {
        return SpeechEngineError("The file \"" + path_.string() + "\" " + what +
                                 ". Download the model again, or choose another file.");
    }

    std::int32_t number() {
        std::int32_t value = 0;
        if (remaining_ < sizeof value || !file_.read(reinterpret_cast<char*>(&value), sizeof value)) {
            throw refusal("is not whole");
        }
        remaining_ -= sizeof value;
        return value;
    }

    std::int32_t number(std::int32_t least, std::int32_t most) {
        const std::int32_t value = number();
        if (value < least || value > most) {
            throw refusal("is no speech model");
        }
        return value;
    }

    void pass(std::uint64_t bytes) {
        if (bytes > remaining_) {
            throw refusal("is not whole");
        }
        remaining_ -= bytes;
        file_.seekg(static_cast<std::streamoff>(bytes), std::ios::cur);
    }

    void passSpeechHead(std::int32_t vocabulary) {
        constexpr std::int32_t englishVocabulary = 51864;
        if (vocabulary < englishVocabulary || vocabulary > mostTokens) {
            throw refusal("is no speech model");
        }
        const auto passNetwork = [this] {
            number(1, widestLayer); // context
            const std::int32_t width = number(1, widestLayer);
            const std::int32_t heads = number(1, width);
            number(1, mostLayers);
            if (width % heads != 0) {
                throw refusal("is no speech model");
            }
        };
        passNetwork(); // of the encoder
        passNetwork(); // of the decoder
        number(1, widestLayer);
        number(); // the format of the numbers, which the engine checks
        const std::int32_t bands = number(1, widestLayer);
        const std::int32_t bins = number(1, widestLayer);
        pass(sizeof(float) * static_cast<std::uint64_t>(bands) * static_cast<std::uint64_t>(bins));
        const std::int32_t tokens = number(0, vocabulary);
        for (std::int32_t token = 0; token < tokens; ++token) {
            pass(static_cast<std::uint64_t>(number(0, longestName)));
        }
    }

    void passVoiceHead(std::int32_t nameLength) {
        pass(static_cast<std::uint64_t>(std::max(nameLength, 0)));
        constexpr int versionAndWindow = 5;
        for (int count = 0; count < versionAndWindow; ++count) {
            number(0, widestLayer);
        }
        constexpr std::int32_t layers = 4; // the engine knows no other number
        number(layers, layers);
        constexpr int shape = 3 * layers + 4;
        for (int count = 0; count < shape; ++count) {
            number(1, widestLayer);
        }
    }

    void passTensor() {
        const std::int32_t dimensions = number(1, 4);
        const std::int32_t nameLength = number(1, longestName);
        const std::int32_t type = number(0, GGML_TYPE_COUNT - 1);
        std::uint64_t elements = 1;
        for (std::int32_t dimension = 0; dimension < dimensions; ++dimension) {
            constexpr std::uint64_t mostElements = std::uint64_t{1} << 31;
            elements *= static_cast<std::uint64_t>(number(1, mostTokens));
            if (elements >= mostElements) {
                throw refusal("is no speech model");
            }
        }
        pass(static_cast<std::uint64_t>(nameLength));
        const auto format = static_cast<ggml_type>(type);
        const std::int64_t block = ggml_blck_size(format);
        if (block <= 0 || elements % static_cast<std::uint64_t>(block) != 0) {
            throw refusal("is no speech model");
        }
        pass(elements / static_cast<std::uint64_t>(block) * ggml_type_size(format));
    }

    std::filesystem::path path_;
    std::ifstream file_;
    std::uint64_t remaining_{0};
};

} // namespace

ModelKind examineModelFile(const std::filesystem::path& path) {
    return ModelReader(path).read();
}

} // namespace talkledger
