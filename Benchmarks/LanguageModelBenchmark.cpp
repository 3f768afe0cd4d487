// What a live summary costs with a language model of a billion parameters' dimensions, though of few layers and with
// random weights: reading a transcript that grew by half a minute of speech against reading all of it (at least 8 times
// faster is asked for), the same when its window slid; the grammar's share of the time of a written token (at most 5 %,
// and a model with all its layers takes longer for the rest); and how soon a request that is cancelled ends (200 ms).
// Processor milliseconds but for the last. The exit status tells.

#include "Support/TemporaryFolder.h"
#include "Support/TestLanguageModel.h"
#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerWorkers/Summarizer/AnswerWriter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <thread>

namespace {

using namespace talkledger;

constexpr testing::LanguageModelShape kShape{.embeddingLength = 2048,
                                             .headCount = 32,
                                             .keyHeadCount = 8,
                                             .layerCount = 2,
                                             .feedForwardLength = 8192,
                                             .contextLength = 8192,
                                             .wordCount = 128'000,
                                             .isQuantized = true};

// As the vocabularies of today cut them: instructions, schema and the prompt's head; speech at 150 words a minute with
// each line's time and speaker; what stands behind the transcript.
constexpr std::size_t kHeadTokens = 700;
constexpr std::size_t kTokensPerHalfMinute = 180;
constexpr std::size_t kTailTokens = 8;
constexpr std::size_t kHalfMinutes = 16;

constexpr std::size_t kAnswerRoom = 900;
constexpr int kThreads = 1;
constexpr double kSmallestGain = 8;
constexpr double kLargestGrammarShare = 0.05;
constexpr double kLongestCancelling = 200;

template <typename Work>
double processorMilliseconds(const Work& work) {
    const std::clock_t begin = std::clock();
    work();
    return 1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

Tokens words(std::size_t count, std::uint32_t seed) {
    constexpr llama_token firstWord = 300; // after the bytes
    std::mt19937 random(seed);
    Tokens tokens(count);
    std::generate(tokens.begin(), tokens.end(),
                  [&] { return firstWord + static_cast<llama_token>(random() % kShape.wordCount); });
    return tokens;
}

/// From one half minute of a meeting up to another.
Tokens prompt(std::size_t first, std::size_t last) {
    const Tokens meeting = words(2 * kHalfMinutes * kTokensPerHalfMinute, 2);
    const auto place = [&](std::size_t halfMinute) {
        return meeting.begin() + static_cast<std::ptrdiff_t>(halfMinute * kTokensPerHalfMinute);
    };
    Tokens tokens = words(kHeadTokens, 1);
    tokens.insert(tokens.end(), place(first), place(last));
    const Tokens tail = words(kTailTokens, 3);
    tokens.insert(tokens.end(), tail.begin(), tail.end());
    return tokens;
}

bool measureRefreshes(const LlamaModel& model) {
    using Reading = LlamaContext::Reading;
    LlamaContext context(model, kThreads);
    const auto read = [&](const Tokens& tokens) {
        std::size_t reused = 0;
        const double time =
            processorMilliseconds([&] { reused = context.read(tokens, kAnswerRoom, Reading::approximate, {}); });
        std::printf(" %8.0f ms, %5zu of %5zu tokens reused\n", time, reused, tokens.size());
        return time;
    };
    const Tokens grown = prompt(0, kHalfMinutes);
    std::printf("  %-32s", "reading all of the transcript");
    const double cold = read(grown);
    context.read(prompt(0, kHalfMinutes - 1), kAnswerRoom, Reading::exact, {});
    std::printf("  %-32s", "30 s of speech more");
    const double refresh = read(grown);
    std::printf("  %-32s", "30 s more, the window slid");
    const double slid = read(prompt(1, kHalfMinutes + 1));
    std::printf("  gain of a refresh %.1f, of one that slid %.1f (at least %g)\n", cold / refresh, cold / slid,
                kSmallestGain);
    return std::min(cold / refresh, cold / slid) >= kSmallestGain;
}

bool measureGrammar(const LlamaModel& model) {
    constexpr int rounds = 20;
    const AnswerGrammar grammar(GeneratedSalesSummary::generationSchema());
    LlamaContext context(model, kThreads);
    context.read(words(64, 4), kAnswerRoom, LlamaContext::Reading::exact, {});
    const Tokens answer = words(rounds, 5);
    double reading = 0;
    for (const llama_token token : answer) {
        reading += processorMilliseconds([&] { context.append(std::span(&token, 1), {}); }) / rounds;
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
        std::printf("  %-32s %8.2f ms of %.1f ms for a token: %.1f %% (at most %g %%)\n", place, choosing,
                    reading + choosing, 100 * share, 100 * kLargestGrammarShare);
        isSmall &= share <= kLargestGrammarShare;
    }
    return isSmall;
}

bool measureCancelling(const LlamaModel& model) {
    constexpr int rounds = 5;
    const Tokens tokens = prompt(0, kHalfMinutes);
    double longest = 0;
    for (int round = 1; round <= rounds; ++round) {
        LlamaContext context(model, kThreads);
        std::stop_source stop;
        std::chrono::steady_clock::time_point stopped;
        std::jthread canceller([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(170 * round));
            stopped = std::chrono::steady_clock::now();
            stop.request_stop();
        });
        try {
            context.read(tokens, kAnswerRoom, LlamaContext::Reading::exact, stop.get_token());
        } catch (const LanguageEngineError&) {
            const auto end = std::chrono::steady_clock::now();
            canceller.join();
            longest = std::max(longest, std::chrono::duration<double, std::milli>(end - stopped).count());
        }
    }
    std::printf("  %-32s %8.0f ms (at most %g)\n", "until a cancelled request ends", longest, kLongestCancelling);
    return longest <= kLongestCancelling;
}

} // namespace

int main() {
    const testing::TemporaryFolder folder;
    testing::writeRandomLanguageModel(folder / "model.gguf", kShape, 1);
    prepareLlama();
    const LlamaModel model(folder / "model.gguf", LlamaModel::Weights::trusted, {});
    std::printf("language model: %u wide, %u words, %u layers of random weights (16 would be 1.2 billion), %d thread\n",
                kShape.embeddingLength, kShape.wordCount, kShape.layerCount, kThreads);
    const bool isFast = measureRefreshes(model);
    const bool isLight = measureGrammar(model);
    const bool isObedient = measureCancelling(model);
    return isFast && isLight && isObedient ? EXIT_SUCCESS : EXIT_FAILURE;
}
