#pragma once

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

enum class CaptureSource { microphone, systemAudio };

/// A device that can be captured: a microphone, or an output.
struct CaptureDevice {
    std::string name;                   ///< the node's name, by which a stream is aimed at it
    std::string description;            ///< for the user
    std::uint32_t node{SPA_ID_INVALID}; ///< the server's number for it, as long as it is there
};

/// An output port, and the channel ("FL") of the device that it is linked to.
struct PlayedPort {
    std::uint32_t port;
    std::string channel;
};

/// A connection to the sound server with a loop thread of its own. It knows the audio devices and which are the
/// defaults. Everything but construction and destruction is done with `Lock` held or on the loop thread, which holds it
/// too; construction and destruction on any other thread.
class PipeWireConnection {
public:
    /// Called on the loop thread: something of what this class tells has changed, or the time of `callAfter` has come.
    using ChangeHandler = std::function<void()>;

    explicit PipeWireConnection(ChangeHandler handler = {});
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    class Lock {
    public:
        explicit Lock(PipeWireConnection& connection) : loop_(connection.loop_.get()) { pw_thread_loop_lock(loop_); }

        ~Lock() { pw_thread_loop_unlock(loop_); }

        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pw_thread_loop* loop_;
    };

    /// 0, or the errno value with which the server could not be reached. A server that hangs does not block it.
    int connect();
    void disconnect();

    /// There was a connection, and the server has not gone since.
    bool isConnected() const { return core_ != nullptr && !isLost_; }

    /// Everything that the server knew at the time of `connect` has been told.
    bool isReady() const { return isConnected() && isReady_; }

    /// The default microphone or output. A source that is an output's monitor is no microphone.
    std::optional<CaptureDevice> defaultDevice(CaptureSource source) const;

    /// Asks for the defaults anew, unless an answer is due; their arrival is a change. While another client asks, and
    /// for good once one has left before its answer, the server tells nobody else of a change.
    void askForDefaults();

    /// When a device came or went last; the session manager chooses the defaults anew then.
    std::chrono::steady_clock::time_point devicesChanged() const { return devicesChanged_; }

    /// What connections of this process play into a device; nothing when it has channels other than those.
    std::vector<PlayedPort> portsOfThisProcessPlayingInto(std::uint32_t node,
                                                          std::span<const std::string_view> channels) const;

    /// A node's port of that name.
    std::optional<std::uint32_t> portOf(std::uint32_t node, std::string_view name) const;

    pw_core* core() const { return core_; }

    pw_loop* loop() const { return pw_thread_loop_get_loop(loop_.get()); }

    void callAfter(std::chrono::milliseconds delay);

    /// Wakes whoever waits and has the change handler called.
    void signalChange();

    /// Waits, with one `Lock` held, for the next change; false when `deadline` came first. Not on the loop thread.
    bool waitForChange(std::chrono::steady_clock::time_point deadline);

    /// Connects if need be, and waits for the default device, not longer than `deadline`. Throws SoundServerError. Not
    /// on the loop thread.
    CaptureDevice waitForDefaultDevice(CaptureSource source, std::chrono::steady_clock::time_point deadline);

private:
    struct Library { // counts the library's users in this process

        Library() { pw_init(nullptr, nullptr); }

        ~Library() { pw_deinit(); }

        Library(const Library&) = delete;
        Library& operator=(const Library&) = delete;
    };

    struct Node {
        CaptureDevice device;
        std::string mediaClass;
        std::uint32_t client{SPA_ID_INVALID};
    };

    struct Port {
        std::uint32_t node;
        std::string name;
        std::string channel;
    };

    struct Link {
        std::uint32_t outputNode;
        std::uint32_t outputPort;
        std::uint32_t inputNode;
        std::uint32_t inputPort;
    };

    template <auto destroy>
    struct Deleter {
        void operator()(auto* object) const { destroy(object); }
    };

    void globalAdded(std::uint32_t id, const char* type, const spa_dict* properties);
    void globalRemoved(std::uint32_t id);
    void noteChangeOf(const Node& node);
    void defaultChanged(const char* key, const char* value);
    void roundTripDone(int sequence);
    std::string_view processOf(std::uint32_t client) const;
    void bindMetadata(std::uint32_t id);
    void unbindMetadata();
    void forgetMetadata();

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;
    static const pw_metadata_events metadataEvents;

    Library library_;
    ChangeHandler handler_;
    std::unique_ptr<pw_thread_loop, Deleter<pw_thread_loop_destroy>> loop_;
    std::unique_ptr<pw_context, Deleter<pw_context_destroy>> context_;
    spa_source* changeEvent_{nullptr};
    spa_source* timer_{nullptr};

    pw_core* core_{nullptr};
    pw_proxy* registry_{nullptr};
    pw_proxy* metadata_{nullptr};
    spa_hook coreListener_{};
    spa_hook registryListener_{};
    spa_hook metadataListener_{};
    bool isLost_{false};
    bool isReady_{false};
    bool hasRegistry_{false};
    int pendingSequence_{0};
    std::uint32_t metadataId_{SPA_ID_INVALID};
    std::optional<int> defaultsSequence_; ///< of the round trip with which the defaults come
    std::chrono::steady_clock::time_point devicesChanged_;
    std::map<std::uint32_t, Node> nodes_;
    std::map<std::uint32_t, Port> ports_;
    std::map<std::uint32_t, Link> links_;
    std::map<std::uint32_t, std::string> clientProcesses_; ///< as the server numbers them
    std::map<std::string, std::string> defaults_;          ///< metadata key to node name
};

} // namespace talkledger
