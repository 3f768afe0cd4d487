#include "Rehearsal/Rehearsal.h"

#include "Rehearsal/CannedSummary.h"
#include "Rehearsal/Conversation.h"
#include "Rehearsal/ConversationPlayer.h"
#include "Rehearsal/DraftInWindow.h"
#include "Rehearsal/EchoCount.h"
#include "Rehearsal/RehearsedProgram.h"
#include "Rehearsal/SpeechSynthesis.h"
#include "Rehearsal/VirtualDisplay.h"
#include "Rehearsal/Waiting.h"
#include "Support/SoundSession.h"
#include "TalkledgerApp/TrayHost.h"
#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Support/Json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <utility>

namespace talkledger::rehearsal {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// A sound server without realtime rights has to keep up on a loaded machine: 171 ms for each cycle.
constexpr std::uint32_t kQuantum = 8192;
constexpr double kSmallestShareOfWords = 0.8;
constexpr double kSmallestShareOfLiveWords = 0.7;
constexpr double kLargestErrorMs = 1;
// Both tracks at a fifth of their length would do; this also holds on a loaded machine.
constexpr std::chrono::seconds kPatienceForTranscript{300};

double secondsSince(Clock::time_point time) {
    return std::chrono::duration<double>(Clock::now() - time).count();
}

/// Where the results go. Its "result.json" marks a folder as a rehearsal's own and names what may be replaced, so that
/// nobody else's files are lost.
class OutputFolder {
public:
    explicit OutputFolder(const fs::path& folder) : folder_(fs::absolute(folder)) {
        fs::create_directories(folder_);
        if (!fs::is_empty(folder_)) {
            removeEarlierResults();
        }
        note({{"failure", "The rehearsal has not ended."}});
    }

    fs::path recording() const { return folder_ / "recording"; }

    fs::path picture() const { return folder_ / "window.png"; }

    fs::path pictureWhileRecording() const { return folder_ / "window-recording.png"; }

    /// The document, if there is one.
    fs::path document() const { return folder_ / result_.value(kDocument, std::string()); }

    void takeRecording(const fs::path& from) const { fs::copy(from, recording(), fs::copy_options::recursive); }

    void takeDocument(const fs::path& from) {
        note({{kDocument, from.filename().string()}});
        fs::copy(from, document());
    }

    /// Adds to "result.json".
    void note(const Json& findings) {
        result_.update(findings);
        write();
    }

    void pass() {
        result_.erase("failure");
        write();
    }

private:
    static constexpr const char* kDocument = "document";

    void removeEarlierResults() const {
        const JsonSource source{.name = "The result of an earlier rehearsal in " + folder_.string(),
                                .advice = "Name a new or empty folder."};
        std::ifstream file(folder_ / kResult);
        const JsonDocument earlier(std::string(std::istreambuf_iterator<char>(file), {}), source);
        if (const auto document = earlier.root().optional(kDocument)) {
            fs::remove(folder_ / fs::path(document->string()).filename());
        }
        fs::remove_all(recording());
        fs::remove(picture());
        fs::remove(pictureWhileRecording());
    }

    void write() const {
        std::ofstream file(folder_ / kResult);
        file << encodeJson(result_) << '\n';
        file.close();
        if (!file) {
            throw RehearsalError("The result could not be written to " + folder_.string() + ".");
        }
    }

    static constexpr const char* kResult = "result.json";

    fs::path folder_;
    Json result_ = Json::object();
};

Json toJson(const WordShares& words) {
    return {{"me", words.me}, {"customer", words.customer}};
}

Json toJson(const RehearsalResult& result) {
    return {{"words", toJson(result.recording.words)},   {"liveWords", toJson(result.liveWords)},
            {"echoesDropped", result.echoesDropped},     {"micExact", result.recording.micExact},
            {"offsetMs", result.recording.offsetMs},     {"lengthErrorMs", result.recording.lengthErrorMs},
            {"likeness", result.recording.likeness},     {"recordingSeconds", result.recordingSeconds},
            {"captureCpuShare", result.captureCpuShare}, {"cpuShare", result.cpuShare},
            {"stopSeconds", result.stopSeconds}};
}

std::string percent(double share) {
    return std::to_string(std::lround(100 * share)) + " %";
}

std::string milliseconds(double value) {
    return std::to_string(std::round(value * 1000) / 1000) + " ms";
}

void demand(bool holds, const std::string& otherwise) {
    if (!holds) {
        throw RehearsalError(otherwise);
    }
}

void demandWords(const WordShares& words, double smallestShare, const std::string& where) {
    for (const auto& [speaker, share] : {std::pair("me", words.me), {"customer", words.customer}}) {
        demand(share >= smallestShare,
               "Of the words of \"" + std::string(speaker) + "\" only " + percent(share) + " stand in " + where + ".");
    }
}

/// Throws with the first thing that is not good enough.
void judge(const RehearsalResult& result, bool echoIsCertain) {
    const RecordingFindings& found = result.recording;
    demandWords(found.words, kSmallestShareOfWords, "the transcript");
    demandWords(result.liveWords, kSmallestShareOfLiveWords, "the live transcript when the recording is stopped");
    demand(found.micExact, "The passage that was played into the microphone does not stand in mic.wav sample for "
                           "sample.");
    demand(std::abs(found.offsetMs) <= kLargestErrorMs,
           "The passage in speaker.m4a begins " + milliseconds(found.offsetMs) + " off its place.");
    demand(std::abs(found.lengthErrorMs) <= kLargestErrorMs,
           "The passage in speaker.m4a is " + milliseconds(found.lengthErrorMs) + " longer than it was played.");
    demand(result.echoesDropped > 0 || !echoIsCertain,
           "No echo of the customer was found in the microphone's track, and there is one.");
}

/// What the program shows of the conversation, when that is enough or becomes no more.
WordShares waitForLiveWords(RehearsedProgram& program, const Conversation& conversation) {
    const auto begin = Clock::now();
    WordShares words;
    do {
        words = sharesOfWords(conversation, program.liveTranscript());
    } while (std::min(words.me, words.customer) < kSmallestShareOfLiveWords && Clock::now() < begin + kPatience);
    return words;
}

/// The first one is made half a minute after the recording began.
void waitForLiveSummary(RehearsedProgram& program) {
    if (hasLanguageModelEngine()) {
        program.await("the live summary is there", [&] { return isCannedSummary(program.liveSummary()); });
    }
}

void clickIfOffered(testing::TrayHost& tray, const char* text) {
    const auto entry = tray.entry(QString::fromLatin1(text));
    if (entry && entry->isEnabled()) {
        tray.click(entry->text());
    }
}

/// Plays the performance to the program while it records, and takes what came of it.
RehearsalResult record(const fs::path& programFile, const Conversation& conversation, const Performance& performance,
                       const testing::SoundSession& sound, OutputFolder& output) {
    const VirtualDisplay display;
    testing::EnvironmentChanges surroundings = sound.environment();
    surroundings.merge(display.environment());
    surroundings["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"; // costs nothing until there is a screen reader
    RehearsedProgram program({programFile.string()}, surroundings);
    testing::TrayHost tray(QString::fromStdString(program.environment().at("DBUS_SESSION_BUS_ADDRESS").value()));
    demand(tray.hasIcon(), "The program shows no icon in the tray.");
    installCannedSummary(program.home().models());

    // Linked before the recording begins, as a call is: joining both devices later would shift their cycles.
    ConversationPlayer player(performance, testing::SoundSession::kOutput, testing::SoundSession::kMicrophone);

    RehearsalResult result;
    const auto startTime = Clock::now();
    const auto startCpu = program.processorTime();
    const fs::path recording = program.startRecording([&] { clickIfOffered(tray, "Start Recording"); });
    program.waitUntilCapturing(recording);
    program.waitUntilListening();
    program.await("the program shows its window", [&] { return display.showsWindow(program.pid()); });

    const auto captureTime = Clock::now();
    const auto captureCpu = program.processorTime();
    player.play();
    player.waitUntilPlayed(std::chrono::seconds(performance.output.size() / kFrameRate) + kPatience);
    result.captureCpuShare = (program.processorTime() - captureCpu).count() / secondsSince(captureTime);
    result.liveWords = waitForLiveWords(program, conversation);
    waitForLiveSummary(program);
    display.photograph(program.pid(), output.pictureWhileRecording(), std::chrono::milliseconds(0));

    const auto stopTime = Clock::now();
    result.recordingSeconds = secondsSince(startTime);
    program.stopRecording();
    fs::path document;
    try {
        document = program.waitForDocument(kPatienceForTranscript);
    } catch (const std::exception&) {
        output.takeRecording(recording); // shows how far it came
        throw;
    }
    result.stopSeconds = secondsSince(stopTime);
    result.cpuShare = (program.processorTime() - startCpu).count() / result.recordingSeconds;

    output.takeRecording(recording);
    output.takeDocument(document);
    output.note({{"draft", talkledger::toJson(draftInWindow(program, recording))}});
    display.photograph(program.pid(), output.picture());
    program.end();
    demand(program.standardError().empty(), "The program complained: " + program.standardError());
    return result;
}

RehearsalResult rehearse(const RehearsalOptions& options, OutputFolder& output) {
    demand(fs::exists(options.program), "There is no program " + options.program.string() + ".");
    const fs::path file = options.conversation.value_or(TALKLEDGER_REHEARSAL_CONVERSATION);
    const Conversation conversation = loadConversation(file, synthesizerVoices());

    const testing::SoundSession sound({.quantum = kQuantum});
    sound.enter();
    const Performance performance = speak(conversation, sound.runtimeFolder());
    RehearsalResult result = record(fs::absolute(options.program), conversation, performance, sound, output);
    demandCompleteness(output.recording(), output.document());
    result.recording = examine(output.recording(), conversation, performance);
    result.echoesDropped = countEchoes(output.recording());
    output.note(toJson(result));
    judge(result, !options.conversation);
    output.pass();
    return result;
}

} // namespace

RehearsalResult rehearse(const RehearsalOptions& options) {
    OutputFolder output(options.outputFolder);
    try {
        return rehearse(options, output);
    } catch (const std::exception& failure) {
        output.note({{"failure", failure.what()}});
        throw;
    }
}

} // namespace talkledger::rehearsal
