#include "Rehearsal/VirtualDisplay.h"

#include "Rehearsal/Waiting.h"

#include <QImage>
#include <QString>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace talkledger::rehearsal {
namespace {

/// What xcb hands out is freed with free().
struct ReplyDeleter {
    void operator()(void* reply) const { std::free(reply); } // NOLINT(cppcoreguidelines-owning-memory)
};

template <typename Reply>
std::unique_ptr<Reply, ReplyDeleter> owned(Reply* reply) {
    return std::unique_ptr<Reply, ReplyDeleter>(reply);
}

bool isBlank(const QImage& image) {
    QImage blank(image.size(), image.format());
    blank.fill(image.pixel(0, 0));
    return image == blank;
}

constexpr std::uint32_t kLongestProperty = 1024; ///< in units of four bytes

} // namespace

VirtualDisplay::VirtualDisplay() {
    testing::ChildProcessOptions server;
    server.arguments = {"Xvfb", "-displayfd", "1", "-screen", "0", "1440x900x24", "-nolisten", "tcp", "-noreset"};
    server_ = std::make_unique<testing::ChildProcess>(server);
    waitUntil("the virtual display is there", [this] {
        if (!server_->isRunning()) {
            throw RehearsalError("Install xvfb: the virtual display did not start: " + server_->standardError());
        }
        return server_->standardOutput().ends_with('\n');
    });
    name_ = ":" + server_->standardOutput();
    name_.pop_back();

    connection_.reset(xcb_connect(name_.c_str(), nullptr));
    if (xcb_connection_has_error(connection_.get()) != 0) {
        throw RehearsalError("The virtual display " + name_ + " refuses connections.");
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;

    testing::ChildProcessOptions windowManager;
    windowManager.arguments = {"openbox", "--sm-disable"};
    windowManager.environment = environment();
    windowManager.environment["DBUS_SESSION_BUS_ADDRESS"] = std::nullopt;
    windowManager_ = std::make_unique<testing::ChildProcess>(windowManager);
    waitUntil("the window manager manages the virtual display", [this] {
        if (!windowManager_->isRunning()) {
            throw RehearsalError("Install openbox: the window manager did not start: " +
                                 windowManager_->standardError());
        }
        return property(root_, "_NET_SUPPORTING_WM_CHECK", 0).has_value();
    });
}

VirtualDisplay::~VirtualDisplay() {
    connection_.reset();
    if (windowManager_) {
        windowManager_->stop();
    }
    server_->stop();
}

xcb_atom_t VirtualDisplay::atom(const std::string& name) const {
    const auto reply = owned(xcb_intern_atom_reply(
        connection_.get(), xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    if (!reply) {
        throw RehearsalError("The virtual display has ended.");
    }
    return reply->atom;
}

std::optional<std::uint32_t> VirtualDisplay::property(xcb_window_t window, const std::string& name,
                                                      std::uint32_t index) const {
    const auto reply = owned(xcb_get_property_reply(
        connection_.get(),
        xcb_get_property(connection_.get(), 0, window, atom(name), XCB_ATOM_ANY, 0, kLongestProperty), nullptr));
    if (!reply || reply->format != 32 || reply->value_len <= index) {
        return std::nullopt;
    }
    return static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()))[index];
}

std::optional<xcb_window_t> VirtualDisplay::findWindow(pid_t process) const {
    for (std::uint32_t index = 0;; ++index) {
        const std::optional<xcb_window_t> window = property(root_, "_NET_CLIENT_LIST", index);
        if (!window || property(*window, "_NET_WM_PID", 0) == static_cast<std::uint32_t>(process)) {
            return window;
        }
    }
}

void VirtualDisplay::photograph(pid_t process, const std::filesystem::path& file,
                                std::chrono::milliseconds still) const {
    const std::optional<xcb_window_t> window = findWindow(process);
    if (!window) {
        throw RehearsalError("The program shows no window.");
    }
    QImage image;
    auto lastChange = std::chrono::steady_clock::now();
    waitUntil("the window is painted and its picture stands still", [&] {
        const auto now = std::chrono::steady_clock::now();
        std::optional<QImage> seen = look(*window);
        if (!seen) {
            throw RehearsalError("The program's window is not whole on the virtual display.");
        }
        const QImage before = std::exchange(image, std::move(*seen));
        if (before != image) {
            lastChange = now;
        }
        return now - lastChange >= still && !isBlank(image);
    });
    if (!image.save(QString::fromStdString(file.string()), "PNG")) {
        throw RehearsalError("The window's picture could not be written to " + file.string() + ".");
    }
}

bool VirtualDisplay::showsPaintedWindow(pid_t process) const {
    const std::optional<xcb_window_t> window = findWindow(process);
    const std::optional<QImage> image = window ? look(*window) : std::nullopt;
    return image && !isBlank(*image);
}

std::optional<QImage> VirtualDisplay::look(xcb_window_t window) const {
    const auto geometry =
        owned(xcb_get_geometry_reply(connection_.get(), xcb_get_geometry(connection_.get(), window), nullptr));
    const auto image =
        geometry ? owned(xcb_get_image_reply(connection_.get(),
                                             xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                                           geometry->width, geometry->height, ~0U),
                                             nullptr))
                 : nullptr;
    if (!image) {
        return std::nullopt;
    }
    return QImage(xcb_get_image_data(image.get()), geometry->width, geometry->height, QImage::Format_RGB32).copy();
}

} // namespace talkledger::rehearsal
