#include "TalkledgerCore/Export/RecordingMarkdownExporter.h"

#include "TalkledgerCore/Support/Dates.h"
#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace talkledger {

namespace {

using Lines = std::vector<std::string>;

void appendList(const std::string& title, const std::vector<std::string>& values, const AppCopy& copy, Lines& lines) {
    lines.push_back("## " + title);
    lines.emplace_back();
    for (const std::string& value : values) {
        lines.push_back("- " + value);
    }
    if (values.empty()) {
        lines.push_back("- " + copy.none());
    }
    lines.emplace_back();
}

void appendSummary(const std::optional<SalesSummary>& summary, const AppCopy& copy, Lines& lines) {
    if (!summary) {
        lines.insert(lines.end(), {"## " + copy.summary(), "", copy.noSummaryAvailable(), ""});
        return;
    }
    lines.insert(lines.end(), {"## " + copy.overview(), "", copy.summaryOverview(summary->overview), ""});
    appendList(copy.decisions(), summary->decisions, copy, lines);
    appendList(copy.actionItems(), summary->nextActions, copy, lines);
    appendList(copy.unresolvedQuestions(), summary->unresolvedQuestions, copy, lines);
}

void appendTranscript(const std::vector<TranscriptTimelineLine>& timeline, const AppCopy& copy, Lines& lines) {
    lines.push_back("## " + copy.transcript());
    lines.emplace_back();
    for (const TranscriptTimelineLine& line : timeline) {
        lines.push_back("- `" + line.timecode + "` " + copy.roleLabel(line.role) + ": " + line.text);
    }
    if (timeline.empty()) {
        lines.push_back(copy.noTranscriptSegments());
    }
    lines.emplace_back();
}

std::string joinedLines(const Lines& lines) {
    std::string document;
    for (const std::string& line : lines) {
        document += line;
        document += '\n';
    }
    return document;
}

bool isForbiddenInFileNames(char32_t scalar) {
    constexpr std::u32string_view forbidden = U"/\\?%*|\"<>:";
    return forbidden.find(scalar) != std::u32string_view::npos || text::isNewline(scalar) || text::isControl(scalar);
}

/// As many characters from the beginning as fit in `maximumBytes`.
std::string prefixOfBytes(const std::string& text, std::size_t maximumBytes) {
    std::string taken;
    for (const std::string& character : text::characters(text)) {
        if (taken.size() + character.size() > maximumBytes) {
            break;
        }
        taken += character;
    }
    return taken;
}

} // namespace

std::string RecordingMarkdownDocumentBuilder::build(const RecordingSession& session,
                                                    const TranscriptDocument& transcript,
                                                    const std::optional<SalesSummary>& summary,
                                                    const AppCopy& copy) const {
    Lines lines{"# " + copy.sessionTitle(session.title), ""};
    lines.push_back("- " + copy.recording() + ": " + formatIso8601(session.startedAt));
    if (session.endedAt) {
        lines.push_back("- " + copy.saved() + ": " + formatIso8601(*session.endedAt));
    }
    lines.emplace_back();
    appendSummary(summary, copy, lines);
    appendTranscript(timelineBuilder.buildLines(transcript), copy, lines);
    return text::validated(joinedLines(lines));
}

RecordingMarkdownExporter::RecordingMarkdownExporter(FileSystem& fileSystem,
                                                     RecordingMarkdownDocumentBuilder documentBuilder)
    : fileSystem_(&fileSystem), documentBuilder_(documentBuilder) {}

std::filesystem::path RecordingMarkdownExporter::exportDocument(const RecordingSession& session,
                                                                const TranscriptDocument& transcript,
                                                                const std::optional<SalesSummary>& summary,
                                                                const std::filesystem::path& directory,
                                                                const AppCopy& copy) {
    fileSystem_->createDirectory(directory);
    const std::string document = documentBuilder_.build(session, transcript, summary, copy);
    std::filesystem::path file = directory / fileName(session, copy);
    fileSystem_->writeFileAtomically(file, document);
    return file;
}

std::filesystem::path RecordingMarkdownExporter::defaultExportDirectory() {
    return fileSystem_->documentsDirectory() / "Talkledger Transcripts";
}

std::string RecordingMarkdownExporter::fileName(const RecordingSession& session, const AppCopy& copy) {
    constexpr std::size_t maximumBytes = 255;
    constexpr std::string_view extension = ".md";
    std::string name = formatIso8601ForFileName(session.startedAt) + '-';
    const std::string title = sanitizedFileName(copy.sessionTitle(session.title));
    name += prefixOfBytes(title, maximumBytes - name.size() - extension.size());
    name += extension;
    return name;
}

std::string RecordingMarkdownExporter::sanitizedFileName(const std::string& title) {
    constexpr std::size_t maximumCharacters = 80;
    std::u32string name;
    for (const char32_t scalar : text::scalars(title)) {
        const bool isBlank = isForbiddenInFileNames(scalar) || text::isWhitespaceOrNewline(scalar);
        if (!isBlank) {
            name += scalar;
        } else if (!name.empty() && name.back() != U' ') {
            name += U' ';
        }
    }
    const std::string trimmed = text::trimmed(text::fromScalars(name));
    return trimmed.empty() ? "transcript" : text::prefix(trimmed, maximumCharacters);
}

} // namespace talkledger
