#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"

#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

/// Of the transcript in the prompt: the model's context is small, and the most recent speech matters most.
constexpr std::size_t maximumTranscriptCharacters = 12'000;

constexpr const char* instructions =
    "あなたは営業商談の議事録を作る営業支援アシスタントです。\n"
    "入力された文字起こしだけを根拠に、日本語で簡潔に構造化してください。\n"
    "推測で事実を補わず、該当内容がない項目は空配列にしてください。\n"
    "フォローアップメール案は、次アクションと未解決事項を確認する短い営業メールにしてください。";

constexpr const char* promptHead = "以下は営業商談の文字起こしです。\n"
                                   "\n"
                                   "抽出する項目:\n"
                                   "- overview: 商談全体の概要を1から2文で要約\n"
                                   "- decisions: 決定事項\n"
                                   "- customerPains: 顧客課題\n"
                                   "- decisionCriteria: 顧客の判断基準\n"
                                   "- budgetSignals: 予算・時期・稟議に関する発言\n"
                                   "- objections: 懸念・反論\n"
                                   "- nextActions: 次アクション\n"
                                   "- unresolvedQuestions: 未解決の問い\n"
                                   "- followUpEmailDraft: 商談後に送れる短いフォローアップメール案\n"
                                   "\n"
                                   "文字起こし:\n";

std::string unavailableReason(const LanguageModelAvailability& availability) {
    if (availability.lack) {
        return description(*availability.lack);
    }
    switch (availability.reason) {
    case UnavailableReason::deviceNotEligible:
        return "this Mac is not eligible for Apple Intelligence.";
    case UnavailableReason::appleIntelligenceNotEnabled:
        return "Apple Intelligence is not enabled.";
    case UnavailableReason::modelNotReady:
        return "the on-device model is not ready yet.";
    case UnavailableReason::unknown:
        break;
    }
    return "unknown reason.";
}

/// Empty for a blank segment.
std::string promptLine(const TranscriptSegment& segment) {
    const std::string spoken = text::trimmed(segment.text);
    if (spoken.empty()) {
        return {};
    }
    const std::string role = segment.role == SpeakerRole::customer ? "customer" : "sales";
    const std::string status = segment.status == TranscriptSegmentStatus::final ? "final" : "partial";
    return "[" + FoundationModelsSalesSummaryGenerator::timestamp(segment.startTime) + "] " + role + " " + status +
           ": " + spoken;
}

} // namespace

FoundationSummaryGeneratorError::FoundationSummaryGeneratorError(Case failure, std::string reason)
    : std::runtime_error("Foundation Models is unavailable: " + reason),
      failure_(failure),
      reason_(std::move(reason)) {}

FoundationSummaryGeneratorError FoundationSummaryGeneratorError::unavailable(std::string reason) {
    return {Case::unavailable, std::move(reason)};
}

FoundationModelsSalesSummaryGenerator::FoundationModelsSalesSummaryGenerator(SystemLanguageModel& model,
                                                                             SummaryStage stage)
    : model_(model), stage_(stage) {}

Task<SalesSummary> FoundationModelsSalesSummaryGenerator::summary(TranscriptDocument forTranscript) {
    const std::string question = prompt(forTranscript);
    if (question.empty()) {
        co_return SalesSummary();
    }
    const LanguageModelAvailability availability = model_.availability();
    if (!availability.isAvailable) {
        throw FoundationSummaryGeneratorError::unavailable(unavailableReason(availability));
    }
    const std::unique_ptr<LanguageModelSession> session = model_.makeSession(instructions);
    const GenerationSchema schema = GeneratedSalesSummary::generationSchema();
    const GenerationOptions options{.sampling = GenerationSampling::greedy,
                                    .temperature = 0.1,
                                    .maximumResponseTokens = 900,
                                    .isProvisional = stage_ == SummaryStage::live};
    const std::string answer = co_await session->respond(question, schema, true, options);
    JsonSource source{.name = "The language model's answer", .advice = "Choose another model in the settings."};
    co_return decodeJson<GeneratedSalesSummary>(answer, std::move(source)).salesSummary();
}

std::string FoundationModelsSalesSummaryGenerator::prompt(const TranscriptDocument& forTranscript) {
    std::string lines;
    for (const TranscriptSegment& segment : forTranscript.segments) {
        const std::string line = promptLine(segment);
        if (!line.empty()) {
            lines += (lines.empty() ? "" : "\n") + line;
        }
    }
    if (lines.empty()) {
        return {};
    }
    return promptHead + text::suffix(lines, maximumTranscriptCharacters);
}

std::string FoundationModelsSalesSummaryGenerator::timestamp(double startTime) {
    // The greatest number that whole seconds in 64 bits hold.
    constexpr double latest = 9'223'372'036'854'774'784.0;
    const double seconds = std::isnan(startTime) ? 0 : std::clamp(startTime, 0.0, latest);
    const auto wholeSeconds = static_cast<std::int64_t>(seconds);
    std::array<char, 32> printed{};
    std::snprintf(printed.data(), printed.size(), "%02lld:%02lld", static_cast<long long>(wholeSeconds / 60),
                  static_cast<long long>(wholeSeconds % 60));
    return printed.data();
}

} // namespace talkledger
