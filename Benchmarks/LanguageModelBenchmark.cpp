// What a live summary costs with a language model of a billion parameters' dimensions, though of few layers and with
// random weights: reading a meeting that went on for half a minute against reading the same from its beginning (at
// least 8 times faster is asked for), the same when the window of its last words slid; the grammar's share of the time
// of a written token (at most 5 %, and a model with all its layers takes longer for the rest); and how soon a request
// that is cancelled ends (200 ms). Processor milliseconds but for the last. The exit status tells.

#include "Fakes/FakeLanguageModel.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestLanguageModel.h"
#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerWorkers/Summarizer/AnswerWriter.h"
#include "TalkledgerWorkers/Summarizer/LanguageEngine.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <set>
#include <string>
#include <string_view>
#include <thread>

namespace {

using namespace talkledger;

constexpr int kThreads = 1;
constexpr double kSmallestGain = 8;
constexpr double kLargestGrammarShare = 0.05;
constexpr double kLongestCancelling = 200;

/// About what is said in half a minute; of a length that makes the meeting's lines differ.
constexpr std::array<std::string_view, 4> kHalfMinute = {
    "在庫の集計に毎月一週間かかっていて、締め日の前は残業が続いてしまうという声が現場から出ています。",
    "まず三店舗で試していただいて、集計にかかる時間がどれだけ減るかを一緒に確認できればと思います。",
    "予算は来期の分として承認されていますが、セキュリティの審査に通ることが条件になります。",
    "承知しました。審査に必要な資料と月額プランの見積もりを、来週の火曜日までにお送りします。"};

TranscriptDocument meeting(int halfMinutes) {
    constexpr double pace = 7.5;
    TranscriptDocument document;
    for (int half = 0; half < halfMinutes; ++half) {
        for (const std::string_view said : kHalfMinute) {
            const AudioChannel channel = document.segments.size() % 2 == 0 ? AudioChannel::speaker : AudioChannel::mic;
            document.segments.push_back({channel, structuralSpeakerRole(channel),
                                         pace * static_cast<double>(document.segments.size()), pace, std::string(said),
                                         TranscriptSegmentStatus::final});
        }
    }
    return document;
}

/// As the program asks for a live summary of that much of the meeting, though for no answer.
AskModel question(const std::filesystem::path& file, int halfMinutes) {
    testing::FakeLanguageModel model;
    const AnswerGrammar grammar(GeneratedSalesSummary::generationSchema());
    model.answer = AnswerCursor(grammar).closing();
    FoundationModelsSalesSummaryGenerator generator(model, SummaryStage::live);
    testing::runTask(generator.summary(meeting(halfMinutes)));
    return {.request = 1,
            .model = file,
            .instructions = model.instructions,
            .prompt = model.prompt,
            .schema = model.schema,
            .includesSchema = model.schemaIsIncluded,
            .maximumTokens = 1,
            .isProvisional = model.options.isProvisional};
}

/// Words of Latin letters, and all other characters: about what the vocabularies of today make of a Japanese prompt.
std::vector<std::string> pieces(std::string_view text) {
    std::set<std::string> found;
    const auto isLetter = [](char byte) { return std::isalpha(static_cast<unsigned char>(byte)) != 0; };
    const auto continuesCharacter = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; };
    while (!text.empty()) {
        const auto* const end = isLetter(text.front())
                                    ? std::find_if_not(text.begin(), text.end(), isLetter)
                                    : std::find_if_not(text.begin() + 1, text.end(), continuesCharacter);
        const auto length = static_cast<std::size_t>(end - text.begin());
        if (length > 1) {
            found.emplace(text.substr(0, length));
        }
        text.remove_prefix(length);
    }
    return {found.begin(), found.end()};
}

testing::LanguageModelShape shape() {
    const AskModel example = question({}, 1);
    return {.embeddingLength = 2048,
            .headCount = 32,
            .keyHeadCount = 8,
            .layerCount = 1,
            .feedForwardLength = 8192,
            .contextLength = 16384,
            .wordCount = 128'000,
            .isQuantized = true,
            .pieces = pieces(example.instructions + schemaText(example.schema) + example.prompt)};
}

template <typename Work>
double processorMilliseconds(const Work& work) {
    const std::clock_t begin = std::clock();
    work();
    return 1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

class RefreshMeasurement {
public:
    explicit RefreshMeasurement(std::filesystem::path file) : file_(std::move(file)) {}

    bool run() {
        constexpr int eightMinutes = 16;
        const int fullWindow = halfMinutesOfAWindow();
        const bool isGrownFast = refresh("8 min", eightMinutes);
        const bool isSlidFast = refresh("window that slid", fullWindow);
        return isGrownFast && isSlidFast;
    }

private:
    /// From there to half a minute later.
    bool refresh(const char* name, int halfMinutes) {
        read(halfMinutes);
        const double warm = report(std::string(name) + ", 30 s more", halfMinutes + 1);
        engine_.unload();
        const double cold = report(std::string(name) + ", from the beginning", halfMinutes + 1);
        std::printf("  %-37s %8.1f (at least %g)\n", "gain", cold / warm, kSmallestGain);
        return cold / warm >= kSmallestGain;
    }

    double report(const std::string& name, int halfMinutes) {
        ModelAnswer answer;
        engine_.load(file_, {});
        const double time = processorMilliseconds([&] { answer = read(halfMinutes); });
        std::printf("  %-37s %8.0f ms, %5lld of %5lld tokens reused\n", name.c_str(), time,
                    static_cast<long long>(answer.reusedTokens), static_cast<long long>(answer.promptTokens));
        return time;
    }

    ModelAnswer read(int halfMinutes) { return engine_.answer(question(file_, halfMinutes), {}); }

    /// The transcript's beginning is not in the prompt any more.
    int halfMinutesOfAWindow() const {
        int halfMinutes = 1;
        while (question(file_, halfMinutes).prompt.find("[00:00]") != std::string::npos) {
            ++halfMinutes;
        }
        return halfMinutes;
    }

    std::filesystem::path file_;
    LanguageEngine engine_{kThreads};
};

bool measureGrammar(const LlamaModel& model) {
    constexpr int rounds = 20;
    const AnswerGrammar grammar(GeneratedSalesSummary::generationSchema());
    LlamaContext context(model, kThreads);
    const Tokens said = model.tokenize(kHalfMinute[0]);
    context.read(said, rounds, LlamaContext::Reading::exact, {});
    double reading = 0;
    for (int round = 0; round < rounds; ++round) {
        reading += processorMilliseconds([&] { context.append(std::span(said).subspan(0, 1), {}); }) / rounds;
    }
    bool isSmall = true;
    for (const auto& [place, text] : {std::pair("in a string", R"({"overview":"We)"),
                                      {"where a list begins", R"({"overview":"We","decisions":[)"}}) {
        AnswerCursor cursor(grammar);
        cursor.advance(text);
        double choosing = 0;
        for (int round = 0; round < rounds; ++round) {
            choosing +=
                processorMilliseconds([&] { AnswerWriter::likeliest(model, context.scores(), cursor); }) / rounds;
        }
        const double share = choosing / (reading + choosing);
        std::printf("  %-37s %8.2f ms of %.1f ms for a token: %.1f %% (at most %g %%)\n", place, choosing,
                    reading + choosing, 100 * share, 100 * kLargestGrammarShare);
        isSmall &= share <= kLargestGrammarShare;
    }
    return isSmall;
}

/// Stops the request after a while; how long it goes on then, or nothing when it had ended.
double millisecondsToStop(LanguageEngine& engine, const AskModel& asked, std::chrono::milliseconds after) {
    using Clock = std::chrono::steady_clock;
    std::stop_source stop;
    Clock::time_point stopped;
    std::jthread canceller([&] {
        std::this_thread::sleep_for(after);
        stopped = Clock::now();
        stop.request_stop();
    });
    try {
        engine.answer(asked, stop.get_token());
        return 0;
    } catch (const LanguageEngineError&) {
        const Clock::time_point end = Clock::now();
        canceller.join();
        return std::chrono::duration<double, std::milli>(end - stopped).count();
    }
}

bool measureCancelling(const std::filesystem::path& file) {
    constexpr int rounds = 6;
    AskModel asked = question(file, 16);
    asked.maximumTokens = 900;
    double whileReading = 0;
    for (int round = 1; round <= rounds; ++round) {
        LanguageEngine engine(kThreads);
        const std::chrono::milliseconds after(170 * round);
        whileReading = std::max(whileReading, millisecondsToStop(engine, asked, after));
    }
    double whileWriting = 0;
    LanguageEngine engine(kThreads);
    engine.answer(question(file, 16), {});
    for (int round = 1; round <= rounds; ++round) {
        const std::chrono::milliseconds after(170 * round);
        whileWriting = std::max(whileWriting, millisecondsToStop(engine, asked, after));
    }
    std::printf("  %-37s %8.0f ms (at most %g)\n", "cancelled while it reads", whileReading, kLongestCancelling);
    std::printf("  %-37s %8.0f ms (at most %g)\n", "cancelled while it writes", whileWriting, kLongestCancelling);
    return std::max(whileReading, whileWriting) <= kLongestCancelling;
}

} // namespace

int main() {
    const testing::TemporaryFolder folder;
    const std::filesystem::path file = folder / "model.gguf";
    const testing::LanguageModelShape measured = shape();
    testing::writeRandomLanguageModel(file, measured, 1);
    prepareLlama();
    std::printf("language model: %u wide, %u words, %u layer of random weights (16 would be 1.2 billion), %d thread\n",
                measured.embeddingLength, measured.wordCount, measured.layerCount, kThreads);
    const bool isFast = RefreshMeasurement(file).run();
    const bool isLight = measureGrammar(LlamaModel(file, LlamaModel::Weights::trusted, {}));
    const bool isObedient = measureCancelling(file);
    return isFast && isLight && isObedient ? EXIT_SUCCESS : EXIT_FAILURE;
}
