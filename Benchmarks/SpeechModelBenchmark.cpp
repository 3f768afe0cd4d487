// What it costs to recognise a meeting's two tracks with a speech model of the size "base", against the engine's own
// command-line tool on one file after the other with the same threads; the memory for it; and how soon a live result is
// there. The model says the same to everything, so that both have the same words to decode. The exit status tells
// whether what is asked for holds. The tool is what TALKLEDGER_WHISPER_TOOL names.
//
//   talkledger-speech-model-bench

#include "Support/ChildProcess.h"
#include "Support/OwnResources.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Support/Both.h"
#include "TalkledgerCore/Transcription/AnalyzerInputStream.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"
#include "TalkledgerPlatform/Worker/WorkerSettings.h"
#include "TalkledgerWorkers/SpeechModelWriter.h"
#include "TalkledgerWorkers/SpokenAudio.h"
#include "TalkledgerWorkers/Transcriber/UtteranceFinder.h"
#include "TalkledgerWorkers/Transcriber/VoiceDetector.h"
#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace talkledger;
using talkledger::testing::Samples;
using talkledger::testing::operator+; // NOLINT(misc-unused-using-decls): the check overlooks operators

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double kMeetingSeconds = 90;
constexpr int kRuns = 1;

bool check(const char* name, double value, const char* unit, bool holds, const char* bound) {
    std::printf("  %-34s %9.2f %-3s %s%s\n", name, value, unit, bound, holds ? "" : "  <-- not so");
    return holds;
}

double seconds(const Samples& samples) {
    return static_cast<double>(samples.size()) / StreamAudio::sampleRate;
}

Samples spoken(const std::string& voice) {
    Samples samples;
    for (const char* sentence : {"Thank you for taking the time to meet with us today.",
                                 "We have a budget of twenty thousand dollars for this year.",
                                 "I will send you the proposal by Friday afternoon.",
                                 "Please share the security report before the meeting."}) {
        samples = std::move(samples) + testing::speak(voice, sentence);
    }
    return samples;
}

/// Speech again and again, each time followed by as much silence as is asked for.
Samples track(const std::string& voice, bool isHalfSilent) {
    const Samples turn = spoken(voice);
    Samples samples;
    while (seconds(samples) < kMeetingSeconds) {
        samples = std::move(samples) + turn;
        if (isHalfSilent) {
            samples = std::move(samples) + testing::silence(seconds(turn));
        }
    }
    return samples;
}

Task<std::monostate> collect(SpeechAnalyzer& analyzer, std::size_t& results) {
    while ((co_await analyzer.nextResult()).has_value()) {
        ++results;
    }
    co_return std::monostate();
}

Task<std::monostate> analyze(SpeechAnalyzer& analyzer, std::filesystem::path path) {
    SpeechInputFile file{.path = std::move(path), .startTime = 0, .progress = {}};
    co_await analyzer.start(std::move(file));
    co_await analyzer.finalizeAndFinishThroughEndOfInput();
    co_return std::monostate();
}

/// What a worker has used until now.
struct Use {
    double memory{0};    ///< at most, megabytes
    Seconds processor{}; ///< of all its threads
};

Use useOf(pid_t worker) {
    const std::string process = "/proc/" + std::to_string(worker);
    Use use;
    std::ifstream status(process + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            use.memory = std::stod(line.substr(line.find(':') + 1)) / 1000;
        }
    }
    std::ifstream stat(process + "/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string passed;
    for (int field = 0; field < 11; ++field) {
        fields >> passed;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    use.processor = Seconds((user + system) / static_cast<double>(sysconf(_SC_CLK_TCK)));
    return use;
}

class SpeechModelBenchmark {
public:
    SpeechModelBenchmark(std::filesystem::path tool, int threads) : tool_(std::move(tool)), threads_(threads) {
        std::filesystem::create_directory(folder_ / "base");
        std::filesystem::create_directory(folder_ / "small");
        testing::writeModel(folder_ / "base/ggml-base.bin", {.width = 512, .heads = 8, .layers = 6});
        testing::writeModel(folder_ / "small/ggml-small.bin");
    }

    bool compare(bool isHalfSilent, double mostShare, const char* bound) {
        testing::writeWav(folder_ / "mic.wav", track("rms", isHalfSilent));
        testing::writeWav(folder_ / "speaker.wav", track("slt", isHalfSilent));
        Seconds ours = Seconds::max();
        Seconds theirs = Seconds::max();
        Seconds theirProcessor = Seconds::max();
        Use use{.memory = 0, .processor = Seconds::max()};
        for (int run = 0; run < kRuns; ++run) {
            const auto began = Clock::now();
            theirProcessor = std::min<Seconds>(theirProcessor, runTool("mic.wav") + runTool("speaker.wav"));
            const auto between = Clock::now();
            const Use used = transcribeBoth();
            use = {std::max(use.memory, used.memory), std::min(use.processor, used.processor)};
            theirs = std::min<Seconds>(theirs, between - began);
            ours = std::min<Seconds>(ours, Clock::now() - between);
        }
        std::printf("Two tracks of %.0f s, %s, %d threads\n", kMeetingSeconds,
                    isHalfSilent ? "each half silent" : "speech only", threads_);
        check("the engine's tool", theirs.count(), "s", true, "");
        check("its processor time", theirProcessor.count(), "s", true, "");
        check("both tracks at once", ours.count(), "s", true, "");
        check("their processor time", use.processor.count(), "s", true, "");
        bool holds = check("share", ours / theirs, "", ours / theirs <= mostShare, bound);
        const double model = static_cast<double>(std::filesystem::file_size(folder_ / "base/ggml-base.bin")) / 1e6;
        constexpr double mostBesides = 220;
        holds &= check("memory besides the model", use.memory - model, "MB", use.memory - model <= mostBesides,
                       "at most 220");
        return holds;
    }

    /// With a model that takes no time to speak of.
    bool measureLatency() {
        const Samples speech = testing::speak("rms", "We have a budget of twenty thousand dollars for this year.");
        const Samples samples = testing::silence(1) + speech + testing::silence(2);
        WorkerSpeechRecognition recognition(settings("small"));
        const auto analyzer =
            recognition.makeAnalyzer({.locale = "en_US", .reportingOptions = {SpeechReportingOption::volatileResults}});
        const std::optional<AudioFormat> best =
            testing::runTask(context_, recognition.bestAvailableAudioFormat({.locale = "en_US"}, AudioFormat()));
        if (!best) {
            throw std::runtime_error("The recogniser takes no audio.");
        }
        const AudioFormat format = *best;
        testing::runTask(context_, analyzer->prepareToAnalyze(format));
        const auto inputs = std::make_shared<AnalyzerInputStream>();
        testing::runTask(context_, analyzer->start(inputs));

        Clock::time_point began;
        std::jthread capture([&] {
            began = Clock::now();
            constexpr std::size_t piece = StreamAudio::sampleRate / 50;
            for (std::size_t first = 0; first + piece <= samples.size(); first += piece) {
                std::this_thread::sleep_until(
                    began + std::chrono::duration_cast<Clock::duration>(
                                Seconds(static_cast<double>(first + piece) / StreamAudio::sampleRate)));
                AudioBuffer buffer{.format = format, .frameLength = piece, .time = {}, .samples = {}};
                buffer.samples.resize(piece * sizeof(std::int16_t));
                std::memcpy(buffer.samples.data(), samples.data() + first, buffer.samples.size());
                inputs->yield({.buffer = std::make_shared<const AudioBuffer>(std::move(buffer)),
                               .bufferStartTime = static_cast<double>(first) / StreamAudio::sampleRate});
            }
            inputs->finish();
        });
        std::optional<double> firstPartial;
        std::optional<double> final;
        while (!final) {
            const auto result = testing::runTask(context_, analyzer->nextResult());
            if (!result) {
                throw std::runtime_error("There was no final result.");
            }
            const double time = Seconds(Clock::now() - began).count();
            std::optional<double>& told = result->isFinal ? final : firstPartial;
            told = told ? told : time;
        }
        capture.join();
        std::puts("Live, with a model that takes hardly any time");
        check("voice to the first partial", (firstPartial.value_or(*final) - 1) * 1000, "ms", true, "");
        check("end of speech to the final", (*final - 1 - seconds(speech)) * 1000, "ms", true, "");
        const double computing = computingTime(samples);
        check("of it, the engine's computing", computing * 1000, "ms", true, "");
        const double transport = (*final - noticedAt(samples) - computing) * 1000;
        return check("of it, way and waiting", transport, "ms", transport <= 30, "at most 30");
    }

private:
    WorkerSpeechRecognition::Settings settings(const char* models) const {
        WorkerSpeechRecognition::Settings settings{.worker = {}, .desktopLocale = "en_US"};
        settings.worker.program = workerProgram("talkledger-transcriber");
        settings.installedModels = folder_ / models;
        return settings;
    }

    /// Returns its processor time.
    Seconds runTool(const char* file) const {
        testing::ChildProcess tool(
            {.arguments = {tool_, "-m", folder_ / "base/ggml-base.bin", "-f", folder_ / file, "-l", "en", "-t",
                           std::to_string(threads_), "-bs", "1", "-bo", "2", "-np"},
             .environment = {},
             .workingDirectory = {}});
        if (tool.wait(std::chrono::minutes(30)) != 0) {
            throw std::runtime_error("The engine's tool failed: " + tool.standardError());
        }
        return tool.processorTime();
    }

    Use transcribeBoth() {
        WorkerSpeechRecognition recognition(settings("base"));
        const auto mic = recognition.makeAnalyzer({.locale = "en_US"});
        const auto speaker = recognition.makeAnalyzer({.locale = "en_US"});
        std::size_t results = 0;
        testing::runTask(context_, both(both(collect(*mic, results), analyze(*mic, folder_ / "mic.wav")),
                                        both(collect(*speaker, results), analyze(*speaker, folder_ / "speaker.wav"))));
        if (results == 0) {
            throw std::runtime_error("Nothing was recognised.");
        }
        return useOf(testing::children().at(0));
    }

    /// What it takes to recognise the one utterance in the samples, seconds; the least of some attempts.
    double computingTime(const Samples& samples) {
        WhisperEngines engines;
        const auto engine = engines.make({.locale = "en_US", .model = folder_ / "small/ggml-small.bin"});
        Seconds least = Seconds::max();
        for (int run = 0; run < 5; ++run) {
            engine->begin(SpeechReporting::finalSegments, [](const SpeechSegment&) {}, {});
            engine->append(samples);
            const auto began = Clock::now();
            engine->finish();
            least = std::min<Seconds>(least, Clock::now() - began);
        }
        return least.count();
    }

    /// When the detector has heard enough to know that the utterance has ended, seconds of the stream.
    static double noticedAt(const Samples& samples) {
        UtteranceFinder finder(std::make_unique<VoiceDetector>(), 15);
        bool hasEnded = false;
        finder.begin([&](const Utterance&) { hasEnded = true; });
        constexpr std::size_t piece = StreamAudio::sampleRate / 50;
        std::size_t heard = 0;
        while (!hasEnded && heard + piece <= samples.size()) {
            finder.append(std::span(samples).subspan(heard, piece));
            heard += piece;
        }
        return static_cast<double>(heard) / StreamAudio::sampleRate;
    }

    const testing::TemporaryFolder folder_;
    const std::filesystem::path tool_;
    const int threads_;
    boost::asio::io_context context_; ///< outlives the recognitions, whose threads resume what runs here
};

} // namespace

int main() {
    try {
        const char* const tool =
            std::getenv("TALKLEDGER_WHISPER_TOOL"); // NOLINT(concurrency-mt-unsafe): one thread yet
        if (tool == nullptr) {
            throw std::runtime_error(
                "set TALKLEDGER_WHISPER_TOOL to what 'scripts/engine tool whisper whisper-cli' prints.");
        }
        SpeechModelBenchmark benchmark(tool, static_cast<int>(std::max(1U, std::thread::hardware_concurrency())));
        bool holds = benchmark.measureLatency();
        holds &= benchmark.compare(true, 0.6, "at most 0.60");
        holds &= benchmark.compare(false, 1.05, "at most 1.05");
        return holds ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::cerr << "talkledger-speech-model-bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
