#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/AudioFiles.h"

#include <map>

namespace talkledger::testing {

/// Audio files that keep counts instead of samples. What is not thread-safe here has to be guarded by who writes.
class FakeAudioFiles final : public AudioFiles {
public:
    explicit FakeAudioFiles(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    std::optional<std::string> createFailure;
    bool writingFails{false};
    bool acceptsInput{true};
    bool isReady{true};
    AssetWriterStatus finalStatus{AssetWriterStatus::completed};
    std::optional<std::string> writerError;
    AudioFormat fileFormat;
    AssetWriterInputSettings inputSettings;
    MonotonicTime sessionStart;
    int openFiles{0};
    int openWriters{0};
    int writtenBuffers{0};
    int appendedBuffers{0};
    int appendsAfterEnd{0}; ///< to a writer that was finished or cancelled
    std::map<std::filesystem::path, double> durations;
    std::optional<std::string> durationFailure;

    std::unique_ptr<AudioFile> createFile(const std::filesystem::path& /*path*/, const AudioFormat& format,
                                          AudioChannel /*channel*/) override {
        log.add("createFile");
        throwIfSet(createFailure);
        fileFormat = format;
        return std::make_unique<File>(*this);
    }

    std::unique_ptr<AssetWriter> makeAssetWriter(const std::filesystem::path& /*path*/, AssetFileType /*type*/,
                                                 AudioChannel /*channel*/) override {
        log.add("makeAssetWriter");
        throwIfSet(createFailure);
        return std::make_unique<Writer>(*this);
    }

    Task<std::optional<double>> duration(const std::filesystem::path& path) override {
        throwIfSet(durationFailure);
        const auto known = durations.find(path);
        co_return known == durations.end() ? std::nullopt : std::optional(known->second);
    }

    Task<void> mend(std::filesystem::path path) override {
        log.add("mend " + path.filename().string());
        co_return;
    }

private:
    class File final : public AudioFile {
    public:
        explicit File(FakeAudioFiles& files) : files_(files) { ++files_.openFiles; }

        File(const File&) = delete;
        File& operator=(const File&) = delete;

        ~File() override { --files_.openFiles; }

        void write(const AudioBuffer& /*buffer*/) override {
            if (files_.writingFails) {
                throw std::runtime_error("The disk is full.");
            }
            ++files_.writtenBuffers;
        }

    private:
        FakeAudioFiles& files_;
    };

    class Writer final : public AssetWriter {
    public:
        explicit Writer(FakeAudioFiles& files) : files_(files) { ++files_.openWriters; }

        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;

        ~Writer() override { --files_.openWriters; }

        bool canAddInput(const AssetWriterInputSettings& /*settings*/) const override { return files_.acceptsInput; }

        void addInput(const AssetWriterInputSettings& settings) override { files_.inputSettings = settings; }

        void startWriting() override {
            files_.log.add("startWriting");
            status_ = AssetWriterStatus::writing;
        }

        void startSession(MonotonicTime time) override { files_.sessionStart = time; }

        bool isReadyForMoreMediaData() const override { return files_.isReady; }

        void append(const AudioBuffer& /*buffer*/) override {
            ++(status_ == AssetWriterStatus::writing ? files_.appendedBuffers : files_.appendsAfterEnd);
        }

        void markAsFinished() override { files_.log.add("markAsFinished"); }

        Task<void> finishWriting() override {
            files_.log.add("finishWriting");
            status_ = files_.finalStatus;
            co_return;
        }

        void cancelWriting() noexcept override {
            files_.log.add("cancelWriting");
            status_ = AssetWriterStatus::cancelled;
        }

        AssetWriterStatus status() const override { return status_; }

        std::optional<std::string> error() const override { return files_.writerError; }

    private:
        FakeAudioFiles& files_;
        AssetWriterStatus status_{AssetWriterStatus::unknown};
    };
};

} // namespace talkledger::testing
