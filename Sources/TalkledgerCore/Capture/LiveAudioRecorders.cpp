#include "TalkledgerCore/Capture/LiveAudioRecorders.h"

#include "TalkledgerCore/Capture/AudioLevelMeter.h"
#include "TalkledgerCore/Capture/CapturePermissionInspector.h"
#include "TalkledgerCore/Support/RunOn.h"

#include <exception>
#include <functional>
#include <new>
#include <utility>

namespace talkledger {

namespace {

constexpr std::uint32_t tapBufferFrames = 4096;
constexpr const char* sampleQueueLabel = "talkledger.system-audio-samples";

/// Whether there was one does not matter: creating the new file tells what is wrong with the place.
void removeExistingFile(FileSystem& fileSystem, const std::filesystem::path& file) {
    try {
        fileSystem.removeFile(file);
    } catch (const FileSystemError&) {
        return;
    }
}

/// A receiver's own copy: the capture reuses its buffer after the call. None when there is no memory for it.
SharedAudioBuffer copyOf(const AudioBuffer& buffer) {
    try {
        return std::make_shared<const AudioBuffer>(buffer);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace

MicrophoneWAVRecorder::MicrophoneWAVRecorder(AudioInput& audioInput, AudioFiles& audioFiles,
                                             Authorization& authorization, FileSystem& fileSystem, Executor background,
                                             std::shared_ptr<RecordingTimelineRecorder> timeline,
                                             LevelHandler levelHandler,
                                             LiveTranscriptBufferHandler liveTranscriptBufferHandler,
                                             std::chrono::duration<double> permissionTimeout)
    : audioInput_(audioInput),
      audioFiles_(audioFiles),
      authorization_(authorization),
      fileSystem_(fileSystem),
      background_(std::move(background)),
      timeline_(std::move(timeline)),
      levelHandler_(std::move(levelHandler)),
      liveTranscriptBufferHandler_(std::move(liveTranscriptBufferHandler)),
      permissionTimeout_(permissionTimeout) {}

Task<void> MicrophoneWAVRecorder::startRecording(std::filesystem::path to) {
    timeline_->beginTimeline(to.parent_path(), MonotonicTime::clock::now());
    if (!co_await CapturePermissionInspector::microphoneAccess(authorization_, permissionTimeout_, background_)) {
        throw AudioCaptureError(AudioCaptureError::Case::microphonePermissionDenied);
    }
    removeExistingFile(fileSystem_, to);

    const std::shared_ptr<AudioInputEngine> engine = audioInput_.makeEngine();
    const AudioFormat format = co_await engine->inputFormat();
    if (format.channelCount == 0 || !(format.sampleRate > 0)) {
        throw AudioCaptureError(AudioCaptureError::Case::microphoneFormatUnavailable);
    }
    std::unique_ptr<AudioFile> file = audioFiles_.createFile(to, format, AudioChannel::mic);
    std::shared_ptr<AudioInputEngine> replacedEngine = engine;
    {
        const std::lock_guard guard(lock_);
        engine_.swap(replacedEngine);
        audioFile_.swap(file);
        awaitsFirstBuffer_ = true;
    }
    // What was there before ends here, after the lock and before the new capture.
    replacedEngine.reset();
    file.reset();
    engine->installTap(tapBufferFrames, format, [weakSelf = weak_from_this()](const AudioBuffer& buffer) {
        if (const auto self = weakSelf.lock()) {
            self->receive(buffer);
        }
    });
    co_await engine->start();
}

void MicrophoneWAVRecorder::receive(const AudioBuffer& buffer) {
    if (write(buffer)) {
        timeline_->trackBegan(AudioChannel::mic, buffer.time);
    }
    if (levelHandler_) {
        levelHandler_(AudioLevelMeter::normalizedLevel(buffer));
    }
    if (!liveTranscriptBufferHandler_) {
        return;
    }
    if (const SharedAudioBuffer liveCopy = copyOf(buffer)) {
        liveTranscriptBufferHandler_(liveCopy);
    }
}

/// Whether the buffer is the file's first.
bool MicrophoneWAVRecorder::write(const AudioBuffer& buffer) {
    const std::lock_guard guard(lock_);
    if (!audioFile_) {
        return false;
    }
    try {
        audioFile_->write(buffer);
    } catch (const std::exception&) {
        // The file reports it as the track's health; the next buffer may fit again.
    }
    return std::exchange(awaitsFirstBuffer_, false);
}

Task<void> MicrophoneWAVRecorder::stopRecording() {
    std::function<void()> stop = [self = shared_from_this()] { self->stopCapture(); };
    co_await runOn(background_, std::move(stop));
    if (levelHandler_) {
        levelHandler_(0);
    }
    co_await timeline_->flush();
}

/// Returns when the last buffers have been written and the file is closed.
void MicrophoneWAVRecorder::stopCapture() {
    std::shared_ptr<AudioInputEngine> engine;
    {
        const std::lock_guard guard(lock_);
        engine = engine_;
    }
    if (engine) {
        engine->removeTap();
        engine->stop();
    }
    std::unique_ptr<AudioFile> file; // closed after the lock is released
    const std::lock_guard guard(lock_);
    file = std::move(audioFile_);
    engine_.reset();
}

SystemAudioM4ARecorder::SystemAudioM4ARecorder(SystemAudio& systemAudio, AudioFiles& audioFiles, FileSystem& fileSystem,
                                               std::shared_ptr<RecordingTimelineRecorder> timeline,
                                               LiveTranscriptBufferHandler liveTranscriptBufferHandler)
    : systemAudio_(systemAudio),
      audioFiles_(audioFiles),
      fileSystem_(fileSystem),
      timeline_(std::move(timeline)),
      liveTranscriptBufferHandler_(std::move(liveTranscriptBufferHandler)) {}

Task<ShareableContent> SystemAudioM4ARecorder::shareableContent() {
    try {
        co_return co_await systemAudio_.shareableContent();
    } catch (const std::exception& error) {
        throw AudioCaptureError(AudioCaptureError::Case::systemAudioUnavailable, error.what());
    }
}

std::unique_ptr<AssetWriter> SystemAudioM4ARecorder::makeWriter(const std::filesystem::path& file) {
    std::unique_ptr<AssetWriter> writer = audioFiles_.makeAssetWriter(file, AssetFileType::m4a, AudioChannel::speaker);
    const AssetWriterInputSettings settings;
    if (!writer->canAddInput(settings)) {
        throw AudioCaptureError(AudioCaptureError::Case::writerInputRejected);
    }
    writer->addInput(settings);
    return writer;
}

Task<void> SystemAudioM4ARecorder::startRecording(std::filesystem::path to) {
    removeExistingFile(fileSystem_, to);
    const ShareableContent content = co_await shareableContent();
    if (content.displays.empty()) {
        throw AudioCaptureError(AudioCaptureError::Case::noShareableDisplay);
    }
    const ContentFilter filter{content.displays.front()};
    Output output{.writer = makeWriter(to), .isStarted = false, .url = to};
    const std::shared_ptr<CaptureStream> stream = systemAudio_.makeStream(filter, CaptureStreamConfiguration());
    stream->addStreamOutput(weak_from_this(), sampleQueueLabel);
    std::shared_ptr<CaptureStream> replacedStream = stream;
    {
        const std::lock_guard guard(lock_);
        stream_.swap(replacedStream);
        std::swap(output_, output);
    }
    // What was there before ends here, after the lock and before the new capture.
    replacedStream.reset();
    output = {};
    co_await stream->startCapture();
}

void SystemAudioM4ARecorder::streamDidOutput(const CaptureSampleBuffer& sample) {
    if (sample.type != CaptureOutputType::audio || !sample.isDataReady) {
        return;
    }
    const bool isWanted = liveTranscriptBufferHandler_ && sample.audio.frameLength > 0;
    const SharedAudioBuffer liveCopy = isWanted ? copyOf(sample.audio) : nullptr;
    bool isFirst = false;
    {
        const std::lock_guard guard(lock_);
        if (!output_.writer) {
            return;
        }
        if (!output_.isStarted) {
            output_.writer->startWriting();
            output_.writer->startSession(sample.audio.time);
            output_.isStarted = true;
            isFirst = true;
        }
        if (output_.writer->isReadyForMoreMediaData()) {
            output_.writer->append(sample.audio);
        }
    }
    if (isFirst) {
        timeline_->trackBegan(AudioChannel::speaker, sample.audio.time);
    }
    if (liveCopy) {
        liveTranscriptBufferHandler_(liveCopy);
    }
}

void SystemAudioM4ARecorder::streamDidStop(const std::string& /*reason*/) {
    // Destroyed after the lock is released.
    std::shared_ptr<AssetWriter> writer;
    const std::lock_guard guard(lock_);
    writer = std::exchange(output_.writer, nullptr);
    if (writer) {
        writer->cancelWriting();
    }
    output_.isStarted = false;
}

Task<void> SystemAudioM4ARecorder::stopRecording() {
    std::shared_ptr<CaptureStream> stream;
    {
        const std::lock_guard guard(lock_);
        stream = stream_;
    }
    if (stream) {
        co_await stream->stopCapture();
    }
    co_await timeline_->flush();
    Output output;
    {
        const std::lock_guard guard(lock_);
        output = std::exchange(output_, {});
        stream_.reset();
    }
    if (output.writer) {
        co_await finish(std::move(output));
    }
}

Task<void> SystemAudioM4ARecorder::finish(Output output) {
    if (!output.isStarted) {
        output.writer->cancelWriting();
        output.writer.reset();
        if (output.url) {
            fileSystem_.createEmptyFile(*output.url);
        }
        co_return;
    }
    output.writer->markAsFinished();
    co_await output.writer->finishWriting();
    if (output.writer->status() != AssetWriterStatus::completed) {
        throw AudioCaptureError(AudioCaptureError::Case::writerFailed,
                                output.writer->error().value_or("Unknown writer error."));
    }
}

} // namespace talkledger
