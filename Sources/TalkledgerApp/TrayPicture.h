#pragma once

#include <QIcon>

namespace talkledger {

/// What the tray tells at a glance.
enum class TrayFace { idle, recording, finishing, attention };

/// The program's bars with the mark of that face, for a panel whose own text is light or dark.
QIcon trayPicture(TrayFace face, bool isPanelDark);

} // namespace talkledger
