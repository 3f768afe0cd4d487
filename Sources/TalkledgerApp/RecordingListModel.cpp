#include "TalkledgerApp/RecordingListModel.h"

#include "TalkledgerApp/ScreenText.h"
#include "TalkledgerCore/Presentation/RecordingDisplayMetadataBuilder.h"
#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"
#include "TalkledgerCore/Presentation/RecordingSelection.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <QDateTime>
#include <QLocale>
#include <algorithm>
#include <chrono>
#include <optional>
#include <set>

namespace talkledger {
namespace {

/// How often it is seen whether another day has begun.
constexpr std::chrono::minutes dayCheckInterval{1};

QString screenID(const std::optional<RecordingSelection::ID>& id) {
    return id ? screenText(uuidText(*id)) : QString();
}

QDateTime startOf(const RecordingSession& session) {
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(session.startedAt.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count());
}

} // namespace

RecordingListModel::RecordingListModel(const AppModel& model)
    : model_(model), sessions_(model.sessions()), today_(QDate::currentDate()) {
    connect(&model, &AppModel::sessionsChanged, this, &RecordingListModel::follow);
    connect(&model, &AppModel::displayLanguageChanged, this, &RecordingListModel::redrawAll);
    connect(&model, &AppModel::currentSessionChanged, this, &RecordingListModel::redrawAll);
    connect(&model, &AppModel::isBusyChanged, this, &RecordingListModel::redrawAll);
    const auto redrawCurrent = [this] { redraw(model_.currentRecordingID()); };
    connect(&model.liveSummary(), &LiveSummary::changed, this, redrawCurrent);
    connect(&model.finishing(), &RecordingFinishing::changed, this, redrawCurrent);
    startTimer(dayCheckInterval);
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
        return screenText(uuidText(session.id));
    case title:
        return titleOf(session).inSidebar;
    case fullTitle:
        return titleOf(session).inFull;
    case day:
        return dayOf(session);
    case date:
        return dateOf(session);
    case time:
        return startOf(session).toString(QStringLiteral("HH:mm"));
    case duration:
        return session.endedAt ? screenText(RecordingDisplayMetadataBuilder().build(session, *session.endedAt).duration)
                               : QString();
    case status:
        return statusOf(session).name;
    case statusText:
        return screenText(statusOf(session).words);
    default:
        return {};
    }
}

QHash<int, QByteArray> RecordingListModel::roleNames() const {
    return {{recordingID, "recordingID"},
            {title, "title"},
            {fullTitle, "fullTitle"},
            {day, "day"},
            {date, "date"},
            {time, "time"},
            {duration, "duration"},
            {status, "status"},
            {statusText, "statusText"}};
}

int RecordingListModel::rowOf(const boost::uuids::uuid& recordingID) const {
    if (rows_.empty()) {
        for (int row = 0; row < rowCount(); ++row) {
            rows_.emplace(sessions_[static_cast<std::size_t>(row)].id, row);
        }
    }
    const auto found = rows_.find(recordingID);
    return found == rows_.end() ? -1 : found->second;
}

int RecordingListModel::rowOf(const QString& recordingID) const {
    const auto identifier = parseUuid(recordingID.toStdString());
    return identifier ? rowOf(*identifier) : -1;
}

QString RecordingListModel::recordingIDAt(int row) const {
    return data(index(row), recordingID).toString();
}

QString RecordingListModel::titleOf(const QString& recordingID) const {
    return data(index(rowOf(recordingID)), fullTitle).toString();
}

QString RecordingListModel::selection(const QString& clickedID) const {
    const auto clicked = parseUuid(clickedID.toStdString());
    return clicked ? screenID(RecordingSelection::select(*clicked, sessions_)) : QString();
}

QString RecordingListModel::preferredSelection(const QString& selectedID) const {
    const std::optional<RecordingSession>& current = model_.currentSession();
    return screenID(RecordingSelection::preferredSelectionID(
        parseUuid(selectedID.toStdString()), current ? std::optional(current->id) : std::nullopt, sessions_));
}

void RecordingListModel::follow() {
    const std::vector<RecordingSession>& wanted = model_.sessions();
    std::set<boost::uuids::uuid> wantedIDs;
    for (const RecordingSession& session : wanted) {
        wantedIDs.insert(session.id);
    }
    bool rowsCameOrWent = false;
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (!wantedIDs.contains(sessions_[static_cast<std::size_t>(row)].id)) {
            beginRemoveRows({}, row, row);
            sessions_.erase(sessions_.begin() + row);
            rows_.clear();
            endRemoveRows();
            rowsCameOrWent = true;
        }
    }
    // What is left comes in the same order in both, and what is missing between is to be inserted.
    for (std::size_t position = 0; position < wanted.size(); ++position) {
        const auto begin = wanted.begin() + static_cast<std::ptrdiff_t>(position);
        const auto known = position == sessions_.size()
                               ? wanted.end()
                               : std::find_if(begin, wanted.end(), [&](const RecordingSession& session) {
                                     return session.id == sessions_[position].id;
                                 });
        if (known != begin) {
            const int row = static_cast<int>(position);
            beginInsertRows({}, row, static_cast<int>(known - wanted.begin()) - 1);
            sessions_.insert(sessions_.begin() + row, begin, known);
            rows_.clear();
            endInsertRows();
            position = static_cast<std::size_t>(known - wanted.begin());
            rowsCameOrWent = true;
        }
        if (known != wanted.end()) {
            sessions_[position] = *known;
        }
    }
    redrawAll(); // a title may come from the summary, of which the session does not tell
    if (rowsCameOrWent) {
        Q_EMIT countChanged();
    }
}

void RecordingListModel::redrawAll() {
    titles_.clear();
    if (!sessions_.empty()) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    }
}

void RecordingListModel::redraw(const QString& recordingID) {
    if (const int row = rowOf(recordingID); row >= 0) {
        titles_.erase(sessions_[static_cast<std::size_t>(row)].id);
        Q_EMIT dataChanged(index(row), index(row));
    }
}

void RecordingListModel::timerEvent(QTimerEvent* /*event*/) {
    if (std::exchange(today_, QDate::currentDate()) != today_) {
        redrawAll();
    }
}

const RecordingListModel::Title& RecordingListModel::titleOf(const RecordingSession& session) const {
    const auto [title, isNew] = titles_.try_emplace(session.id);
    if (isNew) {
        const std::optional<SalesSummary> summary = model_.listSummary(session);
        const auto within = [&](int maxLength) {
            return screenText(RecordingListTitleBuilder{.maxLength = maxLength}.title(session, summary, model_.copy()));
        };
        title->second = {within(RecordingListTitleBuilder::sidebarMaxLength),
                         within(RecordingListTitleBuilder::editorMaxLength)};
    }
    return title->second;
}

/// A recording without an end that is not in progress was cut off by the end of the program.
RecordingListModel::Status RecordingListModel::statusOf(const RecordingSession& session) const {
    const AppCopy copy = model_.copy();
    if (session.endedAt) {
        return {QStringLiteral("transcribed"), copy.displayStatusLabel(RecordingDisplayStatus::transcribed)};
    }
    const std::optional<RecordingSession>& current = model_.currentSession();
    if (!current || current->id != session.id) {
        return {QStringLiteral("interrupted"), copy.interrupted()};
    }
    if (model_.isBusy()) {
        const auto percent = static_cast<int>(model_.finishing().share() * 100);
        return {QStringLiteral("transcribing"), copy.transcribing() + " " + std::to_string(percent) + "%"};
    }
    return {QStringLiteral("recording"), copy.displayStatusLabel(RecordingDisplayStatus::recording)};
}

QString RecordingListModel::dayOf(const RecordingSession& session) const {
    const QDate day = startOf(session).date();
    if (day == today_) {
        return screenText(model_.copy().today());
    }
    if (day == today_.addDays(-1)) {
        return screenText(model_.copy().yesterday());
    }
    if (day.year() != today_.year()) {
        return dateOf(session);
    }
    return model_.displayLanguage() == DisplayLanguage::japanese
               ? QLocale(QLocale::Japanese).toString(day, QStringLiteral("M月d日（ddd）"))
               : QLocale(QLocale::English).toString(day, QStringLiteral("ddd d MMM"));
}

QString RecordingListModel::dateOf(const RecordingSession& session) const {
    const QDate day = startOf(session).date();
    return model_.displayLanguage() == DisplayLanguage::japanese
               ? QLocale(QLocale::Japanese).toString(day, QStringLiteral("yyyy年M月d日（ddd）"))
               : QLocale(QLocale::English).toString(day, QStringLiteral("ddd d MMM yyyy"));
}

} // namespace talkledger
