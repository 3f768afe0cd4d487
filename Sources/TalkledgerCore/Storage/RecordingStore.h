#pragma once

#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/FileSystem.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

/// The library of recordings on disk: one folder per recording below a fixed root. It keeps nothing in memory; every
/// load reads the disk, and every write replaces a whole file.
///
/// What is read is taken for hostile. A recording is where its "session.json" was found, whatever locations the file
/// names, and nothing is written but direct children of a recording's own folder, itself a true folder (no symbolic
/// link) directly below the root.
///
/// Failures are `FileSystemError` and `JsonError`. No lock and no thread of its own.
class RecordingStore {
public:
    static constexpr std::int64_t maximumFileBytes = std::int64_t{64} << 20;

    /// Makes the root. `fileSystem` has to outlive the store.
    RecordingStore(std::filesystem::path rootDirectory, FileSystem& fileSystem);
    RecordingStore(const RecordingStore&) = delete;
    RecordingStore& operator=(const RecordingStore&) = delete;
    ~RecordingStore() = default;

    /// The user's own library: "Talkledger/Recordings" below the folder for programs' data.
    static std::filesystem::path defaultRootDirectory(FileSystem& fileSystem);

    const std::filesystem::path& rootDirectory() const { return rootDirectory_; }

    /// Start, title and identity in a form that suits a file name; fixed for the recording's life.
    static std::string sessionDirectoryName(const boost::uuids::uuid& id, std::string_view title, Date startedAt);

    /// Where the transcript that was written while a recording was in progress is kept.
    static std::filesystem::path liveTranscriptFile(const RecordingSession& session);

    /// The folder with its "session.json" and first "diagnostics.json". The title is kept as it is.
    RecordingSession createSession(const std::string& title, Date startedAt);
    RecordingSession finishSession(const RecordingSession& session, Date endedAt);

    /// A blank title changes nothing.
    RecordingSession renameSession(const RecordingSession& session, const std::string& title);

    /// What the recording's "session.json" says now.
    RecordingSession loadSession(const RecordingSession& session) const;

    /// Oldest first. One unreadable "session.json" is an error of the whole: no recording goes missing unnoticed.
    std::vector<RecordingSession> loadSessions() const;

    void saveTranscript(const TranscriptDocument& transcript, const RecordingSession& session);
    void saveSummary(const SalesSummary& summary, const RecordingSession& session);
    void saveDiagnostics(const RecordingDiagnostics& diagnostics, const RecordingSession& session);

    /// Of the recording in progress, beside what it will have in the end; from any thread.
    void saveLiveTranscript(const TranscriptDocument& transcript, const RecordingSession& session);

    /// A missing file is an error like any other.
    TranscriptDocument loadTranscript(const RecordingSession& session) const;
    TranscriptDocument loadLiveTranscript(const RecordingSession& session) const;
    SalesSummary loadSummary(const RecordingSession& session) const;
    RecordingDiagnostics loadDiagnostics(const RecordingSession& session) const;

private:
    void saveSession(const RecordingSession& session);
    void write(std::string_view content, const std::filesystem::path& file, const RecordingSession& session);
    template <typename Value>
    Value load(const std::filesystem::path& file) const;

    std::filesystem::path rootDirectory_;
    FileSystem* fileSystem_;
};

} // namespace talkledger
