#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

class KV_XML_QUERY_INTERFACE;

// What the database knows about packs, in two tables and a query:
//
//     packs              key "name": the pack's top folder, in lower case; "title"
//     assets             key "path": a file's path below the working data, in lower case; "title"
//     described_packs    a column "name": the packs to make a table of contents for
//
// Both functions leave `error` empty on success. One thread at a time, as the
// database wants it.

/// The packs that the database describes. A name that can't be a folder's is an
/// error.
QStringList described_packs(const KV_XML_QUERY_INTERFACE& database, QString& error);

/// The table of contents of a pack, UTF-8: its title, then a line with path and
/// title for each of `members`. Null when the database does not describe the
/// pack.
QByteArray pack_contents(const KV_XML_QUERY_INTERFACE& database, const QString& pack,
                         const QStringList& members, QString& error);
