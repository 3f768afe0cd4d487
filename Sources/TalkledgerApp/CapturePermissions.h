#pragma once

#include "TalkledgerApp/AppModel.h"

#include <QObject>
#include <QString>
#include <QVariantList>

namespace talkledger {

/// The model's capture permissions as the screens show them. Main thread.
class CapturePermissions : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)
    Q_PROPERTY(bool needAttention READ needAttention NOTIFY changed)
    Q_PROPERTY(QString startConsequence READ startConsequence NOTIFY changed)

public:
    /// `model` has to outlive it.
    explicit CapturePermissions(AppModel& model);

    /// Maps of `kind`, `name`, `state`, `tone`, `canBeRequested` and `reason`.
    QVariantList rows() const;
    bool needAttention() const;
    QString startConsequence() const;

    /// Looks at them anew; until that is done they are shown as being checked.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void request();

    /// Of the permission with that raw value.
    Q_INVOKABLE void openSettings(const QString& kind);

Q_SIGNALS:
    void changed();

private:
    AppModel& model_;
    bool isRefreshing_{false};
};

} // namespace talkledger
