#include "Rehearsal/DraftInWindow.h"

#include "Rehearsal/Comparison.h"
#include "Rehearsal/ScreenReader.h"
#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace talkledger::rehearsal {
namespace {

namespace fs = std::filesystem;

const QString button = QStringLiteral("push button");
const QString menuItem = QStringLiteral("menu item");
const QString listItem = QStringLiteral("list item");

template <typename Value>
Value load(const fs::path& file) {
    return decodeJson<Value>(PosixFileSystem().readFile(file, RecordingStore::maximumFileBytes), jsonFile(file));
}

class WindowUser {
public:
    explicit WindowUser(RehearsedProgram& program) : program_(program), reader_(program.environment()) {}

    void press(const QString& role, const QString& name) const { reader_.press(await(role, name)); }

    Accessible await(const QString& role, const QString& name) const {
        std::optional<Accessible> found;
        program_.await("the window shows the " + role.toStdString() + " \"" + name.toStdString() + "\"", [&] {
            found = reader_.find(role, name);
            return found.has_value();
        });
        return *found;
    }

private:
    RehearsedProgram& program_;
    ScreenReader reader_;
};

/// What the draft quotes; the rest of it is put in words of its own.
std::vector<std::string> quotations(const SalesSummary& draft) {
    std::vector<std::string> quoted = draft.decisions;
    quoted.insert(quoted.end(), draft.nextActions.begin(), draft.nextActions.end());
    return quoted;
}

/// Without a break between one utterance and the next: a recogniser hears no full stops.
std::string saidBy(SpeakerRole speaker, const fs::path& recording) {
    std::string said;
    for (const TranscriptSegment& segment : load<TranscriptDocument>(recording / "transcript.json").segments) {
        if (segment.role == speaker) {
            said += segment.text + " ";
        }
    }
    return said;
}

QString listTitle(const fs::path& recording, const SalesSummary& summary) {
    const auto session = load<RecordingSession>(recording / "session.json");
    return QString::fromStdString(
        RecordingListTitleBuilder().title(session, summary, AppCopy{DisplayLanguage::english}));
}

} // namespace

SalesSummary draftInWindow(RehearsedProgram& program, const fs::path& recording) {
    const WindowUser user(program);
    const auto earlier = load<SalesSummary>(recording / "summary.json");
    user.await(listItem, listTitle(recording, earlier));
    user.press(button, QStringLiteral("More"));
    user.press(menuItem, QStringLiteral("Draft summary from key phrases"));
    SalesSummary draft = earlier;
    program.await("the draft from key phrases is there", [&] {
        draft = load<SalesSummary>(recording / "summary.json");
        return draft != earlier;
    });
    const std::vector<std::string> quoted = quotations(draft);
    if (quoted.empty()) {
        throw RehearsalError(
            "The draft from key phrases has neither a decision nor a next action, and there are some.");
    }
    for (const std::string& phrase : quoted) {
        const double share = std::max(shareOfWords(phrase, saidBy(SpeakerRole::me, recording)),
                                      shareOfWords(phrase, saidBy(SpeakerRole::customer, recording)));
        if (share < 1) {
            throw RehearsalError("The draft from key phrases has something that was not said: " + phrase);
        }
    }
    user.await(listItem, listTitle(recording, draft));

    user.press(button, QStringLiteral("Save Markdown"));
    program.await("the draft is in the Markdown document", [&] {
        const std::string document =
            PosixFileSystem().readFile(program.waitForDocument(kPatience), RecordingStore::maximumFileBytes);
        return document.find("- " + quoted.front()) != std::string::npos;
    });
    return draft;
}

} // namespace talkledger::rehearsal
