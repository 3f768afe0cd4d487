// What the rule-based summary and the model's prompt of a long meeting cost: processor milliseconds at three quarters
// of an hour, three and twelve hours of speech in each language, and how the time per hour grows from the shortest to
// the longest (linear is 1; at most 2 is asked for; the exit status tells).

#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Summary/SalesSummaryBuilder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace talkledger;

constexpr double kMeetingHours[] = {0.75, 3, 12};
constexpr double kGrowthLimit = 2;
constexpr int kRounds = 7;

/// Phrases of a language with what the summary looks for among them, and how many of them an hour of speech holds.
struct Language {
    std::string_view name;
    std::vector<std::string_view> phrases;
    int phrasesPerHour;
};

const Language kEnglish{
    .name = "English",
    .phrases = {"we decided to start the trial in April.", "the current issue is manual reporting in three offices,",
                "I will send the deck tomorrow.", "our budget approved for June is fixed,",
                "tell me more about the Salesforce integration.", "and the rest of it, as far as I can see, is fine.",
                "the open question is who pays?", "so that’s what they told us last week,"},
    .phrasesPerHour = 1200};

const Language kJapanese{.name = "Japanese",
                         .phrases = {"決定事項としてトライアルを開始します。", "それは少し考えさせてください、",
                                     "アクションアイテムとして資料を送付します。", "確認事項はだれが払うのかです。",
                                     "来月の予算は１２０万円くらいでしょうか？", "はい、ありがとうございます。"},
                         .phrasesPerHour = 1200};

const Language kMixed{.name = "both, with emoji",
                      .phrases = {"決定事項として trial を開始します 👍🏽。",
                                  "the current issue is 手作業の reporting,",
                                  "アクションアイテムとして資料を送付します。", "I will café で話します.",
                                  "budget approved for June です！", "👨‍👩‍👧 はい、OK。"},
                      .phrasesPerHour = 1200};

TranscriptDocument meeting(const Language& language, double hours) {
    constexpr int phrasesPerSegment = 3;
    std::mt19937 random(5);
    TranscriptDocument document;
    const int segmentCount = static_cast<int>(hours * language.phrasesPerHour) / phrasesPerSegment;
    for (int index = 0; index < segmentCount; ++index) {
        std::string text;
        for (int count = 0; count < phrasesPerSegment; ++count) {
            text.append(language.phrases[random() % language.phrases.size()]).append(" ");
        }
        const AudioChannel channel = random() % 2 == 0 ? AudioChannel::mic : AudioChannel::speaker;
        document.segments.emplace_back(channel, structuralSpeakerRole(channel), index * 3600 * hours / segmentCount, 5,
                                       text, TranscriptSegmentStatus::final);
    }
    return document;
}

/// The fastest of several rounds: what disturbs a round only ever makes it slower.
template <typename Work>
double processorMilliseconds(const Work& work) {
    double fastest = std::numeric_limits<double>::max();
    for (int round = 0; round < kRounds; ++round) {
        const std::clock_t begin = std::clock();
        work();
        fastest = std::min(fastest, 1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    }
    return fastest;
}

/// Prints a line, and returns whether the time is linear enough.
template <typename Work>
bool measure(std::string_view what, const Language& language, const Work& work) {
    std::vector<double> perHour;
    std::printf("  %-8.*s %-18.*s", static_cast<int>(what.size()), what.data(), static_cast<int>(language.name.size()),
                language.name.data());
    for (const double hours : kMeetingHours) {
        const TranscriptDocument document = meeting(language, hours);
        const double milliseconds = processorMilliseconds([&] { work(document); });
        perHour.push_back(milliseconds / hours);
        std::printf(" %10.2f", milliseconds);
    }
    const double growth = perHour.back() / perHour.front();
    std::printf(" %10.2f\n", growth);
    return growth <= kGrowthLimit;
}

} // namespace

int main() {
    std::printf("summary of a meeting, processor milliseconds at %g, %g and %g hours, growth per hour (at most %g)\n",
                kMeetingHours[0], kMeetingHours[1], kMeetingHours[2], kGrowthLimit);
    std::size_t kept = 0;
    bool isLinear = true;
    for (const Language& language : {kEnglish, kJapanese, kMixed}) {
        isLinear &= measure("summary", language, [&](const TranscriptDocument& document) {
            kept += SalesSummaryBuilder().build(document).followUpEmailDraft.size();
        });
        isLinear &= measure("prompt", language, [&](const TranscriptDocument& document) {
            kept += FoundationModelsSalesSummaryGenerator::prompt(document).size();
        });
    }
    return isLinear && kept > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
