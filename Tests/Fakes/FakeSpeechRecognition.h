#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/Speech.h"

#include <map>
#include <vector>

namespace talkledger::testing {

/// A recogniser that says in each locale what the test wrote for it, whatever the file holds.
class FakeSpeechRecognition final : public SpeechRecognition, public AssetInventory {
public:
    struct Script {
        SpeechAssetStatus status{SpeechAssetStatus::installed};
        std::vector<SpeechTranscriptionResult> results;
        std::optional<std::string> startFailure;
        std::optional<std::string> resultFailure; ///< instead of the end
        std::optional<std::string> installationFailure;
    };

    explicit FakeSpeechRecognition(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    bool available{true};
    std::map<std::string, Script> scripts;              ///< by locale; others are not supported
    Gate results;                                       ///< before each result and the end
    std::map<std::filesystem::path, double> startTimes; ///< of the files that were handed in

    bool isAvailable() const override { return available; }

    Task<std::optional<std::string>> supportedLocale(const std::string& equivalentTo) override {
        co_return scripts.contains(equivalentTo) ? std::optional(equivalentTo) : std::nullopt;
    }

    AssetInventory& assetInventory() override { return *this; }

    Task<SpeechAssetStatus> status(const SpeechTranscriber& transcriber) override {
        co_return scripts.at(transcriber.locale).status;
    }

    Task<std::unique_ptr<SpeechAssetInstallationRequest>>
    assetInstallationRequest(const SpeechTranscriber& transcriber) override {
        co_return std::make_unique<Installation>(*this, transcriber.locale);
    }

    std::unique_ptr<SpeechAnalyzer> makeAnalyzer(const SpeechTranscriber& transcriber) override {
        return std::make_unique<Analyzer>(*this, transcriber.locale);
    }

private:
    class Installation final : public SpeechAssetInstallationRequest {
    public:
        Installation(FakeSpeechRecognition& recognition, std::string locale)
            : recognition_(recognition), locale_(std::move(locale)) {}

        Task<void> downloadAndInstall() override {
            recognition_.log.add("install " + locale_);
            throwIfSet(recognition_.scripts.at(locale_).installationFailure);
            co_return;
        }

    private:
        FakeSpeechRecognition& recognition_;
        std::string locale_;
    };

    class Analyzer final : public SpeechAnalyzer {
    public:
        Analyzer(FakeSpeechRecognition& recognition, const std::string& locale)
            : recognition_(recognition), locale_(locale), script_(recognition.scripts.at(locale)) {
            started_.close();
            ended_.close();
        }

        Task<void> start(SpeechInputFile file) override {
            recognition_.log.add("transcribe " + file.path.filename().string() + " in " + locale_);
            recognition_.startTimes[file.path] = file.startTime;
            throwIfSet(script_.startFailure);
            if (file.progress) {
                file.progress(0.5);
            }
            started_.open();
            co_return;
        }

        Task<std::optional<SpeechTranscriptionResult>> nextResult() override {
            co_await started_.pass();
            co_await recognition_.results.pass();
            if (next_ < script_.results.size()) {
                co_return script_.results[next_++];
            }
            throwIfSet(script_.resultFailure);
            ended_.open();
            co_return std::nullopt;
        }

        Task<void> finalizeAndFinishThroughEndOfInput() override { co_await ended_.pass(); }

        void cancelAndFinishNow() noexcept override {}

    private:
        FakeSpeechRecognition& recognition_;
        std::string locale_;
        Script script_;
        std::size_t next_{0};
        Gate started_;
        Gate ended_;
    };
};

} // namespace talkledger::testing
