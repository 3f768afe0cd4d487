#include "TalkledgerPlatform/Audio/PipeWireConnection.h"

#include "TalkledgerPlatform/Audio/SoundServerError.h"

#include <nlohmann/json.hpp>
#include <spa/utils/result.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

/// The server tells of the default devices only after the session manager has chosen them.
constexpr auto kDefaultDevicePatience = 250ms;

std::string_view lookUp(const spa_dict* properties, const char* key) {
    const char* value = properties != nullptr ? spa_dict_lookup(properties, key) : nullptr;
    return value != nullptr ? value : std::string_view();
}

std::uint32_t number(const spa_dict* properties, const char* key) {
    const std::string_view text = lookUp(properties, key);
    std::uint32_t value = SPA_ID_INVALID;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

PipeWireConnection& self(void* context) {
    return *static_cast<PipeWireConnection*>(context);
}

/// One at a time: the library asks for the user's name, and the C library has one place for all answers.
pw_context* makeContext(pw_loop* loop) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    // This configuration asks for a realtime priority of the thread on which samples arrive.
    return pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
}

} // namespace

const pw_core_events PipeWireConnection::coreEvents = {
    .version = PW_VERSION_CORE_EVENTS,
    .done = [](void* context, std::uint32_t, int sequence) { self(context).roundTripDone(sequence); },
    .error =
        [](void* context, std::uint32_t id, int, int result, const char*) {
            if (id == PW_ID_CORE && result == -EPIPE) { // every other error concerns one object and is told there
                self(context).isLost_ = true;
                self(context).signalChange();
            }
        },
};

const pw_registry_events PipeWireConnection::registryEvents = {
    .version = PW_VERSION_REGISTRY_EVENTS,
    .global = [](void* context, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                 const spa_dict* properties) { self(context).globalAdded(id, type, properties); },
    .global_remove = [](void* context, std::uint32_t id) { self(context).globalRemoved(id); },
};

const pw_metadata_events PipeWireConnection::metadataEvents = {
    .version = PW_VERSION_METADATA_EVENTS,
    .property =
        [](void* context, std::uint32_t subject, const char* key, const char*, const char* value) {
            if (subject == PW_ID_CORE) {
                self(context).defaultChanged(key, value);
            }
            return 0;
        },
};

PipeWireConnection::PipeWireConnection(ChangeHandler handler)
    : handler_(std::move(handler)), loop_(pw_thread_loop_new("talkledger-sound", nullptr)) {
    if (loop_ == nullptr) {
        throw std::system_error(errno, std::generic_category(), "The sound thread could not be created");
    }
    context_.reset(makeContext(loop()));
    if (context_ == nullptr) {
        throw std::system_error(errno, std::generic_category(),
                                "PipeWire could not be set up; check that it is installed");
    }
    const auto call = [](void* context) {
        if (const ChangeHandler& changed = self(context).handler_) {
            changed();
        }
    };
    changeEvent_ = pw_loop_add_event(
        loop(), [](void* context, std::uint64_t) { decltype(call){}(context); }, this);
    timer_ = pw_loop_add_timer(
        loop(), [](void* context, std::uint64_t) { decltype(call){}(context); }, this);
    if (pw_thread_loop_start(loop_.get()) < 0) {
        throw std::system_error(errno, std::generic_category(), "The sound thread could not be started");
    }
}

PipeWireConnection::~PipeWireConnection() {
    pw_thread_loop_stop(loop_.get());
    disconnect();
    pw_loop_destroy_source(loop(), timer_);
    pw_loop_destroy_source(loop(), changeEvent_);
}

int PipeWireConnection::connect() {
    disconnect();
    core_ = pw_context_connect(context_.get(), nullptr, 0);
    if (core_ == nullptr) {
        return errno;
    }
    pw_core_add_listener(core_, &coreListener_, &coreEvents, this);
    pw_registry* registry = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    registry_ = reinterpret_cast<pw_proxy*>(registry);
    pw_registry_add_listener(registry, &registryListener_, &registryEvents, this);
    pendingSequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
    return 0;
}

void PipeWireConnection::disconnect() {
    if (core_ == nullptr) {
        return;
    }
    forgetMetadata();
    spa_hook_remove(&registryListener_);
    pw_proxy_destroy(registry_);
    registry_ = nullptr;
    spa_hook_remove(&coreListener_);
    pw_core_disconnect(core_);
    core_ = nullptr;
    nodes_.clear();
    ports_.clear();
    links_.clear();
    clientProcesses_.clear();
    isLost_ = false;
    hasRegistry_ = false;
    isReady_ = false;
}

void PipeWireConnection::roundTripDone(int sequence) {
    if (sequence == defaultsSequence_) {
        defaultsSequence_.reset();
    }
    if (sequence != pendingSequence_) {
        return;
    }
    // The first round trip tells of all objects; the values of the default metadata, asked for on the way, come with
    // the second.
    if (!hasRegistry_) {
        hasRegistry_ = true;
        pendingSequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
    } else {
        isReady_ = true;
        signalChange();
    }
}

void PipeWireConnection::globalAdded(std::uint32_t id, const char* type, const spa_dict* properties) {
    const std::string_view typeName = type;
    if (typeName == PW_TYPE_INTERFACE_Node) {
        const std::string name(lookUp(properties, PW_KEY_NODE_NAME));
        const std::string description(lookUp(properties, PW_KEY_NODE_DESCRIPTION));
        nodes_[id] = {.device = {.name = name, .description = description.empty() ? name : description, .node = id},
                      .mediaClass = std::string(lookUp(properties, PW_KEY_MEDIA_CLASS)),
                      .client = number(properties, PW_KEY_CLIENT_ID)};
        noteChangeOf(nodes_[id]);
        signalChange();
    } else if (typeName == PW_TYPE_INTERFACE_Port) {
        ports_[id] = {.node = number(properties, PW_KEY_NODE_ID),
                      .name = std::string(lookUp(properties, PW_KEY_PORT_NAME)),
                      .channel = std::string(lookUp(properties, PW_KEY_AUDIO_CHANNEL))};
        signalChange();
    } else if (typeName == PW_TYPE_INTERFACE_Link) {
        links_[id] = {.outputNode = number(properties, PW_KEY_LINK_OUTPUT_NODE),
                      .outputPort = number(properties, PW_KEY_LINK_OUTPUT_PORT),
                      .inputNode = number(properties, PW_KEY_LINK_INPUT_NODE),
                      .inputPort = number(properties, PW_KEY_LINK_INPUT_PORT)};
        signalChange();
    } else if (typeName == PW_TYPE_INTERFACE_Client) {
        clientProcesses_[id] = lookUp(properties, PW_KEY_SEC_PID);
    } else if (typeName == PW_TYPE_INTERFACE_Metadata && lookUp(properties, PW_KEY_METADATA_NAME) == "default") {
        forgetMetadata();
        bindMetadata(id);
    }
}

void PipeWireConnection::bindMetadata(std::uint32_t id) {
    unbindMetadata();
    metadataId_ = id;
    auto* registry = reinterpret_cast<pw_registry*>(registry_);
    auto* metadata =
        static_cast<pw_metadata*>(pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (metadata != nullptr) {
        metadata_ = reinterpret_cast<pw_proxy*>(metadata);
        pw_metadata_add_listener(metadata, &metadataListener_, &metadataEvents, this);
        defaultsSequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
    }
}

/// Those that are known stay until the answer has come: a track must not lose its device meanwhile.
void PipeWireConnection::askForDefaults() {
    if (metadata_ != nullptr && !defaultsSequence_) {
        bindMetadata(metadataId_);
    }
}

void PipeWireConnection::globalRemoved(std::uint32_t id) {
    if (id == metadataId_) {
        forgetMetadata();
        signalChange();
        return;
    }
    if (const auto node = nodes_.find(id); node != nodes_.end()) {
        noteChangeOf(node->second);
    }
    if (nodes_.erase(id) + ports_.erase(id) + links_.erase(id) + clientProcesses_.erase(id) > 0) {
        signalChange();
    }
}

void PipeWireConnection::noteChangeOf(const Node& node) {
    if (isReady_ && node.mediaClass.starts_with("Audio/")) { // no player's or recorder's stream
        devicesChanged_ = std::chrono::steady_clock::now();
    }
}

void PipeWireConnection::unbindMetadata() {
    if (metadata_ != nullptr) {
        spa_hook_remove(&metadataListener_);
        pw_proxy_destroy(metadata_);
        metadata_ = nullptr;
    }
    defaultsSequence_.reset();
}

void PipeWireConnection::forgetMetadata() {
    unbindMetadata();
    metadataId_ = SPA_ID_INVALID;
    defaults_.clear();
}

void PipeWireConnection::defaultChanged(const char* key, const char* value) {
    if (key == nullptr) {
        defaults_.clear();
    } else if (value == nullptr) {
        defaults_.erase(key);
    } else {
        const auto json = nlohmann::json::parse(value, nullptr, false);
        if (json.is_object() && json.contains("name") && json["name"].is_string()) {
            defaults_[key] = json["name"].get<std::string>();
        }
    }
    signalChange();
}

std::optional<CaptureDevice> PipeWireConnection::defaultDevice(CaptureSource source) const {
    const bool isMicrophone = source == CaptureSource::microphone;
    const auto name = defaults_.find(isMicrophone ? "default.audio.source" : "default.audio.sink");
    if (name == defaults_.end()) {
        return std::nullopt;
    }
    // Without a microphone the session manager names an output as the default source: its monitor.
    const char* mediaClass = isMicrophone ? "Audio/Source" : "Audio/Sink";
    for (const auto& [id, node] : nodes_) {
        if (node.device.name == name->second && node.mediaClass.starts_with(mediaClass)) {
            return node.device;
        }
    }
    return std::nullopt;
}

std::string_view PipeWireConnection::processOf(std::uint32_t client) const {
    const auto known = clientProcesses_.find(client);
    return known == clientProcesses_.end() ? std::string_view() : known->second;
}

std::vector<PlayedPort>
PipeWireConnection::portsOfThisProcessPlayingInto(std::uint32_t node,
                                                  std::span<const std::string_view> channels) const {
    const bool hasOtherChannels = std::ranges::any_of(ports_, [&](const auto& entry) {
        const Port& port = entry.second;
        return port.node == node && std::ranges::find(channels, port.channel) == channels.end();
    });
    // The server may number processes otherwise than this process does: it is asked for the number of this client.
    const std::string_view own =
        processOf(pw_proxy_get_bound_id(reinterpret_cast<pw_proxy*>(pw_core_get_client(core_))));
    std::vector<PlayedPort> played;
    if (hasOtherChannels || own.empty()) {
        return played;
    }
    for (const auto& [id, link] : links_) {
        const auto player = nodes_.find(link.outputNode);
        const auto input = ports_.find(link.inputPort);
        if (link.inputNode == node && player != nodes_.end() && input != ports_.end() &&
            processOf(player->second.client) == own) {
            played.push_back({.port = link.outputPort, .channel = input->second.channel});
        }
    }
    return played;
}

std::optional<std::uint32_t> PipeWireConnection::portOf(std::uint32_t node, std::string_view name) const {
    for (const auto& [id, port] : ports_) {
        if (port.node == node && port.name == name) {
            return id;
        }
    }
    return std::nullopt;
}

void PipeWireConnection::callAfter(std::chrono::milliseconds delay) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(delay);
    timespec time{.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(delay - seconds).count()};
    pw_loop_update_timer(loop(), timer_, &time, nullptr, false);
}

void PipeWireConnection::signalChange() {
    pw_loop_signal_event(loop(), changeEvent_);
    pw_thread_loop_signal(loop_.get(), false);
}

bool PipeWireConnection::waitForChange(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::nanoseconds(deadline - std::chrono::steady_clock::now());
    if (left <= 0ns) {
        return false;
    }
    timespec time{};
    pw_thread_loop_get_time(loop_.get(), &time, left.count());
    return pw_thread_loop_timed_wait_full(loop_.get(), &time) == 0;
}

CaptureDevice PipeWireConnection::waitForDefaultDevice(CaptureSource source,
                                                       std::chrono::steady_clock::time_point deadline) {
    if (!isConnected()) {
        if (const int error = connect(); error != 0) {
            throw SoundServerError(SoundServerError::Case::unreachable, std::generic_category().message(error));
        }
    }
    while (!isReady()) {
        if (!waitForChange(deadline)) {
            throw SoundServerError(SoundServerError::Case::notAnswering);
        }
    }
    const auto patienceEnd = std::min(deadline, std::chrono::steady_clock::now() + kDefaultDevicePatience);
    while (true) {
        if (auto device = defaultDevice(source)) {
            return *device;
        }
        if (!waitForChange(patienceEnd)) {
            throw SoundServerError(source == CaptureSource::microphone ? SoundServerError::Case::noMicrophone
                                                                       : SoundServerError::Case::noOutput);
        }
    }
}

} // namespace talkledger
