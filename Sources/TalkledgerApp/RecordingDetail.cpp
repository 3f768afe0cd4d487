#include "TalkledgerApp/RecordingDetail.h"

#include <utility>

namespace talkledger {

RecordingDetail::RecordingDetail(const AppModel& model, const RecordingListModel& recordings)
    : recordings_(recordings), lines_(model) {
    connect(&recordings, &QAbstractItemModel::dataChanged, this, &RecordingDetail::changed);
    connect(&recordings, &RecordingListModel::countChanged, this, &RecordingDetail::changed);
}

void RecordingDetail::setRecordingID(const QString& recordingID) {
    if (std::exchange(recordingID_, recordingID) != recordingID) {
        lines_.setRecordingID(recordingID);
        Q_EMIT changed();
    }
}

QString RecordingDetail::field(RecordingListModel::Role role) const {
    return recordings_.data(recordings_.index(recordings_.rowOf(recordingID_)), role).toString();
}

} // namespace talkledger
