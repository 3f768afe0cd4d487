#pragma once

#include "TalkledgerApp/AppModel.h"

#include <QObject>

namespace talkledger {

/// Whether the page is open that tells a new user what the program does and checks what it needs. It opens by itself
/// once in this user's life, and makes way for a recording. Main thread.
class FirstMinutes : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isOpen READ isOpen NOTIFY isOpenChanged)
    Q_PROPERTY(bool isFirstTime READ isFirstTime NOTIFY isOpenChanged)

public:
    /// `model` has to outlive it.
    explicit FirstMinutes(AppModel& model);

    bool isOpen() const { return isOpen_; }

    /// It has opened by itself.
    bool isFirstTime() const { return isFirstTime_; }

    /// Opens it unless it has been open before.
    void openOnce();
    Q_INVOKABLE void open();

    /// The same, for the models on it.
    Q_INVOKABLE void openModels();
    Q_INVOKABLE void close();

Q_SIGNALS:
    void isOpenChanged();
    void modelsWanted();

private:
    void setIsOpen(bool isOpen);

    AppModel& model_;
    bool isOpen_{false};
    bool isFirstTime_{false};
};

} // namespace talkledger
