#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/RecordingListModel.h"
#include "TalkledgerApp/RecordingSearchIndex.h"

#include <boost/asio/thread_pool.hpp>

#include <QAbstractListModel>
#include <QString>
#include <memory>

namespace talkledger {

/// What is found in the recordings while the user types, newest first. The index is kept and searched beside the main
/// thread, which only hands over and takes over; results of an earlier query are dropped. Main thread.
class RecordingSearchModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString typed READ typed WRITE setTyped NOTIFY typedChanged)
    Q_PROPERTY(bool isActive READ isActive NOTIFY typedChanged)
    Q_PROPERTY(int count READ count NOTIFY found)
    Q_PROPERTY(int recordingCount READ recordingCount NOTIFY found)
    Q_PROPERTY(int hitCount READ hitCount NOTIFY found)

public:
    enum Role {
        recordingID = Qt::UserRole,
        title,    ///< marked
        day,      ///< empty for today
        time,     ///< of that day
        duration, ///< empty as long as it has no end
        hits,     ///< how many
        line,     ///< of the transcript in which it is found first; -1
        snippets, ///< maps of a source ("title", "transcript" or "summary"), a timecode and a marked text
    };

    /// Both have to outlive it.
    RecordingSearchModel(const AppModel& model, const RecordingListModel& recordings);
    ~RecordingSearchModel() override;
    RecordingSearchModel(const RecordingSearchModel&) = delete;
    RecordingSearchModel& operator=(const RecordingSearchModel&) = delete;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

    int count() const { return rowCount(); }

    const QString& typed() const { return typed_; }

    void setTyped(const QString& typed);

    /// There is something to be found.
    bool isActive() const { return !query_.isEmpty(); }

    const RecordingSearchQuery& query() const { return query_; }

    int recordingCount() const { return static_cast<int>(result_.recordingCount); }

    /// -1 when there are too many to be counted.
    int hitCount() const { return result_.hitCount ? static_cast<int>(*result_.hitCount) : -1; }

    /// The text with what is found in it as styled text; empty when nothing is. `current`, if it is not negative, is
    /// the number of the place that has the other style.
    Q_INVOKABLE QString marked(const QString& text, const QString& style, int current = -1,
                               const QString& currentStyle = {}) const;

    /// Whoever shows marks has this in them, to be replaced by a style.
    static QString styleOfMarks() { return QStringLiteral("{mark}"); }

Q_SIGNALS:
    void typedChanged();
    void found();

private:
    struct Shared;

    void updateIndex();
    void search(std::size_t most);
    void take(RecordingSearchIndex::Result result);

    const AppModel& model_;
    const RecordingListModel& recordings_;
    QString typed_;
    RecordingSearchQuery query_;
    RecordingSearchIndex::Result result_;
    bool isSearching_{false};
    std::shared_ptr<Shared> shared_;       ///< with what runs beside
    boost::asio::thread_pool indexing_{1}; ///< destroyed first: it waits for what runs
    boost::asio::thread_pool searching_{1};
};

} // namespace talkledger
