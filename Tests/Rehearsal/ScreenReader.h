#pragma once

#include "Support/ChildProcess.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantList>
#include <memory>
#include <optional>
#include <vector>

namespace talkledger::rehearsal {

/// Something that a program shows to assistive programs.
struct Accessible {
    QString program;
    QString path;
};

/// Finds what programs show by its role and name, as a screen reader does, and presses it. Needs the package
/// at-spi2-core. A program tells it something only with QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 in its environment. Throws
/// RehearsalError. The thread that makes it must outlive it.
class ScreenReader {
public:
    /// `environment` has the session bus.
    explicit ScreenReader(const testing::EnvironmentChanges& environment);
    ~ScreenReader();
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;

    /// What is shown in that role and by a name that begins so; absent when there is none.
    std::optional<Accessible> find(const QString& role, const QString& nameBegin) const;

    void press(const Accessible& control) const;

private:
    QDBusMessage call(const Accessible& accessible, const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) const;
    std::vector<Accessible> children(const Accessible& parent) const;
    std::optional<Accessible> find(const Accessible& from, const QString& role, const QString& nameBegin) const;

    std::unique_ptr<testing::ChildProcess> launcher_;
    std::optional<QDBusConnection> bus_;
};

} // namespace talkledger::rehearsal
