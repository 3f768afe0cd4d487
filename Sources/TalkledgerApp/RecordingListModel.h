#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Model/Models.h"

#include <QAbstractListModel>
#include <vector>

namespace talkledger {

/// The rows of the recording list. They follow the model's sessions one by one, so that selection and scrolling stay
/// when a recording comes or goes.
class RecordingListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role { recordingID = Qt::UserRole, title, startTime, duration, status };

    /// `model` has to outlive it.
    explicit RecordingListModel(const AppModel& model);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return rowCount(); }

    /// The row of a recording; -1 when it is not there.
    Q_INVOKABLE int rowOf(const QString& recordingID) const;
    Q_INVOKABLE QString recordingIDAt(int row) const;

Q_SIGNALS:
    void countChanged();

private:
    void follow();
    void redrawAll();
    QString statusOf(const RecordingSession& session) const;
    QString startTimeOf(const RecordingSession& session) const;

    const AppModel& model_;
    std::vector<RecordingSession> sessions_;
};

} // namespace talkledger
