#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/Speech.h"

#include <cmath>
#include <deque>
#include <map>
#include <utility>
#include <vector>

namespace talkledger::testing {

/// A recognition of live audio whose results the test says, and whose inputs it may take.
struct FakeLiveAnalysis {
    SpeechTranscriber transcriber;
    std::optional<AudioFormat> format; ///< that it was prepared for
    std::shared_ptr<AnalyzerInputSequence> inputs;
    std::optional<std::string> resultFailure; ///< instead of the end
    bool isDestroyed{false};

    void say(SpeechTranscriptionResult result) {
        results_.push_back(std::move(result));
        resultsToRead_.open();
    }

    void end() {
        hasEnded_ = true;
        resultsToRead_.open();
    }

    Task<std::optional<SpeechTranscriptionResult>> nextResult() {
        if (results_.empty() && !hasEnded_) {
            resultsToRead_.close();
        }
        co_await resultsToRead_.pass();
        if (results_.empty()) {
            hasDelivered_ = true;
            delivered_.open();
            throwIfSet(resultFailure);
            co_return std::nullopt;
        }
        SpeechTranscriptionResult result = std::move(results_.front());
        results_.pop_front();
        co_return result;
    }

    /// Returns when the end has been taken, or throws what took its place.
    Task<> delivered() {
        if (!hasDelivered_) {
            delivered_.close();
        }
        co_await delivered_.pass();
        throwIfSet(resultFailure);
    }

private:
    std::deque<SpeechTranscriptionResult> results_;
    bool hasEnded_{false};
    bool hasDelivered_{false};
    Gate resultsToRead_;
    Gate delivered_;
};

/// A recogniser that says in each locale what the test wrote for it, whatever the file holds.
class FakeSpeechRecognition final : public SpeechRecognition, public AssetInventory {
public:
    struct Script {
        SpeechAssetStatus status{SpeechAssetStatus::installed};
        std::vector<SpeechTranscriptionResult> results;
        std::optional<std::string> startFailure;
        std::optional<std::string> resultFailure; ///< instead of the end
        std::optional<std::string> installationFailure;
        bool offersInstallation{true};
        std::optional<std::string> supportedLocale; ///< another one that stands for this
        std::optional<AudioFormat> bestFormat{{AudioSampleFormat::int16, 16000, 1, true}};
        std::optional<std::string> prepareFailure;
        std::optional<std::string> liveStartFailure;
        std::optional<std::string> finalizeFailure;
    };

    explicit FakeSpeechRecognition(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    bool available{true};
    std::map<std::string, Script> scripts;              ///< by locale; others are not supported
    Gate results;                                       ///< before each result and the end
    std::map<std::filesystem::path, double> startTimes; ///< of the files that were handed in
    CallLog steps;                                      ///< of live recognitions
    Gate liveStart;                                     ///< in the start of live audio
    Gate finalizing;                                    ///< in the finishing of live audio
    std::vector<std::shared_ptr<FakeLiveAnalysis>> live;

    bool isAvailable() const override { return available; }

    Task<std::optional<std::string>> supportedLocale(const std::string& equivalentTo) override {
        steps.add("supportedLocale " + equivalentTo);
        const auto script = scripts.find(equivalentTo);
        if (script == scripts.end()) {
            co_return std::nullopt;
        }
        co_return script->second.supportedLocale.value_or(equivalentTo);
    }

    AssetInventory& assetInventory() override { return *this; }

    Task<SpeechAssetStatus> status(const SpeechTranscriber& transcriber) override {
        steps.add("status " + transcriber.locale);
        co_return scripts.at(transcriber.locale).status;
    }

    Task<std::unique_ptr<SpeechAssetInstallationRequest>>
    assetInstallationRequest(const SpeechTranscriber& transcriber) override {
        steps.add("assetInstallationRequest " + transcriber.locale);
        if (!scripts.at(transcriber.locale).offersInstallation) {
            co_return nullptr;
        }
        co_return std::make_unique<Installation>(*this, transcriber.locale);
    }

    Task<std::optional<AudioFormat>> bestAvailableAudioFormat(const SpeechTranscriber& compatibleWith,
                                                              const AudioFormat& considering) override {
        steps.add("bestAvailableAudioFormat from " + std::to_string(std::lround(considering.sampleRate)));
        co_return scripts.at(compatibleWith.locale).bestFormat;
    }

    std::unique_ptr<SpeechAnalyzer> makeAnalyzer(const SpeechTranscriber& transcriber) override {
        steps.add("makeAnalyzer " + transcriber.locale);
        return std::make_unique<Analyzer>(*this, transcriber);
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
        Analyzer(FakeSpeechRecognition& recognition, const SpeechTranscriber& transcriber)
            : recognition_(recognition),
              transcriber_(transcriber),
              script_(recognition.scripts.at(transcriber.locale)) {
            started_.close();
            ended_.close();
        }

        ~Analyzer() override {
            if (live_) {
                live_->isDestroyed = true;
            }
        }

        Analyzer(const Analyzer&) = delete;
        Analyzer& operator=(const Analyzer&) = delete;

        Task<void> start(SpeechInputFile file) override {
            recognition_.log.add("transcribe " + file.path.filename().string() + " in " + transcriber_.locale);
            recognition_.startTimes[file.path] = file.startTime;
            throwIfSet(script_.startFailure);
            if (file.progress) {
                file.progress(0.5);
            }
            started_.open();
            co_return;
        }

        Task<void> prepareToAnalyze(AudioFormat format) override {
            recognition_.steps.add("prepareToAnalyze");
            throwIfSet(script_.prepareFailure);
            live_ = std::make_shared<FakeLiveAnalysis>();
            live_->transcriber = transcriber_;
            live_->format = format;
            recognition_.live.push_back(live_);
            co_return;
        }

        Task<void> start(std::shared_ptr<AnalyzerInputSequence> inputs) override {
            recognition_.steps.add("start");
            live_->inputs = std::move(inputs);
            co_await recognition_.liveStart.pass();
            throwIfSet(script_.liveStartFailure);
        }

        Task<std::optional<SpeechTranscriptionResult>> nextResult() override {
            if (live_) {
                co_return co_await live_->nextResult();
            }
            co_await started_.pass();
            co_await recognition_.results.pass();
            if (next_ < script_.results.size()) {
                co_return script_.results[next_++];
            }
            throwIfSet(script_.resultFailure);
            ended_.open();
            co_return std::nullopt;
        }

        Task<void> finalizeAndFinishThroughEndOfInput() override {
            if (!live_) {
                co_await ended_.pass();
                co_return;
            }
            recognition_.steps.add("finalize");
            throwIfSet(script_.finalizeFailure);
            co_await recognition_.finalizing.pass();
            for (auto input = co_await live_->inputs->next(); input.has_value();) {
                input = co_await live_->inputs->next();
            }
            live_->end();
            co_await live_->delivered();
        }

        void cancelAndFinishNow() noexcept override { recognition_.steps.add("cancel"); }

    private:
        FakeSpeechRecognition& recognition_;
        SpeechTranscriber transcriber_;
        Script script_;
        std::shared_ptr<FakeLiveAnalysis> live_; ///< null for a file
        std::size_t next_{0};
        Gate started_;
        Gate ended_;
    };
};

} // namespace talkledger::testing
