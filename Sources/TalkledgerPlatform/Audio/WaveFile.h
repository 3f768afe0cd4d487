#pragma once

#include "TalkledgerCore/Ports/AudioFiles.h"
#include "TalkledgerPlatform/Audio/FileDescriptor.h"
#include "TalkledgerPlatform/Audio/FileSync.h"
#include "TalkledgerPlatform/Audio/WriteHealth.h"

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace talkledger {

/// A WAV file that is valid after every write, also when the program is killed, and beyond 4 GiB (as RF64). Every
/// second of sound is synced to the disk, for the case of a power cut. Frames that the disk did not take become silence
/// as soon as it takes samples again, so that later ones keep their place. Used by one thread at a time; errors, also
/// those of a sync, are AudioFileError.
class WaveFile : public AudioFile {
public:
    /// `health` is called by whoever writes. Syncs run on `blockingExecutor`, but for the last one, which the
    /// destructor waits for.
    WaveFile(const std::filesystem::path& path, const AudioFormat& format, AudioChannel channel,
             TrackHealthHandler health, Executor blockingExecutor);
    ~WaveFile() override;
    WaveFile(const WaveFile&) = delete;
    WaveFile& operator=(const WaveFile&) = delete;

    void write(const AudioBuffer& buffer) override;

    /// Adds silence, which takes no room on the disk. Throws like `write`.
    void writeSilence(std::uint64_t frames);

private:
    struct Closer {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    off_t lengthWith(std::uint64_t frames) const;
    bool makeUpLostFrames();
    std::uint64_t writeFrames(const AudioBuffer& buffer);
    void cutToWholeFrames();
    void beginSync();
    [[noreturn]] void fail(int error);

    std::filesystem::path path_;
    AudioFormat format_;
    WriteHealth health_;
    FileDescriptor descriptor_;
    FileSync sync_;
    std::unique_ptr<SNDFILE, Closer> file_;
    off_t headerLength_{0};
    std::uint64_t frames_{0};       ///< in the file
    std::uint64_t syncedFrames_{0}; ///< of them, by the last sync that was begun
    std::uint64_t lostFrames_{0};   ///< that belong behind them
};

} // namespace talkledger
