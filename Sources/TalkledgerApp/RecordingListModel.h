#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Model/Models.h"

#include <QAbstractListModel>
#include <QDate>
#include <QString>
#include <map>
#include <string>
#include <vector>

namespace talkledger {

/// The rows of the recording list. They follow the model's sessions one by one, so that selection and scrolling stay
/// when a recording comes or goes.
class RecordingListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role {
        recordingID = Qt::UserRole,
        title,      ///< short, and telling where the summary is
        fullTitle,  ///< the same without a limit
        day,        ///< when it began, as a heading over the day's recordings
        date,       ///< the same in full
        time,       ///< of that day
        duration,   ///< empty as long as it has no end
        status,     ///< "recording", "transcribing", "transcribed" or "interrupted"
        statusText, ///< that in words
    };

    /// `model` has to outlive it.
    explicit RecordingListModel(const AppModel& model);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return rowCount(); }

    /// The row of a recording; -1 when it is not there.
    int rowOf(const boost::uuids::uuid& recordingID) const;
    Q_INVOKABLE int rowOf(const QString& recordingID) const;
    Q_INVOKABLE QString recordingIDAt(int row) const;

    /// In full; empty when it is not there.
    Q_INVOKABLE QString titleOf(const QString& recordingID) const;

    /// Which recording is selected after that one has been clicked, and which when nobody has clicked: the one in
    /// progress before the one that was. Empty without recordings.
    Q_INVOKABLE QString selection(const QString& clickedID) const;
    Q_INVOKABLE QString preferredSelection(const QString& selectedID) const;

Q_SIGNALS:
    void countChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    struct Title {
        QString inSidebar;
        QString inFull;
    };

    struct Status {
        QString name;
        std::string words;
    };

    void follow();
    void redrawAll();
    void redraw(const QString& recordingID);
    const Title& titleOf(const RecordingSession& session) const;
    Status statusOf(const RecordingSession& session) const;
    QString dayOf(const RecordingSession& session) const;
    QString dateOf(const RecordingSession& session) const;

    const AppModel& model_;
    std::vector<RecordingSession> sessions_;
    mutable std::map<boost::uuids::uuid, int> rows_;     ///< made when they are first asked for
    mutable std::map<boost::uuids::uuid, Title> titles_; ///< of rows that were shown: summaries are read for them
    QDate today_;
};

} // namespace talkledger
