// What it costs to capture and encode both tracks, against the system's own tools at the same work and in the same
// time: pw-record into a WAV file for the microphone, pw-record piped into ffmpeg with the same encoder settings for
// the output. Prints the processor time of both, their ratio (at most 1 is asked for; the exit status tells), the share
// of a core, and the memory after the start and at the end.
//
//   talkledger-capture-bench [seconds]

#include "Support/ChildProcess.h"
#include "Support/SoundSession.h"
#include "TalkledgerPlatform/Audio/PipeWireAudioInput.h"
#include "TalkledgerPlatform/Audio/PipeWireSystemAudio.h"
#include "TalkledgerPlatform/Audio/PlatformAudioFiles.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
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
constexpr auto kSettlingTime = 5s;

long residentKilobytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("VmRSS:")) {
            return std::strtol(line.c_str() + std::strlen("VmRSS:"), nullptr, 10);
        }
    }
    return 0;
}

/// Writes what the output plays, as the program's recorder does.
class OutputFile : public CaptureStreamOutput {
public:
    explicit OutputFile(std::unique_ptr<AssetWriter> writer) : writer_(std::move(writer)) { writer_->addInput({}); }

    void streamDidOutput(const CaptureSampleBuffer& sample) override {
        if (writer_->status() == AssetWriterStatus::unknown) {
            writer_->startWriting();
            writer_->startSession(sample.audio.time);
        }
        writer_->append(sample.audio);
    }

    void streamDidStop(const std::string& /*reason*/) override {}

    AssetWriter& writer() { return *writer_; }

private:
    std::unique_ptr<AssetWriter> writer_;
};

/// Captures both tracks into `folder` until SIGINT comes, and prints the memory after the start and at the end.
Task<void> capture(boost::asio::io_context& context, boost::asio::thread_pool& pool, std::filesystem::path folder) {
    boost::asio::signal_set interrupted(context, SIGINT);
    PlatformAudioFiles files(pool.get_executor(), {});
    PipeWireAudioInput input(pool.get_executor(), {});
    PipeWireSystemAudio systemAudio(pool.get_executor(), {});

    const auto engine = input.makeEngine();
    const AudioFormat format = co_await engine->inputFormat();
    const auto microphoneFile = files.createFile(folder / "mic.wav", format, AudioChannel::mic);
    AudioTap tap = [&microphoneFile](const AudioBuffer& buffer) { microphoneFile->write(buffer); };
    engine->installTap(4096, format, tap);
    co_await engine->start();

    const auto output = std::make_shared<OutputFile>(
        files.makeAssetWriter(folder / "speaker.m4a", AssetFileType::m4a, AudioChannel::speaker));
    const auto stream = systemAudio.makeStream({}, {});
    stream->addStreamOutput(output, "talkledger.system-audio-samples");
    co_await stream->startCapture();

    boost::asio::steady_timer settled(context, kSettlingTime);
    co_await settled.async_wait(boost::asio::use_awaitable);
    std::cout << residentKilobytes() << ' ' << std::flush;
    co_await interrupted.async_wait(boost::asio::use_awaitable);
    std::cout << residentKilobytes() << '\n' << std::flush;

    engine->removeTap();
    engine->stop();
    co_await stream->stopCapture();
    output->writer().markAsFinished();
    co_await output->writer().finishWriting();
    if (output->writer().status() != AssetWriterStatus::completed) {
        throw std::runtime_error(output->writer().error().value_or("The M4A file is not complete."));
    }
}

void runCapture(const std::filesystem::path& folder) {
    boost::asio::io_context context;
    boost::asio::thread_pool pool(1);
    std::exception_ptr failure;
    boost::asio::co_spawn(context, capture(context, pool, folder),
                          [&failure](std::exception_ptr error) { failure = std::move(error); });
    context.run();
    pool.join();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// Raw or WAV noise with a slow beat: neither silence nor the same in every frame.
void writeNoise(const std::filesystem::path& path, int seconds, std::uint16_t channelCount) {
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
    double low = 0;
    for (std::uint32_t frame = 0; frame < frames; ++frame) {
        const double loudness = 0.1 + 0.9 * static_cast<double>(frame % kRate) / kRate;
        low += 0.05 * (static_cast<double>(random() % 20001) - 10000 - low); // the spectrum falls, as that of speech
        for (int channel = 0; channel < channelCount; ++channel) {
            put(static_cast<std::int16_t>(low * loudness + static_cast<double>(random() % 201) - 100));
        }
    }
}

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

ChildProcessOptions inSession(const SoundSession& session, std::vector<std::string> arguments) {
    ChildProcessOptions options;
    options.arguments = std::move(arguments);
    options.environment = session.environment();
    return options;
}

/// `isInterruptible`: pw-record takes an interrupt for a failure.
double processorSeconds(ChildProcess& process, bool isInterruptible = false) {
    const auto status = process.wait(kPatience);
    if (!status || (*status != 0 && !isInterruptible)) {
        throw std::runtime_error("A process did not end well: " + process.standardError());
    }
    return std::chrono::duration<double>(process.processorTime()).count();
}

int compare(int seconds) {
    SoundSession session;
    const auto& folder = session.runtimeFolder();
    writeNoise(folder / "voice.wav", seconds + 30, 1);
    writeNoise(folder / "output.wav", seconds + 30, 2);
    const auto voice = session.playIntoMicrophone(folder / "voice.wav");
    const auto output = session.play(folder / "output.wav");

    Pipe samples;
    auto soundOptions = inSession(session, {"pw-record", "-P", "{ stream.capture.sink=true }", "--format", "f32",
                                            "--rate", "48000", "--channels", "2", "-"});
    soundOptions.standardOutput = samples.ends[1];
    auto encoderOptions = inSession(session, {"ffmpeg",
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

    ChildProcess ours(
        inSession(session, {std::filesystem::read_symlink("/proc/self/exe").string(), "--capture", folder.string()}));
    ChildProcess encoder(encoderOptions);
    ChildProcess sound(soundOptions);
    ChildProcess microphone(inSession(session, {"pw-record", "--format", "f32", (folder / "reference.wav").string()}));
    samples.close();
    if (ours.wait(std::chrono::seconds(seconds))) {
        throw std::runtime_error("The capture ended early: " + ours.standardError());
    }
    for (ChildProcess* process : {&ours, &sound, &microphone}) {
        process->signal(SIGINT);
    }
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
    std::printf("  memory, kB (start, end)    %s", ours.standardOutput().c_str());
    std::printf("  speaker.m4a, bytes         %ju against %ju\n", std::filesystem::file_size(folder / "speaker.m4a"),
                std::filesystem::file_size(folder / "reference.m4a"));
    return ratio <= 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        if (argumentCount == 3 && std::string_view(arguments[1]) == "--capture") {
            runCapture(arguments[2]);
            return EXIT_SUCCESS;
        }
        const int seconds = argumentCount > 1 ? static_cast<int>(std::strtol(arguments[1], nullptr, 10)) : 40;
        if (seconds < 10) {
            std::cerr << "Usage: talkledger-capture-bench [seconds, at least 10]\n";
            return EXIT_FAILURE;
        }
        return compare(seconds);
    } catch (const std::exception& error) {
        std::cerr << "talkledger-capture-bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
