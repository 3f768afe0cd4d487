#pragma once

#include "TalkledgerApp/RecordingSearchModel.h"
#include "TalkledgerApp/TranscriptLinesModel.h"

#include <QObject>
#include <string>
#include <vector>

namespace talkledger {

/// The places in the chosen transcript at which the searched words stand, one of which is looked at. Main thread.
class TranscriptHits : public QObject {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY changed)
    Q_PROPERTY(int current READ current NOTIFY changed)
    Q_PROPERTY(int currentLine READ currentLine NOTIFY changed)
    Q_PROPERTY(int currentInLine READ currentInLine NOTIFY changed)

public:
    /// Both have to outlive it.
    TranscriptHits(const RecordingSearchModel& search, const TranscriptLinesModel& lines);

    int count() const { return static_cast<int>(hits_.size()); }

    /// Its number; -1 without hits.
    int current() const { return current_; }

    /// The row of its line and its number among the hits of that line; -1 without hits.
    int currentLine() const { return current_ < 0 ? -1 : hits_[static_cast<std::size_t>(current_)].line; }

    int currentInLine() const { return current_ < 0 ? -1 : hits_[static_cast<std::size_t>(current_)].inLine; }

    /// Goes on by so many hits, from the last to the first.
    Q_INVOKABLE void step(int hits);

    /// Looks at the first hit from that line on.
    Q_INVOKABLE void goToLine(int line);

Q_SIGNALS:
    void changed();

private:
    struct Hit {
        int line;
        int inLine;
    };

    void readLines();
    void find();

    const RecordingSearchModel& search_;
    const TranscriptLinesModel& lines_;
    std::vector<std::string> searchable_; ///< the lines; read when they are first searched
    bool isRead_{false};
    std::vector<Hit> hits_;
    int current_{-1};
};

} // namespace talkledger
