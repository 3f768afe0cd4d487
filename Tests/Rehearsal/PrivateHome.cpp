#include "Rehearsal/PrivateHome.h"

#include "Rehearsal/Waiting.h"

#include <fstream>
#include <string>

namespace talkledger::rehearsal {
namespace {

// Anybody of this user may own and call anything, and nothing is started on demand.
constexpr const char* kBusPolicy = R"(
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path);
    file << text;
    file.close();
    if (!file) {
        throw RehearsalError("Could not write " + path.string() + ".");
    }
}

} // namespace

PrivateHome::PrivateHome() {
    const std::string path = folder();
    writeFile(folder() / "config/Talkledger/Talkledger.ini",
              "[General]\ndisplayLanguage=english\nfirstMinutesShown=true\n");
    writeFile(folder() / "config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n");
    std::filesystem::create_directories(folder() / "Documents");

    const std::string address = "unix:path=" + path + "/bus";
    writeFile(folder() / "bus.conf",
              "<busconfig>\n  <type>session</type>\n  <listen>" + address + "</listen>" + kBusPolicy);
    testing::ChildProcessOptions bus;
    bus.arguments = {"dbus-daemon", "--config-file=" + (folder() / "bus.conf").string(), "--nofork", "--nosyslog",
                     "--print-address=1"};
    bus_ = std::make_unique<testing::ChildProcess>(bus);
    waitUntil("the session bus is there", [this] {
        if (!bus_->isRunning()) {
            throw RehearsalError("Install dbus: the session bus did not start: " + bus_->standardError());
        }
        return bus_->standardOutput().ends_with('\n');
    });

    environment_ = {{"HOME", path},
                    {"XDG_DATA_HOME", path + "/data"},
                    {"XDG_CONFIG_HOME", path + "/config"},
                    {"XDG_STATE_HOME", path + "/state"},
                    {"XDG_CACHE_HOME", path + "/cache"},
                    {"DBUS_SESSION_BUS_ADDRESS", address},
                    {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path + "/no-system-bus"},
                    {"LANG", "en_US.UTF-8"},
                    {"LC_ALL", std::nullopt},
                    {"LANGUAGE", std::nullopt},
                    {"XDG_CURRENT_DESKTOP", std::nullopt},
                    {"TZ", "UTC"}};
}

} // namespace talkledger::rehearsal
