#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>

#include "session/build_session.h"

// The folder of the file that was entered last. Whoever enters files has those
// of a folder one after another, so what holds for the folder is worked out once.
// Good for one run of entering, in which nothing else changes the file map.
struct BUILD_SESSION::SCANNED_FOLDER
{
    explicit SCANNED_FOLDER(const FILE_MAP& files) : hint(files.map.cbegin()) {}

    QString physical;           // with its slash
    QString logical;            // with its slash
    bool is_spelled_so = false; // a file of it has been entered, in this very spelling
    QMap<LOGICAL_PATH, FILE_ENTRY*>::const_iterator hint; // behind the file that was entered last
};
