#pragma once

#include "TalkledgerApp/AppModel.h"

#include <QQmlPropertyMap>

namespace talkledger {

/// The texts of the model's language for the screens, each under its key; they change in place with the language.
class DisplayTexts : public QQmlPropertyMap {
    Q_OBJECT

public:
    /// `model` has to outlive it.
    explicit DisplayTexts(const AppModel& model);

private:
    void follow(DisplayLanguage language);
};

} // namespace talkledger
