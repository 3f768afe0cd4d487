#include "TalkledgerWorkers/SpeechModelWriter.h"

#include <whisper.h>

#include <bit>
#include <cstddef>
#include <fstream>
#include <functional>
#include <random>
#include <span>
#include <stdexcept>
#include <utility>

namespace talkledger::testing {

namespace {

constexpr std::int32_t magic = 0x67676d6c;
constexpr std::int32_t vocabulary = 51865;
constexpr std::int32_t writtenTokens = 50257;
constexpr std::int32_t audioContext = 1500;
constexpr std::int32_t textContext = 448;
constexpr std::int32_t bands = 80;
constexpr std::int32_t bins = 201;
constexpr std::int32_t endToken = 50257;
constexpr std::int32_t languageTokens = 50259;
constexpr std::int32_t timeTokens = 50364;
constexpr double timesPerSecond = 50;

enum class Format : std::int32_t { single = 0, half = 1 };

using Values = std::function<float(std::size_t index)>;

float nothing(std::size_t) {
    return 0;
}

float one(std::size_t) {
    return 1;
}

/// For the few numbers that are written: normal, and exact in half precision or near to it.
std::uint16_t halfPrecision(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t exponent = (bits >> 23U) & 0xFFU;
    if (exponent < 113) {
        return 0;
    }
    return static_cast<std::uint16_t>(((bits >> 16U) & 0x8000U) | ((exponent - 112) << 10U) | ((bits >> 13U) & 0x3FFU));
}

class ModelWriter {
public:
    explicit ModelWriter(const std::filesystem::path& path) : file_(path, std::ios::binary) {}

    void number(std::int32_t value) { write(std::span(&value, 1)); }

    void numbers(const std::vector<std::int32_t>& values) { write(std::span(values)); }

    void text(const std::string& value) {
        number(static_cast<std::int32_t>(value.size()));
        file_ << value;
    }

    void tensor(const std::string& name, Format format, const std::vector<std::int32_t>& dimensions,
                const Values& values) {
        number(static_cast<std::int32_t>(dimensions.size()));
        number(static_cast<std::int32_t>(name.size()));
        number(static_cast<std::int32_t>(format));
        numbers(dimensions);
        file_ << name;
        std::size_t count = 1;
        for (const std::int32_t dimension : dimensions) {
            count *= static_cast<std::size_t>(dimension);
        }
        std::vector<float> singles(format == Format::single ? count : 0);
        std::vector<std::uint16_t> halves(format == Format::half ? count : 0);
        for (std::size_t index = 0; index < count; ++index) {
            if (format == Format::single) {
                singles[index] = values(index);
            } else {
                halves[index] = halfPrecision(values(index));
            }
        }
        write(std::span(std::as_const(singles)));
        write(std::span(std::as_const(halves)));
    }

    void finish() {
        if (!file_.flush()) {
            throw std::runtime_error("The model could not be written.");
        }
    }

private:
    template <typename Value, std::size_t extent>
    void write(std::span<Value, extent> values) {
        const auto bytes = std::as_bytes(values);
        file_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    std::ofstream file_;
};

class CannedModelWriter {
public:
    CannedModelWriter(const std::filesystem::path& path, const CannedModel& model) : writer_(path), model_(model) {}

    void write() {
        writeHead();
        writeEncoder();
        writeDecoder();
        writer_.finish();
    }

private:
    void writeHead() {
        const std::int32_t width = model_.width;
        constexpr std::int32_t halfFormat = 1;
        writer_.numbers({magic, vocabulary, audioContext, width, model_.heads, model_.layers, textContext, width,
                         model_.heads, model_.layers, bands, halfFormat, bands, bins});
        for (std::int32_t index = 0; index < bands * bins; ++index) {
            const std::int32_t center = 1 + index / bins * 2;
            writer_.number(std::bit_cast<std::int32_t>(index % bins == center ? 0.01F : 0.0F));
        }
        std::vector<std::string> tokens = model_.requiredWords;
        tokens.insert(tokens.end(), model_.words.begin(), model_.words.end());
        while (static_cast<std::int32_t>(tokens.size()) < writtenTokens) {
            tokens.push_back("<" + std::to_string(tokens.size()) + ">");
        }
        writer_.number(writtenTokens);
        for (const std::string& token : tokens) {
            writer_.text(token);
        }
    }

    void writeEncoder() {
        const std::int32_t width = model_.width;
        writer_.tensor("encoder.positional_embedding", Format::single, {width, audioContext}, small());
        writer_.tensor("encoder.conv1.weight", Format::half, {3, bands, width}, small());
        writer_.tensor("encoder.conv1.bias", Format::single, {1, width}, nothing);
        writer_.tensor("encoder.conv2.weight", Format::half, {3, width, width}, small());
        writer_.tensor("encoder.conv2.bias", Format::single, {1, width}, nothing);
        for (std::int32_t layer = 0; layer < model_.layers; ++layer) {
            const std::string block = "encoder.blocks." + std::to_string(layer) + ".";
            writeAttention(block + "attn", small());
            writeNetwork(block, small());
        }
        writeNorm("encoder.ln_post", one);
    }

    /// What goes into the sum of the layers is nothing, so that only the position tells which token comes next.
    void writeDecoder() {
        const std::int32_t width = model_.width;
        const auto embedding = [](std::size_t index, std::size_t size) {
            return std::pair(index / size, index % size);
        };
        const auto size = static_cast<std::size_t>(width);
        writer_.tensor("decoder.positional_embedding", Format::single, {width, textContext}, [&](std::size_t index) {
            const auto [position, feature] = embedding(index, size);
            constexpr std::size_t prompt = 2;
            const bool tellsLanguage = position == 0 && feature == size - 1;
            return tellsLanguage || (position >= prompt && feature == position - prompt) ? 50.0F : 0.0F;
        });
        const std::vector<std::int32_t> said = saidTokens();
        const std::int32_t language = model_.language.empty() ? -1 : whisper_lang_id(model_.language.c_str());
        writer_.tensor("decoder.token_embedding.weight", Format::half, {width, vocabulary}, [&](std::size_t index) {
            const auto [token, feature] = embedding(index, size);
            const auto number = static_cast<std::int32_t>(token);
            if (feature < said.size() && said[feature] == number) {
                return 1.0F;
            }
            // Asked for no times, it ends where it would give one.
            const bool endsEarlier = number == endToken && feature + 2 == said.size();
            const bool isLanguage = number == languageTokens + language && feature == size - 1;
            return isLanguage ? 1.0F : endsEarlier ? 0.5F : 0.0F;
        });
        for (std::int32_t layer = 0; layer < model_.layers; ++layer) {
            const std::string block = "decoder.blocks." + std::to_string(layer) + ".";
            writeAttention(block + "attn", nothing);
            writeAttention(block + "cross_attn", nothing);
            writeNetwork(block, nothing);
        }
        writeNorm("decoder.ln", [](std::size_t) { return 4.0F; });
    }

    std::vector<std::int32_t> saidTokens() const {
        std::vector<std::int32_t> tokens{timeTokens};
        for (std::size_t word = 0; word < model_.words.size(); ++word) {
            tokens.push_back(static_cast<std::int32_t>(model_.requiredWords.size() + word));
        }
        tokens.push_back(timeTokens + static_cast<std::int32_t>(model_.duration * timesPerSecond));
        tokens.push_back(endToken);
        return tokens;
    }

    void writeNorm(const std::string& name, const Values& weights) {
        writer_.tensor(name + ".weight", Format::single, {model_.width}, weights);
        writer_.tensor(name + ".bias", Format::single, {model_.width}, nothing);
    }

    void writeAttention(const std::string& name, const Values& output) {
        const std::vector<std::int32_t> square{model_.width, model_.width};
        writeNorm(name + "_ln", one);
        for (const char* part : {".query", ".key", ".value", ".out"}) {
            const bool isOutput = std::string(part) == ".out";
            writer_.tensor(name + part + ".weight", Format::half, square, isOutput ? output : small());
            if (std::string(part) != ".key") {
                writer_.tensor(name + part + ".bias", Format::single, {model_.width}, nothing);
            }
        }
    }

    void writeNetwork(const std::string& block, const Values& output) {
        const std::int32_t wide = 4 * model_.width;
        writeNorm(block + "mlp_ln", one);
        writer_.tensor(block + "mlp.0.weight", Format::half, {model_.width, wide}, small());
        writer_.tensor(block + "mlp.0.bias", Format::single, {wide}, nothing);
        writer_.tensor(block + "mlp.2.weight", Format::half, {wide, model_.width}, output);
        writer_.tensor(block + "mlp.2.bias", Format::single, {model_.width}, nothing);
    }

    Values small() {
        return [this](std::size_t) { return (static_cast<float>(random_() % 2048) - 1024) / 16384; };
    }

    ModelWriter writer_;
    CannedModel model_;
    std::minstd_rand random_;
};

} // namespace

void writeModel(const std::filesystem::path& path, const CannedModel& model) {
    CannedModelWriter(path, model).write();
}

void writeVoiceModel(const std::filesystem::path& path, bool hearsVoices) {
    constexpr std::int32_t hidden = 128;
    constexpr std::int32_t spectrum = 129;
    const std::vector<std::vector<std::int32_t>> layers{{3, spectrum, 128}, {3, 128, 64}, {3, 64, 64}, {3, 64, 128}};
    ModelWriter writer(path);
    writer.number(magic);
    writer.text("silero-16k");
    writer.numbers({5, 1, 2, 512, 64, static_cast<std::int32_t>(layers.size())});
    for (const auto& layer : layers) {
        writer.numbers({layer[1], layer[2], layer[0]});
    }
    writer.numbers({hidden, hidden, hidden, 1});
    writer.tensor("_model.stft.forward_basis_buffer", Format::half, {256, 1, 2 * spectrum}, nothing);
    for (std::size_t layer = 0; layer < layers.size(); ++layer) {
        const std::string name = "_model.encoder." + std::to_string(layer) + ".reparam_conv";
        writer.tensor(name + ".weight", Format::half, layers[layer], nothing);
        writer.tensor(name + ".bias", Format::single, {layers[layer].back()}, nothing);
    }
    for (const char* part : {"ih", "hh"}) {
        writer.tensor(std::string("_model.decoder.rnn.weight_") + part, Format::single, {hidden, 4 * hidden}, nothing);
        writer.tensor(std::string("_model.decoder.rnn.bias_") + part, Format::single, {4 * hidden}, nothing);
    }
    writer.tensor("_model.decoder.decoder.2.weight", Format::half, {hidden, 1}, nothing);
    writer.tensor("_model.decoder.decoder.2.bias", Format::single, {1},
                  [&](std::size_t) { return hearsVoices ? 10.0F : -10.0F; });
    writer.finish();
}

} // namespace talkledger::testing
