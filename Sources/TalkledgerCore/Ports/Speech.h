#pragma once

#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Support/Task.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

/// The speech recogniser. Locales are identifiers like "ja_JP". Everything here is called on the main executor and
/// throws an exception with a user-visible text when the recogniser fails.
namespace talkledger {

/// Seconds on the recording's time line; not finite when the recogniser does not know.
struct AudioTimeRange {
    double start{0};
    double duration{0};
};

struct SpeechTranscriptionResult {
    std::string text;
    AudioTimeRange audioTimeRange;
    bool isFinal{true}; ///< otherwise volatile: a hypothesis that the next result replaces
};

enum class SpeechTranscriptionOption {
    etiquetteReplacements, ///< what is not to be written is masked, where the recogniser can tell
};

enum class SpeechReportingOption {
    volatileResults, ///< hypotheses while someone speaks
    fastResults,     ///< soon rather than sure
    alternativeTranscriptions,
};

enum class SpeechResultAttributeOption { audioTimeRange };

/// What is to be recognised, and how; the module that an analyser runs.
struct SpeechTranscriber {
    std::string locale;
    std::set<SpeechTranscriptionOption> transcriptionOptions{};
    std::set<SpeechReportingOption> reportingOptions{};
    std::set<SpeechResultAttributeOption> attributeOptions{SpeechResultAttributeOption::audioTimeRange};

    /// The preset for files: final results with their time ranges.
    static SpeechTranscriber timeIndexedTranscriptionWithAlternatives(std::string locale) {
        return {.locale = std::move(locale), .reportingOptions = {SpeechReportingOption::alternativeTranscriptions}};
    }

    bool operator==(const SpeechTranscriber&) const = default;
};

enum class SpeechAssetStatus { unsupported, supported, downloading, installed };

class SpeechAssetInstallationRequest {
public:
    SpeechAssetInstallationRequest() = default;
    SpeechAssetInstallationRequest(const SpeechAssetInstallationRequest&) = delete;
    SpeechAssetInstallationRequest& operator=(const SpeechAssetInstallationRequest&) = delete;
    virtual ~SpeechAssetInstallationRequest() = default;

    virtual Task<void> downloadAndInstall() = 0;
};

/// The on-device models behind the recogniser.
class AssetInventory {
public:
    AssetInventory() = default;
    AssetInventory(const AssetInventory&) = delete;
    AssetInventory& operator=(const AssetInventory&) = delete;
    virtual ~AssetInventory() = default;

    virtual Task<SpeechAssetStatus> status(const SpeechTranscriber& transcriber) = 0;

    /// Null when there is nothing to install.
    virtual Task<std::unique_ptr<SpeechAssetInstallationRequest>>
    assetInstallationRequest(const SpeechTranscriber& transcriber) = 0;
};

/// A recorded track to be recognised from its beginning to its end.
struct SpeechInputFile {
    std::filesystem::path path;
    double startTime{0};                        ///< of its first sample, seconds on the recording's time line
    std::function<void(double share)> progress; ///< 0 to 1, on the main executor; may be empty
};

/// A piece of live audio.
struct AnalyzerInput {
    SharedAudioBuffer buffer;
    double bufferStartTime{0}; ///< of its first frame, seconds on the recording's time line
};

/// Live audio to be recognised, as it comes.
class AnalyzerInputSequence {
public:
    AnalyzerInputSequence() = default;
    AnalyzerInputSequence(const AnalyzerInputSequence&) = delete;
    AnalyzerInputSequence& operator=(const AnalyzerInputSequence&) = delete;
    virtual ~AnalyzerInputSequence() = default;

    /// The next input in order; absent when the sequence has ended. Awaited by one reader, on whatever executor it has.
    virtual Task<std::optional<AnalyzerInput>> next() = 0;
};

/// One recognition, of a file or of live audio. Destroying it ends the work behind it.
class SpeechAnalyzer {
public:
    SpeechAnalyzer() = default;
    SpeechAnalyzer(const SpeechAnalyzer&) = delete;
    SpeechAnalyzer& operator=(const SpeechAnalyzer&) = delete;
    virtual ~SpeechAnalyzer() = default;

    /// Begins with the file and finishes by itself after its end. Throws when the file cannot be opened as audio.
    virtual Task<void> start(SpeechInputFile file) = 0;

    /// Loads what it takes to recognise live audio of this format; awaited before `start` with such audio.
    virtual Task<void> prepareToAnalyze(AudioFormat format) = 0;

    /// Begins with live audio and returns; inputs are taken as they come, until the sequence ends or the recognition
    /// does. Times may jump: what lies between is taken for silence.
    virtual Task<void> start(std::shared_ptr<AnalyzerInputSequence> inputs) = 0;

    /// The next result in order; absent when the sequence has ended. Awaited while `start` and the finishing run, and
    /// before them.
    virtual Task<std::optional<SpeechTranscriptionResult>> nextResult() = 0;

    /// Returns when everything that was put in, up to its end, has been recognised and its results delivered.
    virtual Task<void> finalizeAndFinishThroughEndOfInput() = 0;

    /// The result sequence ends at once.
    virtual void cancelAndFinishNow() noexcept = 0;
};

class SpeechRecognition {
public:
    SpeechRecognition() = default;
    SpeechRecognition(const SpeechRecognition&) = delete;
    SpeechRecognition& operator=(const SpeechRecognition&) = delete;
    virtual ~SpeechRecognition() = default;

    virtual bool isAvailable() const = 0;

    /// The recogniser's own locale that stands for the given one; absent when there is none.
    virtual Task<std::optional<std::string>> supportedLocale(const std::string& equivalentTo) = 0;
    virtual AssetInventory& assetInventory() = 0;

    /// The format of live audio that suits the transcriber best, considering what there is to convert from; absent when
    /// there is none.
    virtual Task<std::optional<AudioFormat>> bestAvailableAudioFormat(const SpeechTranscriber& compatibleWith,
                                                                      const AudioFormat& considering) = 0;
    virtual std::unique_ptr<SpeechAnalyzer> makeAnalyzer(const SpeechTranscriber& transcriber) = 0;
};

} // namespace talkledger
