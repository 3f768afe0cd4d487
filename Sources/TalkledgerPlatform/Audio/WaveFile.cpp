#include "TalkledgerPlatform/Audio/WaveFile.h"

#include "TalkledgerPlatform/Audio/AudioFileError.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

std::size_t sampleBytes(const AudioFormat& format) {
    return format.commonFormat == AudioSampleFormat::float32 ? sizeof(float) : sizeof(std::int16_t);
}

} // namespace

WaveFile::WaveFile(const std::filesystem::path& path, const AudioFormat& format, AudioChannel channel,
                   TrackHealthHandler health, Executor blockingExecutor)
    : path_(path),
      format_(format),
      health_(channel, std::move(health)),
      descriptor_(FileDescriptor::create(path)),
      sync_(descriptor_, path, std::move(blockingExecutor)) {
    SF_INFO description{};
    description.samplerate = static_cast<int>(format.sampleRate);
    description.channels = static_cast<int>(format.channelCount);
    description.format =
        SF_FORMAT_RF64 | (format.commonFormat == AudioSampleFormat::float32 ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_16);
    if (!format.isInterleaved || sf_format_check(&description) == 0) {
        throw AudioFileError(AudioFileError::Case::unsupportedFormat, path);
    }
    file_.reset(sf_open_fd(descriptor_.number(), SFM_WRITE, &description, SF_FALSE));
    if (file_ == nullptr) {
        throw AudioFileError(AudioFileError::Case::notCreated, path, sf_strerror(nullptr));
    }
    // An ordinary header as long as the length fits into it, written anew with every write.
    sf_command(file_.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    headerLength_ = lseek(descriptor_.number(), 0, SEEK_END);
    if (headerLength_ <= 0) {
        throw AudioFileError(AudioFileError::Case::notCreated, path, std::generic_category().message(ENOSPC));
    }
}

WaveFile::~WaveFile() {
    makeUpLostFrames();
    file_.reset();
    sync_.finish(); // on the disk before a session file says that it is complete
}

off_t WaveFile::lengthWith(std::uint64_t frames) const {
    return headerLength_ + static_cast<off_t>(frames * format_.channelCount * sampleBytes(format_));
}

void WaveFile::write(const AudioBuffer& buffer) {
    if (buffer.format != format_) {
        throw AudioFileError(AudioFileError::Case::unsupportedFormat, path_);
    }
    if (!makeUpLostFrames()) {
        const int error = errno;
        lostFrames_ += buffer.frameLength;
        fail(error);
    }
    errno = 0;
    const std::uint64_t written = writeFrames(buffer);
    const int error = errno != 0 ? errno : ENOSPC;
    frames_ += written;
    if (written < buffer.frameLength) {
        lostFrames_ += buffer.frameLength - written;
        cutToWholeFrames();
        fail(error);
    }
    if (descriptor_.isRemoved()) {
        health_.publish(false);
        throw AudioFileError(AudioFileError::Case::removed, path_);
    }
    beginSync();
    if (const int syncError = sync_.lastError(); syncError != 0) {
        fail(syncError);
    }
    health_.publish(true);
}

void WaveFile::writeSilence(std::uint64_t frames) {
    lostFrames_ += frames;
    if (!makeUpLostFrames()) {
        fail(errno);
    }
}

bool WaveFile::makeUpLostFrames() {
    if (lostFrames_ == 0) {
        return true;
    }
    // What a file is lengthened by reads as zeros, and takes no room.
    if (ftruncate(descriptor_.number(), lengthWith(frames_ + lostFrames_)) != 0) {
        return false;
    }
    frames_ += std::exchange(lostFrames_, 0);
    sf_seek(file_.get(), static_cast<sf_count_t>(frames_), SEEK_SET);
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    return true;
}

std::uint64_t WaveFile::writeFrames(const AudioBuffer& buffer) {
    const auto frames = static_cast<sf_count_t>(buffer.frameLength);
    const sf_count_t written =
        format_.commonFormat == AudioSampleFormat::float32
            ? sf_writef_float(file_.get(), reinterpret_cast<const float*>(buffer.samples.data()), frames)
            : sf_writef_short(file_.get(), reinterpret_cast<const short*>(buffer.samples.data()), frames);
    return static_cast<std::uint64_t>(std::clamp<sf_count_t>(written, 0, frames));
}

void WaveFile::cutToWholeFrames() {
    [[maybe_unused]] const int shortened = ftruncate(descriptor_.number(), lengthWith(frames_));
    sf_seek(file_.get(), static_cast<sf_count_t>(frames_), SEEK_SET);
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

void WaveFile::beginSync() {
    if (frames_ - syncedFrames_ >= static_cast<std::uint64_t>(format_.sampleRate) && sync_.begin()) {
        syncedFrames_ = frames_;
    }
}

void WaveFile::fail(int error) {
    health_.publish(false);
    throw AudioFileError(AudioFileError::Case::notWritten, path_, std::generic_category().message(error));
}

} // namespace talkledger
