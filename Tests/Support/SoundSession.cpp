#include "Support/SoundSession.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

namespace talkledger::testing {
namespace {

using namespace std::chrono_literals;

/// Generous: a loaded machine is slow, a broken session never comes.
constexpr auto kPatience = 20s;
constexpr auto kQueryPatience = 3s;
constexpr auto kPollInterval = 10ms;

constexpr const char* kDefaultSource = "default.audio.source";
constexpr const char* kDefaultSink = "default.audio.sink";

void waitUntil(const std::string& what, const std::function<bool()>& holds) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("The sound session waited in vain: " + what);
        }
        std::this_thread::sleep_for(kPollInterval);
    }
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("Could not write " + path.string());
    }
}

std::string nodeProperties(const std::string& name, const std::string& mediaClass, const std::string& position,
                           int priority, const std::string& more = {}) {
    return "{ factory.name = support.null-audio-sink node.name = \"" + name + "\" node.description = \"" + name +
           "\" media.class = \"" + mediaClass + "\" audio.position = [ " + position +
           " ] priority.session = " + std::to_string(priority) + " object.linger = true " + more +
           " adapter.auto-port-config = { mode = dsp monitor = true position = preserve } }";
}

constexpr const char* kServerModules = R"(
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.* = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-rt args = { nice.level = -11 rt.prio = 88 } flags = [ ifexists nofail ] }
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-profiler }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-spa-node-factory }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-access args = { } }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
]
)";

constexpr const char* kSessionManager = R"(
context.properties = {
    log.level = 2
    wireplumber.script-engine = lua-scripting
    support.dbus = false
}
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.* = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-rt args = { nice.level = -11 rt.prio = 88 } flags = [ ifexists nofail ] }
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-session-manager }
]
wireplumber.components = [
    { name = libwireplumber-module-lua-scripting, type = module }
    { name = main.lua, type = config/lua }
    { name = policy.lua, type = config/lua }
]
)";

// The stock file also starts the device monitors and asks the desktop's portal, which needs a session bus.
constexpr const char* kSessionManagerStart = R"(
default_access.properties["enable-flatpak-portal"] = false
device_defaults.properties["use-persistent-storage"] = false
load_module("metadata")
default_access.enable()
device_defaults.enable()
)";

} // namespace

SoundSession::SoundSession(const SoundSessionOptions& options) : options_(options) {
    std::string path = (std::filesystem::temp_directory_path() / "talkledger-sound-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) { // private to the user, as a runtime folder must be
        throw std::runtime_error("Could not create " + path);
    }
    folder_ = path;
    environment_ = {{"XDG_RUNTIME_DIR", path},
                    {"PIPEWIRE_RUNTIME_DIR", path},
                    {"XDG_CONFIG_HOME", path + "/config"},
                    {"XDG_STATE_HOME", path + "/state"},
                    {"DBUS_SESSION_BUS_ADDRESS", std::nullopt}};
    writeConfiguration(options);
    startServer();
}

SoundSession::~SoundSession() {
    stopServer();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void SoundSession::enter() const {
    for (const auto& [name, value] : environment_) {
        // NOLINTBEGIN(concurrency-mt-unsafe): the caller promises that there is one thread.
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
        // NOLINTEND(concurrency-mt-unsafe)
    }
}

void SoundSession::writeConfiguration(const SoundSessionOptions& options) const {
    const std::string quantum = std::to_string(options.quantum);
    std::string text =
        "context.properties = { log.level = 1 support.dbus = false core.daemon = true core.name = pipewire-0"
        " default.clock.rate = 48000 default.clock.quantum = " +
        quantum + " default.clock.min-quantum = " + quantum + " default.clock.max-quantum = 8192 }\n" + kServerModules +
        "context.objects = [\n" +
        // Nodes that nobody drives (a silent output, a stream without a device) need a clock.
        "{ factory = spa-node-factory args = { factory.name = support.node.driver node.name = Dummy-Driver"
        " node.group = pipewire.dummy priority.driver = 20000 } }\n";
    const auto addObject = [&](const std::string& properties) {
        text += "{ factory = adapter args = " + properties + " }\n";
    };
    const auto clock = [&](SharedClock own) -> std::string {
        return options.sharedClock == SharedClock::none ? ""
               : options.sharedClock == own             ? "node.group = card priority.driver = 3000"
                                                        : "node.group = card priority.driver = 2000";
    };
    if (options.hasOutput) {
        addObject(nodeProperties(kOutput, "Audio/Sink", "FL FR", 2000, clock(SharedClock::outputs)));
    }
    if (options.hasMicrophone) {
        addObject(nodeProperties(kMicrophone, "Audio/Source/Virtual", "MONO", 2000, clock(SharedClock::microphones)));
    }
    text += "]\n";
    writeFile(folder_ / "server.conf", text);
    writeFile(folder_ / "config/wireplumber/wireplumber.conf", kSessionManager);
    writeFile(folder_ / "config/wireplumber/main.lua.d/90-enable-all.lua", kSessionManagerStart);
}

void SoundSession::startServer() {
    server_ = start({"pipewire", "-c", (folder_ / "server.conf").string()});
    waitUntil("the sound server answers", [this] {
        if (!server_->isRunning()) {
            throw std::runtime_error("The sound server ended: " + server_->standardError());
        }
        return start({"pw-cli", "info", "0"})->wait(kPatience) == 0;
    });
    startSessionManager();
}

void SoundSession::stopServer() {
    stopSessionManager();
    if (server_) {
        server_->signal(SIGCONT);
        server_->stop();
        server_.reset();
    }
}

void SoundSession::startSessionManager() {
    sessionManager_ = start({"wireplumber"});
    waitUntil("the session manager chooses the default devices", [this] {
        if (!sessionManager_->isRunning()) {
            throw std::runtime_error("The session manager ended: " + sessionManager_->standardError());
        }
        return hasDefaultMetadata() && (!options_.hasMicrophone || !defaultNode(kDefaultSource).empty()) &&
               (!options_.hasOutput || !defaultNode(kDefaultSink).empty());
    });
}

void SoundSession::stopSessionManager() {
    if (sessionManager_) {
        sessionManager_->stop();
        sessionManager_.reset();
    }
}

void SoundSession::freezeServer() {
    server_->signal(SIGSTOP);
}

void SoundSession::thawServer() {
    server_->signal(SIGCONT);
}

void SoundSession::freezeSessionManager() {
    sessionManager_->signal(SIGSTOP);
}

void SoundSession::thawSessionManager() {
    sessionManager_->signal(SIGCONT);
}

void SoundSession::addNode(const std::string& name, const std::string& mediaClass, const std::string& position,
                           int priority, bool becomesDefault) {
    run({"pw-cli", "create-node", "adapter", nodeProperties(name, mediaClass, position, priority)});
    if (becomesDefault) {
        waitForDefault(mediaClass == "Audio/Sink" ? kDefaultSink : kDefaultSource, name);
    }
}

void SoundSession::removeNode(const std::string& name) {
    run({"pw-cli", "destroy", name});
    options_.hasMicrophone = options_.hasMicrophone && name != kMicrophone;
    options_.hasOutput = options_.hasOutput && name != kOutput;
}

bool SoundSession::hasDefaultMetadata() const {
    return run({"pw-cli", "ls", "Metadata"}).find("metadata.name = \"default\"") != std::string::npos;
}

std::string SoundSession::defaultNode(const std::string& key) const {
    const auto query = start({"pw-metadata", "0", key});
    if (query->wait(kQueryPatience) != 0) { // it sometimes hangs while the server restarts; whoever waits asks again
        return {};
    }
    const std::string text = query->standardOutput();
    // ...key:'default.audio.sink' value:'{"name":"NAME"}' type:'Spa:String:JSON'
    const std::string start = "\"name\":\"";
    const std::size_t begin = text.find(start);
    if (begin == std::string::npos) {
        return {};
    }
    const std::size_t nameBegin = begin + start.size();
    return text.substr(nameBegin, text.find('"', nameBegin) - nameBegin);
}

void SoundSession::waitForDefault(const std::string& key, const std::string& name) const {
    waitUntil(key + " becomes " + name, [&] { return defaultNode(key) == name; });
}

void SoundSession::waitForDefaultSink(const std::string& name) const {
    waitForDefault(kDefaultSink, name);
}

std::unique_ptr<ChildProcess> SoundSession::play(const std::filesystem::path& file) const {
    return start({"pw-play", file.string()});
}

std::unique_ptr<ChildProcess> SoundSession::playIntoMicrophone(const std::filesystem::path& file,
                                                               const std::string& name) const {
    auto player =
        start({"pw-play", "--target", "0", "-P",
               "{ media.class=Audio/Source node.name=" + name + " priority.session=3000 node.autoconnect=false }",
               file.string()});
    waitUntil("the played file becomes the microphone", [&] {
        if (!player->isRunning()) {
            throw std::runtime_error("The player ended: " + player->standardError());
        }
        return defaultNode(kDefaultSource) == name;
    });
    return player;
}

std::unique_ptr<ChildProcess> SoundSession::start(const std::vector<std::string>& arguments) const {
    ChildProcessOptions options;
    options.arguments = arguments;
    options.environment = environment_;
    return std::make_unique<ChildProcess>(options);
}

std::string SoundSession::run(const std::vector<std::string>& arguments) const {
    ChildProcessOptions options;
    options.arguments = arguments;
    options.environment = environment_;
    return runProgram(options, kPatience);
}

} // namespace talkledger::testing
