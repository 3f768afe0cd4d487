#include "TalkledgerApp/SoundCheckModel.h"

#include "TalkledgerCore/Capture/TestTone.h"
#include "TalkledgerCore/Support/RunOn.h"

#include <boost/asio/detached.hpp>

#include <QTemporaryDir>
#include <filesystem>
#include <functional>
#include <utility>

namespace talkledger {
namespace {

QString name(SoundCheck::State state) {
    switch (state) {
    case SoundCheck::State::silent:
        return QStringLiteral("silent");
    case SoundCheck::State::heard:
        return QStringLiteral("heard");
    case SoundCheck::State::failed:
        break;
    }
    return QStringLiteral("failed");
}

} // namespace

/// Only files are played.
struct SoundCheckModel::ToneFile {
    QTemporaryDir folder;
    std::filesystem::path path{folder.filePath(QStringLiteral("test-tone.wav")).toStdString()};
    bool isWritten{false};
};

SoundCheckModel::SoundCheckModel(const AppModel& model)
    : model_(model),
      check_(model.ports().audioInput, model.ports().systemAudio, model.mainExecutor(), model.backgroundExecutor(),
             [this] { Q_EMIT changed(); }) {}

SoundCheckModel::~SoundCheckModel() = default;

void SoundCheckModel::setIsRunning(bool isRunning) {
    if (isRunning != check_.isRunning()) {
        isRunning ? check_.start() : check_.stop();
    }
}

QString SoundCheckModel::microphoneState() const {
    return name(check_.state(AudioChannel::mic));
}

QString SoundCheckModel::systemAudioState() const {
    return name(check_.state(AudioChannel::speaker));
}

void SoundCheckModel::playTestTone() {
    if (!tone_) {
        tone_ = std::make_shared<ToneFile>();
    }
    boost::asio::co_spawn(model_.mainExecutor(), playTestToneNow(tone_), boost::asio::detached);
}

/// A tone that cannot be written is not heard, which is what the check tells.
Task<void> SoundCheckModel::playTestToneNow(std::shared_ptr<ToneFile> tone) {
    Playback& playback = model_.ports().playback;
    if (!tone->isWritten) {
        std::function<void()> write = [&files = model_.ports().audioFiles, path = tone->path] {
            const AudioBuffer buffer = makeTestTone();
            files.createFile(path, buffer.format, AudioChannel::speaker)->write(buffer);
        };
        co_await runOn(model_.backgroundExecutor(), std::move(write));
        tone->isWritten = true;
    }
    PlaybackRequest request{.tracks = {{.file = tone->path}}};
    playback.play(std::move(request));
}

} // namespace talkledger
