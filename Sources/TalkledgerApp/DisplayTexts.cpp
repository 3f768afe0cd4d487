#include "TalkledgerApp/DisplayTexts.h"

namespace talkledger {
namespace {

QString screenText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

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
