// How long the window keeps the main thread at each frame, apart from painting it: milliseconds of processor time, with
// little and with much behind the screen, and how many times longer the latter takes. 8 ms is the aim. The exit status
// tells whether it grows with what the screen does not show.

#include "ManyRecordings.h"
#include "TalkledgerApp/WindowStage.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace talkledger {
namespace {

constexpr std::size_t kFewLines = 100;
constexpr std::size_t kManyLines = 10'000;
constexpr std::size_t kFewRecordings = 50;
constexpr std::size_t kManyRecordings = 5000;
constexpr std::size_t kSteps = 120;
constexpr double kLargestRatio = 1.5;

/// Of this thread alone.
double processorMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Both speakers in turn, and nothing that could be an echo.
TranscriptSegment spokenLine(std::size_t number) {
    constexpr double seconds = 4;
    const AudioChannel channel = number % 2 == 0 ? AudioChannel::speaker : AudioChannel::mic;
    return {channel,
            structuralSpeakerRole(channel),
            seconds * static_cast<double>(number),
            seconds - 2,
            "Line " + std::to_string(number) +
                ": the budget is approved, so 来週の火曜日までに the quote for maintenance is sent.",
            TranscriptSegmentStatus::final};
}

TranscriptDocument transcriptOf(std::size_t lines) {
    TranscriptDocument transcript;
    for (std::size_t number = 0; number < lines; ++number) {
        transcript.segments.push_back(spokenLine(number));
    }
    return transcript;
}

struct FrameTimes {
    double mean{0};
    double slow{0}; ///< longer than 19 of 20
    double slowest{0};
};

/// The window, used as fast as it follows.
class MeasuredWindow : public testing::WindowStage {
public:
    /// With a chosen recording of so many lines.
    static FrameTimes scrolling(std::size_t lines) {
        MeasuredWindow window;
        window.showTranscript(lines);
        QQuickItem& list = *window.item("transcriptLines");
        return window.measure([&](std::size_t step) {
            constexpr int notch = 120;
            constexpr std::size_t stepsInOneDirection = 30;
            window.turnWheel(list, step / stepsInOneDirection % 2 == 0 ? -notch : notch);
        });
    }

    static FrameTimes draggingTheScrollBar(std::size_t lines) {
        MeasuredWindow window;
        window.showTranscript(lines);
        QQuickItem& list = *window.item("transcriptLines");
        return window.measure([&](std::size_t step) {
            constexpr std::size_t places = 7;
            const double end = list.property("contentHeight").toDouble() - list.height();
            list.setProperty("contentY", end * static_cast<double>(3 * step % places) / places);
        });
    }

    static FrameTimes searchingWithin(std::size_t lines) {
        MeasuredWindow window;
        window.showTranscript(lines);
        return window.measureTyping();
    }

    static FrameTimes choosing(std::size_t lines) {
        MeasuredWindow window;
        window.addFinishedRecording("Aoba", 1'900'000'000, transcriptOf(3));
        window.showTranscript(lines);
        return window.measure([&](std::size_t step) {
            window.press(step % 2 == 0 ? Qt::Key_Down : Qt::Key_Up, Qt::AltModifier);
            window.awaitLines(step % 2 == 0 ? 3 : lines);
        });
    }

    /// With so many recordings.
    static FrameTimes searching(std::size_t recordings) {
        MeasuredWindow window;
        addRecordings(window.recordingsFolder(), recordings, transcriptOf(5));
        window.open();
        window.press(Qt::Key_F, Qt::ControlModifier);
        window.type("budget");
        window.await([&] { return window.search().property("recordingCount").toULongLong() == recordings; });
        window.item("searchField")->setProperty("text", QString());
        return window.measureTyping();
    }

    /// While a recording is made in which so much has been said.
    static FrameTimes listening(std::size_t lines) {
        MeasuredWindow window;
        window.open();
        window.recordLive();
        for (std::size_t number = 0; number < lines; ++number) {
            window.hear(spokenLine(number));
        }
        window.awaitLines(lines);
        return window.measure([&](std::size_t step) {
            constexpr std::size_t resultsOfLine = 6; // it grows word by word until it is settled
            const std::size_t result = step % resultsOfLine;
            TranscriptSegment said = spokenLine(lines + step / resultsOfLine);
            if (result + 1 < resultsOfLine) {
                said.status = TranscriptSegmentStatus::partial;
                said.text.resize(said.text.size() * (result + 1) / resultsOfLine / 4); // before the Japanese
            }
            window.hear(said);
        });
    }

private:
    void open() {
        show();
        QObject::connect(
            &window(), &QQuickWindow::afterSynchronizing, &window(),
            [this] { frames_.push_back(processorMilliseconds() - lastPainted_); }, Qt::DirectConnection);
        QObject::connect(
            &window(), &QQuickWindow::frameSwapped, &window(), [this] { lastPainted_ = processorMilliseconds(); },
            Qt::DirectConnection);
    }

    void showTranscript(std::size_t lines) {
        addFinishedRecording("Kitahama works", 2'000'000'000, transcriptOf(lines));
        open();
        awaitLines(lines);
        awaitFrame();
    }

    QObject& search() { return *qmlContext(&window())->contextProperty(QStringLiteral("search")).value<QObject*>(); }

    void hear(const TranscriptSegment& said) {
        live(said.channel)
            .say({.text = said.text,
                  .audioTimeRange = {.start = said.startTime, .duration = said.duration},
                  .isFinal = said.status == TranscriptSegmentStatus::final});
    }

    void turnWheel(const QQuickItem& list, int angle) {
        const QPointF middle = list.mapToScene({list.width() / 2, list.height() / 2});
        QWheelEvent turn(middle, window().mapToGlobal(middle), {}, {0, angle}, Qt::NoButton, Qt::NoModifier,
                         Qt::NoScrollPhase, false);
        wheelTime_ += 1000; // without time between them, turns count for nothing
        turn.setTimestamp(wheelTime_);
        QCoreApplication::sendEvent(&window(), &turn);
    }

    FrameTimes measureTyping() {
        press(Qt::Key_F, Qt::ControlModifier);
        const std::string letters = "the quote for maintenance";
        QSignalSpy found(&search(), SIGNAL(found()));
        return measure([&](std::size_t step) {
            const std::size_t position = step % (2 * letters.size());
            found.clear();
            if (position < letters.size()) {
                QTest::keyClick(&window(), letters[position]);
            } else {
                press(Qt::Key_Backspace);
            }
            await([&] { return !found.isEmpty(); });
        });
    }

    FrameTimes measure(const std::function<void(std::size_t)>& step) {
        awaitFrame();
        frames_.clear();
        for (std::size_t number = 0; number < kSteps; ++number) {
            step(number);
            awaitFrame();
        }
        std::ranges::sort(frames_);
        return {.mean = std::accumulate(frames_.begin(), frames_.end(), 0.0) / static_cast<double>(frames_.size()),
                .slow = frames_[frames_.size() * 19 / 20],
                .slowest = frames_.back()};
    }

    void awaitLines(std::size_t lines) {
        await([&] { return item("transcriptLines")->property("count").toULongLong() == lines; });
    }

    void awaitFrame() {
        const std::size_t earlier = frames_.size();
        window().update();
        await([&] { return frames_.size() > earlier; });
    }

    /// Without using the processor while it waits.
    void await(const std::function<bool()>& holds) {
        constexpr std::chrono::milliseconds look{5};
        const QDeadlineTimer patience(std::chrono::minutes(1));
        QTimer wake;
        wake.start(look);
        while (!holds()) {
            if (patience.hasExpired()) {
                throw std::runtime_error("The window does not follow.");
            }
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    std::vector<double> frames_;
    double lastPainted_{0};
    quint64 wheelTime_{0};
};

struct Use {
    const char* name;
    FrameTimes (*measure)(std::size_t);
    const char* unit;
    std::size_t few;
    std::size_t many;
};

constexpr Use kUses[] = {
    {"scrolling", MeasuredWindow::scrolling, "lines", kFewLines, kManyLines},
    {"dragging the scroll bar", MeasuredWindow::draggingTheScrollBar, "lines", kFewLines, kManyLines},
    {"choosing a recording", MeasuredWindow::choosing, "lines", kFewLines, kManyLines},
    {"typing in search, transcript", MeasuredWindow::searchingWithin, "lines", kFewLines, kManyLines},
    {"typing in search, list", MeasuredWindow::searching, "recordings", kFewRecordings, kManyRecordings},
    {"live results", MeasuredWindow::listening, "lines", kFewLines, kManyLines},
};

/// Whether it does not grow.
bool measure(const Use& use) {
    const FrameTimes few = use.measure(use.few);
    const FrameTimes many = use.measure(use.many);
    const double ratio = many.mean / few.mean;
    std::printf("  %-30s %6.2f %6.2f %7.2f %10.2f %6.2f %7.2f %8.2f   %zu, %zu %s\n", use.name, few.mean, few.slow,
                few.slowest, many.mean, many.slow, many.slowest, ratio, use.few, use.many, use.unit);
    std::fflush(stdout);
    return ratio <= kLargestRatio;
}

} // namespace
} // namespace talkledger

int main(int argumentCount, char** arguments) {
    const QTemporaryDir runtimeFolder;
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    const QApplication application(argumentCount, arguments);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    try {
        std::printf("%-32s %21s %25s\n", "ms a frame, apart from painting", "with little", "with much");
        std::printf("  %-30s %6s %6s %7s %10s %6s %7s %8s\n", "", "mean", "95 %", "slowest", "mean", "95 %", "slowest",
                    "ratio");
        bool isSteady = true;
        for (const talkledger::Use& use : talkledger::kUses) {
            isSteady = talkledger::measure(use) && isSteady;
        }
        return isSteady ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
