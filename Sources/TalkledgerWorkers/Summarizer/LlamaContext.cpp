#include "TalkledgerWorkers/Summarizer/LlamaContext.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

/// A stop request is noticed between two products of matrices: with more tokens at a time, those of a large model would
/// take too long.
std::size_t batchLengthFor(const LlamaModel& model) {
    constexpr std::size_t shortest = 16;
    constexpr std::size_t longest = 128;
    constexpr std::size_t work = longest * 64'000'000;
    return std::clamp(work / std::max<std::size_t>(1, model.layerSize()), shortest, longest);
}

constexpr std::size_t roomStep = 2048;

/// What stands between the beginning that stayed and what moved, like the rest of a line that was cut: it is read on
/// its own, so it takes room twice for a moment.
constexpr std::size_t greatestGap = 256;
constexpr std::size_t leastRun = 64; ///< less is not worth moving

// The prompt, and the gap while it is read.
constexpr int promptSequence = 0;
constexpr int gapSequence = 1;
constexpr std::uint32_t sequenceCount = 2;

bool isStopped(void* stop) {
    return static_cast<const std::stop_token*>(stop)->stop_requested();
}

llama_pos positionOf(std::size_t length) {
    return static_cast<llama_pos>(length);
}

struct Batch {
    explicit Batch(std::size_t length) : batch(llama_batch_init(static_cast<std::int32_t>(length), 0, 1)) {}

    ~Batch() { llama_batch_free(batch); }

    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    void add(llama_token token, std::size_t position, int sequence, bool isScored) {
        const auto index = static_cast<std::size_t>(batch.n_tokens++);
        batch.token[index] = token;
        batch.pos[index] = positionOf(position);
        batch.n_seq_id[index] = 1;
        batch.seq_id[index][0] = sequence;
        batch.logits[index] = isScored ? 1 : 0;
    }

    llama_batch batch;
};

} // namespace

LlamaContext::LlamaContext(const LlamaModel& model, int threads)
    : model_(model), threads_(threads), batchLength_(batchLengthFor(model)) {}

std::size_t LlamaContext::read(const Tokens& prompt, std::size_t answerRoom, Reading reading,
                               const std::stop_token& stop) {
    makeRoom(prompt.size() + answerRoom + greatestGap);
    // The last token is always read: the scores are those after it.
    std::size_t known = std::min(commonPrefix(prompt), prompt.size() - 1);
    if (reading == Reading::exact) {
        known = std::min(known, exactLength_);
    } else if (const Run run = movedRun(prompt, known); run.length >= leastRun && move(prompt, known, run, stop)) {
        const std::size_t gap = run.position - known;
        known = run.position + run.length;
        append(std::span(prompt).subspan(known), stop);
        return known - gap;
    }
    forgetAfter(known);
    known = read_.size();
    append(std::span(prompt).subspan(known), stop);
    return known;
}

void LlamaContext::append(std::span<const llama_token> tokens, const std::stop_token& stop) {
    while (!tokens.empty()) {
        const auto batch = tokens.first(std::min(tokens.size(), batchLength_));
        const bool isLast = batch.size() == tokens.size();
        decode({.tokens = batch, .position = read_.size(), .sequence = promptSequence, .isScored = isLast}, stop);
        if (exactLength_ == read_.size()) {
            exactLength_ += batch.size();
        }
        read_.insert(read_.end(), batch.begin(), batch.end());
        tokens = tokens.subspan(batch.size());
    }
}

std::span<const float> LlamaContext::scores() const {
    const float* scores = llama_get_logits_ith(context_.get(), -1);
    if (scores == nullptr) {
        throw LanguageEngineError("The language model gave no answer.");
    }
    return {scores, model_.vocabularySize()};
}

/// What has been read goes along to a larger context.
void LlamaContext::makeRoom(std::size_t tokens) {
    if (context_ && tokens <= llama_n_ctx(context_.get())) {
        return;
    }
    Context larger = makeContext((tokens + roomStep - 1) / roomStep * roomStep);
    bool isKept = false;
    if (context_ && !read_.empty()) {
        std::vector<std::uint8_t> state(llama_state_seq_get_size(context_.get(), promptSequence));
        llama_state_seq_get_data(context_.get(), state.data(), state.size(), promptSequence);
        isKept = llama_state_seq_set_data(larger.get(), state.data(), state.size(), promptSequence) == state.size();
    }
    if (!isKept) {
        read_.clear();
        exactLength_ = 0;
    }
    context_ = std::move(larger);
}

std::size_t LlamaContext::commonPrefix(const Tokens& prompt) const {
    const auto [differing, end] = std::mismatch(prompt.begin(), prompt.end(), read_.begin(), read_.end());
    return static_cast<std::size_t>(differing - prompt.begin());
}

/// The longest part of what has been read after the common prefix that stands at another place in the prompt.
LlamaContext::Run LlamaContext::movedRun(const Tokens& prompt, std::size_t prefix) const {
    Run longest;
    const std::size_t lastPosition = std::min(prompt.size(), prefix + greatestGap);
    for (std::size_t position = prefix; position < lastPosition; ++position) {
        for (std::size_t readPosition = prefix + 1; readPosition + longest.length < read_.size(); ++readPosition) {
            const auto [end, readEnd] = std::mismatch(prompt.begin() + positionOf(position), prompt.end() - 1,
                                                      read_.begin() + positionOf(readPosition), read_.end());
            const auto length = static_cast<std::size_t>(end - prompt.begin()) - position;
            if (length > longest.length) {
                longest = {.readPosition = readPosition, .position = position, .length = length};
            }
        }
    }
    return longest;
}

/// False where the model's memory cannot be moved.
bool LlamaContext::move(const Tokens& prompt, std::size_t prefix, const Run& run, const std::stop_token& stop) {
    const llama_memory_t memory = llama_get_memory(context_.get());
    if (!llama_memory_can_shift(memory)) {
        return false;
    }
    forgetAfter(run.readPosition + run.length);
    if (read_.size() != run.readPosition + run.length) {
        return false;
    }
    const llama_pos kept = positionOf(prefix);
    const llama_pos begin = positionOf(run.readPosition);
    const llama_pos distance = positionOf(run.position) - begin;
    if (!llama_memory_seq_rm(memory, promptSequence, kept, begin)) {
        forgetAfter(0);
        return false;
    }
    llama_memory_seq_add(memory, promptSequence, begin, -1, distance);
    const Tokens moved(read_.begin() + begin, read_.end());
    read_.assign(prompt.begin(), prompt.begin() + kept);
    exactLength_ = std::min(exactLength_, prefix);
    const auto gap = std::span(prompt).subspan(prefix, run.position - prefix);
    if (!gap.empty()) {
        llama_memory_seq_cp(memory, promptSequence, gapSequence, 0, kept);
        try {
            decode({.tokens = gap, .position = prefix, .sequence = gapSequence, .isScored = false}, stop);
        } catch (const LanguageEngineError&) {
            llama_memory_seq_rm(memory, gapSequence, -1, -1);
            forgetAfter(prefix);
            throw;
        }
        llama_memory_seq_cp(memory, gapSequence, promptSequence, kept, positionOf(run.position));
        llama_memory_seq_rm(memory, gapSequence, -1, -1);
    }
    read_.insert(read_.end(), gap.begin(), gap.end());
    read_.insert(read_.end(), moved.begin(), moved.end());
    return true;
}

/// Some models can only forget everything.
void LlamaContext::forgetAfter(std::size_t length) {
    const llama_memory_t memory = llama_get_memory(context_.get());
    if (!llama_memory_seq_rm(memory, promptSequence, positionOf(length), -1)) {
        llama_memory_clear(memory, true);
        length = 0;
    }
    read_.resize(std::min(length, read_.size()));
    exactLength_ = std::min(exactLength_, read_.size());
}

void LlamaContext::decode(const Piece& piece, const std::stop_token& stop) {
    Batch batch(piece.tokens.size());
    for (std::size_t index = 0; index < piece.tokens.size(); ++index) {
        const bool isScored = piece.isScored && index + 1 == piece.tokens.size();
        batch.add(piece.tokens[index], piece.position + index, piece.sequence, isScored);
    }
    std::stop_token stopped = stop;
    llama_set_abort_callback(context_.get(), isStopped, &stopped);
    const std::int32_t status = stop.stop_requested() ? 2 : llama_decode(context_.get(), batch.batch);
    llama_set_abort_callback(context_.get(), nullptr, nullptr);
    if (status == 0) {
        return;
    }
    if (piece.sequence == promptSequence) {
        forgetAfter(piece.position);
    }
    throw stop.stop_requested() ? LanguageEngineError::cancelled()
                                : LanguageEngineError("The language model could not read the transcript.");
}

LlamaContext::Context LlamaContext::makeContext(std::size_t length) const {
    llama_context_params parameters = llama_context_default_params();
    parameters.n_ctx = static_cast<std::uint32_t>(length);
    parameters.n_batch = static_cast<std::uint32_t>(std::max(greatestGap, batchLength_));
    parameters.n_ubatch = static_cast<std::uint32_t>(batchLength_);
    parameters.n_outputs_max = sequenceCount;
    parameters.n_seq_max = sequenceCount;
    parameters.kv_unified = true;
    parameters.n_threads = threads_;
    parameters.n_threads_batch = threads_;
    Context context(llama_init_from_model(model_.get(), parameters));
    if (!context || llama_get_memory(context.get()) == nullptr) {
        throw LanguageEngineError(
            "There is not enough memory for the language model. Close other programs, or choose a "
            "smaller model in the settings.",
            EngineLack::memory);
    }
    return context;
}

} // namespace talkledger
