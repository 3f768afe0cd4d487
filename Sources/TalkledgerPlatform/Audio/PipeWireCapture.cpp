#include "TalkledgerPlatform/Audio/PipeWireCapture.h"

#include "TalkledgerPlatform/Audio/SoundServerError.h"

#include <boost/asio/post.hpp>
#include <poll.h>
#include <pthread.h>
#include <spa/param/audio/format-utils.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <new>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// From opening a stream to its first samples, and how long a request to the server may take.
constexpr auto kStartPatience = 1500ms;
/// A device that has delivered and does not for so long has gone, or an output has nothing to say.
constexpr auto kSilentAfter = 1s;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr auto kFirstRetry = 100ms;
constexpr auto kLongestRetry = 1000ms;
constexpr auto kSupervision = 500ms;
/// While devices come and go the session manager's choice goes back and forth; the old device is recorded until it
/// rests.
constexpr auto kTargetSettling = 200ms;
/// So long after a device has come or gone the session manager, on a loaded machine, has chosen the defaults.
constexpr auto kDefaultsSettling = 3s;
constexpr auto kDeliveryInterval = 250ms;
constexpr std::size_t kLongestThreadName = 15;

/// What a stalled disk may hold up before samples are lost.
constexpr std::size_t kRingSeconds = 8;
constexpr std::size_t kLargestRingBytes = 32 << 20;

MonotonicTime timeFromNanoseconds(std::int64_t nanoseconds) {
    return MonotonicTime(std::chrono::nanoseconds(nanoseconds));
}

std::int64_t nanosecondsNow() noexcept {
    return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
}

spa_audio_info_raw rawFormat(const AudioFormat& format) {
    spa_audio_info_raw raw{};
    raw.format = SPA_AUDIO_FORMAT_F32;
    raw.rate = static_cast<std::uint32_t>(format.sampleRate);
    raw.channels = format.channelCount;
    if (format.channelCount == 1) {
        raw.position[0] = SPA_AUDIO_CHANNEL_MONO;
    } else if (format.channelCount == 2) {
        raw.position[0] = SPA_AUDIO_CHANNEL_FL;
        raw.position[1] = SPA_AUDIO_CHANNEL_FR;
    } else {
        raw.flags = SPA_AUDIO_FLAG_UNPOSITIONED;
    }
    return raw;
}

AudioFormat audioFormat(const spa_audio_info_raw& raw) {
    return {.commonFormat = AudioSampleFormat::float32,
            .sampleRate = static_cast<double>(raw.rate),
            .channelCount = raw.channels,
            .isInterleaved = true};
}

bool isSameLayout(const spa_audio_info_raw& one, const spa_audio_info_raw& other) {
    return one.rate == other.rate && one.channels == other.channels;
}

std::uint64_t ringFrames(const AudioFormat& format) {
    const std::size_t frames = kRingSeconds * static_cast<std::size_t>(format.sampleRate);
    return std::min(frames, kLargestRingBytes / sizeof(float) / format.channelCount);
}

} // namespace

/// A cycle of the sound graph.
struct PipeWireCapture::Cycle {
    std::int64_t time{0};            ///< CLOCK_MONOTONIC ns
    std::uint64_t ticks{0};          ///< the graph's own position
    std::uint32_t ticksPerSecond{0}; ///< 0: unknown
    std::uint64_t length{0};         ///< in ticks
    std::uint32_t driver{0};         ///< the node that gives the beat

    std::int64_t nanoseconds(std::int64_t ticksCount) const {
        return ticksPerSecond != 0 ? ticksCount * kNanosecondsPerSecond / ticksPerSecond : 0;
    }

    /// The cycle before: `known`, unless others came in between.
    Cycle before(const Cycle& known) const {
        if (known.driver == driver && known.ticks + known.length == ticks) {
            return known;
        }
        Cycle cycle = *this;
        cycle.ticks -= length;
        cycle.time -= nanoseconds(static_cast<std::int64_t>(length));
        return cycle;
    }
};

/// One linked stream; it lives from `openStream` to `closeStream`.
struct PipeWireCapture::Stream {
    PipeWireCapture& capture;
    CaptureDevice device;
    std::uint32_t number;
    MonotonicTime changed{Clock::now()}; ///< when `state` was entered
    pw_stream_state state{PW_STREAM_STATE_UNCONNECTED};
    bool hasFailed{false};
    std::atomic<bool> hasTrackFormat{false};
    std::atomic<std::uint32_t> channelCount{0};
    std::atomic<const spa_io_position*> position{nullptr}; ///< of the graph; the server's memory
    Cycle lastCycle;                                       ///< the realtime thread's own
    pw_stream* handle{nullptr};
    spa_hook listener{};
};

const pw_stream_events PipeWireCapture::streamEvents = {
    .version = PW_VERSION_STREAM_EVENTS,
    .state_changed = [](void* context, pw_stream_state, pw_stream_state state,
                        const char* error) { static_cast<Stream*>(context)->capture.streamStateChanged(state, error); },
    .io_changed =
        [](void* context, std::uint32_t id, void* area, std::uint32_t) {
            if (id == SPA_IO_Position) {
                static_cast<Stream*>(context)->position = static_cast<const spa_io_position*>(area);
            }
        },
    .param_changed =
        [](void* context, std::uint32_t id, const spa_pod* parameter) {
            if (id == SPA_PARAM_Format && parameter != nullptr) {
                static_cast<Stream*>(context)->capture.streamFormatChanged(parameter);
            }
        },
    .process =
        [](void* context) {
            auto& stream = *static_cast<Stream*>(context);
            while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream.handle)) {
                stream.capture.capture(stream, *buffer);
                pw_stream_queue_buffer(stream.handle, buffer);
            }
        },
};

PipeWireCapture::PipeWireCapture(CaptureSource source, TrackHealthHandler health, std::unique_ptr<OwnSound> ownSound)
    : source_(source),
      health_(std::move(health)),
      ownSound_(std::move(ownSound)),
      retryDelay_(kFirstRetry),
      wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      connection_([this] { supervise(); }) {
    if (wakeDescriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

PipeWireCapture::~PipeWireCapture() {
    close();
    ::close(wakeDescriptor_);
}

AudioFormat PipeWireCapture::open(const std::optional<AudioFormat>& format) {
    close();
    {
        const PipeWireConnection::Lock lock(connection_);
        target_ = connection_.waitForDefaultDevice(source_, Clock::now() + kStartPatience).name;
        targetChanged_ = Clock::now() - kTargetSettling;
        format_ = format ? std::optional(rawFormat(*format)) : std::nullopt;
        failure_.clear();
        nextAttempt_ = Clock::now();
        retryDelay_ = kFirstRetry;
        isOpen_ = true;
        supervise();
        const auto deadline = Clock::now() + kStartPatience;
        while (!format_ && connection_.waitForChange(deadline)) {
        }
        if (format_) {
            return audioFormat(*format_);
        }
    }
    fail();
}

void PipeWireCapture::fail() {
    close();
    throw SoundServerError(
        failure_.empty() ? SoundServerError::Case::notAnswering : SoundServerError::Case::captureFailed, failure_);
}

void PipeWireCapture::start(const AudioFormat& format, std::uint32_t bufferSize, const std::string& threadName,
                            Delivery deliver) {
    endDelivery();
    bool isOpenWithFormat = false;
    {
        const PipeWireConnection::Lock lock(connection_);
        isOpenWithFormat = isOpen_ && format_ && audioFormat(*format_) == format;
    }
    if (!isOpenWithFormat) {
        open(format);
    }

    startTime_ = Clock::now();
    trackFormat_ = format;
    deliver_ = std::move(deliver);
    CaptureTimeline timeline(format, bufferSize, [this](const AudioBuffer& buffer) { handOver(buffer); });
    ring_ = std::make_unique<SampleRing>(format.channelCount, ringFrames(format));
    hasArrived_ = false;
    publishedHealth_.reset();
    isStopping_ = false;
    wakeFrames_ = 1; // the first samples at once
    isCapturing_.store(true, std::memory_order_release);
    deliveryThread_ = std::thread(
        [this, bufferSize, timeline = std::move(timeline)]() mutable { this->deliver(timeline, bufferSize); });
    pthread_setname_np(deliveryThread_.native_handle(), threadName.substr(0, kLongestThreadName).c_str());
    if (!waitForArrival()) {
        fail();
    }
}

bool PipeWireCapture::waitForArrival() {
    const PipeWireConnection::Lock lock(connection_);
    while (!hasArrived_) {
        if (!connection_.waitForChange(startTime_ + kStartPatience)) {
            return source_ == CaptureSource::systemAudio && stream_ && stream_->state == PW_STREAM_STATE_STREAMING;
        }
    }
    return true;
}

void PipeWireCapture::endDelivery() noexcept {
    if (!deliveryThread_.joinable()) {
        return;
    }
    isCapturing_ = false;
    stopTime_ = Clock::now();
    isStopping_.store(true, std::memory_order_release);
    wakeDelivery();
    deliveryThread_.join();
    deliver_ = nullptr;
}

void PipeWireCapture::close() noexcept {
    endDelivery();
    const PipeWireConnection::Lock lock(connection_);
    isOpen_ = false;
    closeStream();
    connection_.disconnect();
}

void PipeWireCapture::release(std::shared_ptr<PipeWireCapture> capture, const Executor& executor) {
    if (capture->deliveryThreadId_ == std::this_thread::get_id()) {
        boost::asio::post(executor, [capture = std::move(capture)] {});
    }
}

void PipeWireCapture::supervise() {
    if (!isOpen_) {
        return;
    }
    const auto now = Clock::now();
    if (!connection_.isConnected()) {
        closeStream();
        if (now >= nextAttempt_ && connection_.connect() != 0) {
            retryLater();
        }
    }
    if (connection_.isReady()) {
        const std::optional<CaptureDevice> device = connection_.defaultDevice(source_);
        if (stream_ && lastCallback_ != 0) {
            retryDelay_ = kFirstRetry;
        }
        if (stream_ && (stream_->hasFailed || isStalled())) {
            closeStream();
            retryLater();
        }
        const std::string target = device ? device->name : std::string();
        if (target != target_) {
            target_ = target;
            targetChanged_ = now;
        }
        const bool mayHaveChanged = !device || now - connection_.devicesChanged() < kDefaultsSettling;
        if (mayHaveChanged && now - defaultsAsked_ >= kSupervision) {
            defaultsAsked_ = now;
            connection_.askForDefaults();
        }
        if (now - targetChanged_ >= kTargetSettling) {
            if (stream_ && target != stream_->device.name) {
                closeStream();
            }
            if (device && !stream_ && now >= nextAttempt_) {
                openStream(*device);
            }
        }
    }
    if (stream_ && ownSound_) {
        ownSound_->follow(connection_, stream_->device.node);
    }
    isAway_ = !stream_ || stream_->state != PW_STREAM_STATE_STREAMING;
    connection_.callAfter(untilNextSupervision(now));
}

std::chrono::milliseconds PipeWireCapture::untilNextSupervision(MonotonicTime now) const {
    MonotonicTime next = now + kSupervision;
    if (!stream_ && nextAttempt_ > now) {
        next = std::min(next, nextAttempt_);
    }
    if (targetChanged_ + kTargetSettling > now) {
        next = std::min(next, targetChanged_ + kTargetSettling);
    }
    return std::chrono::ceil<std::chrono::milliseconds>(next - now);
}

void PipeWireCapture::retryLater() {
    nextAttempt_ = Clock::now() + retryDelay_;
    retryDelay_ = std::min<std::chrono::milliseconds>(2 * retryDelay_, kLongestRetry);
}

bool PipeWireCapture::isStalled() const {
    const auto now = Clock::now();
    if (stream_->state != PW_STREAM_STATE_STREAMING) {
        return now - stream_->changed > kStartPatience; // nobody links it
    }
    // An output that plays nothing may stop its clock; a microphone may not.
    const std::int64_t last = lastCallback_;
    return source_ == CaptureSource::microphone &&
           (last != 0 ? now - timeFromNanoseconds(last) > kSilentAfter : now - stream_->changed > kStartPatience);
}

void PipeWireCapture::openStream(const CaptureDevice& device) {
    // No latency is asked for: the length of the graph's cycles stays as the players want it.
    const bool isMicrophone = source_ == CaptureSource::microphone;
    const char* name = isMicrophone ? "talkledger-microphone" : "talkledger-system-audio";
    // The session manager would move a stream without a target to an output's monitor when the microphone goes: it is
    // bound to its device, and we move it ourselves.
    pw_properties* properties =
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_APP_NAME, "Talkledger",
                          PW_KEY_NODE_NAME, name, PW_KEY_TARGET_OBJECT, device.name.c_str(), nullptr);
    if (!isMicrophone) {
        pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
    }
    stream_ = std::make_unique<Stream>(*this, device, ++streamCount_);
    lastCallback_ = 0;
    stream_->handle = pw_stream_new(connection_.core(), name, properties);
    if (stream_->handle == nullptr) {
        stream_.reset();
        retryLater();
        return;
    }
    pw_stream_add_listener(stream_->handle, &stream_->listener, &streamEvents, stream_.get());

    spa_audio_info_raw wanted{};
    wanted.format = SPA_AUDIO_FORMAT_F32;
    if (format_) {
        wanted = *format_;
    }
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    std::array<const spa_pod*, 1> parameters{spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &wanted)};
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DONT_RECONNECT);
    if (pw_stream_connect(stream_->handle, PW_DIRECTION_INPUT, PW_ID_ANY, flags, parameters.data(),
                          static_cast<std::uint32_t>(parameters.size())) < 0) {
        stream_->hasFailed = true;
        connection_.signalChange();
    }
}

void PipeWireCapture::closeStream() {
    if (stream_) {
        if (ownSound_) {
            ownSound_->close();
        }
        spa_hook_remove(&stream_->listener);
        pw_stream_destroy(stream_->handle); // waits for a callback that is under way
        stream_.reset();
    }
}

void PipeWireCapture::streamStateChanged(pw_stream_state state, const char* error) {
    // While it is being destroyed a stream is no longer listened to, so this one is stream_.
    stream_->state = state;
    stream_->changed = Clock::now();
    isAway_ = state != PW_STREAM_STATE_STREAMING; // before the first samples arrive
    if (state == PW_STREAM_STATE_ERROR || (state == PW_STREAM_STATE_UNCONNECTED)) {
        stream_->hasFailed = true;
        failure_ = error != nullptr ? error : "";
    }
    connection_.signalChange();
}

void PipeWireCapture::streamFormatChanged(const spa_pod* parameter) {
    spa_audio_info_raw negotiated{};
    if (spa_format_audio_raw_parse(parameter, &negotiated) < 0 || negotiated.channels == 0 || negotiated.rate == 0) {
        return;
    }
    if (!format_) {
        format_ = negotiated;
    }
    stream_->channelCount = negotiated.channels;
    stream_->hasTrackFormat = isSameLayout(negotiated, *format_);
    stream_->hasFailed = !stream_->hasTrackFormat; // opened again with the track's format
    connection_.signalChange();
}

/// When and where the first frame of what has just arrived was captured.
PipeWireCapture::Cycle PipeWireCapture::originOfArrival(Stream& stream) const noexcept {
    pw_time time{};
    pw_stream_get_time_n(stream.handle, &time, sizeof(time));
    Cycle cycle;
    cycle.time = time.now != 0 ? time.now : nanosecondsNow();
    if (const spa_io_position* position = stream.position) {
        cycle.ticks = position->clock.position;
        cycle.ticksPerSecond = position->clock.rate.denom;
        cycle.length = position->clock.duration;
        cycle.driver = position->clock.id;
    }
    const Cycle last = std::exchange(stream.lastCycle, cycle);
    if (source_ == CaptureSource::microphone) {
        cycle.time -= cycle.nanoseconds(time.delay * time.rate.num); // said a little earlier
        return cycle;
    }
    // The monitor of the output that gives the graph its beat hands out what was played in the cycle before; that of
    // any other output, what is being played.
    return cycle.driver == stream.device.node ? cycle.before(last) : cycle;
}

void PipeWireCapture::capture(Stream& stream, pw_buffer& buffer) noexcept {
    lastCallback_.store(nanosecondsNow(), std::memory_order_relaxed);
    const Cycle origin = originOfArrival(stream);
    const spa_data& plane = buffer.buffer->datas[0];
    const auto chunkFlags = static_cast<std::uint32_t>(plane.chunk->flags);
    if (!isCapturing_.load(std::memory_order_acquire) || !stream.hasTrackFormat || plane.data == nullptr ||
        (chunkFlags & SPA_CHUNK_FLAG_CORRUPTED) != 0) {
        return;
    }
    const std::uint32_t offset = std::min(plane.chunk->offset, plane.maxsize);
    const std::uint32_t size = std::min(plane.chunk->size, plane.maxsize - offset);
    CapturePacket packet;
    packet.frames = size / static_cast<std::uint32_t>(stream.channelCount * sizeof(float));
    if (packet.frames == 0) {
        return;
    }
    packet.streamNumber = stream.number;
    packet.firstFrameTime = origin.time;
    packet.driver = origin.driver;
    packet.ticks = origin.ticks;
    packet.ticksPerSecond = origin.ticksPerSecond;
    packet.cycleLength = static_cast<std::uint32_t>(origin.length);
    const bool isEmpty = (chunkFlags & SPA_CHUNK_FLAG_EMPTY) != 0;
    const auto* samples =
        reinterpret_cast<const float*>(static_cast<const std::byte*>(plane.data) + offset); // aligned by the server
    ring_->push(packet, isEmpty ? nullptr : samples);
    if (ring_->framesReady() >= wakeFrames_.load(std::memory_order_relaxed)) {
        wakeDelivery();
    }
}

void PipeWireCapture::wakeDelivery() noexcept {
    const std::uint64_t one = 1;
    // Never blocks: the descriptor is not blocking, and a full counter wakes as well.
    [[maybe_unused]] const ssize_t written = write(wakeDescriptor_, &one, sizeof(one));
}

void PipeWireCapture::deliver(CaptureTimeline& timeline, std::uint32_t bufferSize) {
    deliveryThreadId_ = std::this_thread::get_id();
    MonotonicTime lastArrival = startTime_;
    bool isStopping = false;
    while (!isStopping) {
        pollfd wake{.fd = wakeDescriptor_, .events = POLLIN, .revents = 0};
        poll(&wake, 1, static_cast<int>(std::chrono::milliseconds(kDeliveryInterval).count()));
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = read(wakeDescriptor_, &count, sizeof(count));
        isStopping = isStopping_.load(std::memory_order_acquire); // before draining: all that was captured until then
        try {
            deliverArrived(timeline, lastArrival);
        } catch (const std::bad_alloc&) {
            // What has been captured waits in the ring for the next turn.
        }
        wakeFrames_.store(timeline.hasBegun() ? bufferSize : 1, std::memory_order_relaxed);
    }
    if (timeline.hasBegun()) {
        timeline.fillTo(stopTime_);
        timeline.flush();
    }
}

void PipeWireCapture::deliverArrived(CaptureTimeline& timeline, MonotonicTime& lastArrival) {
    drain(timeline, lastArrival);
    const MonotonicTime now = Clock::now();
    const bool isSilent = now - lastArrival > kSilentAfter;
    if (!timeline.hasBegun() && source_ == CaptureSource::systemAudio && now - startTime_ > kStartPatience) {
        timeline.begin(startTime_);
    }
    if (!timeline.hasBegun()) {
        return; // being started; who starts it is told when nothing comes
    }
    if (isSilent) {
        timeline.fillTo(now - kSilentAfter);
    }
    const bool isWaiting = isAway_ || (isSilent && source_ == CaptureSource::microphone);
    publishHealth(isWaiting ? TrackHealthEvent::waitingForDevice : TrackHealthEvent::deviceRunning);
}

void PipeWireCapture::handOver(const AudioBuffer& buffer) noexcept {
    try {
        deliver_(buffer);
    } catch (const std::exception&) {
        // Whoever could not take it, for lack of memory as a rule, gets the next one.
    }
}

void PipeWireCapture::drain(CaptureTimeline& timeline, MonotonicTime& lastArrival) {
    const bool hadBegun = timeline.hasBegun();
    const auto add = [&](const CapturePacket& packet, std::span<const float> samples) {
        timeline.add(packet, samples);
    };
    CapturePacket packet;
    std::vector<float> samples;
    while (ring_->pop(packet, samples)) {
        if (ownSound_) {
            ownSound_->pass(packet, samples, add);
        } else {
            add(packet, samples);
        }
        lastArrival = Clock::now();
    }
    if (ownSound_ && isStopping_) {
        ownSound_->flush(add);
    }
    if (!hadBegun && timeline.hasBegun()) {
        const PipeWireConnection::Lock lock(connection_);
        hasArrived_ = true;
        connection_.signalChange();
    }
}

void PipeWireCapture::publishHealth(TrackHealthEvent event) {
    if (publishedHealth_ != event) {
        if (health_) {
            health_(source_ == CaptureSource::microphone ? AudioChannel::mic : AudioChannel::speaker, event);
        }
        publishedHealth_ = event;
    }
}

} // namespace talkledger
