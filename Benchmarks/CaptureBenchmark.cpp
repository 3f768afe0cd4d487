// What it costs to capture and encode both tracks, against the system's own tools at the same work and in the same
// time: pw-record into a WAV file for the microphone, pw-record piped into ffmpeg with the same encoder settings for
// the output. Then the same while both tracks are recognised. Prints the processor time, its ratio to that of the
// tools, the share of a core, how much the memory grew, and how much sound was missed. The exit status tells whether
// the ratio is 1 at most, the memory did not grow, and nothing was missed that the tools did not miss as well.
//
//   talkledger-capture-bench [seconds]

#include "MeasuredCapture.h"
#include "Support/ChildProcess.h"
#include "Support/SoundSession.h"
#include "TalkledgerWorkers/SpokenAudio.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace talkledger;
using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::ChildProcessOptions;
using testing::SoundSession;

constexpr int kRate = 48000;
constexpr auto kPatience = 30s;
constexpr const char* kCapture = "--capture";
constexpr const char* kCaptureAndRecognise = "--capture-and-recognise";
/// Pages that the allocator takes now and then; a buffer a second that is not given back is some MB.
constexpr long kToleratedGrowth = 256; // kB

/// The value of a frame's samples, to which some noise is added: no stretch of what is played is silent.
using Signal = std::function<double(std::uint32_t frame)>;

/// Noise with a slow beat, whose spectrum falls as that of speech.
Signal noise() {
    return [random = std::mt19937(1), low = 0.0](std::uint32_t frame) mutable {
        low += 0.05 * (static_cast<double>(random() % 20001) - 10000 - low);
        return low * (0.1 + 0.9 * static_cast<double>(frame % kRate) / kRate);
    };
}

/// Somebody who does not stop talking.
Signal speech(const std::string& voice) {
    const auto words = std::make_shared<testing::Samples>(
        testing::speak(voice, "We have a budget of twenty thousand dollars for this year. "
                              "I will send you the proposal by Friday afternoon."));
    return [words](std::uint32_t frame) -> double { return (*words)[frame / 3 % words->size()]; };
}

void writeWave(const std::filesystem::path& path, int seconds, std::uint16_t channelCount, const Signal& signal) {
    std::ofstream file(path, std::ios::binary);
    const auto put = [&file](auto value) { file.write(reinterpret_cast<const char*>(&value), sizeof(value)); };
    const auto frames = static_cast<std::uint32_t>(seconds * kRate);
    const std::uint32_t bytes = frames * channelCount * 2;
    file << "RIFF";
    put(bytes + 36);
    file << "WAVEfmt ";
    put(std::uint32_t{16});
    put(std::uint16_t{1});
    put(channelCount);
    put(std::uint32_t{kRate});
    put(std::uint32_t{kRate} * channelCount * 2);
    put(static_cast<std::uint16_t>(channelCount * 2));
    put(std::uint16_t{16});
    file << "data";
    put(bytes);
    std::mt19937 random(1);
    for (std::uint32_t frame = 0; frame < frames; ++frame) {
        const double value = signal(frame);
        for (int channel = 0; channel < channelCount; ++channel) {
            put(static_cast<std::int16_t>(std::clamp(value, -32000.0, 32000.0) + static_cast<double>(random() % 201) -
                                          100));
        }
    }
}

/// A session in which both sides are heard for longer than `seconds`.
class Meeting {
public:
    Meeting(int seconds, const Signal& voice, const Signal& output) {
        writeWave(folder() / "voice.wav", seconds + 30, 1, voice);
        writeWave(folder() / "output.wav", seconds + 30, 2, output);
        voice_ = session_.playIntoMicrophone(folder() / "voice.wav");
        output_ = session_.play(folder() / "output.wav");
    }

    const std::filesystem::path& folder() const { return session_.runtimeFolder(); }

    ChildProcessOptions options(std::vector<std::string> arguments) const {
        ChildProcessOptions options;
        options.arguments = std::move(arguments);
        options.environment = session_.environment();
        return options;
    }

    /// Our own capture, in a process that is this program once more.
    ChildProcessOptions captureOptions(const std::string& what) const {
        return options({std::filesystem::read_symlink("/proc/self/exe").string(), what, folder().string()});
    }

private:
    SoundSession session_;
    std::unique_ptr<ChildProcess> voice_;
    std::unique_ptr<ChildProcess> output_;
};

/// The two descriptors of a pipe, closed at the latest by the destructor.
struct Pipe {
    std::array<int, 2> ends{-1, -1};

    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe2 failed");
        }
    }

    ~Pipe() { close(); }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void close() {
        for (int& end : ends) {
            if (end >= 0) {
                ::close(std::exchange(end, -1));
            }
        }
    }
};

/// `isInterruptible`: pw-record takes an interrupt for a failure.
double processorSeconds(ChildProcess& process, bool isInterruptible = false) {
    const auto status = process.wait(kPatience);
    if (!status || (*status != 0 && !isInterruptible)) {
        throw std::runtime_error("A process did not end well: " + process.standardError());
    }
    return std::chrono::duration<double>(process.processorTime()).count();
}

void interruptAfter(int seconds, ChildProcess& capture, const std::vector<ChildProcess*>& tools) {
    if (capture.wait(std::chrono::seconds(seconds))) {
        throw std::runtime_error("The capture ended early: " + capture.standardError());
    }
    capture.signal(SIGINT);
    for (ChildProcess* tool : tools) {
        tool->signal(SIGINT);
    }
}

bool hasGrown(const CaptureFigures& figures) {
    std::printf("  memory, growth             %ld kB  (at most %ld)\n", figures.memoryGrowth, kToleratedGrowth);
    return figures.memoryGrowth > kToleratedGrowth;
}

bool isAsCheapAsTheTools(int seconds) {
    const Meeting meeting(seconds, noise(), noise());
    const auto& folder = meeting.folder();
    Pipe samples;
    auto soundOptions = meeting.options({"pw-record", "-P", "{ stream.capture.sink=true }", "--format", "f32", "--rate",
                                         "48000", "--channels", "2", "-"});
    soundOptions.standardOutput = samples.ends[1];
    auto encoderOptions = meeting.options({"ffmpeg",
                                           "-v",
                                           "error",
                                           "-f",
                                           "f32le",
                                           "-ar",
                                           "48000",
                                           "-ac",
                                           "2",
                                           "-i",
                                           "-",
                                           "-c:a",
                                           "aac",
                                           "-aac_coder",
                                           "fast",
                                           "-b:a",
                                           "128k",
                                           "-movflags",
                                           "delay_moov+frag_keyframe+empty_moov+default_base_moof",
                                           "-frag_duration",
                                           "1000000",
                                           "-flush_packets",
                                           "1",
                                           (folder / "reference.m4a").string()});
    encoderOptions.standardInput = samples.ends[0];

    ChildProcess ours(meeting.captureOptions(kCapture));
    ChildProcess encoder(encoderOptions);
    ChildProcess sound(soundOptions);
    ChildProcess microphone(meeting.options({"pw-record", "--format", "f32", (folder / "reference.wav").string()}));
    samples.close();
    interruptAfter(seconds, ours, {&sound, &microphone});
    const double oursSeconds = processorSeconds(ours);
    const double soundSeconds = processorSeconds(sound, true);
    const double encoderSeconds = processorSeconds(encoder);
    const double microphoneSeconds = processorSeconds(microphone, true);
    const double referenceSeconds = soundSeconds + encoderSeconds + microphoneSeconds;
    const double ratio = oursSeconds / referenceSeconds;

    std::printf("capture of both tracks for %d s, processor seconds\n", seconds);
    std::printf("  talkledger                 %.3f  (%.2f %% of a core)\n", oursSeconds, 100 * oursSeconds / seconds);
    std::printf("  pw-record | ffmpeg         %.3f + %.3f\n", soundSeconds, encoderSeconds);
    std::printf("  pw-record, microphone      %.3f\n", microphoneSeconds);
    std::printf("  ratio                      %.2f  (at most 1)\n", ratio);
    std::printf("  speaker.m4a, bytes         %ju against %ju\n", std::filesystem::file_size(folder / "speaker.m4a"),
                std::filesystem::file_size(folder / "reference.m4a"));
    const bool grows = hasGrown(decodeFigures(ours.standardOutput()));
    return ratio <= 1 && !grows;
}

bool missesNothingBesideRecognisers(int seconds) {
    const Meeting meeting(seconds, speech("rms"), speech("slt"));
    const auto voicePath = meeting.folder() / "reference-voice.wav";
    const auto outputPath = meeting.folder() / "reference-output.wav";
    ChildProcess ours(meeting.captureOptions(kCaptureAndRecognise));
    ChildProcess voice(meeting.options({"pw-record", "--format", "f32", voicePath.string()}));
    ChildProcess output(
        meeting.options({"pw-record", "-P", "{ stream.capture.sink=true }", "--format", "f32", outputPath.string()}));
    interruptAfter(seconds, ours, {&voice, &output});
    processorSeconds(ours);
    processorSeconds(voice, true);
    processorSeconds(output, true);
    const CaptureFigures figures = decodeFigures(ours.standardOutput());
    const std::int64_t missedByTools = missingFrames(voicePath) + missingFrames(outputPath);

    std::printf("the same beside two live recognisers, which found %jd utterances\n",
                std::intmax_t{figures.recognisedSegments});
    std::printf("  talkledger                 %.3f  (%.2f %% of a core)\n", figures.processorSeconds,
                100 * figures.processorSeconds / seconds);
    std::printf("  the recognisers            %.3f\n", figures.recognitionSeconds);
    std::printf("  frames missed              %jd  (at most %jd, as pw-record)\n", std::intmax_t{figures.missingFrames},
                std::intmax_t{missedByTools});
    const bool grows = hasGrown(figures);
    return figures.recognisedSegments > 0 && figures.missingFrames <= missedByTools && !grows;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        const std::string_view what = argumentCount == 3 ? arguments[1] : "";
        if (what == kCapture || what == kCaptureAndRecognise) {
            std::cout << encodeFigures(runCapture(arguments[2], what == kCaptureAndRecognise));
            return EXIT_SUCCESS;
        }
        const int seconds = argumentCount > 1 ? static_cast<int>(std::strtol(arguments[1], nullptr, 10)) : 40;
        if (seconds < 10) {
            std::cerr << "Usage: talkledger-capture-bench [seconds, at least 10]\n";
            return EXIT_FAILURE;
        }
        const bool isCheap = isAsCheapAsTheTools(seconds);
        const bool isUndisturbed = missesNothingBesideRecognisers(seconds);
        return isCheap && isUndisturbed ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::cerr << "talkledger-capture-bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
