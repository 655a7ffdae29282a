#pragma once

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QStringList>

/// Finds the places on disk of texts that know no letter case, name by name.
///
/// What a folder holds is read once and remembered, and of that only the names that
/// are not in lower case, so that a look-up costs no visit to the disk and a tree in
/// lower case costs no memory. Where several names differ only in letter case all
/// of them count, in the order of their UTF-16 code units.
///
/// Names that come to the disk later in another spelling than lower case are found
/// after `forget`. Any thread.
class DISK_SPELLING
{
public:
    /// Every place below the folder `root`, which is taken as it stands, that `rest`
    /// ("/folder/name") stands for; nothing when nothing is there.
    QStringList all(const QString& root, const QString& rest);

    /// The first of these. When nothing is there: the first folder that is, as far as
    /// the way goes, and the rest as it stands.
    QString place(const QString& root, const QString& rest);

    void forget();

private:
    using NAMES = QHash<QString, QStringList>; // names not in lower case, by their lower case

    QStringList folders(const QString& root, const QString& rest);
    NAMES odd_names(const QString& folder);
    QStringList candidates(const QString& folder, const QString& name);
    QStringList children(const QStringList& folders, const QString& name, bool only_folders);

    QMutex m_mutex;                       // guards what is remembered
    QHash<QString, QStringList> m_places; // folders on disk, by root and the rest in lower case
    QHash<QString, NAMES> m_odd_names;    // by folder on disk
};
