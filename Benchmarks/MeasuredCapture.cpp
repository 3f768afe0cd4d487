#include "MeasuredCapture.h"

#include "TalkledgerCore/Capture/LiveAudioBufferRelay.h"
#include "TalkledgerCore/Capture/LiveAudioRecorders.h"
#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSession.h"
#include "TalkledgerPlatform/Audio/PipeWireAudioInput.h"
#include "TalkledgerPlatform/Audio/PipeWireSystemAudio.h"
#include "TalkledgerPlatform/Audio/PlatformAudioFiles.h"
#include "TalkledgerPlatform/Audio/ResamplerAudioConversion.h"
#include "TalkledgerPlatform/Audio/SoundServerAuthorization.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <sndfile.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <map>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

constexpr auto settlingTime = 5s;
constexpr std::size_t backgroundThreads = 4; // as in the program

/// Without what is mapped from files: of that, the kernel takes in what it likes.
long ownMemory() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("RssAnon:")) {
            return std::strtol(line.c_str() + std::strlen("RssAnon:"), nullptr, 10);
        }
    }
    throw std::runtime_error("/proc/self/status does not tell the memory.");
}

double processorSeconds(int whose) {
    rusage usage{};
    getrusage(whose, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Counts the frames of a track that are not its own. What is played is never silent, so a run of zeros was put in
/// where nothing was captured. Before the devices run, and at the very end, nothing is missed.
class HoleCounter {
public:
    /// Goes on where the last samples ended.
    void count(std::span<const float> samples, std::uint32_t channelCount) {
        for (std::size_t place = 0; place < samples.size(); place += channelCount) {
            if (samples[place] == 0) {
                ++zeros_;
            } else {
                const bool isHole = zeros_ >= shortestHole && zeros_ < frames_;
                missing_ += isHole ? zeros_ : 0;
                zeros_ = 0;
            }
            ++frames_;
        }
    }

    std::int64_t missing() const { return missing_; }

private:
    static constexpr std::int64_t shortestHole = 32;

    std::int64_t frames_{0};
    std::int64_t zeros_{0}; ///< the last ones
    std::int64_t missing_{0};
};

WorkerSpeechRecognition::Settings englishSettings() {
    WorkerSpeechRecognition::Settings settings{.worker = {}, .desktopLocale = "en_US"};
    settings.worker.program = workerProgram("talkledger-transcriber");
    return settings;
}

class Capture {
public:
    Capture(boost::asio::io_context& context, std::filesystem::path folder, bool recognises)
        : context_(context), folder_(std::move(folder)), recognises_(recognises) {}

    Task<> run() {
        boost::asio::signal_set interrupted(context_, SIGINT);
        co_await microphone_->startRecording(folder_ / "mic.wav");
        co_await systemAudio_->startRecording(folder_ / "speaker.m4a");
        if (recognises_) {
            recognition_ = std::make_unique<WorkerSpeechRecognition>(englishSettings());
            co_await recognise(AudioChannel::mic, {AudioSampleFormat::float32, 48000, 1, true});
            co_await recognise(AudioChannel::speaker, {AudioSampleFormat::float32, 48000, 2, true});
        }
        boost::asio::steady_timer settled(context_, settlingTime);
        co_await settled.async_wait(boost::asio::use_awaitable);
        const long memory = ownMemory();
        co_await interrupted.async_wait(boost::asio::use_awaitable);
        figures_.memoryGrowth = ownMemory() - memory;
        relay_.detach();
        for (const auto& [channel, session] : sessions_) {
            co_await session->finish();
        }
        sessions_.clear();
        recognition_.reset(); // its workers have been waited for
        co_await microphone_->stopRecording();
        co_await systemAudio_->stopRecording();
        figures_.processorSeconds = processorSeconds(RUSAGE_SELF);
        figures_.recognitionSeconds = processorSeconds(RUSAGE_CHILDREN);
        figures_.missingFrames = holes_[AudioChannel::mic].missing() + holes_[AudioChannel::speaker].missing();
    }

    const CaptureFigures& figures() const { return figures_; }

    void join() { background_.join(); }

private:
    Task<> recognise(AudioChannel channel, AudioFormat format) {
        const auto session = std::make_shared<LiveSpeechTranscriptionSession>(
            "en_US", channel, structuralSpeakerRole(channel),
            [this](const TranscriptSegment& segment) {
                figures_.recognisedSegments += segment.status == TranscriptSegmentStatus::final ? 1 : 0;
            },
            *recognition_, conversion_, timeline_->origin().value_or(MonotonicTime()));
        co_await session->start(format);
        relay_.attach(session, channel);
        sessions_.emplace(channel, session);
    }

    /// None where nobody listens, as in the program without a recogniser.
    LiveTranscriptBufferHandler listener(AudioChannel channel) {
        if (!recognises_) {
            return {};
        }
        return [this, channel, &holes = holes_[channel]](const SharedAudioBuffer& buffer) {
            holes.count(buffer->floatSamples(), buffer->format.channelCount);
            relay_.append(buffer, channel);
        };
    }

    boost::asio::io_context& context_;
    const std::filesystem::path folder_;
    const bool recognises_;
    CaptureFigures figures_;
    std::map<AudioChannel, HoleCounter> holes_;
    LiveAudioBufferRelay relay_;
    PosixFileSystem fileSystem_;
    SoundServerAuthorization authorization_;
    ResamplerAudioConversion conversion_;
    boost::asio::thread_pool background_{backgroundThreads};
    PlatformAudioFiles files_{background_.get_executor(), {}};
    PipeWireAudioInput audioInput_{background_.get_executor(), {}};
    PipeWireSystemAudio output_{background_.get_executor(), {}};
    std::unique_ptr<WorkerSpeechRecognition> recognition_;
    std::map<AudioChannel, std::shared_ptr<LiveSpeechTranscriptionSession>> sessions_;
    std::shared_ptr<RecordingTimelineRecorder> timeline_{
        std::make_shared<RecordingTimelineRecorder>(fileSystem_, background_.get_executor())};
    std::shared_ptr<MicrophoneWAVRecorder> microphone_{std::make_shared<MicrophoneWAVRecorder>(
        audioInput_, files_, authorization_, fileSystem_, background_.get_executor(), timeline_, [](double) {},
        listener(AudioChannel::mic))};
    std::shared_ptr<SystemAudioM4ARecorder> systemAudio_{std::make_shared<SystemAudioM4ARecorder>(
        output_, files_, fileSystem_, timeline_, listener(AudioChannel::speaker))};
};

} // namespace

std::string encodeFigures(const CaptureFigures& figures) {
    std::ostringstream text;
    text << figures.processorSeconds << ' ' << figures.recognitionSeconds << ' ' << figures.memoryGrowth << ' '
         << figures.missingFrames << ' ' << figures.recognisedSegments << '\n';
    return text.str();
}

CaptureFigures decodeFigures(const std::string& text) {
    std::istringstream stream(text);
    CaptureFigures figures;
    stream >> figures.processorSeconds >> figures.recognitionSeconds >> figures.memoryGrowth >> figures.missingFrames >>
        figures.recognisedSegments;
    if (!stream) {
        throw std::runtime_error("The capture did not tell its figures: " + text);
    }
    return figures;
}

std::int64_t missingFrames(const std::filesystem::path& file) {
    SF_INFO format{};
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> opened(sf_open(file.c_str(), SFM_READ, &format), sf_close);
    if (!opened) {
        throw std::runtime_error(file.string() + " cannot be read.");
    }
    HoleCounter holes;
    std::vector<float> samples(std::size_t{4096} * static_cast<std::size_t>(format.channels));
    while (const sf_count_t frames = sf_readf_float(opened.get(), samples.data(), 4096)) {
        holes.count(std::span(samples).first(static_cast<std::size_t>(frames * format.channels)),
                    static_cast<std::uint32_t>(format.channels));
    }
    return holes.missing();
}

CaptureFigures runCapture(const std::filesystem::path& folder, bool recognises) {
    boost::asio::io_context context;
    Capture capture(context, folder, recognises);
    std::exception_ptr failure;
    boost::asio::co_spawn(context, capture.run(), [&failure](std::exception_ptr error) { failure = std::move(error); });
    context.run();
    capture.join();
    if (failure) {
        std::rethrow_exception(failure);
    }
    return capture.figures();
}

} // namespace talkledger
