#include "TalkledgerApp/CapturePermissions.h"

#include "TalkledgerApp/ScreenText.h"
#include "TalkledgerCore/Presentation/CapturePermissionPresentation.h"

#include <QVariantMap>

namespace talkledger {
namespace {

QString name(CapturePermissionTone tone) {
    switch (tone) {
    case CapturePermissionTone::granted:
        return QStringLiteral("granted");
    case CapturePermissionTone::undecided:
        return QStringLiteral("undecided");
    case CapturePermissionTone::refused:
        return QStringLiteral("refused");
    case CapturePermissionTone::unknown:
        break;
    }
    return QStringLiteral("unknown");
}

} // namespace

CapturePermissions::CapturePermissions(AppModel& model) : model_(model) {
    connect(&model, &AppModel::permissionsChanged, this, [this] {
        isRefreshing_ = false;
        Q_EMIT changed();
    });
    connect(&model, &AppModel::displayLanguageChanged, this, &CapturePermissions::changed);
}

QVariantList CapturePermissions::rows() const {
    const auto shown = isRefreshing_ ? std::nullopt : model_.permissions();
    QVariantList rows;
    for (const CapturePermissionPresentation& row : capturePermissionPresentations(shown, model_.copy())) {
        rows.append(QVariantMap{{QStringLiteral("kind"), screenText(rawValue(row.kind))},
                                {QStringLiteral("name"), screenText(row.name)},
                                {QStringLiteral("state"), screenText(row.state)},
                                {QStringLiteral("tone"), name(row.tone)},
                                {QStringLiteral("canBeRequested"), row.canBeRequested},
                                {QStringLiteral("reason"), screenText(row.reason)}});
    }
    return rows;
}

bool CapturePermissions::needAttention() const {
    return talkledger::needsAttention(model_.permissions());
}

QString CapturePermissions::startConsequence() const {
    return screenText(talkledger::startConsequence(model_.permissions(), model_.copy()));
}

void CapturePermissions::refresh() {
    isRefreshing_ = true;
    Q_EMIT changed();
    model_.refreshPermissions();
}

void CapturePermissions::request() {
    model_.requestCapturePermissions();
}

void CapturePermissions::openSettings(const QString& kind) {
    for (const auto known : {CapturePermissionKind::microphone, CapturePermissionKind::systemAudio,
                             CapturePermissionKind::screenCapture}) {
        if (screenText(rawValue(known)) == kind) {
            model_.openSettings(known);
        }
    }
}

} // namespace talkledger
