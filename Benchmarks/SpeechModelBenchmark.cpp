// What it costs to recognise a meeting's two tracks with a speech model of the size "base", against the engine's own
// command-line tool on one file after the other with the same threads; the memory for it; how soon a live result is
// there, and how soon work ends that nobody wants any more. The weights are random, but for the decoder's last ones:
// these say a sentence that fills whatever is heard in one piece, so that both have about as many words to decode. The
// exit status tells whether what is asked for holds. The tool is what TALKLEDGER_WHISPER_TOOL names.
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
#include "TalkledgerWorkers/Transcriber/SpeechWindow.h"
#include "TalkledgerWorkers/Transcriber/UtteranceFinder.h"
#include "TalkledgerWorkers/Transcriber/VoiceDetector.h"
#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"
#include "TalkledgerWorkers/Transcriber/WhisperModel.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <memory>
#include <optional>
#include <span>
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
constexpr int kRuns = 2;

constexpr double kWordsPerSecond = 2.5;
constexpr double kToolPiece = 30; // seconds that the tool hears at once

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

/// Somebody speaks all the time, or in turns that fill half of it.
Samples track(const std::string& voice, bool isHalfSilent) {
    const auto length = static_cast<std::size_t>(kMeetingSeconds * StreamAudio::sampleRate);
    const Samples once = spoken(voice);
    Samples speech;
    while (speech.size() < length) {
        speech = std::move(speech) + once;
    }
    speech.resize(length);
    const std::size_t turn = isHalfSilent ? length / 8 : length;
    for (std::size_t place = turn; place < length; place += 2 * turn) {
        std::fill_n(speech.begin() + static_cast<std::ptrdiff_t>(place), turn, std::int16_t{0});
    }
    return speech;
}

/// A model of the size "base" that hears so many seconds of speech in each piece.
void writeBaseModel(const std::filesystem::path& path, double speechInPiece) {
    testing::CannedModel model{.words = {}, .duration = kToolPiece, .width = 512, .heads = 8, .layers = 6};
    for (int word = 0; word < speechInPiece * kWordsPerSecond; ++word) {
        model.words.push_back(" word" + std::to_string(word));
    }
    testing::writeModel(path, model);
}

/// What of a track is recognised.
struct Heard {
    double speech{0}; ///< seconds
    int pieces{0};    ///< that it is heard in
};

Heard operator+(const Heard& first, const Heard& second) {
    return {.speech = first.speech + second.speech, .pieces = first.pieces + second.pieces};
}

Heard heardIn(const Samples& samples) {
    Heard heard;
    SpeechWindow window;
    UtteranceFinder finder(std::make_unique<VoiceDetector>(), WhisperState::longestPiece);
    finder.begin([&](const Utterance& utterance) {
        if (window.isEmpty() || !window.hasRoomFor(utterance)) {
            window = {};
            ++heard.pieces;
        }
        window.append(utterance);
        heard.speech += static_cast<double>(utterance.spoken) / StreamAudio::sampleRate;
    });
    finder.append(samples);
    finder.finish();
    return heard;
}

std::size_t wordsIn(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t place = text.find("word"); place != std::string::npos; place = text.find("word", place + 1)) {
        ++count;
    }
    return count;
}

Task<std::monostate> collect(SpeechAnalyzer& analyzer, std::string& text) {
    for (auto result = co_await analyzer.nextResult(); result.has_value(); result = co_await analyzer.nextResult()) {
        text += result->text + ' ';
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
            use.memory = std::stod(line.substr(line.find(':') + 1)) * 1024 / 1e6;
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

/// What one side has done and what it took.
struct Work {
    Seconds time{Seconds::max()};
    Seconds processor{Seconds::max()};
    std::size_t words{0};
    double memory{0}; ///< at most, megabytes

    void keepBetter(const Work& other) {
        memory = std::max(memory, other.memory);
        words = other.words;
        time = std::min(time, other.time);
        processor = std::min(processor, other.processor);
    }
};

class SpeechModelBenchmark {
public:
    SpeechModelBenchmark(std::filesystem::path tool, int threads) : tool_(std::move(tool)), threads_(threads) {
        for (const char* size : {"base", "small"}) {
            std::filesystem::create_directory(folder_ / size);
        }
        writeBaseModel(folder_ / base, WhisperState::longestPiece);
        testing::writeModel(folder_ / "small/ggml-small.bin");
    }

    bool compare(bool isHalfSilent, double mostShare, const char* bound) {
        const Samples mic = track("rms", isHalfSilent);
        const Samples speaker = track("slt", isHalfSilent);
        testing::writeWav(folder_ / "mic.wav", mic);
        testing::writeWav(folder_ / "speaker.wav", speaker);
        const Heard heard = heardIn(mic) + heardIn(speaker);
        writeBaseModel(folder_ / toolsModel, isHalfSilent ? kToolPiece / 2 : kToolPiece);
        writeBaseModel(folder_ / base, heard.speech / heard.pieces);
        Work ours;
        Work theirs;
        for (int run = 0; run < kRuns; ++run) {
            theirs.keepBetter(runTool(threads_));
            ours.keepBetter(transcribeBoth());
        }
        std::printf("Two tracks of %.0f s, %s, %d threads; random weights, %.1f words said for a second of speech\n",
                    kMeetingSeconds, isHalfSilent ? "each half silent" : "speech only", threads_, kWordsPerSecond);
        check("the engine's tool", theirs.time.count(), "s", true, "greedy, each piece by itself");
        check("its processor time", theirs.processor.count(), "s", true, "");
        check("its words", static_cast<double>(theirs.words), "", true, "");
        check("both tracks at once", ours.time.count(), "s", true, "");
        check("their processor time", ours.processor.count(), "s", true, "");
        check("their words", static_cast<double>(ours.words), "", true, "");
        check("their speech", heard.speech, "s", true, "");
        check("their pieces", heard.pieces, "", true, "");
        // On a busy machine, the tool's threads burn time waiting for each other.
        const Seconds alone = runTool(1).processor;
        check("tool's processor time, 1 thread", alone.count(), "s", true, "");
        check("share of that", ours.processor / alone, "", true, "");
        const double share = ours.time / theirs.time;
        bool holds = check("share", share, "", share <= mostShare, bound);
        const double model = static_cast<double>(std::filesystem::file_size(folder_ / base)) / 1e6;
        constexpr double mostBesides = 220;
        holds &= check("memory besides the model", ours.memory - model, "MB", ours.memory - model <= mostBesides,
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

    bool measureCancelling() {
        WhisperEngines engines;
        const auto engine = engines.make({.locale = "en_US", .model = folder_ / base});
        const Samples samples = track("rms", false);
        std::puts("Giving up, with a model of the size \"base\"");
        bool holds = true;
        for (const auto& [name, reporting] : {std::pair("a file", SpeechReporting::finalSegments),
                                              std::pair("a live stream", SpeechReporting::alsoHypotheses)}) {
            double longest = 0;
            for (int part = 1; part <= 8; ++part) {
                longest =
                    std::max(longest, timeToGiveUp(*engine, samples, reporting, std::chrono::milliseconds(100 * part)));
            }
            holds &= check(name, longest * 1000, "ms", longest <= 0.2, "at most 200");
        }
        return holds;
    }

private:
    /// From the request on, made at that time into the recognising, seconds.
    static double timeToGiveUp(SpeechEngine& engine, const Samples& samples, SpeechReporting reporting,
                               std::chrono::milliseconds into) {
        std::stop_source stop;
        engine.begin(
            reporting, [](const SpeechSegment&) {}, stop.get_token());
        std::promise<Clock::time_point> ended;
        std::jthread work([&] {
            constexpr std::size_t piece = StreamAudio::sampleRate / 10;
            for (std::size_t first = 0; first < samples.size() && !stop.stop_requested(); first += piece) {
                engine.append(std::span(samples).subspan(first, piece));
            }
            engine.finish();
            engine.end();
            ended.set_value(Clock::now());
        });
        std::this_thread::sleep_for(into);
        const auto asked = Clock::now();
        stop.request_stop();
        return Seconds(ended.get_future().get() - asked).count();
    }

    WorkerSpeechRecognition::Settings settings(const char* models) const {
        WorkerSpeechRecognition::Settings settings{.worker = {}, .desktopLocale = "en_US"};
        settings.worker.program = workerProgram("talkledger-transcriber");
        settings.installedModels = folder_ / models;
        return settings;
    }

    /// Without what it has heard before each piece, which would move the model's words.
    Work runTool(int threads) const {
        Work work{.time = {}, .processor = {}};
        const auto began = Clock::now();
        for (const char* file : {"mic.wav", "speaker.wav"}) {
            testing::ChildProcess tool(
                {.arguments = {tool_, "-m", folder_ / toolsModel, "-f", folder_ / file, "-l", "en", "-t",
                               std::to_string(threads), "-bs", "1", "-mc", "0", "-np"},
                 .environment = {},
                 .workingDirectory = {}});
            if (tool.wait(std::chrono::minutes(30)) != 0) {
                throw std::runtime_error("The engine's tool failed: " + tool.standardError());
            }
            work.processor += tool.processorTime();
            work.words += wordsIn(tool.standardOutput());
        }
        work.time = Clock::now() - began;
        return work;
    }

    Work transcribeBoth() {
        const auto began = Clock::now();
        WorkerSpeechRecognition recognition(settings("base"));
        const auto mic = recognition.makeAnalyzer({.locale = "en_US"});
        const auto speaker = recognition.makeAnalyzer({.locale = "en_US"});
        std::string text;
        testing::runTask(context_, both(both(collect(*mic, text), analyze(*mic, folder_ / "mic.wav")),
                                        both(collect(*speaker, text), analyze(*speaker, folder_ / "speaker.wav"))));
        const Seconds time = Clock::now() - began;
        const Use use = useOf(testing::children().at(0));
        return {.time = time, .processor = use.processor, .words = wordsIn(text), .memory = use.memory};
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

    static constexpr const char* base = "base/ggml-base.bin";
    static constexpr const char* toolsModel = "ggml-tool.bin";

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
        holds &= benchmark.measureCancelling();
        holds &= benchmark.compare(true, 0.6, "at most 0.60");
        holds &= benchmark.compare(false, 1.05, "at most 1.05");
        return holds ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::cerr << "talkledger-speech-model-bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
