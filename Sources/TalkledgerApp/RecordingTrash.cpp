#include "TalkledgerApp/RecordingTrash.h"

#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <exception>
#include <utility>

namespace talkledger {

RecordingTrash::RecordingTrash(AppModel& model, const RecordingRevisions& revisions)
    : model_(model), revisions_(revisions) {}

QString RecordingTrash::title() const {
    return removed_ ? removed_->title : QString();
}

bool RecordingTrash::canRemove(const QString& recordingID) const {
    return model_.session(recordingID) != nullptr && recordingID != model_.currentRecordingID() &&
           recordingID != revisions_.recordingID();
}

void RecordingTrash::remove(const QString& recordingID) {
    if (!canRemove(recordingID)) {
        return;
    }
    model_.dismissLastError();
    try {
        const RecordingSession session = *model_.session(recordingID);
        const QString title = QString::fromStdString(
            RecordingListTitleBuilder().title(session, model_.listSummary(session), model_.copy()));
        const std::filesystem::path trashed = model_.ports().desktop.moveToTrash(session.directory);
        removed_ = {.session = session, .title = title, .trashed = trashed};
        model_.refreshSession(session);
    } catch (const std::exception& error) {
        model_.showError(error.what());
    }
    Q_EMIT changed();
}

void RecordingTrash::undo() {
    const std::optional<Removed> removed = std::exchange(removed_, std::nullopt);
    if (!removed) {
        return;
    }
    model_.dismissLastError();
    try {
        model_.ports().desktop.restoreFromTrash(removed->trashed, removed->session.directory);
        model_.refreshSession(removed->session);
    } catch (const std::exception& error) {
        model_.showError(error.what());
    }
    Q_EMIT changed();
    Q_EMIT restored(QString::fromStdString(uuidText(removed->session.id)));
}

void RecordingTrash::dismiss() {
    removed_.reset();
    Q_EMIT changed();
}

} // namespace talkledger
