#include "TalkledgerApp/DisplayTexts.h"

#include "TalkledgerApp/ScreenText.h"

namespace talkledger {

DisplayTexts::DisplayTexts(const AppModel& model) : QQmlPropertyMap(this, nullptr) {
    follow(model.displayLanguage());
    connect(&model, &AppModel::displayLanguageChanged, this, [this, &model] { follow(model.displayLanguage()); });
}

void DisplayTexts::follow(DisplayLanguage language) {
    for (const AppText& text : AppCopy::texts()) {
        insert(screenText(text.key), screenText(language == DisplayLanguage::english ? text.english : text.japanese));
    }
}

} // namespace talkledger
