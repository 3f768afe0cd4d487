#include "TalkledgerApp/RecordingListModel.h"

#include "TalkledgerCore/Presentation/RecordingDisplayMetadataBuilder.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <QDateTime>
#include <QLocale>
#include <algorithm>
#include <chrono>
#include <set>

namespace talkledger {

RecordingListModel::RecordingListModel(const AppModel& model) : model_(model), sessions_(model.sessions()) {
    connect(&model, &AppModel::sessionsChanged, this, &RecordingListModel::follow);
    connect(&model, &AppModel::displayLanguageChanged, this, &RecordingListModel::redrawAll);
    connect(&model, &AppModel::currentSessionChanged, this, &RecordingListModel::redrawAll);
}

int RecordingListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(sessions_.size());
}

QVariant RecordingListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const RecordingSession& session = sessions_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case recordingID:
        return QString::fromStdString(uuidText(session.id));
    case title:
        return QString::fromStdString(model_.copy().sessionTitle(session.title));
    case startTime:
        return startTimeOf(session);
    case duration:
        return QString::fromStdString(
            RecordingDisplayMetadataBuilder().build(session, std::chrono::system_clock::now()).duration);
    case status:
        return statusOf(session);
    default:
        return {};
    }
}

QHash<int, QByteArray> RecordingListModel::roleNames() const {
    return {{recordingID, "recordingID"},
            {title, "title"},
            {startTime, "startTime"},
            {duration, "duration"},
            {status, "status"}};
}

int RecordingListModel::rowOf(const QString& recordingID) const {
    const std::string identifier = recordingID.toStdString();
    const auto found = std::find_if(sessions_.begin(), sessions_.end(), [&](const RecordingSession& session) {
        return uuidText(session.id) == identifier;
    });
    return found == sessions_.end() ? -1 : static_cast<int>(found - sessions_.begin());
}

QString RecordingListModel::recordingIDAt(int row) const {
    return data(index(row), recordingID).toString();
}

void RecordingListModel::follow() {
    const std::vector<RecordingSession>& wanted = model_.sessions();
    std::set<boost::uuids::uuid> wantedIDs;
    for (const RecordingSession& session : wanted) {
        wantedIDs.insert(session.id);
    }
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (!wantedIDs.contains(sessions_[static_cast<std::size_t>(row)].id)) {
            beginRemoveRows({}, row, row);
            sessions_.erase(sessions_.begin() + row);
            endRemoveRows();
        }
    }
    // Both are in the same order now, and what is missing in one is to be inserted.
    for (std::size_t position = 0; position < wanted.size(); ++position) {
        const int row = static_cast<int>(position);
        if (position == sessions_.size() || sessions_[position].id != wanted[position].id) {
            beginInsertRows({}, row, row);
            sessions_.insert(sessions_.begin() + row, wanted[position]);
            endInsertRows();
        } else if (sessions_[position] != wanted[position]) {
            sessions_[position] = wanted[position];
            Q_EMIT dataChanged(index(row), index(row));
        }
    }
    Q_EMIT countChanged();
}

void RecordingListModel::redrawAll() {
    if (!sessions_.empty()) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    }
}

/// A recording without an end that is not in progress was cut off by the end of the program.
QString RecordingListModel::statusOf(const RecordingSession& session) const {
    if (session.endedAt) {
        return QStringLiteral("transcribed");
    }
    const bool isCurrent = model_.currentSession() && model_.currentSession()->id == session.id;
    return isCurrent ? QStringLiteral("recording") : QStringLiteral("interrupted");
}

QString RecordingListModel::startTimeOf(const RecordingSession& session) const {
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(session.startedAt.time_since_epoch());
    const QDateTime start = QDateTime::fromMSecsSinceEpoch(sinceEpoch.count());
    return model_.displayLanguage() == DisplayLanguage::japanese
               ? QLocale(QLocale::Japanese).toString(start, QStringLiteral("M月d日（ddd） HH:mm"))
               : QLocale(QLocale::English).toString(start, QStringLiteral("ddd d MMM HH:mm"));
}

} // namespace talkledger
