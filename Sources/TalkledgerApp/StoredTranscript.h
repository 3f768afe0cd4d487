#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <QObject>
#include <QString>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace talkledger {

/// The transcript that a recording has on disk, read once for all that show it and again when it has been written
/// again; beside the main thread when it is long. A recording in progress has none. Main thread.
class StoredTranscript : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isBeingRead READ isBeingRead NOTIFY changed)

public:
    struct Content {
        std::vector<TranscriptSegment> segments;
        std::vector<TranscriptTimelineLine> lines;
        std::vector<TranscriptLineSpan> spans; ///< of the lines
    };

    /// `model` has to outlive it.
    explicit StoredTranscript(const AppModel& model);

    const QString& recordingID() const { return recordingID_; }

    void setRecordingID(const QString& recordingID);

    /// What has been read; that of an earlier reading until `isBeingRead` ends.
    const Content& content() const { return content_; }

    bool isBeingRead() const { return isBeingRead_; }

Q_SIGNALS:
    void changed();

private:
    struct Version {
        std::filesystem::path file;
        std::filesystem::file_time_type written;

        bool operator==(const Version&) const = default;
    };

    std::optional<Version> versionOnDisk() const;
    void load();
    static Task<void> readBeside(std::weak_ptr<StoredTranscript*> weak, Executor background,
                                 const FileSystem& fileSystem, Version version);
    void take(Content content);

    const AppModel& model_;
    std::shared_ptr<StoredTranscript*> self_; ///< for what is read too late
    QString recordingID_;
    std::optional<Version> version_; ///< that is shown or being read; absent when there is none
    Content content_;
    bool isBeingRead_{false};
};

} // namespace talkledger
