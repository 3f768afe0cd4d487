#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"

#include "TalkledgerCore/Support/Text.h"

#include <utility>

namespace talkledger {

namespace {

constexpr int maximumListCount = 8;

GenerationProperty textProperty(std::string name, std::string description) {
    return {.name = std::move(name), .description = std::move(description), .isList = false, .maximumCount = {}};
}

GenerationProperty listProperty(std::string name, std::string description) {
    return {.name = std::move(name),
            .description = std::move(description),
            .isList = true,
            .maximumCount = maximumListCount};
}

} // namespace

GenerationSchema GeneratedSalesSummary::generationSchema() {
    return {.type = "GeneratedSalesSummary",
            .description = "A structured Japanese summary of a sales meeting transcript.",
            .properties = {
                textProperty("overview", "商談全体の概要。1文から2文。"),
                listProperty("decisions", "商談中に合意済みの決定事項。ない場合は空配列。"),
                listProperty("customerPains", "顧客が明示した課題や困りごと。ない場合は空配列。"),
                listProperty("decisionCriteria", "顧客が導入判断で重視している条件。ない場合は空配列。"),
                listProperty("budgetSignals", "予算、時期、稟議、導入枠に関する発言。ない場合は空配列。"),
                listProperty("objections", "顧客の懸念、反論、リスク、確認事項。ない場合は空配列。"),
                listProperty("nextActions", "商談後に誰かが実行すべき次アクション。ない場合は空配列。"),
                listProperty("unresolvedQuestions", "未解決の問い、後で確認すべき事項。ない場合は空配列。"),
                textProperty("followUpEmailDraft", "商談後に送れる短いフォローアップメール案。"),
            }};
}

SalesSummary GeneratedSalesSummary::salesSummary() const {
    return {.overview = text::trimmed(overview),
            .decisions = cleanList(decisions),
            .customerPains = cleanList(customerPains),
            .decisionCriteria = cleanList(decisionCriteria),
            .budgetSignals = cleanList(budgetSignals),
            .objections = cleanList(objections),
            .nextActions = cleanList(nextActions),
            .unresolvedQuestions = cleanList(unresolvedQuestions),
            .followUpEmailDraft = text::trimmed(followUpEmailDraft)};
}

std::vector<std::string> GeneratedSalesSummary::cleanList(const std::vector<std::string>& entries) {
    std::vector<std::string> cleaned;
    for (const std::string& entry : entries) {
        std::string trimmed = text::trimmed(entry);
        if (!trimmed.empty()) {
            cleaned.push_back(std::move(trimmed));
        }
    }
    return cleaned;
}

template <>
GeneratedSalesSummary fromJson(const JsonReader& reader) {
    return {.overview = reader.required("overview").string(),
            .decisions = reader.required("decisions").strings(),
            .customerPains = reader.required("customerPains").strings(),
            .decisionCriteria = reader.required("decisionCriteria").strings(),
            .budgetSignals = reader.required("budgetSignals").strings(),
            .objections = reader.required("objections").strings(),
            .nextActions = reader.required("nextActions").strings(),
            .unresolvedQuestions = reader.required("unresolvedQuestions").strings(),
            .followUpEmailDraft = reader.required("followUpEmailDraft").string()};
}

} // namespace talkledger
