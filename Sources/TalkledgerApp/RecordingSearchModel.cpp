#include "TalkledgerApp/RecordingSearchModel.h"

#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <boost/asio/post.hpp>

#include <QVariantMap>
#include <algorithm>
#include <atomic>
#include <utility>

namespace talkledger {
namespace {

/// As many rows as a screen shows, and some to scroll to.
constexpr std::size_t firstRows = 30;
constexpr std::size_t moreRows = 60;

QString sourceName(RecordingSearchSource source) {
    switch (source) {
    case RecordingSearchSource::title:
        return QStringLiteral("title");
    case RecordingSearchSource::transcript:
        return QStringLiteral("transcript");
    case RecordingSearchSource::summary:
        return QStringLiteral("summary");
    }
    return {};
}

QString escaped(const std::string& text, std::size_t begin, std::size_t end) {
    return QString::fromStdString(text.substr(begin, end - begin)).toHtmlEscaped();
}

QString withMarks(const std::string& text, const std::vector<text::Range>& marks, const QString& style, int current,
                  const QString& currentStyle) {
    QString html;
    std::size_t end = 0;
    for (const text::Range& mark : marks) {
        const QString& own = current-- == 0 ? currentStyle : style;
        html += escaped(text, end, mark.begin) + QStringLiteral("<span style=\"%1\">").arg(own) +
                escaped(text, mark.begin, mark.end) + QStringLiteral("</span>");
        end = mark.end;
    }
    return html + escaped(text, end, text.size());
}

} // namespace

struct RecordingSearchModel::Shared {
    explicit Shared(RecordingSearchModel& owner) : index(owner.model_.ports().fileSystem), model(&owner) {}

    RecordingSearchIndex index;
    std::atomic<unsigned> searches{0}; ///< a search that is not the latest is not made
    RecordingSearchModel* model;       ///< null when it is gone; main thread only
};

RecordingSearchModel::RecordingSearchModel(const AppModel& model, const RecordingListModel& recordings)
    : model_(model), recordings_(recordings), shared_(std::make_shared<Shared>(*this)) {
    connect(&model, &AppModel::sessionsChanged, this, &RecordingSearchModel::updateIndex);
    connect(&model, &AppModel::displayLanguageChanged, this, &RecordingSearchModel::updateIndex);
    updateIndex();
}

RecordingSearchModel::~RecordingSearchModel() {
    shared_->model = nullptr;
    shared_->index.update({}, {}); // what is being read is given up
}

void RecordingSearchModel::updateIndex() {
    boost::asio::post(indexing_, [shared = shared_, main = model_.mainExecutor(), sessions = model_.sessions(),
                                  copy = model_.copy()] {
        if (shared->index.update(sessions, copy)) {
            boost::asio::post(main, [shared] {
                if (shared->model != nullptr && shared->model->isActive()) {
                    shared->model->search(std::max(firstRows, shared->model->result_.found.size()));
                }
            });
        }
    });
}

void RecordingSearchModel::setTyped(const QString& typed) {
    if (std::exchange(typed_, typed) == typed) {
        return;
    }
    query_ = RecordingSearchQuery(typed.toStdString());
    Q_EMIT typedChanged();
    search(firstRows);
}

void RecordingSearchModel::search(std::size_t most) {
    const unsigned number = ++shared_->searches;
    if (query_.isEmpty()) {
        take({});
        return;
    }
    isSearching_ = true;
    boost::asio::post(searching_, [shared = shared_, main = model_.mainExecutor(), number, query = query_, most] {
        if (shared->searches != number) {
            return;
        }
        boost::asio::post(main, [shared, number, result = shared->index.search(query, most)] {
            if (shared->model != nullptr && shared->searches == number) {
                shared->model->take(result);
            }
        });
    });
}

/// The rows of the earlier result stay and change what they say: that is much less work than to make new ones.
void RecordingSearchModel::take(RecordingSearchIndex::Result result) {
    isSearching_ = false;
    const int earlier = rowCount();
    const auto wanted = static_cast<int>(result.found.size());
    if (wanted < earlier) {
        beginRemoveRows({}, wanted, earlier - 1);
        result_ = std::move(result);
        endRemoveRows();
    } else if (wanted > earlier) {
        beginInsertRows({}, earlier, wanted - 1);
        result_ = std::move(result);
        endInsertRows();
    } else {
        result_ = std::move(result);
    }
    if (const int kept = std::min(earlier, wanted); kept > 0) {
        Q_EMIT dataChanged(index(0), index(kept - 1));
    }
    Q_EMIT found();
}

int RecordingSearchModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(result_.found.size());
}

bool RecordingSearchModel::canFetchMore(const QModelIndex& parent) const {
    return !parent.isValid() && !isSearching_ && result_.found.size() < result_.recordingCount;
}

void RecordingSearchModel::fetchMore(const QModelIndex& /*parent*/) {
    search(result_.found.size() + moreRows);
}

QVariant RecordingSearchModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const RecordingSearchIndex::Found& match = result_.found[static_cast<std::size_t>(index.row())];
    const auto listed = [&](RecordingListModel::Role listedRole) {
        return recordings_.data(recordings_.index(recordings_.rowOf(match.session.id)), listedRole);
    };
    switch (role) {
    case recordingID:
        return QString::fromStdString(uuidText(match.session.id));
    case title: {
        const QString shown = listed(RecordingListModel::title).toString();
        const QString marks = marked(shown, styleOfMarks());
        return marks.isEmpty() ? shown.toHtmlEscaped() : marks;
    }
    case day:
        return listed(RecordingListModel::day).toString() == QString::fromStdString(model_.copy().today())
                   ? QString()
                   : listed(RecordingListModel::day);
    case time:
        return listed(RecordingListModel::time);
    case duration:
        return listed(RecordingListModel::duration);
    case hits:
        return static_cast<int>(match.hitCount);
    case line: {
        const auto inTranscript =
            std::ranges::find(match.hits, RecordingSearchSource::transcript, &RecordingSearchHit::source);
        return inTranscript == match.hits.end() ? -1 : static_cast<int>(inTranscript->line);
    }
    case snippets: {
        QVariantList list;
        for (const RecordingSearchHit& hit : match.hits) {
            list.push_back(
                QVariantMap{{QStringLiteral("source"), sourceName(hit.source)},
                            {QStringLiteral("timecode"), QString::fromStdString(hit.timecode)},
                            {QStringLiteral("text"), withMarks(hit.snippet, hit.marks, styleOfMarks(), -1, {})}});
        }
        return list;
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> RecordingSearchModel::roleNames() const {
    return {{recordingID, "recordingID"}, {title, "title"}, {day, "day"},   {time, "time"},
            {duration, "duration"},       {hits, "hits"},   {line, "line"}, {snippets, "snippets"}};
}

QString RecordingSearchModel::marked(const QString& text, const QString& style, int current,
                                     const QString& currentStyle) const {
    const std::string shown = text.toStdString();
    const std::vector<text::Range> marks = text::occurrencesInShown(shown, query_.words);
    return marks.empty() ? QString() : withMarks(shown, marks, style, current, currentStyle);
}

} // namespace talkledger
