#include "TalkledgerCore/Storage/RecordingStore.h"

#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Support/Dates.h"
#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace talkledger {

namespace {

constexpr std::string_view sessionFileName = "session.json";

std::string slug(std::string_view title) {
    std::string result;
    for (const char character : text::lowercased(title)) {
        if ((character >= 'a' && character <= 'z') || (character >= '0' && character <= '9')) {
            result += character;
        } else if (!result.empty() && result.back() != '-') {
            result += '-';
        }
    }
    if (result.ends_with('-')) {
        result.pop_back();
    }
    return result.empty() ? "meeting" : result;
}

RecordingArtifacts artifactsIn(const std::filesystem::path& directory) {
    return {.micAudio = directory / "mic.wav",
            .speakerAudio = directory / "speaker.m4a",
            .transcript = directory / "transcript.json",
            .summary = directory / "summary.json",
            .diagnostics = directory / "diagnostics.json"};
}

/// As the paths are written: nothing is asked of the disk, and a dot or two dots for a name is no child.
bool isDirectChild(const std::filesystem::path& path, const std::filesystem::path& folder) {
    return path == path.lexically_normal() && path.has_filename() && path.filename() != ".." &&
           path.filename() != "." && path.parent_path() == folder.lexically_normal();
}

/// The session as found in `directory`, whatever locations it names.
RecordingSession rebased(RecordingSession session, const std::filesystem::path& directory) {
    session.directory = directory;
    session.artifacts = artifactsIn(directory);
    return session;
}

std::filesystem::path withoutTrailingSlash(const std::filesystem::path& path) {
    const std::filesystem::path normal = path.lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
}

} // namespace

RecordingStore::RecordingStore(std::filesystem::path rootDirectory, FileSystem& fileSystem)
    : rootDirectory_(withoutTrailingSlash(rootDirectory)), fileSystem_(&fileSystem) {
    fileSystem_->createDirectory(rootDirectory_);
}

std::filesystem::path RecordingStore::defaultRootDirectory(FileSystem& fileSystem) {
    return fileSystem.applicationSupportDirectory() / "Talkledger" / "Recordings";
}

std::string RecordingStore::sessionDirectoryName(const boost::uuids::uuid& id, std::string_view title, Date startedAt) {
    constexpr std::size_t shownUuidCharacters = 8;
    return formatIso8601ForFileName(startedAt) + '-' + slug(title) + '-' + uuidText(id).substr(0, shownUuidCharacters);
}

std::filesystem::path RecordingStore::liveTranscriptFile(const RecordingSession& session) {
    return session.directory / "live-transcript.json";
}

RecordingSession RecordingStore::createSession(const std::string& title, Date startedAt) {
    const boost::uuids::uuid id = randomUuid();
    const std::filesystem::path directory = rootDirectory_ / sessionDirectoryName(id, title, startedAt);
    fileSystem_->createDirectory(directory);
    RecordingSession session{.id = id,
                             .title = title,
                             .startedAt = startedAt,
                             .endedAt = std::nullopt,
                             .directory = directory,
                             .artifacts = artifactsIn(directory)};
    saveSession(session);
    const RecordingDiagnostics initial{
        .microphoneStarted = false, .systemAudioStarted = false, .messages = {"Session created."}, .artifacts = {}};
    saveDiagnostics(initial, session);
    return session;
}

RecordingSession RecordingStore::finishSession(const RecordingSession& session, Date endedAt) {
    RecordingSession finished = session;
    finished.endedAt = endedAt;
    saveSession(finished);
    return finished;
}

RecordingSession RecordingStore::renameSession(const RecordingSession& session, const std::string& title) {
    std::string trimmed = text::trimmed(title);
    if (trimmed.empty()) {
        return session;
    }
    RecordingSession renamed = session;
    renamed.title = std::move(trimmed);
    saveSession(renamed);
    return renamed;
}

RecordingSession RecordingStore::loadSession(const RecordingSession& session) const {
    return rebased(load<RecordingSession>(session.directory / sessionFileName), session.directory);
}

std::vector<RecordingSession> RecordingStore::loadSessions() const {
    std::vector<RecordingSession> sessions;
    if (!fileSystem_->fileExists(rootDirectory_)) {
        return sessions;
    }
    for (const std::filesystem::path& directory : fileSystem_->contentsOfDirectory(rootDirectory_)) {
        const std::filesystem::path file = directory / sessionFileName;
        if (fileSystem_->fileExists(file)) {
            sessions.push_back(rebased(load<RecordingSession>(file), directory));
        }
    }
    std::stable_sort(sessions.begin(), sessions.end(), [](const RecordingSession& first, const RecordingSession& next) {
        return first.startedAt < next.startedAt;
    });
    return sessions;
}

void RecordingStore::saveTranscript(const TranscriptDocument& transcript, const RecordingSession& session) {
    write(encodeJson(toJson(transcript)), session.artifacts.transcript, session);
}

void RecordingStore::saveLiveTranscript(const TranscriptDocument& transcript, const RecordingSession& session) {
    write(encodeJson(toJson(transcript)), liveTranscriptFile(session), session);
}

void RecordingStore::saveSummary(const SalesSummary& summary, const RecordingSession& session) {
    write(encodeJson(toJson(summary)), session.artifacts.summary, session);
}

void RecordingStore::saveDiagnostics(const RecordingDiagnostics& diagnostics, const RecordingSession& session) {
    write(encodeJson(toJson(diagnostics)), session.artifacts.diagnostics, session);
}

TranscriptDocument RecordingStore::loadTranscript(const RecordingSession& session) const {
    return load<TranscriptDocument>(session.artifacts.transcript);
}

TranscriptDocument RecordingStore::loadLiveTranscript(const RecordingSession& session) const {
    return load<TranscriptDocument>(liveTranscriptFile(session));
}

SalesSummary RecordingStore::loadSummary(const RecordingSession& session) const {
    return load<SalesSummary>(session.artifacts.summary);
}

RecordingDiagnostics RecordingStore::loadDiagnostics(const RecordingSession& session) const {
    return load<RecordingDiagnostics>(session.artifacts.diagnostics);
}

void RecordingStore::saveSession(const RecordingSession& session) {
    write(encodeJson(toJson(session)), session.directory / sessionFileName, session);
}

void RecordingStore::write(std::string_view content, const std::filesystem::path& file,
                           const RecordingSession& session) {
    if (!isDirectChild(session.directory, rootDirectory_) || fileSystem_->isSymbolicLink(session.directory)) {
        throw FileSystemError("Nothing is written to the folder \"" + session.directory.string() +
                              "\": it is no folder of its own in \"" + rootDirectory_.string() +
                              "\". Move the recording's folder there.");
    }
    if (!isDirectChild(file, session.directory)) {
        throw FileSystemError("The file \"" + file.string() +
                              "\" is not written: it lies outside the recording's folder \"" +
                              session.directory.string() + "\". Correct the locations in its session.json.");
    }
    fileSystem_->writeFileAtomically(file, content);
}

template <typename Value>
Value RecordingStore::load(const std::filesystem::path& file) const {
    return decodeJson<Value>(fileSystem_->readFile(file, maximumFileBytes), jsonFile(file));
}

} // namespace talkledger
