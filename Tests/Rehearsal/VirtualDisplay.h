#pragma once

#include "Support/ChildProcess.h"

#include <xcb/xcb.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

class QImage;

namespace talkledger::rehearsal {

/// An X display with a window manager that nobody sees, on a free display number. Needs the packages xvfb and openbox.
/// Throws RehearsalError. The thread that makes it must outlive it.
class VirtualDisplay {
public:
    VirtualDisplay();
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// What a program needs in its environment to show its windows here, where there is no graphics card.
    testing::EnvironmentChanges environment() const {
        return {{"DISPLAY", name_},
                {"WAYLAND_DISPLAY", std::nullopt},
                {"QT_QPA_PLATFORM", "xcb"},
                {"QT_QUICK_BACKEND", "software"}};
    }

    /// A window of the process with this id is on the screen.
    bool showsWindow(pid_t process) const { return findWindow(process).has_value(); }

    /// A program that has not painted for so long has shown all that there is.
    static constexpr std::chrono::milliseconds kStill{500};

    /// Such a window is there, and something is painted in it.
    bool showsPaintedWindow(pid_t process) const;

    /// Writes the window of that process as a PNG file, once it is painted and has stood still for that long.
    void photograph(pid_t process, const std::filesystem::path& file, std::chrono::milliseconds still = kStill) const;

private:
    struct ConnectionDeleter {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    xcb_atom_t atom(const std::string& name) const;
    std::optional<std::uint32_t> property(xcb_window_t window, const std::string& name, std::uint32_t index) const;
    std::optional<xcb_window_t> findWindow(pid_t process) const;
    std::optional<QImage> look(xcb_window_t window) const; ///< absent unless the window is whole on the screen

    std::unique_ptr<testing::ChildProcess> server_;
    std::string name_; ///< ":7"
    std::unique_ptr<testing::ChildProcess> windowManager_;
    std::unique_ptr<xcb_connection_t, ConnectionDeleter> connection_;
    xcb_window_t root_{0};
};

} // namespace talkledger::rehearsal
