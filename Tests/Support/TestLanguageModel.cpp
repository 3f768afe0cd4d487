#include "Support/TestLanguageModel.h"

#include <ggml.h>
#include <gguf.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <stdexcept>

namespace talkledger::testing {

namespace {

constexpr const char* chatTemplate =
    "{% for message in messages %}{{'<|im_start|>' + message['role'] + '\\n' + message['content'] + '<|im_end|>' + "
    "'\\n'}}{% endfor %}{% if add_generation_prompt %}{{ '<|im_start|>assistant\\n' }}{% endif %}";

/// As the file format numbers them.
enum class TokenKind : std::int32_t { normal = 1, unknown = 2, control = 3, userDefined = 4, byte = 6 };

struct Vocabulary {
    void add(std::string text, TokenKind kind) {
        texts.push_back(std::move(text));
        kinds.push_back(static_cast<std::int32_t>(kind));
    }

    std::vector<std::string> texts;
    std::vector<std::int32_t> kinds;
};

Vocabulary characters() {
    Vocabulary vocabulary;
    vocabulary.add("<unk>", TokenKind::unknown);
    vocabulary.add("<s>", TokenKind::control);
    vocabulary.add("</s>", TokenKind::control);
    for (int byte = 0; byte < 256; ++byte) {
        std::array<char, 8> text{};
        std::snprintf(text.data(), text.size(), "<0x%02X>", static_cast<unsigned>(byte));
        vocabulary.add(text.data(), TokenKind::byte);
    }
    vocabulary.add("<|im_start|>", TokenKind::control);
    vocabulary.add("<|im_end|>", TokenKind::control);
    vocabulary.add("\u2581", TokenKind::normal); // a space
    for (char character = '!'; character <= '~'; ++character) {
        vocabulary.add(std::string(1, character), TokenKind::normal);
    }
    for (const char* character : {"予", "算", "案", "é", "😀"}) {
        vocabulary.add(character, TokenKind::normal);
    }
    return vocabulary;
}

class ModelFile {
public:
    ModelFile(const LanguageModelShape& shape, const Vocabulary& vocabulary)
        : shape_(shape),
          vocabularySize_(static_cast<std::int64_t>(vocabulary.texts.size())),
          tensors_(ggml_init({.mem_size = memorySize(), .mem_buffer = nullptr, .no_alloc = false})),
          file_(gguf_init_empty()) {
        describe(vocabulary);
        addTensors();
    }

    std::span<float> weights(const std::string& name) {
        ggml_tensor* tensor = ggml_get_tensor(tensors_.get(), name.c_str());
        return {ggml_get_data_f32(tensor), static_cast<std::size_t>(ggml_nelements(tensor))};
    }

    void setRow(const std::string& name, std::size_t row, std::size_t place, float value) {
        weights(name)[row * shape_.embeddingLength + place] = value;
    }

    void randomize(std::uint32_t seed) {
        std::mt19937 random(seed);
        for (ggml_tensor* tensor = ggml_get_first_tensor(tensors_.get()); tensor != nullptr;
             tensor = ggml_get_next_tensor(tensors_.get(), tensor)) {
            if (ggml_n_dims(tensor) > 1) {
                randomize(*tensor, random);
            }
        }
    }

    void write(const std::filesystem::path& path) const {
        if (!gguf_write_to_file(file_.get(), path.c_str(), false)) {
            throw std::runtime_error("The test's model cannot be written.");
        }
    }

private:
    static constexpr const char* prefix = "llama.";

    ggml_type matrixType() const { return shape_.isQuantized ? GGML_TYPE_Q8_0 : GGML_TYPE_F32; }

    std::size_t memorySize() const {
        const std::int64_t width = shape_.embeddingLength;
        const std::int64_t layer = 4 * width * width + 3 * width * shape_.feedForwardLength + 2 * width;
        const std::int64_t weights = 2 * width * vocabularySize_ + layer * shape_.layerCount + width;
        const double bytesPerWeight = shape_.isQuantized ? 1.1 : 4;
        return static_cast<std::size_t>(static_cast<double>(weights) * bytesPerWeight) + (std::size_t{1} << 20);
    }

    void setNumber(const std::string& key, std::uint32_t value) {
        gguf_set_val_u32(file_.get(), (prefix + key).c_str(), value);
    }

    void describe(const Vocabulary& vocabulary) {
        gguf_set_val_str(file_.get(), "general.architecture", "llama");
        setNumber("context_length", shape_.contextLength);
        setNumber("embedding_length", shape_.embeddingLength);
        setNumber("block_count", shape_.layerCount);
        setNumber("feed_forward_length", shape_.feedForwardLength);
        setNumber("attention.head_count", shape_.headCount);
        setNumber("attention.head_count_kv", shape_.keyHeadCount);
        setNumber("rope.dimension_count", shape_.embeddingLength / shape_.headCount);
        gguf_set_val_f32(file_.get(), "llama.attention.layer_norm_rms_epsilon", 1e-5F);
        std::vector<const char*> texts;
        texts.reserve(vocabulary.texts.size());
        for (const std::string& text : vocabulary.texts) {
            texts.push_back(text.c_str());
        }
        const std::vector<float> scores(texts.size(), 0);
        gguf_set_val_str(file_.get(), "tokenizer.ggml.model", "llama");
        gguf_set_arr_str(file_.get(), "tokenizer.ggml.tokens", texts.data(), texts.size());
        gguf_set_arr_data(file_.get(), "tokenizer.ggml.scores", GGUF_TYPE_FLOAT32, scores.data(), scores.size());
        gguf_set_arr_data(file_.get(), "tokenizer.ggml.token_type", GGUF_TYPE_INT32, vocabulary.kinds.data(),
                          vocabulary.kinds.size());
        gguf_set_val_u32(file_.get(), "tokenizer.ggml.unknown_token_id", 0);
        gguf_set_val_u32(file_.get(), "tokenizer.ggml.bos_token_id", 1);
        gguf_set_val_u32(file_.get(), "tokenizer.ggml.eos_token_id", 2);
        gguf_set_val_bool(file_.get(), "tokenizer.ggml.add_space_prefix", false);
        gguf_set_val_str(file_.get(), "tokenizer.chat_template", chatTemplate);
    }

    void addTensors() {
        const std::int64_t width = shape_.embeddingLength;
        const std::int64_t keyWidth = width / shape_.headCount * shape_.keyHeadCount;
        addMatrix("token_embd.weight", width, vocabularySize_);
        addMatrix("output.weight", width, vocabularySize_);
        addOnes("output_norm.weight");
        for (std::uint32_t layer = 0; layer < shape_.layerCount; ++layer) {
            const std::string block = "blk." + std::to_string(layer) + ".";
            addOnes(block + "attn_norm.weight");
            addMatrix(block + "attn_q.weight", width, width);
            addMatrix(block + "attn_k.weight", width, keyWidth);
            addMatrix(block + "attn_v.weight", width, keyWidth);
            addMatrix(block + "attn_output.weight", width, width);
            addOnes(block + "ffn_norm.weight");
            addMatrix(block + "ffn_gate.weight", width, shape_.feedForwardLength);
            addMatrix(block + "ffn_up.weight", width, shape_.feedForwardLength);
            addMatrix(block + "ffn_down.weight", shape_.feedForwardLength, width);
        }
    }

    void addMatrix(const std::string& name, std::int64_t columns, std::int64_t rows) {
        ggml_tensor* tensor = ggml_new_tensor_2d(tensors_.get(), matrixType(), columns, rows);
        std::memset(tensor->data, 0, ggml_nbytes(tensor));
        add(name, *tensor);
    }

    void addOnes(const std::string& name) {
        ggml_tensor* tensor = ggml_new_tensor_1d(tensors_.get(), GGML_TYPE_F32, shape_.embeddingLength);
        std::fill_n(ggml_get_data_f32(tensor), shape_.embeddingLength, 1.0F);
        add(name, *tensor);
    }

    void add(const std::string& name, ggml_tensor& tensor) {
        ggml_set_name(&tensor, name.c_str());
        gguf_add_tensor(file_.get(), &tensor);
    }

    /// Rows keep about the length of what they are multiplied with.
    static void randomize(ggml_tensor& tensor, std::mt19937& random) {
        const float scale = 1 / std::sqrt(static_cast<float>(tensor.ne[0]));
        if (tensor.type == GGML_TYPE_F32) {
            std::normal_distribution<float> weight(0, scale);
            std::generate_n(ggml_get_data_f32(&tensor), ggml_nelements(&tensor), [&] { return weight(random); });
            return;
        }
        // A block is its scale and 32 numbers of 8 bits, here with a deviation of 74.
        constexpr std::size_t blockLength = 34;
        const ggml_fp16_t blockScale = ggml_fp32_to_fp16(scale / 74);
        const std::span bytes(static_cast<std::uint8_t*>(tensor.data), ggml_nbytes(&tensor));
        for (std::size_t block = 0; block < bytes.size(); block += blockLength) {
            std::memcpy(&bytes[block], &blockScale, sizeof blockScale);
            for (std::size_t place = sizeof blockScale; place < blockLength; place += 4) {
                const std::uint32_t weights = static_cast<std::uint32_t>(random());
                std::memcpy(&bytes[block + place], &weights, std::min<std::size_t>(4, blockLength - place));
            }
        }
    }

    struct TensorsDeleter {
        void operator()(ggml_context* context) const { ggml_free(context); }
    };

    struct FileDeleter {
        void operator()(gguf_context* context) const { gguf_free(context); }
    };

    LanguageModelShape shape_;
    std::int64_t vocabularySize_;
    std::unique_ptr<ggml_context, TensorsDeleter> tensors_;
    std::unique_ptr<gguf_context, FileDeleter> file_;
};

} // namespace

void writeRandomLanguageModel(const std::filesystem::path& file, const LanguageModelShape& shape, std::uint32_t seed) {
    Vocabulary vocabulary = characters();
    for (const std::string& piece : shape.pieces) {
        if (std::find(vocabulary.texts.begin(), vocabulary.texts.end(), piece) == vocabulary.texts.end()) {
            vocabulary.add(piece, TokenKind::userDefined);
        }
    }
    for (std::uint32_t word = 0; word < shape.wordCount; ++word) {
        vocabulary.add("\u2581w" + std::to_string(word), TokenKind::normal);
    }
    ModelFile model(shape, vocabulary);
    model.randomize(seed);
    model.write(file);
}

/// Neither attention nor the layers change what the last token stands for: the token after it depends on it alone.
void writeCannedLanguageModel(const std::filesystem::path& file, const CannedContinuations& continuations) {
    Vocabulary vocabulary = characters();
    const std::size_t first = vocabulary.texts.size();
    for (const auto& [text, continuation] : continuations) {
        vocabulary.add(text, TokenKind::userDefined);
        vocabulary.add(continuation, TokenKind::userDefined);
    }
    ModelFile model({}, vocabulary);
    for (std::size_t index = 0; index < continuations.size(); ++index) {
        model.setRow("token_embd.weight", first + 2 * index, index, 10);
        model.setRow("output.weight", first + 2 * index + 1, index, 5);
    }
    model.write(file);
}

CannedContinuations cannedSummary() {
    return {{R"({"overview":")", std::string(cannedOverview) + '"'},
            {R"(,"decisions":[)", '"' + std::string(cannedDecision) + R"("])"},
            {R"(,"customerPains":[)", R"("Reports take days"])"},
            {R"(,"decisionCriteria":[)", R"("Price","Security"])"},
            {R"(,"budgetSignals":[)", R"("Budget until June"])"},
            {R"(,"objections":[)", R"("  "])"},
            {R"(,"nextActions":[)", R"("Send the offer"])"},
            {R"(,"unresolvedQuestions":[)", R"("Who signs?"])"},
            {R"(,"followUpEmailDraft":")", R"(Dear customer,\nthank you.")"}};
}

} // namespace talkledger::testing
