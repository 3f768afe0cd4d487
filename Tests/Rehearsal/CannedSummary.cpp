#include "Rehearsal/CannedSummary.h"

#include "Support/TestLanguageModel.h"

namespace talkledger::rehearsal {

#ifdef TALKLEDGER_LLAMA

bool hasLanguageModelEngine() {
    return true;
}

void installCannedSummary(const std::filesystem::path& models) {
    std::filesystem::create_directories(models);
    testing::writeCannedLanguageModel(models / "canned.gguf", testing::cannedSummary());
}

#else

bool hasLanguageModelEngine() {
    return false;
}

void installCannedSummary(const std::filesystem::path& /*models*/) {}

#endif

bool isCannedSummary(const SalesSummary& summary) {
    return summary.overview == testing::cannedOverview && summary.decisions.size() == 1 &&
           summary.decisions.front() == testing::cannedDecision;
}

} // namespace talkledger::rehearsal
