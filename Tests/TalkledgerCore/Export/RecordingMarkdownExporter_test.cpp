#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Export/RecordingMarkdownExporter.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

constexpr AppCopy english{DisplayLanguage::english};
constexpr AppCopy japanese{DisplayLanguage::japanese};

RecordingSession session(std::string title) {
    RecordingSession session;
    session.title = std::move(title);
    session.startedAt = Date(std::chrono::seconds(1748827800));
    return session;
}

TranscriptDocument transcript() {
    return {{{AudioChannel::mic, SpeakerRole::me, 0, 1, " Hello ", TranscriptSegmentStatus::final},
             {AudioChannel::speaker, SpeakerRole::customer, 75.9, 1, "予算は", TranscriptSegmentStatus::partial},
             {AudioChannel::speaker, SpeakerRole::customer, 77, 1, "百万円", TranscriptSegmentStatus::final}}};
}

TEST(RecordingMarkdownDocumentBuilder, WritesTheWholeDocumentInEnglish) {
    RecordingSession finished = session("商談 2025-06-02 10:30:00");
    finished.endedAt = finished.startedAt + std::chrono::seconds(90);
    SalesSummary summary;
    summary.overview = "Customer discussion captured for review.";
    summary.decisions = {"Ship it", "Call back"};
    summary.objections = {"never shown"};
    EXPECT_EQ(RecordingMarkdownDocumentBuilder().build(finished, transcript(), summary, english),
              R"(# Sales call 2025-06-02 10:30:00

- Recording: 2025-06-02T01:30:00Z
- Saved: 2025-06-02T01:31:30Z

## Overview

Customer discussion captured for review.

## Decisions

- Ship it
- Call back

## Action items

- None

## Open questions

- None

## Transcript

- `00:00` Me: Hello
- `01:15` Customer: 予算は百万円

)");
}

TEST(RecordingMarkdownDocumentBuilder, SpeaksTheDisplayLanguageAndSaysWhatIsMissing) {
    SalesSummary summary;
    summary.overview = "Customer discussion captured for review.";
    const std::string inJapanese =
        RecordingMarkdownDocumentBuilder().build(session("Sales call A"), {}, summary, japanese);
    EXPECT_TRUE(inJapanese.starts_with("# 商談 A\n\n- 録音中: 2025-06-02T01:30:00Z\n\n## 概要\n\n"
                                       "商談内容を確認用に保存しました。\n\n## 決定事項\n\n- なし\n\n"))
        << inJapanese;
    EXPECT_EQ(RecordingMarkdownDocumentBuilder().build(session("Mine"), {}, std::nullopt, english),
              "# Mine\n\n- Recording: 2025-06-02T01:30:00Z\n\n## Summary\n\nNo summary yet.\n\n"
              "## Transcript\n\nNo transcript segments to show\n\n");
}

TEST(RecordingMarkdownExporter, MakesFileNamesOfTitles) {
    const auto sanitized = [](const std::string& title) { return RecordingMarkdownExporter::sanitizedFileName(title); };
    EXPECT_EQ(sanitized("a/b\\c?d%e*f|g\"h<i>j:k"), "a b c d e f g h i j k");
    EXPECT_EQ(sanitized(" a \t\u3000 b\r\nc\x01\x7F "), "a b c");
    EXPECT_EQ(sanitized(":/ \n%"), "transcript");
    EXPECT_EQ(sanitized("👨‍👩‍👧 & \xFF"), "👨‍👩‍👧 & \uFFFD");
    EXPECT_EQ(sanitized(std::string(200, 'x')), std::string(80, 'x'));
    EXPECT_EQ(RecordingMarkdownExporter::fileName(session("Sales call 2025-06-02 10:30:00"), japanese),
              "2025-06-02T01-30-00Z-商談 2025-06-02 10 30 00.md");
}

TEST(RecordingMarkdownExporter, WritesATitleOfAnyLengthAndReplacesItself) {
    const testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    RecordingMarkdownExporter exporter(fileSystem);
    const std::filesystem::path target = folder.path() / "new" / "folder";
    std::string title;
    for (int index = 0; index < 200; ++index) {
        title += "談";
    }
    const auto first = exporter.exportDocument(session(title), {}, std::nullopt, target, english);
    const auto second = exporter.exportDocument(session(title), transcript(), std::nullopt, target, english);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first.parent_path(), target);
    EXPECT_LE(first.filename().native().size(), 255U);
    EXPECT_TRUE(first.filename().native().ends_with("談.md"));
    const std::string document = fileSystem.readFile(second, 1 << 20);
    EXPECT_TRUE(document.starts_with("# " + title + "\n"));
    EXPECT_NE(document.find("Hello"), std::string::npos);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(target), {}), 1);
}

} // namespace
} // namespace talkledger
