#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"
#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <filesystem>
#include <optional>
#include <string>

namespace talkledger {

/// The Markdown document of a recording in the language of an `AppCopy`: title, times, the main parts of the summary
/// and the transcript. Never fails.
struct RecordingMarkdownDocumentBuilder {
    TranscriptTimelineBuilder timelineBuilder;

    std::string build(const RecordingSession& session, const TranscriptDocument& transcript,
                      const std::optional<SalesSummary>& summary, const AppCopy& copy) const;
};

/// Writes the document to a folder under a name made of the recording's start and title.
class RecordingMarkdownExporter {
public:
    /// `fileSystem` has to outlive the exporter.
    explicit RecordingMarkdownExporter(FileSystem& fileSystem, RecordingMarkdownDocumentBuilder documentBuilder = {});

    /// Makes the folder if need be, replaces an earlier export of the same name, and returns the file. Throws
    /// `FileSystemError`.
    std::filesystem::path exportDocument(const RecordingSession& session, const TranscriptDocument& transcript,
                                         const std::optional<SalesSummary>& summary,
                                         const std::filesystem::path& directory, const AppCopy& copy);

    /// "Talkledger Transcripts" in the user's documents folder. Throws `FileSystemError`.
    std::filesystem::path defaultExportDirectory();

    /// At most 255 bytes, the longest name that a Linux file system takes: a title of long characters is cut earlier
    /// than its 80 characters.
    static std::string fileName(const RecordingSession& session, const AppCopy& copy);

    /// The title without what file names do not take, in at most 80 characters.
    static std::string sanitizedFileName(const std::string& title);

private:
    FileSystem* fileSystem_;
    RecordingMarkdownDocumentBuilder documentBuilder_;
};

} // namespace talkledger
