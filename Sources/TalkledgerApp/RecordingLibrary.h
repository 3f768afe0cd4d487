#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Support/Task.h"

#include <QObject>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace talkledger {

/// The recordings that there are, newest first. There may be thousands: they are read aside, while one that has changed
/// is told at once. Main thread.
class RecordingLibrary : public QObject {
    Q_OBJECT

public:
    using Load = std::function<std::vector<RecordingSession>()>;

    /// `load` reads all of them, on `background`; it may throw. The library has to outlive that.
    RecordingLibrary(Load load, Executor main, Executor background);

    const std::vector<RecordingSession>& sessions() const { return sessions_; }

    /// They are being read for the first time.
    bool isLoading() const { return isLoading_ && !hasLoaded_; }

    /// Returns at once. What was there stays until all have been read, and when that fails.
    void reload();

    /// It is new, or has changed.
    void put(const RecordingSession& session);

    /// It is gone.
    void remove(const RecordingSession& session);

Q_SIGNALS:
    void changed();

    /// To read them, with the description of why.
    void failed(const std::string& description);

private:
    Task<void> loadAll();

    Load load_;
    Executor main_;
    Executor background_;
    std::vector<RecordingSession> sessions_;
    bool isLoading_{false};
    bool hasLoaded_{false};
    std::uint64_t changes_{0}; ///< of which a reading under way may know nothing
};

} // namespace talkledger
