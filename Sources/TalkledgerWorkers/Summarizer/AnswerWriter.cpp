#include "TalkledgerWorkers/Summarizer/AnswerWriter.h"

#include <algorithm>
#include <limits>
#include <span>

namespace talkledger {

AnswerWriter::AnswerWriter(const LlamaModel& model, LlamaContext& context, const AnswerGrammar& grammar)
    : model_(model), context_(context), cursor_(grammar) {}

std::string AnswerWriter::write(std::size_t mostTokens, const std::stop_token& stop) {
    while (!isClosed_ && !cursor_.isComplete()) {
        if (hasToClose(mostTokens) || !writeOn(stop)) {
            close();
        }
    }
    return text_;
}

/// False when there is nothing to go on with.
bool AnswerWriter::writeOn(const std::stop_token& stop) {
    const std::string forced = cursor_.forced();
    if (forced.empty()) {
        return writeLikeliest(stop);
    }
    writeForced(forced);
    return true;
}

/// A token may come as long as what closes the answer fits behind it, also when it is cut into a few tokens more.
bool AnswerWriter::hasToClose(std::size_t mostTokens) const {
    constexpr std::size_t reserve = 4;
    const std::string closing = cursor_.closing();
    const std::size_t room = mostTokens - std::min(mostTokens, tokenCount_ + reserve);
    return closing.size() > room && model_.tokenize(closing).size() > room;
}

/// Text without a choice costs no thinking: the model only reads it, all at once.
void AnswerWriter::writeForced(const std::string& text) {
    const Tokens tokens = model_.tokenize(text);
    unread_.insert(unread_.end(), tokens.begin(), tokens.end());
    tokenCount_ += tokens.size();
    text_ += text;
    cursor_.advance(text);
}

/// False when the model has no token that could come next.
bool AnswerWriter::writeLikeliest(const std::stop_token& stop) {
    context_.append(unread_, stop);
    unread_.clear();
    const std::optional<llama_token> token = likeliest(model_, context_.scores(), cursor_);
    if (!token) {
        return false;
    }
    text_ += model_.piece(*token);
    cursor_.advance(model_.piece(*token));
    unread_.push_back(*token);
    ++tokenCount_;
    return true;
}

/// Only what is likelier than the best so far is held against the grammar: mostly a handful of the vocabulary.
std::optional<llama_token> AnswerWriter::likeliest(const LlamaModel& model, std::span<const float> scores,
                                                   const AnswerCursor& cursor) {
    std::optional<llama_token> best;
    float greatest = -std::numeric_limits<float>::infinity();
    for (std::size_t index = 0; index < scores.size(); ++index) {
        const auto token = static_cast<llama_token>(index);
        const std::string& piece = model.piece(token);
        if (scores[index] > greatest && !piece.empty() && AnswerCursor(cursor).advance(piece)) {
            best = token;
            greatest = scores[index];
        }
    }
    return best;
}

void AnswerWriter::close() {
    const std::string closing = cursor_.closing();
    text_.resize(text_.size() - cursor_.unfinishedLength());
    text_ += closing;
    tokenCount_ += model_.tokenize(closing).size();
    isClosed_ = true;
}

} // namespace talkledger
