// What a language model writes where it has a choice, as far as the grammar lets it: wherever its answer is broken off,
// its end is found, and the summary in it can be read.
#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerWorkers/Summarizer/AnswerGrammar.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace talkledger;

class Writer {
public:
    /// Nothing happens when it cannot come next.
    void write(std::string_view text) {
        AnswerCursor next = cursor_;
        if (next.advance(text)) {
            cursor_ = next;
            answer_ += text;
        }
    }

    void writeForced() { write(cursor_.forced()); }

    std::string end() const {
        return answer_.substr(0, answer_.size() - cursor_.unfinishedLength()) + cursor_.closing();
    }

private:
    AnswerGrammar grammar_{GeneratedSalesSummary::generationSchema()};
    AnswerCursor cursor_{grammar_};
    std::string answer_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    Writer writer;
    writer.writeForced();
    for (std::size_t index = 0; index < size; ++index) {
        const auto byte = static_cast<char>(input[index]);
        writer.write({&byte, 1});
        writer.writeForced();
    }
    const auto summary = decodeJson<GeneratedSalesSummary>(writer.end(), {.name = "The answer", .advice = ""});
    constexpr std::size_t mostEntries = 8;
    for (const auto* list :
         {&summary.decisions, &summary.customerPains, &summary.decisionCriteria, &summary.budgetSignals,
          &summary.objections, &summary.nextActions, &summary.unresolvedQuestions}) {
        if (list->size() > mostEntries) {
            std::abort();
        }
    }
    return 0;
}
