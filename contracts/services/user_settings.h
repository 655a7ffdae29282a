#pragma once

#include <QtCore/QSettings>

/// The store of the person's own settings: the preferences, and where windows
/// were. Plugins that heed a preference read it here, under the key that the
/// preferences window writes. It is where the system keeps such things, in the
/// registry on Windows, unless QSettings has another default format. Any thread, each
/// with an object of its own.
inline QSettings user_settings()
{
    return QSettings(QSettings::defaultFormat(), QSettings::UserScope, QStringLiteral("The Ferrule Works"),
                     QStringLiteral("GOX"));
}
